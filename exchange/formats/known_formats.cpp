// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "exchange/formats/format.h"

namespace mercato::exchange {

std::span<const Format> formats() { return {}; }

const Format* format_named(std::string_view name) {
  const auto found = std::ranges::find(formats(), name, &Format::name);
  return found == formats().end() ? nullptr : &*found;
}

const Format* format_of(std::string_view begin) {
  const auto found =
      std::ranges::find_if(formats(), [begin](const Format& format) { return format.recognises(begin); });
  return found == formats().end() ? nullptr : &*found;
}

}  // namespace mercato::exchange
