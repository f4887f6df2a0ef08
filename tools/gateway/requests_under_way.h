// SPDX-License-Identifier: Apache-2.0
// The requests of a session that run or wait for their turn, so that another thread can end one of them.
#pragma once

#include <atomic>
#include <list>
#include <mutex>

#include "tools/gateway/json_values.h"
#include "tools/gateway/request.h"

namespace mercato::gateway {

class RequestsUnderWay {
 public:
  // The requests of the line wait from now on, behind those before. Any thread.
  void wait_for_turn(const Asked& asked);
  // The first one with this id ends with the failure of the call limit. Returns whether there was one. Any thread.
  bool cancel(const Json& id);

  // The one that has waited longest runs, and is done. The session's thread.
  void begin();
  void end();
  // Whether the one that runs was cancelled.
  const std::atomic<bool>& cancelled() const { return cancelled_; }

 private:
  struct One {
    Json id;  // null: nobody can name it
    bool cancelled = false;
  };

  std::mutex mutex_;
  std::list<One> requests_;  // the one that runs stands first
  bool runs_ = false;
  std::atomic<bool> cancelled_ = false;
};

}  // namespace mercato::gateway
