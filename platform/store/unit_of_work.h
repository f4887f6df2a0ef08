// SPDX-License-Identifier: Apache-2.0
// The store work of one transaction, or of one run of single statements: all connections that are used under it, on
// this thread, share one session for each connection string. Bound to the thread it was made current on.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/driver.h"
#include "platform/store/session_pool.h"

namespace mercato::store {

class UnitOfWork {
 public:
  enum class Kind {
    transaction,  // everything stands or falls together
    run,          // each statement stands when it has run; flushed together
  };

  explicit UnitOfWork(Kind kind) : kind_(kind) {}
  UnitOfWork(const UnitOfWork&) = delete;
  UnitOfWork& operator=(const UnitOfWork&) = delete;
  // What was not committed is rolled back; a run is ended, failures swallowed. Never throws.
  ~UnitOfWork();

  Kind kind() const { return kind_; }
  // The shared session, enlisted at its first use. Raises the failure of `before_waiting`, if there was one.
  Session& session(const std::string& connection_string);
  // The same when it is enlisted already, else null.
  Session* session_in_use(const std::string& connection_string) const;
  // Raises what the store raises; everything is rolled back then. A run is made durable.
  void commit();
  void rollback() noexcept;
  // Gives back the sessions that the transaction has left nothing in: for the time between two calls.
  void release_unused() noexcept;

  // Before this thread waits for something that is not the store (a document that is fetched, a foreign component, a
  // person): a run lets others see, and write. What fails here ends the run at its next statement, or its commit.
  static void before_waiting();

  // The unit of work that this thread's connections join, or null.
  static UnitOfWork* current();

  // Makes a unit of work (or none: null) current for the life of the guard. A run that it replaces is flushed first,
  // so that its write lock is in nobody's way; raises what that raises.
  class Current {
   public:
    explicit Current(UnitOfWork* unit);
    ~Current();
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;

   private:
    UnitOfWork* previous_;
  };

 private:
  struct Enlisted {
    std::string connection_string;
    PooledSession session;
  };
  void flush_run(const Session* except);

  Kind kind_;
  std::vector<Enlisted> enlisted_;
  std::optional<RaisedError> failed_;  // a run's statements were lost while nobody could be told
};

}  // namespace mercato::store
