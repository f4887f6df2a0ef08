// SPDX-License-Identifier: Apache-2.0
// The catalogue interchange format, versions 2.1 and 3.0: a header, and items as comma-separated text.
// docs/formats/cif.md says what becomes of each field.
#pragma once

#include <string_view>

#include "exchange/formats/format.h"

namespace mercato::exchange {

bool is_cif(std::string_view begin);
void read_cif(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

}  // namespace mercato::exchange
