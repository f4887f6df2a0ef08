// SPDX-License-Identifier: Apache-2.0
// Workbooks (.xlsx) as a format of suppliers. docs/formats/xlsx.md says what becomes of them.
#pragma once

#include "exchange/formats/format.h"

namespace mercato::exchange {

void read_xlsx(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

// A first mapping of a sheet, as the text of a mapping file. Raises 5 for a sheet without rows.
std::string propose_xlsx_mapping(Bytes& bytes, const ReadingOptions& options, std::string_view file);

}  // namespace mercato::exchange
