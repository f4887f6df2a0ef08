// SPDX-License-Identifier: Apache-2.0
// An upload at a terminal: its progress is shown while it runs, and Ctrl-C ends it after the record at hand. Main thread.
#pragma once

#include <optional>

#include "exchange/uploading/upload_watcher.h"
#include "tools/cli/interruption.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {

class TerminalWatcher : public exchange::UploadWatcher {
 public:
  void on_start(std::size_t reachable, const exchange::UploadReport& report) override {
    static_cast<void>(report);
    progress_.emplace(reachable);
  }
  void on_records(std::size_t count) override { progress_->advance(count); }
  bool cancels() override { return UploadInterruption::is_wanted(); }

 private:
  const UploadInterruption interruption_;
  std::optional<Progress> progress_;
};

// Runs it so. What it raises passes.
template <class Upload, class... Options>
exchange::UploadReport run_at_terminal(exchange::UploadSource source, Options... options) {
  TerminalWatcher watcher;
  source.watcher = &watcher;
  return Upload(std::move(source), options...).run();
}

}  // namespace mercato::cli
