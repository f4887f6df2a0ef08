// SPDX-License-Identifier: Apache-2.0
// What the table definitions of the library define. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/store/driver.h"

namespace mercato {

// "CREATE TABLE name ..." or "CREATE INDEX name ON table ...".
struct SchemaDefinition {
  bool is_table = false;
  std::string name;
  std::string indexed_table;
  std::string_view statement;
};
// Of all schema texts, in their order. Made once.
const std::vector<SchemaDefinition>& schema_definitions();

bool exists(store::Session& session, const SchemaDefinition& definition);

}  // namespace mercato
