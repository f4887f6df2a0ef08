// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/interruption.h"

#include <unistd.h>

#include <atomic>
#include <utility>

namespace mercato::cli {
namespace {

constinit std::atomic<bool> interrupted = false;
constinit std::atomic<bool> upload_runs = false;
constinit std::atomic<bool> upload_interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// Of the one that lives, for the handler.
constinit std::atomic<const std::string*> line_at_end = nullptr;
static_assert(std::atomic<const std::string*>::is_always_lock_free);

// Behind the handler the signal strikes again, and nothing holds it up.
void end_process() {
  if (const std::string* line = line_at_end)
    static_cast<void>(::write(STDERR_FILENO, line->data(), line->size()) == 0);  // nobody is left to hear of a failure
  ::signal(SIGINT, SIG_DFL);
  ::raise(SIGINT);
}

void on_interrupt(int) {
  const bool is_second = upload_runs                 ? upload_interrupted.exchange(true)
                         : store::can_be_cancelled() ? interrupted.exchange(true)
                                                     : true;
  if (is_second) end_process();
}

}  // namespace

bool was_interrupted() { return interrupted; }

Interruptible::Interruptible(std::string last_line) : last_line_(std::move(last_line)), cancellable_(interrupted) {
  interrupted = false;
  line_before_ = line_at_end.exchange(&last_line_);
  ::sigaction(SIGINT, nullptr, &before_);
  if (before_.sa_handler == SIG_IGN) return;
  struct sigaction action = {};
  action.sa_handler = on_interrupt;
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
}

Interruptible::~Interruptible() {
  ::sigaction(SIGINT, &before_, nullptr);
  line_at_end = line_before_;
}

UploadInterruption::UploadInterruption() : outermost_(!upload_runs) {
  if (outermost_) upload_interrupted = false;
  upload_runs = true;
}

UploadInterruption::~UploadInterruption() {
  if (outermost_) upload_runs = false;
}

bool UploadInterruption::is_wanted() { return upload_interrupted; }

}  // namespace mercato::cli
