// SPDX-License-Identifier: Apache-2.0
#include "platform/store/session_pool.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "platform/store/call_limit.h"
#include "platform/store/known_drivers.h"

namespace mercato::store {
namespace {

constexpr std::size_t kMostIdlePerStore = 16;
constexpr std::size_t kMostIdle = 64;

struct Idle {
  std::string connection_string;
  std::unique_ptr<Session> session;
  std::uint64_t good_in_call;
};

// Sessions are closed outside of the lock: closing may write.
class Pool {
 public:
  std::optional<Idle> take(const std::string& connection_string) {
    const std::scoped_lock lock(mutex_);
    // The latest first: its caches are warm, and with one store it is the first one looked at.
    const auto found = std::find_if(idle_.rbegin(), idle_.rend(), [&](const Idle& candidate) {
      return candidate.connection_string == connection_string;
    });
    if (found == idle_.rend()) return std::nullopt;
    std::optional<Idle> idle = std::move(*found);
    idle_.erase(std::next(found).base());
    return idle;
  }

  void put(std::string connection_string, std::unique_ptr<Session> session, std::uint64_t good_in_call) {
    std::unique_ptr<Session> surplus;
    const std::scoped_lock lock(mutex_);
    const auto same = std::count_if(idle_.begin(), idle_.end(), [&](const Idle& candidate) {
      return candidate.connection_string == connection_string;
    });
    if (static_cast<std::size_t>(same) >= kMostIdlePerStore) {
      surplus = std::move(session);
      return;
    }
    if (idle_.size() >= kMostIdle) {
      surplus = std::move(idle_.front().session);
      idle_.erase(idle_.begin());
    }
    idle_.push_back({std::move(connection_string), std::move(session), good_in_call});
  }

  void clear() {
    std::vector<Idle> closing;
    const std::scoped_lock lock(mutex_);
    closing.swap(idle_);
  }

 private:
  std::mutex mutex_;
  std::vector<Idle> idle_;  // in the order of their return
};

// Never destroyed: a thread that outlives main may still give a session back. In memory of its own: the process may end
// for want of any.
Pool& pool() {
  alignas(Pool) static std::byte memory[sizeof(Pool)];
  static Pool* const instance = new (memory) Pool;
  return *instance;
}

// Idle sessions are closed in order when the library goes, so that their files are left tidy.
const struct CloseAtExit {
  ~CloseAtExit() { close_idle_sessions(); }
} close_at_exit;

}  // namespace

PooledSession::PooledSession(std::string connection_string, std::unique_ptr<Session> session,
                             std::uint64_t good_in_call)
    : connection_string_(std::move(connection_string)), session_(std::move(session)), good_in_call_(good_in_call) {}

PooledSession& PooledSession::operator=(PooledSession&& other) noexcept {
  if (this != &other) {
    release();
    connection_string_ = std::move(other.connection_string_);
    session_ = std::move(other.session_);
    good_in_call_ = other.good_in_call_;
  }
  return *this;
}

PooledSession::~PooledSession() { release(); }

void PooledSession::release() noexcept {
  if (!session_) return;
  std::unique_ptr<Session> session = std::move(session_);
  if (!session->reset()) return;
  try {
    pool().put(std::move(connection_string_), std::move(session), good_in_call_);
  } catch (...) {
    // Out of memory: the session is closed instead of kept.
  }
}

PooledSession acquire_session(const std::string& connection_string) {
  const std::uint64_t call = call_under_way();
  while (std::optional<Idle> idle = pool().take(connection_string))
    if ((call != 0 && idle->good_in_call == call) || !idle->session->outdated())
      return {std::move(idle->connection_string), std::move(idle->session), call};
  return {connection_string, driver_for(connection_string).open(connection_string), call};
}

void close_idle_sessions() { pool().clear(); }

}  // namespace mercato::store
