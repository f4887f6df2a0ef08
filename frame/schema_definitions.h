// SPDX-License-Identifier: Apache-2.0
// What the table definitions of the library define. Any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/driver.h"

namespace mercato {

// "CREATE TABLE name ...", "CREATE INDEX name ON table ..." or "CREATE FULLTEXT INDEX ON table ...".
struct SchemaDefinition {
  bool is_table = false;
  std::string name;  // of a text index, which has none, what it is called: "text index of PRODUCT"
  std::string indexed_table;
  bool is_text_index = false;
  std::string_view statement;
};
// Of all schema texts, in their order. Made once.
const std::vector<SchemaDefinition>& schema_definitions();

// How large the tables get, for engines that plan by what they are told.
std::span<const store::ExpectedRows> expected_rows();

// A text index also when the store cannot have any.
bool exists(store::Session& session, const SchemaDefinition& definition);

}  // namespace mercato
