// SPDX-License-Identifier: Apache-2.0
// mercato prices: documents with price lines.
#include <iostream>
#include <map>
#include <optional>
#include <unordered_map>

#include "exchange/document_judging.h"
#include "exchange/uploading/price_document.h"
#include "frame/lib_error_handling.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "mercato/settings.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/upload/report_printing.h"
#include "tools/cli/upload/terminal_watcher.h"
#include "tools/cli/upload_journal.h"
#include "upload/price_validation.h"
#include "upload/upload_documents.h"

namespace mercato::cli {
namespace prices_commands {

struct PricePreview {
  std::string document;
  bool all = false;
  JudgingChoices judging;
};
struct PriceDocument {
  std::string document;
  std::string file_key;
  std::string rest;
  bool atomic = false;
  JudgingChoices judging;
  bool without_journal = false;
};

struct CheckedLine {
  enum class State { valid, invalid, without_product };

  std::string part_number;
  std::size_t number = 0;  // among those of its part number
  std::string product_name;
  std::vector<std::pair<std::string, std::string>> errors;
  std::optional<UploadField> fault;  // of a line that cannot be judged

  State state() const {
    if (fault) return State::invalid;
    if (product_name.empty()) return State::without_product;  // an upload leaves it, whatever is in it
    return errors.empty() ? State::valid : State::invalid;
  }
};

// A line is judged in a document of its own: one that the library cannot read costs no other one its judgement.
void judge(const ComponentPtr& prices, exchange::DocumentJudge& values, const xml::Node& record, CheckedLine& line) {
  line.fault = upload::reason_not_judged(record);
  if (line.fault) return;
  if (!upload::has_content(record)) {
    line.fault = UploadField{{}, {}, "it has no fields"};
    return;
  }
  exchange::JudgedRecord judged = values.judge(record);
  if (judged.refused) {
    for (const exchange::Finding& finding : judged.findings)
      if (!finding.accepted)
        line.errors.emplace_back(finding.field, finding.value + "  (line " + std::to_string(finding.place.line) + ": " +
                                                    exchange::sentence_of(finding) + ")");
    return;
  }
  try {
    const std::string document = judged.rewritten ? judged.text : record.save_text();
    const auto errors = call(prices, "GetErrorsInPriceValues", {document, false, line.part_number}).to<Dictionary>();
    errors->Item("PRICE 1").to<Dictionary>()->for_each([&](const Variant& field, const Variant& value) {
      line.errors.emplace_back(field.to_text(), value.to_text());
    });
  } catch (const Raised& raised) {
    line.fault = exchange::told_of(raised.error());
  }
}

// Of a line that can be judged; empty without a product.
std::string product_name_of(const ComponentPtr& prices, const xml::Node& record, const std::string& part_number) {
  if (part_number.empty()) return {};  // never listed
  return call(prices, "GetCheckedPriceList", {record.save_text(), false})
      .to<Dictionary>()
      ->Item(part_number)
      .to<Collection>()
      ->Item(2)
      .to_text();
}

std::vector<CheckedLine> check(const PricePreview& given) {
  const std::string& path = given.document;
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  if (!document.load(path)) raise(eUnableToLoadXML, {}, document.error());
  const xml::NodeList records = document.elements_by_tag_name(upload::kPriceDocument.record);
  if (records.empty())
    raise(eUnableToLoadXML, {}, "\"" + path + "\" has no element ProductPrice, so there is nothing to check.");
  const ComponentPtr prices = create_root("Mercato.PriceXML");
  call(prices, "GetCheckedPriceList", {exchange::kPriceDocumentWithoutFields, false});

  exchange::DocumentJudge values(upload::kPriceDocument, judging_options(given.judging, false));
  std::vector<CheckedLine> lines;
  std::unordered_map<std::string, std::size_t> numbers;
  std::unordered_map<std::string, std::string> names;
  for (const xml::Node& record : records) {
    CheckedLine& line = lines.emplace_back();
    const auto key = record.attribute("buyfrompartnumber");
    if (!key) {
      line.fault = UploadField{{}, {}, "it has no attribute buyfrompartnumber"};
      continue;
    }
    line.part_number = *key;
    line.number = ++numbers[*key];
    judge(prices, values, record, line);
    if (line.fault) continue;
    const auto [name, is_new] = names.try_emplace(*key);
    if (is_new) name->second = product_name_of(prices, record, *key);
    line.product_name = name->second;
  }
  for (const xml::Node& element : exchange::passed_over(document, upload::kPriceDocument)) {
    const exchange::Finding finding = exchange::of_passed_over(element);
    CheckedLine& line = lines.emplace_back();
    line.part_number = finding.number;
    line.fault = UploadField{finding.field, {}, exchange::sentence_of(finding)};
  }
  return lines;
}

void print_json(const std::vector<CheckedLine>& lines, const std::map<CheckedLine::State, std::size_t>& counts) {
  gateway::Json list = gateway::Json::array();
  for (const CheckedLine& line : lines) {
    gateway::Json errors = gateway::Json::object();
    for (const auto& [field, value] : line.errors) errors[field] = value;
    if (line.fault && !line.fault->field.empty()) errors[line.fault->field] = line.fault->value;
    list.push_back({{"partNumber", line.part_number},
                    {"line", line.number},
                    {"name", line.product_name},
                    {"valid", line.state() == CheckedLine::State::valid},
                    {"hasProduct", line.state() != CheckedLine::State::without_product},
                    {"errors", std::move(errors)},
                    {"fault", line.fault ? line.fault->reason : ""}});
  }
  const gateway::Json json = {{"read", lines.size()},
                              {"valid", counts.at(CheckedLine::State::valid)},
                              {"invalid", counts.at(CheckedLine::State::invalid)},
                              {"withoutProduct", counts.at(CheckedLine::State::without_product)},
                              {"lines", std::move(list)}};
  std::cout << gateway::line_of(json) << '\n';
}

void add_rows(Table& table, const CheckedLine& line, bool all) {
  const auto add = [&](const std::string& field, const std::string& value) {
    table.add({shown(line.part_number), std::to_string(line.number), shown(line.product_name, 40), shown(field),
               shown(value, 200)});
  };
  switch (line.state()) {
    case CheckedLine::State::valid:
      if (all) add("valid", "");
      break;
    case CheckedLine::State::without_product:
      add("", "no product has this part number");
      break;
    case CheckedLine::State::invalid:
      if (line.fault)
        add(line.fault->field,
            line.fault->value + (line.fault->value.empty() ? "" : "  ") + "(" + line.fault->reason + ")");
      for (const auto& [field, value] : line.errors) add(field, value.empty() ? "(missing)" : value);
      break;
  }
}

int preview_prices(const PricePreview& given, const OutputOptions& output) {
  using State = CheckedLine::State;
  const std::vector<CheckedLine> lines = check(given);
  std::map<State, std::size_t> counts = {{State::valid, 0}, {State::invalid, 0}, {State::without_product, 0}};
  Table table({"PART NUMBER", "LINE", "NAME", "FIELD", "VALUE"});
  for (const CheckedLine& line : lines) {
    ++counts[line.state()];
    add_rows(table, line, given.all);
  }
  if (output.json) {
    print_json(lines, counts);
  } else {
    table.print(std::cout);
    if (!table.empty()) std::cout << '\n';
    const auto alarm = [](std::size_t count, const std::string& what) {
      const std::string text = std::to_string(count) + " " + what;
      return count > 0 ? bad(text) : text;
    };
    std::cout << counted(lines.size(), "line") << ": " << good(std::to_string(counts[State::valid]) + " valid") << ", "
              << alarm(counts[State::invalid], "invalid") << ", "
              << alarm(counts[State::without_product], "without a product") << ".\n";
  }
  return counts[State::valid] == lines.size() ? kDone : kDoneInPart;
}

void print_json(const UploadReport& report) {
  const gateway::Json json = {{"read", report.read},
                              {"applied", report.applied()},
                              {"added", report.inserted},
                              {"changed", report.changed()},
                              {"unchanged", unchanged_json(report)},
                              {"upload", upload_json(report.journal)},
                              {"refused", report.refused},
                              {"remaining", report.remaining},
                              {"remainingFile", report.remaining_file},
                              {"refusals", to_json(report.refusals)},
                              {"left", to_json(report.unreachable)},
                              {"stoppedBy", report.stopped_by},
                              {"restFile", report.rest_file},
                              {"atomic", report.atomic},
                              {"interrupted", report.interrupted}};
  std::cout << gateway::line_of(json) << '\n';
}

void print(const UploadReport& report) {
  print_findings("Refused:", report.refusals);
  print_findings("Left:", report.unreachable);
  print_count("read", report.read, "  price lines of the document");
  print_count("applied", report.applied(),
              "  " + std::to_string(report.inserted) + " added, " + std::to_string(report.changed()) + " changed" +
                  unchanged_text(report.unchanged));
  print_count("refused", report.refused, "");
  print_rest(report);
}

int upload_prices(const PriceDocument& given, const OutputOptions& output) {
  UploadJournal journal(!given.without_journal, "prices", given.document);
  const UploadReport report = run_at_terminal<exchange::PriceUpload>(
      {.document = given.document,
       .file_key = given.file_key.empty() ? file_key_for(given.document) : given.file_key,
       .web_root = collaborators::settings()->web_root,
       .judging = judging_options(given.judging, false),
       .rest_file = given.rest,
       .rest_as_lines = output.json,
       .atomic = given.atomic,
       .journal = journal.get()});
  journal.end(result_of(report), kept_findings(report));
  if (output.json)
    print_json(report);
  else
    print(report);
  return status_of(report);
}

}  // namespace prices_commands

void add_prices_commands(Menu& menu) {
  using namespace prices_commands;
  Menu::Group group = menu.group("prices", "Check and upload a document of price lines");
  {
    const auto [command, given] =
        group.add("preview", "Check a ProductPrice document without writing anything",
                  "  mercato prices preview prices.xml\n"
                  "  mercato prices preview --all prices.xml\n"
                  "Exit status 3 when a line is invalid or has no product. An empty QuantityTo is invalid here; the "
                  "upload\ntakes it for no upper end.\n",
                  preview_prices);
    command.add_option("FILE", given.document, "ProductPrice document: a file or a URL")->required();
    command.add_flag("--all", given.all, "List the valid lines too");
    add_judging_options(command, given.judging);
  }
  {
    const auto [command, given] = group.add(
        "upload", "Add or change the price lines of a ProductPrice document",
        "  mercato prices upload prices.xml\n"
        "  mercato prices upload --json prices.xml\n"
        "A line without a group can be added only; with <GROUPBY/>, the empty group, it is changed when it is "
        "there.\nExit status 3 when a line was refused or is left; each is listed with the reason.\n",
        upload_prices);
    command.add_option("FILE", given.document, "ProductPrice document: a file or a URL")->required();
    command.add_option("--key", given.file_key, "What the remaining file's name ends in")->type_name("NAME");
    add_loading_options(command, given.rest, given.atomic);
    add_judging_options(command, given.judging);
    command.add_flag("--no-journal", given.without_journal, "Keep nothing that could take it back");
  }
}

}  // namespace mercato::cli
