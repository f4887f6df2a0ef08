// SPDX-License-Identifier: Apache-2.0
// The uploads that a host was given, as rows of MERCATO_UPLOAD: each process of the same store sees the same, and one
// upload runs at a time between all of them, in the order of their numbers. What a process that is gone has left is
// taken for failed. Days are universal time. Any thread. Every function raises what the store raises.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "exchange/journal/upload_records.h"

namespace mercato::exchange {

struct QueuedUpload {
  std::int32_t id = 0;
  std::string kind;   // products, prices, unspsc
  std::string mode;   // preview, upload
  std::string state;  // waiting, running, done, failed, cancelled
  std::string user;   // whose token it was
  std::string name;   // of the file, as it was given
  std::string file;   // what the host calls the file
  bool write_on_errors = false;
  std::string accepted, started, ended;  // 2026-07-01T08:30:00, empty for none
  std::int32_t total = 0, done = 0, findings = 0;
  std::int32_t inserted = 0, updated = 0, unchanged = 0, refused = 0, left = 0;
  std::string stopped_by;  // what ended it early
};

// Its number; it waits from now on.
std::int32_t accept_upload(const QueuedUpload& upload);
std::optional<QueuedUpload> queued_upload(std::int32_t id);
// Newest first.
std::vector<QueuedUpload> queued_uploads(std::int32_t most);
// Findings with numbers beyond `after`, and their numbers.
struct NumberedFinding {
  std::int32_t number = 0;
  KeptFinding finding;
};
std::vector<NumberedFinding> findings_of_upload(std::int32_t id, std::int32_t after, std::int32_t most);

// Whether there is one whose document the host calls so.
bool is_document_of_upload(const std::string& file);

// The next one, which runs from now on in this process; nothing while one runs anywhere.
std::optional<QueuedUpload> claim_upload();
// Those that run and whose process is gone, with the state that they are to end in; they run in this process until then.
std::vector<QueuedUpload> take_abandoned_uploads();
// Keeps what is known of a run: its counts, and findings behind the `kept` ones that are there. What was inserted and
// updated the journal counts until the end. True when somebody wants its end.
bool keep_progress(const QueuedUpload& upload, std::int32_t kept, const std::vector<KeptFinding>& findings);
// The same at its end, with its state.
void end_queued_upload(const QueuedUpload& upload, std::int32_t kept, const std::vector<KeptFinding>& findings);
// How many rows one has changed of each record, by part number: price lines when the kind is prices, else any.
std::map<std::string, std::int32_t> changed_records(std::int32_t upload, const std::string& kind);
// Cancels one that waits, or asks for the end of one that runs. False when it has ended.
bool cancel_upload(std::int32_t id);

}  // namespace mercato::exchange
