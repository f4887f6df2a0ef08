#include "upload/product_xml.h"

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

ConnectionPtr ProductXML::GetConnection() const { return open_connection(shared_connection_string()); }

const ConnectionPtr& ProductXML::read_connection() {
  if (!mConnection) mConnection = GetConnection();
  return mConnection;
}

}  // namespace mercato
