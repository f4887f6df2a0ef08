// SPDX-License-Identifier: Apache-2.0
// What the engine's result codes mean to the caller: number and text of the failure. Any thread.
#pragma once

#include <sqlite3.h>

#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/row_layout.h"

namespace mercato::store::sqlite {

// Of every failure that this driver reports.
inline constexpr std::string_view kFailureSource = "SQLite store";

// With that source.
RaisedError of_this_store(RaisedError failure);

// The failure behind an extended result code that the engine has just given. The engine's own words stand in the text,
// which has no full stop at its end: the message that it becomes part of puts one there.
// `path` is the store, `waited_ms` how long a lock was waited for, `table` the one that the statement wrote, or null.
RaisedError failure_of(sqlite3* engine, int code, const std::string& path, long waited_ms,
                       const TableInfo* table = nullptr);
// What stands in it behind the name of a damaged file; the engine's words follow.
inline constexpr std::string_view kIsDamaged = " is damaged. Bring it back from a backup (";
// A failure of the store that the engine does not report: kStoreFailure with this description.
[[noreturn]] void raise_store_failure(std::string description);

}  // namespace mercato::store::sqlite
