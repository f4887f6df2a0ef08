// SPDX-License-Identifier: Apache-2.0
// A connection to the store, in the vocabulary that the business classes were written to. Used by one thread at a time.
// Under a transaction or an upload run all connections of the thread share the store session of that unit of work.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mercato/export.h"
#include "mercato/raised_error.h"
#include "mercato/statement.h"
#include "mercato/variant.h"

namespace mercato {

/// @cond internal
namespace store {
class PooledSession;
class Session;
}  // namespace store
/// @endcond

class Recordset;
/// Shared with whoever holds it.
using RecordsetPtr = std::shared_ptr<Recordset>;

/// A connection to the store. One thread at a time.
/// Under a transaction or an upload all connections of a thread share the work of that transaction.
class MERCATO_API Connection : public Object, public std::enable_shared_from_this<Connection> {
 public:
  /// Use `create`: a connection is shared.
  Connection();
  ~Connection() override;
  /// A new connection, closed.
  static std::shared_ptr<Connection> create();
  std::string_view type_name() const override { return "Connection"; }

  /// Raises kObjectOpen when it is open, kStoreFailure when the store cannot be reached. User and password are for
  /// stores that ask for them; options is -1 as a rule and has no effect.
  void Open(const std::string& iConnectionString, const std::string& iUser, const std::string& iPassword,
            std::int32_t iOptions);
  /// Runs one statement. The result is a forward-only recordset, closed when the statement yields no rows.
  /// Raises kObjectClosed, and what the store raises; that failure is kept in Errors.
  RecordsetPtr Execute(const Sql& iStatement, std::int32_t iOptions = -1);
  /// The same, and the number of rows changed.
  RecordsetPtr ExecuteAffecting(const Sql& iStatement, std::int64_t& oAffected, std::int32_t iOptions = -1);
  /// 1 when open, else 0.
  std::int32_t State() const { return open_ ? 1 : 0; }
  /// Raises kObjectClosed when it is closed.
  void Close();
  /// The failures that the store reported on this connection since it was opened.
  const std::vector<RaisedError>& Errors() const { return errors_; }

  /// For the library itself: the session that statements run on now.
  store::Session& session();
  /// What it was opened with.
  const std::string& connection_string() const;
  /// For the library itself: keeps a failure of the store in Errors and passes it on.
  template <class Work>
  auto reporting(Work work) {
    try {
      return work();
    } catch (const Raised& failure) {
      errors_.push_back(failure.error());
      throw;
    }
  }

 private:
  std::unique_ptr<store::PooledSession> own_;  // outside of a unit of work
  std::string connection_string_;              // when it was opened in one
  std::vector<RaisedError> errors_;
  bool open_ = false;
};

/// Shared with whoever holds it.
using ConnectionPtr = std::shared_ptr<Connection>;

/// A thread keeps the store that it works on, and its current error. This forgets both: for hosts that change the
/// settings or put a thread to another use, and for tests.
MERCATO_API void forget_thread_state();

}  // namespace mercato
