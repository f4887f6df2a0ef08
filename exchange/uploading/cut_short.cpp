// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/cut_short.h"

#include <algorithm>
#include <set>

#include "exchange/document_judging.h"
#include "exchange/uploading/rest_file.h"
#include "mercato/raised_error.h"
#include "platform/xml/document.h"
#include "upload/upload_documents.h"

namespace mercato::exchange {
namespace {

struct Record {
  std::size_t place = 0;
  std::string part_number;
  xml::Node element;
};

// In the order in which runs come to them.
std::vector<Record> records_in_order(const xml::Document& document, const upload::DocumentKind& kind) {
  std::vector<Record> records;
  for (const xml::Node& element : document.elements_by_tag_name(kind.record))
    records.push_back({records.size(), element.attribute("buyfrompartnumber").value_or(""), element});
  if (kind.record != upload::kPriceDocument.record) return records;
  std::map<std::string, std::size_t> first;
  for (const Record& record : records) first.try_emplace(record.part_number, record.place);
  std::ranges::stable_sort(records, {}, [&](const Record& record) { return first.at(record.part_number); });
  return records;
}

}  // namespace

RestCounts write_rest(const CutShort& upload, const std::string& rest_file) {
  const bool of_prices = upload.kind == "prices";
  const upload::DocumentKind& kind = of_prices ? upload::kPriceDocument : upload::kProductDocument;
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  if (!document.load(upload.document)) raise(error_number::kPathFileAccess, {}, document.error());
  std::vector<Record> records = records_in_order(document, kind);
  RestCounts counts;
  counts.read = static_cast<std::int32_t>(records.size());
  std::map<std::string, std::int32_t> records_of;
  for (const Record& record : records) ++records_of[record.part_number];
  std::vector<UploadFinding> reasons;
  std::set<std::string> faulty;  // part numbers with reasons against a record
  for (const KeptFinding& finding : upload.findings) {
    if (finding.outcome != "refused" && finding.outcome != "left") continue;
    UploadFinding& reason = reasons.emplace_back();
    reason.part_number = finding.record;
    reason.field = finding.field;
    reason.value = finding.value;
    reason.reason = finding.reason;
    faulty.insert(finding.record);
  }

  std::int32_t applied = upload.applied;
  std::erase_if(records, [&](const Record& record) {
    const bool is_only_one = records_of[record.part_number] == 1;
    const bool has_fault = faulty.contains(record.part_number);
    if (has_fault && is_only_one) return false;
    const bool was_reached = applied-- > 0;
    if (has_fault) return false;  // which of its records was applied is not known
    const auto changed = upload.changed.find(record.part_number);
    if (was_reached || changed == upload.changed.end()) return was_reached;
    return of_prices ? changed->second >= records_of[record.part_number] : is_only_one;
  });
  std::ranges::sort(records, {}, &Record::place);
  counts.in_rest = static_cast<std::int32_t>(records.size());
  const std::vector<xml::Node> others = passed_over(document, kind);
  counts.read += static_cast<std::int32_t>(others.size());
  counts.in_rest += static_cast<std::int32_t>(others.size());
  if (counts.in_rest == 0) return counts;
  RestFile rest(rest_file, false, std::string(kind.record) + "s");
  rest.set_findings(reasons, {});
  for (const Record& record : records)
    rest.add(record.place, record.part_number, record.element.line(), record.element.save_text());
  for (const xml::Node& element : others)
    rest.add(kNoRecord, element.attribute("buyfrompartnumber").value_or(""), element.line(), element.save_text());
  rest.finish();
  return counts;
}

}  // namespace mercato::exchange
