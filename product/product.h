// The product master: one row of PRODUCT for each product, everything that finds, counts, reads and changes them, and
// what hangs on them: prices, buyers, favourites, requisition properties, commodities, manufacturers, tax codes.
//
// Requires a transaction. Unless a method says otherwise it votes commit when it succeeds, and on a failure closes what
// it opened, votes abort, logs and raises under the label "Mercato.Product." and its name; an abort vote takes back
// whatever the call changed. Ids are 32-bit; ids that find nothing are no failure where the method says what it returns
// instead. Every method may raise what the store raises (0x80040E14 for a refused statement, 0x80004005 for an
// unreachable store).
//
// Field/value arrays: `iFields` holds column names, `iValues` the values, with the same bounds; they are walked from
// the lower to the upper bound of the fields. Raise 9 when there are fewer values than fields, 0x800A0CC1 for a name
// that is no column, 13, 6 or 94 for a value that the column's type cannot take.
//
// An object serves one call at a time. It keeps nothing between calls but the cache of getManufacturerID, and the price
// group of a failed InsertUpdatePriceEx or getCatalogPriceAttributesEx.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/business_class.h"
#include "frame/connection.h"
#include "frame/recordset.h"
#include "values/collection.h"
#include "values/dictionary.h"

namespace mercato {

enum FavoriteTypes : std::int32_t { DefaultFavorite = 0, WarehouseFavorite = 1 };

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

  // Maintenance (product_maintenance.cpp). What becomes of each field's value is told by the table in
  // records/product_row.cpp.

