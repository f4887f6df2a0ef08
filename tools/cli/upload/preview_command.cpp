// SPDX-License-Identifier: Apache-2.0
#include <iostream>
#include <optional>

#include "exchange/document_judging.h"
#include "frame/lib_error_handling.h"
#include "frame/sentence.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "platform/xml/document.h"
#include "tools/cli/commands.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"
#include "upload/upload_documents.h"

namespace mercato::cli {
namespace {

struct CheckedRecord {
  std::string part_number;
  std::string name;
  bool valid = false;
  DictionaryPtr errors;                     // field to value; none for a valid one
  std::string fault;                        // of a record that cannot be judged: why
  std::vector<exchange::Finding> findings;  // what refuses its values before the upload sees them
};

// Nothing for a record that the library's list leaves out: one without content and, among updates, one without a
// product.
std::optional<CheckedRecord> judge(const ComponentPtr& reader, const char* method, exchange::DocumentJudge& values,
                                   const xml::Node& element) {
  if (!upload::has_content(element)) return std::nullopt;
  CheckedRecord record;
  record.errors = std::make_shared<Dictionary>();
  const std::optional<std::string> key = element.attribute("buyfrompartnumber");
  if (!key) {
    record.fault = "It has no attribute buyfrompartnumber.";
    return record;
  }
  record.part_number = *key;
  exchange::JudgedRecord judged = values.judge(element);
  if (judged.refused) record.findings = std::move(judged.findings);
  try {
    const std::string document = judged.rewritten && !judged.refused ? judged.text : element.save_text();
    const auto list = call(reader, method, {document, false}).to<Collection>();
    if (list->Count() == 0) return std::nullopt;
    const auto entry = list->Item(1).to<Collection>();
    record.name = entry->Item(2).to_text();
    record.valid = entry->Item(3).to_boolean() && record.findings.empty();
    if (!record.valid)
      record.errors = call(reader, "getErrorsInProductValues", {document, false, *key}).to<Dictionary>();
  } catch (const Raised& raised) {
    if (raised.error().Number == error_number::kStoreFailure) throw;
    record.fault = sentence(raised.error());
  }
  return record;
}

// A record is judged in a document of its own: one that the library cannot judge costs no other one its judgement.
std::vector<CheckedRecord> check(const PreviewOptions& options) {
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  if (!document.load(options.document)) raise(eUnableToLoadXML, {}, document.error());
  exchange::DocumentJudge values(upload::kProductDocument, judging_options(options.judging, false));
  const ComponentPtr reader = create_root("Mercato.ProductXML");
  const char* method = options.update_only ? "GetCheckedProductUpdateList" : "GetCheckedProductInsertList";
  const xml::NodeList elements = document.elements_by_tag_name(upload::kProductDocument.record);
  if (elements.empty())
    raise(eUnableToLoadXML, {}, "\"" + options.document + "\" has no element Product, so there is nothing to check.");
  std::vector<CheckedRecord> records;
  Progress progress(elements.size());
  for (const xml::Node& element : elements) {
    if (auto record = judge(reader, method, values, element)) records.push_back(std::move(*record));
    progress.advance();
  }
  for (const xml::Node& element : exchange::passed_over(document, upload::kProductDocument)) {
    CheckedRecord& record = records.emplace_back();
    record.part_number = element.attribute("buyfrompartnumber").value_or("");
    record.errors = std::make_shared<Dictionary>();
    record.findings.push_back(exchange::of_passed_over(element));
  }
  return records;
}

void print_json(const std::vector<CheckedRecord>& records, std::size_t invalid) {
  gateway::Json list = gateway::Json::array();
  for (const CheckedRecord& record : records) {
    gateway::Json errors = gateway::Json::object();
    record.errors->for_each(
        [&](const Variant& field, const Variant& value) { errors[field.to_text()] = value.to_text(); });
    gateway::Json one = {{"partNumber", record.part_number},
                         {"name", record.name},
                         {"valid", record.valid},
                         {"errors", std::move(errors)}};
    if (!record.fault.empty()) one["reason"] = record.fault;
    for (const exchange::Finding& finding : record.findings)
      one["refused"].push_back({{"line", finding.place.line},
                                {"field", finding.field},
                                {"value", finding.value},
                                {"reason", exchange::sentence_of(finding)}});
    list.push_back(std::move(one));
  }
  const gateway::Json json = {{"read", records.size()},
                              {"valid", records.size() - invalid},
                              {"invalid", invalid},
                              {"records", std::move(list)}};
  std::cout << gateway::line_of(json) << '\n';
}

}  // namespace

int preview(const PreviewOptions& options, const OutputOptions& output) {
  if (options.changes) return preview_changes(options, output);
  const std::vector<CheckedRecord> records = check(options);
  std::size_t invalid = 0;
  Table table({"PART NUMBER", "NAME", "FIELD", "VALUE"});
  for (const CheckedRecord& record : records) {
    if (record.valid) {
      if (options.all) table.add({shown(record.part_number), shown(record.name, 40), "valid", ""});
      continue;
    }
    ++invalid;
    if (!record.fault.empty()) table.add({shown(record.part_number), shown(record.name, 40), "", shown(record.fault)});
    bool first = true;
    for (const exchange::Finding& finding : record.findings) {
      table.add({first ? shown(record.part_number) : "", first ? shown(record.name, 40) : "", shown(finding.field),
                 shown(finding.value, 30) + "  (line " + std::to_string(finding.place.line) + ": " +
                     exchange::sentence_of(finding) + ")"});
      first = false;
    }
    record.errors->for_each([&](const Variant& field, const Variant& value) {
      const std::string text = value.to_text();
      table.add({first ? shown(record.part_number) : "", first ? shown(record.name, 40) : "", shown(field.to_text()),
                 text.empty() ? "(missing)" : shown(text)});
      first = false;
    });
  }
  if (output.json) {
    print_json(records, invalid);
  } else {
    table.print(std::cout);
    if (!table.empty()) std::cout << '\n';
    std::cout << counted(records.size(), "record") << ": " << good(std::to_string(records.size() - invalid) + " valid")
              << ", " << (invalid > 0 ? bad(std::to_string(invalid) + " invalid") : "0 invalid") << ".\n";
  }
  return invalid > 0 ? kDoneInPart : kDone;
}

}  // namespace mercato::cli
