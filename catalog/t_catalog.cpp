// SPDX-License-Identifier: Apache-2.0
#include "mercato/t_catalog.h"

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "values/text.h"

namespace mercato {

const ClassTable& TCatalog::table() {
  static const ClassTable table =
      ClassTable::of<TCatalog>("Mercato.TCatalog", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10A}",
                               TransactionAttribute::required)
          .method("InsertProductCategory", &TCatalog::InsertProductCategory, {"i_aFields", "i_aValues"})
          .method("UpdateProductCategory", &TCatalog::UpdateProductCategory, {"i_aFields", "i_aValues"})
          .method("DeleteProductCategory", &TCatalog::DeleteProductCategory, {"iCategoryID"})
          .method("CopyCatalog", &TCatalog::CopyCatalog, {"ilngCatalogIDOrig", "iintDeepCopyLevel", "istrCopyName"})
          .method("ClearUserCatalogIDs", &TCatalog::ClearUserCatalogIDs, {"i_sUserID", optional("i_bIsProfile", false)})
          .method("UpdateUserCatalogIDs", &TCatalog::UpdateUserCatalogIDs,
                  {"i_sUserID", "i_aCatalogIDs", optional("i_bIsProfile", false)})
          .method("PopulateUserNodes", &TCatalog::PopulateUserNodes, {"i_sUserID"})
          .method("InsertCatalog", &TCatalog::InsertCatalog, {"iFields", "iValues"})
          .method("ExpireCatalog", &TCatalog::ExpireCatalog, {"lCatalogID"})
          .method("ChangeAuthorizationsForUser", &TCatalog::ChangeAuthorizationsForUser,
                  {"lCurrentCatalogID", "lNewCatalogID", optional("bDelete", true)})
          .method("ChangeFavorites", &TCatalog::ChangeFavorites, {"lCurrentCatalogID", "lNewCatalogID"})
          .method("InsertFavoriteFolder", &TCatalog::InsertFavoriteFolder, {"i_aFields", "i_aValues"})
          .method("UpdateFavoriteFolderName", &TCatalog::UpdateFavoriteFolderName,
                  {"i_lFolderID", "i_sUserName", "i_sNewFolderName"})
          .method("DeleteFavoriteFolder", &TCatalog::DeleteFavoriteFolder, {"iFolderID", "i_sUserID"})
          .method("InsertCatalogNodeByBP", &TCatalog::InsertCatalogNodeByBP,
                  {"i_iNoideId", "i_iCatalogId", "i_aBPValues"})
          .method("UpdateCatalogNodeByBP", &TCatalog::UpdateCatalogNodeByBP,
                  {"i_iNoideId", "i_iCatalogId", "i_aBPValues"})
          .method("DeleteCatalogNodeByBP", &TCatalog::DeleteCatalogNodeByBP, {"i_iNoideId", "i_iCatalogId"})
          .implements_referential_integrity(&TCatalog::IReferentialIntegrity_BeforeDelete,
                                            &TCatalog::IReferentialIntegrity_Exists);
  return table;
}

ConnectionPtr TCatalog::GetConnection() { return open_connection(shared_connection_string()); }

bool TCatalog::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Mts_SetComplete();
  return true;
}

bool TCatalog::IReferentialIntegrity_Exists(const Variant&, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  return method(
      [&] {
        bool exists = false;
        if (!iFields.items.empty()) {
          const std::string field = iFields.at(iFields.lower).to_text();
          const std::string key = iValues.at(iFields.lower).text_or_empty();
          const std::string known = text::to_upper(field);
          Sql sql;
          if (known == "CATEGORYID")
            sql << "SELECT * FROM PRODUCTCATEGORY WHERE " << name(field) << " = " << value(key);
          else if (known == "BUSINESSPARTNERID")
            sql << "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE " << name(field) << " = " << value(key);
          // For another name the statement stays empty, and the store refuses it.
          connection = GetConnection();
          exists = !connection->Execute(sql)->Eof();
          Sql_CloseConnection(connection);
        }
        Mts_SetComplete();
        return exists;
      },
      Tail{"Mercato.Catalog.Exists", closing_and_aborting(connection)});
}

}  // namespace mercato
