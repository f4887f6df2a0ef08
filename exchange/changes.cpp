// SPDX-License-Identifier: Apache-2.0
#include "exchange/changes.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "exchange/document_judging.h"
#include "frame/contracts.h"
#include "frame/documents.h"
#include "frame/file_access.h"
#include "frame/lib_error_handling.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product_xml.h"
#include "platform/store/unit_of_work.h"
#include "upload/price_validation.h"
#include "upload/upload_documents.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kRecordsInPart = 250;
constexpr std::size_t kUpdatesInPart = 50;  // an update reads its document anew for each record

struct ChangeRecord {
  std::string text;
  RecordChange told;
};

// What both kinds of documents have in common: the transaction that is rolled back, the parts, the counts.
class Changes {
 public:
  Changes(const ChangeOptions& options, const ChangeTaker& take, const upload::DocumentKind& kind)
      : options_(options),
        take_(take),
        kind_(kind),
        file_key_("changes-" + std::to_string(::getpid())),
        judge_(options.judging ? std::make_optional<DocumentJudge>(kind, *options.judging) : std::nullopt),
        current_(&unit_),
        rows_(open_connection(shared_connection_string())) {
    const std::string root = files::host_path(grundwerk::Configuration().GetWebRootFolder());
    remaining_file_ = upload::remaining_path(kind, root, file_key_);
    if (!files::folder_exists(root)) files::create_folder(root);  // the library makes one level of folders only
  }

 protected:
  ~Changes() = default;

  static UploadField about_all(std::string reason) { return {{}, {}, std::move(reason)}; }

  UploadField told_of(const RaisedError& failure) const {
    return options_.told_of ? options_.told_of(failure, kind_) : about_all(failure.Description);
  }
  // A failure that is the store's, and no record's, ends it all.
  static bool is_of_record(const RaisedError& failure) {
    return failure.Number != error_number::kStoreFailure && failure.Number != error_number::kTimeout &&
           failure.Number != error_number::kOutOfMemory;
  }

  void tell_passed_over(const std::vector<xml::Node>& elements) {
    for (const xml::Node& element : elements) {
      const Finding finding = of_passed_over(element);
      RecordChange told;
      told.line = finding.place.line;
      told.part_number = finding.number;
      told.reasons.push_back({finding.field, finding.value, sentence_of(finding)});
      tell(told);
    }
  }
  void tell(const RecordChange& change) {
    switch (change.change) {
      case Change::inserted:
        ++counts_.inserted;
        break;
      case Change::changed:
        ++counts_.changed;
        break;
      case Change::unchanged:
        ++counts_.unchanged;
        break;
      case Change::refused:
        ++counts_.refused;
        break;
    }
    take_(change);
  }

  // A record that is refused for its values gets its reasons, one that is mended its text.
  void judge(const xml::Node& record, ChangeRecord& one) {
    if (!judge_) return;
    JudgedRecord judged = judge_->judge(record);
    if (judged.rewritten && !judged.refused) one.text = std::move(judged.text);
    for (const Finding& finding : judged.findings) {
      const UploadField told{finding.field, finding.value, sentence_of(finding)};
      if (!finding.accepted)
        one.told.reasons.push_back(told);
      else if (words_of(finding.reason).acceptance == Acceptance::dropped)
        one.told.dropped.push_back(told);
    }
  }

  std::string document_of(const std::vector<ChangeRecord*>& records) const {
    std::string text = "<Records>";
    for (const ChangeRecord* record : records) text += record->text;
    return text + "</Records>";
  }
  std::string prefixed(const std::string& document) const { return file_key_ + "/\\" + document; }
  // Of records that a call has left: no upload was asked for, so nothing remains of it.
  void forget_remaining_file() const {
    if (files::file_exists(remaining_file_)) files::delete_file(remaining_file_);
  }

  const ChangeOptions& options_;
  const ChangeTaker& take_;
  const upload::DocumentKind& kind_;
  const std::string file_key_;
  std::string remaining_file_;
  std::optional<DocumentJudge> judge_;
  store::UnitOfWork unit_{store::UnitOfWork::Kind::transaction};  // never committed
  store::UnitOfWork::Current current_;
  StoredRows rows_;
  ChangeCounts counts_;
};

