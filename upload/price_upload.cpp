// SPDX-License-Identifier: Apache-2.0
// The upload, and the way of one price line: read, judge, look up, write. What becomes of a field on its way into its
// column is told in records/price_line.cpp.
#include <optional>

#include "frame/method.h"
#include "frame/tails.h"
#include "records/price_line.h"
#include "upload/bulk_run.h"
#include "upload/price_xml_internal.h"
#include "upload/telling.h"
#include "upload/upload_documents.h"
#include "values/text.h"

namespace mercato {

using upload::kPriceDocument;

namespace {

constexpr const char* kNoUpperEnd = "999999999";

void upperCaseKeys(Array& keys) {
  for (Variant& key : keys.items) key = text::to_upper(key.to_text());
}

// Tells the observer of one line when it has ended, however it did.
class LineReport {
 public:
  LineReport(PriceUploadObserver* const& observer, const std::string& part_number, std::size_t number)
      : observer_(observer) {
    if (!observer_) return;
    line_.emplace().part_number = part_number;
    line_->number = number;
  }
  ~LineReport() {
    if (line_) upload::tell(observer_, [&](PriceUploadObserver& observer) { observer.on_price_line(*line_); });
  }
  LineReport(const LineReport&) = delete;
  LineReport& operator=(const LineReport&) = delete;

  // Null when nobody listens.
  upload::PriceJudge::Findings* findings() { return line_ ? &line_->bad : nullptr; }
  void ended(PriceLineOutcome outcome) {
    if (line_) line_->outcome = outcome;
  }

 private:
  PriceUploadObserver* const& observer_;  // the object's: it may be exchanged while the line is written
  std::optional<UploadPriceLine> line_;
};

// The same for all lines of a part number.
class PartNumberReport {
 public:
  PartNumberReport(PriceUploadObserver* const& observer, const std::string& part_number)
      : observer_(observer), part_number_(part_number) {}
  ~PartNumberReport() {
    upload::tell(observer_, [&](PriceUploadObserver& observer) { observer.on_part_number(part_number_, outcome_); });
  }
  PartNumberReport(const PartNumberReport&) = delete;
  PartNumberReport& operator=(const PartNumberReport&) = delete;

  void ended(PartNumberOutcome outcome) { outcome_ = outcome; }

 private:
  PriceUploadObserver* const& observer_;
  const std::string& part_number_;
  PartNumberOutcome outcome_ = PartNumberOutcome::failed;
};

// Unlike the product's own writer: no reference check, no vote, and always without a group. Whether the line is new.
bool InsertUpdatePrice(std::int32_t product_id, Date effective_date, double quantity_to, const Array& fields,
                       const Array& values) {
  Opened opened;
  return method(
      [&] {
        opened.connection = upload::GetConnection();
        const bool is_new = write_price_line(kPriceLineOfUpload, PriceLineAction::insert_or_update,
                                             {product_id, effective_date, quantity_to, ""}, fields, values, opened);
        opened.close();
        return is_new;
      },
      Tail{"Mercato.PriceXML.InsertUpdatePrice", closing(opened)});
}

}  // namespace

void PriceXML::UpdateInsertPricesFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs) {
  return method(
      [&] {
        PriceUploadObserver*& listening = parts_->observer;
        upload::tell(listening,
                     [&](PriceUploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        const upload::BulkRun run = {
            kPriceDocument,
            [&](const xml::Document& document, const std::string& part_number) {
              upload::done_or_left_behind(listening,
                                          [&] { parts_->updateInsertPriceFromXMLFile2(document, part_number); });
            },
            [&] { return upload::is_cancelled(listening); },
            [&](const xml::Document& document) { return parts_->reader.price_nodes_left2(document); }};
        upload::run_bulk_upload(run, iStringOrUrl, iIsUrl, iBuyFromPartNrs);
      },
      Tail{"Mercato.PriceXML.UpdateInsertPricesFromXML", no_steps});
}

void PriceXML::Parts::updateInsertPriceFromXMLFile2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PartNumberReport report(observer, iBuyFromPartNr);
        const Variant product_id = getProductNameOrID(iBuyFromPartNr, Wanted::id);
        if (product_id.is_null()) return report.ended(PartNumberOutcome::no_product);
        const Array prices = reader.readProductPriceFromXML2(document, iBuyFromPartNr)->Items();
        for (std::size_t index = 0; index < prices.items.size(); ++index)
          upload::done_or_left_behind(observer, [&] {
            LineReport line(observer, iBuyFromPartNr, index + 1);
            line.ended(write_price(product_id.to_long(), *prices.items[index].to<Dictionary>(), line.findings()));
          });
        for (const xml::Node record : document.select(upload::records_of(kPriceDocument, iBuyFromPartNr)))
          record.remove();
        report.ended(PartNumberOutcome::done);
      },
      Tail{"Mercato.PriceXML.updateInsertPriceFromXMLFile2", no_steps});
}

PriceLineOutcome PriceXML::Parts::write_price(std::int32_t product_id, Dictionary& price,
                                              upload::PriceJudge::Findings* findings) const {
  if (text::trim(price.Item("QuantityTo").to_text()).empty()) price.Set("QuantityTo", kNoUpperEnd);
  if (!judge.isValidPrice(price, findings)) return PriceLineOutcome::left_out;
  upload::add_compared_fields(price);
  const Date effective_date = price.Item("PriceEffectiveDate").to_date();
  const double quantity_to = price.Item("QuantityTo").to_double();
  Array fields = price.Keys();
  upperCaseKeys(fields);
  return InsertUpdatePrice(product_id, effective_date, quantity_to, fields, price.Items()) ? PriceLineOutcome::added
                                                                                           : PriceLineOutcome::changed;
}

}  // namespace mercato
