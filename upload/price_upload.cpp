// The upload, and the way of one price line: read, judge, look up, write. What becomes of a field on its way into its
// column is told in records/price_line.cpp.
#include "records/price_line.h"
#include "upload/bulk_run.h"
#include "upload/price_xml_internal.h"
#include "values/text.h"

namespace mercato {

using upload::kPriceDocument;

namespace {

constexpr const char* kNoUpperEnd = "999999999";

void upperCaseKeys(Array& keys) {
  for (Variant& key : keys.items) key = text::to_upper(key.to_text());
}

}  // namespace

// Tells the observer of one line when it has ended, however it did.
class PriceXML::LineReport {
 public:
  LineReport(PriceXML& upload, const std::string& part_number, std::size_t number) : upload_(upload) {
    if (!upload_.observer_) return;
    line_.part_number = part_number;
    line_.number = number;
    upload_.line_ = &line_;
  }
  ~LineReport() {
    if (!upload_.line_) return;
    upload_.line_ = nullptr;
    upload::tell(upload_.observer_, [&](PriceUploadObserver& observer) { observer.on_price_line(line_); });
  }
  LineReport(const LineReport&) = delete;
  LineReport& operator=(const LineReport&) = delete;

  void ended(PriceLineOutcome outcome) { line_.outcome = outcome; }

 private:
  PriceXML& upload_;
  UploadPriceLine line_;
};

// The same for all lines of a part number.
class PriceXML::PartNumberReport {
 public:
  PartNumberReport(PriceXML& upload, const std::string& part_number) : upload_(upload), part_number_(part_number) {}
  ~PartNumberReport() {
    upload::tell(upload_.observer_,
                 [&](PriceUploadObserver& observer) { observer.on_part_number(part_number_, outcome_); });
  }
  PartNumberReport(const PartNumberReport&) = delete;
  PartNumberReport& operator=(const PartNumberReport&) = delete;

  void ended(PartNumberOutcome outcome) { outcome_ = outcome; }

 private:
  PriceXML& upload_;
  const std::string& part_number_;
  PartNumberOutcome outcome_ = PartNumberOutcome::failed;
};

void PriceXML::UpdateInsertPricesFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs) {
  return method(
      [&] {
        upload::tell(observer_,
                     [&](PriceUploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        const upload::BulkRun run = {"remaining_prices_", false,
                                     [&](const xml::Document& document, const std::string& part_number) {
                                       upload::done_or_left_behind(
                                           observer_, [&] { updateInsertPriceFromXMLFile2(document, part_number); });
                                     },
                                     [&](const xml::Document& document) { return price_nodes_left2(document); }};
        upload::run_bulk_upload(run, iStringOrUrl, iIsUrl, iBuyFromPartNrs);
      },
      Tail{"Mercato.PriceXML.UpdateInsertPricesFromXML", no_steps});
}

// The lines leave the document, also those that break a rule; those of a part number without a product stay.
void PriceXML::updateInsertPriceFromXMLFile2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PartNumberReport report(*this, iBuyFromPartNr);
        const Variant product_id = getProductNameOrID(iBuyFromPartNr, Wanted::id);
        if (product_id.is_null()) return report.ended(PartNumberOutcome::no_product);
        const Array prices = readProductPriceFromXML2(document, iBuyFromPartNr)->Items();
        for (std::size_t index = 0; index < prices.items.size(); ++index)
          upload::done_or_left_behind(observer_, [&] {
            LineReport line(*this, iBuyFromPartNr, index + 1);
            line.ended(write_price(product_id.to_long(), *prices.items[index].to<Dictionary>()));
          });
        for (const xml::Node record : document.select(upload::records_of(kPriceDocument, iBuyFromPartNr)))
          record.remove();
        report.ended(PartNumberOutcome::done);
      },
      Tail{"Mercato.PriceXML.updateInsertPriceFromXMLFile2", no_steps});
}

// A line without DiscountAmount has got one by the check, without a value: it clears the column of a line that is
// there.
PriceLineOutcome PriceXML::write_price(std::int32_t product_id, Dictionary& price) {
  if (text::trim(price.Item("QuantityTo").to_text()).empty()) price.Set("QuantityTo", kNoUpperEnd);
  if (!isValidPrice(price)) return PriceLineOutcome::left_out;
  const Date effective_date = price.Item("PriceEffectiveDate").to_date();
  const double quantity_to = price.Item("QuantityTo").to_double();
  Array fields = price.Keys();
  upperCaseKeys(fields);
  return InsertUpdatePrice(product_id, effective_date, quantity_to, fields, price.Items()) ? PriceLineOutcome::added
                                                                                           : PriceLineOutcome::changed;
}

// Unlike the product's own writer: no reference check, no vote, and always without a group.
bool PriceXML::InsertUpdatePrice(std::int32_t product_id, Date effective_date, double quantity_to, const Array& fields,
                                 const Array& values) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        const bool is_new = write_price_line(kPriceLineOfUpload, PriceLineAction::insert_or_update,
                                             {product_id, effective_date, quantity_to, ""}, fields, values, opened);
        opened.close();
        return is_new;
      },
      Tail{"Mercato.PriceXML.InsertUpdatePrice", [&] { opened.close(); }});
}

}  // namespace mercato
