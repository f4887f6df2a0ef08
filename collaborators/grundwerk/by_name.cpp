// SPDX-License-Identifier: Apache-2.0
#include "mercato/by_name.h"

#include "values/text.h"

namespace mercato::collaborators {

bool NameOrder::operator()(std::string_view left, std::string_view right) const {
  return text::to_upper(left) < text::to_upper(right);
}

}  // namespace mercato::collaborators
