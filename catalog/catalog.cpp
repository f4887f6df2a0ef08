// SPDX-License-Identifier: Apache-2.0
#include "mercato/catalog.h"

#include "catalog/catalog_internal.h"
#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "values/text.h"

namespace mercato {

const ClassTable& Catalog::table() {
  static const ClassTable table =
      ClassTable::of<Catalog>("Mercato.Catalog", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A109}", TransactionAttribute::none)
          .method("GetAllCatalogs", &Catalog::GetAllCatalogs)
          .method("GetCatalog", &Catalog::GetCatalog, {"iCatalogID"})
          .method("getName", &Catalog::getName, {"iCatalogID"})
          .method("getActive", &Catalog::getActive, {"iCatalogID"})
          .method("getApproval", &Catalog::getApproval, {"iCatalogID"})
          .method("UseCatalogLayOutParameter", &Catalog::UseCatalogLayOutParameter, {"iCatalogID"})
          .method("GetCatalogByBP", &Catalog::GetCatalogByBP, {"i_lBusinessPartnerID"})
          .method("GetValidProductCatalogs", &Catalog::GetValidProductCatalogs,
                  {"i_aProductIDs", optional("i_aCatalogIDs"), optional("bCatalogNode", 0)})
          .method("GetNodeLevel", &Catalog::GetNodeLevel, {"i_lCatalogID", "i_lNodeID"})
          .method("GetCatalogNodeHierarchy", &Catalog::GetCatalogNodeHierarchy, {"lNodeID"})
          .method("GetAllUserAuthorizedCatalogNodes", &Catalog::GetAllUserAuthorizedCatalogNodes,
                  {"i_sUserID", optional("i_aCatalogIDs")})
          .method("GetUserCatalogNodesByLevel", &Catalog::GetUserCatalogNodesByLevel,
                  {"i_sUserID", "i_lCatalogID", "i_iLevel"})
          .method("GetUserTopLevelCatalogNodes", &Catalog::GetUserTopLevelCatalogNodes, {"i_sUserID", "i_lCatalogID"})
          .method("IsEntireCatalogAuthorized", &Catalog::IsEntireCatalogAuthorized, {"i_lCatalogID", "i_sUserID"})
          .method("IsAuthorizedCatalogNode", &Catalog::IsAuthorizedCatalogNode, {"i_sUserID", "i_lNodeID"})
          .method("GetTopAuthorizedLevel", &Catalog::GetTopAuthorizedLevel, {"i_lCatalogID", "i_sUserID"})
          .method("GetBottomAuthorizedLevel", &Catalog::GetBottomAuthorizedLevel, {"i_lCatalogID", "i_sUserID"})
          .method("IsViewOnlyCatalog", &Catalog::IsViewOnlyCatalog, {"i_sUserID", "i_lCatalogID"})
          .method("IsViewOnlyCatalogNode", &Catalog::IsViewOnlyCatalogNode, {"i_sUserID", "i_aIDs"})
          .method("IsViewOnlyCatalogNodeEx", &Catalog::IsViewOnlyCatalogNodeEx, {"i_sUserID", "i_lNodeID"})
          .method("IsOrderCatalog", &Catalog::IsOrderCatalog, {"i_sUserID", "i_lCatalogID"})
          .method("IsOrderCatalogNodeEx", &Catalog::IsOrderCatalogNodeEx, {"i_sUserID", "i_lNodeID"})
          .method("GetProductCategoryData", &Catalog::GetProductCategoryData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_asProductCategoryIDs"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .method("GetVisibleProductCategories", &Catalog::GetVisibleProductCategories, {"iVisibility"})
          .method("GetVisibilitiesByCategories", &Catalog::GetVisibilitiesByCategories, {"i_aCatergoryIDs"})
          .method("GetJoinVisibilitiesByCategories", &Catalog::GetJoinVisibilitiesByCategories, {"i_aCatergoryIDs"})
          .method("GetVisibilityDescByID", &Catalog::GetVisibilityDescByID, {"i_aVisibilityIDs"})
          .method("GetProductCategoriesByName", &Catalog::GetProductCategoriesByName, {"i_sCategoryName"})
          .method("GetProfileCatalogIDs", &Catalog::GetProfileCatalogIDs, {"i_sProfileID"})
          .method("GetUserCatalogIDs", &Catalog::GetUserCatalogIDs, {"i_sUserID"})
          .method("GetCatalogUsers", &Catalog::GetCatalogUsers,
                  {optional("i_lCatalogID", -1), optional("i_bIsProfile", false)})
          .method("GetFavoriteFolders", &Catalog::GetFavoriteFolders, {"i_sUserName"})
          .method("GetFavoriteFolderName", &Catalog::GetFavoriteFolderName, {"i_lFolderID", "i_sUserName"})
          .method("GetFavoriteFolderID", &Catalog::GetFavoriteFolderID, {"i_sFolderName", "i_sUserName"})
          .method("GetBPFromCatalogNodeByBP", &Catalog::GetBPFromCatalogNodeByBP, {"i_iNodeId", "i_iCatalogNodeId"})
          .method("GetAllShopOutCatalogFolders", &Catalog::GetAllShopOutCatalogFolders)
          .method("GetShopOutFolderDetails", &Catalog::GetShopOutFolderDetails, {"i_iNodeId"})
          .method("GetFolderAuthenticationDetails", &Catalog::GetFolderAuthenticationDetails,
                  {"i_sUserID", "i_iNodeId"})
          .method("CopyCatalog", &Catalog::CopyCatalog, {"ilngCatalogIDOrig", "iintDeepCopyLevel", "istrCopyName"})
          .deprecated("Mercato.TCatalog.CopyCatalog")
          .method("InsertProductCategory", &Catalog::InsertProductCategory, {"i_aFields", "i_aValues"})
          .deprecated("Mercato.TCatalog.InsertProductCategory")
          .method("UpdateProductCategory", &Catalog::UpdateProductCategory, {"i_aFields", "i_aValues"})
          .deprecated("Mercato.TCatalog.UpdateProductCategory")
          .method("DeleteProductCategory", &Catalog::DeleteProductCategory, {"iCategoryID"})
          .deprecated("Mercato.TCatalog.DeleteProductCategory")
          .method("InsertFavoriteFolder", &Catalog::InsertFavoriteFolder, {"i_aFields", "i_aValues"})
          .deprecated("Mercato.TCatalog.InsertFavoriteFolder")
          .method("UpdateFavoriteFolderName", &Catalog::UpdateFavoriteFolderName,
                  {"i_lFolderID", "i_sUserName", "i_sNewFolderName"})
          .deprecated("Mercato.TCatalog.UpdateFavoriteFolderName")
          .method("DeleteFavoriteFolder", &Catalog::DeleteFavoriteFolder, {"iFolderID", "i_sUserID"})
          .deprecated("Mercato.TCatalog.DeleteFavoriteFolder")
          .method("ClearUserCatalogIDs", &Catalog::ClearUserCatalogIDs, {"i_sUserID", optional("i_bIsProfile", false)})
          .deprecated("Mercato.TCatalog.ClearUserCatalogIDs")
          .method("UpdateUserCatalogIDs", &Catalog::UpdateUserCatalogIDs,
                  {"i_sUserID", "i_aCatalogIDs", optional("i_bIsProfile", false)})
          .deprecated("Mercato.TCatalog.UpdateUserCatalogIDs")
          .method("PopulateUserNodes", &Catalog::PopulateUserNodes, {"i_sUserID"})
          .deprecated("Mercato.TCatalog.PopulateUserNodes")
          .method("InsertCatalogNodeByBP", &Catalog::InsertCatalogNodeByBP,
                  {"i_iNoideId", "i_iCatalogId", "i_aBPValues"})
          .deprecated("Mercato.TCatalog.InsertCatalogNodeByBP")
          .method("UpdateCatalogNodeByBP", &Catalog::UpdateCatalogNodeByBP,
                  {"i_iNoideId", "i_iCatalogId", "i_aBPValues"})
          .deprecated("Mercato.TCatalog.UpdateCatalogNodeByBP")
          .method("DeleteCatalogNodeByBP", &Catalog::DeleteCatalogNodeByBP, {"i_iNoideId", "i_iCatalogId"})
          .deprecated("Mercato.TCatalog.DeleteCatalogNodeByBP")
          .implements_referential_integrity(&Catalog::IReferentialIntegrity_BeforeDelete,
                                            &Catalog::IReferentialIntegrity_Exists);
  return table;
}

ConnectionPtr Catalog::GetConnection() { return open_connection(shared_connection_string()); }

Sql joined(std::span<const Variant> elements) {
  Sql list;
  bool first = true;
  for (const Variant& element : elements) {
    if (!first) list << ",";
    list << value(element.to_text());
    first = false;
  }
  return list;
}

DictionaryPtr names_by_id(const RecordsetPtr& rows) {
  constexpr std::size_t id = 0, name = 1;
  auto names = std::make_shared<Dictionary>();
  for (; !rows->Eof(); rows->MoveNext()) names->Add(rows->Value(id), rows->Value(name));
  return names;
}

std::string hierarchy_of(const std::vector<std::string>& names_upwards) {
  std::string path;
  for (auto name = names_upwards.rbegin(); name != names_upwards.rend(); ++name) {
    if (name != names_upwards.rbegin()) path += '\\';
    path += text::trim(*name);
  }
  return path;
}

RecordsetPtr held_rows(const Sql& sql) {
  auto rows = Recordset::create();
  rows->SetCursorLocation(CursorLocation::client);
  rows->Open(sql, shared_connection_string(), CursorType::forward_only, LockType::read_only, -1);
  rows->SetActiveConnection(nullptr);
  return rows;
}

std::size_t count_of(const Sql& sql) {
  return static_cast<std::size_t>(held_rows(sql)->Value(std::size_t{0}).to_long());
}

void Catalog::CopyCatalog(std::int32_t, std::int16_t, const std::string&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.CopyCatalog");
}

bool Catalog::InsertProductCategory(const Variant&, const Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.InsertProductCategory");
}

bool Catalog::UpdateProductCategory(const Variant&, const Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.UpdateProductCategory");
}

bool Catalog::DeleteProductCategory(std::int32_t) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.DeleteProductCategory");
}

// The text spells the name of its successor in another way.
std::int32_t Catalog::InsertFavoriteFolder(const Variant&, const Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.InsertFavouriteFolder");
}

bool Catalog::UpdateFavoriteFolderName(std::int32_t, const std::string&, const std::string&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.UpdateFavoriteFolderName");
}

bool Catalog::DeleteFavoriteFolder(std::int32_t, const std::string&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.DeleteFavoriteFolder");
}

bool Catalog::ClearUserCatalogIDs(const std::string&, bool) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.ClearUserCatalogIDs");
}

bool Catalog::UpdateUserCatalogIDs(const std::string&, const Variant&, bool) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.UpdateUserCatalogIDs");
}

bool Catalog::PopulateUserNodes(const std::string&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.PopulateUserNodes");
}

bool Catalog::InsertCatalogNodeByBP(std::int16_t&, std::int16_t&, Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.InsertCatalogNodeByBP");
}

bool Catalog::UpdateCatalogNodeByBP(std::int16_t&, std::int16_t&, Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.UpdateCatalogNodeByBP");
}

bool Catalog::DeleteCatalogNodeByBP(std::int16_t&, std::int16_t&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.DeleteCatalogNodeByBP");
}

bool Catalog::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.IReferentialIntegrity_BeforeDelete");
}

bool Catalog::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.IReferentialIntegrity_Exists");
}

}  // namespace mercato
