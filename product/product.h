// The product master: one row of PRODUCT for each product, and everything that finds, counts and reads them.
//
// Requires a transaction. Unless a method says otherwise it votes commit when it succeeds, and on a failure closes what
// it opened, votes abort, logs and raises under the label "Mercato.Product." and its name; nothing is changed by any
// of the methods here. Product ids, catalogue ids and category ids are 32-bit; ids that find nothing are no failure
// where the method says what it returns instead. Every method may raise what the store raises (0x80040E14 for a
// refused statement, 0x80004005 for an unreachable store).
//
// An object serves one call at a time. It keeps nothing between calls but the cache of getManufacturerID.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/component.h"
#include "frame/connection.h"
#include "frame/recordset.h"
#include "frame/types/collection.h"
#include "frame/types/dictionary.h"

namespace mercato {

class Product : public ComponentOf<Product> {
 public:
  static const ClassTable& table();

  // One product: 33 keys, the columns' values as they stand, Null included, with these exceptions. MFRPARTNUMBER stands
  // under the key "MFRPARTNUMBEER". A Null USERID is replaced by what GetDefaultBuyer finds for the product id,
  // as a rule "". CHARGETYPECODE comes from the product's commodity, "" when there is none. GTIN, STOCKITEM,
  // PRICINGMETHOD and DATEUPDATED are not in it; GetProductFields has them. Raises eProductNotFound, source
  // "Mercato.Product.GetProductEx". No tail: a failure passes raw, unlogged, without a vote.
  DictionaryPtr GetProductEx(std::int32_t i_lProductID);

  // The same as a Collection with the keys as collection keys. No commit vote.
  // A failure is logged under "Mercato.Product.getProduct".
  CollectionPtr GetProduct(std::int32_t iProductID);

  // The named columns of a product, found by id, or by GTIN when the id is -1; an empty text replaces Null. The keys
  // are the names as given. Of several products with one GTIN the first. Empty when there is no such product. Raises
  // 0x80040000, source "GetProductFields", when neither id nor GTIN is given; 0x800A0CC1 for a name that is no column;
  // 457 for a name given twice. Label "Mercato.Product.getProductFields".
  DictionaryPtr GetProductFields(const Array& i_aProductFieldNames, std::int32_t i_lProductID = -1,
                                 const std::string& i_sGTIN = "");

  // The manufacturer's id of a product, "" when it has none. The object remembers the last product it was asked for,
  // and does not see later changes of it. Raises 91 for id 0, else as GetProduct. No tail, no vote of its own.
  std::string getManufacturerID(std::int32_t iProductID);

  // "" for Null. Raises eProductIdNotFound, "Productid Not found", with an abort vote but unlogged.
  std::string GetProductDescription(std::int32_t i_lProductID);
  // "" for Null. Raises eProductIdNotFound, "ProductId not Found", with an abort vote but unlogged. Label
  // "Mercato.Product.getGTIN".
  std::string GetGTIN(std::int32_t i_lProductID);
  // "" for an unknown category; raises 94 for a Null name.
  std::string GetCategoryName(std::int32_t iCategoryID);
  // The default buyer of a commodity, "" for an unknown one; raises 94 when it has none. Label
  // "Mercato.Product.getDefaultBuyer".
  std::string GetDefaultBuyer(const std::string& iCommodityCode);
  // The largest product id. Raises 0x800A0BCD when there is no product. No votes at all.
  std::int32_t GetMaxProductId();

