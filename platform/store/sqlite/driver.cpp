// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/driver.h"

#include "platform/store/sqlite/maintenance.h"
#include "platform/store/sqlite/session.h"

namespace mercato::store {
namespace {

class SqliteDriver final : public Driver {
 public:
  std::unique_ptr<Session> open(const std::string& connection_string) override {
    return std::make_unique<sqlite::SqliteSession>(connection_string);
  }
  // The store is a file, which nobody else looks after.
  const Upkeep* upkeep() const override { return &upkeep_; }
  StoreDescription describe(const std::string& connection_string) const override {
    return sqlite::describe_file(connection_string);
  }

 private:
  sqlite::FileUpkeep upkeep_;
};

}  // namespace

Driver& sqlite_driver() {
  static SqliteDriver driver;
  return driver;
}

}  // namespace mercato::store
