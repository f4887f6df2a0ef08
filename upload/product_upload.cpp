// SPDX-License-Identifier: Apache-2.0
// The calls that write, and the way of one record: read, repair, decide, split, write.
#include <optional>

#include "frame/method.h"
#include "frame/upload_run.h"
#include "upload/bulk_run.h"
#include "upload/product_fields.h"
#include "upload/product_xml_internal.h"
#include "upload/telling.h"
#include "upload/upload_documents.h"

namespace mercato {

using upload::kProductDocument;

namespace {

constexpr std::int32_t kLastShortIndex = 32767;

// Takes the standard fields out; what stays behind are the properties, and perhaps the buyer separator. The reader has
// made all keys upper-case.
void splitProductValues(Dictionary& values, Dictionary& standard) {
  for (const Variant& key : values.Keys().items) {
    if (!upload::goes_to_product(key.text_value())) continue;
    standard.Add(key, values.Item(key));
    values.Remove(key);
  }
}

// Collects what becomes of one record, and tells the observer when the record has ended, however it did.
class RecordReport {
 public:
  RecordReport(UploadObserver* const& observer, const std::string& part_number) : observer_(observer) {
    if (observer_) told_.emplace().part_number = part_number;
  }
  ~RecordReport() {
    if (told_) upload::tell(observer_, [&](UploadObserver& observer) { observer.on_record(*told_); });
  }
  RecordReport(const RecordReport&) = delete;
  RecordReport& operator=(const RecordReport&) = delete;

  // Null when nobody listens.
  UploadRecord* told() { return told_ ? &*told_ : nullptr; }
  void ended(UploadOutcome outcome) {
    if (told_) told_->outcome = outcome;
  }

 private:
  UploadObserver* const& observer_;  // the object's: it may be exchanged while the record is written
  std::optional<UploadRecord> told_;
};

}  // namespace

void ProductXML::insertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                      bool iUpdateOnErrors) {
  return method(
      [&] {
        StoreRun run;
        upload::tell(parts_->observer, [](UploadObserver& observer) { observer.on_start(1); });
        parts_->updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr, iUpdateOnErrors,
                                           Parts::Branch::insert_or_update);
        run.finish();
      },
      Tail{"Mercato.ProductXML.insertProductFromXML", no_steps});
}

void ProductXML::updateProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                      bool iUpdateOnErrors) {
  return method(
      [&] {
        StoreRun run;
        upload::tell(parts_->observer, [](UploadObserver& observer) { observer.on_start(1); });
        parts_->updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr, iUpdateOnErrors,
                                           Parts::Branch::update_only);
        run.finish();
      },
      Tail{"Mercato.ProductXML.updateProductFromXML", no_steps});
}

void ProductXML::insertProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs,
                                       bool iUpdateOnErrors) {
  return method(
      [&] {
        UploadObserver*& listening = parts_->observer;
        upload::tell(listening, [&](UploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        const upload::BulkRun run = {
            kProductDocument,
            [&](const xml::Document& document, const std::string& part_number) {
              const auto handle = [&] { parts_->updateInsertProductFromXML2(document, part_number, iUpdateOnErrors); };
              if (upload::done_or_left_behind(listening, handle)) return;
              const xml::Node failed = document.select_first(upload::records_of(kProductDocument, part_number));
              if (!failed.is_null()) failed.remove();
            },
            [&] { return upload::is_cancelled(listening); },
            [&](const xml::Document& document) { return parts_->reader.product_nodes_left2(document); }};
        upload::run_bulk_upload(run, iStringOrUrl, iIsUrl, iBuyFromPartNrs);
      },
      Tail{"Mercato.ProductXML.insertProductsFromXML", no_steps});
}

// The index is a 16-bit number. Counting beyond the last one fails, also when that entry was the last of the list.
void ProductXML::updateProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, const Array& iBuyFromPartNrs,
                                       bool iUpdateOnErrors) {
  return method(
      [&] {
        UploadObserver*& listening = parts_->observer;
        StoreRun run;
        upload::tell(listening, [&](UploadObserver& observer) { observer.on_start(iBuyFromPartNrs.items.size()); });
        for (std::int32_t index = iBuyFromPartNrs.lower; index <= iBuyFromPartNrs.upper(); ++index) {
          if (upload::is_cancelled(listening)) break;
          upload::done_or_left_behind(listening, [&] {
            parts_->updateInsertProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNrs.at(index).to_text(),
                                               iUpdateOnErrors, Parts::Branch::update_only);
          });
          if (index >= kLastShortIndex) raise(error_number::kOverflow);
        }
        run.finish();
      },
      Tail{"Mercato.ProductXML.updateProductsFromXML", no_steps});
}

bool ProductXML::Parts::updateInsertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                   const std::string& iBuyFromPartNr, bool iUpdateOnErrors,
                                                   Branch branch) {
  return method(
      [&] {
        RecordReport report(observer, iBuyFromPartNr);
        const bool exists = branch == Branch::update_only || !known.getProductName(iBuyFromPartNr).is_null();
        const DictionaryPtr values = reader.readOneProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr);
        report.ended(write_record(*values, exists, iBuyFromPartNr, iUpdateOnErrors, report.told()));
        return true;
      },
      Tail{"Mercato.ProductXML.updateInsertProductFromXML", no_steps});
}

// The element leaves the document however its record ended, unless by a failure; of several with this part number only
// the first.
void ProductXML::Parts::updateInsertProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr,
                                                    bool iUpdateOnErrors) {
  return method(
      [&] {
        RecordReport report(observer, iBuyFromPartNr);
        const bool exists = !known.getProductName(iBuyFromPartNr).is_null();
        const DictionaryPtr values = reader.readOneProductFromXML2(document, iBuyFromPartNr);
        const UploadOutcome outcome = write_record(*values, exists, iBuyFromPartNr, iUpdateOnErrors, report.told());
        document.select_first(upload::records_of(kProductDocument, iBuyFromPartNr)).remove();
        report.ended(outcome);
      },
      Tail{"Mercato.ProductXML.updateInsertProductFromXML2", no_steps});
}

// All or nothing goes by the number of fields alone: a field that was cut or translated is not lost.
UploadOutcome ProductXML::Parts::write_record(Dictionary& values, bool exists, const std::string& iBuyFromPartNr,
                                              bool iUpdateOnErrors, UploadRecord* told) {
  const std::int32_t fields = values.Count();
  if (fields == 0) return UploadOutcome::empty;
  repairer.getValidatedProductValues(values, told);
  if (!iUpdateOnErrors && values.Count() != fields) return UploadOutcome::given_up;
  if (values.Count() == 0) return UploadOutcome::nothing_written;

  Dictionary standard;
  standard.reserve(upload::kFieldsOfProduct + 1);  // the buy-from part number comes to them
  splitProductValues(values, standard);
  if (exists) {
    writer.updateProductValues(standard, iBuyFromPartNr);
    writer.updateProductProperties(values, iBuyFromPartNr);
    return UploadOutcome::updated;
  }
  writer.foresee_properties(values, iBuyFromPartNr);
  writer.insertProductValues(standard, iBuyFromPartNr);
  writer.insertProductProperties(values, iBuyFromPartNr);
  return UploadOutcome::inserted;
}

}  // namespace mercato
