// SPDX-License-Identifier: Apache-2.0
#include "exchange/importing.h"

#include <algorithm>
#include <tuple>

#include "exchange/category_tree.h"
#include "exchange/formats/csv_format.h"
#include "exchange/formats/xlsx_format.h"
#include "exchange/input/decoded.h"
#include "exchange/input/source.h"
#include "exchange/item_documents.h"
#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kMostExamples = 3;

// Ends the reading of a file of which no more is wanted.
struct Stopped {};

class Import final : public ItemSink {
 public:
  Import(const ImportOptions& options, const PartTaker& take)
      : options_(options),
        take_(take),
        judge_(options.judging),
        categories_(options.folder + "/categories.csv", options.folder + "/product_categories.csv") {
    if (options.findings_file.empty()) return;
    findings_ = std::make_unique<WrittenFile>(options.findings_file);
    findings_->write("line,part_number,field,value,reason,taken,what_to_do\n");
  }

  void header(const std::map<std::string, std::string>& values) override {
    judge_.set_header(values);
    for (const auto& [name, word] : {std::pair("SUPPLIER", "supplier"), std::pair("LANGUAGE", "language")})
      if (const auto found = values.find(name); found != values.end()) found_out(word, found->second);
  }
  void notation(const Notation& found) override {
    judge_.set_notation(found);
    using Dates = Notation::Dates;
    if (found.decimal_sign != 0) found_out("decimal sign", std::string(1, found.decimal_sign));
    if (found.dates != Dates::unknown)
      found_out("dates", found.dates == Dates::iso         ? "year first"
                         : found.dates == Dates::day_first ? "day first"
                                                           : "month first");
  }
  void found_out(std::string_view what, std::string_view value) override {
    report_.found_out.emplace_back(what, value);
  }
  void category(ItemCategory category) override { categories_.add(category); }
  void link(std::string_view number, std::string_view category, Place place) override {
    static_cast<void>(place);
    link(number, category);
  }
  void left_out(std::string_view name, Place place) override {
    static_cast<void>(place);
    ++report_.left_out[std::string(name)];
  }
  void flawed(std::string_view number, std::string_view reason, Place place) override {
    ++report_.read;
    ++report_.refused;
    if (options_.take_number) options_.take_number(number);
    Finding finding{Reason::unreadable, std::string(number), {}, {}, std::string(reason), place};
    if (options_.take_refused) {
      JudgedItem item;
      item.number = number;
      item.place = place;
      options_.take_refused(item, {finding});
    }
    add(std::move(finding));
  }

  void item(Item item) override {
    ++report_.read;
    if (options_.take_number) options_.take_number(item.number);
    found_.clear();
    JudgedItem refused;
    const std::optional<JudgedItem> judged = judge_.judge(item, found_, &refused);
    if (!judged && options_.take_refused) options_.take_refused(refused, found_);
    for (Finding& finding : found_) add(std::move(finding));
    if (!judged) {
      ++report_.refused;
      return;
    }
    for (const std::string& category : judged->categories) link(judged->number, category);
    report_.unchanged_price_lines += judged->unchanged_prices;
    if (judged->is_unchanged)
      ++report_.unchanged;
    else if (judged->fields.empty())
      ++report_.without_record;
    if (judged->fields.empty() && judged->prices.empty()) return;
    if (!documents_) open_documents();
    documents_->add(*judged);
    if (options_.most_in_part > 0 && documents_->products() + documents_->price_lines() >= options_.most_in_part) {
      give_part();
      if (report_.stopped) throw Stopped();
    }
  }

  ImportReport finish() {
    if (!documents_ && options_.most_in_part == 0) open_documents();
    if (documents_) give_part();
    categories_.finish();
    if (options_.take_category) categories_.for_each(options_.take_category);
    if (findings_) findings_->finish();
    report_.categories = categories_.categories();
    report_.links = categories_.links();
    if (report_.categories > 0) report_.categories_file = options_.folder + "/categories.csv";
    if (report_.links > 0) report_.links_file = options_.folder + "/product_categories.csv";
    report_.unknown_units = judge_.unknown_units();
    report_.unknown_currencies = judge_.unknown_currencies();
    for (auto& [key, finding] : merged_) report_.findings.push_back(std::move(finding));
    std::ranges::stable_sort(report_.findings, std::greater(), &MergedFinding::count);
    return std::move(report_);
  }

  ImportReport& report() { return report_; }

