// SPDX-License-Identifier: Apache-2.0
#include "frame/table_references.h"

#include <array>

#include "frame/query_rows.h"
#include "platform/store/session_pool.h"

namespace mercato {

// Two kinds of references are left out: UNSPSC codes, which products and categories may have before the codes are
// loaded, and contracts, which another system keeps.
std::span<const TableReference> table_references() {
  using enum ReferenceKind;
  static constexpr auto kReferences = std::to_array<TableReference>({
      {"ALTERNATIVEPRODUCTS", "ALTERNATIVEPRODUCT", "PRODUCT", "PRODUCTID"},
      {"ALTERNATIVEPRODUCTS", "ORIGINALPRODUCT", "PRODUCT", "PRODUCTID"},
      {"ATTACHEDFILE", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"CATALOGNODE", "CATALOGID", "CATALOG", "CATALOGID"},
      {"CATALOGNODE", "CATEGORYID", "PRODUCTCATEGORY", "CATEGORYID"},
      {"CATALOGNODE", "PARENTNODEID", "CATALOGNODE", "NODEID"},
      {"CATALOGNODEBYBP", "BUSINESSPARTNERID", "BUSINESSPARTNER", "BUSINESSPARTNERID"},
      {"CATALOGNODEBYBP", "CATALOGID", "CATALOG", "CATALOGID"},
      {"CATALOGNODEBYBP", "NODEID", "CATALOGNODE", "NODEID"},
      {"CATALOGNODEBYUSER", "CATALOGID", "CATALOG", "CATALOGID"},
      {"CATALOGNODEBYUSER", "NODEID", "CATALOGNODE", "NODEID"},
      {"CATALOGPRODUCTPRICE", "CURRENCYCODE", "CURRENCY", "CURRENCYCODE", text},
      {"CATALOGPRODUCTPRICE", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"COMMODITY", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID"},
      {"COMMODITY", "TAXCODE", "TAXCODES", "TAXCODE", text},
      {"EXCHANGERATE", "SOURCECODE", "CURRENCY", "CURRENCYCODE", text},
      {"EXCHANGERATE", "TARGETCODE", "CURRENCY", "CURRENCYCODE", text},
      {"FAQISSUE", "FAQCATEGORYID", "FAQCATEGORY", "FAQCATEGORYID"},
      {"FAQISSUE", "PRODUCTCATEGORYID", "PRODUCTCATEGORY", "CATEGORYID"},
      {"FAQISSUE", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"FAVORITES", "FOLDERID", "FAVORITEFOLDERS", "FOLDERID"},
      {"FAVORITES", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"PRODUCT", "BUSINESSPARTNERID", "BUSINESSPARTNER", "BUSINESSPARTNERID"},
      {"PRODUCT", "CLASSCODE", "HAZARDOUSCLASS", "CLASSCODE", text},
      {"PRODUCT", "COMMODITYCODE", "COMMODITY", "COMMODITYCODE", text},
      {"PRODUCT", "MANUFACTURERID", "MANUFACTURER", "MANUFACTURERID", text},
      {"PRODUCT", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID"},
      {"PRODUCT", "UNITCODE", "UNIT", "UNITCODE", text},
      {"PRODUCT", "USERID", "USERS", "USERID", text},
      {"PRODUCTBUYER", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"PRODUCTBUYER", "USERID", "USERS", "USERID", text},
      {"PRODUCTPROPVALUE", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"PRODUCTPROPVALUE", "PROPERTYID", "PROPERTY", "PROPERTYID"},
      {"PRODUCTSBYCATEGORY", "CATEGORYID", "PRODUCTCATEGORY", "CATEGORYID"},
      {"PRODUCTSBYCATEGORY", "PRODUCTID", "PRODUCT", "PRODUCTID"},
      {"PROPERTYENUM", "PROPERTYID", "PROPERTY", "PROPERTYID"},
      {"PROPSBYPROPGROUP", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID"},
      {"PROPSBYPROPGROUP", "PROPERTYID", "PROPERTY", "PROPERTYID"},
      {"USERNODE", "CATALOGID", "CATALOG", "CATALOGID"},
      {"USERNODE", "NODEID", "CATALOGNODE", "NODEID"},
      {"USERS", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID"},
      {"VISIBILITIESBYCATEGORY", "CATEGORYID", "PRODUCTCATEGORY", "CATEGORYID"},
      {"VISIBILITIESBYCATEGORY", "VISIBILITYID", "FAQVISIBILITY", "VISIBILITYID"},
  });
  return kReferences;
}

namespace {

// What follows the list of columns in a query of the dangling rows.
Sql from_dangling_rows(const TableReference& reference) {
  Sql sql = Sql(" FROM ") << name(reference.table) << " R WHERE R." << name(reference.column);
  if (reference.kind == ReferenceKind::number)
    sql << " > 0";
  else
    sql << " <> ''";
  return sql << " AND NOT EXISTS (SELECT 1 FROM " << name(reference.to_table) << " T WHERE T."
             << name(reference.to_column) << " = R." << name(reference.column) << ")";
}

// The columns of the key, and the one that leads nowhere.
Sql columns_that_name(const store::TableInfo& table, std::string_view column) {
  Sql list = Sql("R.") << name(column);
  for (const std::size_t position : table.key)
    if (table.columns[position].name != column) list = Sql("R.") << name(table.columns[position].name) << ", " << list;
  return list;
}

}  // namespace

std::vector<DanglingRows> find_dangling_rows(const std::string& connection_string) {
  const store::PooledSession session = store::acquire_session(connection_string);
  std::vector<DanglingRows> found;
  for (const TableReference& reference : table_references()) {
    if (!session->table(reference.table) || !session->table(reference.to_table)) continue;
    const Sql rows = from_dangling_rows(reference);
    std::vector<Variant> count;
    {
      const store::Execution query = session->execute(Sql("SELECT COUNT(*)") << rows);
      if (!query.cursor->next()) continue;
      query.cursor->read(count);
    }
    if (count[0].to_long() == 0) continue;
    const Sql columns = columns_that_name(*session->table(reference.table), reference.column);
    found.push_back(
        {reference, count[0].to_long(),
         query_rows(connection_string, Sql("SELECT DISTINCT TOP 3 ") << columns << rows << " ORDER BY " << columns),
         (Sql("SELECT *") << rows).text()});
  }
  return found;
}

}  // namespace mercato
