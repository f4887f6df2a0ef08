// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/import/import_report.h"

#include <iostream>
#include <optional>

#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {
namespace {

using exchange::ImportReport;
using exchange::MergedFinding;

void print_findings(const char* heading, const ImportReport& report, bool accepted) {
  Table table({"REASON", "FIELD", "VALUES", "FIRST LINE", "PART NUMBER", "VALUE", "WHAT IT IS"});
  for (const MergedFinding& finding : report.findings) {
    if (finding.accepted != accepted) continue;
    const exchange::ReasonWords& words = exchange::words_of(finding.reason);
    const exchange::Finding& first = finding.examples.front();
    const std::string what = first.detail.empty() || finding.reason != exchange::Reason::unreadable
                                 ? std::string(words.what) + (first.detail.empty() ? "" : ". " + first.detail)
                                 : first.detail;
    table.add({std::string(words.name), shown(finding.field), std::to_string(finding.count),
               first.place.line > 0 ? std::to_string(first.place.line) : "", shown(first.number, 30),
               shown(first.value, 30),
               what + (accepted ? "" : std::string(what.ends_with('.') ? " " : ". ") + std::string(words.advice))});
  }
  if (table.empty()) return;
  std::cout << heading << '\n';
  table.print(std::cout);
  std::cout << '\n';
}

void print_refusals(const UploadTotals& totals) {
  if (totals.refusals.empty()) return;
  Table table({"FIELD", "VALUES", "PART NUMBER", "VALUE", "REASON"});
  for (const auto& [key, refusal] : totals.refusals)
    table.add({shown(key.first), std::to_string(refusal.count), shown(refusal.first.part_number, 30),
               shown(refusal.first.value, 30), shown(key.second, 200)});
  std::cout << "Refused or left by the upload:\n";
  table.print(std::cout);
  std::cout << '\n';
}

void print_codes(const char* heading, const exchange::Judge::UnknownCodes& codes) {
  if (codes.empty()) return;
  Table table({"CODE", "VALUES", "WHAT TO DO"});
  for (const auto& [code, unknown] : codes)
    table.add({shown(code), std::to_string(unknown.count), shown(unknown.proposal, 200)});
  std::cout << heading << '\n';
  table.print(std::cout);
  std::cout << '\n';
}

void print_left_out(const ImportReport& report) {
  if (report.left_out.empty()) return;
  Table table({"LEFT OUT", "VALUES"});
  for (const auto& [name, count] : report.left_out) table.add({shown(name), std::to_string(count)});
  table.print(std::cout);
  std::cout << '\n';
}

void print_categories(const ImportOutcome& outcome) {
  const ImportReport& report = outcome.report;
  if (outcome.groups != nullptr || (report.categories == 0 && report.links == 0)) return;
  std::cout << report.categories << (report.categories == 1 ? " category" : " categories") << " and "
            << counted(report.links, "product") << " in them";
  if (outcome.use == ImportUse::written)
    std::cout << ", in " << report.categories_file << (report.links > 0 ? " and " + report.links_file : "") << ".\n\n";
  else
    std::cout << " are not loaded: --catalog loads them, --to writes them.\n\n";
}

void print_refusals(const keeping::GroupLoading& groups) {
  Table table({"GROUPS", "VALUES", "FIRST", "REASON"});
  const std::pair<const char*, const keeping::GroupCounts*> kinds[] = {{"group", &groups.groups()},
                                                                       {"product", &groups.members()}};
  for (const auto& [what, counts] : kinds)
    for (const auto& [reason, refusal] : counts->refusals)
      table.add({what, std::to_string(refusal.count), shown(refusal.first, 30), shown(reason, 200)});
  if (table.empty()) return;
  std::cout << "Groups and products in them that were refused:\n";
  table.print(std::cout);
  std::cout << '\n';
}

void print_counts(const ImportOutcome& outcome) {
  const char* const added = outcome.use == ImportUse::uploaded ? " added, " : " to be added, ";
  const auto print = [&](const char* label, const keeping::GroupCounts& counts) {
    print_count(label, counts.added + counts.there + counts.refused(),
                "  " + std::to_string(counts.added) + added + std::to_string(counts.there) + " there already, " +
                    std::to_string(counts.refused()) + " refused");
  };
  print("groups", outcome.groups->groups());
  print("in them", outcome.groups->members());
}

void print(const MissingReport& missing) {
  if (!missing.is_known) {
    std::cout << bad("Which products the file does not name is not known: ")
              << "it has records without a part number, or none at all. So nothing was disabled.\n\n";
    return;
  }
  constexpr std::size_t kMostShown = 50;
  Table table({"NOT IN THE FILE", "DESCRIPTION"});
  for (const exchange::MissingProduct& product : missing.products) {
    if (&product - missing.products.data() == static_cast<std::ptrdiff_t>(kMostShown)) break;
    table.add({shown(product.number), shown(product.description, 60)});
  }
  table.print(std::cout);
  if (missing.products.size() > kMostShown)
    std::cout << "and " << missing.products.size() - kMostShown << " more; --json lists all\n";
  if (!table.empty()) std::cout << '\n';
}

void print(const ImportOutcome& outcome) {
  const ImportReport& report = outcome.report;
  const UploadTotals& totals = outcome.totals;
  std::cout << shown(outcome.file, 200) << ": " << report.format;
  for (const auto& [what, value] : report.found_out) std::cout << ", " << what << ' ' << value;
  std::cout << "\n\n";
  print_findings("Refused:", report, false);
  print_findings("Taken all the same:", report, true);
  print_codes("Units that the store does not know:", report.unknown_units);
  print_codes("Currencies that the store does not know:", report.unknown_currencies);
  print_refusals(totals);
  print_left_out(report);
  print_categories(outcome);
  if (outcome.groups != nullptr) print_refusals(*outcome.groups);
  if (outcome.missing) print(*outcome.missing);

  print_count("read", report.read, "  records");
  print_count("refused", report.refused, "  for their values");
  if (report.unchanged + report.unchanged_price_lines > 0)
    print_count("unchanged", report.unchanged,
                "  and " + counted(report.unchanged_price_lines, "price line") + ", which the store has just so");
  if (outcome.missing && outcome.missing->is_known)
    print_count("missing", outcome.missing->products.size(),
                std::string("  products of the supplier that the file does not name") +
                    (outcome.missing->are_disabled ? ", disabled now" : ""));
  if (report.without_record > 0) print_count("prices", report.without_record, "  with prices only");
  if (outcome.use != ImportUse::uploaded) {
    print_count("good", report.products, outcome.use == ImportUse::written ? "  in products.xml" : "  not uploaded");
    print_count("prices", report.price_lines,
                outcome.use == ImportUse::written ? "  price lines in prices.xml" : "  price lines, not uploaded");
    if (outcome.groups != nullptr) print_counts(outcome);
    return;
  }
  const auto kind = [&](const UploadTotals::Kind& counts, std::size_t all, const char* label, const char* inserted,
                        const char* updated) {
    const auto unchanged = totals.journal != 0 ? std::optional(counts.unchanged) : std::nullopt;
    print_count(label, all,
                "  " + std::to_string(counts.inserted) + " " + inserted + ", " + std::to_string(counts.updated) + " " +
                    updated + unchanged_text(unchanged) + ", " + std::to_string(counts.refused) + " refused, " +
                    std::to_string(counts.left) + " left");
  };
  kind(totals.products, report.products, "products", "inserted", "updated");
  kind(totals.prices, report.price_lines, "prices", "added", "changed");
  if (outcome.groups != nullptr) print_counts(outcome);
  for (const std::string& file : totals.remaining_files) std::cout << "left in  " << file << '\n';
  if (!totals.stopped_by.empty())
    std::cout << bad("The import was ended early: ") << shown(totals.stopped_by, 500) << '\n';
  if (totals.taken_back) std::cout << bad("Nothing was written: all of the file or nothing was asked for.") << '\n';
  const auto changed = [](const UploadTotals::Kind& counts) { return counts.inserted + counts.updated; };
  const std::size_t disabled = outcome.missing && outcome.missing->are_disabled ? outcome.missing->products.size() : 0;
  const std::size_t grouped =
      outcome.groups != nullptr ? outcome.groups->groups().added + outcome.groups->members().added : 0;
  print_way_back(totals.journal, changed(totals.products) + changed(totals.prices) + disabled + grouped);
}

gateway::Json json_of(const UploadTotals::Kind& counts, bool has_journal, std::size_t all, const char* inserted,
                      const char* updated) {
  return {{"given", all},
          {inserted, counts.inserted},
          {updated, counts.updated},
          {"unchanged", has_journal ? gateway::Json(counts.unchanged) : gateway::Json()},
          {"refused", counts.refused},
          {"left", counts.left}};
}

gateway::Json json_of(const keeping::GroupCounts& counts) {
  gateway::Json refusals = gateway::Json::array();
  for (const auto& [reason, refusal] : counts.refusals)
    refusals.push_back({{"reason", reason}, {"count", refusal.count}, {"first", refusal.first}});
  return {{"read", counts.added + counts.there + counts.refused()},
          {"added", counts.added},
          {"there", counts.there},
          {"refused", counts.refused()},
          {"refusals", std::move(refusals)}};
}

gateway::Json json_of(const exchange::Judge::UnknownCodes& codes) {
  gateway::Json json = gateway::Json::object();
  for (const auto& [code, unknown] : codes) json[code] = {{"count", unknown.count}, {"proposal", unknown.proposal}};
  return json;
}

void print_json(const ImportOutcome& outcome) {
  const ImportReport& report = outcome.report;
  gateway::Json found_out = gateway::Json::object();
  for (const auto& [what, value] : report.found_out) found_out[what] = value;
  gateway::Json findings = gateway::Json::array();
  for (const MergedFinding& finding : report.findings) {
    const exchange::ReasonWords& words = exchange::words_of(finding.reason);
    gateway::Json examples = gateway::Json::array();
    for (const exchange::Finding& example : finding.examples)
      examples.push_back({{"line", example.place.line},
                          {"partNumber", example.number},
                          {"value", example.value},
                          {"detail", example.detail}});
    findings.push_back({{"reason", words.name},
                        {"what", words.what},
                        {"advice", words.advice},
                        {"field", finding.field},
                        {"count", finding.count},
                        {"taken", finding.accepted},
                        {"examples", std::move(examples)}});
  }
  gateway::Json refusals = gateway::Json::array();
  for (const auto& [key, refusal] : outcome.totals.refusals)
    refusals.push_back({{"field", key.first},
                        {"reason", key.second},
                        {"count", refusal.count},
                        {"partNumber", refusal.first.part_number},
                        {"value", refusal.first.value}});
  gateway::Json json = {{"file", outcome.file},
                        {"format", report.format},
                        {"foundOut", std::move(found_out)},
                        {"read", report.read},
                        {"refused", report.refused},
                        {"unchanged", report.unchanged},
                        {"unchangedPriceLines", report.unchanged_price_lines},
                        {"pricesOnly", report.without_record},
                        {"products", report.products},
                        {"priceLines", report.price_lines},
                        {"categories", report.categories},
                        {"links", report.links},
                        {"findings", std::move(findings)},
                        {"leftOut", report.left_out},
                        {"unknownUnits", json_of(report.unknown_units)},
                        {"unknownCurrencies", json_of(report.unknown_currencies)}};
  if (outcome.use == ImportUse::uploaded) {
    const bool has_journal = outcome.totals.journal != 0;
    json["upload"] = upload_json(outcome.totals.journal);
    json["products"] = json_of(outcome.totals.products, has_journal, report.products, "inserted", "updated");
    json["priceLines"] = json_of(outcome.totals.prices, has_journal, report.price_lines, "added", "changed");
    json["refusals"] = std::move(refusals);
    json["remainingFiles"] = outcome.totals.remaining_files;
    json["stoppedBy"] = outcome.totals.stopped_by;
    json["interrupted"] = outcome.totals.interrupted;
    json["takenBack"] = outcome.totals.taken_back;
  }
  if (outcome.groups != nullptr) {
    json["groups"] = json_of(outcome.groups->groups());
    json["members"] = json_of(outcome.groups->members());
  }
  if (outcome.missing) {
    gateway::Json numbers = gateway::Json::array();
    for (const exchange::MissingProduct& product : outcome.missing->products) numbers.push_back(product.number);
    json["missing"] = {{"known", outcome.missing->is_known},
                       {"disabled", outcome.missing->are_disabled},
                       {"partNumbers", std::move(numbers)}};
  }
  std::cout << gateway::line_of(json) << '\n';
}

}  // namespace

void UploadTotals::add(const UploadFinding& finding) {
  Refusal& refusal = refusals[{finding.field, finding.reason}];
  if (refusal.count++ == 0) refusal.first = finding;
}

void UploadTotals::take_back() {
  taken_back = true;
  for (Kind* kind : {&products, &prices}) {
    kind->left += kind->inserted + kind->updated + kind->unchanged;
    kind->inserted = kind->updated = kind->unchanged = 0;
  }
}

int told(const ImportOutcome& outcome, const OutputOptions& output) {
  if (output.json)
    print_json(outcome);
  else
    print(outcome);
  const UploadTotals& totals = outcome.totals;
  if (totals.interrupted) return kInterrupted;
  if (!totals.stopped_by.empty() || totals.taken_back || outcome.report.read == 0) return kFailed;
  const std::size_t refused =
      outcome.groups != nullptr ? outcome.groups->groups().refused() + outcome.groups->members().refused() : 0;
  return outcome.report.refused + refused == 0 && totals.has_all() ? kDone : kDoneInPart;
}

}  // namespace mercato::cli
