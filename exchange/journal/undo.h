// SPDX-License-Identifier: Apache-2.0
// Takes an upload back: its rows become what they were before it, in one transaction. A row that was changed since is
// left, and so is one that something newer refers to. What this changes is itself kept as an upload. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mercato::exchange {

struct UndoOptions {
  bool force = false;  // rows that were changed since, too
  bool trial = false;  // nothing stays
  std::string user;
};

struct LeftRow {
  std::string table;
  std::string record;
  std::string reason;
};

struct Undone {
  std::int32_t upload = 0;    // the number of the undo itself; 0 of a trial
  std::size_t restored = 0;   // rows that have their values from before
  std::size_t deleted = 0;    // rows that the upload had inserted
  std::size_t inserted = 0;   // rows that it had deleted
  std::size_t unchanged = 0;  // rows that are as they were before it already
  std::vector<LeftRow> left;
};

// Raises 5 with a sentence when there is no such upload, while it runs, when it was taken back already, and when it
// was written without a journal of its rows.
Undone undo_upload(const std::string& connection_string, std::int32_t upload, const UndoOptions& options);

}  // namespace mercato::exchange
