// SPDX-License-Identifier: Apache-2.0
// Values between the engine and the library. A date is stored as its ISO text, an amount of money as a scaled whole
// number, a Boolean as 0 or 1. Pure functions; any thread.
#pragma once

#include <sqlite3.h>

#include <string_view>

#include "mercato/variant.h"
#include "platform/store/row_layout.h"

namespace mercato::store::sqlite {

// The current row's value as the column's type says; what does not have that form (another program wrote it), and a
// column of unknown type, as the engine holds it.
void read_value(sqlite3_stmt* statement, int position, ColumnType type, Variant& out);

enum class Lifetime { copied, outlives_statement };

// Binds by the Variant's own type. Returns the engine's result code.
int bind_value(sqlite3_stmt* statement, int parameter, const Variant& value, Lifetime lifetime);
int bind_text(sqlite3_stmt* statement, int parameter, std::string_view text, Lifetime lifetime);

}  // namespace mercato::store::sqlite
