// SPDX-License-Identifier: Apache-2.0
// What an upload of a document came to, and how the upload commands print it. Main thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/cli/upload_journal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

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
  std::size_t updated = 0;
  std::size_t repaired = 0;  // of the applied ones: written without the fields listed in `dropped`
  std::size_t refused = 0;
  std::size_t remaining = 0;
  std::vector<UploadFinding> refusals;  // one for each bad field of a refused record
  std::vector<UploadFinding> dropped;
  std::vector<UploadFinding> cut;
  std::vector<UploadFinding> unreachable;  // records that remain because no run can reach or apply them
  std::string remaining_file;              // empty when nothing remains, or no file could be written
  std::string rest_file;                   // empty when none was asked for
  std::string stopped_by;    // what ended the upload early or lost its remaining file; empty when nothing did
  bool interrupted = false;  // by Ctrl-C: that ended it
  bool atomic = false;       // all of the document or nothing: with a record that is refused or remains nothing stands

  std::size_t applied() const { return inserted + updated; }
};

// The document's own name, so that its remaining file is recognised, and the process, so that two uploads do not meet
// in one.
std::string file_key_for(const std::string& document);

// With the member "line" where a finding has one.
gateway::Json to_json(const std::vector<UploadFinding>& findings);
// A table below a heading; nothing without findings. With a column LINE when a finding has one.
void print_findings(const char* heading, const std::vector<UploadFinding>& findings);
// "written       12  what it means", the number aligned.
void print_count(const char* label, std::size_t number, const std::string& meaning);
// What remains, and what ended the upload early.
void print_rest(const UploadReport& report);

// What the journal keeps of it.
void end_journal(UploadJournal& journal, const UploadReport& report);

// The exit status.
int status_of(const UploadReport& report);

}  // namespace mercato::cli
