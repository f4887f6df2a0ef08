// SPDX-License-Identifier: Apache-2.0
// BMEcat 1.01, 1.2 and 2005: new catalogues, updates of products and of prices. docs/formats/bmecat.md says what
// becomes of each element.
#pragma once

#include <string_view>

#include "exchange/formats/format.h"

namespace mercato::exchange {

bool is_bmecat(std::string_view begin);
void read_bmecat(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

}  // namespace mercato::exchange
