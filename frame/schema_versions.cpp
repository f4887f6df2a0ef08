// SPDX-License-Identifier: Apache-2.0
#include "frame/schema_versions.h"

#include <array>
#include <vector>

#include "mercato/raised_error.h"

namespace mercato {

std::span<const SchemaUpgrade> schema_upgrades() {
  // Version 1 is what the stores of release 0.3.0 and before have, too: all that they lack is created anyway. So are the
  // text indexes of version 2, its four more indexes, and what its engine should know of the tables' sizes, and the
  // tables of the journal of uploads, which are version 3.
  static constexpr auto kUpgrades = std::to_array<SchemaUpgrade>({
      {1, ""},
      {2, ""},
      {3, ""},
  });
  return kUpgrades;
}

std::int32_t schema_version() { return schema_upgrades().back().version; }

std::int32_t schema_version_of(store::Session& session) {
  if (!session.table(kVersionTable)) return 0;
  const store::Execution query = session.execute(Sql("SELECT MAX(VERSION) FROM ") << name(kVersionTable));
  std::vector<Variant> row;
  if (!query.cursor->next()) return 0;
  query.cursor->read(row);
  return row[0].is_null() ? 0 : row[0].to_long();
}

std::optional<std::string> fault_of_schema_version(std::int32_t version) {
  const std::int32_t own = schema_version();
  if (version == own) return std::nullopt;
  const std::string begin = "The tables of the store have version " + std::to_string(version);
  if (version > own)
    return begin + ", and this release knows version " + std::to_string(own) + " at most. Use the newer release";
  return begin + ", and this release needs version " + std::to_string(own) + ". `mercato init` brings them up to date";
}

void require_schema_version(store::Session& session) {
  if (const auto fault = fault_of_schema_version(schema_version_of(session)))
    raise(error_number::kStoreFailure, {}, *fault);
}

}  // namespace mercato
