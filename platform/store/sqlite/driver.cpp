#include "platform/store/sqlite/driver.h"

#include "platform/store/sqlite/session.h"

namespace mercato::store {
namespace {

class SqliteDriver final : public Driver {
 public:
  std::unique_ptr<Session> open(const std::string& connection_string) override {
    return std::make_unique<sqlite::SqliteSession>(connection_string);
  }
};

}  // namespace

Driver& sqlite_driver() {
  static SqliteDriver driver;
  return driver;
}

}  // namespace mercato::store
