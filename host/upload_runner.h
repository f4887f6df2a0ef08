// SPDX-License-Identifier: Apache-2.0
// Runs the uploads of the store that wait, one after the other, and takes over what a process that is gone has left. A
// thread of its own runs an upload, another one keeps its progress in the store. All calls from any thread.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "exchange/journal/upload_queue.h"
#include "exchange/uploading/upload_watcher.h"

namespace mercato::host {

// The folder of the documents: `uploads` in the web root's. Made when it is not there.
std::string uploads_folder();
// Deletes the documents that no upload is for: their bodies were under way when a host was killed. Raises what the store
// raises.
void forget_half_documents();
// What a document that the host calls so leaves for the caller.
std::string rest_of(const std::string& file);

// Counts what an upload does, for other threads.
class UploadCounter : public exchange::UploadWatcher {
 public:
  void on_start(std::size_t reachable, const exchange::UploadReport& report) override;
  void on_settled(const exchange::UploadReport& report) override;
  bool cancels() override { return cancelled; }
  // How it has ended.
  void end(const exchange::UploadReport& report);

  // The upload with the counts of this moment.
  exchange::QueuedUpload counted(exchange::QueuedUpload upload) const;
  // Those from this place on.
  std::vector<exchange::KeptFinding> findings_from(std::size_t first) const;

  std::atomic<bool> cancelled = false;  // set by whoever wants the end

 private:
  mutable std::mutex mutex_;
  exchange::QueuedUpload counts_;
  std::vector<exchange::KeptFinding> findings_;
  std::array<std::size_t, 4> taken_{};  // of the findings of each list of a report
};

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
  exchange::QueuedUpload at_this_moment(exchange::QueuedUpload upload) const;
  // Ends it now when it runs here; whether it does.
  bool cancel(std::int32_t id);

 private:
  struct Run {
    exchange::QueuedUpload upload;
    UploadCounter watch;
  };
  void work();
  void run(exchange::QueuedUpload upload);
  // Raises what the store raises, and keeps those that could not be ended.
  void end_those_left();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool ending_ = false;
  std::vector<exchange::QueuedUpload> to_end_;  // with the state that they end in; the thread's own
  bool wanted_ = true;
  std::shared_ptr<Run> run_;
  std::thread thread_;
};

}  // namespace mercato::host
