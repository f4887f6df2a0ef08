// SPDX-License-Identifier: Apache-2.0
// What keeps a store alive: its check, its backup while others work, and the way back. A capability of the drivers whose
// stores are files, which nobody else looks after. A server is looked after with means of its own, which know what the
// library does not: other databases, replicas, the log. Any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/store/driver.h"

namespace mercato::store {

// How a driver does it; for its users the functions below.
class Upkeep {
 public:
  virtual ~Upkeep() = default;
  virtual std::vector<std::string> check(const std::string& connection_string) const = 0;
  virtual std::vector<std::string> mend_text_indexes(const std::string& connection_string) const = 0;
  virtual void back_up(const std::string& connection_string, const std::string& file) const = 0;
  virtual std::string restore(const std::string& connection_string, const std::string& backup, bool keep) const = 0;
};

// Raises kFeatureNotAvailable, with what to use instead, for a store whose driver has none.
const Upkeep& upkeep_of(const Driver& driver, const std::string& connection_string);

// The engine's judgement of every page, row and index, a sentence for each fault; empty: sound. Writes nothing.
// Raises what opening the store raises.
std::vector<std::string> check_store(const std::string& connection_string);

// Holds the text indexes of a sound store against their tables, and makes anew those that differ: the tables whose index
// was. Others read meanwhile; who writes waits. Nothing when the store may only be read.
std::vector<std::string> mend_text_indexes(const std::string& connection_string);

// Copies the store as it is at this moment to a new file, which has its name when it is whole, checked and on the disk.
// Others go on reading and writing. Raises kStoreFailure when there is such a file, when the store is damaged (there is
// no file then), and when the file cannot be written.
void back_up_store(const std::string& connection_string, const std::string& file);

// Makes the store what the backup is. A store that can be used is written over in one transaction: others wait for it,
// and read the old store until it stands. One that cannot be used, or is not there, is exchanged for a copy of the
// backup. What was there before is kept beside the store, unless `keep` is false; the result is the name of that file,
// empty when nothing was kept. Raises kStoreFailure, and leaves the store as it is, when the backup is missing, is
// damaged, is no store of this program, or has a log beside it; else what opening and writing the store raise.
std::string restore_store(const std::string& connection_string, const std::string& backup, bool keep);

}  // namespace mercato::store
