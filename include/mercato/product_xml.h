// SPDX-License-Identifier: Apache-2.0
// Bulk upload of products from XML: preview, upload within a time budget, and the file of what remains.
#pragma once

#include <memory>
#include <string>

#include "mercato/class_table.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/upload_observer.h"

namespace mercato {

/// Product documents: reads them, judges their records, and writes these to the store.
///
/// A document is given as its text or, with `iIsUrl`, as a URL or path. Its records are the elements `Product` at any
/// depth, each with the attribute `buyfrompartnumber` (the part number, compared exactly) and one child element for
/// each field, named in any case.
///
/// No method runs in a transaction or votes: each statement stands when it has run, and what was written stays when the
/// call fails. It is durable when the call has returned or failed.
///
/// Failures arrive as mercato::Raised. Each is logged and raised under `Mercato.ProductXML.` and the method's name,
/// wrapped once more by each method on the way up; number and source are those of the first raise. Beside the failures
/// that a method names, every method may raise error_number::kOutOfMemory and, once the call limit has passed,
/// kTimeout; every method that asks the store raises what the store raises, and 429 when a collaborating component
/// cannot be created.
///
/// One object serves one call at a time. It keeps its components, a read connection, whether UNSPSC is in use, and the
/// buyer separator for the rest of its life.
class MERCATO_API ProductXML : public ComponentOf<ProductXML> {
 public:
  ProductXML();
  ~ProductXML() override;
  /// The description of the class from which late-bound calls come.
  /// @return The same table at each call.
  static const ClassTable& table();

  /// Lists the part numbers of a document.
  /// @param iStringOrUrl  The document, or where it is.
  /// @param iIsUrl        Whether it is the latter.
  /// @return The part numbers as texts, in document order, doubles included; records without any child are left out.
  ///   Never null.
  /// @throws Raised  eUnableToLoadXML, source "Mercato.ProductXML.getProductNodeList", when the document cannot be
  ///   loaded; 91 for a record that has children and no attribute `buyfrompartnumber`.
  CollectionPtr readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl);