 private:
  void link(std::string_view number, std::string_view category) {
    categories_.link(number, category);
    if (options_.take_link) options_.take_link(number, category);
  }

  void open_documents() {
    documents_ = std::make_unique<ItemDocuments>(options_.folder + "/products.xml", options_.folder + "/prices.xml");
  }

  void give_part() {
    documents_->finish();
    report_.products += documents_->products();
    report_.price_lines += documents_->price_lines();
    const ImportedPart part{documents_->products_path(),     documents_->prices_path(),
                            documents_->products(),          documents_->price_lines(),
                            documents_->lines_of_products(), documents_->lines_of_prices()};
    documents_.reset();
    if (!take_(part)) report_.stopped = true;
  }

  void add(Finding finding) {
    if (findings_) write(finding);
    MergedFinding& merged = merged_[{finding.accepted, finding.reason, finding.field}];
    merged.reason = finding.reason;
    merged.accepted = finding.accepted;
    merged.field = finding.field;
    if (merged.count++ < kMostExamples) merged.examples.push_back(std::move(finding));
  }

  void write(const Finding& finding) {
    const ReasonWords& words = words_of(finding.reason);
    std::string row = std::to_string(finding.place.line);
    for (const std::string_view cell :
         {std::string_view(finding.number), std::string_view(finding.field), std::string_view(finding.value),
          words.name, std::string_view(finding.accepted ? "yes" : "no")}) {
      row += ',';
      append_cell(row, cell);
    }
    row += ',';
    append_cell(row, finding.detail.empty() ? words.advice : finding.detail);
    findings_->write(row + "\n");
  }

  const ImportOptions& options_;
  const PartTaker& take_;
  Judge judge_;
  CategoryTree categories_;
  std::unique_ptr<ItemDocuments> documents_;
  std::unique_ptr<WrittenFile> findings_;
  std::vector<Finding> found_;
  std::map<std::tuple<bool, Reason, std::string>, MergedFinding> merged_;
  ImportReport report_;
};

const Format& format_for(const ImportOptions& options, Bytes& bytes) {
  if (!options.format.empty()) {
    if (const Format* format = format_named(options.format)) return *format;
    std::string known;
    for (const Format& format : formats()) known.append(known.empty() ? "" : ", ").append(format.name);
    raise(error_number::kInvalidArgument, {},
          "There is no format \"" + options.format + "\"; there are " + known + ".");
  }
  const std::string_view begin = bytes.peek();
  if (const Format* format = format_of(begin)) return *format;
  // One that is no text in its encoding fails here, with the line.
  BytesOfText text(begin);
  if (begin.find('\0') == std::string_view::npos) Decoded(text).next();
  raise(error_number::kInvalidArgument, {},
        "The file \"" + options.file + "\" is of no format that is known. Name its format with --format.");
}

}  // namespace

ImportReport import_file(const ImportOptions& options, const PartTaker& take) {
  ImportOptions all = options;
  if (!all.supplier.empty()) {
    constexpr std::int32_t kNobody = -1;
    if (zentrik::BusinessPartner().GetBusinessPartnerID(all.supplier).to_long() == kNobody)
      raise(error_number::kInvalidArgument, {}, "There is no business partner \"" + all.supplier + "\".");
    all.judging.defaults.emplace("BUSINESSID", all.supplier);
  }
  if (all.mapping) all.reading.mapping = &*all.mapping;
  const std::unique_ptr<Bytes> bytes = open_source(all.file);
  const Format& format = format_for(all, *bytes);
  Import import(all, take);
  import.report().format = format.name;
  import.notation(format.notation);
  import.report().found_out.clear();  // what the format fixes was not found out
  try {
    format.read(*bytes, all.reading, import);
  } catch (const Stopped&) {
    static_cast<void>(import);  // the report says so
  }
  return import.finish();
}

std::string propose_mapping(const std::string& file, const std::string& encoding, const std::string& sheet) {
  const std::unique_ptr<Bytes> bytes = open_source(file);
  const Format* format = format_of(bytes->peek());
  ReadingOptions options;
  options.encoding = encoding;
  options.sheet = sheet;
  if (format && format->name == "xlsx") return propose_xlsx_mapping(*bytes, options, file);
  if (!format || format->name != "csv")
    raise(error_number::kInvalidArgument, {},
          "The file \"" + file + "\" is no table" +
              (format ? ": it is " + std::string(format->title) + ", which needs no mapping." : "."));
  return propose_csv_mapping(*bytes, options, file);
}

}  // namespace mercato::exchange
