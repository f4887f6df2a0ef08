// SPDX-License-Identifier: Apache-2.0
// mercato preview --changes: what an upload of the document would do with each record.
#include <iostream>
#include <optional>
#include <utility>

#include "exchange/changes.h"
#include "exchange/uploading/price_document.h"
#include "exchange/uploading/product_document.h"
#include "tools/cli/commands.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {
namespace {

using exchange::Change;
using exchange::RecordChange;

const char* word_of(Change change) {
  switch (change) {
    case Change::inserted:
      return "inserted";
    case Change::changed:
      return "changed";
    case Change::unchanged:
      return "unchanged";
    case Change::refused:
      return "refused";
  }
  return "";
}

gateway::Json json_of(const std::vector<UploadField>& fields) {
  gateway::Json list = gateway::Json::array();
  for (const UploadField& field : fields)
    list.push_back({{"field", field.field}, {"value", field.value}, {"reason", field.reason}});
  return list;
}

void print_line(const RecordChange& record) {
  gateway::Json json = {{"line", record.line}, {"partNumber", record.part_number}, {"change", word_of(record.change)}};
  if (record.number > 0) json["priceLine"] = record.number;
  gateway::Json fields = gateway::Json::array();
  for (const exchange::FieldChange& field : record.fields)
    fields.push_back({{"field", field.field}, {"old", field.before}, {"new", field.after}});
  if (!record.fields.empty()) json["fields"] = std::move(fields);
  if (!record.reasons.empty()) json["reasons"] = json_of(record.reasons);
  if (!record.dropped.empty()) json["dropped"] = json_of(record.dropped);
  if (!record.cut.empty()) json["cut"] = json_of(record.cut);
  std::cout << gateway::line_of(json) << '\n';
}

void add_rows(Table& table, const RecordChange& record) {
  constexpr std::size_t kWidth = 30;
  std::string line = std::to_string(record.line);
  std::string number = shown(record.part_number);
  std::string change = word_of(record.change);
  // Only the first row of a record says whose it is.
  const auto add = [&](const std::string& field, const std::string& before, const std::string& after) {
    table.add({std::exchange(line, {}), std::exchange(number, {}), std::exchange(change, {}), shown(field),
               shown(before, kWidth), shown(after, 200)});
  };
  for (const UploadField& reason : record.reasons) add(reason.field, reason.value, reason.reason);
  for (const exchange::FieldChange& field : record.fields) add(field.field, field.before, field.after);
  for (const UploadField& field : record.dropped) add(field.field, field.value, "(left out: " + field.reason + ")");
  for (const UploadField& field : record.cut) add(field.field, field.value, "(" + field.reason + ")");
  if (!line.empty()) add({}, {}, {});
}

}  // namespace

int preview_changes(const PreviewOptions& options, const OutputOptions& output) {
  exchange::ChangeOptions asked;
  asked.document = options.document;
  asked.write_on_errors = options.write_on_errors;
  asked.update_only = options.update_only;
  asked.judging = judging_options(options.judging, options.write_on_errors);
  asked.told_of = [&](const RaisedError& failure, const upload::DocumentKind& kind) {
    if (kind.record == upload::kPriceDocument.record) return exchange::told_of(failure);
    return UploadField{{}, {}, exchange::reason_of(failure, options.update_only)};
  };
  std::optional<Progress> progress;
  asked.counted = [&](std::size_t records) { progress.emplace(records); };
  Table table({"LINE", "PART NUMBER", "CHANGE", "FIELD", "OLD", "NEW"});
  const exchange::ChangeCounts counts = exchange::changes_by_upload(asked, [&](const RecordChange& record) {
    progress->advance();
    if (record.change == Change::unchanged && record.dropped.empty() && record.cut.empty() && !options.all) return;
    if (output.json)
      print_line(record);
    else
      add_rows(table, record);
  });
  progress.reset();
  if (output.json) {
    std::cout << gateway::line_of({{"read", counts.read()},
                                   {"inserted", counts.inserted},
                                   {"changed", counts.changed},
                                   {"unchanged", counts.unchanged},
                                   {"refused", counts.refused}})
              << '\n';
  } else {
    table.print(std::cout);
    if (!table.empty()) std::cout << '\n';
    const std::string refused = std::to_string(counts.refused) + " refused";
    std::cout << counted(counts.read(), "record") << ": " << counts.inserted << " inserted, " << counts.changed
              << " changed, " << counts.unchanged << " unchanged, " << (counts.refused > 0 ? bad(refused) : refused)
              << ". Nothing was written.\n";
  }
  return counts.refused > 0 ? kDoneInPart : kDone;
}

}  // namespace mercato::cli
