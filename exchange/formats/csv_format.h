// SPDX-License-Identifier: Apache-2.0
// CSV, whatever its separator, as a format of suppliers. docs/formats/csv.md says what becomes of it.
#pragma once

#include "exchange/formats/format.h"

namespace mercato::exchange {

// What no other format takes for its own, if a separator stands on its first line.
bool is_csv(std::string_view begin);
void read_csv(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

// A first mapping of a file, as the text of a mapping file. Raises 5 for a file without rows.
std::string propose_csv_mapping(Bytes& bytes, const ReadingOptions& options, std::string_view file);

}  // namespace mercato::exchange
