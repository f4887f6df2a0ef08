// SPDX-License-Identifier: Apache-2.0
#include "keeping/watched_upload.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "frame/lib_error_handling.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product_xml.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "mercato/t_unspsc.h"
#include "platform/files/files.h"
#include "platform/store/unit_of_work.h"
#include "platform/xml/document.h"
#include "upload/upload_documents.h"

namespace mercato::keeping {
namespace {

const upload::DocumentKind& kind_of(const UploadTask& task) {
  return task.kind == "prices" ? upload::kPriceDocument : upload::kProductDocument;
}

// The records of a document that runs can reach, in the order in which they come to them.
struct Reachable {
  std::vector<std::string> part_numbers;                   // each call for many records gets them
  std::vector<std::pair<std::size_t, std::string>> order;  // the number of a record in the document, its part number
  std::vector<RunFinding> left;
};

Reachable reachable(const UploadTask& task, const xml::Document& document) {
  const upload::DocumentKind& kind = kind_of(task);
  const bool by_lines = task.kind == "prices";
  Reachable found;
  std::map<std::string, std::vector<std::size_t>> lines;
  std::size_t number = 0;
  for (const xml::Node& record : document.elements_by_tag_name(kind.record)) {
    const std::size_t at = number++;
    const std::optional<std::string> key = record.attribute("buyfrompartnumber");
    const std::string_view reason =
        key ? upload::reason_not_found(kind, *key) : "It has no attribute buyfrompartnumber.";
    if (!reason.empty()) {
      found.left.push_back({"left", key.value_or(""), {}, {}, std::string(reason)});
    } else if (!by_lines) {
      found.part_numbers.push_back(*key);
      found.order.emplace_back(at, *key);
    } else if (lines[*key].push_back(at); lines[*key].size() == 1) {
      found.part_numbers.push_back(*key);
    }
  }
  if (by_lines)
    for (const std::string& key : found.part_numbers)
      for (const std::size_t line : lines[key]) found.order.emplace_back(line, key);
  return found;
}

xml::Document load(const std::string& path) {
  xml::Document document;
  if (!document.load(path)) raise(eUnableToLoadXML, {}, document.error());
  return document;
}

class DocumentRun : private UploadObserver, private PriceUploadObserver {
 public:
  DocumentRun(const UploadTask& task, UploadWatch& watch) : task_(task), watch_(watch) {}

  void run() {
    {
      Reachable found = reachable(task_, load(task_.document));
      watch_.total = static_cast<std::int32_t>(found.order.size() + found.left.size());
      watch_.left = static_cast<std::int32_t>(found.left.size());
      for (RunFinding& finding : found.left) watch_.add(std::move(finding));
      for (const auto& [number, part_number] : found.order) ++records_[part_number];
      pending_ = std::move(found.part_numbers);
    }
    const std::string web_root = collaborators::settings()->web_root;
    if (!files::folder_exists(web_root)) files::create_folder(web_root);
    const std::string rest = upload::remaining_path(kind_of(task_), web_root, task_.key);
    // Whatever the library leaves is in the document, too.
    const struct Leftover {
      const std::string& path;
      ~Leftover() {
        try {
          if (files::file_exists(path)) files::delete_file(path);
        } catch (const Raised&) {
          // It is in nobody's way.
        }
      }
    } leftover{rest};
    for (std::string document = task_.document; !pending_.empty() && !watch_.cancelled; document = rest) {
      seen_ = 0;
      call(document);
      if (seen_ == 0 && !watch_.cancelled)
        raise(error_number::kTimeout, {}, "The time for one run passed before its first record");
      pending_.erase(pending_.begin(),
                     pending_.begin() + static_cast<std::ptrdiff_t>(std::min(seen_, pending_.size())));
    }
  }

 private:
  ComponentPtr object(const char* prog_id) const { return task_.trial ? create_plain(prog_id) : create_root(prog_id); }

