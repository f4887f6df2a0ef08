// SPDX-License-Identifier: Apache-2.0
#include "platform/store/unit_of_work.h"

#include <utility>

#include "mercato/raised_error.h"

namespace mercato::store {
namespace {

thread_local constinit UnitOfWork* current_unit = nullptr;

}  // namespace

UnitOfWork::~UnitOfWork() { rollback(); }

Session& UnitOfWork::session(const std::string& connection_string) {
  if (failed_) throw Raised(*failed_);
  for (Enlisted& enlisted : enlisted_) {
    if (enlisted.connection_string != connection_string) continue;
    if (enlisted_.size() > 1) flush_run(enlisted.session.get());
    return *enlisted.session.get();
  }
  flush_run(nullptr);
  Enlisted enlisted{connection_string, acquire_session(connection_string)};
  if (kind_ == Kind::transaction)
    enlisted.session->start_transaction();
  else
    enlisted.session->begin_run();
  enlisted_.push_back(std::move(enlisted));
  return *enlisted_.back().session.get();
}

Session* UnitOfWork::session_in_use(const std::string& connection_string) const {
  for (const Enlisted& enlisted : enlisted_)
    if (enlisted.connection_string == connection_string) return enlisted.session.get();
  return nullptr;
}

// Two strings may lead to one store, so only the session in use may hold a run's write lock.
void UnitOfWork::flush_run(const Session* except) {
  if (failed_) throw Raised(*failed_);
  if (kind_ != Kind::run) return;
  for (Enlisted& enlisted : enlisted_)
    if (enlisted.session.get() != except) enlisted.session->flush_run();
}

void UnitOfWork::commit() {
  // The sessions go back to the pool at the end; what a failure left undone is rolled back on that way.
  const std::vector<Enlisted> finished = std::exchange(enlisted_, {});
  if (const auto failed = std::exchange(failed_, std::nullopt)) throw Raised(*failed);
  for (const Enlisted& enlisted : finished) {
    if (kind_ == Kind::transaction)
      enlisted.session->commit();
    else
      enlisted.session->end_run();
  }
}

void UnitOfWork::rollback() noexcept {
  // A session that goes back to the pool rolls back its transaction and ends its run.
  enlisted_.clear();
  failed_.reset();
}

void UnitOfWork::release_unused() noexcept {
  if (kind_ != Kind::transaction) return;
  std::erase_if(enlisted_, [](const Enlisted& enlisted) { return enlisted.session->unused(); });
}

void UnitOfWork::before_waiting() {
  if (!current_unit) return;
  try {
    current_unit->flush_run(nullptr);
  } catch (const Raised& failed) {
    current_unit->failed_ = failed.error();
  }
}

UnitOfWork* UnitOfWork::current() { return current_unit; }

UnitOfWork::Current::Current(UnitOfWork* unit) : previous_(current_unit) {
  if (previous_ && previous_ != unit) previous_->flush_run(nullptr);
  current_unit = unit;
}

UnitOfWork::Current::~Current() { current_unit = previous_; }

}  // namespace mercato::store
