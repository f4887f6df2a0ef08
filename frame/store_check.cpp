// SPDX-License-Identifier: Apache-2.0
#include "frame/store_check.h"

#include <algorithm>

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "frame/store_copy.h"
#include "mercato/table_creation.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "platform/store/upkeep.h"

namespace mercato {
namespace {

// "reading: A, B", where a table of the library is among them.
void add_right(std::vector<std::string>& rights, const std::string& right, const std::vector<std::string>& tables,
               const std::vector<std::string>& others) {
  std::string words;
  for (const std::string& table : tables)
    if (std::ranges::find(others, table) == others.end()) words += (words.empty() ? ": " : ", ") + table;
  if (!words.empty()) rights.push_back(right + words);
}

}  // namespace

StoreCheck check_whole_store(const std::string& connection_string) {
  StoreCheck check;
  const store::Driver& driver = store::driver_for(connection_string);
  if (const store::Upkeep* upkeep = driver.upkeep()) check.damage = upkeep->check(connection_string);
  if (check.damage && !check.damage->empty()) return check;
  check.description = driver.describe(connection_string);
  check.others = foreign_tables(check.description.tables);
  check.lacking_rights = check.description.lacking_rights;
  add_right(check.lacking_rights, "writing", check.description.unwritable, check.others);
  const std::size_t rights = check.lacking_rights.size();
  add_right(check.lacking_rights, "reading", check.description.unreadable, check.others);
  if (check.lacking_rights.size() > rights) return check;
  const store::PooledSession session = store::acquire_session(connection_string);
  check.schema_version = schema_version_of(*session.get());
  check.version_fault = fault_of_schema_version(*check.schema_version);
  if (check.schema_version > schema_version()) return check;
  check.missing = missing_tables(connection_string);
  check.has_no_tables = check.missing.size() == schema_definitions().size();
  check.unfinished_copy_of = source_of_unfinished_copy(*session.get());
  if (check.damage && check.lacking_rights.empty())
    check.mended_text_indexes = store::mend_text_indexes(connection_string);
  check.dangling = find_dangling_rows(connection_string);
  return check;
}

}  // namespace mercato