  // A new object for each run: one that has once left records writes its file whatever it leaves.
  void call(const std::string& document) {
    const Array part_numbers(std::vector<Variant>(pending_.begin(), pending_.end()));
    const std::string source = task_.key + "/\\" + document;
    if (task_.kind == "prices") {
      const auto prices = std::dynamic_pointer_cast<PriceXML>(object("Mercato.PriceXML"));
      // The library judges nothing before it has the currencies.
      invoke(prices, "GetCheckedPriceList", {"<ProductPrices><ProductPrice/></ProductPrices>", false});
      prices->set_observer(this);
      invoke(prices, "UpdateInsertPricesFromXML", {source, true, part_numbers});
    } else {
      const auto products = std::dynamic_pointer_cast<ProductXML>(object("Mercato.ProductXML"));
      products->SetMultipleBuyerSeparator(buyer_separator_);
      products->set_observer(this);
      invoke(products, "insertProductsFromXML", {source, true, part_numbers, task_.write_on_errors});
      buyer_separator_ = products->MultipleBuyerSeparator();
    }
  }

  bool waits() const override { return false; }
  bool cancels() override { return watch_.cancelled; }

  // A store that fails, or time that has passed, is no record's fault.
  bool goes_on_behind(const RaisedError& failure) override {
    constexpr int kMostFailures = 1000;
    if (failure.Number == error_number::kStoreFailure || failure.Number == error_number::kTimeout ||
        failure.Number == error_number::kOutOfMemory || ++failures_ > kMostFailures)
      return false;
    if (!line_failed_) return refuse(pending_[seen_++], failure.Description);
    line_failed_ = false;
    return refuse(pending_[seen_], failure.Description);
  }
  bool refuse(const std::string& record, const std::string& reason) {
    watch_.add({"refused", record, {}, {}, reason});
    ++watch_.refused;
    ++watch_.done;
    return true;
  }
  void add(const char* outcome, const std::string& record, const std::vector<UploadField>& fields) {
    for (const UploadField& field : fields) watch_.add({outcome, record, field.field, field.value, field.reason});
  }

  void on_record(const UploadRecord& record) override {
    switch (record.outcome) {
      case UploadOutcome::failed:
        return;  // the next question is about it
      case UploadOutcome::inserted:
      case UploadOutcome::updated:
        ++(record.outcome == UploadOutcome::inserted ? watch_.inserted : watch_.updated);
        add("dropped", record.part_number, record.dropped);
        add("cut", record.part_number, record.cut);
        ++watch_.done;
        break;
      default:
        if (record.dropped.empty()) {
          refuse(record.part_number, "The record has no field that can be written.");
        } else {
          add("refused", record.part_number, record.dropped);
          ++watch_.refused;
          ++watch_.done;
        }
    }
    ++seen_;
  }

  void on_price_line(const UploadPriceLine& line) override {
    switch (line.outcome) {
      case PriceLineOutcome::added:
        ++watch_.inserted;
        break;
      case PriceLineOutcome::changed:
        ++watch_.updated;
        break;
      case PriceLineOutcome::left_out:
        add("refused", line.part_number, line.bad);
        ++watch_.refused;
        break;
      case PriceLineOutcome::failed:
        line_failed_ = true;
        return;
    }
    ++watch_.done;
  }
  void on_part_number(const std::string& part_number, PartNumberOutcome outcome) override {
    if (outcome == PartNumberOutcome::failed) return;
    if (outcome == PartNumberOutcome::no_product) {
      refuse(part_number, "No product has this part number.");
      watch_.refused += records_[part_number] - 1;
      watch_.done += records_[part_number] - 1;
    }
    ++seen_;
  }

  const UploadTask& task_;
  UploadWatch& watch_;
  std::vector<std::string> pending_;
  std::map<std::string, std::int32_t> records_;  // of each part number
  std::size_t seen_ = 0;
  int failures_ = 0;
  bool line_failed_ = false;
  std::string buyer_separator_;  // what a record has set rules those after it, also in the next run
};

class CodesRun : private UnspscUploadObserver {
 public:
  CodesRun(const UploadTask& task, UploadWatch& watch) : task_(task), watch_(watch) {}

