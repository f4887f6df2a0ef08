// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/interruption.h"

#include <atomic>

namespace mercato::cli {
namespace {

constinit std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// Behind the handler the signal strikes again, and nothing holds it up.
void end_process() {
  ::signal(SIGINT, SIG_DFL);
  ::raise(SIGINT);
}

void on_interrupt(int) {
  if (!store::can_be_cancelled() || interrupted.exchange(true)) end_process();
}

}  // namespace

bool was_interrupted() { return interrupted; }

Interruptible::Interruptible() : cancellable_(interrupted) {
  interrupted = false;
  ::sigaction(SIGINT, nullptr, &before_);
  if (before_.sa_handler == SIG_IGN) return;
  struct sigaction action = {};
  action.sa_handler = on_interrupt;
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
}

Interruptible::~Interruptible() { ::sigaction(SIGINT, &before_, nullptr); }

}  // namespace mercato::cli
