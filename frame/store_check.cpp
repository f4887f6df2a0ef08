// SPDX-License-Identifier: Apache-2.0
#include "frame/store_check.h"

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "frame/store_copy.h"
#include "mercato/table_creation.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "platform/store/upkeep.h"

namespace mercato {

StoreCheck check_whole_store(const std::string& connection_string) {
  StoreCheck check;
  const store::Driver& driver = store::driver_for(connection_string);
  if (const store::Upkeep* upkeep = driver.upkeep()) check.damage = upkeep->check(connection_string);
  if (check.damage && !check.damage->empty()) return check;
  check.description = driver.describe(connection_string);
  const store::PooledSession session = store::acquire_session(connection_string);
  check.schema_version = schema_version_of(*session.get());
  check.version_fault = fault_of_schema_version(check.schema_version);
  if (check.schema_version > schema_version()) return check;
  check.missing = missing_tables(connection_string);
  check.has_no_tables = check.missing.size() == schema_definitions().size();
  check.others = foreign_tables(check.description.tables);
  check.unfinished_copy_of = source_of_unfinished_copy(*session.get());
  check.dangling = find_dangling_rows(connection_string);
  return check;
}

}  // namespace mercato
