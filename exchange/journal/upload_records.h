// SPDX-License-Identifier: Apache-2.0
// The uploads that a store keeps in MERCATO_UPLOAD, without what they changed. Days are universal time, as texts
// "2026-07-01T08:30:00", empty for none. Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/driver.h"

namespace mercato::exchange {

struct UploadCounts {
  std::int32_t read = 0;
  std::int32_t inserted = 0;
  std::int32_t updated = 0;
  std::int32_t unchanged = 0;
  std::int32_t refused = 0;
  std::int32_t left = 0;
  bool operator==(const UploadCounts&) const = default;
};

struct Upload {
  std::int32_t id = 0;
  std::string kind;   // products, prices, unspsc, import, catalog, undo
  std::string mode;   // upload, preview
  std::string state;  // waiting, running, done, failed, cancelled
  std::string user;
  std::string file;
  std::string hash;  // SHA-256, empty when it is not known
  std::string accepted;
  std::string started;
  std::string ended;
  UploadCounts counts;
  std::int32_t findings = 0;
  std::int32_t undoes = 0;  // the upload that it takes back, 0 for none
  std::string options;
  std::string stopped_by;
  bool cut_short = false;      // it says that it runs, and its process is gone
  std::int32_t undone_by = 0;  // the latest one that took it back and was not taken back itself
};

struct NewUpload {
  std::string kind;
  std::string user;
  std::string file;
  std::string hash;
  std::string options;
  std::int32_t undoes = 0;
};

struct UploadResult {
  UploadCounts counts;
  std::string stopped_by;  // what ended it early; empty when nothing did
  bool cancelled = false;  // by somebody who wanted its end
};

// What an upload said of a record.
struct KeptFinding {
  std::string outcome;  // refused, dropped, cut, left, accepted, missing
  std::string record;
  std::int32_t line = 0;
  std::string field;
  std::string value;
  std::string reason;
};

// How OPTIONS begins of those that a host was given: it ends them itself.
inline constexpr std::string_view kOfHost = "host ";

// Its id. It runs from now on, in this process.
std::int32_t begin_upload(store::Session& session, const NewUpload& upload);
// That the process is still at it.
void renew_upload(store::Session& session, std::int32_t id);
void end_upload(store::Session& session, std::int32_t id, const UploadResult& outcome,
                std::span<const KeptFinding> findings);

// Behind the `kept` ones that are there.
void keep_findings(store::Session& session, std::int32_t id, std::int32_t kept, std::span<const KeptFinding> findings);

// Newest first, behind the first `offset` of them; at most so many.
std::vector<Upload> uploads(store::Session& session, std::int32_t most, std::int32_t offset = 0);
// Raises 5 with a sentence when there is none.
Upload upload_of(store::Session& session, std::int32_t id);
// Those of a file with this hash that were not taken back, newest first. Without a hash none.
std::vector<Upload> uploads_of_file(store::Session& session, std::string_view hash);
std::vector<KeptFinding> findings_of(store::Session& session, std::int32_t id, std::int32_t most);

// Drops those that ended before the day, with all that is kept of them. How many.
std::size_t forget_uploads(store::Session& session, std::string_view before);

// Who runs this process, by the system.
std::string system_user();
// Of the bytes of a file, in hexadecimal digits; empty when it cannot be read, or is no file.
std::string sha256_of_file(const std::string& path);

}  // namespace mercato::exchange
