// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/driver.h"

#include "platform/store/postgres/backup_commands.h"
#include "platform/store/postgres/session.h"
#include "platform/store/postgres_dialect/postgres_description.h"

namespace mercato::store {
namespace {

class PostgresDriver final : public Driver {
 public:
  std::unique_ptr<Session> open(const std::string& connection_string) override {
    return std::make_unique<postgres::PostgresSession>(connection_string);
  }
  // A server is backed up with the server's own means, which know of its other databases, replicas and log.
  const Upkeep* upkeep() const override { return nullptr; }
  std::string means_of_upkeep(const std::string& connection_string) const override {
    return postgres::backup_commands(connection_string);
  }
  StoreDescription describe(const std::string& connection_string) const override {
    postgres::Connection connection(connection_string);
    return postgres::describe_store(connection, connection.address());
  }
};

}  // namespace

Driver& postgres_driver() {
  static PostgresDriver driver;
  return driver;
}

}  // namespace mercato::store
