// The catalogue, reading half: so far the product categories and the visibilities that they have. A category is what a
// node of the catalogue tree shows; PRODUCTSBYCATEGORY says which products it has.
//
// Never starts a transaction, never votes. A failure closes what the method opened and is logged and raised under the
// label "Mercato.Catalog." and the method's name. Every method may raise what the store raises. One object serves one
// call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/component.h"
#include "frame/connection.h"
#include "frame/types/dictionary.h"

namespace mercato {

class Catalog : public ComponentOf<Catalog> {
 public:
  static const ClassTable& table();

  // The categories by pages: a DRecordset that stands on the page's position; `i_oPage` may be nothing. The ids, when
  // they are given, are joined with a blank: one works, and callers with several put the commas into the elements
  // themselves. Raises 6 for a page size beyond 16 bits, 13 for ids that are no array, 5 for sort fields that are no
  // columns.
  ComponentPtr GetProductCategoryData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                      std::int32_t i_iPageSize, const Variant& i_asProductCategoryIDs = kMissing,
                                      const std::string& i_sSortTableFieldNames = "");

  // CATEGORYID to CATEGORYNAME, by name, of the categories that have one of the visibilities in the array. Empty when
  // there is none, and for anything but an array, a single number too. `iVisibility` is left as it is.
  DictionaryPtr GetVisibleProductCategories(Variant& iVisibility);

  // VISIBILITYID to VISIBILITYDESCRIPTION; nothing (null), not an empty Dictionary, when there is none. The array may
  // be Empty or Missing for no restriction; an array without elements is refused by the store, anything else raises 13.
  // The visibilities that at least one of the categories has.
  DictionaryPtr GetVisibilitiesByCategories(const Variant& i_aCatergoryIDs);
  // Those that more than one row of the categories has: of three categories it is enough that two share one.
  DictionaryPtr GetJoinVisibilitiesByCategories(const Variant& i_aCatergoryIDs);
  // Those with these ids.
  DictionaryPtr GetVisibilityDescByID(const Variant& i_aVisibilityIDs);

  // The ids of the categories with a name like this, in which * stands for any text, in the store's order: an array, or
  // Null when there is none. The empty name stands for all.
  Variant GetProductCategoriesByName(const std::string& i_sCategoryName);

  // The catalogues that a profile has any row of, as "1;2", by name; empty when there is none. The profile goes into
  // the statement as it stands.
  std::string GetProfileCatalogIDs(const std::string& i_sProfileID);
  // The catalogues that a user has any row of, a node's too, in the store's order; empty when there is none.
  std::string GetUserCatalogIDs(const std::string& i_sUserID);
  // Fails at every call: with -1 the store refuses the statement; else raises 13, as the list of users is no text.
  Variant GetCatalogUsers(std::int32_t i_lCatalogID = -1, bool i_bIsProfile = false);

  // Retired: raise -1 at every call. Use those of Mercato.TCatalog.
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  bool DeleteProductCategory(std::int32_t iCategoryID);
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
};

}  // namespace mercato
