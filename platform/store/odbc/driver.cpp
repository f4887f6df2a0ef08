// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/driver.h"

#include "platform/store/odbc/session.h"
#include "values/text.h"

namespace mercato::store {
namespace {

class OdbcDriver final : public Driver {
 public:
  std::unique_ptr<Session> open(const std::string& connection_string) override {
    return std::make_unique<odbc::OdbcSession>(connection_string);
  }
  // A server is backed up with the server's own means, which know of its other databases, replicas and log.
  const Upkeep* upkeep() const override { return nullptr; }
  std::string means_of_upkeep(const std::string& connection_string) const override {
    const auto dialect = connection_property(connection_string, "Dialect");
    if (dialect && text::equal_names(*dialect, "PostgreSQL"))
      return "`pg_dump --format=custom --file=FILE` backs this one up while others work, `pg_restore --clean "
             "--if-exists --single-transaction FILE` brings it back";
    const std::string database =
        "[" + text::replace_all(connection_property(connection_string, "Database").value_or("NAME"), "]", "]]") + "]";
    return "`BACKUP DATABASE " + database +
           " TO DISK = 'FILE'` backs this one up while others work, `RESTORE DATABASE " + database +
           " FROM DISK = 'FILE'` brings it back";
  }
  StoreDescription describe(const std::string& connection_string) const override {
    return odbc::OdbcSession(connection_string).describe();
  }
};

}  // namespace

Driver& odbc_driver() {
  static OdbcDriver driver;
  return driver;
}

}  // namespace mercato::store
