// SPDX-License-Identifier: Apache-2.0
// What a store is, as its driver tells it to people who look after it. Plain values, nothing of them secret.
#pragma once

#include <string>
#include <vector>

namespace mercato::store {

struct StoreDescription {
  std::string engine;   // "SQLite"
  std::string version;  // the engine's own: "3.40.1"
  // Which store of that engine, the same for all connection strings that lead to it: the whole path of a file; server,
  // database and schema.
  std::string place;
  std::string collation;    // what orders its texts, with its version
  std::string text_search;  // what answers patterns with a wildcard in front; empty: the tables are read
  // What its user may not do there and the library needs, but for single tables: "writing: the file may only be read".
  std::vector<std::string> lacking_rights;
  std::vector<std::string> tables;      // all that are there, in the order of their names
  std::vector<std::string> unreadable;  // those of them that its user may not read
  std::vector<std::string> unwritable;  // the same for writing
};

}  // namespace mercato::store
