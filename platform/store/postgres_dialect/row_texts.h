// SPDX-License-Identifier: Apache-2.0
// The statements that write rows of updatable recordsets on such a server. Pure functions; any thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

// "($1, $2)" or "(?, ?)", from the parameter behind `before` on.
std::string parameter_list(std::size_t count, Markers markers, std::size_t before = 0);
// The names of columns, in brackets.
std::string column_list(const TableInfo& table, std::span<const std::size_t> columns);

// Gives back what tells the new row from others: its number, or its key.
std::string insert_text(const TableInfo& table, std::span<const std::size_t> columns, Markers markers);
// Behind the values come those of the identity. A row that is known by its key gives back the new one when that changes.
std::string update_text(const TableInfo& table, std::span<const std::size_t> columns, Markers markers);

std::vector<ColumnType> key_types_of(const TableInfo& table);

}  // namespace mercato::store::postgres
