// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/price_document.h"

#include <memory>

#include "frame/sentence.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "upload/price_validation.h"

namespace mercato::exchange {
namespace {

UploadFinding about(const std::string& part_number, std::string reason) {
  return {.part_number = part_number, .line = 0, .field = {}, .value = {}, .reason = std::move(reason)};
}

UploadFinding about_line(const std::string& part_number, const RecordPlace& place, const UploadField& told) {
  return {part_number, place.number, told.field, told.value, told.reason, place.line, place.record};
}

}  // namespace

UploadField told_of(const RaisedError& failure) {
  const std::string words = sentence(failure);
  switch (failure.Number) {
    case error_number::kConstraintViolated:
      if (!says_key_is_taken(failure)) break;
      return {
          {},
          {},
          "it is there already; only a line with the empty group, <GROUPBY/>, can be changed, any other just added"};
    case error_number::kNoSuchField: {
      const std::size_t name = words.rfind(": ");
      if (name == std::string::npos) break;
      return {words.substr(name + 2, words.size() - name - 3), {}, "no such column"};
    }
    case error_number::kTypeMismatch:
      return {{}, {}, "a value does not fit its column"};
    default:
      break;
  }
  return {{}, {}, words};
}

PriceUpload::PriceUpload(UploadSource source)
    : UploadRuns(std::move(source), {upload::kPriceDocument, Reach::Kind::prices, kAllRecords, true}) {}

std::optional<UploadField> PriceUpload::fault_of(const xml::Node& record, const RecordPlace& place) const {
  const std::string* text = rewritten(place);
  if (text == nullptr) return upload::reason_not_judged(record);
  xml::Document document;
  document.load_text(*text);
  return upload::reason_not_judged(document.document_element());
}

std::size_t PriceUpload::take_inventory(const xml::Document& document) {
  struct Line {
    xml::Node element;
    RecordPlace place;
    std::size_t pending = 0;
  };
  std::size_t next = 0;
  std::vector<Line> reachable;
  std::vector<xml::Node> faulty;
  std::unordered_map<std::string, std::size_t> pending_of;
  for (const xml::Node& record : document.elements_by_tag_name(upload::kPriceDocument.record)) {
    ++report_.read;
    const RecordPlace& place = places_[next++];
    const std::optional<std::string> key = record.attribute("buyfrompartnumber");
    if (!key) {
      UploadFinding& finding = report_.unreachable.emplace_back(about({}, "It has no attribute buyfrompartnumber."));
      finding.file_line = place.line;
      finding.record = place.record;
      continue;
    }
    if (const auto reason = fault_of(record, place)) {
      refuse(report_, about_line(*key, place, *reason));
      faulty.push_back(record);
      continue;
    }
    std::vector<RecordPlace>& lines = lines_[*key];
    lines.push_back(place);
    if (const auto reason = upload::reason_not_found(upload::kPriceDocument, *key); !reason.empty()) {
      if (lines.size() == 1) report_.unreachable.push_back(about(*key, std::string(reason)));
      continue;
    }
    const auto [entry, is_new] = pending_of.try_emplace(*key, pending_.size());
    if (is_new) pending_.push_back({*key, {}});
    reachable.push_back({record, place, entry->second});
  }
  // One may stand in another line.
  for (const xml::Node& record : faulty) record.remove();
  for (const Line& line : reachable) pending_[line.pending].text += text_of(line.element, line.place);
  return reachable.size();
}

void PriceUpload::call_library(const std::string& document, const Array& part_numbers) {
  // A new object for each run: one that has once left records writes its file whatever it leaves.
  const auto library = std::dynamic_pointer_cast<PriceXML>(library_object("Mercato.PriceXML"));
  call(library, "GetCheckedPriceList", {kPriceDocumentWithoutFields, false});
  library->set_observer(this);
  call(library, "UpdateInsertPricesFromXML", {source_.file_key + "/\\" + document, false, part_numbers});
}

void PriceUpload::on_price_line(const UploadPriceLine& line) {
  const RecordPlace& place = lines_.at(line.part_number).at(line.number - 1);
  switch (line.outcome) {
    case PriceLineOutcome::added:
      ++unsettled_.inserted;
      applied(place);
      break;
    case PriceLineOutcome::changed:
      ++unsettled_.updated;
      applied(place);
      break;
    case PriceLineOutcome::left_out:
      ++unsettled_.refused;
      for (const UploadField& field : line.bad)
        unsettled_.refusals.push_back(about_line(line.part_number, place, field));
      break;
    case PriceLineOutcome::failed:
      failed_line_ = place;
      return;
  }
  done_with_record();
}

void PriceUpload::on_part_number(const std::string& part_number, PartNumberOutcome outcome) {
  switch (outcome) {
    case PartNumberOutcome::done:
      break;
    case PartNumberOutcome::no_product: {
      const std::size_t lines = lines_.at(part_number).size();
      unsettled_.unreachable.push_back(about(
          part_number,
          "No product has this part number; it has " + std::to_string(lines) + (lines == 1 ? " line." : " lines.")));
      passed(lines);
      break;
    }
    case PartNumberOutcome::failed:
      failed_line_.reset();
      return;
  }
  ++seen_;
}

// A failure that is no line's leaves all of the part number.
bool PriceUpload::goes_on_behind(const RaisedError& failure) {
  if (!goes_on_after(failure)) return false;
  const std::string& part_number = part_number_at_hand();
  if (failed_line_) {
    refuse(unsettled_, about_line(part_number, *failed_line_, told_of(failure)));
    done_with_record();
  } else {
    unsettled_.unreachable.push_back(about(part_number, sentence(failure)));
    ++seen_;
  }
  return true;
}

}  // namespace mercato::exchange