  void run() {
    const auto codes = std::dynamic_pointer_cast<TUNSPSC>(task_.trial ? create_plain("Mercato.TUNSPSC")
                                                                      : create_root("Mercato.TUNSPSC"));
    codes->set_observer(this);
    try {
      invoke(codes, task_.is_workbook ? "UploadFromXLS" : "UploadFromXML",
             {task_.document, task_.write_on_errors, false});
    } catch (const Raised& raised) {
      if (unreadable_.empty()) throw;
      raise(raised.error().Number, raised.error().Source, unreadable_);
    }
    if (!task_.trial && codes->context()) codes->context()->release();
  }

 private:
  bool waits() const override { return false; }
  bool cancels() override { return watch_.cancelled; }
  void on_start(std::size_t items) override { watch_.total = static_cast<std::int32_t>(items); }
  // The library takes "30,100,000" and "1E000000" for codes, and would write over others with them.
  bool takes(const std::string& code) override {
    return std::ranges::all_of(code, [](char character) { return character >= '0' && character <= '9'; });
  }
  void on_unreadable(const std::string& reason) override { unreadable_ = reason; }
  void on_code(const UploadedCode& code) override {
    ++watch_.done;
    if (code.outcome == CodeOutcome::written) {
      ++watch_.inserted;
      return;
    }
    ++watch_.refused;
    watch_.add({"refused", code.code, {}, code.description, reason_of(code.outcome)});
  }
  static const char* reason_of(CodeOutcome outcome) {
    switch (outcome) {
      case CodeOutcome::commodity_exists:
        return "A commodity of this code exists, or the store refused the row.";
      case CodeOutcome::no_parent:
        return "The code above it is missing.";
      case CodeOutcome::malformed:
        return "It is no code.";
      default:
        return "The code exists.";
    }
  }

  const UploadTask& task_;
  UploadWatch& watch_;
  std::string unreadable_;
};

void run_kind(const UploadTask& task, UploadWatch& watch) {
  if (task.kind == "unspsc")
    CodesRun(task, watch).run();
  else
    DocumentRun(task, watch).run();
}

}  // namespace

void UploadWatch::add(RunFinding finding) {
  const std::lock_guard lock(mutex_);
  findings_.push_back(std::move(finding));
}

std::vector<RunFinding> UploadWatch::findings_from(std::size_t first) const {
  const std::lock_guard lock(mutex_);
  return {findings_.begin() + static_cast<std::ptrdiff_t>(std::min(first, findings_.size())), findings_.end()};
}

void run_upload(const UploadTask& task, UploadWatch& watch) {
  if (!task.trial) return run_kind(task, watch);
  store::UnitOfWork trial(store::UnitOfWork::Kind::transaction);
  const store::UnitOfWork::Current current(&trial);
  run_kind(task, watch);
  trial.rollback();
}

bool write_rest(const UploadTask& task, std::int32_t done, const std::vector<RunFinding>& findings,
                const std::string& rest) {
  if (task.kind == "unspsc") return false;
  const xml::Document document = load(task.document);
  std::set<std::string> refused;
  for (const RunFinding& finding : findings)
    if (finding.outcome == "refused") refused.insert(finding.record);
  std::set<std::size_t> written;
  const Reachable found = reachable(task, document);
  for (std::size_t place = 0; place < found.order.size() && place < static_cast<std::size_t>(done); ++place)
    if (!refused.contains(found.order[place].second)) written.insert(found.order[place].first);
  std::size_t number = 0;
  std::vector<xml::Node> leaving;
  for (const xml::Node& record : document.elements_by_tag_name(kind_of(task).record))
    if (written.contains(number++)) leaving.push_back(record);
  if (leaving.size() == number) return false;
  for (const xml::Node& record : leaving) record.remove();
  document.save(rest);
  return true;
}

}  // namespace mercato::keeping
