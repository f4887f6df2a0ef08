// SPDX-License-Identifier: Apache-2.0
#include "mercato/product.h"

#include <limits>

#include "frame/lib_sql.h"
#include "product/product_internal.h"
#include "values/text.h"

namespace mercato {

const ClassTable& Product::table() {
  static const ClassTable table =
      ClassTable::of<Product>("Mercato.Product", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A101}",
                              TransactionAttribute::required)
          .method("GetProductEx", &Product::GetProductEx, {"i_lProductID"})
          .method("GetProduct", &Product::GetProduct, {"iProductID"})
          .method("GetProductFields", &Product::GetProductFields,
                  {"i_aProductFieldNames", optional("i_lProductID", -1), optional("i_sGTIN", "")})
          .method("getManufacturerID", &Product::getManufacturerID, {"iProductID"})
          .method("GetProductDescription", &Product::GetProductDescription, {"i_lProductID"})
          .method("GetGTIN", &Product::GetGTIN, {"i_lProductID"})
          .method("GetCategoryName", &Product::GetCategoryName, {"iCategoryID"})
          .method("GetDefaultBuyer", &Product::GetDefaultBuyer, {"iCommodityCode"})
          .method("GetMaxProductId", &Product::GetMaxProductId)
          .method("getProductIDFromPartNum", &Product::getProductIDFromPartNum,
                  {"iPartNum", optional("iCatalogString", "-1")})
          .method("countProductIDsFromPartNum", &Product::countProductIDsFromPartNum,
                  {"iPartNum", optional("iCatalogString", "-1")})
          .method("countStockProductIDsFromPartNum", &Product::countStockProductIDsFromPartNum, {"iPartNum"})
          .method("GetCatalogProductsByPartNumber", &Product::GetCatalogProductsByPartNumber,
                  {"i_sPartNumber", "i_lMaxNumberOfRows", "o_bMoreRowsAvailable", optional("i_sCatalogString", "-1")})
          .method("GetProductIDFromSupplierPartNum", &Product::GetProductIDFromSupplierPartNum, {"iSupplierPartNumber"})
          .method("GetProductIdFromPartNumSource", &Product::GetProductIdFromPartNumSource,
                  {"i_sPartNumber", optional("i_lStockItemFlag", -1), optional("i_lDisabledFlag", -1)})
          .method("GetProductsByCriteria", &Product::GetProductsByCriteria,
                  {"i_nStockItem", optional("i_lSupplierID"), optional("i_lCommodityCode")})
          .method("GetProductsByBuyer", &Product::GetProductsByBuyer, {"i_sBuyerId"})
          .method("GetProductsByPartNumber", &Product::GetProductsByPartNumber, {"i_sPartNumber"})
          .method("GetProductsBySupplier", &Product::GetProductsBySupplier, {"iSupplierID"})
          .method("GetPartNumbersForProducts", &Product::GetPartNumbersForProducts, {optional("i_aProductIDs")})
          .takes("i_aProductIDs", "array")
          .method("GetProductsByProductCategory", &Product::GetProductsByProductCategory, {"iCategoryID"})
          .method("GetAlternativeProducts", &Product::GetAlternativeProducts,
                  {"i_lProductID", optional("i_lStockItemFlag", -1)})
          .method("ValidateProductAgainstUserCatalogs", &Product::ValidateProductAgainstUserCatalogs,
                  {"i_sProductID", "i_aCatalogIDs"})
          .method("Insert20", &Product::Insert20, {"iFields", "iValues"})
          .method("Update20", &Product::Update20, {"iProductID", "iFields", "iValues"})
          .method("Insert", &Product::Insert,
                  {"iUnitCode", "iPropGroupID", "iManID", "iPartNo", "iProdDescription", "iConfigurable", "iProdRemark",
                   "iImgFile", "iURL"})
          .method("Update", &Product::Update,
                  {"iProductID", "iUnitCode", "iPropGroupID", "iManID", "iPartNo", "iProdDescription", "iConfigurable",
                   "iProdRemark", "iImgFile", "iURL"})
          .method("SetUpdateDateToNow", &Product::SetUpdateDateToNow, {"iProductID"})
          .method("InsertProductPropertyValue", &Product::InsertProductPropertyValue,
                  {"iProductID", "iPropertyId", "iValue"})
          .method("UpdateProductPropertyValue", &Product::UpdateProductPropertyValue,
                  {"iProductID", "iPropertyId", "iValue"})
          .method("Delete", &Product::Delete, {"iProductID"})
          .method("Disable", &Product::Disable, {"iProductID"})
          .method("Enable", &Product::Enable, {"iProductID"})
          .method("InsertPrice", &Product::InsertPrice,
                  {"iProductID", "iPriceEffDate", "iQuantityTo", "iFields", "iValues"})
          .method("UpdatePrice", &Product::UpdatePrice,
                  {"iProductID", "iPriceEffDate", "iQuantityTo", "iFields", "iValues"})
          .method("InsertUpdatePrice", &Product::InsertUpdatePrice,
                  {"iProductID", "iPriceEffDate", "iQuantityTo", "iFields", "iValues", "iAction"})
          .method(
              "InsertUpdatePriceEx", &Product::InsertUpdatePriceEx,
              {"i_lProductID", "i_dPriceEffDate", "i_fQuantityTo", "i_sGroupBy", "i_vFields", "i_vValues", "i_sAction"})
          .method("getCatalogPriceAttributes", &Product::getCatalogPriceAttributes,
                  {"i_lProductID", "i_dDate", "i_sCurrencyCode", optional("i_fQuantity", -1.0)})
          .method(
              "getCatalogPriceAttributesEx", &Product::getCatalogPriceAttributesEx,
              {"i_lProductID", "i_dDate", "i_sCurrencyCode", optional("i_fQuantity", -1.0), optional("i_sGroupBy", "")})
          .method("GetProductPriceLines", &Product::GetProductPriceLines, {"iProductID"})
          .method("GetPriceFromPriceLines", &Product::GetPriceFromPriceLines, {"i_lProductID", "i_fQuantity"})
          .method("GetPriceFromPriceLinesByGroup", &Product::GetPriceFromPriceLinesByGroup,
                  {"i_lProductID", "i_sGroupBy"})
          .method("getERPPrice", &Product::getERPPrice,
                  {"iBuyer", "iContract", "iContractPosition", "iSupplierID", "iPartNumber", "iQuantity", "iUnit",
                   "iPriceDate", "iCurrency"})
          .method("GetRequisitionLineProperties", &Product::GetRequisitionLineProperties,
                  {"iUserID", "iCommodityCode", "iProductID"})
          .method("RequisitionPropertiesPresent", &Product::RequisitionPropertiesPresent, {"iProductID", "iUserID"})
          .method("RequisitionCommodityPropertiesPresent", &Product::RequisitionCommodityPropertiesPresent,
                  {"iCommodityCode", "iUserID"})
          .method("GetProductProperties", &Product::GetProductProperties, {"iProductID"})
          .method("CheckLotSize", &Product::CheckLotSize, {"iProductID", "iQuantity"})
          .method("getMultipleOf", &Product::getMultipleOf, {"iProductID"})
          .method("getMinOrderQty", &Product::getMinOrderQty, {"iProductID"})
          .method("CreateFavorite", &Product::CreateFavorite,
                  {"i_sUserID", "i_lProductID", optional("i_lFavoriteType", -1)})
          .method("DeleteFavorite", &Product::DeleteFavorite,
                  {"i_sUserID", "i_lProductID", optional("i_lFavoriteType", -1)})
          .method("CreateFavoriteEx", &Product::CreateFavoriteEx,
                  {"i_sUserID", "i_lProductID", optional("i_lFavoriteType", -1), optional("i_lFolderID", 0)})
          .method("DeleteFavoriteEx", &Product::DeleteFavoriteEx,
                  {"i_sUserID", "i_lProductID", optional("i_lFavoriteType", -1), optional("i_lFolderID", -1)})
          .method("InsertMultipleBuyers", &Product::InsertMultipleBuyers, {"iFields", "iValues"})
          .method("GetBuyerFromCommodity", &Product::GetBuyerFromCommodity, {"iCommodity"})
          .method("GetDefaultProductBuyer", &Product::GetDefaultProductBuyer, {"iProductID"})
          .method("GetBuyersForProducts", &Product::GetBuyersForProducts, {"i_aProductList"})
          .method("GetProductsAsDRecordSet", &Product::GetProductsAsDRecordSet,
                  {"i_oPage", "i_sPersistedStateInfo", "i_lPageSize", "i_sFields", "i_sSortFields", "i_sKeyFields",
                   "i_sWhereClause"})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .method("GetCommodityData", &Product::GetCommodityData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_asCommodityCodes"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .takes("i_asCommodityCodes", "array")
          .method("GetManufacturerData", &Product::GetManufacturerData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_alManufacturerIDs"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .takes("i_alManufacturerIDs", "array")
          .method("GetAllCommodities", &Product::GetAllCommodities)
          .deprecated("Mercato.Product.GetCommodityData")
          .method("GetAllManufacturers", &Product::GetAllManufacturers)
          .deprecated("Mercato.Product.GetManufacturerData")
          .method("DeleteCommodity", &Product::DeleteCommodity, {"iCommodityCode"})
          .method("InsertManufacturer", &Product::InsertManufacturer, {"iManufacturerCode", "iManufacturerName"})
          .method("GetChargeType", &Product::GetChargeType, {"iCommodityCode"})
          .method("GetBisItemCode", &Product::GetBisItemCode, {"i_lCommodity"})
          .method("GetTaxcodeInformation", &Product::GetTaxcodeInformation, {"istrCommodityCode"})
          .method("GetAllTaxCodes", &Product::GetAllTaxCodes)
          .method("getAllServiceProducts", &Product::getAllServiceProducts)
          .method("IsServiceProduct", &Product::IsServiceProduct, {"iProductID"})
          .implements_referential_integrity(&Product::IReferentialIntegrity_BeforeDelete,
                                            &Product::IReferentialIntegrity_Exists);
  return table;
}

std::string Product::GetConnectionString() { return shared_connection_string_of_application(); }

ConnectionPtr Product::GetConnection() { return open_connection(GetConnectionString()); }

ConnectionPtr Product::GetReadConnection() { return open_connection(GetConnectionString(), Isolation::read_committed); }

namespace product {

std::string& QuoteForLike(std::string& text) {
  text = text::replace_all(text, "'", "''");
  text = text::replace_all(text, "%", "[%]");
  return text;
}

DictionaryPtr numbered_rows(std::string_view label, ConnectionPtr (*open)(), const Sql& sql,
                            std::span<const std::string_view> columns) {
  Opened opened;
  return method(
      [&] {
        opened.connection = open();
        opened.rows = open_read_only(sql, opened.connection);
        auto numbered = std::make_shared<Dictionary>();
        std::int16_t number = 0;
        for (; !opened.rows->Eof(); opened.rows->MoveNext()) {
          if (number == std::numeric_limits<std::int16_t>::max()) raise(error_number::kOverflow);
          auto row = std::make_shared<Dictionary>();
          for (const std::string_view column : columns) row->Add(column, opened.rows->Value(column));
          numbered->Add(std::to_string(++number), row);
        }
        opened.close();
        return numbered;
      },
      Tail{label, closing(opened)});
}

}  // namespace product
}  // namespace mercato
