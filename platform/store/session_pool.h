// SPDX-License-Identifier: Apache-2.0
// Open sessions that nobody uses at the moment, by connection string; one pool for the process, of bounded size.
// Any thread. A process that forks closes the idle sessions before: its child may not use them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/store/driver.h"

namespace mercato::store {

// Owns a session and gives it back to the pool when it dies, or closes it when it is not reusable.
class PooledSession {
 public:
  PooledSession() = default;
  // `good_in_call`: the call (call_limit.h) in which the session was found to be up to date.
  PooledSession(std::string connection_string, std::unique_ptr<Session> session, std::uint64_t good_in_call);
  PooledSession(PooledSession&&) noexcept = default;
  PooledSession& operator=(PooledSession&& other) noexcept;
  ~PooledSession();

  Session* get() const { return session_.get(); }
  Session* operator->() const { return session_.get(); }
  explicit operator bool() const { return session_ != nullptr; }
  const std::string& connection_string() const { return connection_string_; }
  // Gives it back now; afterwards this holds none.
  void release() noexcept;

 private:
  std::string connection_string_;
  std::unique_ptr<Session> session_;
  std::uint64_t good_in_call_ = 0;
};

// An idle session of that store, or a new one. Whether an idle one is still that of the store's file is asked once in a
// call from outside: methods that open a connection for each step would ask the file system as often. Raises what
// opening raises.
PooledSession acquire_session(const std::string& connection_string);

// Closes all idle sessions, so that files are let go of (tests, library unload).
void close_idle_sessions();

}  // namespace mercato::store
