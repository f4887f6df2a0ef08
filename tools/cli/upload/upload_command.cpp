// SPDX-License-Identifier: Apache-2.0
#include <iostream>

#include "exchange/uploading/product_document.h"
#include "mercato/settings.h"
#include "tools/cli/commands.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/upload/report_printing.h"
#include "tools/cli/upload/terminal_watcher.h"
#include "tools/cli/upload_journal.h"

namespace mercato::cli {
namespace {

void print_json(const UploadReport& report) {
  const gateway::Json json = {{"read", report.read},
                              {"applied", report.applied()},
                              {"inserted", report.inserted},
                              {"updated", report.changed()},
                              {"unchanged", unchanged_json(report)},
                              {"upload", upload_json(report.journal)},
                              {"valid", report.applied() - report.repaired},
                              {"repaired", report.repaired},
                              {"refused", report.refused},
                              {"remaining", report.remaining},
                              {"remainingFile", report.remaining_file},
                              {"refusals", to_json(report.refusals)},
                              {"dropped", to_json(report.dropped)},
                              {"cut", to_json(report.cut)},
                              {"unreachable", to_json(report.unreachable)},
                              {"stoppedBy", report.stopped_by},
                              {"restFile", report.rest_file},
                              {"atomic", report.atomic},
                              {"interrupted", report.interrupted}};
  std::cout << gateway::line_of(json) << '\n';
}

void print(const UploadReport& report) {
  print_findings("Refused:", report.refusals);
  print_findings("Written without these fields:", report.dropped);
  print_findings("Cut to the width of the column:", report.cut);
  print_findings("Left, because no run can reach them:", report.unreachable);

  print_count("read", report.read, "  records of the document");
  print_count("valid", report.applied() - report.repaired, "  written with all their fields");
  print_count("repaired", report.repaired, "  written without the fields listed above");
  print_count("written", report.applied(),
              "  applied: " + std::to_string(report.inserted) + " inserted, " + std::to_string(report.changed()) +
                  " updated" + unchanged_text(report.unchanged));
  print_count("skipped", report.refused, "  refused");
  print_rest(report);
}

}  // namespace

int upload(const UploadOptions& options, const OutputOptions& output) {
  UploadJournal journal(!options.without_journal, "products", options.document);
  const UploadReport report = run_at_terminal<exchange::ProductUpload>(
      {.document = options.document,
       .file_key = options.file_key.empty() ? file_key_for(options.document) : options.file_key,
       .web_root = collaborators::settings()->web_root,
       .judging = judging_options(options.judging, options.write_on_errors),
       .rest_file = options.rest,
       .rest_as_lines = output.json,
       .atomic = options.atomic,
       .journal = journal.get()},
      exchange::ProductUploadOptions{options.write_on_errors, options.update_only});
  journal.end(result_of(report), kept_findings(report));
  if (output.json)
    print_json(report);
  else
    print(report);
  return status_of(report);
}

}  // namespace mercato::cli
