// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/product_document.h"

#include <memory>
#include <unordered_set>

#include "frame/sentence.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/product_xml.h"

namespace mercato::exchange {
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

ProductUpload::ProductUpload(UploadSource source, ProductUploadOptions options)
    : UploadRuns(std::move(source), {upload::kProductDocument, Reach::Kind::products,
                                     options.update_only ? kUpdatesInOneCall : kAllRecords, !options.update_only}),
      write_on_errors_(options.write_on_errors),
      update_only_(options.update_only) {}

std::size_t ProductUpload::take_inventory(const xml::Document& document) {
  std::unordered_set<std::string> known;
  const ComponentPtr products = library_object("Mercato.Product");
  // Asked beforehand: a run ends at the first update that finds none.
  const auto has_product = [&](const std::string& part_number) {
    return invoke(products, "GetProductIDFromSupplierPartNum", {part_number}).to_long() != -1;
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
    } else if (update_only_ && !has_product(*key)) {
      refuse(report_, whole_record(*key, place, kNoProduct));
    } else if (const auto reason = upload::reason_not_found(upload::kProductDocument, *key);
               !update_only_ && !reason.empty()) {
      report_.unreachable.push_back(whole_record(*key, place, std::string(reason)));
    } else {
      waiting_[*key].push_back(place);
      pending_.push_back({std::move(*key), text_of(record, place)});
    }
  }
  return pending_.size();
}

void ProductUpload::call_library(const std::string& document, const Array& part_numbers) {
  const char* method = update_only_ ? "updateProductsFromXML" : "insertProductsFromXML";
  const std::string given = update_only_ ? document : source_.file_key + "/\\" + document;
  // A new object for each run: one that has once left records writes its file whatever it leaves.
  const auto library = std::dynamic_pointer_cast<ProductXML>(library_object("Mercato.ProductXML"));
  library->SetMultipleBuyerSeparator(buyer_separator_);
  library->set_observer(this);
  try {
    call(library, method, {given, false, part_numbers, write_on_errors_});
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
  done_with_record();
}

bool ProductUpload::goes_on_behind(const RaisedError& failure) {
  if (!goes_on_after(failure)) return false;
  const std::string& part_number = part_number_at_hand();
  refuse(unsettled_, whole_record(part_number, take_place(part_number), reason_of(failure, update_only_)));
  ++seen_;
  done_with_record();
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

}  // namespace mercato::exchange
