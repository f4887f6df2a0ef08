// SPDX-License-Identifier: Apache-2.0
// Ctrl-C while an upload runs: it ends after the record at hand, and tells what stands. A second one ends the process.
// Main thread.
#pragma once

#include <csignal>

namespace mercato::cli {

// Ctrl-C is only noted while it lives, unless the process was started to ignore it.
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
  struct sigaction before_ = {};
};

}  // namespace mercato::cli
