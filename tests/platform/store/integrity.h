// SPDX-License-Identifier: Apache-2.0
// The engine's own judgement of a store file, past the drivers.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "platform/store/sqlite/functions.h"

namespace mercato::store::test {

// "ok", or the first thing that is wrong.
inline std::string integrity_of(const std::string& path) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite::register_functions(database);
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(database, "PRAGMA integrity_check", -1, &statement, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  std::string answer;
  if (sqlite3_step(statement) == SQLITE_ROW) answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  sqlite3_finalize(statement);
  sqlite3_close(database);
  return answer;
}

}  // namespace mercato::store::test
