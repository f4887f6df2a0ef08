// SPDX-License-Identifier: Apache-2.0
#include "catalog/catalog_lists.h"

#include "catalog/catalog_internal.h"

namespace mercato {

CatalogCounts counts_of_catalog(std::int32_t catalog) {
  const auto count = [&](LiteralPiece statement) { return count_of(Sql(statement) << catalog); };
  CatalogCounts counts;
  counts.nodes = count_nodes(catalog);
  counts.products = count(
      "SELECT COUNT(DISTINCT C.PRODUCTID) AS N FROM PRODUCTSBYCATEGORY C INNER JOIN CATALOGNODE N ON "
      "N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1 AND N.CATALOGID = ");
  counts.users =
      count("SELECT COUNT(DISTINCT USERID) AS N FROM CATALOGNODEBYUSER WHERE ISPROFILE = 0 AND CATALOGID = ");
  counts.profiles =
      count("SELECT COUNT(DISTINCT USERID) AS N FROM CATALOGNODEBYUSER WHERE ISPROFILE = 1 AND CATALOGID = ");
  return counts;
}

std::size_t count_nodes(std::int32_t catalog) {
  return count_of(Sql("SELECT COUNT(*) AS N FROM CATALOGNODE WHERE CATALOGID = ") << catalog);
}

std::string description_of_catalog(std::int32_t catalog) {
  return held_rows(Sql("SELECT CATALOGDESCRIPTION FROM CATALOG WHERE CATALOGID = ") << catalog)
      ->Value("CATALOGDESCRIPTION")
      .text_or_empty();
}

std::size_t count_enabled_products() {
  return count_of(LiteralPiece("SELECT COUNT(*) AS N FROM PRODUCT WHERE DISABLED <> 1 OR DISABLED IS NULL"));
}

std::map<std::int32_t, std::int32_t> product_counts_by_category() {
  std::map<std::int32_t, std::int32_t> counts;
  const RecordsetPtr rows =
      held_rows(LiteralPiece("SELECT CATEGORYID, COUNT(*) AS PRODUCTS FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID"));
  for (; !rows->Eof(); rows->MoveNext())
    counts[rows->Value("CATEGORYID").to_long()] = rows->Value("PRODUCTS").to_long();
  return counts;
}

DictionaryPtr all_category_names() {
  return names_by_id(held_rows(LiteralPiece("SELECT CATEGORYID, CATEGORYNAME FROM PRODUCTCATEGORY")));
}

RecordsetPtr all_business_partners() {
  return held_rows(LiteralPiece("SELECT BUSINESSPARTNERID, BUSINESSID, PARTNERNAME FROM BUSINESSPARTNER"));
}

}  // namespace mercato
