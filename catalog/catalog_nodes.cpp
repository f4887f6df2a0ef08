// SPDX-License-Identifier: Apache-2.0
// Catalogues and the nodes of their trees, whoever may see them.
#include <vector>

#include "catalog/catalog_internal.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

// Null and Empty stand for no ids at all, unlike Missing.
bool is_nothing(const Variant& ids) { return ids.is_null() || ids.is_empty(); }

std::vector<Variant> not_empty(const Array& ids) {
  std::vector<Variant> kept;
  for (const Variant& id : ids.items)
    if (!id.to_text().empty()) kept.push_back(id);
  return kept;
}

RecordsetPtr name_and_parent(std::int32_t node) {
  return Sql_GetDisconnectedRecordset(Sql("SELECT NODENAME, PARENTNODEID FROM CATALOGNODE WHERE NODEID = ") << node,
                                      shared_connection_string(), true);
}

// The catalogues in which a product can be reached, or the nodes. The category of a node counts whatever the node's
// type is. An empty list restricts nothing.
Sql places_of_product(std::int32_t product, bool as_nodes, const Sql& allowed_catalogs) {
  Sql sql = as_nodes ? Sql("SELECT DISTINCT CATALOGNODE.NODEID AS CATALOGID FROM PRODUCTSBYCATEGORY,CATALOGNODE")
                     : Sql("SELECT DISTINCT CATALOGNODE.CATALOGID AS CATALOGID FROM PRODUCTSBYCATEGORY,CATALOGNODE");
  sql << " WHERE  PRODUCTSBYCATEGORY.PRODUCTID = " << product
      << " AND PRODUCTSBYCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID ";
  if (!allowed_catalogs.text().empty()) sql << "AND CATALOGNODE.CATALOGID IN (" << allowed_catalogs << ") ";
  return sql;
}

}  // namespace

DictionaryPtr Catalog::GetAllCatalogs() {
  return read_and_close(
      "Mercato.Catalog.getAllCatalogs", CursorType::forward_only, GetConnection,
      [] { return Sql("SELECT CATALOGID, CATALOGNAME FROM CATALOG ORDER BY CATALOGNAME"); }, names_by_id);
}

CollectionPtr Catalog::GetCatalog(std::int32_t iCatalogID) {
  return read_and_close(
      "Mercato.Catalog.getCatalog", CursorType::forward_only, GetConnection,
      [&] { return Sql("select * from catalog where CATALOGID=") << iCatalogID; },
      [](const RecordsetPtr& row) {
        if (row->Eof()) raise(eCatalogNotFound, "Mercato.Catalog.GetCatalog", "Catalog not present");
        auto record = std::make_shared<Collection>();
        for (const char* column :
             {"CATALOGID", "CATALOGNAME", "ACTIVE", "APPROVALCATALOG", "SUPPLIERCATALOGID", "VERSION", "CATALOGLAYOUT"})
          record->Add(row->Value(column), column);
        return record;
      });
}

const Variant& Catalog::cached_item(std::int32_t catalog, std::string_view column) {
  // The cache is never refreshed: an object that outlives a change of the catalogue answers the old value.
  if (catalog != CatalogCacheID) {
    CatalogCache = GetCatalog(catalog);
    CatalogCacheID = catalog;
  }
  if (!CatalogCache) raise(error_number::kObjectNotSet);  // for the id 0 as long as nothing was read
  return CatalogCache->Item(column);
}

std::string Catalog::getName(std::int32_t iCatalogID) { return cached_item(iCatalogID, "CATALOGNAME").to_text(); }

bool Catalog::getActive(std::int32_t iCatalogID) { return cached_item(iCatalogID, "ACTIVE").to_boolean(); }

bool Catalog::getApproval(std::int32_t iCatalogID) { return cached_item(iCatalogID, "APPROVALCATALOG").to_boolean(); }

bool Catalog::UseCatalogLayOutParameter(std::int32_t iCatalogID) {
  return cached_item(iCatalogID, "CATALOGLAYOUT").to_boolean();
}

DictionaryPtr Catalog::GetCatalogByBP(std::int32_t i_lBusinessPartnerID) {
  return read_and_close(
      "Mercato.Catalog.GetCatalogByBP", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT DISTINCT CATALOGNODEBYBP.CATALOGID AS CATALOGID,"
                   " CATALOG.CATALOGNAME AS CATALOGNAME FROM CATALOGNODEBYBP, "
                   " CATALOG WHERE CATALOGNODEBYBP.BUSINESSPARTNERID = ")
               << i_lBusinessPartnerID
               << " AND CATALOGNODEBYBP.CATALOGID = CATALOG.CATALOGID "
                  " AND CATALOG.ACTIVE=1 ORDER BY CATALOG.CATALOGNAME ";
      },
      names_by_id);
}

DictionaryPtr Catalog::GetValidProductCatalogs(const Variant& i_aProductIDs, const Variant& i_aCatalogIDs,
                                               const Variant& bCatalogNode) {
  Opened opened;
  return method(
      [&] {
        auto valid = std::make_shared<Dictionary>();
        if (is_nothing(i_aCatalogIDs)) return valid;
        const Sql allowed = i_aCatalogIDs.is_missing() ? Sql() : joined(not_empty(i_aCatalogIDs.to_array()));
        if (is_nothing(i_aProductIDs)) return valid;
        const Array& products = i_aProductIDs.to_array();
        opened.connection = GetConnection();
        for (const Variant& product : products.items) {
          const bool as_nodes = bCatalogNode.to_boolean();
          opened.rows = open_read_only(places_of_product(product.to_long(), as_nodes, allowed), opened.connection);
          Array ids;
          for (; !opened.rows->Eof(); opened.rows->MoveNext())
            ids.items.push_back(opened.rows->Value("CATALOGID").to_long());
          if (!ids.items.empty()) valid->Add(product, ids);
          Sql_CloseRecordset(opened.rows);
        }
        opened.close();
        return valid;
      },
      Tail{"Mercato.Catalog.GetValidProductCatalogs", closing(opened)});
}

std::int16_t Catalog::GetNodeLevel(std::int32_t i_lCatalogID, std::int32_t i_lNodeID) {
  return read_and_close(
      "Mercato.Catalog.GetNodeLevel", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE CATALOGID=")
               << i_lCatalogID << " ORDER BY NODEID";
      },
      [&](const RecordsetPtr& nodes) -> std::int16_t {
        if (nodes->Eof()) return -1;
        std::int16_t level = 1;
        std::int32_t last_parent = -1;
        for (; !nodes->Eof(); nodes->MoveNext()) {
          const bool is_the_node = nodes->Value("NODEID").to_long() == i_lNodeID;
          const Variant& parent = nodes->Value("PARENTNODEID");
          if (is_the_node && parent.is_null()) return 1;
          // This counts the changes of parent, wherever in the tree they are.
          if (!parent.is_null() && parent.to_long() != last_parent) {
            level = Variant(level + 1).to_short();
            last_parent = parent.to_long();
          }
          if (is_the_node) return level;
        }
        return level;
      });
}

std::string Catalog::GetCatalogNodeHierarchy(std::int32_t& lNodeID) {
  RecordsetPtr node = name_and_parent(lNodeID);
  std::vector<std::string> names = {node->Value("NODENAME").to_text()};
  while (!node->Value("PARENTNODEID").is_null()) {
    node = name_and_parent(node->Value("PARENTNODEID").to_long());
    names.push_back(node->Value("NODENAME").to_text());
  }
  return hierarchy_of(names);
}

}  // namespace mercato
