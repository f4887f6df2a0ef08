// The calls that write, and the way of one record: read, repair, decide, split, write.
#include <unordered_set>

#include "frame/upload_run.h"
#include "upload/bulk_run.h"
#include "upload/product_xml_internal.h"

namespace mercato {

using upload::kProductDocument;

namespace {

constexpr std::int32_t kLastShortIndex = 32767;

// The fields that go to PRODUCT; every other one is a property.
// clang-format off
constexpr std::string_view kStandardKeys[] = {
    "COMMODITYCODE", "UNITCODE", "CONTRACTCODE", "NUMBER", "BUSINESSPARTNERID", "PRODUCTDESCRIPTION", "PRODUCTREMARK",
    "IMAGEFILENAME", "TECHNICALIMAGE", "URL", "PRODUCTXML", "BUYFROMCONTACTEMAIL", "PRODUCTEFFECTIVITYDATE",
    "PRODUCTEXPIRYDATE", "BUYFROMCONTACTINFO", "CLASSIFICATION", "MULTIPLEOF", "MINORDERQTY", "USERID", "PARTNUMBER",
    "UNSPSCCODE", "GTIN", "DISABLED", "MULTIPLEBUYER", "MFRPARTNUMBER", "LOTSIZE", "DELIVERYLEADTIME", "CLASSCODE",
    "SERVICEITEM"};
// clang-format on

bool is_standard(std::string_view upper_key) {
  static const std::unordered_set<std::string_view> keys(std::begin(kStandardKeys), std::end(kStandardKeys));
  return keys.contains(upper_key);
}

// Takes the standard fields out; what stays behind are the properties, and perhaps the buyer separator. The reader has
// made all keys upper-case.
void splitProductValues(Dictionary& values, Dictionary& standard) {
  for (const Variant& key : values.Keys().items) {
    if (!is_standard(key.text_value())) continue;
    standard.Add(key, values.Item(key));
    values.Remove(key);
  }
}

}  // namespace

void ProductXML::insertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                      bool iUpdateOnErrors) {
  return method(
      [&] {
        StoreRun run;
        upload::tell(observer_, [](UploadObserver& observer) { observer.on_start(1); });
        updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr, iUpdateOnErrors, Branch::insert_or_update);
        run.finish();
      },
      Tail{"Mercato.ProductXML.insertProductFromXML", no_steps});
}

void ProductXML::updateProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                      bool iUpdateOnErrors) {
  return method(
      [&] {
        StoreRun run;
        upload::tell(observer_, [](UploadObserver& observer) { observer.on_start(1); });
        updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr, iUpdateOnErrors, Branch::update_only);
        run.finish();
      },
      Tail{"Mercato.ProductXML.updateProductFromXML", no_steps});
}

void ProductXML::insertProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs,
                                       bool iUpdateOnErrors) {
  return method(
      [&] {
        upload::tell(observer_, [&](UploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        const upload::BulkRun run = {
            "remaining_products_", true,
            [&](const xml::Document& document, const std::string& part_number) {
              const auto handle = [&] { updateInsertProductFromXML2(document, part_number, iUpdateOnErrors); };
              if (upload::done_or_left_behind(observer_, handle)) return;
              const xml::Node failed = document.select_first(upload::records_of(kProductDocument, part_number));
              if (!failed.is_null()) failed.remove();
            },
            [&](const xml::Document& document) { return product_nodes_left2(document); }};
        upload::run_bulk_upload(run, iStringOrUrl, iIsUrl, iBuyFromPartNrs);
      },
      Tail{"Mercato.ProductXML.insertProductsFromXML", no_steps});
}

// The index is a short: it cannot be counted on beyond the last entry that it can name.
void ProductXML::updateProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, const Array& iBuyFromPartNrs,
                                       bool iUpdateOnErrors) {
  return method(
      [&] {
        StoreRun run;
        upload::tell(observer_, [&](UploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        for (std::int32_t index = iBuyFromPartNrs.lower; index <= iBuyFromPartNrs.upper(); ++index) {
          upload::done_or_left_behind(observer_, [&] {
            updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNrs.at(index).to_text(), iUpdateOnErrors,
                                       Branch::update_only);
          });
          if (index >= kLastShortIndex) raise(error_number::kOverflow);
        }
        run.finish();
      },
      Tail{"Mercato.ProductXML.updateProductsFromXML", no_steps});
}

bool ProductXML::updateInsertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                            const std::string& iBuyFromPartNr, bool iUpdateOnErrors, Branch branch) {
  return method(
      [&] {
        RecordReport report(*this, iBuyFromPartNr);
        const bool exists = branch == Branch::update_only || !getProductName(iBuyFromPartNr).is_null();
        const DictionaryPtr values = readOneProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr);
        report.ended(write_record(*values, exists, iBuyFromPartNr, iUpdateOnErrors));
        return true;
      },
      Tail{"Mercato.ProductXML.updateInsertProductFromXML", no_steps});
}

// The element leaves the document however its record ended, unless by a failure; of several with this part number only
// the first.
void ProductXML::updateInsertProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr,
                                             bool iUpdateOnErrors) {
  return method(
      [&] {
        RecordReport report(*this, iBuyFromPartNr);
        const bool exists = !getProductName(iBuyFromPartNr).is_null();
        const DictionaryPtr values = readOneProductFromXML2(document, iBuyFromPartNr);
        const UploadOutcome outcome = write_record(*values, exists, iBuyFromPartNr, iUpdateOnErrors);
        document.select_first(upload::records_of(kProductDocument, iBuyFromPartNr)).remove();
        report.ended(outcome);
      },
      Tail{"Mercato.ProductXML.updateInsertProductFromXML2", no_steps});
}

// All or nothing goes by the number of fields alone: a field that was cut or translated is not lost.
UploadOutcome ProductXML::write_record(Dictionary& values, bool exists, const std::string& iBuyFromPartNr,
                                       bool iUpdateOnErrors) {
  const std::int32_t fields = values.Count();
  if (fields == 0) return UploadOutcome::empty;
  getValidatedProductValues(values);
  if (!iUpdateOnErrors && values.Count() != fields) return UploadOutcome::given_up;
  if (values.Count() == 0) return UploadOutcome::nothing_written;

  Dictionary standard;
  standard.reserve(std::size(kStandardKeys) + 1);  // the buy-from part number comes to them
  splitProductValues(values, standard);
  if (exists) {
    updateProductValues(standard, iBuyFromPartNr);
    updateProductProperties(values, iBuyFromPartNr);
    return UploadOutcome::updated;
  }
  insertProductValues(standard, iBuyFromPartNr);
  insertProductProperties(values, iBuyFromPartNr);
  return UploadOutcome::inserted;
}

}  // namespace mercato