  // A new product: returns its id, or -1 after a quiet stop, which raises, logs and writes nothing and casts no vote.
  // A quiet stop is an empty PRODUCTDESCRIPTION or PARTNUMBER, a PRODUCTREMARK or BUYFROMCONTACTINFO of more than 255
  // characters, or a date of "-1". Raises 0x80040007, source "The product record you are trying to insert has an
  // invalid reference to another record", when the supplier or the default buyer does not exist. Creates the property
  // values of its group, and its category links when UNSPSCIMPLEMENTED is "Yes". A failure is logged under
  // "Mercato.Product.Insert" and casts no abort vote: what fails after the row was written leaves the row to the
  // transaction.
  std::int32_t Insert20(const Array& iFields, const Array& iValues);
  // Changes a product; true. PRODUCTID among the fields is skipped. Raises eProductNotFound, source
  // "Mercato.Product.Update"; 0x80040007 as Insert20; 5 for a GTIN of more than 14 characters; 94 for a product whose
  // MULTIPLEBUYER is Null. Deletes the buyer list of a product that is not a multiple-buyer product, follows a change
  // of the property group, and updates the category links when UNSPSCIMPLEMENTED is "Yes", as if the code had been
  // cleared when UNSPSCCODE is not among the fields. Logged under "Mercato.Product.Update".
  bool Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues);
  // Always fail with 9 before anything is written: they pass ten names and nine values. Insert returns -1 when a
  // quiet stop of Insert20 comes first.
  std::int32_t Insert(const Variant& iUnitCode, const Variant& iPropGroupID, const Variant& iManID,
                      const Variant& iPartNo, const Variant& iProdDescription, const Variant& iConfigurable,
                      const Variant& iProdRemark, const Variant& iImgFile, const Variant& iURL);
  bool Update(std::int32_t iProductID, const Variant& iUnitCode, const Variant& iPropGroupID, const Variant& iManID,
              const Variant& iPartNo, const Variant& iProdDescription, const Variant& iConfigurable,
              const Variant& iProdRemark, const Variant& iImgFile, const Variant& iURL);
  // Stamps DATEUPDATED; True. Raises eProductNotFound, source "Mercato.Product.Update".
  Variant SetUpdateDateToNow(std::int32_t iProductID);
  // One property value. A second insert for the same pair is refused by the table's key (0x80040E2F).
  void InsertProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue);
  // The value goes into the statement as it stands, so one with a quote is refused. No row is no failure.
  void UpdateProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue);

  // References and deletion (product_deletion.cpp).

  // Whether the first field and value are in use: BUSINESSPARTNERID, OFFICEDESCRIPTION, CURRENCYCODE, COMMODITYCODE,
  // CHARGETYPECODE, PRODUCTID, USERID, UNSPSCCODES, in any case. False for empty arrays. Another name is refused by
  // the store, and so is UNSPSCCODES, since no column has this name. A failure is logged with the statements in its
  // label.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // True. Deletes the favourites of the user named by the first field USERID; the user id is not quoted. Logged under
  // "Mercato.Product.BeforeDelete".
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // Deletes a product with its attachments, property values, category links, alternatives, prices, favourites and
  // buyers; true. Rows that name it as the alternative of another stay. Raises 0x80040007, source "The record you are
  // trying to insert has an invalid reference to another record", when a checker refuses; eProductNotFound; 70 or 75
  // when the folder of the attachments cannot be deleted. What hangs on the product is logged under
  // "Mercato.Product.BeforeDelete" too. Folders do not come back with an abort vote.
  bool Delete(std::int32_t iProductID);
  // Hide and show a product. An unknown id is no failure. DATEUPDATED stays. A failure's message has the connection's
  // errors as its information.
  void Disable(std::int32_t iProductID);
  void Enable(std::int32_t iProductID);

  // Price lines (product_prices.cpp): one for each effective date, upper quantity and group.

  // The one writer. `iAction` is "insert", "insertupdate", else an update. The line is looked for under the group of
  // InsertUpdatePriceEx, "" without it: lines without a group are found by neither update nor insertupdate. The group
  // that is written comes from the field GROUPBY. Tax and discount percentages are rounded to two decimals, halves to
  // even. Raises 0x80040007, description "The catalog product price record you are trying to insert has an invalid
  // reference to another record"; 94 for a Null among the values; 0x800A0BCD for an update without a line.
  bool InsertUpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                         const Array& iValues, const std::string& iAction);
  bool InsertPrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                   const Array& iValues);
  bool UpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                   const Array& iValues);
  // When it fails, the group stays with the object.
  bool InsertUpdatePriceEx(std::int32_t i_lProductID, Date i_dPriceEffDate, double i_fQuantityTo,
                           const std::string& i_sGroupBy, const Array& i_vFields, const Array& i_vValues,
                           const std::string& i_sAction);
  // PRICE, DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST of the line that holds on the date, with the
  // smallest upper quantity not below the quantity; amounts converted to the currency at the date. Five zeros when no
  // line holds. Without a quantity (-1.0) the statement is refused by the store.
  DictionaryPtr getCatalogPriceAttributes(std::int32_t i_lProductID, Date i_dDate, const std::string& i_sCurrencyCode,
                                          double i_fQuantity = -1.0);
  // The group has no effect on the result; when the call fails, it stays with the object.
  DictionaryPtr getCatalogPriceAttributesEx(std::int32_t i_lProductID, Date i_dDate, const std::string& i_sCurrencyCode,
                                            double i_fQuantity = -1.0, const std::string& i_sGroupBy = "");
  // "1", "2", ... to a Dictionary of ten columns, FREIGHTCOST not among them. Raises 6 beyond 32,767 lines. No vote.
  DictionaryPtr GetProductPriceLines(std::int32_t iProductID);
  // The price of the highest band at or below the quantity, whatever its dates, currency and group. Raises
  // eProductIdNotFound, "ProductId not found", with an abort vote but unlogged; 94 for a Null price.
  double GetPriceFromPriceLines(std::int32_t i_lProductID, double i_fQuantity);
  // `i_sGroupBy` goes into the statement as it stands: callers put the quotes. Failures as above.
  double GetPriceFromPriceLinesByGroup(std::int32_t i_lProductID, const std::string& i_sGroupBy);
  // Nothing, for any argument.
  DictionaryPtr getERPPrice(const Variant& iBuyer, const Variant& iContract, const Variant& iContractPosition,
                            const Variant& iSupplierID, const Variant& iPartNumber, const Variant& iQuantity,
                            const Variant& iUnit, const Variant& iPriceDate, const Variant& iCurrency);

  // Requisition support (product_requisition.cpp).

  // PROPERTYID as text to a Collection of PROPERTYNAME, VALUE, MANDATORY, DATATYPE: the product's own values, then
  // the defaults of the commodity's group, then those of the user's group; the first that has a property wins. Logged
  // under "Mercato.Product.getRequisitionLineProperties".
  DictionaryPtr GetRequisitionLineProperties(const std::string& iUserID, const std::string& iCommodityCode,
                                             std::int32_t iProductID);
  // Whether a requisition line of the product, or of the commodity, has any property to ask for.
  bool RequisitionPropertiesPresent(std::int32_t iProductID, const std::string& iUserID);
  bool RequisitionCommodityPropertiesPresent(const std::string& iCommodityCode, const std::string& iUserID);
  // "1", "2", ... to a Dictionary of PROPERTYID, PROPERTYNAME, DATATYPE, VALUE, by name. No vote at all. Raises 6
  // beyond 32,767 properties.
  DictionaryPtr GetProductProperties(std::int32_t iProductID);
  // Whether the quantity is a multiple of MULTIPLEOF and not below MINORDERQTY, in decimal arithmetic; a Null or 0
  // asks for nothing. False for an unknown product. Raises 6 for a number that is not finite. Logged under
  // "Mercato.Product.Checklotsize".
  bool CheckLotSize(std::int32_t iProductID, double iQuantity);
  // 0 for an unknown product or a Null. getMultipleOf is logged under "Mercato.Product.getmultipleof".
  double getMultipleOf(std::int32_t iProductID);
  double getMinOrderQty(std::int32_t iProductID);

  // Favourites and buyers (product_favorites.cpp). User ids of the favourites go into the statements as they stand.

  // With folder 0, and for all folders.
  void CreateFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1);
  void DeleteFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1);
  // A warehouse favourite for type 1, else an ordinary one; a folder below 1 is 0. One that exists is left alone: the
  // call then raises nothing and votes abort.
  void CreateFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1,
                        std::int32_t i_lFolderID = 0);
  // Type -1 and folder -1 stand for all. Deleting nothing is no failure.
  void DeleteFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1,
                        std::int32_t i_lFolderID = -1);
  // Adds one row of PRODUCTBUYER; true. Raises 0x80040007, with the reason as the source, for an unknown user or
  // product and for a product that is no multiple-buyer product; 94 when its MULTIPLEBUYER is Null; 0x80040E14 when no
  // product is named. A PRODUCTID below 0 and a blank USERID are none. No abort vote.
  bool InsertMultipleBuyers(const Array& iFields, const Array& iValues);
  // The commodity's default buyer, "" for Null. Unlike GetDefaultBuyer it raises 0x800A0BCD for an unknown one. Logged
  // under "Mercato.Product.getbuyerfromcommodity".
  std::string GetBuyerFromCommodity(const std::string& iCommodity);
  // The product's buyer, else its commodity's, else its supplier's; "" when there is none. Raises eProductNotFound,
  // source "Mercato.Product.GetProduct"; 0x800A0BCD when its commodity does not exist.
  std::string GetDefaultProductBuyer(std::int32_t iProductID);
  // Product id to buyer. Works for lists of single-buyer products: one with a buyer list fails (457 or 0x800A0E79), one
  // whose MULTIPLEBUYER is neither 0 nor 1 is asked again until the call limit ends the call.
  DictionaryPtr GetBuyersForProducts(const Array& i_aProductList);

  // Commodities, manufacturers, tax codes, and paged lists (product_reference_tables.cpp). The paged lists return a
  // DRecordset that stands on the page's position; `i_oPage` may be nothing. Raise 6 for a page size beyond 16 bits, 5
  // for sort fields that are no columns of the list and for a state that no DRecordset wrote.

  // Fields, sort fields, key fields and condition are the caller's own. Page size 0 is 10. Raises 0x80040E14 for fields
  // or a condition that are more than that.
  ComponentPtr GetProductsAsDRecordSet(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                       std::int32_t i_lPageSize, const std::string& i_sFields,
                                       const std::string& i_sSortFields, const std::string& i_sKeyFields,
                                       const std::string& i_sWhereClause);
  // All rows, or those with the codes in the array. No vote; the tails only log and raise. Raise 13 for codes that are
  // no array. An empty order leaves a list of commodities in the one that its state has, and takes it from a list of
  // manufacturers.
  ComponentPtr GetCommodityData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                std::int32_t i_iPageSize, const Variant& i_asCommodityCodes = kMissing,
                                const std::string& i_sSortTableFieldNames = "");
  ComponentPtr GetManufacturerData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                   std::int32_t i_iPageSize, const Variant& i_alManufacturerIDs = kMissing,
                                   const std::string& i_sSortTableFieldNames = "");
  // Raise -1 at every call: use the paged reads.
  DictionaryPtr GetAllCommodities();
  DictionaryPtr GetAllManufacturers();
  // False, with an abort vote and nothing raised, when the checker refuses. Raises eCommodityNotFound, source
  // "Mercato.Commodity.Delete".
  bool DeleteCommodity(const std::string& iCommodityCode);
  // Code and name go into the statement as they stand. Logged under "Mercato.Manufacturer.InsertManufacturer".
  void InsertManufacturer(const std::string& iManufacturerCode, const std::string& iManufacturerName);
  // "" for an unknown commodity and for Null. Logged under "Mercato.Product.getChargetype".
  std::string GetChargeType(const std::string& iCommodityCode);
  // "" for Null; the code goes into the statement as it stands. Raises eCommodityNotFound, "CommodityCode is Not
  // found", with an abort vote but unlogged.
  std::string GetBisItemCode(const std::string& i_lCommodity);
  // TAXCODE, DESCRIPTION, LEDGERACCOUNT; empty without one. Logged under "Product.GetTaxcodeInformation".
  DictionaryPtr GetTaxcodeInformation(const std::string& istrCommodityCode);
  // Tax code to description. Logged under "Product.GetAllTaxCodes".
  DictionaryPtr GetAllTaxCodes();
  // An array of ids, Null when there is none. No vote.
  Variant getAllServiceProducts();
  // False for an unknown product and for Null. No vote.
  bool IsServiceProduct(std::int32_t iProductID);

 private:
  // The web application is asked for the connection string before the configuration is.
  static std::string GetConnectionString();
  static ConnectionPtr GetConnection();
  static ConnectionPtr GetReadConnection();

  void DeleteProductDependents(const std::string& owner, const Array& fields, const Array& values);
  // In the interface's form, with backslashes.
  static std::string GetAttachmentFolder(std::int32_t product_id);
  // Runs what shows or hides a product; the tail's information is what the connection has to say.
  static void set_visibility(std::string_view label, const Sql& sql);

  CollectionPtr ProductCache;
  std::int32_t ProductCacheID = 0;
  std::string GroupBy;
};

}  // namespace mercato
