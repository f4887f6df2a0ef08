// Bulk upload of price lines from XML: preview, upload within a time budget, and the file of what remains.
// No transaction and no vote: each line stands when it is written, and what was written stays when the call fails.
// One object serves one call at a time. It keeps a read connection and the currencies for the rest of its life: before
// anything can be judged or uploaded, GetCheckedPriceList has to load them, on the same object and from a document with
// a record.
//
// A document is given as its text or, with iIsUrl, as a URL or path. Its records are the elements "ProductPrice" at any
// depth, each with the attribute "buyfrompartnumber"; several of one part number are as many price lines of the
// product. A field's element is called as its column in CATALOGPRODUCTPRICE; CurrencyCode, Price, DiscountAmount,
// QuantityTo, PriceEffectiveDate and PriceExpiryDate have to be spelled just so, or their rules take them for missing.
// Failures are logged and raised under "Mercato.PriceXML.<method>", wrapped once more by each method on the way up.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "frame/connection.h"
#include "frame/contracts.h"
#include "frame/documents.h"
#include "upload/upload_observer.h"
#include "values/date.h"
#include "values/dictionary.h"

namespace mercato {

class PriceXML : public ComponentOf<PriceXML> {
 public:
  static const ClassTable& table();

  // Reading. Raises eUnableToLoadXML, source "Mercato.PriceXML.getPriceNodeList", when the document cannot be loaded;
  // 91 for a record without the attribute; 457 for a field that stands twice in one record.

  // The price lines of that part number: "PRICE 1", "PRICE 2" and so on, in document order, to a Dictionary of field
  // name, as it is written, to text. Empty when there is none.
  DictionaryPtr readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                        const std::string& iBuyFromPartNr);

  // Judging. Nothing is written.

  // For each price line of that part number, keyed as by readProductPriceFromXML, a Dictionary of its bad fields, field
  // to value; empty when it is valid. Raises 91 while no currencies are loaded and there is a line, and 13 for a
  // DiscountPerc or PriceTaxPercentage that is no number.
  DictionaryPtr GetErrorsInPriceValues(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr);
  // Part number to a Collection of part number, the product's name, and whether all of its lines are valid. Loads the
  // currencies, unless the document has no record: then it is empty. Records of part numbers without a product are left
  // out, all but the last record of the document, which is there with an empty name and False. A blank QuantityTo is
  // invalid here, though the upload takes it. Raises 6 for more than 32767 records, and 13 as GetErrorsInPriceValues
  // does.
  DictionaryPtr GetCheckedPriceList(const std::string& iStringOrUrl, bool iIsUrl);

  // Writing.

  // Writes the price lines of the listed part numbers, each as it stands, until 180 seconds have passed. iStringOrUrl
  // is a file key, the marker "/\" and the source. A line is changed when one of the same product, effective date and
  // quantity is found whose group is the empty text; one without a group is not found, so that its like is added and
  // meets the table's key. A blank QuantityTo is 999999999. A line that breaks a rule is passed over in silence. On
  // return iBuyFromPartNrs holds what was done, from bound 0, and what is left of the document stands in
  // \XMLDownload\remaining_prices_<key>.xml below the web root, or no such file is there: lines not reached or not
  // listed, and those of part numbers without a product. Raises 5 without the marker, 75 for a key that is no plain
  // part of a file name, both before anything is loaded; 91 while no currencies are loaded, at the first line; what
  // GetErrorsInPriceValues does; kNoSuchField for a field that is no column; and what the store raises. On failure the
  // array is not cut and the remaining file of an earlier run stays. Once a run of the object has left lines, each
  // later one writes its file, whatever it leaves.
  void UpdateInsertPricesFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs);

  // For hosts in C++: hears of every line of the upload. Null ends it. The caller keeps it alive.
  void set_observer(PriceUploadObserver* observer) { observer_ = observer; }

 private:
  // What is asked of a product: without one the name is the empty text, and the id Null.
  enum class Wanted { name, id };
  using PriceNodes = std::vector<xml::NodeList>;  // the children of each record
  class LineReport;
  class PartNumberReport;

  // Reading (price_reading.cpp). The forms that end in 2 work on a document that is loaded already.
  xml::NodeList getPriceNodeList(const std::string& iStringOrUrl, bool iIsUrl);
  PriceNodes getPriceNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr);
  bool price_nodes_left2(const xml::Document& document);
  PriceNodes getPriceNodes2(const xml::Document& document, const std::string& iBuyFromPartNr);
  DictionaryPtr readProductPriceFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr);

  // Judging (price_validation.cpp). All of it may create fields that the price lacks, without a value.
  DictionaryPtr getErrorFields(Dictionary& price);
  bool isValidPrice(Dictionary& price);
  DictionaryPtr getTypeAndRangeErrors(Dictionary& price);
  DictionaryPtr GetPriceRuleErrors(Dictionary& price);
  Variant getProductNameOrID(const std::string& iBuyFromPartNr, Wanted wanted);
  void note_bad(const Variant& field, const Variant& value, const char* reason);

  // Writing (price_upload.cpp).
  void updateInsertPriceFromXMLFile2(const xml::Document& document, const std::string& iBuyFromPartNr);
  PriceLineOutcome write_price(std::int32_t product_id, Dictionary& price);
  // Whether the line is a new one.
  bool InsertUpdatePrice(std::int32_t product_id, Date effective_date, double quantity_to, const Array& fields,
                         const Array& values);

  ConnectionPtr GetConnection() const;
  const ConnectionPtr& read_connection();

  ConnectionPtr mConnection;  // for reading, opened at the first need
  DictionaryPtr mCurrencies;  // their codes are its keys; null until they are loaded
  // How many records the first document that had any left still had; that is all that the list is asked for.
  std::size_t mPriceNodeList = 0;
  PriceUploadObserver* observer_ = nullptr;
  UploadPriceLine* line_ = nullptr;  // what is told of the line under way; null when nobody listens
};

}  // namespace mercato
