// SPDX-License-Identifier: Apache-2.0
#include "platform/store/empty/driver.h"

#include "platform/store/empty/session.h"

namespace mercato::store {
namespace {

class EmptyDriver final : public Driver {
 public:
  std::unique_ptr<Session> open(const std::string& /*connection_string*/) override {
    return std::make_unique<empty::EmptySession>();
  }
  // There is nothing to keep.
  const Upkeep* upkeep() const override { return nullptr; }
  StoreDescription describe(const std::string& /*connection_string*/) const override { return {}; }
};

}  // namespace

Driver& empty_driver() {
  static EmptyDriver driver;
  return driver;
}

}  // namespace mercato::store
