// SPDX-License-Identifier: Apache-2.0
// The product master, class Mercato.Product: one row of PRODUCT for each product, everything that finds, counts, reads
// and changes these rows, and what hangs on them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/class_table.h"
#include "mercato/collection.h"
#include "mercato/connection.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/recordset.h"

namespace mercato {

/// The kinds of favourites.
enum FavoriteTypes : std::int32_t { DefaultFavorite = 0, WarehouseFavorite = 1 };

/// Products and their prices, buyers, favourites, requisition properties, commodities, manufacturers and tax codes.
///
/// Requires a transaction. What follows holds for every method that says nothing else:
/// - It votes commit when it succeeds. On a failure it closes what it opened and votes abort, and the abort takes back
///   whatever the call changed.
/// - A failure is logged and raised under the label "Mercato.Product." and the method's name. It keeps the number and
///   the source with which it was raised first. "Unlogged" says that a failure passes as it was raised.
/// - It may raise what the store raises: 0x80040E14 for a statement that is refused, 0x80040E2F for a violated
///   constraint, 0x80040E57 for a text that is too long for its column, 0x80040E31 when the call takes too long,
///   0x80004005 for a store that cannot be reached.
/// - Ids are 32-bit numbers. Any number is allowed; what an id means that no row has, is said where it counts.
/// - Quantities count the product's unit (UNITCODE). Amounts are in the currency that stands beside them, percentages
///   are out of 100.
/// - Texts may hold quotes. "As it stands" says that a text goes into the statement without its quotes doubled: the
///   store refuses a quote in it with 0x80040E14.
///
/// Arrays of fields and values: `iFields` holds names of columns, `iValues` their values, with the same bounds. They
/// are walked from the lower to the upper bound of the fields. They raise 9 when there are fewer values than fields,
/// 0x800A0CC1 for a name that is no column, and 13, 6 or 94 for a value that the column's type cannot take.
///
/// An object serves one call at a time. Between calls it keeps the cache of getManufacturerID, and the price group of a
/// failed InsertUpdatePriceEx or getCatalogPriceAttributesEx; nothing else.
class MERCATO_API Product : public ComponentOf<Product> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  // One product: product_record.cpp

  /// One product as a dictionary of 33 keys. The values are those of the columns as they stand, Null included, but:
  /// - MFRPARTNUMBER stands under the key "MFRPARTNUMBEER";
  /// - a Null USERID is replaced by what GetDefaultBuyer finds for the product's id, as a rule "";
  /// - CHARGETYPECODE comes from the product's commodity, "" when the product has none;
  /// - GTIN, STOCKITEM, PRICINGMETHOD and DATEUPDATED are left out; GetProductFields has them.
  ///
  /// Raises eProductNotFound, source "Mercato.Product.GetProductEx", for an unknown id. Its failures are unlogged and
  /// cast no vote.
  DictionaryPtr GetProductEx(std::int32_t i_lProductID);

  /// The product of GetProductEx as a collection, whose keys are the same in any case. Raises what GetProductEx raises,
  /// with an abort vote, logged under "Mercato.Product.getProduct".
  CollectionPtr GetProduct(std::int32_t iProductID);

  /// The named columns of a product as a dictionary, with "" for Null. The keys are the names as they are given. The
  /// product is found by its id, or by its GTIN when the id is -1; of several products with one GTIN the first counts.
  /// Empty when there is no such product. Raises 0x80040000, source "GetProductFields", when neither an id nor a GTIN
  /// is given; 0x800A0CC1 for a name that is no column; 457 for a name that is given twice. Label
  /// "Mercato.Product.getProductFields".
  DictionaryPtr GetProductFields(const Array& i_aProductFieldNames, std::int32_t i_lProductID = -1,
                                 const std::string& i_sGTIN = "");

