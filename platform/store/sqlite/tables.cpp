// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/tables.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/store/sqlite/declared_type.h"
#include "platform/store/sqlite/text_index.h"
#include "values/text.h"

namespace mercato::store::sqlite {

bool Tables::has_index(std::string_view table, std::string_view name) const {
  const StatementHandle statement = database_.prepare(
      "SELECT 1 FROM sqlite_schema WHERE type = 'index' AND tbl_name = ?1 COLLATE NOCASE AND name = ?2 COLLATE NOCASE");
  sqlite3_bind_text64(statement.get(), 1, table.data(), table.size(), SQLITE_STATIC, SQLITE_UTF8);
  sqlite3_bind_text64(statement.get(), 2, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8);
  const int code = sqlite3_step(statement.get());
  if (code != SQLITE_ROW && code != SQLITE_DONE) database_.raise(code);
  return code == SQLITE_ROW;
}

bool Tables::refresh() {
  if (!schema_version_) schema_version_ = database_.prepare("PRAGMA schema_version");
  const int code = sqlite3_step(schema_version_.get());
  if (code != SQLITE_ROW) {
    RaisedError failure = database_.failure(code);
    sqlite3_reset(schema_version_.get());
    throw Raised(std::move(failure));
  }
  const std::int64_t version = sqlite3_column_int64(schema_version_.get(), 0);
  sqlite3_reset(schema_version_.get());
  if (version == version_) return false;
  version_ = version;
  forget();
  return true;
}

std::unique_ptr<TableInfo> Tables::load(std::string_view name) const {
  const auto text_of = [this](const StatementHandle& statement, int position) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), position));
    if (!bytes) database_.raise(SQLITE_NOMEM);
    return std::string(bytes);
  };
  const StatementHandle statement = database_.prepare(
      "SELECT t.name, c.name, c.type, c.\"notnull\", c.pk, i.name FROM "
      "(SELECT name FROM sqlite_schema WHERE " +
      std::string(kIsTable) + " AND name = ?1 COLLATE NOCASE) t JOIN pragma_table_info(t.name) c " +
      "LEFT JOIN pragma_table_info('" + std::string(kTextIndexPrefix) + "' || t.name || '" + std::string(kOldTexts) +
      "') i ON i.name = c.name " + "ORDER BY c.cid");
  sqlite3_bind_text64(statement.get(), 1, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8);

  auto table = std::make_unique<TableInfo>();
  std::vector<std::pair<int, std::size_t>> key;  // place in the key, position of the column
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(statement.get())) == SQLITE_ROW) {
    table->name = text_of(statement, 0);
    const DeclaredType declared = read_declared_type(text_of(statement, 2));
    const int place_in_key = sqlite3_column_int(statement.get(), 4);
    Column column;
    column.name = text_of(statement, 1);
    column.type = declared.type;
    column.width = declared.width;
    column.assigned = declared.assigned && place_in_key > 0;
    column.nullable = sqlite3_column_int(statement.get(), 3) == 0 && place_in_key == 0;
    column.in_text_index = sqlite3_column_type(statement.get(), 5) != SQLITE_NULL;
    if (place_in_key > 0) key.emplace_back(place_in_key, table->columns.size());
    table->columns.push_back(std::move(column));
  }
  if (code != SQLITE_DONE) database_.raise(code);
  if (table->columns.empty()) return nullptr;
  std::sort(key.begin(), key.end());
  for (const auto& [place, position] : key) table->key.push_back(position);
  return table;
}

}  // namespace mercato::store::sqlite
