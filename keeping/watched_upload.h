// SPDX-License-Identifier: Apache-2.0
// The upload of one document for a host that does not wait at a terminal: counted, watched and ended from other threads.
// A trial is the upload itself in a transaction that is taken back, so it says what the upload would do; others write
// before or after it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace mercato::keeping {

struct UploadTask {
  std::string kind;      // products, prices, unspsc
  std::string document;  // path of a plain file: XML, or a workbook of codes
  bool is_workbook = false;
  bool trial = false;
  bool write_on_errors = false;  // a record with a bad field: write what is left of it; for codes: overwrite
  std::string key;               // part of the names of files that the library leaves
};

// What was said of a record.
struct RunFinding {
  std::string outcome;  // refused, dropped, cut, left
  std::string record;   // part number, or code
  std::string field;
  std::string value;
  std::string reason;
};

// What is known of a run while it goes on; any thread.
struct UploadWatch {
  std::atomic<std::int32_t> total = 0;
  std::atomic<std::int32_t> done = 0;  // records that were written or refused
  std::atomic<std::int32_t> inserted = 0;
  std::atomic<std::int32_t> updated = 0;
  std::atomic<std::int32_t> refused = 0;
  std::atomic<std::int32_t> left = 0;
  std::atomic<bool> cancelled = false;  // set by whoever wants the end

  void add(RunFinding finding);
  // Those from this place on.
  std::vector<RunFinding> findings_from(std::size_t first) const;

 private:
  mutable std::mutex mutex_;
  std::vector<RunFinding> findings_;
};

// Runs to the end, or to the cancellation. Raises what ends it early; what was written before stays, and is counted.
void run_upload(const UploadTask& task, UploadWatch& watch);

// Puts what was not written into a document at `rest`: all but the first `done` records in the order of the run, and of
// these the refused ones. Returns false, and makes no file, when that is none, or the task is no document of records.
bool write_rest(const UploadTask& task, std::int32_t done, const std::vector<RunFinding>& findings,
                const std::string& rest);

}  // namespace mercato::keeping
