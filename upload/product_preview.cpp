// SPDX-License-Identifier: Apache-2.0
// The previews: read, judge, list. Nothing is written.
#include "frame/method.h"
#include "upload/product_xml_internal.h"
#include "upload/upload_documents.h"

namespace mercato {

using upload::ProductReader;

namespace {

// Both lists fail under this name.
constexpr const char* kCheckedList = "Mercato.ProductXML.GetCheckedProductUpdateList";

CollectionPtr checked_record(const std::string& part_number, const Variant& product_name, bool valid) {
  auto entry = std::make_shared<Collection>();
  entry->Add(part_number);
  entry->Add(product_name);
  entry->Add(valid);
  return entry;
}

}  // namespace

DictionaryPtr ProductXML::getErrorsInProductValues(const std::string& iStringOrUrl, bool iIsUrl,
                                                   const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        return parts_->judge.getErrorFields(
            *parts_->reader.readOneProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr));
      },
      Tail{"Mercato.ProductXML.getErrorsInProductValues", no_steps});
}

// Takes names as they are written: `Productdescription` is not the required field here, and `Unit` is not UNITCODE.
CollectionPtr ProductXML::GetCheckedProductUpdateList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method(
      [&] {
        auto list = std::make_shared<Collection>();
        for (const xml::Node record : parts_->reader.getProductNodeList(iStringOrUrl, iIsUrl)) {
          if (!upload::has_content(record)) continue;
          const std::string part_number = upload::part_number_of(record);
          const Variant product_name = parts_->known.getProductName(part_number);
          if (product_name.is_null()) continue;
          const DictionaryPtr values = parts_->reader.fields_of(record.children(), ProductReader::Names::as_written);
          list->Add(checked_record(part_number, product_name, parts_->judge.isValidProduct(*values)));
        }
        return list;
      },
      Tail{kCheckedList, no_steps});
}

// Takes names upper-cased.
CollectionPtr ProductXML::GetCheckedProductInsertList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method(
      [&] {
        auto list = std::make_shared<Collection>();
        for (const xml::Node record : parts_->reader.getProductNodeList(iStringOrUrl, iIsUrl)) {
          if (!upload::has_content(record)) continue;
          const std::string part_number = upload::part_number_of(record);
          const DictionaryPtr values = parts_->reader.fields_of(record.children(), ProductReader::Names::upper_cased);
          const bool valid = parts_->judge.isValidProduct(*values);
          list->Add(checked_record(part_number, values->Item("PRODUCTDESCRIPTION").to_text(), valid));
        }
        return list;
      },
      Tail{kCheckedList, no_steps});
}

}  // namespace mercato
