// SPDX-License-Identifier: Apache-2.0
// How the upload commands print what an upload of a document came to. Main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exchange/uploading/upload_report.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

using exchange::UploadFinding;
using exchange::UploadReport;

// The document's own name, so that its remaining file is recognised, and the process, so that two uploads do not meet
// in one.
std::string file_key_for(const std::string& document);

// With the member "line" where a finding has one.
gateway::Json to_json(const std::vector<UploadFinding>& findings);
// A table below a heading; nothing without findings. With a column LINE when a finding has one.
void print_findings(const char* heading, const std::vector<UploadFinding>& findings);
// "written       12  what it means", the number aligned.
void print_count(const char* label, std::size_t number, const std::string& meaning);
// Null without a journal that tells; so is the upload's number.
gateway::Json unchanged_json(const UploadReport& report);
gateway::Json upload_json(std::int32_t journal);
// ", 3 unchanged", or nothing.
std::string unchanged_text(const std::optional<std::size_t>& unchanged);
// How the upload is taken back, when it has changed something and a journal was kept.
void print_way_back(std::int32_t journal, std::size_t changed);
// What remains, what ended the upload early, and the way back.
void print_rest(const UploadReport& report);

// The exit status.
int status_of(const UploadReport& report);

}  // namespace mercato::cli
