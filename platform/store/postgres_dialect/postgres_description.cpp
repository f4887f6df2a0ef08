// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_description.h"

#include <vector>

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
SELECT relname, CASE WHEN has_table_privilege(oid, 'SELECT') THEN 'yes' END,
       CASE WHEN has_table_privilege(oid, 'INSERT') AND has_table_privilege(oid, 'UPDATE') AND has_table_privilege(oid, 'DELETE')
            THEN 'yes' END
FROM pg_class
WHERE relkind IN ('r', 'p') AND relnamespace = to_regnamespace(quote_ident(current_schema())) AND NOT starts_with(relname, 'mercato_')
ORDER BY relname COLLATE "C")";

}  // namespace

StoreDescription describe_store(PostgresServer& server, const std::string& address) {
  const SentValues place = server.rows(kPlace).front();
  StoreDescription description;
  description.engine = "PostgreSQL";
  description.version = place[0].value_or("");
  description.place = address + ", database " + place[1].value_or("") + ", schema " + place[2].value_or("");
  description.collation = place[3].value_or("");
  description.text_search = "GIN, trigrams";
  for (const SentValues& row : server.rows(kLackingRights)) description.lacking_rights.push_back(row[0].value_or(""));
  for (const SentValues& row : server.rows(kTables)) {
    description.tables.push_back(row[0].value_or(""));
    if (row[1] != "yes") description.unreadable.push_back(description.tables.back());
    if (row[2] != "yes") description.unwritable.push_back(description.tables.back());
  }
  return description;
}

}  // namespace mercato::store::postgres
