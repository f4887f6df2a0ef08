// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload/report_printing.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iostream>

#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {

std::string file_key_for(const std::string& document) {
  std::string key = std::filesystem::path(document).stem().string();
  for (char& character : key)
    if (std::isalnum(static_cast<unsigned char>(character)) == 0 && character != '-' && character != '_')
      character = '_';
  return key + "-" + std::to_string(::getpid());
}

gateway::Json to_json(const std::vector<UploadFinding>& findings) {
  gateway::Json list = gateway::Json::array();
  for (const UploadFinding& finding : findings) {
    gateway::Json one = {{"partNumber", finding.part_number}};
    if (finding.line > 0) one["line"] = finding.line;
    if (finding.file_line > 0) one["fileLine"] = finding.file_line;
    one["field"] = finding.field;
    one["value"] = finding.value;
    one["reason"] = finding.reason;
    list.push_back(std::move(one));
  }
  return list;
}

void print_findings(const char* heading, const std::vector<UploadFinding>& findings) {
  if (findings.empty()) return;
  const bool with_lines = std::ranges::any_of(findings, [](const UploadFinding& one) { return one.line > 0; });
  const auto number_text = [](std::size_t number) { return number > 0 ? std::to_string(number) : std::string(); };
  const bool with_file_lines =
      std::ranges::any_of(findings, [](const UploadFinding& one) { return one.file_line > 0; });
  std::vector<std::string> headings = {"PART NUMBER", "FIELD", "VALUE", "REASON"};
  if (with_lines) headings.insert(headings.begin() + 1, "LINE");
  if (with_file_lines) headings.insert(headings.begin(), "FILE LINE");
  Table table(std::move(headings));
  for (const UploadFinding& finding : findings) {
    std::vector<std::string> row = {shown(finding.part_number), shown(finding.field), shown(finding.value, 30),
                                    shown(finding.reason, 200)};
    if (with_lines) row.insert(row.begin() + 1, number_text(finding.line));
    if (with_file_lines) row.insert(row.begin(), number_text(finding.file_line));
    table.add(std::move(row));
  }
  std::cout << heading << '\n';
  table.print(std::cout);
  std::cout << '\n';
}

void print_count(const char* label, std::size_t number, const std::string& meaning) {
  constexpr std::size_t kLabelWidth = 9;
  constexpr std::size_t kNumberWidth = 8;
  std::string line = label;
  const std::string text = std::to_string(number);
  line.append(kLabelWidth - line.size(), ' ');
  line.append(text.size() < kNumberWidth ? kNumberWidth - text.size() : 1, ' ');
  std::cout << line << text << meaning << '\n';
}

gateway::Json unchanged_json(const UploadReport& report) {
  return report.unchanged ? gateway::Json(*report.unchanged) : gateway::Json();
}

gateway::Json upload_json(std::int32_t journal) { return journal != 0 ? gateway::Json(journal) : gateway::Json(); }

std::string unchanged_text(const std::optional<std::size_t>& unchanged) {
  return unchanged ? ", " + std::to_string(*unchanged) + " unchanged" : std::string();
}

void print_way_back(std::int32_t journal, std::size_t changed) {
  if (journal == 0 || changed == 0) return;
  const std::string id = std::to_string(journal);
  print_count("upload", static_cast<std::size_t>(journal), "  `mercato uploads undo " + id + "` takes it back");
}

void print_rest(const UploadReport& report) {
  print_count("remaining", report.remaining,
              report.remaining_file.empty() ? "  no remaining file" : "  in " + report.remaining_file);
  if (!report.rest_file.empty())
    print_count("rest", report.refused + report.remaining,
                "  refused or remaining, with their reasons, in " + report.rest_file);
  if (report.atomic && report.refused + report.remaining > 0)
    std::cout << bad("Nothing was written: all of the document or nothing was asked for.") << '\n';
  if (report.read == 0) std::cout << bad("The document has no record of this kind.") << '\n';
  if (!report.stopped_by.empty())
    std::cout << bad("The upload was ended early: ") << shown(report.stopped_by, 500) << '\n';
  print_way_back(report.journal, report.inserted + report.changed());
}

int status_of(const UploadReport& report) {
  if (report.interrupted) return kInterrupted;
  if (!report.stopped_by.empty() || report.read == 0) return kFailed;
  if (report.refused + report.remaining == 0) return kDone;
  return report.atomic ? kFailed : kDoneInPart;
}

}  // namespace mercato::cli
