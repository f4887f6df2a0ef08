// Bulk upload of products from XML: preview, upload within a time budget, and the file of what remains.
// No transaction and no vote: each statement stands when it has run, and what was written stays when the call fails.
// One object serves one call at a time. It keeps its components, a read connection, whether UNSPSC is in use, and the
// buyer separator for the rest of its life.
//
// A document is given as its text or, with iIsUrl, as a URL or path. Its records are the elements "Product" at any
// depth, each with the attribute "buyfrompartnumber" and one child element for each field, named in any case. Failures
// are logged and raised under "Mercato.ProductXML.<method>", wrapped once more by each method on the way up; but both
// preview lists use the label of GetCheckedProductUpdateList.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "frame/connection.h"
#include "frame/contracts.h"
#include "frame/documents.h"
#include "records/product_row.h"
#include "upload/upload_observer.h"
#include "values/collection.h"
#include "values/dictionary.h"

namespace mercato {

class ProductXML : public ComponentOf<ProductXML> {
 public:
  static const ClassTable& table();

  // Reading. Raises eUnableToLoadXML, source "Mercato.ProductXML.getProductNodeList", when the document cannot be
  // loaded, and 91 for a record without the attribute (in readOneProductFromXML only when it stands before the match).

  // The part numbers in document order, doubles included; records without any child are left out. Never null.
  CollectionPtr readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl);
  // The fields of the first record with that part number, upper-cased name to text; empty when there is none. UNIT is
  // handed on as UNITCODE, a GTIN is filled up with zeros to 14 characters, a repeated field keeps its last value.
  // A field MULTIPLEBUYERSEPARATOR becomes the object's separator.
  DictionaryPtr readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr);

  // Judging. Nothing is written. The rules are stricter than those of the upload, and not the same.

  // The bad fields of one record, field to value; empty when it is valid. Raises 457 for a record whose UNIT is there
  // but empty, and the store's failure for a CONTRACTCODE without NUMBER.
  DictionaryPtr getErrorsInProductValues(const std::string& iStringOrUrl, bool iIsUrl,
                                         const std::string& iBuyFromPartNr);
  // For each record whose product exists a Collection of part number, the product's present description, and whether
  // the record is valid. Field names are taken as they are written here: one in small letters misses its required-field
  // check.
  CollectionPtr GetCheckedProductUpdateList(const std::string& iStringOrUrl, bool iIsUrl);
  // The same for all records, with the description that the record brings and names in any case.
  CollectionPtr GetCheckedProductInsertList(const std::string& iStringOrUrl, bool iIsUrl);

  // Writing. A record is repaired first: bad values are dropped, long ones cut, keys translated. When it then has
  // another number of fields and iUpdateOnErrors is False, it is passed over in silence; with True the rest is written.
  // What a failing call has written stays written.

  // Inserts, or updates the product when one with that part number exists. A part number that the document lacks does
  // nothing.
  void insertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                            bool iUpdateOnErrors);
  // Updates. Raises kNoCurrentRow when no product has that part number.
  void updateProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                            bool iUpdateOnErrors);
  // Inserts or updates the listed records, each part number trimmed, until 180 seconds have passed. iStringOrUrl is a
  // file key, the marker "/\" and the source. On return iBuyFromPartNrs holds what was done, from bound 0, and what is
  // left of the document stands in \XMLDownload\remaining_products_<key>.xml below the web root, or no such file is
  // there. Raises 5 without the marker, 75 for a key that is no plain part of a file name, both before anything is
  // loaded, and 91 for a part number that the document lacks (also: that could not be loaded). On failure the array is
  // not cut and the remaining file of an earlier run stays. Once a run of the object has left records, each later one
  // writes its file, whatever it leaves.
  void insertProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, Array& iBuyFromPartNrs,
                             bool iUpdateOnErrors);
  // updateProductFromXML for each entry as it stands. No marker, no budget, no remaining file. Raises 6 after the entry
  // of index 32767.
  void updateProductsFromXML(const std::string& iStringOrUrl, bool iIsUrl, const Array& iBuyFromPartNrs,
                             bool iUpdateOnErrors);

  // Replaces the buyer rows of a product by the buyers of the list; without MULTIPLEBUYER it only deletes them.
  // Returns True. Raises eProductNotFound, source "Mercato.ProductXML.InsertUpdateMultipleBuyer", and 94 when
  // MULTIPLEBUYER is Null.
  bool InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid);

  // What stands between buyers in a list. Empty at first: then ";" takes its place as soon as a list is taken apart.
  std::string MultipleBuyerSeparator() const { return buyer_separator_.text(); }
  void SetMultipleBuyerSeparator(const std::string& iSeparator) { buyer_separator_.set(iSeparator); }

  // For hosts in C++: hears of every record of the writing calls. Null ends it. The caller keeps it alive.
  void set_observer(UploadObserver* observer) { observer_ = observer; }

 private:
  enum class Quoting { text, none };  // without quotes the value stands in the statement as it is
  // One field that a query of Exists compares.
  struct Comparison {
    std::string_view field;
    Variant value;
    Quoting quoting;
  };
  enum class CheckedList { existing_products, all_records };
  enum class Branch { insert_or_update, update_only };
  class RecordReport;
  static constexpr std::int32_t kNoPartner = -1;

  // Reading (product_reading.cpp). The forms that end in 2 work on a document that is loaded already.
  xml::NodeList getProductNodeList(const std::string& iStringOrUrl, bool iIsUrl);
  xml::NodeList getProductNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr);
  bool product_nodes_left2(const xml::Document& document);
  xml::NodeList getProductNodes2(const xml::Document& document, const std::string& iBuyFromPartNr);
  DictionaryPtr readOneProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr);

  // Judging and repairing (product_validation.cpp).
  CollectionPtr checked_list(const std::string& iStringOrUrl, bool iIsUrl, CheckedList which);
  bool isValidProduct(Dictionary& values);
  DictionaryPtr getErrorFields(Dictionary& values);
  bool is_bad_field(Dictionary& values, const Variant& key, const Variant& value);
  bool all_are_buyers(const std::string& list);
  void getValidatedProductValues(Dictionary& values);
  void repair_field(Dictionary& values, const Variant& key, const Variant& item);
  std::string joined_buyers(const std::string& list) const;
  std::string unit_code_of(const std::string& code_or_description);
  void ask_for_hazardous_class(const std::string& class_code);
  Variant getProductName(const std::string& iBuyFromPartNr);
  bool Exists(std::string_view table, std::initializer_list<Comparison> comparisons);
  bool unspsc_code_exists(const std::string& whole_code);
  void read_unspsc_setting();
  bool unspsc_in_use() const;

  // Writing (product_upload.cpp, product_row_writing.cpp, product_properties.cpp).
  bool updateInsertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                  bool iUpdateOnErrors, Branch branch);
  void updateInsertProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr,
                                   bool iUpdateOnErrors);
  UploadOutcome write_record(Dictionary& values, bool exists, const std::string& iBuyFromPartNr, bool iUpdateOnErrors);
  void insertProductValues(Dictionary& standard, const std::string& iBuyFromPartNr);
  void updateProductValues(const Dictionary& standard, const std::string& iBuyFromPartNr);
  std::int32_t Insert20(const Array& iFields, const Array& iValues);
  bool Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues);
  void update_unspsc_links(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                           bool is_new);
  bool unspsc_links_wanted() const;
  void insertProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr);
  void updateProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr);

  ConnectionPtr GetConnection() const;
  void execute_on_new_connection(const Sql& sql) const;
  const ConnectionPtr& read_connection();

  ConnectionPtr mConnection;  // for reading, opened at the first need
  ComponentPtr mProduct;      // created, and called by nobody
  zentrik::User mUser;
  zentrik::BusinessPartner mBusinessPartner;
  ComponentPtr mUnit;
  Variant mUNSPSCImplemented;  // upper-cased; Empty until it is read
  // How many records the first document that had any left still had; that is all that the list is asked for.
  std::size_t mProductNodeList = 0;
  BuyerSeparator buyer_separator_;
  UploadObserver* observer_ = nullptr;
  UploadRecord* record_ = nullptr;  // what is told of the record under way; null when nobody listens
};

}  // namespace mercato
