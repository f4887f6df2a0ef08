// SPDX-License-Identifier: Apache-2.0
// Searches by part number: patterns over the catalogue, and exact lookups.
#include <limits>

#include "frame/lib_general.h"
#include "product/product_internal.h"

namespace mercato {

using product::id_or_none;
using product::IsDefaultLong;
using product::QuoteForLike;

namespace {

constexpr std::string_view kAllCatalogs = "-1";

// Quoted for LIKE and then escaped on top: callers see a quote doubled twice and a percent sign escaped twice.
std::string escaped_twice(std::string term) { return Gen_EscapeLike(QuoteForLike(term)); }

std::int32_t count_or_zero(const RecordsetPtr& rows) { return rows->Eof() ? 0 : rows->Value("CNT").to_long(); }

}  // namespace

std::int32_t Product::getProductIDFromPartNum(const std::string& iPartNum, const std::string& iCatalogString) {
  return read_and_vote(
      "Mercato.Product.getProductIDFromPartNum", CursorType::forward_only, GetReadConnection,
      [&] {
        const std::string term = escaped_twice(iPartNum);
        Sql sql = Sql("SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID "
                      " FROM PRODUCTSBYCATEGORY "
                      " INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
                      " INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
                      " INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
                      " WHERE (PRODUCTDESCRIPTION LIKE '%")
                  << value(term) << "%' OR PARTNUMBER LIKE '%" << value(term) << "%' OR BUYFROMPARTNUMBER LIKE '%"
                  << value(term) << "%')  AND (PRODUCT.DISABLED = 0)";
        if (iCatalogString != kAllCatalogs) sql << " AND CATALOGNODE.CATALOGID IN " << clause(iCatalogString);
        return sql;
      },
      id_or_none);
}

std::int32_t Product::countProductIDsFromPartNum(const std::string& iPartNum, const std::string& iCatalogString) {
  return read_and_vote(
      "Mercato.Product.countProductIDsFromPartNum", CursorType::forward_only, GetReadConnection,
      [&] {
        // Escaped once, unlike the lookup above: for a quote or a percent sign the two do not agree.
        const std::string term = Gen_EscapeLike(iPartNum);
        Sql sql =
            Sql("SELECT COUNT(DISTINCT dbo.PRODUCTSBYCATEGORY.PRODUCTID) As CNT "
                " FROM dbo.PRODUCTSBYCATEGORY "
                " INNER JOIN dbo.PRODUCT ON dbo.PRODUCTSBYCATEGORY.PRODUCTID = dbo.PRODUCT.PRODUCTID "
                " INNER JOIN dbo.PRODUCTCATEGORY ON dbo.PRODUCTSBYCATEGORY.CATEGORYID = dbo.PRODUCTCATEGORY.CATEGORYID "
                " INNER JOIN dbo.CATALOGNODE ON dbo.PRODUCTCATEGORY.CATEGORYID = dbo.CATALOGNODE.CATEGORYID "
                " WHERE (PRODUCTDESCRIPTION LIKE '%")
            << value(term) << "%' OR PARTNUMBER LIKE '%" << value(term) << "%' OR BUYFROMPARTNUMBER LIKE '%"
            << value(term) << "%')  AND (DISABLED = 0)";
        if (iCatalogString != kAllCatalogs) sql << " AND dbo.CATALOGNODE.CATALOGID IN " << clause(iCatalogString);
        return sql;
      },
      count_or_zero);
}

std::int32_t Product::countStockProductIDsFromPartNum(const std::string& iPartNum) {
  return read_and_vote(
      "Mercato.Product.countStockProductIDsFromPartNum", CursorType::forward_only, GetReadConnection,
      [&] {
        const std::string term = escaped_twice(iPartNum);
        return Sql("SELECT COUNT(DISTINCT PRODUCTID) As CNT "
                   "FROM PRODUCT "
                   "WHERE "
                   "(PRODUCTDESCRIPTION LIKE '%")
               << value(term) << "%' OR  PARTNUMBER LIKE '%" << value(term) << "%' OR  BUYFROMPARTNUMBER LIKE '%"
               << value(term) << "%') AND DISABLED = 0 AND STOCKITEM = 1";
      },
      count_or_zero);
}

DictionaryPtr Product::GetCatalogProductsByPartNumber(const std::string& i_sPartNumber, std::int32_t i_lMaxNumberOfRows,
                                                      bool& o_bMoreRowsAvailable, const std::string& i_sCatalogString) {
  return read_and_vote(
      "Mercato.Product.GetCatalogProductsByPartNumber", CursorType::keyset, GetReadConnection,
      [&] {
        if (i_lMaxNumberOfRows == std::numeric_limits<std::int32_t>::max()) raise(error_number::kOverflow);
        Sql sql = Sql("SELECT DISTINCT TOP ")
                  << i_lMaxNumberOfRows + 1
                  << " "
                     "PRODUCTSBYCATEGORY.PRODUCTID, PRODUCT.PARTNUMBER, PRODUCT.PRODUCTDESCRIPTION "
                     "FROM PRODUCTSBYCATEGORY "
                     "INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
                     "INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
                     "INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
                     "WHERE PARTNUMBER LIKE '"
                  << value(Gen_QuoteSql(i_sPartNumber)) << "' AND PRODUCT.DISABLED = 0";
        if (i_sCatalogString != kAllCatalogs) sql << " AND CATALOGNODE.CATALOGID IN " << clause(i_sCatalogString);
        return sql;
      },
      [&](const RecordsetPtr& rows) {
        auto products = std::make_shared<Dictionary>();
        std::int32_t counter = 0;
        for (; !rows->Eof(); rows->MoveNext()) {
          if (++counter <= i_lMaxNumberOfRows)
            products->Add(rows->Value("PRODUCTID"),
                          Array{rows->Value("PARTNUMBER"), rows->Value("PRODUCTDESCRIPTION")});
        }
        o_bMoreRowsAvailable = counter > i_lMaxNumberOfRows;
        return products;
      });
}

std::int32_t Product::GetProductIDFromSupplierPartNum(const std::string& iSupplierPartNumber) {
  return read_and_vote(
      "Mercato.Product.GetProductIDFromSupplierPartNum", CursorType::forward_only, GetReadConnection,
      [&] {
        return Sql("SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='")
               << value(Gen_QuoteSql(iSupplierPartNumber)) << "'";
      },
      id_or_none);
}

std::int32_t Product::GetProductIdFromPartNumSource(const std::string& i_sPartNumber, std::int32_t i_lStockItemFlag,
                                                    std::int32_t i_lDisabledFlag) {
  return read_and_vote(
      "Mercato.Product.GetProductIdFromPartNumSource", CursorType::forward_only, GetReadConnection,
      [&] {
        // An equality with a text made for LIKE: callers never find a part number with a percent sign.
        std::string part_number = i_sPartNumber;
        Sql sql = Sql("SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE PARTNUMBER = '")
                  << value(QuoteForLike(part_number)) << "'";
        if (!IsDefaultLong(i_lStockItemFlag)) sql << " AND STOCKITEM = " << i_lStockItemFlag;
        if (!IsDefaultLong(i_lDisabledFlag)) sql << " AND DISABLED = " << i_lDisabledFlag;
        return sql;
      },
      id_or_none);
}

}  // namespace mercato
