// SPDX-License-Identifier: Apache-2.0
// Catalogues in UBL 2.1, as Peppol profiles them. docs/formats/ubl.md says what becomes of each element.
#pragma once

#include <string_view>

#include "exchange/formats/format.h"

namespace mercato::exchange {

bool is_ubl(std::string_view begin);
void read_ubl(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

}  // namespace mercato::exchange
