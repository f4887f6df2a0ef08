#include "product/product.h"

#include "frame/lib_sql.h"
#include "frame/types/text.h"
#include "product/product_internal.h"

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
                  {"i_sProductID", "i_aCatalogIDs"});
  return table;
}

std::string Product::GetConnectionString() { return shared_connection_string_of_application(); }

ConnectionPtr Product::GetReadConnection() { return open_connection(GetConnectionString(), Isolation::read_committed); }

namespace product {

std::string& QuoteForLike(std::string& text) {
  text = text::replace_all(text, "'", "''");
  text = text::replace_all(text, "%", "[%]");
  return text;
}

RecordsetPtr open_read_only(const Sql& sql, const ConnectionPtr& connection, CursorType cursor) {
  auto rows = Recordset::create();
  rows->Open(sql, connection, cursor, LockType::read_only, -1);
  return rows;
}

}  // namespace product
}  // namespace mercato
