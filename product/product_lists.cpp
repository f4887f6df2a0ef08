// SPDX-License-Identifier: Apache-2.0
// Lists of products, and the check against a user's catalogues.
#include "frame/lib_general.h"
#include "frame/util.h"
#include "mercato/clock.h"
#include "product/product_internal.h"

namespace mercato {

using product::IsDefaultLong;

namespace {

// Fills a list by PRODUCTID with what `item` makes of each row.
template <class Item>
auto listed_by_id(Item item) {
  return [item](const RecordsetPtr& rows) {
    auto list = std::make_shared<Dictionary>();
    for (; !rows->Eof(); rows->MoveNext()) list->Add(rows->Value("PRODUCTID"), item(rows));
    return list;
  };
}

// The value of one column, or an array of two.
auto column(std::string_view name) {
  return [name](const RecordsetPtr& rows) { return rows->Value(name); };
}
auto columns(std::string_view first, std::string_view second) {
  return [first, second](const RecordsetPtr& rows) -> Variant {
    return Array{rows->Value(first), rows->Value(second)};
  };
}

constexpr std::int32_t kBothStockAndNonStock = 2;

}  // namespace

DictionaryPtr Product::GetProductsByCriteria(std::int32_t i_nStockItem, const Variant& i_lSupplierID,
                                             const Variant& i_lCommodityCode) {
  return read_and_vote(
      "Mercato.Product.GetProductsByCriteria", CursorType::forward_only, GetReadConnection,
      [&] {
        Sql sql("SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT");
        bool conditioned = i_nStockItem != kBothStockAndNonStock;
        if (conditioned) sql << " WHERE STOCKITEM = " << i_nStockItem;
        if (!i_lSupplierID.is_missing()) {
          conditioned ? sql << " AND BUSINESSPARTNERID = " : sql << " WHERE BUSINESSPARTNERID = ";
          sql << value(i_lSupplierID.text_or_empty());
          conditioned = true;
        }
        if (!i_lCommodityCode.is_missing()) {
          conditioned ? sql << " AND COMMODITYCODE = '" : sql << " WHERE COMMODITYCODE = '";
          sql << value(Gen_QuoteSql(i_lCommodityCode.text_or_empty())) << "'";
        }
        return sql;
      },
      listed_by_id(columns("PRODUCTDESCRIPTION", "PARTNUMBER")));
}

DictionaryPtr Product::GetProductsByBuyer(const std::string& i_sBuyerId) {
  Opened opened;
  return method(
      [&] {
        const std::string buyer = Gen_QuoteSql(i_sBuyerId);
        auto products = std::make_shared<Dictionary>();
        opened.connection = GetReadConnection();

        const Sql default_buyer = Sql("SELECT PRODUCTID, PARTNUMBER FROM PRODUCT WHERE USERID ='")
                                  << value(buyer) << "'";
        opened.rows = open_read_only(default_buyer, opened.connection, CursorType::keyset);
        for (; !opened.rows->Eof(); opened.rows->MoveNext())
          products->Add(opened.rows->Value("PRODUCTID"), opened.rows->Value("PARTNUMBER"));
        Sql_CloseRecordset(opened.rows);

        const Sql one_of_the_buyers =
            Sql("SELECT DISTINCT P.PRODUCTID, P.PARTNUMBER FROM PRODUCT P, PRODUCTBUYER PB WHERE PB.USERID ='")
            << value(buyer) << "' and PB.PRODUCTID = P.PRODUCTID";
        opened.rows = open_read_only(one_of_the_buyers, opened.connection, CursorType::keyset);
        for (; !opened.rows->Eof(); opened.rows->MoveNext()) {
          const Variant& id = opened.rows->Value("PRODUCTID");
          if (!products->Exists(id)) products->Add(id, opened.rows->Value("PARTNUMBER"));
        }
        opened.close();
        Mts_SetComplete();
        return products;
      },
      Tail{"Mercato.Product.GetProductByBuyer", closing_and_aborting(opened)});
}

DictionaryPtr Product::GetProductsByPartNumber(const std::string& i_sPartNumber) {
  return read_and_vote(
      "Mercato.Product.GetProductsByPartNumber", CursorType::keyset, GetReadConnection,
      [&] {
        return Sql("SELECT PRODUCTID, PRODUCTDESCRIPTION FROM PRODUCT WHERE PARTNUMBER = '")
               << value(Gen_QuoteSql(i_sPartNumber)) << "'";
      },
      listed_by_id(column("PRODUCTDESCRIPTION")));
}

DictionaryPtr Product::GetProductsBySupplier(const std::string& iSupplierID) {
  return read_and_vote(
      "Mercato.Product.GetProductsBySupplier", CursorType::forward_only, GetReadConnection,
      [&] {
        return Sql("SELECT PRODUCTID, PARTNUMBER, BUYFROMPARTNUMBER FROM PRODUCT WHERE BUSINESSPARTNERID = ")
               << value(iSupplierID);
      },
      listed_by_id(columns("PARTNUMBER", "BUYFROMPARTNUMBER")));
}

DictionaryPtr Product::GetPartNumbersForProducts(const Variant& i_aProductIDs) {
  return read_and_vote(
      "Mercato.Product.GetPartNumbersForProducts", CursorType::keyset, GetReadConnection,
      [&] {
        Sql sql("SELECT PRODUCTID,PARTNUMBER FROM PRODUCT");
        if (i_aProductIDs.is_missing()) return sql;
        bool first = true;
        for (const Variant& id : i_aProductIDs.to_array().items) {
          first ? sql << " WHERE PRODUCTID IN (" : sql << ", ";
          sql << value(id.text_or_empty());
          first = false;
        }
        // Without an element only this bracket is left, and the store refuses the statement.
        sql << ")";
        return sql;
      },
      listed_by_id(column("PARTNUMBER")));
}

RecordsetPtr Product::GetProductsByProductCategory(std::int32_t iCategoryID) {
  return method(
      [&] {
        Sql sql(
            "SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION FROM PRODUCT P "
            "INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID ");
        if (iCategoryID != 0) sql << "WHERE C.CATEGORYID = " << iCategoryID << " ";
        sql << "ORDER BY P.PRODUCTDESCRIPTION";
        return Sql_GetDisconnectedRecordset(sql, GetConnectionString(), true);
      },
      Tail{"Mercato.Product.GetProductsByProductCategory", Mts_SetAbort});
}

RecordsetPtr Product::GetAlternativeProducts(std::int32_t i_lProductID, std::int32_t i_lStockItemFlag) {
  return method(
      [&] {
        Sql sql = Sql("SELECT ALTERNATIVEPRODUCTS.*, PRODUCT.IMAGEFILENAME, PRODUCT.TECHNICALIMAGE, "
                      "PRODUCT.PRODUCTDESCRIPTION "
                      "FROM ALTERNATIVEPRODUCTS INNER JOIN PRODUCT ON "
                      "ALTERNATIVEPRODUCTS.ALTERNATIVEPRODUCT = PRODUCT.PRODUCTID "
                      "WHERE ALTERNATIVEPRODUCTS.ORIGINALPRODUCT = ")
                  << i_lProductID;
        if (!IsDefaultLong(i_lStockItemFlag)) sql << " AND PRODUCT.STOCKITEM = " << i_lStockItemFlag;
        RecordsetPtr alternatives = Sql_GetDisconnectedRecordset(sql, GetConnectionString(), true);
        Mts_SetComplete();
        return alternatives;
      },
      Tail{"Mercato.Product.GetAlternativeProducts", Mts_SetAbort});
}

bool Product::ValidateProductAgainstUserCatalogs(const std::string& i_sProductID, const Array& i_aCatalogIDs) {
  Opened opened;
  return method(
      [&] {
        if (i_aCatalogIDs.at(0).is_empty()) return false;
        const std::string today = GetSqlLiterals().DateTimeToSql(clock::now());
        Sql sql = Sql("SELECT DISTINCT P.PRODUCTID "
                      "FROM PRODUCT P, PRODUCTSBYCATEGORY PBC, CATALOGNODE CN "
                      "WHERE P.PRODUCTID = ")
                  << value(i_sProductID) << " AND (P.PRODUCTEFFECTIVITYDATE <= " << value(today)
                  << " OR P.PRODUCTEFFECTIVITYDATE IS NULL) "
                     "AND P.DISABLED = 0 "
                     "AND PBC.PRODUCTID = P.PRODUCTID "
                     "AND CN.CATEGORYID = PBC.CATEGORYID "
                     "AND (";
        bool first = true;
        for (const Variant& catalog : i_aCatalogIDs.items) {
          first ? sql << "CN.CATALOGID = " : sql << " OR CN.CATALOGID = ";
          sql << value(catalog.text_or_empty());
          first = false;
        }
        sql << ")";
        // The expiry date is deliberately not looked at: an expired product passes.
        opened.connection = GetReadConnection();
        opened.rows = open_read_only(sql, opened.connection, CursorType::forward_only);
        const bool found = !opened.rows->Eof();
        opened.close();
        Mts_SetComplete();
        return found;
      },
      Tail{"Mercato.Product.ValidateProductAgainstUserCatalogs", closing_and_aborting(opened)});
}

}  // namespace mercato
