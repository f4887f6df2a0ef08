// SPDX-License-Identifier: Apache-2.0
// What an upload of a document comes to. Plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exchange/journal/upload_records.h"

namespace mercato::exchange {

// No record of the document: of all those of its part number.
inline constexpr std::size_t kNoRecord = static_cast<std::size_t>(-1);

struct UploadFinding {
  std::string part_number;
  std::size_t line = 0;  // of the price lines of its part number, from 1; 0 when it concerns no line
  std::string field;     // empty when it concerns the whole record
  std::string value;
  std::string reason;
  std::size_t file_line = 0;       // of the document, from 1; 0 for none
  std::size_t record = kNoRecord;  // its place in the document, from 0
};

struct UploadReport {
  std::size_t read = 0;  // records of the document
  std::size_t inserted = 0;
  std::size_t updated = 0;               // also those that were as the document has them
  std::optional<std::size_t> unchanged;  // of the updated ones, when a journal was kept that tells
  std::size_t repaired = 0;              // of the applied ones: written without the fields listed in `dropped`
  std::size_t refused = 0;
  std::size_t remaining = 0;
  std::vector<UploadFinding> refusals;  // one for each bad field of a refused record
  std::vector<UploadFinding> dropped;
  std::vector<UploadFinding> cut;
  std::vector<UploadFinding> unreachable;  // records that remain because no run can reach or apply them
  std::string remaining_file;              // empty when nothing remains, or no file could be written
  std::string rest_file;                   // empty when none was asked for
  std::string stopped_by;    // what ended the upload early or lost its remaining file; empty when nothing did
  bool interrupted = false;  // its watcher wanted the end
  bool atomic = false;       // all of the document or nothing: with a record that is refused or remains nothing stands
  std::int32_t journal = 0;  // the number of the upload in the journal; 0 for none

  std::size_t applied() const { return inserted + updated; }
  std::size_t changed() const { return updated - unchanged.value_or(0); }
};

// What the journal keeps of it.
UploadResult result_of(const UploadReport& report);
KeptFinding kept_finding(const char* outcome, const UploadFinding& finding);
std::vector<KeptFinding> kept_findings(const UploadReport& report);

}  // namespace mercato::exchange
