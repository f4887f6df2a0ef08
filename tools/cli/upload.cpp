#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <iostream>

#include "collaborators/grundwerk/settings.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/product_upload.h"
#include "tools/cli/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {
namespace {

// The document's own name, so that its remaining file is recognised, and the process, so that two uploads do not meet
// in one.
std::string file_key_for(const std::string& document) {
  std::string key = std::filesystem::path(document).stem().string();
  for (char& character : key)
    if (std::isalnum(static_cast<unsigned char>(character)) == 0 && character != '-' && character != '_')
      character = '_';
  return key + "-" + std::to_string(::getpid());
}

gateway::Json to_json(const std::vector<UploadFinding>& findings) {
  gateway::Json list = gateway::Json::array();
  for (const UploadFinding& finding : findings)
    list.push_back({{"partNumber", finding.part_number},
                    {"field", finding.field},
                    {"value", finding.value},
                    {"reason", finding.reason}});
  return list;
}

void print_json(const UploadReport& report) {
  const gateway::Json json = {{"read", report.read},
                              {"applied", report.applied()},
                              {"inserted", report.inserted},
                              {"updated", report.updated},
                              {"valid", report.applied() - report.repaired},
                              {"repaired", report.repaired},
                              {"refused", report.refused},
                              {"remaining", report.remaining},
                              {"remainingFile", report.remaining_file},
                              {"refusals", to_json(report.refusals)},
                              {"dropped", to_json(report.dropped)},
                              {"cut", to_json(report.cut)},
                              {"unreachable", to_json(report.unreachable)},
                              {"stoppedBy", report.stopped_by}};
  std::cout << gateway::line_of(json) << '\n';
}

void print_findings(const char* heading, const std::vector<UploadFinding>& findings) {
  if (findings.empty()) return;
  Table table({"PART NUMBER", "FIELD", "VALUE", "REASON"});
  for (const UploadFinding& finding : findings)
    table.add({shown(finding.part_number), shown(finding.field), shown(finding.value, 30), shown(finding.reason, 200)});
  std::cout << heading << '\n';
  table.print(std::cout);
  std::cout << '\n';
}

void print(const UploadReport& report) {
  print_findings("Refused:", report.refusals);
  print_findings("Written without these fields:", report.dropped);
  print_findings("Cut to the width of the column:", report.cut);
  print_findings("Left, because no run can reach them:", report.unreachable);

  const auto count = [](const char* label, std::size_t number, const std::string& detail) {
    const std::string text = std::to_string(number);
    std::cout << label << std::string(text.size() < 8 ? 8 - text.size() : 1, ' ') << text << detail << '\n';
  };
  const std::string written =
      "  applied: " + std::to_string(report.inserted) + " inserted, " + std::to_string(report.updated) + " updated";
  count("read     ", report.read, "  records of the document");
  count("valid    ", report.applied() - report.repaired, "  written with all their fields");
  count("repaired ", report.repaired, "  written without the fields listed above");
  count("written  ", report.applied(), written);
  count("skipped  ", report.refused, "  refused");
  count("remaining", report.remaining,
        report.remaining_file.empty() ? "  no remaining file" : "  in " + report.remaining_file);
  if (!report.stopped_by.empty())
    std::cout << bad("The upload was ended early: ") << shown(report.stopped_by, 500) << '\n';
}

}  // namespace

int upload(const UploadOptions& options, const OutputOptions& output) {
  ProductUpload product_upload(
      {.document = options.document,
       .file_key = options.file_key.empty() ? file_key_for(options.document) : options.file_key,
       .web_root = collaborators::settings()->web_root,
       .write_on_errors = options.write_on_errors,
       .update_only = options.update_only});
  const UploadReport report = product_upload.run();
  if (output.json)
    print_json(report);
  else
    print(report);
  if (!report.stopped_by.empty()) return kFailed;
  return report.refused + report.remaining > 0 ? kDoneInPart : kDone;
}

}  // namespace mercato::cli
