// SPDX-License-Identifier: Apache-2.0
// Locks a store, as somebody who writes to it, while the object lives.
#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace mercato::test {

class LockedStore {
 public:
  explicit LockedStore(const std::string& path) {
    if (sqlite3_open(path.c_str(), &engine_) != SQLITE_OK ||
        sqlite3_exec(engine_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
      throw std::runtime_error("the store for the test was not locked");
  }
  ~LockedStore() { sqlite3_close(engine_); }
  LockedStore(const LockedStore&) = delete;
  LockedStore& operator=(const LockedStore&) = delete;

 private:
  sqlite3* engine_ = nullptr;
};

}  // namespace mercato::test
