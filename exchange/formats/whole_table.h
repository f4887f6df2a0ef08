// SPDX-License-Identifier: Apache-2.0
// A file of comma-separated text as one table, for files that are loaded whole or not at all. Pure; any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "exchange/formats/table.h"

namespace mercato::exchange {

// A bound for memory: a cell takes much more of it than the one byte that it may have in the text.
inline constexpr std::size_t kMostCells = 4'000'000;

// All rows that have something in them, the headers first; separator and encoding are found out. Raises 5, naming the
// line, for a row that cannot be read or has more or fewer cells than the first, and for more cells than are kept.
std::vector<TableRow> whole_table(std::string_view bytes);

}  // namespace mercato::exchange
