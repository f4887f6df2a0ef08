// SPDX-License-Identifier: Apache-2.0
#include "mercato/price_xml.h"

#include "frame/lib_general.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "upload/price_xml_internal.h"

namespace mercato {

const ClassTable& PriceXML::table() {
  static const ClassTable table =
      ClassTable::of<PriceXML>("Mercato.PriceXML", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10B}", TransactionAttribute::none)
          .method("readProductPriceFromXML", &PriceXML::readProductPriceFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr"})
          .method("GetErrorsInPriceValues", &PriceXML::GetErrorsInPriceValues,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNr"})
          .method("GetCheckedPriceList", &PriceXML::GetCheckedPriceList, {"iStringOrUrl", "iIsUrl"})
          .method("UpdateInsertPricesFromXML", &PriceXML::UpdateInsertPricesFromXML,
                  {"iStringOrUrl", "iIsUrl", "iBuyFromPartNrs"});
  return table;
}

PriceXML::PriceXML() : parts_(std::make_unique<Parts>()) {}

PriceXML::~PriceXML() = default;

DictionaryPtr PriceXML::readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                const std::string& iBuyFromPartNr) {
  return parts_->reader.readProductPriceFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr);
}

void PriceXML::set_observer(PriceUploadObserver* observer) { parts_->observer = observer; }

Variant PriceXML::Parts::getProductNameOrID(const std::string& iBuyFromPartNr, Wanted wanted) {
  RecordsetPtr rows;
  return method(
      [&]() -> Variant {
        Sql sql(wanted == Wanted::name
                    ? LiteralPiece("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='")
                    : LiteralPiece("SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='"));
        sql << value(Gen_QuoteSql(iBuyFromPartNr)) << "'";
        rows = read_connection.get()->Execute(sql);
        Variant found = wanted == Wanted::name ? Variant("") : Variant(kNull);
        if (!rows->Eof()) found = rows->Value(0).to_text();
        Sql_CloseRecordset(rows);
        return found;
      },
      Tail{"Mercato.PriceXML.getProductNameOrID", closing(rows)});
}

}  // namespace mercato