  /// The id of a product's manufacturer, "" when it has none. The object remembers the product that it was asked for
  /// last and does not see later changes of it; then it casts no vote. Raises 91, unlogged and without a vote, for id 0
  /// when the object was not asked for a product before; else as GetProduct.
  std::string getManufacturerID(std::int32_t iProductID);

  /// A product's description, "" for Null. Raises eProductIdNotFound, source "Mercato.Product.GetProductDescription",
  /// "Productid Not found", unlogged with an abort vote, for an unknown id.
  std::string GetProductDescription(std::int32_t i_lProductID);

  /// A product's GTIN, "" for Null. Raises eProductIdNotFound, source "Mercato.Product.GetGTIN", "ProductId not Found",
  /// unlogged with an abort vote, for an unknown id. Label "Mercato.Product.getGTIN".
  std::string GetGTIN(std::int32_t i_lProductID);

  /// The name of a product category, "" for an unknown one. Raises 94 for a Null name.
  std::string GetCategoryName(std::int32_t iCategoryID);

  /// The default buyer of a commodity, "" for an unknown one. Raises 94 when the commodity has none. Label
  /// "Mercato.Product.getDefaultBuyer".
  std::string GetDefaultBuyer(const std::string& iCommodityCode);

  /// The largest product id. Raises 0x800A0BCD when there is no product. Casts no vote, a failure neither.
  std::int32_t GetMaxProductId();

  // Searches by part number: product_search.cpp. A list of catalogues is "-1" for all of them, or ids in brackets,
  // "(1,2)"; 0x80040E14 is raised for a text that is more than that.

  /// The id of the first enabled product in these catalogues that has the term anywhere in its description, part number
  /// or supplier's part number; -1 without one. A quote in the term is doubled twice, and a percent sign escaped twice.
  std::int32_t getProductIDFromPartNum(const std::string& iPartNum, const std::string& iCatalogString = "-1");

  /// The number of products among which getProductIDFromPartNum looks. The term is escaped only once: for a quote or a
  /// percent sign in it the count and that look-up do not agree.
  std::int32_t countProductIDsFromPartNum(const std::string& iPartNum, const std::string& iCatalogString = "-1");

  /// The number of enabled stock products that have the term anywhere in the same three texts, in a catalogue or not.
  /// The term is escaped twice, as in getProductIDFromPartNum.
  std::int32_t countStockProductIDsFromPartNum(const std::string& iPartNum);

  /// Enabled products in these catalogues whose part number fits the pattern, in which % and _ are wildcards: id to an
  /// array of part number and description. At most `i_lMaxNumberOfRows`, 0 and above, are in the dictionary;
  /// `o_bMoreRowsAvailable` tells whether there are more, and keeps its value when the call fails. Raises 6 for a
  /// maximum of 2147483647.
  DictionaryPtr GetCatalogProductsByPartNumber(const std::string& i_sPartNumber, std::int32_t i_lMaxNumberOfRows,
                                               bool& o_bMoreRowsAvailable, const std::string& i_sCatalogString = "-1");

  /// The id of a product with exactly this supplier's part number, disabled or not; -1 without one.
  std::int32_t GetProductIDFromSupplierPartNum(const std::string& iSupplierPartNumber);

  /// The id of a product with exactly this part number; -1 without one. The flags STOCKITEM and DISABLED are compared
  /// when they are not -1. A part number with a percent sign is never found.
  std::int32_t GetProductIdFromPartNumSource(const std::string& i_sPartNumber, std::int32_t i_lStockItemFlag = -1,
                                             std::int32_t i_lDisabledFlag = -1);

  // Lists: product_lists.cpp. They hold disabled products, too. A list without a product is empty.

  /// Products by stock flag, supplier and commodity: id to an array of description and part number. The flag is 0, 1,
  /// or 2 for both; supplier, a number as it stands, and commodity code may be Missing.
  DictionaryPtr GetProductsByCriteria(std::int32_t i_nStockItem, const Variant& i_lSupplierID = kMissing,
                                      const Variant& i_lCommodityCode = kMissing);

