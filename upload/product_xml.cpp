// SPDX-License-Identifier: Apache-2.0
#include "mercato/product_xml.h"

#include "upload/product_xml_internal.h"

namespace mercato {

const ClassTable& ProductXML::table() {
  static const ClassTable table =
      ClassTable::of<ProductXML>("Mercato.ProductXML", "{C2F0A7B4-51D8-4E6B-9A3E-7D10B85C4F21}",
                                 TransactionAttribute::undeclared)
          .method("readBFPartNumbersFromXML", &ProductXML::readBFPartNumbersFromXML, {"iStringOrUrl", "iIsUrl"})
          .method("readOneProductFromXML", &ProductXML::readOneProductFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr"})
          .method("getErrorsInProductValues", &ProductXML::getErrorsInProductValues,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr"})
          .method("GetCheckedProductUpdateList", &ProductXML::GetCheckedProductUpdateList, {"iStringOrUrl", "iIsUrl"})
          .method("GetCheckedProductInsertList", &ProductXML::GetCheckedProductInsertList, {"iStringOrUrl", "iIsUrl"})
          .method("insertProductFromXML", &ProductXML::insertProductFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr", "iUpdateOnErrors"})
          .method("updateProductFromXML", &ProductXML::updateProductFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr", "iUpdateOnErrors"})
          .method("insertProductsFromXML", &ProductXML::insertProductsFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNrs", "iUpdateOnErrors"})
          .method("updateProductsFromXML", &ProductXML::updateProductsFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNrs", "iUpdateOnErrors"})
          .property("MultipleBuyerSeparator", &ProductXML::MultipleBuyerSeparator,
                    &ProductXML::SetMultipleBuyerSeparator)
          .method("InsertUpdateMultipleBuyer", &ProductXML::InsertUpdateMultipleBuyer, {"i_lProductID", "sUserid"});
  return table;
}

ProductXML::ProductXML() : parts_(std::make_unique<Parts>()) {}

ProductXML::~ProductXML() = default;

CollectionPtr ProductXML::readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl) {
  return parts_->reader.readBFPartNumbersFromXML(iStringOrUrl, iIsUrl);
}

DictionaryPtr ProductXML::readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                const std::string& iBuyFromPartNr) {
  return parts_->reader.readOneProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr);
}

bool ProductXML::InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid) {
  return parts_->writer.InsertUpdateMultipleBuyer(i_lProductID, sUserid);
}

std::string ProductXML::MultipleBuyerSeparator() const { return parts_->separator.text(); }

void ProductXML::SetMultipleBuyerSeparator(const std::string& iSeparator) { parts_->separator.set(iSeparator); }

void ProductXML::set_observer(UploadObserver* observer) { parts_->observer = observer; }

}  // namespace mercato
