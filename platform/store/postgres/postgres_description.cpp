// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/postgres_description.h"

#include <vector>

#include "platform/store/postgres/postgres_tables.h"
#include "platform/store/postgres/server_connection.h"

namespace mercato::store::postgres {
namespace {

constexpr const char* kPlace = R"(
SELECT split_part(current_setting('server_version'), ' ', 1), current_database(), coalesce(current_schema(), ''),
       coalesce((SELECT 'mercato, ICU ' || collversion FROM pg_collation WHERE collname = 'mercato' AND pg_collation_is_visible(oid)),
                'none yet: no tables were created'))";

// What is missing, each with its reason. Of the tables one line for each right.
constexpr const char* kLackingRights = R"(
WITH own AS (SELECT oid, quote_ident(relname) AS name FROM pg_class
             WHERE relkind IN ('r', 'p') AND relnamespace = to_regnamespace(quote_ident(current_schema()))),
lacking AS (
  SELECT 1 AS place, 'creating tables: there is no schema in the search path' AS reason WHERE current_schema() IS NULL
  UNION ALL
  SELECT 2, 'creating tables: CREATE on the schema ' || quote_ident(current_schema())
  WHERE NOT has_schema_privilege(current_schema(), 'CREATE')
  UNION ALL
  SELECT 3, 'writing: the server is a standby' WHERE pg_is_in_recovery()
  UNION ALL
  SELECT 4, lower(wanted) || ': ' || wanted || ' on ' || string_agg(name, ', ' ORDER BY name)
  FROM own, unnest(ARRAY['SELECT', 'INSERT', 'UPDATE', 'DELETE']) AS wanted
  WHERE NOT has_table_privilege(oid, wanted) GROUP BY wanted)
SELECT reason FROM lacking ORDER BY place, reason)";

constexpr const char* kTables = R"(
SELECT relname FROM pg_class
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
  description.tables = texts_of(connection, kTables);
  return description;
}

}  // namespace mercato::store::postgres
