// SPDX-License-Identifier: Apache-2.0
#include "mercato/connection.h"

#include <utility>

#include "mercato/recordset.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"

namespace mercato {

Connection::Connection() = default;
Connection::~Connection() = default;

std::shared_ptr<Connection> Connection::create() { return std::make_shared<Connection>(); }

void Connection::Open(const std::string& iConnectionString, const std::string& /*iUser*/,
                      const std::string& /*iPassword*/, std::int32_t /*iOptions*/) {
  if (open_) raise(error_number::kObjectOpen);
  errors_.clear();
  // The session is acquired now, so that a store that cannot be reached fails here and not at the first statement.
  reporting([&] {
    if (store::UnitOfWork* const unit = store::UnitOfWork::current()) {
      connection_string_ = iConnectionString;
      unit->session(iConnectionString);
    } else {
      own_ = std::make_unique<store::PooledSession>(store::acquire_session(iConnectionString));
    }
  });
  open_ = true;
}

RecordsetPtr Connection::Execute(const Sql& iStatement, std::int32_t iOptions) {
  std::int64_t affected = 0;
  return ExecuteAffecting(iStatement, affected, iOptions);
}

RecordsetPtr Connection::ExecuteAffecting(const Sql& iStatement, std::int64_t& oAffected, std::int32_t /*iOptions*/) {
  if (!open_) raise(error_number::kObjectClosed);
  store::Execution execution = reporting([&] { return session().execute(iStatement); });
  oAffected = execution.affected;
  return Recordset::streaming(shared_from_this(), std::move(execution.cursor));
}

void Connection::Close() {
  if (!open_) raise(error_number::kObjectClosed);
  open_ = false;
  own_.reset();
  errors_.clear();
}

store::Session& Connection::session() {
  if (store::UnitOfWork* const unit = store::UnitOfWork::current()) return unit->session(connection_string());
  if (!own_) own_ = std::make_unique<store::PooledSession>(store::acquire_session(connection_string_));
  return *own_->get();
}

const std::string& Connection::connection_string() const {
  return own_ ? own_->connection_string() : connection_string_;
}

}  // namespace mercato
