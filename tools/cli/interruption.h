// SPDX-License-Identifier: Apache-2.0
// Ctrl-C. While a call runs under a limit (library.h), the call is ended and takes back what it did, and the command can
// say what stands. While an upload runs it is only noted: the upload ends after the record at hand, and tells what
// stands. A second one, or one between calls, ends the process at once, behind a last line. Main thread.
#pragma once

#include <csignal>
#include <string>

#include "platform/store/call_limit.h"

namespace mercato::cli {

// Whether a call was ended so.
bool was_interrupted();

// Ctrl-C is treated so while it lives, unless the process was started to ignore it. `last_line` goes to standard error.
class Interruptible {
 public:
  explicit Interruptible(std::string last_line);
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

 private:
  std::string last_line_;
  const std::string* line_before_ = nullptr;  // of one that lives around it
  store::Cancellable cancellable_;
  struct sigaction before_ = {};
};

// Within an Interruptible: an upload runs while it lives.
class UploadInterruption {
 public:
  UploadInterruption();
  ~UploadInterruption();
  UploadInterruption(const UploadInterruption&) = delete;
  UploadInterruption& operator=(const UploadInterruption&) = delete;

  // Whether Ctrl-C came since the outermost one began.
  static bool is_wanted();

 private:
  bool outermost_;
};

}  // namespace mercato::cli
