// SPDX-License-Identifier: Apache-2.0
// How the uploads talk to their observers. Thread of the call.
#pragma once

#include "frame/upload_run.h"
#include "mercato/raised_error.h"

namespace mercato::upload {

// Nothing without an observer.
template <class Observer, class Tell>
void tell(Observer* observer, Tell tell_it) {
  if (!observer) return;
  try {
    if (observer->waits()) StoreRun::before_waiting();
    tell_it(*observer);
  } catch (...) {
  }
}

// Does the work on one record. Whether it is done: false when it failed and the observer goes on behind it.
template <class Observer, class Work>
bool done_or_left_behind(Observer* observer, Work work) {
  try {
    work();
    return true;
  } catch (const Raised& raised) {
    bool goes_on = false;
    tell(observer, [&](Observer& asked) { goes_on = asked.goes_on_behind(raised.error()); });
    if (!goes_on) throw;
    return false;
  }
}

// Whether the observer ends the run before its next record.
template <class Observer>
bool is_cancelled(Observer* observer) {
  bool cancelled = false;
  tell(observer, [&](Observer& asked) { cancelled = asked.cancels(); });
  return cancelled;
}

}  // namespace mercato::upload
