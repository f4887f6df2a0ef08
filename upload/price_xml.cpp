#include "upload/price_xml.h"

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

ConnectionPtr PriceXML::GetConnection() const { return open_connection(shared_connection_string()); }

const ConnectionPtr& PriceXML::read_connection() {
  if (!mConnection) {
    // Kept before it is asked for anything: a refused isolation is not asked for again.
    mConnection = GetConnection();
    set_read_committed(*mConnection);
  }
  return mConnection;
}

}  // namespace mercato
