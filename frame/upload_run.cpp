// SPDX-License-Identifier: Apache-2.0
#include "frame/upload_run.h"

#include "platform/store/call_limit.h"

namespace mercato {

StoreRun::StoreRun() {
  if (store::UnitOfWork::current()) return;
  unit_.emplace(store::UnitOfWork::Kind::run);
  current_.emplace(&*unit_);
}

StoreRun::~StoreRun() {
  try {
    finish();
  } catch (...) {
    // The call is failing already, with a failure that says more.
  }
}

void StoreRun::finish() {
  current_.reset();
  if (unit_) unit_->commit();
  unit_.reset();
}

void check_call_limit() { store::check_call_limit_now(); }

}  // namespace mercato
