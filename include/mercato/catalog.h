// SPDX-License-Identifier: Apache-2.0
// The catalogue, reading half: catalogues and the trees of their nodes, who may see and order what in them, product
// categories and their visibilities, the folders of favourites, and the business partners that are tied to catalogues
// and nodes. A category is what a node of the tree shows; PRODUCTSBYCATEGORY says which products it has.
//
// One object serves one call at a time, on any thread. Between calls it keeps the one catalogue that getName and its
// three companions were last asked for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/class_table.h"
#include "mercato/collection.h"
#include "mercato/connection.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/recordset.h"

namespace mercato {

/// What a node shows: nothing of its own (a plain folder), the products of its category, an attached file, the address
/// in NODEURL, or one product. A scoped type, since two of the names are those of other things.
enum class NodeType : std::int32_t { catalognode = 0, ProductCategory = 1, AttachedFile = 2, URL = 3, Product = 4 };

/// A node by its catalogue, for clients; no call takes or returns it.
struct ApprovalNode {
  std::int32_t CatalogID;  ///< of the catalogue
  std::int32_t NodeID;     ///< of the node in it
};

/// The reading half of the catalogue. It never starts a transaction and never votes, and it changes nothing.
///
/// Ids are the store's own and may be any number: one that is not there is no failure, unless a method says so. An
/// argument that is passed by reference is left as it is.
///
/// Rights are the user's own entries, for a whole catalogue or for a node with everything below it; those of profiles
/// never count. Where a method asks for a user, his id goes into the statements as it stands, so that the store refuses
/// one with a quote, unless the method says otherwise; case and trailing blanks do not count.
///
/// Every method may raise what the store raises: 0x80040E14 for a statement that it refuses, 0x80040E31 when the call
/// takes longer than its limit, 0x80004005 for a store that cannot be read, and 7 when there is no memory. Unless a
/// method says otherwise a failure closes what the method has opened, and is logged and raised under the label
/// "Mercato.Catalog." and the method's name; a number that the library raises without a source of its own has the
/// source "Mercato".
class MERCATO_API Catalog : public ComponentOf<Catalog> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  // Catalogues

  /// All catalogues by name, inactive ones too: CATALOGID to CATALOGNAME. Empty when there is none.
  /// A failure is labelled "Mercato.Catalog.getAllCatalogs".
  DictionaryPtr GetAllCatalogs();
  /// The record of the catalogue with this id: CATALOGID, CATALOGNAME, ACTIVE, APPROVALCATALOG, SUPPLIERCATALOGID,
  /// VERSION and CATALOGLAYOUT by these keys, as they are stored.
  /// Raises eCatalogNotFound, source "Mercato.Catalog.GetCatalog", when there is none. A failure is labelled
  /// "Mercato.Catalog.getCatalog".
  CollectionPtr GetCatalog(std::int32_t iCatalogID);

  /// The name of the catalogue with this id.
  /// The record is read when another id is asked for than last time by one of these four methods. It is never
  /// refreshed: an object that outlives a change answers the old value. Raises what GetCatalog raises, 94 for a Null,
  /// and 91 for the id 0 as long as no catalogue was read. These four log nothing themselves.
  std::string getName(std::int32_t iCatalogID);
  /// Whether the catalogue with this id is active. Raises as getName.
  bool getActive(std::int32_t iCatalogID);
  /// Whether the catalogue with this id is one for approval. Raises as getName.
  bool getApproval(std::int32_t iCatalogID);
  /// Whether the catalogue with this id has a layout of its own. Raises as getName.
  bool UseCatalogLayOutParameter(std::int32_t iCatalogID);

  /// The active catalogues of which the partner has the whole or a node, by name: CATALOGID to CATALOGNAME. Empty when
  /// there is none.
  DictionaryPtr GetCatalogByBP(std::int32_t i_lBusinessPartnerID);

  /// Where products can be reached: the product id, as given, to the array of catalogue ids, or of node ids when
  /// `bCatalogNode` is true. A product that cannot be reached has no entry.
  /// `i_aProductIDs` is an array of ids; Empty and Null stand for no product. `i_aCatalogIDs` is an array of the
  /// catalogues that count: Missing stands for all, and so does an array of nothing but empty texts, but Null and Empty
  /// leave none. A node counts whatever its type is. Raises 457 when a product that can be reached comes twice, 13 for
  /// what is no array or no number, 94 for a Null in the arrays.
  DictionaryPtr GetValidProductCatalogs(const Variant& i_aProductIDs, const Variant& i_aCatalogIDs = kMissing,
                                        const Variant& bCatalogNode = 0);

