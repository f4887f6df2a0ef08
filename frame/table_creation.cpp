// SPDX-License-Identifier: Apache-2.0
#include "mercato/table_creation.h"

#include <algorithm>

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "mercato/raised_error.h"
#include "mercato/version.h"
#include "platform/clock/universal_time.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"

namespace mercato {
namespace {

std::vector<std::string> names_missing_in(store::Session& session) {
  std::vector<std::string> missing;
  for (const SchemaDefinition& definition : schema_definitions())
    if (!exists(session, definition)) missing.push_back(definition.name);
  return missing;
}

struct StoreState {
  bool keeps_versions = false;
  std::int32_t version = 0;
  std::vector<std::string> missing;
  bool operator==(const StoreState&) const = default;
};

StoreState state_of(store::Session& session) {
  return {session.table(kVersionTable) != nullptr, schema_version_of(session), names_missing_in(session)};
}

// Everything in one transaction. A step first takes its version's row, which only one of several at once can have.
CreatedTables bring_up_to_date(store::Session& session, const StoreState& found,
                               std::span<const SchemaUpgrade> upgrades) {
  const std::int32_t newest = upgrades.back().version;
  const bool is_new = !found.keeps_versions && found.missing.size() == schema_definitions().size();
  CreatedTables created;
  created.version = newest;
  created.version_before = is_new ? newest : found.version;
  const auto note_version = [&](std::int32_t version) {
    session.execute(Sql("INSERT INTO ") << name(kVersionTable) << " (VERSION, APPLIED, BY_RELEASE) VALUES (" << version
                                        << ", '" << value(clock::universal_time().iso_text()) << "', '"
                                        << value(MERCATO_VERSION) << "')");
  };
  if (!found.keeps_versions)
    session.execute(
        Sql("CREATE TABLE ")
        << name(kVersionTable)
        << " (VERSION int NOT NULL PRIMARY KEY, APPLIED datetime NOT NULL, BY_RELEASE nvarchar(20) NOT NULL)");
  if (is_new) note_version(newest);
  for (const SchemaUpgrade& upgrade : upgrades) {
    if (is_new || upgrade.version <= found.version) continue;
    note_version(upgrade.version);
    for (const std::string_view statement : store::dialect::split_script(upgrade.statements))
      session.execute(Sql::verbatim(std::string(statement)));
  }
  for (const SchemaDefinition& definition : schema_definitions()) {
    if (exists(session, definition)) {
      ++created.existing;
      continue;
    }
    session.execute(Sql::verbatim(std::string(definition.statement)));
    (definition.is_table ? created.tables : created.indexes).push_back(definition.name);
  }
  if (created.version_before != newest || !created.indexes.empty()) session.expect_rows(expected_rows());
  return created;
}

}  // namespace

CreatedTables create_tables_by(std::span<const SchemaUpgrade> upgrades, const std::string& connection_string) {
  const auto session = store::driver_for(connection_string).open("Create=Yes;" + connection_string);
  for (;;) {
    const StoreState found = state_of(*session);
    if (found.version > upgrades.back().version)
      raise(error_number::kStoreFailure, {}, *fault_of_schema_version(found.version));
    session->start_transaction();
    try {
      CreatedTables created = bring_up_to_date(*session, found, upgrades);
      session->commit();
      return created;
    } catch (const Raised&) {
      session->rollback();
      // Somebody else was faster, and has changed what this attempt began with.
      if (state_of(*session) == found) throw;
    }
  }
}

CreatedTables create_tables(const std::string& connection_string) {
  return create_tables_by(schema_upgrades(), connection_string);
}

std::vector<std::string> missing_tables(const std::string& connection_string) {
  const store::PooledSession session = store::acquire_session(connection_string);
  return names_missing_in(*session.get());
}

}  // namespace mercato
