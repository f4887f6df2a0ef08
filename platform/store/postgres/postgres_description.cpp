// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/postgres_description.h"

#include <string_view>
#include <vector>

#include "platform/store/postgres/postgres_tables.h"
#include "platform/store/postgres/server_connection.h"

namespace mercato::store::postgres {
namespace {

constexpr const char* kPlace = R"(
SELECT split_part(current_setting('server_version'), ' ', 1), current_database(), coalesce(current_schema(), ''),
       coalesce((SELECT 'mercato, ICU ' || collversion FROM pg_collation WHERE collname = 'mercato' AND pg_collation_is_visible(oid)),
                'none yet: no tables were created'))";

// What is missing, each with its reason.
constexpr const char* kLackingRights = R"(
SELECT reason FROM (
  SELECT 1 AS place, 'creating tables: there is no schema in the search path' AS reason WHERE current_schema() IS NULL
  UNION ALL
  SELECT 2, 'creating tables: CREATE on the schema ' || quote_ident(current_schema())
  WHERE NOT has_schema_privilege(current_schema(), 'CREATE')
  UNION ALL
  SELECT 3, 'writing: the server is a standby' WHERE pg_is_in_recovery()) AS lacking
ORDER BY place)";

// Without the store's own objects, whose names have small letters.
constexpr const char* kTables = R"(
SELECT relname, has_table_privilege(oid, 'SELECT'),
       has_table_privilege(oid, 'INSERT') AND has_table_privilege(oid, 'UPDATE') AND has_table_privilege(oid, 'DELETE')
FROM pg_class
WHERE relkind IN ('r', 'p') AND relnamespace = to_regnamespace(quote_ident(current_schema())) AND NOT starts_with(relname, 'mercato_')
ORDER BY relname COLLATE "C")";

std::vector<std::string> texts_of(Connection& connection, const char* query) {
  const ResultHandle rows = rows_of(connection, query);
  std::vector<std::string> texts;
  for (int row = 0; row < PQntuples(rows.get()); ++row) texts.emplace_back(PQgetvalue(rows.get(), row, 0));
  return texts;
}

}  // namespace

StoreDescription describe_store(const std::string& connection_string) {
  Connection connection(connection_string);
  const ResultHandle place = rows_of(connection, kPlace);
  const auto told = [&place](int column) { return std::string(PQgetvalue(place.get(), 0, column)); };
  StoreDescription description;
  description.engine = "PostgreSQL";
  description.version = told(0);
  description.place = connection.address() + ", database " + told(1) + ", schema " + told(2);
  description.collation = told(3);
  description.lacking_rights = texts_of(connection, kLackingRights);
  const ResultHandle tables = rows_of(connection, kTables);
  for (int row = 0; row < PQntuples(tables.get()); ++row) {
    const auto may = [&](int right) { return std::string_view(PQgetvalue(tables.get(), row, right)) == "t"; };
    description.tables.emplace_back(PQgetvalue(tables.get(), row, 0));
    if (!may(1)) description.unreadable.push_back(description.tables.back());
    if (!may(2)) description.unwritable.push_back(description.tables.back());
  }
  return description;
}

}  // namespace mercato::store::postgres
