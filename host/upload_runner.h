// SPDX-License-Identifier: Apache-2.0
// Runs the uploads of the store that wait, one after the other, and takes over what a process that is gone has left. A
// thread of its own runs an upload, another one keeps its progress in the store. All calls from any thread.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "keeping/upload_queue.h"

namespace mercato::host {

// The folder of the documents: `uploads` in the web root's. Made when it is not there.
std::string uploads_folder();
// What a document that the host calls so leaves for the caller.
std::string rest_of(const std::string& file);

class UploadRunner {
 public:
  UploadRunner();
  // Cancels the one that runs, and waits for its end.
  ~UploadRunner();
  UploadRunner(const UploadRunner&) = delete;
  UploadRunner& operator=(const UploadRunner&) = delete;

  // There is something to do.
  void wake();
  bool running() const;
  // The upload with the counts of this moment, when it runs here.
  keeping::QueuedUpload at_this_moment(keeping::QueuedUpload upload) const;
  // Ends it now when it runs here; whether it does.
  bool cancel(std::int32_t id);

 private:
  struct Run {
    keeping::QueuedUpload upload;
    keeping::UploadWatch watch;
  };
  void work();
  void run(keeping::QueuedUpload upload);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool ending_ = false;
  bool wanted_ = true;
  std::shared_ptr<Run> run_;
  std::thread thread_;
};

}  // namespace mercato::host