  /// Products whose default buyer, or one of whose buyers, this user is: id to part number. Label
  /// "Mercato.Product.GetProductByBuyer".
  DictionaryPtr GetProductsByBuyer(const std::string& i_sBuyerId);

  /// Products with exactly this part number: id to description.
  DictionaryPtr GetProductsByPartNumber(const std::string& i_sPartNumber);

  /// The products of a supplier: id to an array of part number and supplier's part number. The supplier's id is a
  /// number as it stands.
  DictionaryPtr GetProductsBySupplier(const std::string& iSupplierID);

  /// The part numbers of these products, of all when the array is Missing: id to part number. The ids are numbers as
  /// they stand. Raises 13 for what is no array, 0x80040E14 for one without an element.
  DictionaryPtr GetPartNumbersForProducts(const Variant& i_aProductIDs = kMissing);

  /// The products of a category by description: PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, as a disconnected recordset.
  /// Category 0 stands for all; a product then appears once for each of its categories. Casts no commit vote.
  RecordsetPtr GetProductsByProductCategory(std::int32_t iCategoryID);

  /// The alternatives that are offered for a product: the columns of ALTERNATIVEPRODUCTS, and IMAGEFILENAME,
  /// TECHNICALIMAGE and PRODUCTDESCRIPTION of the alternative, as a disconnected recordset. The stock flag of the
  /// alternative is compared when it is not -1.
  RecordsetPtr GetAlternativeProducts(std::int32_t i_lProductID, std::int32_t i_lStockItemFlag = -1);

  /// Whether an enabled product hangs in one of these catalogues and is effective already. One that has expired passes.
  /// The ids are numbers as they stand. False, without a query and a vote, when element 0 of the array is Empty; raises
  /// 9 when the array has no element 0.
  bool ValidateProductAgainstUserCatalogs(const std::string& i_sProductID, const Array& i_aCatalogIDs);

  // Writing: product_maintenance.cpp. The table in records/product_row.cpp tells what becomes of each field's value.

  /// Creates a product from these fields and returns its id. The product gets the property values of its group, and its
  /// category links when the setting UNSPSCIMPLEMENTED is "Yes".
  ///
  /// Returns -1 after a quiet stop, which raises, logs and writes nothing and casts no vote: at an empty
  /// PRODUCTDESCRIPTION or PARTNUMBER, at a PRODUCTREMARK or BUYFROMCONTACTINFO of more than 255 characters, and at a
  /// date of "-1".
  ///
  /// Raises 0x80040007, with no description and the source "The product record you are trying to insert has an invalid
  /// reference to another record", when the supplier or the default buyer does not exist. A failure is logged under
  /// "Mercato.Product.Insert" and casts no abort vote: one behind the writing of the row leaves the row to the
  /// transaction.
  std::int32_t Insert20(const Array& iFields, const Array& iValues);