class ProductChanges final : private Changes, private UploadObserver {
 public:
  ProductChanges(const ChangeOptions& options, const ChangeTaker& take)
      : Changes(options, take, upload::kProductDocument) {}

  ChangeCounts run(const xml::Document& document, const xml::NodeList& records) {
    const std::size_t most = options_.update_only ? kUpdatesInPart : kRecordsInPart;
    for (const xml::Node& record : records) {
      ChangeRecord one{record.save_text(), {}};
      one.told.line = record.line();
      const std::optional<std::string> key = record.attribute("buyfrompartnumber");
      if (key) one.told.part_number = *key;
      // Two records of one product come in different parts, so that each is told by itself.
      if (part_.size() >= most || numbers_.contains(part_number_key(one.told.part_number))) finish_part();
      if (!key) {
        one.told.reasons.push_back(about_all("It has no attribute buyfrompartnumber."));
      } else if (const std::string_view reason = upload::reason_not_found(kind_, *key);
                 !options_.update_only && !reason.empty()) {
        one.told.reasons.push_back(about_all(std::string(reason)));
      } else if (options_.update_only && !updated_.insert(*key).second) {
        one.told.reasons.push_back(about_all("It stands in the document before; an update reads the first one only."));
      } else {
        judge(record, one);
        numbers_.insert(part_number_key(*key));
      }
      part_.push_back(std::move(one));
    }
    finish_part();
    tell_passed_over(passed_over(document, kind_));
    return counts_;
  }

 private:
  bool waits() const override { return false; }

  void finish_part() {
    std::vector<std::string> numbers;
    for (const ChangeRecord& record : part_)
      if (record.told.reasons.empty()) numbers.push_back(record.told.part_number);
    const auto before = rows_.products(numbers);
    asked_.clear();
    for (ChangeRecord& record : part_) {
      if (!record.told.reasons.empty()) continue;
      if (options_.update_only && !before.contains(part_number_key(record.told.part_number)))
        record.told.reasons.push_back(about_all("No product has this part number."));
      else
        asked_.push_back(&record);
    }
    write();
    const auto after = rows_.products(numbers);
    for (ChangeRecord& record : part_) {
      if (asked_.end() != std::ranges::find(asked_, &record)) compare(before, after, record.told);
      tell(record.told);
    }
    part_.clear();
    numbers_.clear();
  }

  void write() {
    if (asked_.empty()) return;
    Array numbers;
    for (const ChangeRecord* record : asked_) numbers.items.emplace_back(record->told.part_number);
    const std::string document = document_of(asked_);
    const auto library = std::dynamic_pointer_cast<ProductXML>(create_plain("Mercato.ProductXML"));
    library->SetMultipleBuyerSeparator(separator_);
    library->set_observer(this);
    next_ = 0;
    if (options_.update_only)
      library->updateProductsFromXML(document, false, numbers, options_.write_on_errors);
    else
      library->insertProductsFromXML(prefixed(document), false, numbers, options_.write_on_errors);
    separator_ = library->MultipleBuyerSeparator();
    forget_remaining_file();
    if (next_ < asked_.size()) raise(error_number::kTimeout);
  }

  void on_record(const UploadRecord& record) override {
    if (record.outcome == UploadOutcome::failed) return;  // the next question is about it
    RecordChange& told = asked_[next_++]->told;
    switch (record.outcome) {
      case UploadOutcome::inserted:
      case UploadOutcome::updated:
        told.change = Change::unchanged;  // until the rows say otherwise
        told.dropped.insert(told.dropped.end(), record.dropped.begin(), record.dropped.end());
        told.cut = record.cut;
        break;
      case UploadOutcome::empty:
        told.reasons.push_back(about_all("The record has no fields."));
        break;
      default:
        told.reasons = record.dropped;
        if (told.reasons.empty()) told.reasons.push_back(about_all("None of its fields can be written."));
    }
  }
  bool goes_on_behind(const RaisedError& failure) override {
    if (!is_of_record(failure)) return false;
    asked_[next_++]->told.reasons.push_back(told_of(failure));
    return true;
  }

