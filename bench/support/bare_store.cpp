// SPDX-License-Identifier: Apache-2.0
#include "bench/support/bare_store.h"

#include <stdexcept>

#include "platform/store/sqlite/functions.h"

namespace mercato::bench {

BareStore::BareStore(const std::filesystem::path& path) {
  sqlite3* engine = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &engine, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  engine_.reset(engine);
  if (code != SQLITE_OK) fail("opening " + path.string());
  store::sqlite::register_functions(engine);
  run("PRAGMA journal_mode=WAL");
  run("PRAGMA synchronous=NORMAL");
  run("PRAGMA temp_store=MEMORY");
  run("PRAGMA foreign_keys=OFF");
  run("PRAGMA secure_delete=OFF");
  run("PRAGMA cache_size=-16384");
  run("PRAGMA wal_autocheckpoint=4000");
  run("PRAGMA journal_size_limit=67108864");
}

void BareStore::run(const char* sql) {
  if (sqlite3_exec(engine_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(sql);
}

BareStatement BareStore::prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(engine_.get(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                         nullptr) != SQLITE_OK)
    fail(sql);
  return BareStatement(statement);
}

void BareStore::fail(const std::string& doing) const {
  throw std::runtime_error(doing + ": " + sqlite3_errmsg(engine_.get()));
}

std::size_t read_row(sqlite3_stmt* statement) {
  std::size_t sum = 0;
  const int columns = sqlite3_column_count(statement);
  for (int column = 0; column < columns; ++column) {
    switch (sqlite3_column_type(statement, column)) {
      case SQLITE_NULL:
        break;
      case SQLITE_INTEGER:
        sum += static_cast<std::size_t>(sqlite3_column_int64(statement, column));
        break;
      case SQLITE_FLOAT:
        sum += static_cast<std::size_t>(sqlite3_column_double(statement, column));
        break;
      default:
        sum += sqlite3_column_text(statement, column)[0];
        sum += static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    }
  }
  return sum;
}

}  // namespace mercato::bench
