#include "catalog/catalog.h"

#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"

namespace mercato {

const ClassTable& Catalog::table() {
  static const ClassTable table =
      ClassTable::of<Catalog>("Mercato.Catalog", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A109}", TransactionAttribute::none)
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
          .method("InsertProductCategory", &Catalog::InsertProductCategory, {"i_aFields", "i_aValues"})
          .deprecated("Mercato.TCatalog.InsertProductCategory")
          .method("UpdateProductCategory", &Catalog::UpdateProductCategory, {"i_aFields", "i_aValues"})
          .deprecated("Mercato.TCatalog.UpdateProductCategory")
          .method("DeleteProductCategory", &Catalog::DeleteProductCategory, {"iCategoryID"})
          .deprecated("Mercato.TCatalog.DeleteProductCategory")
          .implements_referential_integrity(&Catalog::IReferentialIntegrity_BeforeDelete,
                                            &Catalog::IReferentialIntegrity_Exists);
  return table;
}

ConnectionPtr Catalog::GetConnection() { return open_connection(shared_connection_string()); }

bool Catalog::InsertProductCategory(const Variant&, const Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.InsertProductCategory");
}

bool Catalog::UpdateProductCategory(const Variant&, const Variant&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.UpdateProductCategory");
}

bool Catalog::DeleteProductCategory(std::int32_t) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.DeleteProductCategory");
}

bool Catalog::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.IReferentialIntegrity_BeforeDelete");
}

bool Catalog::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TCatalog.IReferentialIntegrity_Exists");
}

}  // namespace mercato
