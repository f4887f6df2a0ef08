// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/rest_file.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace mercato::exchange {
namespace {

using Json = nlohmann::ordered_json;

const UploadFinding kNotReached{
    .part_number = {}, .field = {}, .value = {}, .reason = "The upload did not come to it, or took it back."};

// A comment may not have two hyphens in a row, nor end in one.
std::string for_comment(const std::string& text) {
  std::string safe;
  for (const char byte : text) {
    if (byte == '-' && safe.ends_with('-')) safe += ' ';
    safe += byte == '\n' || byte == '\r' ? ' ' : byte;
  }
  return safe;
}

}  // namespace

RestFile::RestFile(const std::string& path, bool as_lines, std::string root)
    : file_(path), as_lines_(as_lines), root_(std::move(root)) {
  if (!as_lines_) file_.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root_ + ">\n");
}

void RestFile::set_findings(const std::vector<UploadFinding>& refusals, const std::vector<UploadFinding>& unreachable) {
  of_records_.clear();
  of_part_numbers_.clear();
  for (const auto* findings : {&refusals, &unreachable})
    for (const UploadFinding& finding : *findings)
      if (finding.record != kNoRecord)
        of_records_[finding.record].push_back(finding);
      else
        of_part_numbers_[finding.part_number].push_back(finding);
}

void RestFile::add(std::size_t record, const std::string& part_number, std::size_t line, const std::string& text) {
  if (const auto own = of_records_.find(record); own != of_records_.end())
    return add(part_number, line, own->second, text);
  const auto all = of_part_numbers_.find(part_number);
  add(part_number, line, all == of_part_numbers_.end() ? Findings{kNotReached} : all->second, text);
}

void RestFile::add(const std::string& part_number, std::size_t line, const std::vector<UploadFinding>& findings,
                   const std::string& text) {
  if (as_lines_) {
    Json reasons = Json::array();
    for (const UploadFinding& finding : findings)
      reasons.push_back({{"field", finding.field}, {"value", finding.value}, {"reason", finding.reason}});
    const Json json = {{"line", line}, {"partNumber", part_number}, {"reasons", std::move(reasons)}, {"record", text}};
    return file_.write(json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
  }
  std::string comment = "line " + std::to_string(line);
  for (const UploadFinding& finding : findings) {
    const std::string value = finding.field.empty() ? "" : finding.field + " \"" + finding.value + "\": ";
    comment += "\n       " + for_comment(value + finding.reason);
  }
  file_.write("  <!-- " + comment + " -->\n" + text + (text.empty() || text.ends_with('\n') ? "" : "\n"));
}

void RestFile::finish() {
  if (!as_lines_) file_.write("</" + root_ + ">\n");
  file_.finish();
}

}  // namespace mercato::exchange