  // Nodes

  /// The number of changes of parent over the catalogue's nodes in the order of their ids, up to the node. This is not
  /// the depth in the tree.
  /// 1 for a root, the number of all changes for a node that is not there, -1 when the catalogue has no nodes. Raises 6
  /// beyond 32767.
  std::int16_t GetNodeLevel(std::int32_t i_lCatalogID, std::int32_t i_lNodeID);
  /// The names from the root to the node, each trimmed, with a backslash between them.
  /// Raises kNoCurrentRow for a node or a parent that is not there, 94 for a name that is Null. A circle of parents
  /// ends with the time of the call only. This method logs nothing itself.
  std::string GetCatalogNodeHierarchy(std::int32_t& lNodeID);

  // Rights

  /// The nodes that were laid out flat for the user, by name: NODEID to NODENAME.
  /// `i_aCatalogIDs` is an array of the catalogues that count; Missing stands for all, and an array without elements is
  /// refused by the store. Raises 457 when a node was laid out twice, 13 for catalogues that are no array, 94 for a
  /// Null among them.
  DictionaryPtr GetAllUserAuthorizedCatalogNodes(const std::string& i_sUserID, const Variant& i_aCatalogIDs = kMissing);
  /// The nodes of one level that the user has entries for: NODEID to NODENAME.
  /// Above level 0 the user's entries of this level in all catalogues, whatever catalogue is asked for, by SEQUENCE. At
  /// level 0 the roots of the catalogue by id, or nothing (null) unless the user has the whole of it. Below level 0
  /// nothing (null). Raises 457 when a node has two entries.
  DictionaryPtr GetUserCatalogNodesByLevel(const std::string& i_sUserID, std::int32_t i_lCatalogID,
                                           std::int16_t i_iLevel);
  /// The nodes where the user's view of the catalogue begins: NODEID to NODENAME.
  /// The roots by id when he has the whole catalogue. Else what GetUserCatalogNodesByLevel gives for his top level,
  /// then for each deeper entry the highest of his entries on its way up, unless the way ends at a root that is there
  /// already. Empty below level 0. Raises 94 for a user without entries, 457 for a node with two entries of the top
  /// level, kNoCurrentRow for a deeper entry of which the node or one above it is not in the catalogue. A circle of
  /// parents ends with the time of the call only.
  DictionaryPtr GetUserTopLevelCatalogNodes(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  /// The least level of the user's entries in the catalogue; 0 is an entry for the whole. Raises 94 for a user without
  /// entries, 6 for a level beyond 16 bits.
  std::int16_t GetTopAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID);
  /// The greatest level of the user's entries in the catalogue. Raises as GetTopAuthorizedLevel.
  std::int16_t GetBottomAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID);

  /// Whether the user has an entry for the whole catalogue, whatever it says.
  bool IsEntireCatalogAuthorized(std::int32_t i_lCatalogID, const std::string& i_sUserID);
  /// Whether the user sees the node: it was laid out flat for him, or he has the whole of its catalogue.
  /// False, with nothing raised or logged, for a node that is not there; raises 94 for one without a catalogue.
  bool IsAuthorizedCatalogNode(const std::string& i_sUserID, std::int32_t i_lNodeID);

  /// Whether the user's entry for the whole catalogue restricts him. False without an entry. Of several entries a
  /// restriction counts. Raises 94 for an entry that says neither and is beside no restriction.
  bool IsViewOnlyCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  /// Whether the user's entry for the whole catalogue lets him order. False without an entry, and when another entry
  /// restricts. Raises 94 as IsViewOnlyCatalog.
  bool IsOrderCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  /// Whether an entry for the catalogue, an ancestor or the node restricts the user: a restriction cannot be lifted
  /// below.
  /// `i_aIDs` is the way that is looked at: the catalogue's id, the ancestors in any order, the node's id. False, with
  /// nothing raised or logged, for Null and for fewer than two elements. Raises 13 for what is no array or has a
  /// catalogue that is no number, 94 for a Null among the ids and for an entry that says neither.
  bool IsViewOnlyCatalogNode(const std::string& i_sUserID, const Variant& i_aIDs);
  /// Whether an entry for the node's catalogue, the node or a node above it restricts the user.
  /// The way up is looked up. A parent that is not there ends it; a circle of parents ends with the time of the call
  /// only. False, with nothing raised or logged, for a node that is not there or has no catalogue. Raises 94 for an
  /// entry on the way that says neither and is beside no restriction.
  bool IsViewOnlyCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID);
  /// Whether the user may order from the node: nothing on its way up restricts him, and its own entry or that for the
  /// catalogue lets him. An entry for an ancestor can only take away. The rest as IsViewOnlyCatalogNodeEx.
  bool IsOrderCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID);

  // Product categories

  /// The product categories by pages: a DRecordset that stands on the page's position.
  /// `i_oPage` is the web tier's page, which knows the position, or nothing; `i_sPersistedStateInfo` is the state that
  /// an earlier list gave, or empty; `i_iPageSize` is the number of rows, up to 32767. `i_asProductCategoryIDs` is an
  /// array of the ids that count, Missing for all. The ids are joined with a blank: one works, and callers with several
  /// put the commas into the elements themselves. `i_sSortTableFieldNames` are columns with commas between them; empty
  /// for CATEGORYID. Raises 6 for a page size beyond 16 bits, 13 for ids that are no array, 5 for sort fields that are
  /// no columns.
  ComponentPtr GetProductCategoryData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                      std::int32_t i_iPageSize, const Variant& i_asProductCategoryIDs = kMissing,
                                      const std::string& i_sSortTableFieldNames = "");

  /// The categories that have one of the visibilities, by name: CATEGORYID to CATEGORYNAME. Empty when there is none.
  /// `iVisibility` is an array of visibility ids; anything else, a single number too, gives an empty answer, and an
  /// array without elements is refused by the store. Raises 94 for a Null in the array.
  DictionaryPtr GetVisibleProductCategories(Variant& iVisibility);

  /// The visibilities that at least one of the categories has: VISIBILITYID to VISIBILITYDESCRIPTION, or nothing
  /// (null), not an empty Dictionary, when there is none.
  /// The argument is an array of ids; Empty and Missing stand for no restriction, and an array without elements is
  /// refused by the store. Raises 13 for anything else, 94 for a Null in the array.
  DictionaryPtr GetVisibilitiesByCategories(const Variant& i_aCatergoryIDs);
  /// The visibilities that more than one row of the categories has: of three categories it is enough that two share
  /// one. Argument, answer and failures are as those of GetVisibilitiesByCategories.
  DictionaryPtr GetJoinVisibilitiesByCategories(const Variant& i_aCatergoryIDs);
  /// The visibilities with these ids. Argument, answer and failures are as those of GetVisibilitiesByCategories.
  DictionaryPtr GetVisibilityDescByID(const Variant& i_aVisibilityIDs);

  /// The ids of the categories with a name like this, as an array in the store's order, or Null when there is none.
  /// In `i_sCategoryName` an asterisk stands for any text; the empty name stands for all categories.
  Variant GetProductCategoriesByName(const std::string& i_sCategoryName);

  /// The ids of the catalogues in which a profile has any entry, by the catalogues' names, as "1;2". Empty when there
  /// is none. The profile goes into the statement as it stands, so that the store refuses one with a quote.
  std::string GetProfileCatalogIDs(const std::string& i_sProfileID);
  /// The ids of the catalogues in which a user has any entry, for a node too, in the store's order, as "1;2". Empty
  /// when there is none. The user's id may have quotes. Raises 94 for an entry without a catalogue.
  std::string GetUserCatalogIDs(const std::string& i_sUserID);
  /// Fails at every call: the store refuses the statement for the catalogue -1, and for others the call raises 13.
  Variant GetCatalogUsers(std::int32_t i_lCatalogID = -1, bool i_bIsProfile = false);

  // Folders of favourites

  /// The folders of a user by name: FOLDERID to FOLDERNAME. Empty when there is none.
  DictionaryPtr GetFavoriteFolders(const std::string& i_sUserName);
  /// The name of a folder; empty when the user has none with this id.
  std::string GetFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName);
  /// The id of the first folder with this name, or -1 when the user has none. The name may have quotes.
  std::int32_t GetFavoriteFolderID(const std::string& i_sFolderName, const std::string& i_sUserName);

  // Business partners and shop-out folders

  /// The ids of the business partners that are tied to a node, or for a node of 0 or less to the whole catalogue, as
  /// "1;2" in the store's order. Empty when there is none.
  /// `i_iCatalogNodeId` is the catalogue's id. Raises 6 for more than 32767 rows, 94 for a tie without a partner.
  /// Labelled "Mercato.Catalog.GetBPFromCatalogNodeByBP()".
  std::string GetBPFromCatalogNodeByBP(std::int16_t& i_iNodeId, std::int16_t& i_iCatalogNodeId);
  /// The ids of the shop-out folders, an array of 16-bit numbers that may be empty.
  /// Each is there as often as it has partners; a folder without any is not found. Raises 6 for an id beyond 16 bits.
  /// Labelled "Mercato.Catalog.GetAllShopOutCatalogFolders()".
  Variant GetAllShopOutCatalogFolders();
  /// A shop-out folder: NODEID, CATALOGID, NODENAME, NODEURL, NODEDESCRIPTION and BUSINESSPARTNERID, one row for each
  /// of its partners, cut loose. No row when the node is no shop-out folder or has no partner. Labelled
  /// "Mercato.Catalog.GetShopOutFolderDetails()".
  RecordsetPtr GetShopOutFolderDetails(std::int16_t& i_iNodeId);
  /// The accounts that the user has at a node: SHAREDID and SHAREDPWD of each of his entries, and of those of a profile
  /// that has his id, cut loose. It may be empty. Labelled "Mercato.Catalog.GetFolderAuthenticationDetails()".
  RecordsetPtr GetFolderAuthenticationDetails(std::string& i_sUserID, std::int16_t& i_iNodeId);

  // Retired. The text that they raise names the method that replaces them.

  /// Retired: raises -1. Use Mercato.TCatalog.CopyCatalog.
  void CopyCatalog(std::int32_t ilngCatalogIDOrig, std::int16_t iintDeepCopyLevel, const std::string& istrCopyName);
  /// Retired: raises -1. Use Mercato.TCatalog.InsertProductCategory.
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  /// Retired: raises -1. Use Mercato.TCatalog.UpdateProductCategory.
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  /// Retired: raises -1. Use Mercato.TCatalog.DeleteProductCategory.
  bool DeleteProductCategory(std::int32_t iCategoryID);
  /// Retired: raises -1. Use Mercato.TCatalog.InsertFavoriteFolder.
  std::int32_t InsertFavoriteFolder(const Variant& i_aFields, const Variant& i_aValues);
  /// Retired: raises -1. Use Mercato.TCatalog.UpdateFavoriteFolderName.
  bool UpdateFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName,
                                const std::string& i_sNewFolderName);
  /// Retired: raises -1. Use Mercato.TCatalog.DeleteFavoriteFolder.
  bool DeleteFavoriteFolder(std::int32_t iFolderID, const std::string& i_sUserID);
  /// Retired: raises -1. Use Mercato.TCatalog.ClearUserCatalogIDs.
  bool ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile = false);
  /// Retired: raises -1. Use Mercato.TCatalog.UpdateUserCatalogIDs.
  bool UpdateUserCatalogIDs(const std::string& i_sUserID, const Variant& i_aCatalogIDs, bool i_bIsProfile = false);
  /// Retired: raises -1. Use Mercato.TCatalog.PopulateUserNodes.
  bool PopulateUserNodes(const std::string& i_sUserID);
  /// Retired: raises -1. Use Mercato.TCatalog.InsertCatalogNodeByBP.
  bool InsertCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  /// Retired: raises -1. Use Mercato.TCatalog.UpdateCatalogNodeByBP.
  bool UpdateCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  /// Retired: raises -1. Use Mercato.TCatalog.DeleteCatalogNodeByBP.
  bool DeleteCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId);
  /// Retired: raises -1. Use Mercato.TCatalog.IReferentialIntegrity_BeforeDelete.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  /// Retired: raises -1. Use Mercato.TCatalog.IReferentialIntegrity_Exists.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
  const Variant& cached_item(std::int32_t catalog, std::string_view column);

  CollectionPtr CatalogCache;
  std::int32_t CatalogCacheID = 0;
};

}  // namespace mercato