  /// Reads the first record of a part number.
  ///
  /// UNIT is handed on as UNITCODE, a GTIN is filled up with zeros to 14 characters, and a repeated field keeps its
  /// last value. A field MULTIPLEBUYERSEPARATOR becomes the object's separator.
  /// @param iStringOrUrl    The document, or where it is.
  /// @param iIsUrl          Whether it is the latter.
  /// @param iBuyFromPartNr  The part number.
  /// @return The fields, upper-cased name to text, in document order. Empty when the document has no such record.
  /// @throws Raised  eUnableToLoadXML, source "Mercato.ProductXML.getProductNodeList"; 91 for a record without the
  ///   attribute that stands before the match.
  DictionaryPtr readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr);

  /// Says which fields of one record are bad. Nothing is written.
  ///
  /// The rules are stricter than those of the upload, and not the same: a record can pass the one and fail the other.
  /// @param iStringOrUrl    The document, or where it is.
  /// @param iIsUrl          Whether it is the latter.
  /// @param iBuyFromPartNr  The part number.
  /// @return The bad fields, field to value; empty when the record is valid. A record that is not there lacks its three
  ///   required fields.
  /// @throws Raised  What readOneProductFromXML raises; 457 for a record whose UNIT is there but empty;
  ///   error_number::kStatementRefused for a CONTRACTCODE without NUMBER, and for a NUMBER that is none; where UNSPSC
  ///   is in use 5 for an UNSPSCCODE of fewer than two characters and 13 for one that does not end in two digits.
  DictionaryPtr getErrorsInProductValues(const std::string& iStringOrUrl, bool iIsUrl,
                                         const std::string& iBuyFromPartNr);

  /// Lists the records that would update a product, each with its judgement. Nothing is written.
  ///
  /// Field names are taken as they are written here: a required one in small letters is not found. A GTIN is not filled
  /// up.
  /// @param iStringOrUrl  The document, or where it is.
  /// @param iIsUrl        Whether it is the latter.
  /// @return For each record whose product exists a Collection of part number, the product's present description, and
  ///   whether the record is valid; in document order. Never null.
  /// @throws Raised  What getErrorsInProductValues raises, and 91 for any record without the attribute that has
  ///   content.
  CollectionPtr GetCheckedProductUpdateList(const std::string& iStringOrUrl, bool iIsUrl);

  /// Lists all records, each with its judgement. Nothing is written.
  ///
  /// Field names are taken in any case. A GTIN is not filled up. Fails under the name of GetCheckedProductUpdateList.
  /// @param iStringOrUrl  The document, or where it is.
  /// @param iIsUrl        Whether it is the latter.
  /// @return For each record with content a Collection of part number, the description that the record brings, and
  ///   whether it is valid; in document order. Never null.
  /// @throws Raised  What GetCheckedProductUpdateList raises.
  CollectionPtr GetCheckedProductInsertList(const std::string& iStringOrUrl, bool iIsUrl);

  /// Inserts the product of one record, or updates it when one with that part number exists.
  ///
  /// The record is repaired first: bad values are dropped, long ones cut, keys translated. When it then has another
  /// number of fields and `iUpdateOnErrors` is False, it is passed over in silence; with True the rest is written. A
  /// part number that the document lacks does nothing.
  /// @param iStringOrUrl     The document, or where it is.
  /// @param iIsUrl           Whether it is the latter.
  /// @param iBuyFromPartNr   The part number.
  /// @param iUpdateOnErrors  Whether a record that loses fields is written without them.
  /// @throws Raised  What readOneProductFromXML raises; 457 for two fields that come to one name; the failures of
  ///   getErrorsInProductValues for NUMBER, CONTRACTCODE and UNSPSCCODE; 94 for a product whose MULTIPLEBUYER is Null;
  ///   error_number::kStatementRefused for a property value with an apostrophe; error_number::kNoCurrentRow, from the
  ///   properties, when the row of a new product was not saved for a bad field.
  void insertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                            bool iUpdateOnErrors);

  /// Updates the product of one record; never inserts.
  /// @param iStringOrUrl     The document, or where it is.
  /// @param iIsUrl           Whether it is the latter.
  /// @param iBuyFromPartNr   The part number.
  /// @param iUpdateOnErrors  As for insertProductFromXML.
  /// @throws Raised  What insertProductFromXML raises, and error_number::kNoCurrentRow when no product has that part
  ///   number; nothing is written then.
  void updateProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                            bool iUpdateOnErrors);

  /// Inserts or updates the listed records until 180 seconds have passed or the observer cancels the run.
  ///
  /// What is left of the document then stands in `\XMLDownload\remaining_products_<key>.xml` below the web root, or no
  /// such file is there. It is a product document, too. Once a run of the object has left records, each later one
  /// writes its file, whatever it leaves. A record that is passed over leaves the document like one that is written.
  /// @param iStringOrUrl     A file key, the marker `/\` and the source.
  /// @param iIsUrl           Whether the source is a URL or path.
  /// @param iBuyFromPartNrs  The part numbers, with blanks at their ends allowed. On return those that were done, from
  ///   bound 0.
  /// @param iUpdateOnErrors  As for insertProductFromXML.
  /// @throws Raised  5 without the marker and error_number::kPathFileAccess for a key that is no plain part of a file
  ///   name, both before anything is loaded; 91 for a part number that the document lacks, also because the document
  ///   could not be loaded, and for a document whose root was its only record; error_number::kStoreFailure for a part
  ///   number with an apostrophe; what insertProductFromXML raises for a record; what the file system raises for the
  ///   remaining file, with the records written. After a failure the list is not cut, and the remaining file of an
  ///   earlier run stays.
  void insertProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs,
                             bool iUpdateOnErrors);

  /// Updates the product of each listed record, until all are done or the observer cancels the run.
  ///
  /// The document is loaded anew for each. No marker, no time budget, no remaining file.
  /// @param iStringOrUrl     The document, or where it is.
  /// @param iIsUrl           Whether it is the latter.
  /// @param iBuyFromPartNrs  The part numbers, each used as it stands.
  /// @param iUpdateOnErrors  As for insertProductFromXML.
  /// @throws Raised  What updateProductFromXML raises for a record, with those before it written; 6 after the entry of
  ///   index 32767.
  void updateProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, const Array& iBuyFromPartNrs,
                             bool iUpdateOnErrors);

  /// Replaces the buyer rows of a product by the buyers of the list; without MULTIPLEBUYER it only deletes them.
  /// @param i_lProductID  The product's id.
  /// @param sUserid       The user ids with the object's separator between them; Null for none.
  /// @return True.
  /// @throws Raised  eProductNotFound, source "Mercato.ProductXML.InsertUpdateMultipleBuyer", and 94 when the product's
  ///   MULTIPLEBUYER is Null; in both cases the rows are as they were. What the store raises for a buyer, with those
  ///   before it written.
  bool InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid);

  /// What stands between buyers in a list.
  /// @return Empty at first; ";" takes its place as soon as a list is taken apart.
  std::string MultipleBuyerSeparator() const;
  /// Sets what stands between buyers in a list, for the rest of the object's life or until a document says otherwise.
  /// @param iSeparator  Any text.
  void SetMultipleBuyerSeparator(const std::string& iSeparator);

  /// For hosts in C++: who hears of every record of the writing calls.
  /// @param observer  Null for nobody. The caller keeps it alive.
  void set_observer(UploadObserver* observer);

 private:
  struct MERCATO_INTERNAL Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace mercato