  // Searches of enabled products that hang in a catalogue: the term anywhere in description, part number or supplier's
  // part number. `iCatalogString` is a list of catalogue ids in brackets, "(1,2)", or "-1" for all.
  // The first hit's id, -1 without one. A quote in the term is doubled twice and a percent sign escaped twice.
  std::int32_t getProductIDFromPartNum(const std::string& iPartNum, const std::string& iCatalogString = "-1");
  // The number of hits. The term is escaped once only, so that for a quote or a percent sign in it this count and the
  // lookup above do not agree.
  std::int32_t countProductIDsFromPartNum(const std::string& iPartNum, const std::string& iCatalogString = "-1");
  // The number of enabled stock products, in a catalogue or not, that the term is found in. Escaped twice.
  std::int32_t countStockProductIDsFromPartNum(const std::string& iPartNum);
  // At most `i_lMaxNumberOfRows` products by the part number's pattern, in which the caller's own wildcards work: id to
  // an array of part number and description. `o_bMoreRowsAvailable` tells whether there are more.
  DictionaryPtr GetCatalogProductsByPartNumber(const std::string& i_sPartNumber, std::int32_t i_lMaxNumberOfRows,
                                               bool& o_bMoreRowsAvailable, const std::string& i_sCatalogString = "-1");

  // The id of a product with exactly this supplier's part number, disabled or not; -1 without one.
  std::int32_t GetProductIDFromSupplierPartNum(const std::string& iSupplierPartNumber);
  // The id of a product with exactly this part number; -1 without one. The flags are compared when they are not -1.
  // A part number with a percent sign is never found.
  std::int32_t GetProductIdFromPartNumSource(const std::string& i_sPartNumber, std::int32_t i_lStockItemFlag = -1,
                                             std::int32_t i_lDisabledFlag = -1);

  // Lists by id, disabled products included. An empty result is an empty list.
  // Stock flag 0, 1, or 2 for both; supplier and commodity may be Missing. Value: array of description and part number.
  DictionaryPtr GetProductsByCriteria(std::int32_t i_nStockItem, const Variant& i_lSupplierID = kMissing,
                                      const Variant& i_lCommodityCode = kMissing);
  // Products whose default buyer, or one of whose buyers, the user is. Value: part number. Label
  // "Mercato.Product.GetProductByBuyer".
  DictionaryPtr GetProductsByBuyer(const std::string& i_sBuyerId);
  // Value: description.
  DictionaryPtr GetProductsByPartNumber(const std::string& i_sPartNumber);
  // The supplier's id goes into the statement unquoted. Value: array of part number and supplier's part number.
  DictionaryPtr GetProductsBySupplier(const std::string& iSupplierID);
  // The named products, all when the array is Missing. An array without elements is refused by the store. Value: part
  // number.
  DictionaryPtr GetPartNumbersForProducts(const Variant& i_aProductIDs = kMissing);
  // PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION by description; category 0 means all, and a product then appears once for
  // each of its categories. No commit vote.
  RecordsetPtr GetProductsByProductCategory(std::int32_t iCategoryID);
  // Alternatives offered for a product, with their images and description; the stock flag is compared when it is not
  // -1.
  RecordsetPtr GetAlternativeProducts(std::int32_t i_lProductID, std::int32_t i_lStockItemFlag = -1);

  // Whether an enabled product that is already effective hangs in one of the catalogues. An expired one passes. False
  // at once, without query and vote, when element 0 is Empty; raises 9 when there is no element 0.
  bool ValidateProductAgainstUserCatalogs(const std::string& i_sProductID, const Array& i_aCatalogIDs);

 private:
  // The web application is asked for the connection string before the configuration is.
  std::string GetConnectionString();
  ConnectionPtr GetReadConnection();

  // The form that most reads share: one statement on a read connection, its rows read by `read`, all closed, commit
  // vote; the tail closes, votes abort and logs under the label.
  template <class Statement, class Read>
  auto read_and_vote(std::string_view label, CursorType cursor, Statement statement, Read read);

  // One text column of one product, "" for Null. No row: the tail is disarmed, abort vote, raise eProductIdNotFound.
  std::string read_text_of_product(std::string_view label, const Sql& sql, std::string_view column,
                                   std::string_view not_found_source, std::string_view not_found);

  CollectionPtr ProductCache;
  std::int32_t ProductCacheID = 0;
};

}  // namespace mercato