  void compare(const std::map<std::string, StoredRows::Products>& before,
               const std::map<std::string, StoredRows::Products>& after, RecordChange& told) {
    const std::string key = part_number_key(told.part_number);
    const auto present = after.find(key);
    if (present == after.end()) return;
    const auto former = before.find(key);
    for (const auto& [id, product] : present->second) {
      const bool is_new = former == before.end() || !former->second.contains(id);
      if (!is_new)
        rows_.add_differences(former->second.at(id), product, told.fields);
      else if (told.change != Change::refused)
        told.change = Change::inserted;
    }
    if (told.change == Change::unchanged && !told.fields.empty()) told.change = Change::changed;
  }

  std::vector<ChangeRecord> part_;
  std::unordered_set<std::string> numbers_;  // of the part
  std::unordered_set<std::string> updated_;
  std::vector<ChangeRecord*> asked_;  // the records of the part that the library is asked to write
  std::size_t next_ = 0;              // of them
  std::string separator_;             // what a record has set rules those after it
};

class PriceChanges final : private Changes, private PriceUploadObserver {
 public:
  PriceChanges(const ChangeOptions& options, const ChangeTaker& take)
      : Changes(options, take, upload::kPriceDocument) {}

  ChangeCounts run(const xml::Document& document, const xml::NodeList& records) {
    std::unordered_map<std::string, std::size_t> places;
    std::vector<std::vector<xml::Node>> lines;  // of each part number, in the order in which they are first met
    for (const xml::Node& record : records) {
      const std::string key = record.attribute("buyfrompartnumber").value_or("");
      const auto [place, is_new] = places.try_emplace(key, lines.size());
      if (is_new) lines.emplace_back();
      lines[place->second].push_back(record);
    }
    for (std::size_t begin = 0; begin < lines.size(); begin += kRecordsInPart)
      run_part({lines.data() + begin, std::min(kRecordsInPart, lines.size() - begin)});
    tell_passed_over(passed_over(document, kind_));
    return counts_;
  }

 private:
  bool waits() const override { return false; }

  // The first lines of all part numbers together, then the second ones: so each line is told by itself.
  void run_part(std::span<const std::vector<xml::Node>> lines) {
    std::vector<std::string> numbers;
    for (const std::vector<xml::Node>& of_one : lines)
      numbers.push_back(of_one.front().attribute("buyfrompartnumber").value_or(""));
    std::map<std::string, StoredRows::Prices> before = rows_.prices(numbers);
    for (std::size_t number = 1; !numbers.empty(); ++number) {
      std::vector<ChangeRecord> round;
      std::vector<std::string> more;
      for (const std::vector<xml::Node>& of_one : lines) {
        if (of_one.size() < number) continue;
        round.push_back(record_of(of_one[number - 1], number, before));
        if (of_one.size() > number) more.push_back(round.back().told.part_number);
      }
      write(round);
      std::map<std::string, StoredRows::Prices> after = rows_.prices(numbers);
      for (ChangeRecord& record : round) {
        const std::string key = part_number_key(record.told.part_number);
        if (record.told.reasons.empty()) compare(before[key], after[key], record.told);
        tell(record.told);
      }
      before = std::move(after);
      numbers = std::move(more);
    }
  }

  ChangeRecord record_of(const xml::Node& record, std::size_t number,
                         const std::map<std::string, StoredRows::Prices>& stored) {
    ChangeRecord one{record.save_text(), {}};
    one.told.line = record.line();
    one.told.number = number;
    const std::optional<std::string> key = record.attribute("buyfrompartnumber");
    one.told.part_number = key.value_or("");
    std::vector<UploadField>& reasons = one.told.reasons;
    if (!key)
      reasons.push_back(about_all("It has no attribute buyfrompartnumber."));
    else if (const auto fault = upload::reason_not_judged(record))
      reasons.push_back(*fault);
    else if (const std::string_view reason = upload::reason_not_found(kind_, *key); !reason.empty())
      reasons.push_back(about_all(std::string(reason)));
    else if (!stored.contains(part_number_key(*key)))
      reasons.push_back(about_all("No product has this part number."));
    else
      judge(record, one);
    return one;
  }

