// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload/product_document.h"

#include <memory>
#include <unordered_set>

#include "mercato/object_context.h"
#include "mercato/product_xml.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/sentence.h"

namespace mercato::cli {
namespace {

// An update reads the document anew for each record and has no time budget: a call is kept short, and gets a document
// of its own records.
constexpr std::size_t kUpdatesInOneCall = 100;
constexpr const char* kNoProduct = "No product has this part number.";

UploadFinding whole_record(const std::string& part_number, const RecordPlace& place, std::string reason) {
  return {part_number, 0, {}, {}, std::move(reason), place.line, place.record};
}

}  // namespace

std::string reason_of(const RaisedError& failure, bool update_only) {
  if (failure.Number == error_number::kNoCurrentRow)
    return update_only ? kNoProduct
                       : "The product was not saved: a required field is missing, or a value does not fit.";
  return sentence(failure);
}

ProductUpload::ProductUpload(Options options)
    : UploadRuns(std::move(options.source), {upload::kProductDocument, exchange::Reach::Kind::products,
                                             options.update_only ? Rest::in_document : Rest::in_file,
                                             options.update_only ? kUpdatesInOneCall : kAllRecords}),
      write_on_errors_(options.write_on_errors),
      update_only_(options.update_only) {}

std::size_t ProductUpload::take_inventory(const xml::Document& document) {
  std::unordered_set<std::string> known;
  const ComponentPtr products = create_root("Mercato.Product");
  // Asked beforehand: a run ends at the first update that finds none.
  const auto has_product = [&](const std::string& part_number) {
    return call(products, "GetProductIDFromSupplierPartNum", {part_number}).to_long() != -1;
  };
  std::size_t next = 0;
  for (const xml::Node& record : document.elements_by_tag_name(upload::kProductDocument.record)) {
    ++report_.read;
    const RecordPlace& place = places_[next++];
    std::optional<std::string> key = record.attribute("buyfrompartnumber");
    if (!key) {
      report_.unreachable.push_back(whole_record({}, place, "It has no attribute buyfrompartnumber."));
    } else if (update_only_ && !known.insert(*key).second) {
      refuse(report_,
             whole_record(*key, place, "It stands in the document before; an update reads the first one only."));
      gone_.push_back(std::move(*key));
    } else if (update_only_ && !has_product(*key)) {
      refuse(report_, whole_record(*key, place, kNoProduct));
      gone_.push_back(std::move(*key));
    } else if (const auto reason = upload::reason_not_found(upload::kProductDocument, *key);
               !update_only_ && !reason.empty()) {
      report_.unreachable.push_back(whole_record(*key, place, std::string(reason)));
    } else {
      waiting_[*key].push_back(place);
      pending_.push_back(std::move(*key));
      if (update_only_) records_.push_back(record.save_text());
    }
  }
  return pending_.size();
}

void ProductUpload::call_library(const Document& document, const Array& part_numbers) {
  std::vector<Variant> arguments = {document.text_or_url, document.is_url, part_numbers, write_on_errors_};
  const char* method = "updateProductsFromXML";
  if (update_only_) {
    const auto first = records_.end() - static_cast<std::ptrdiff_t>(pending_.size());
    std::string text = "<Products>";
    for (std::size_t number = 0; number < part_numbers.items.size(); ++number)
      text += first[static_cast<std::ptrdiff_t>(number)];
    arguments[0] = text + "</Products>";
    arguments[1] = false;
  } else {
    method = "insertProductsFromXML";
    arguments[0] = source_.file_key + "/\\" + document.text_or_url;
  }
  // A new object for each run: one that has once left records writes its file whatever it leaves.
  const auto library = std::dynamic_pointer_cast<ProductXML>(library_object("Mercato.ProductXML"));
  library->SetMultipleBuyerSeparator(buyer_separator_);
  library->set_observer(this);
  try {
    call(library, method, arguments);
  } catch (const Raised&) {
    buyer_separator_ = library->MultipleBuyerSeparator();
    throw;
  }
  buyer_separator_ = library->MultipleBuyerSeparator();
}

void ProductUpload::on_record(const UploadRecord& record) {
  if (record.outcome == UploadOutcome::failed) return;  // the next question is about it
  record_ended(record);
  ++seen_;
  done_with(record.part_number);
}

bool ProductUpload::goes_on_behind(const RaisedError& failure) {
  if (!goes_on_after(failure)) return false;
  const std::string& part_number = pending_[seen_++];
  refuse(unsettled_, whole_record(part_number, take_place(part_number), reason_of(failure, update_only_)));
  done_with(part_number);
  return true;
}

RecordPlace ProductUpload::take_place(const std::string& part_number) {
  std::deque<RecordPlace>& places = waiting_.at(part_number);
  const RecordPlace place = places.front();
  places.pop_front();
  return place;
}

void ProductUpload::record_ended(const UploadRecord& record) {
  const RecordPlace place = take_place(record.part_number);
  switch (record.outcome) {
    case UploadOutcome::inserted:
    case UploadOutcome::updated:
      ++(record.outcome == UploadOutcome::inserted ? unsettled_.inserted : unsettled_.updated);
      applied(place);
      if (!record.dropped.empty() || left_out_of_.contains(place.record)) ++unsettled_.repaired;
      add_findings(unsettled_.dropped, record, place, record.dropped);
      add_findings(unsettled_.cut, record, place, record.cut);
      break;
    case UploadOutcome::given_up:
    case UploadOutcome::nothing_written:
      if (record.dropped.empty()) {
        refuse(unsettled_, whole_record(record.part_number, place, "None of its fields can be written."));
      } else {
        ++unsettled_.refused;
        add_findings(unsettled_.refusals, record, place, record.dropped);
      }
      break;
    case UploadOutcome::empty:
      refuse(unsettled_, whole_record(record.part_number, place, "The record has no fields."));
      break;
    case UploadOutcome::failed:
      break;
  }
}

void ProductUpload::add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record,
                                 const RecordPlace& place, const std::vector<UploadField>& fields) {
  for (const UploadField& field : fields)
    findings.push_back({record.part_number, 0, field.field, field.value, field.reason, place.line, place.record});
}

}  // namespace mercato::cli
