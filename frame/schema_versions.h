// SPDX-License-Identifier: Apache-2.0
// The versions of the library's tables, and how a store gets from one to the next. A store keeps its versions in a table
// of its own, MERCATO_SCHEMA, a row for each that it has had. Nobody asks for it while the library works: opening a
// store would cost a query. The creation of the tables looks, and so do check and copy, and the tool when a statement
// was refused. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mercato/table_creation.h"
#include "platform/store/driver.h"

namespace mercato {

// The table that a store keeps its versions in. It is none of the schema's tables.
inline constexpr std::string_view kVersionTable = "MERCATO_SCHEMA";

// What brings a store of the version before to this one: statements of the library's dialect, each closed by a semicolon
// at a line's end. A step is never changed once it was released, and stands on what the steps before it have left: a
// table that a later step alters is created by a step, though the schema's texts have it too.
struct SchemaUpgrade {
  std::int32_t version = 0;
  std::string_view statements;
};
// In the order of their versions.
std::span<const SchemaUpgrade> schema_upgrades();
// What the library works with: the last one's version.
std::int32_t schema_version();

// The version of a store, 0 when it keeps none: it has no tables, or they are from a release before versions were kept.
std::int32_t schema_version_of(store::Session& session);
// What to say of a version that is not the library's; nothing of its own.
std::optional<std::string> fault_of_schema_version(std::int32_t version);
// Raises it as kStoreFailure.
void require_schema_version(store::Session& session);

// `create_tables` with other steps, for tests of the steps.
CreatedTables create_tables_by(std::span<const SchemaUpgrade> upgrades, const std::string& connection_string);

}  // namespace mercato