  void write(std::vector<ChangeRecord>& round) {
    asked_.clear();
    for (ChangeRecord& record : round)
      if (record.told.reasons.empty()) asked_.push_back(&record);
    if (asked_.empty()) return;
    Array numbers;
    for (const ChangeRecord* record : asked_) numbers.items.emplace_back(record->told.part_number);
    const auto library = std::dynamic_pointer_cast<PriceXML>(create_plain("Mercato.PriceXML"));
    library->GetCheckedPriceList("<ProductPrices><ProductPrice/></ProductPrices>", false);  // loads the currencies
    library->set_observer(this);
    next_ = 0;
    library->UpdateInsertPricesFromXML(prefixed(document_of(asked_)), false, numbers);
    forget_remaining_file();
    if (next_ < asked_.size()) raise(error_number::kTimeout);
  }

  void on_price_line(const UploadPriceLine& line) override {
    if (line.outcome == PriceLineOutcome::failed) return;  // the next question is about it
    RecordChange& told = asked_[next_]->told;
    if (line.outcome == PriceLineOutcome::left_out)
      told.reasons = line.bad;
    else
      told.change = Change::unchanged;  // until the rows say otherwise
  }
  void on_part_number(const std::string& part_number, PartNumberOutcome outcome) override {
    static_cast<void>(part_number);
    failed_ = outcome == PartNumberOutcome::failed;
    if (failed_) return;  // the next question is about it
    RecordChange& told = asked_[next_++]->told;
    if (outcome == PartNumberOutcome::no_product) told.reasons.push_back(about_all("No product has this part number."));
  }
  // Asked about a line, which its part number is told of after, or about a part number.
  bool goes_on_behind(const RaisedError& failure) override {
    if (!is_of_record(failure)) return false;
    asked_[next_]->told.reasons.push_back(told_of(failure));
    if (std::exchange(failed_, false)) ++next_;
    return true;
  }

  void compare(const StoredRows::Prices& before, const StoredRows::Prices& after, RecordChange& told) const {
    const auto only_in = [](const StoredRows::Prices& these, const StoredRows::Prices& others) {
      std::vector<const StoredRow*> only;
      for (const StoredRow& row : these)
        if (std::ranges::find(others, row) == others.end()) only.push_back(&row);
      return only;
    };
    const std::vector<const StoredRow*> gone = only_in(before, after);
    const std::vector<const StoredRow*> come = only_in(after, before);
    for (std::size_t place = 0; place < std::min(gone.size(), come.size()); ++place)
      rows_.add_price_differences(*gone[place], *come[place], told.fields);
    if (!told.fields.empty()) told.change = Change::changed;
    if (gone.size() < come.size()) told.change = Change::inserted;
  }

  std::vector<ChangeRecord*> asked_;
  std::size_t next_ = 0;
  bool failed_ = false;  // the next part number, as a whole
};

}  // namespace

ChangeCounts changes_by_upload(const ChangeOptions& options, const ChangeTaker& take) {
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  if (!document.load(options.document)) raise(eUnableToLoadXML, {}, document.error());
  const auto counted = [&](const xml::NodeList& records) {
    if (!records.empty() && options.counted) options.counted(records.size());
    return !records.empty();
  };
  if (const xml::NodeList records = document.elements_by_tag_name(upload::kProductDocument.record); counted(records))
    return ProductChanges(options, take).run(document, records);
  if (const xml::NodeList records = document.elements_by_tag_name(upload::kPriceDocument.record); counted(records))
    return PriceChanges(options, take).run(document, records);
  raise(eUnableToLoadXML, {},
        "\"" + options.document + "\" has no element Product and none ProductPrice, so there is nothing to compare.");
}

}  // namespace mercato::exchange