  /// Changes these fields of a product; true. A field PRODUCTID is skipped. The call deletes the list of buyers of a
  /// product that is no multiple-buyer product, brings the property values in line when the group changes, and updates
  /// the category links when the setting UNSPSCIMPLEMENTED is "Yes": without a field UNSPSCCODE as if the code were
  /// cleared.
  ///
  /// Raises eProductNotFound, source "Mercato.Product.Update", for an unknown id; 0x80040007 as Insert20; 5 for a GTIN
  /// of more than 14 characters; 94 for a product whose MULTIPLEBUYER is Null. Label "Mercato.Product.Update".
  bool Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues);

  /// Fails at every call: it hands ten names and nine values to Insert20, which raises 9, under its label, before
  /// anything is written. Returns -1 when a quiet stop of Insert20 comes first. Use Insert20.
  std::int32_t Insert(const Variant& iUnitCode, const Variant& iPropGroupID, const Variant& iManID,
                      const Variant& iPartNo, const Variant& iProdDescription, const Variant& iConfigurable,
                      const Variant& iProdRemark, const Variant& iImgFile, const Variant& iURL);

  /// Fails at every call: it hands ten names and nine values to Update20, which raises 9, under its label, before
  /// anything is written; for an unknown id eProductNotFound comes first. Use Update20.
  bool Update(std::int32_t iProductID, const Variant& iUnitCode, const Variant& iPropGroupID, const Variant& iManID,
              const Variant& iPartNo, const Variant& iProdDescription, const Variant& iConfigurable,
              const Variant& iProdRemark, const Variant& iImgFile, const Variant& iURL);

  /// Stamps DATEUPDATED of a product with the current date and time; True. Raises eProductNotFound, source
  /// "Mercato.Product.Update", for an unknown id.
  Variant SetUpdateDateToNow(std::int32_t iProductID);

  /// Adds a property value to a product. Neither product nor property has to exist. Raises 0x80040E2F when the product
  /// has a value of this property already.
  void InsertProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue);

  /// Changes a property value of a product. Without such a value nothing happens, and nothing is raised. The value goes
  /// into the statement as it stands.
  void UpdateProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue);

  // References and deletion: product_deletion.cpp

  /// Whether the first field's value is in use. The field is one of BUSINESSPARTNERID, OFFICEDESCRIPTION, CURRENCYCODE,
  /// COMMODITYCODE, CHARGETYPECODE, PRODUCTID, USERID, UNSPSCCODES, in any case; the first argument is not read. False
  /// for arrays without an element. Raises 0x80040E14 for any other field, and for UNSPSCCODES, since no column has
  /// this name. The label is "Mercato.Product.Exists" and the statements that were asked.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Deletes the favourites of the user whom the first field USERID names, in any case; true, also without such a
  /// field. The user's id goes into the statement as it stands; the first argument is not read. Label
  /// "Mercato.Product.BeforeDelete".
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Deletes a product with its attachments, property values, category links, alternatives, prices, favourites and
  /// buyers; true. Rows that name it as the alternative of another product stay.
  ///
  /// Raises 0x80040007, with no description and the source "The record you are trying to insert has an invalid
  /// reference to another record", when the reference checker refuses; eProductNotFound, source
  /// "Mercato.Product.Delete", for an unknown id; 70 or 75 when the folder of the attachments cannot be deleted. A
  /// failure at what hangs on the product is logged under "Mercato.Product.BeforeDelete" first. A folder that was
  /// deleted does not come back with the abort vote.
  bool Delete(std::int32_t iProductID);

  /// Hides a product from searches. An unknown id is no failure. DATEUPDATED stays as it is. The message of a failure
  /// has the errors of the connection as its information.
  void Disable(std::int32_t iProductID);

  /// Shows a hidden product again. An unknown id is no failure. DATEUPDATED stays as it is. The message of a failure
  /// has the errors of the connection as its information.
  void Enable(std::int32_t iProductID);

  // Price lines: product_prices.cpp. A product has one for each effective date, upper quantity and group.

  /// Writes one price line; true. `iAction` is "insert", "insertupdate" (a line that is there is changed), or any other
  /// text for an update. A line is known by product, effective date, upper quantity, and the group of
  /// InsertUpdatePriceEx; without one of those calls the group is "", and lines whose group is Null are found by
  /// neither "insertupdate" nor an update. The group that is written is the field GROUPBY. The fields
  /// PRICETAXPERCENTAGE and DISCOUNTPERC are rounded to two decimals, halves to the even neighbour.
  ///
  /// Raises 0x80040007, "The catalog product price record you are trying to insert has an invalid reference to another
  /// record", when the currency of the field CURRENCYCODE does not exist; 94 for a Null among the values; 0x80040E2F
  /// for a second line of one key; 0x800A0BCD for an update that finds no line.
  bool InsertUpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                         const Array& iValues, const std::string& iAction);

  /// Adds a price line: InsertUpdatePrice with "insert", under its label.
  bool InsertPrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                   const Array& iValues);

  /// Changes a price line: InsertUpdatePrice with "update", under its label.
  bool UpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                   const Array& iValues);

  /// InsertUpdatePrice for a line of this group, under its label. After a failure the group stays with the object, and
  /// the object's later calls look for lines of that group.
  bool InsertUpdatePriceEx(std::int32_t i_lProductID, Date i_dPriceEffDate, double i_fQuantityTo,
                           const std::string& i_sGroupBy, const Array& i_vFields, const Array& i_vValues,
                           const std::string& i_sAction);

  /// The price that holds on a date for a quantity: PRICE, DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE and
  /// FREIGHTCOST of the line with the smallest upper quantity that is not below the quantity. Price, discount amount
  /// and freight are converted to the currency at the date, the others are percentages; Null counts as 0. Five zeros
  /// when no line holds. Raises 0x80040E14 without a quantity (-1.0), 5 when there is no exchange rate between the
  /// currencies, 94 for a line without a currency.
  DictionaryPtr getCatalogPriceAttributes(std::int32_t i_lProductID, Date i_dDate, const std::string& i_sCurrencyCode,
                                          double i_fQuantity = -1.0);

  /// The same as getCatalogPriceAttributes, under its label: the group has no effect on the result. After a failure the
  /// group stays with the object, as in InsertUpdatePriceEx.
  DictionaryPtr getCatalogPriceAttributesEx(std::int32_t i_lProductID, Date i_dDate, const std::string& i_sCurrencyCode,
                                            double i_fQuantity = -1.0, const std::string& i_sGroupBy = "");

  /// The price lines of a product: "1", "2" and so on to a dictionary of ten columns, all but FREIGHTCOST. Raises 6
  /// beyond 32,767 lines. Casts no vote, a failure neither.
  DictionaryPtr GetProductPriceLines(std::int32_t iProductID);

  /// The price of the line with the highest upper quantity that is at or below the quantity, whatever its dates,
  /// currency and group. Raises eProductIdNotFound, source "Mercato.Product.GetPriceFromPriceLines", "ProductId not
  /// found", unlogged with an abort vote, when there is none; 94 for a Null price.
  double GetPriceFromPriceLines(std::int32_t i_lProductID, double i_fQuantity);

  /// The price of one of the lines of a group, whatever its dates, currency and quantity. The group goes into the
  /// statement as it stands: callers put quotes around it. Raises eProductIdNotFound, source
  /// "Mercato.Product.GetPriceFromPriceLinesByGroup", "ProductId not found", unlogged with an abort vote, when there is
  /// none; 94 for a Null price.
  double GetPriceFromPriceLinesByGroup(std::int32_t i_lProductID, const std::string& i_sGroupBy);

  /// Nothing, whatever the arguments are. Asks nobody, casts no vote and never fails.
  DictionaryPtr getERPPrice(const Variant& iBuyer, const Variant& iContract, const Variant& iContractPosition,
                            const Variant& iSupplierID, const Variant& iPartNumber, const Variant& iQuantity,
                            const Variant& iUnit, const Variant& iPriceDate, const Variant& iCurrency);

  // Requisitions: product_requisition.cpp

  /// The properties that a requisition line asks for: PROPERTYID as text to a collection of PROPERTYNAME, VALUE,
  /// MANDATORY and DATATYPE. They are the product's own values, then the defaults of the commodity's group, then those
  /// of the user's group; the first that has a property wins. Label "Mercato.Product.getRequisitionLineProperties".
  DictionaryPtr GetRequisitionLineProperties(const std::string& iUserID, const std::string& iCommodityCode,
                                             std::int32_t iProductID);

  /// Whether a requisition line of this product has any property to ask for: in the group of the product's commodity,
  /// of the product, or of the user.
  bool RequisitionPropertiesPresent(std::int32_t iProductID, const std::string& iUserID);

  /// Whether a requisition line of this commodity has any property to ask for: in the group of the commodity or of the
  /// user.
  bool RequisitionCommodityPropertiesPresent(const std::string& iCommodityCode, const std::string& iUserID);

  /// The property values of a product by the names of the properties: "1", "2" and so on to a dictionary of PROPERTYID,
  /// PROPERTYNAME, DATATYPE and VALUE. Raises 6 beyond 32,767 properties. Casts no vote, a failure neither.
  DictionaryPtr GetProductProperties(std::int32_t iProductID);

  /// Whether the quantity is a multiple of MULTIPLEOF and not below MINORDERQTY, in decimal arithmetic. A limit that is
  /// Null or 0 asks for nothing. False for an unknown product. Raises 6 for a quantity that is not finite. Label
  /// "Mercato.Product.Checklotsize".
  bool CheckLotSize(std::int32_t iProductID, double iQuantity);

  /// MULTIPLEOF of a product, 0 for Null and for an unknown product. Label "Mercato.Product.getmultipleof".
  double getMultipleOf(std::int32_t iProductID);

  /// MINORDERQTY of a product, 0 for Null and for an unknown product.
  double getMinOrderQty(std::int32_t iProductID);

  // Favourites and buyers: product_favorites.cpp. In the calls for favourites the user's id goes into the statements as
  // it stands.

  /// Marks a product at the top level of the user's favourites: CreateFavoriteEx with folder 0, whose label it has.
  void CreateFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1);

  /// Takes marks away in all folders: DeleteFavoriteEx with folder -1, whose label it has.
  void DeleteFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1);

  /// Marks a product as a favourite of a user. Type 1 makes a warehouse favourite, any other number an ordinary one; a
  /// folder below 1 is folder 0, the top level. User, product and folder need not exist. A favourite that is there is
  /// left alone: the call then raises nothing and votes abort.
  void CreateFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1,
                        std::int32_t i_lFolderID = 0);

  /// Takes marks of a product away. Type 1 stands for warehouse favourites, -1 for all, any other number for ordinary
  /// ones; folder -1 stands for all. Deleting nothing is no failure.
  void DeleteFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType = -1,
                        std::int32_t i_lFolderID = -1);

  /// Adds a buyer to a multiple-buyer product, from the fields of PRODUCTBUYER; true. A PRODUCTID below 0 and a blank
  /// USERID count as Null.
  ///
  /// Raises 0x80040007, with no description, for an unknown user or product, source "The productbuyer record you are
  /// trying to insert has an invalid reference to another record", and for a product that is no multiple-buyer product,
  /// source "This productid doesn't have multiple buyer defined in product table"; 94 when its MULTIPLEBUYER is Null;
  /// 0x80040E14 when no product is named. A failure casts no abort vote.
  bool InsertMultipleBuyers(const Array& iFields, const Array& iValues);

  /// The default buyer of a commodity, "" for Null. Unlike GetDefaultBuyer it raises 0x800A0BCD for an unknown one.
  /// Label "Mercato.Product.getbuyerfromcommodity".
  std::string GetBuyerFromCommodity(const std::string& iCommodity);

  /// The buyer of a product, else of its commodity, else of its supplier; "" when there is none. Raises
  /// eProductNotFound, source "Mercato.Product.GetProduct", for an unknown id; 0x800A0BCD when the product's commodity
  /// does not exist.
  std::string GetDefaultProductBuyer(std::int32_t iProductID);

  /// The buyers of single-buyer products: product id to user id, "" for Null. The ids are numbers as they stand. A
  /// product with a list of buyers makes the call fail with 457 or 0x800A0E79; one whose MULTIPLEBUYER is neither 0 nor
  /// 1 is asked again and again, until the call limit ends the call with 0x80040E31. Raises 0x80040E14 for a list
  /// without an element. Label "Mercato.Product.getBuyersForProducts".
  DictionaryPtr GetBuyersForProducts(const Array& i_aProductList);

  // Commodities, manufacturers, tax codes and paged lists: product_reference_tables.cpp. A paged list is a DRecordset
  // that stands on the page's position. Its page may be nothing; then the persisted state tells the position, "" the
  // first page. It raises 6 for a page size beyond 16 bits, 5 for sort fields that are no columns of the list and for a
  // state that no DRecordset wrote.

  /// Products as a paged list. Fields, sort fields, key fields and condition are the caller's own; sort fields and
  /// condition may be empty. Page size 0 stands for 10. Raises 0x80040E14 for fields or a condition that are more than
  /// that.
  ComponentPtr GetProductsAsDRecordSet(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                       std::int32_t i_lPageSize, const std::string& i_sFields,
                                       const std::string& i_sSortFields, const std::string& i_sKeyFields,
                                       const std::string& i_sWhereClause);

  /// Commodities as a paged list: all, or those with the codes in the array. An empty order leaves the list in the
  /// order that its state has. Raises 13 for codes that are no array, 0x80040E14 for an array without an element. Casts
  /// no vote, a failure neither.
  ComponentPtr GetCommodityData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                std::int32_t i_iPageSize, const Variant& i_asCommodityCodes = kMissing,
                                const std::string& i_sSortTableFieldNames = "");

  /// Manufacturers as a paged list: all, or those with the ids in the array. Unlike that of the commodities, an empty
  /// order takes away the order that the state has. Raises 13 for ids that are no array, 0x80040E14 for an array
  /// without an element. Casts no vote, a failure neither.
  ComponentPtr GetManufacturerData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                   std::int32_t i_iPageSize, const Variant& i_alManufacturerIDs = kMissing,
                                   const std::string& i_sSortTableFieldNames = "");

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use GetCommodityData.
  DictionaryPtr GetAllCommodities();

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use GetManufacturerData.
  DictionaryPtr GetAllManufacturers();

  /// Deletes a commodity; true. False, with an abort vote and nothing raised or logged, when the reference checker
  /// refuses. Raises eCommodityNotFound, source "Mercato.Commodity.Delete", for an unknown code. The message of a
  /// failure names the code as its information.
  bool DeleteCommodity(const std::string& iCommodityCode);

  /// Creates a manufacturer. Code and name go into the statement as they stand. Raises 0x80040E2F for a code that is
  /// there already. Label "Mercato.Manufacturer.InsertManufacturer".
  void InsertManufacturer(const std::string& iManufacturerCode, const std::string& iManufacturerName);

  /// The charge type of a commodity, "" for Null and for an unknown commodity. Label "Mercato.Product.getChargetype".
  std::string GetChargeType(const std::string& iCommodityCode);

  /// BISITEMCODE of a commodity, "" for Null. The code goes into the statement as it stands. Raises eCommodityNotFound,
  /// source "Mercato.Product.GetBisItemCode", "CommodityCode is Not found", unlogged with an abort vote, for an unknown
  /// one.
  std::string GetBisItemCode(const std::string& i_lCommodity);

  /// TAXCODE, DESCRIPTION and LEDGERACCOUNT of a commodity's tax code; empty without one. The message of a failure has
  /// the errors of the connection as its information. Label "Product.GetTaxcodeInformation".
  DictionaryPtr GetTaxcodeInformation(const std::string& istrCommodityCode);

  /// All tax codes: code to description. Label "Product.GetAllTaxCodes".
  DictionaryPtr GetAllTaxCodes();

  /// The ids of all service products as an array; Null when there is none. Casts no vote, a failure neither.
  Variant getAllServiceProducts();

  /// Whether a product is a service. False for Null and for an unknown product. Casts no vote, a failure neither.
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
