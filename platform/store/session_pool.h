// Open sessions that nobody uses at the moment, by connection string; one pool for the process, of bounded size.
// Any thread. A process that forks closes the idle sessions before: its child may not use them.
#pragma once

#include <memory>
#include <string>

#include "platform/store/driver.h"

namespace mercato::store {

// Owns a session and gives it back to the pool when it dies, or closes it when it is not reusable.
class PooledSession {
 public:
  PooledSession() = default;
  PooledSession(std::string connection_string, std::unique_ptr<Session> session);
  PooledSession(PooledSession&&) noexcept = default;
  PooledSession& operator=(PooledSession&& other) noexcept;
  ~PooledSession();

  Session* get() const { return session_.get(); }
  Session* operator->() const { return session_.get(); }
  explicit operator bool() const { return session_ != nullptr; }
  // Gives it back now; afterwards this holds none.
  void release() noexcept;

 private:
  std::string connection_string_;
  std::unique_ptr<Session> session_;
};

// An idle session of that store, or a new one. Raises what opening raises.
PooledSession acquire_session(const std::string& connection_string);

// Closes all idle sessions, so that files are let go of (tests, library unload).
void close_idle_sessions();

}  // namespace mercato::store
