// SPDX-License-Identifier: Apache-2.0
#include "frame/upload_run.h"

#include "frame/lib_sql.h"
#include "platform/store/call_limit.h"

namespace mercato {
namespace {

// That of the run, once it was used.
store::Session* session_of_run() {
  const store::UnitOfWork* const unit = store::UnitOfWork::current();
  return unit ? unit->session_in_use(shared_connection_string()) : nullptr;
}

}  // namespace

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

bool StoreRun::looks_ahead() {
  const store::Session* const session = session_of_run();
  return session && session->foresees();
}

void StoreRun::foresee(std::span<const Sql> queries) {
  if (store::Session* const session = session_of_run()) session->foresee(queries);
}

void check_call_limit() { store::check_call_limit_now(); }

}  // namespace mercato
