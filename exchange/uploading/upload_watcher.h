// SPDX-License-Identifier: Apache-2.0
// Hears how an upload goes on, and may end it. Called on the thread of the upload; it must not wait.
#pragma once

#include <cstddef>

#include "exchange/uploading/upload_report.h"

namespace mercato::exchange {

class UploadWatcher {
 public:
  virtual ~UploadWatcher() = default;
  // Before the first record is written: so many can be reached. What is known beforehand is in the report.
  virtual void on_start(std::size_t reachable, const UploadReport& report) {
    static_cast<void>(reachable);
    static_cast<void>(report);
  }
  // So many records more were applied, refused or found not to be applicable.
  virtual void on_records(std::size_t count) { static_cast<void>(count); }
  // What the report says cannot be lost any more. Between two calls its findings only grow.
  virtual void on_settled(const UploadReport& report) { static_cast<void>(report); }
  // Asked before each record: whether the upload ends here.
  virtual bool cancels() { return false; }
};

}  // namespace mercato::exchange
