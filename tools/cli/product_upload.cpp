#include "tools/cli/product_upload.h"

#include <algorithm>
#include <memory>
#include <unordered_set>

#include "frame/lib_error_handling.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/store/unit_of_work.h"
#include "platform/transactions/object_context.h"
#include "platform/xml/document.h"
#include "tools/cli/library.h"
#include "tools/cli/sentence.h"
#include "upload/product_xml.h"

namespace mercato::cli {
namespace {

constexpr const char* kRecord = "Product";
constexpr const char* kKey = "buyfrompartnumber";

xml::Document load(const std::string& text_or_url, bool is_url) {
  xml::Document document;
  if (!(is_url ? document.load(text_or_url) : document.load_text(text_or_url)))
    raise(eUnableToLoadXML, {}, document.error());
  return document;
}

bool has_blank_ends(const std::string& text) { return !text.empty() && (text.front() == ' ' || text.back() == ' '); }

// Why the failure of one record says so little, in the words of what happened.
std::string reason_of(const RaisedError& failure, bool update_only) {
  if (failure.Number == error_number::kNoCurrentRow)
    return update_only ? "No product has this part number."
                       : "The product was not saved: a required field is missing, or a value does not fit.";
  return sentence(failure);
}

}  // namespace

UploadReport ProductUpload::run() {
  files::require_plain_file_key(options_.file_key);
  source_ = {options_.document, true};
  take_inventory();
  // The library makes one level of folders only, after it has written the records.
  if (!files::folder_exists(options_.web_root)) files::create_folder(options_.web_root);
  {
    Progress progress(pending_.size());
    progress_ = &progress;
    run_all();
    progress_ = nullptr;
  }
  settle_remaining_file();
  return std::move(report_);
}

void ProductUpload::take_inventory() {
  const xml::Document document = load(source_.text_or_url, source_.is_url);
  std::unordered_set<std::string> known;
  bool keyless = false;
  for (const xml::Node& record : document.elements_by_tag_name(kRecord)) {
    ++report_.read;
    const auto unreachable = [&](std::string part_number, const char* reason) {
      report_.unreachable.push_back({std::move(part_number), {}, {}, reason});
    };
    std::optional<std::string> key = record.attribute(kKey);
    if (!key) {
      keyless = true;
      unreachable({}, "It has no attribute buyfrompartnumber.");
    } else if (options_.update_only && !known.insert(*key).second) {
      refuse(report_, *key, "It stands in the document before; an update reads the first one only.");
      dealt_.push_back(std::move(*key));
    } else if (!options_.update_only && key->find('\'') != std::string::npos) {
      unreachable(std::move(*key), "No run finds a part number with an apostrophe.");
    } else if (!options_.update_only && has_blank_ends(*key)) {
      unreachable(std::move(*key), "No run finds a part number with blanks at its ends.");
    } else {
      pending_.push_back(std::move(*key));
    }
  }
  // Reading one record for an update fails at the first element without a key.
  if (keyless && options_.update_only) source_ = without(source_, {}, true);
}

void ProductUpload::run_all() {
  // An update reads the document anew for each record and has no time budget: a call is kept short.
  constexpr std::size_t kUpdatesInOneCall = 500;
  while (!pending_.empty()) {
    const std::size_t count = options_.update_only ? std::min(kUpdatesInOneCall, pending_.size()) : pending_.size();
    const std::optional<RaisedError> failure = run_once(count);
    if (failure && last_failed_ && goes_on_after(*failure)) {
      refuse(report_, pending_[seen_], reason_of(*failure, options_.update_only));
      ++seen_;
    } else if (failure) {
      report_.stopped_by = sentence(*failure);  // that record remains, if it was one's
    } else if (seen_ == 0) {
      report_.stopped_by = "The time for one run passed before its first record.";
    }

    const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(seen_);
    const PartNumbers seen(std::make_move_iterator(pending_.begin()), std::make_move_iterator(end));
    pending_.erase(pending_.begin(), end);
    file_is_current_ = !failure && !options_.update_only;
    if (options_.update_only)
      dealt_.insert(dealt_.end(), seen.begin(), seen.end());
    else if (failure)
      source_ = without(source_, seen, false);
    else
      source_ = {remaining_path(), true};
    if (!report_.stopped_by.empty()) return;
  }
}

std::optional<RaisedError> ProductUpload::run_once(std::size_t count) {
  const std::vector<Variant> entries(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
  std::vector<Variant> arguments = {source_.text_or_url, source_.is_url, Array(entries), options_.write_on_errors};
  const char* method = "updateProductsFromXML";
  if (!options_.update_only) {
    method = "insertProductsFromXML";
    arguments[0] = options_.file_key + "/\\" + source_.text_or_url;
  }
  seen_ = 0;
  settled_ = 0;
  last_failed_ = false;
  // An object decides on its remaining file by the first document it sees.
  const auto library = std::dynamic_pointer_cast<ProductXML>(create_root("Mercato.ProductXML"));
  library->SetMultipleBuyerSeparator(buyer_separator_);
  library->set_observer(this);
  std::optional<RaisedError> failure;
  try {
    call(library, method, arguments);
  } catch (const Raised& raised) {
    failure = raised.error();
  }
  buyer_separator_ = library->MultipleBuyerSeparator();
  if (lost_by_) failure = std::exchange(lost_by_, std::nullopt);
  if (failure && failure->Number == error_number::kStoreFailure) {
    last_failed_ = false;  // it concerns more than one record
    seen_ = settled_;
    unsettled_ = {};
  } else {
    settle();
  }
  return failure;
}

bool ProductUpload::checkpoint() {
  if (lost_by_) return false;
  try {
    const store::UnitOfWork::Current none(nullptr);  // a run whose place is taken is written out first
    return true;
  } catch (const Raised& raised) {
    lost_by_ = raised.error();
    return false;
  }
}

void ProductUpload::settle() {
  settled_ = seen_;
  const UploadReport settled = std::exchange(unsettled_, {});
  report_.inserted += settled.inserted;
  report_.updated += settled.updated;
  report_.repaired += settled.repaired;
  report_.refused += settled.refused;
  const auto append = [](std::vector<UploadFinding>& findings, const std::vector<UploadFinding>& more) {
    findings.insert(findings.end(), more.begin(), more.end());
  };
  append(report_.refusals, settled.refusals);
  append(report_.dropped, settled.dropped);
  append(report_.cut, settled.cut);
}

void ProductUpload::on_record(const UploadRecord& record) {
  progress_->advance();
  switch (record.outcome) {
    case UploadOutcome::inserted:
    case UploadOutcome::updated:
      ++(record.outcome == UploadOutcome::inserted ? unsettled_.inserted : unsettled_.updated);
      if (!record.dropped.empty()) ++unsettled_.repaired;
      add_findings(unsettled_.dropped, record, record.dropped);
      add_findings(unsettled_.cut, record, record.cut);
      break;
    case UploadOutcome::given_up:
    case UploadOutcome::nothing_written:
      if (record.dropped.empty()) {
        refuse(unsettled_, record.part_number, "None of its fields can be written.");
      } else {
        ++unsettled_.refused;
        add_findings(unsettled_.refusals, record, record.dropped);
      }
      break;
    case UploadOutcome::empty:
      refuse(unsettled_, record.part_number, "The record has no fields.");
      break;
    case UploadOutcome::failed:
      // The library keeps its own failure and not that of writing out what came before.
      last_failed_ = true;
      checkpoint();
      return;
  }
  ++seen_;
  if (seen_ - settled_ >= kCheckpoint && checkpoint()) settle();
}

bool ProductUpload::goes_on_after(const RaisedError& failure) {
  ++failures_;
  return failures_ <= kMostFailures && failure.Number != error_number::kStoreFailure &&
         failure.Number != error_number::kTimeout && failure.Number != error_number::kOutOfMemory;
}

void ProductUpload::add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record,
                                 const std::vector<UploadField>& fields) {
  for (const UploadField& field : fields)
    findings.push_back({record.part_number, field.field, field.value, field.reason});
}

void ProductUpload::refuse(UploadReport& report, const std::string& part_number, std::string reason) {
  ++report.refused;
  report.refusals.push_back({part_number, {}, {}, std::move(reason)});
}

ProductUpload::Source ProductUpload::without(const Source& source, const PartNumbers& part_numbers,
                                             bool without_keyless) {
  const xml::Document document = load(source.text_or_url, source.is_url);
  std::unordered_map<std::string, std::size_t> leaving;
  for (const std::string& part_number : part_numbers) ++leaving[part_number];
  for (const xml::Node& record : document.elements_by_tag_name(kRecord)) {
    const std::optional<std::string> key = record.attribute(kKey);
    if (!key) {
      if (without_keyless) record.remove();
      continue;
    }
    const auto found = leaving.find(*key);
    if (found == leaving.end() || found->second == 0) continue;
    --found->second;
    record.remove();
  }
  return {document.save_text(), false};
}

void ProductUpload::settle_remaining_file() {
  report_.remaining = pending_.size() + report_.unreachable.size();
  if (report_.remaining > 0) report_.remaining_file = remaining_path();
  if (file_is_current_) return;
  if (report_.remaining == 0) {
    // As the library does, whose run did not come this far.
    if (!options_.update_only && files::file_exists(remaining_path())) files::delete_file(remaining_path());
    return;
  }
  if (options_.update_only) source_ = without({options_.document, true}, dealt_, false);
  if (!files::folder_exists(remaining_folder())) files::create_folder(remaining_folder());
  load(source_.text_or_url, source_.is_url).save(remaining_path());
}

std::string ProductUpload::remaining_folder() const { return files::host_path(options_.web_root + "\\XMLDownload"); }

std::string ProductUpload::remaining_path() const {
  return remaining_folder() + "/remaining_products_" + options_.file_key + ".xml";
}

}  // namespace mercato::cli
