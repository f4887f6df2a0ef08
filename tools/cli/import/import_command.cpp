// SPDX-License-Identifier: Apache-2.0
// mercato import: what suppliers send becomes documents, which are uploaded or kept.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>

#include "exchange/document_judging.h"
#include "exchange/importing.h"
#include "exchange/item_documents.h"
#include "exchange/missing_products.h"
#include "exchange/uploading/price_document.h"
#include "exchange/uploading/product_document.h"
#include "exchange/uploading/rest_file.h"
#include "frame/lib_error_handling.h"
#include "keeping/group_loading.h"
#include "keeping/product_keeping.h"
#include "mercato/settings.h"
#include "platform/files/files.h"
#include "platform/xml/characters.h"
#include "tools/cli/import/import_report.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/upload/terminal_watcher.h"
#include "tools/cli/upload_journal.h"

namespace mercato::cli {
namespace import_command {

using namespace mercato::exchange;

// Enough for the cost of an upload's beginning not to count, few enough for its document to stay small in memory.
constexpr std::size_t kMostInPart = 10'000;

struct Given {
  std::vector<std::string> files;
  bool propose = false;
  bool dry_run = false;
  bool without_journal = false;
  bool atomic = false;
  std::string missing;  // report, disable; empty: they are not looked for
  std::string catalog;  // for the supplier's groups; empty: they are not loaded
  std::string format, mapping, supplier, to, encoding, sheet, language, territory, price_kind, findings, rest;
  std::vector<std::string> units, defaults;
  JudgingChoices judging;
};

std::map<std::string, std::string> pairs(const std::vector<std::string>& texts) {
  std::map<std::string, std::string> pairs;
  for (const std::string& text : texts) pairs[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
  return pairs;
}

ImportOptions options_for(const Given& given, const std::string& file) {
  ImportOptions options;
  options.file = file;
  options.format = given.format;
  if (!given.mapping.empty()) {
    constexpr std::size_t kMostBytes = std::size_t{1} << 20;
    options.mapping = read_mapping(files::read_file(given.mapping, kMostBytes), given.mapping);
  }
  options.reading.encoding = given.encoding;
  options.reading.sheet = given.sheet;
  options.reading.language = given.language;
  options.reading.territory = given.territory;
  options.reading.price_kind = given.price_kind;
  options.judging = judging_options(given.judging, false);
  options.judging.units = pairs(given.units);
  options.judging.defaults = pairs(given.defaults);
  options.supplier = given.supplier;
  options.findings_file = given.findings;
  return options;
}

// A folder of its own for as long as it lives.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "mercato-import-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr)
      raise(error_number::kPathFileAccess, {},
            "No folder for the parts of the import can be made in \"" +
                std::filesystem::temp_directory_path().string() + "\".");
    path_ = path;
  }
  ~TemporaryFolder() {
    std::error_code failure;
    std::filesystem::remove_all(path_, failure);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The road of `mercato upload` and `mercato prices upload`, for each part of a file.
class PartUpload {
 public:
  PartUpload(std::string file_key, RestFile* rest, exchange::Journal* journal, bool atomic)
      : file_key_(std::move(file_key)), rest_(rest), journal_(journal), atomic_(atomic) {
    if (journal != nullptr) totals_.journal = journal->id();
  }

  bool take(const ImportedPart& part) {
    ++number_;
    if (part.product_count > 0) {
      add(totals_.products, run_at_terminal<ProductUpload>(source(part.products, part.product_lines)));
    }
    if (part.price_count > 0 && totals_.stopped_by.empty()) {
      add(totals_.prices, run_at_terminal<PriceUpload>(source(part.prices, part.price_lines)));
    }
    if (UploadInterruption::is_wanted() && totals_.stopped_by.empty()) totals_.stopped_by = "It was interrupted.";
    totals_.interrupted = UploadInterruption::is_wanted();
    return totals_.stopped_by.empty();
  }

  const UploadTotals& totals() const { return totals_; }

 private:
  UploadSource source(const std::string& document, const std::vector<std::size_t>& lines) const {
    return {.document = document,
            .file_key = file_key_ + "-" + std::to_string(number_),
            .web_root = collaborators::settings()->web_root,
            .rest = rest_,
            .lines = &lines,
            .leaves_file = !atomic_,
            .journal = journal_};
  }

  void add(UploadTotals::Kind& kind, const UploadReport& report) {
    kind.inserted += report.inserted;
    kind.updated += report.changed();
    kind.unchanged += report.unchanged.value_or(0);
    kind.refused += report.refused;
    kind.left += report.remaining;
    for (const auto* findings : {&report.refusals, &report.unreachable})
      for (const UploadFinding& finding : *findings) totals_.add(finding);
    if (!report.remaining_file.empty()) totals_.remaining_files.push_back(report.remaining_file);
    if (!report.stopped_by.empty()) totals_.stopped_by = report.stopped_by;
  }

  const std::string file_key_;
  RestFile* const rest_;
  exchange::Journal* const journal_;
  const bool atomic_;  // the file itself is what is left
  std::size_t number_ = 0;
  UploadTotals totals_;
};

// A refused item as records to be corrected: what is good of it, and its bad values as the file has them. Prices of
// which one is bad are told only: without it the others would hold for other quantities.
void add_to_rest(RestFile& rest, const JudgedItem& refused, const std::vector<Finding>& findings) {
  JudgedItem item = refused;
  std::vector<UploadFinding> reasons;
  for (const Finding& finding : findings) {
    if (finding.accepted) continue;
    reasons.push_back({finding.number, 0, finding.field, finding.value, sentence_of(finding)});
    const bool is_of_prices = is_price_value(finding.field);
    if (is_of_prices)
      item.prices.clear();
    else if (!finding.value.empty() && xml::is_name(finding.field))
      item.fields.emplace_back(finding.field, finding.value);
  }
  std::string text = item.fields.empty() || item.number.empty() ? std::string() : product_element(item);
  for (const JudgedPrice& price : item.prices) text += price_element(item.number, price);
  rest.add(item.number, item.place.line, reasons, text);
}

// By the library's call, in the transaction at hand, and with their rows in the journal.
void disable(MissingReport& missing, Journal* journal) {
  constexpr std::size_t kAtOnce = 1000;
  for (std::size_t begin = 0; begin < missing.products.size(); begin += kAtOnce) {
    std::vector<std::int32_t> ids;
    std::vector<std::string> numbers;
    for (std::size_t place = begin; place < std::min(begin + kAtOnce, missing.products.size()); ++place) {
      ids.push_back(missing.products[place].id);
      numbers.push_back(missing.products[place].number);
    }
    if (journal != nullptr) journal->before(Reach::Kind::products, numbers);
    keeping::set_disabled(ids, true, [] {});
  }
  if (journal != nullptr) journal->after();
  missing.are_disabled = true;
}

// What a file says of groups.
class FileGroups {
 public:
  void listen(ImportOptions& options) {
    options.take_category = [this](const ItemCategory& category) {
      groups_.push_back({category.id, category.parent, category.name});
    };
    options.take_link = [this](std::string_view number, std::string_view category) {
      members_.push_back({std::string(number), std::string(category)});
    };
    options.take_number = [this, next = options.take_number](std::string_view number) {
      if (next) next(number);
      good_numbers_.emplace(number);
    };
    options.take_refused = [this, next = options.take_refused](const JudgedItem& item,
                                                               const std::vector<Finding>& findings) {
      if (next) next(item, findings);
      good_numbers_.erase(item.number);
    };
  }

  // In the transaction at hand.
  void load(keeping::GroupLoading& loading, std::int32_t catalog, Journal* journal) const {
    constexpr std::size_t kAtOnce = 500;
    const std::vector<std::string> key = {std::to_string(catalog)};
    if (journal != nullptr) journal->before(Reach::Kind::groups, key);
    loading.load_groups(groups_, members_);
    for (std::size_t begin = 0; begin < members_.size(); begin += kAtOnce) {
      const auto some = std::span(members_).subspan(begin, std::min(kAtOnce, members_.size() - begin));
      std::vector<std::string> numbers;
      for (const keeping::GroupMember& member : some) numbers.push_back(member.number);
      if (journal != nullptr) journal->before(Reach::Kind::products, numbers);
      loading.load_members(some);
    }
    if (journal != nullptr) journal->after();
  }
  // As it would be after the upload of the file.
  void try_out(keeping::GroupLoading& loading) const {
    const OneTransaction never_committed;
    loading.load_groups(groups_, members_);
    loading.load_members(members_, [&](const std::string& number) { return good_numbers_.contains(number); });
  }

 private:
  std::vector<keeping::SupplierGroup> groups_;
  std::vector<keeping::GroupMember> members_;
  std::set<std::string> good_numbers_;
};

MissingReport missing_in(const NamedProducts& named, const std::string& supplier) {
  MissingReport missing;
  missing.is_known = named.are_known();
  if (missing.is_known) missing.products = named.missing(supplier);
  return missing;
}

void end_journal(UploadJournal& journal, const ImportReport& report, const UploadTotals& totals,
                 const std::optional<MissingReport>& missing, const keeping::GroupLoading* groups) {
  std::vector<KeptFinding> findings;
  if (groups != nullptr)
    for (const keeping::GroupCounts* counts : {&groups->groups(), &groups->members()})
      for (const auto& [reason, refusal] : counts->refusals)
        findings.push_back({"refused", refusal.first, 0, {}, {}, reason});
  if (missing && missing->are_disabled)
    for (const MissingProduct& product : missing->products)
      findings.push_back({"missing", product.number, 0, {}, {}, "The file does not name it, so it was disabled."});
  for (const MergedFinding& merged : report.findings)
    for (const Finding& finding : merged.examples)
      findings.push_back({merged.accepted ? "accepted" : "refused", finding.number,
                          static_cast<std::int32_t>(finding.place.line), finding.field, finding.value,
                          std::string(words_of(merged.reason).what)});
  for (const auto& [field_and_reason, refusal] : totals.refusals)
    findings.push_back({"refused", refusal.first.part_number, static_cast<std::int32_t>(refusal.first.line),
                        field_and_reason.first, refusal.first.value, field_and_reason.second});
  const auto both = [&](std::size_t UploadTotals::Kind::*count) {
    return static_cast<std::int32_t>(totals.products.*count + totals.prices.*count);
  };
  UploadResult outcome;
  UploadCounts& counts = outcome.counts;
  counts.inserted = both(&UploadTotals::Kind::inserted);
  counts.updated = both(&UploadTotals::Kind::updated);
  // What the store has just so is in no document.
  counts.unchanged =
      both(&UploadTotals::Kind::unchanged) + static_cast<std::int32_t>(report.unchanged + report.unchanged_price_lines);
  counts.refused = both(&UploadTotals::Kind::refused) + static_cast<std::int32_t>(report.refused);
  counts.left = both(&UploadTotals::Kind::left);
  counts.read = counts.inserted + counts.updated + counts.unchanged + counts.refused + counts.left;
  outcome.stopped_by = totals.stopped_by;
  outcome.cancelled = totals.interrupted;
  journal.end(outcome, findings);
}

int import_one(const Given& given, const std::string& file, RestFile* rest, const OutputOptions& output) {
  ImportOptions options = options_for(given, file);
  if (rest)
    options.take_refused = [rest](const JudgedItem& item, const std::vector<Finding>& findings) {
      add_to_rest(*rest, item, findings);
    };
  NamedProducts named;
  if (!given.missing.empty()) options.take_number = [&](std::string_view number) { named.add(number); };
  std::optional<MissingReport> missing;
  FileGroups file_groups;
  std::optional<keeping::NamedCatalog> catalog;
  std::optional<keeping::GroupLoading> groups;
  if (!given.catalog.empty()) {
    catalog = keeping::catalog_named(given.catalog);
    groups.emplace(*catalog);
    file_groups.listen(options);
  }
  const auto report_of = [&](ImportUse use, const ImportReport& report, const UploadTotals& totals) {
    return told({file, use, report, totals, missing, groups ? &*groups : nullptr}, output);
  };
  const PartTaker take_all = [](const ImportedPart&) { return true; };
  if (!given.to.empty()) {
    if (!files::folder_exists(given.to)) files::create_folder(given.to);
    options.folder = given.to;
    const ImportReport report = import_file(options, take_all);
    return report_of(ImportUse::written, report, {});
  }
  const TemporaryFolder folder;
  options.folder = folder.path();
  options.most_in_part = kMostInPart;
  if (given.dry_run) {
    const ImportReport report = import_file(options, take_all);
    if (!given.missing.empty()) missing = missing_in(named, given.supplier);
    if (groups) file_groups.try_out(*groups);
    return report_of(ImportUse::looked_at, report, {});
  }
  const UploadInterruption interruption;
  UploadJournal journal(!given.without_journal, "import", file);
  std::optional<OneTransaction> all_or_nothing;
  if (given.atomic) all_or_nothing.emplace();
  PartUpload upload("import-" + file_key_for(file), rest, journal.get(), given.atomic);
  const ImportReport report = import_file(options, [&](const ImportedPart& part) { return upload.take(part); });
  UploadTotals totals = upload.totals();
  if (groups && totals.stopped_by.empty()) {
    const auto load = [&] { return file_groups.load(*groups, catalog->id, journal.get()), 0; };
    all_or_nothing ? load() : kept(load);
  }
  const std::size_t groups_refused = groups ? groups->groups().refused() + groups->members().refused() : 0;
  if (all_or_nothing && (report.refused + groups_refused > 0 || !totals.has_all() || !totals.stopped_by.empty())) {
    if (groups) groups->take_back();
    all_or_nothing.reset();
    totals.take_back();
  } else if (!given.missing.empty() && totals.stopped_by.empty()) {
    missing = missing_in(named, given.supplier);
    const bool disables = given.missing == "disable" && !missing->products.empty();
    if (disables && all_or_nothing)
      disable(*missing, journal.get());
    else if (disables)
      kept([&] { return disable(*missing, journal.get()), 0; });
  }
  if (all_or_nothing) all_or_nothing->commit();
  end_journal(journal, report, totals, missing, groups ? &*groups : nullptr);
  return report_of(ImportUse::uploaded, report, totals);
}

std::vector<std::string> format_names() {
  std::vector<std::string> names;
  for (const Format& format : formats()) names.emplace_back(format.name);
  return names;
}

int import_files(const Given& given, const OutputOptions& output) {
  if (!given.missing.empty() && (given.supplier.empty() || given.files.size() > 1)) {
    std::cerr << alarming("mercato: ")
              << "--missing compares one file with all products of its supplier, so it takes one FILE, and needs "
                 "--supplier; --help says more.\n";
    return kUsage;
  }
  if (!given.catalog.empty() && !given.to.empty()) {
    std::cerr << alarming("mercato: ")
              << "--to writes documents and uploads nothing, so there is nothing to load into a catalogue; leave out "
                 "--to or --catalog; --help says more.\n";
    return kUsage;
  }
  if (given.propose) {
    for (const std::string& file : given.files) std::cout << propose_mapping(file, given.encoding, given.sheet);
    return kDone;
  }
  std::optional<RestFile> rest;
  if (!given.rest.empty()) rest.emplace(given.rest, output.json, "Records");
  int status = kDone;
  for (const std::string& file : given.files) {
    const int one = import_one(given, file, rest ? &*rest : nullptr, output);
    const bool ends = one == kFailed || one == kInterrupted;
    status = ends ? one : std::max(status, one);
    if (ends) break;
  }
  if (rest) rest->finish();
  return status;
}

}  // namespace import_command

void add_import_command(Menu& menu) {
  using namespace import_command;
  const auto [command, given] = menu.add(
      "import", "Load what a supplier sends: it is told what it is, judged, and uploaded",
      "  mercato import catalogue.xml --supplier QUILLMARK\n"
      "  mercato import --propose parts.csv > parts.toml      a first mapping of a table's columns, to be read and "
      "mended\n"
      "  mercato import parts.csv.gz --mapping parts.toml --dry-run\n"
      "  mercato import prices.csv --decimal , --dates dmy --accept gtin\n"
      "  mercato import catalogue.xml --supplier QUILLMARK --missing report --dry-run\n"
      "  mercato import catalogue.xml --to documents          writes the documents of an upload, and uploads nothing\n"
      "FILE may be -, and packed with gzip, zstd or zip. A record with a value that is not certain is refused whole, "
      "with\n"
      "its line and reason. Exit status 3 when a record was refused or is left.\n",
      import_files);
  command.add_option("FILE", given.files, "The supplier's files, or - for standard input")->required();
  command
      .add_choice(
          "--format", format_names(), [&given = given](const std::string& name) { given.format = name; },
          "The format, where its content does not tell")
      ->type_name("NAME");
  command.add_option("--mapping", given.mapping, "Which column is what: a file as --propose writes it")
      ->type_name("FILE");
  command.add_flag("--propose", given.propose, "Print a first mapping and do nothing else");
  command.add_flag("--no-journal", given.without_journal, "Keep nothing that could take it back");
  command.add_flag("--atomic", given.atomic, "All of the file or, when a record is refused or left, nothing");
  command
      .add_choice(
          "--missing", {"report", "disable"}, [&given = given](const std::string& what) { given.missing = what; },
          "Products of the supplier that the file does not name: tell them, or disable them, too")
      ->type_name("WHAT");
  command
      .add_option("--catalog", given.catalog,
                  "Load the supplier's groups into this catalogue, too: nodes that are not there, and products into "
                  "their categories")
      ->type_name("CATALOG");
  command.add_flag("--dry-run", given.dry_run, "Judge and report, and upload nothing");
  command.add_option("--to", given.to, "Write the documents into this folder, and upload nothing")->type_name("FOLDER");
  command.add_option("--supplier", given.supplier, "The business partner whose products these are")->type_name("ID");
  command.add_option("--encoding", given.encoding, "The encoding of a text that does not say its own")
      ->type_name("NAME");
  command.add_option("--sheet", given.sheet, "The sheet of a workbook, by its name or its number; else the first")
      ->type_name("NAME");
  command.add_option("--language", given.language, "Of texts that stand in several")->type_name("CODE");
  command.add_option("--territory", given.territory, "Prices of this territory only")->type_name("CODE");
  command.add_option("--price-kind", given.price_kind, "Prices of this kind only")->type_name("NAME");
  add_judging_options(command, given.judging);
  command.add_option("--unit", given.units, "A unit of the file, and which of the store it is")
      ->type_name("CODE=UNIT")
      ->check(is_pair());
  command
      .add_option("--set", given.defaults,
                  "A value for products that have none: UNITCODE, CURRENCY, FROM and TO (of prices), any field")
      ->type_name("FIELD=VALUE")
      ->check(is_pair());
  command
      .add_option("--rest", given.rest,
                  "Write products and prices that were refused or are left into this file, with their reasons")
      ->type_name("FILE");
  command.add_option("--findings", given.findings, "Write all findings into this file, as comma-separated text")
      ->type_name("FILE");
}

}  // namespace mercato::cli
