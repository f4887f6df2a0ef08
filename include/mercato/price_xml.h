// SPDX-License-Identifier: Apache-2.0
// Bulk upload of price lines from XML: preview, upload within a time budget, and the file of what remains.
#pragma once

#include <memory>
#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/upload_observer.h"

namespace mercato {

/// Price documents: reads them, judges their lines, and writes these to the store.
///
/// A document is given as its text or, with `iIsUrl`, as a URL or path. Its records are the elements `ProductPrice` at
/// any depth, each with the attribute `buyfrompartnumber`; several of one part number are as many price lines of the
/// product. A field's element is called as its column in CATALOGPRODUCTPRICE. CurrencyCode, Price, DiscountAmount,
/// QuantityTo, PriceEffectiveDate and PriceExpiryDate have to be spelled just so, or their rules take them for missing.
///
/// No method runs in a transaction or votes: each line stands when it is written, and what was written stays when the
/// call fails. It is durable when the call has returned or failed.
///
/// Failures arrive as mercato::Raised. Each is logged and raised under `Mercato.PriceXML.` and the method's name,
/// wrapped once more by each method on the way up; number and source are those of the first raise. Beside the failures
/// that a method names, every method may raise error_number::kOutOfMemory and, once the call limit has passed,
/// kTimeout; every method that asks the store raises what the store raises, and 429 when a collaborating component
/// cannot be created.
///
/// One object serves one call at a time. It keeps a read connection and the currencies for the rest of its life: before
/// anything can be judged or uploaded, GetCheckedPriceList has to load them, on the same object and from a document
/// with a record.
class MERCATO_API PriceXML : public ComponentOf<PriceXML> {
 public:
  PriceXML();
  ~PriceXML() override;
  /// The description of the class from which late-bound calls come.
  /// @return The same table at each call.
  static const ClassTable& table();

  /// Reads the price lines of a part number.
  /// @param iStringOrUrl    The document, or where it is.
  /// @param iIsUrl          Whether it is the latter.
  /// @param iBuyFromPartNr  The part number, compared exactly.
  /// @return "PRICE 1", "PRICE 2" and so on, in document order, to a Dictionary of field name, as it is written, to
  ///   text. Empty when there is none.
  /// @throws Raised  eUnableToLoadXML, source "Mercato.PriceXML.getPriceNodeList", when the document cannot be loaded;
  ///   91 for a record without the attribute, wherever it stands; 457 for a field that stands twice in one record.
  DictionaryPtr readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                        const std::string& iBuyFromPartNr);

  /// Says which fields of the price lines of a part number are bad. Nothing is written.
  /// @param iStringOrUrl    The document, or where it is.
  /// @param iIsUrl          Whether it is the latter.
  /// @param iBuyFromPartNr  The part number, compared exactly.
  /// @return For each line, keyed as by readProductPriceFromXML, a Dictionary of its bad fields, field to value; empty
  ///   when it is valid.
  /// @throws Raised  What readProductPriceFromXML raises; 91 while no currencies are loaded and there is a line; 13 for
  ///   a DiscountPerc or PriceTaxPercentage that is no number, also an empty one.
  DictionaryPtr GetErrorsInPriceValues(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr);

  /// Lists the products of a document, each with the judgement of its lines, and loads the currencies. Nothing is
  /// written.
  ///
  /// A blank QuantityTo is invalid here, though the upload takes it.
  /// @param iStringOrUrl  The document, or where it is.
  /// @param iIsUrl        Whether it is the latter.
  /// @return Part number to a Collection of part number, the product's name, and whether all of its lines are valid.
  ///   Records of part numbers without a product are left out, all but the last record of the document, which is there
  ///   with an empty name and False. Empty, and no currencies are loaded, when the document has no record.
  /// @throws Raised  eUnableToLoadXML as readProductPriceFromXML; 6 for more than 32767 records, with no currencies
  ///   loaded; 91 and 457 as readProductPriceFromXML, 13 as GetErrorsInPriceValues, with the currencies loaded.
  DictionaryPtr GetCheckedPriceList(const std::string& iStringOrUrl, bool iIsUrl);

  /// Writes the price lines of the listed part numbers until 180 seconds have passed or the observer cancels the run.
  ///
  /// A line is changed when one of the same product, effective date and quantity is found whose group is the empty
  /// text. One without a group is not found: its like is added, and meets the table's key. A blank QuantityTo is
  /// 999999999. A line that breaks a rule is passed over in silence.
  ///
  /// What is left of the document stands in `\XMLDownload\remaining_prices_<key>.xml` below the web root, or no such
  /// file is there: lines not reached or not listed, and those of part numbers without a product. Once a run of the
  /// object has left lines, each later one writes its file, whatever it leaves.
  /// @param iStringOrUrl     A file key, the marker `/\` and the source.
  /// @param iIsUrl           Whether the source is a URL or path.
  /// @param iBuyFromPartNrs  The part numbers, each used as it stands. On return those that were done, from bound 0.
  /// @throws Raised  5 without the marker and error_number::kPathFileAccess for a key that is no plain part of a file
  ///   name, both before anything is loaded; 91 while no currencies are loaded, at the first line, and for a document
  ///   that could not be loaded; 457 for a field that stands twice and 13 for a percentage that is no number;
  ///   error_number::kNoSuchField for a field that is no column; 13 and what the store raises for a value that does not
  ///   fit its column; error_number::kStoreFailure for a part number with an apostrophe that has a product; what the
  ///   file system raises for the remaining file, with the lines written. After a failure the list is not cut, and the
  ///   remaining file of an earlier run stays.
  void UpdateInsertPricesFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs);

  /// For hosts in C++: who hears of every line of the upload.
  /// @param observer  Null for nobody. The caller keeps it alive.
  void set_observer(PriceUploadObserver* observer);

 private:
  struct MERCATO_INTERNAL Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace mercato
