// SPDX-License-Identifier: Apache-2.0
#include "keeping/product_page.h"

#include "frame/lib_sql.h"

namespace mercato::keeping {
namespace {

std::vector<DictionaryPtr> rows_on(const Sql& sql, const ConnectionPtr& connection) {
  const RecordsetPtr records = open_read_only(sql, connection);
  std::vector<DictionaryPtr> rows = rows_left(records);
  records->Close();
  return rows;
}

}  // namespace

std::optional<ProductPage> product_page(std::int32_t product) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  const auto rows = [&](const Sql& sql) { return rows_on(sql, connection); };
  ProductPage page;
  std::vector<DictionaryPtr> records = rows(Sql("SELECT * FROM PRODUCT WHERE PRODUCTID = ") << product);
  if (records.empty()) return std::nullopt;
  page.record = std::move(records.front());
  page.properties = rows(
      Sql("SELECT V.PROPERTYID, P.PROPERTYNAME, P.DATATYPE, V.VALUE FROM PRODUCTPROPVALUE V INNER JOIN PROPERTY P ON "
          "P.PROPERTYID = V.PROPERTYID WHERE V.PRODUCTID = ")
      << product << " ORDER BY P.PROPERTYNAME, V.PROPERTYID");
  page.prices = rows(Sql("SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = ")
                     << product << " ORDER BY PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY");
  page.buyers = rows(Sql("SELECT B.USERID, U.USERNAME FROM PRODUCTBUYER B LEFT JOIN USERS U ON U.USERID = B.USERID "
                         "WHERE B.PRODUCTID = ")
                     << product << " ORDER BY B.USERID");
  page.categories = rows(
      Sql("SELECT L.CATEGORYID, C.CATEGORYNAME, C.UNSPSCCODE FROM PRODUCTSBYCATEGORY L INNER JOIN PRODUCTCATEGORY C ON "
          "C.CATEGORYID = L.CATEGORYID WHERE L.PRODUCTID = ")
      << product << " ORDER BY C.CATEGORYNAME, L.CATEGORYID");
  page.alternatives = rows(Sql("SELECT DISTINCT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, P.DISABLED FROM "
                               "ALTERNATIVEPRODUCTS A INNER "
                               "JOIN PRODUCT P ON P.PRODUCTID = A.ALTERNATIVEPRODUCT WHERE A.ORIGINALPRODUCT = ")
                           << product << " ORDER BY P.PARTNUMBER, P.PRODUCTID");
  return page;
}

}  // namespace mercato::keeping
