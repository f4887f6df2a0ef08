#include "frame/upload_run.h"

#include "frame/types/raised_error.h"

namespace mercato {

StoreRun::StoreRun() {
  if (store::UnitOfWork::current()) return;
  unit_.emplace(store::UnitOfWork::Kind::run);
  current_.emplace(&*unit_);
}

StoreRun::~StoreRun() {
  try {
    finish();
  } catch (const Raised&) {
    // The call fails already, with a failure that says more.
  }
}

void StoreRun::finish() {
  current_.reset();
  if (unit_) unit_->commit();
  unit_.reset();
}

}  // namespace mercato
