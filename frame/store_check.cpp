// SPDX-License-Identifier: Apache-2.0
#include "frame/store_check.h"

#include <algorithm>

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "mercato/table_creation.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "platform/store/upkeep.h"
#include "values/text.h"

namespace mercato {
namespace {

bool is_own(const std::string& table) {
  return text::equal_names(table, kVersionTable) ||
         std::ranges::any_of(schema_definitions(), [&](const SchemaDefinition& definition) {
           return definition.is_table && text::equal_names(table, definition.name);
         });
}

}  // namespace

StoreCheck check_whole_store(const std::string& connection_string) {
  StoreCheck check;
  const store::Driver& driver = store::driver_for(connection_string);
  if (const store::Upkeep* upkeep = driver.upkeep()) check.damage = upkeep->check(connection_string);
  if (check.damage && !check.damage->empty()) return check;
  check.description = driver.describe(connection_string);
  check.schema_version = schema_version_of(*store::acquire_session(connection_string).get());
  check.version_fault = fault_of_schema_version(check.schema_version);
  if (check.schema_version > schema_version()) return check;
  check.missing = missing_tables(connection_string);
  check.has_no_tables = check.missing.size() == schema_definitions().size();
  std::ranges::remove_copy_if(check.description.tables, std::back_inserter(check.others), is_own);
  check.dangling = find_dangling_rows(connection_string);
  return check;
}

}  // namespace mercato
