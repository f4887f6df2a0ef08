// SPDX-License-Identifier: Apache-2.0
// What a store is and whether it is in order, for people who look after it. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "frame/table_references.h"
#include "platform/store/store_description.h"

namespace mercato {

struct StoreCheck {
  // What the engine finds wrong with its pages, a sentence each; nothing where a server looks after them. A damaged
  // store is asked nothing else.
  std::optional<std::vector<std::string>> damage;
  store::StoreDescription description;
  // What the user of the connection string may not do there, a few words each. Nothing more is told of a store with a
  // table that may not be read.
  std::vector<std::string> lacking_rights;
  std::optional<std::int32_t> schema_version;
  // What schema_versions.h says of that version. Of a newer release's tables nothing more is told.
  std::optional<std::string> version_fault;
  std::vector<std::string> missing;  // tables and indexes of the library
  bool has_no_tables = false;        // all of them are missing
  std::vector<std::string> others;   // tables that are not the library's
  std::optional<std::string> unfinished_copy_of;
  // Tables whose text index did not hold what they do. It was made anew.
  std::vector<std::string> mended_text_indexes;
  std::vector<DanglingRows> dangling;
};
// Reads everything, and writes nothing but text indexes that are wrong. Raises what the store raises.
StoreCheck check_whole_store(const std::string& connection_string);

}  // namespace mercato
