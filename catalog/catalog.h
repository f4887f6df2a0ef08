// The catalogue, reading half: catalogues and the trees of their nodes, who may see and order what in them, the product
// categories with the visibilities that they have, the folders of favourites, and the business partners that are tied
// to catalogues and nodes. A category is what a node of the tree shows; PRODUCTSBYCATEGORY says which products it has.
//
// Never starts a transaction, never votes. Unless a comment says otherwise a failure closes what the method opened and
// is logged and raised under the label "Mercato.Catalog." and the method's name. Every method may raise what the store
// raises. One object serves one call at a time; between calls it keeps the one catalogue that getName and its three
// companions were last asked for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/business_class.h"
#include "frame/connection.h"
#include "frame/recordset.h"
#include "values/collection.h"
#include "values/dictionary.h"

namespace mercato {

// What a node shows: a plain folder, the products of its category, an attached file, the address in NODEURL, one
// product. A scoped type, since two of the names are those of other things.
enum class NodeType : std::int32_t { catalognode = 0, ProductCategory = 1, AttachedFile = 2, URL = 3, Product = 4 };

// A node by its catalogue, for clients; no call takes or returns it.
struct ApprovalNode {
  std::int32_t CatalogID;
  std::int32_t NodeID;
};

class Catalog : public ComponentOf<Catalog> {
 public:
  static const ClassTable& table();

  // Catalogues

  // CATALOGID to CATALOGNAME, by name, inactive ones too; empty when there is none. Label: "...getAllCatalogs".
  DictionaryPtr GetAllCatalogs();
  // The catalogue record: CATALOGID, CATALOGNAME, ACTIVE, APPROVALCATALOG, SUPPLIERCATALOGID, VERSION, CATALOGLAYOUT,
  // by these keys, as they are stored. Raises eCatalogNotFound, source "Mercato.Catalog.GetCatalog". Label:
  // "...getCatalog".
  CollectionPtr GetCatalog(std::int32_t iCatalogID);

  // One item of the catalogue record. The record is read when another id is asked for than last time, and never
  // refreshed. Raise what GetCatalog raises, 94 for a Null, 91 for the id 0 on a new object; nothing is logged here.
  std::string getName(std::int32_t iCatalogID);
  bool getActive(std::int32_t iCatalogID);
  bool getApproval(std::int32_t iCatalogID);
  bool UseCatalogLayOutParameter(std::int32_t iCatalogID);

  // CATALOGID to CATALOGNAME, by name, of the active catalogues in which the partner has a node or the whole; may be
  // empty.
  DictionaryPtr GetCatalogByBP(std::int32_t i_lBusinessPartnerID);

  // Product id, as given, to the array of the catalogues in which it can be reached, or of the nodes when
  // `bCatalogNode` is true. A product that cannot be reached has no entry. `i_aCatalogIDs` restricts the answer to
  // these catalogues: Null and Empty leave none, but an array of nothing but empty texts leaves all. Empty for Empty
  // and Null products. Raises 457 when a product comes twice, 13 for what is no array or no number, 94 for a Null.
  DictionaryPtr GetValidProductCatalogs(const Variant& i_aProductIDs, const Variant& i_aCatalogIDs = kMissing,
                                        const Variant& bCatalogNode = 0);

  // Nodes

  // A count of the changes of parent over the catalogue's nodes in the order of their ids, up to the node: 1 for a
  // root, the count of all for a node that is not there, -1 without any nodes. Not the depth in the tree. Raises 6 when
  // it goes beyond 16 bits.
  std::int16_t GetNodeLevel(std::int32_t i_lCatalogID, std::int32_t i_lNodeID);
  // The names from the root to the node, trimmed, with a backslash between them. Raises kNoCurrentRow for a node or a
  // parent that is not there; nothing is logged here. A circle of parents ends with the time of the call only.
  // `lNodeID` is left as it is.
  std::string GetCatalogNodeHierarchy(std::int32_t& lNodeID);

  // Rights. They are the user's own entries, for a whole catalogue or for a node with everything below it; those of
  // profiles never count. "View only" asks whether a restriction applies, "order" whether a grant does, and both are
  // false without an entry. The user's id goes into the statements as it stands, so that the store refuses one with a
  // quote in it.

  // NODEID to NODENAME, by name, of the nodes that were laid out flat for the user, of all catalogues or of these.
  // Raises 457 when a node was laid out twice, 13 for catalogues that are no array.
  DictionaryPtr GetAllUserAuthorizedCatalogNodes(const std::string& i_sUserID, const Variant& i_aCatalogIDs = kMissing);
  // NODEID to NODENAME. Above level 0 the user's entries of this level in all (!) catalogues, by SEQUENCE; for level 0
  // the roots of the catalogue, by id, or nothing (null) unless the user has the whole of it; below, nothing. Raises
  // 457 when a node has two entries.
  DictionaryPtr GetUserCatalogNodesByLevel(const std::string& i_sUserID, std::int32_t i_lCatalogID,
                                           std::int16_t i_iLevel);
  // NODEID to NODENAME of the nodes where the user's view of the catalogue begins: its roots, by id, when he has the
  // whole; else what GetUserCatalogNodesByLevel gives for his top level, then the highest of his entries on each path
  // that leads to a deeper one. Raises 94 for a user without entries, kNoCurrentRow for a deeper entry one of whose
  // ancestors is not in the catalogue. A circle of parents ends with the time of the call only.
  DictionaryPtr GetUserTopLevelCatalogNodes(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  // The least and the greatest level of the user's entries; 0 is an entry for the whole catalogue. Raise 94 for a user
  // without entries, 6 beyond 16 bits.
  std::int16_t GetTopAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID);
  std::int16_t GetBottomAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID);

  // Whether the user has an entry for the whole catalogue.
  bool IsEntireCatalogAuthorized(std::int32_t i_lCatalogID, const std::string& i_sUserID);
  // Whether the node was laid out flat for the user, or he has the whole of its catalogue. False for a node that is not
  // there; raises 94 for one without a catalogue.
  bool IsAuthorizedCatalogNode(const std::string& i_sUserID, std::int32_t i_lNodeID);

  // Whether the user's entry for the whole catalogue restricts him, or lets him order. Raise 94 when it says neither.
  bool IsViewOnlyCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  bool IsOrderCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID);
  // Whether an entry for the catalogue, an ancestor or the node restricts the user: a restriction cannot be lifted
  // below. The path is the caller's: catalogue id, ancestors in any order, node id. False for Null and for fewer than
  // two elements; raises 13 for what is no array.
  bool IsViewOnlyCatalogNode(const std::string& i_sUserID, const Variant& i_aIDs);
  // The same, the path being looked up. False for a node that is not there or has no catalogue. A parent that is not
  // there ends the path; a circle of parents ends with the time of the call only.
  bool IsViewOnlyCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID);
  // Whether the user may order from the node: nothing on its path restricts him, and the node's own entry or that for
  // the catalogue lets him. An entry for an ancestor can only take away. The rest as above.
  bool IsOrderCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID);

  // Product categories

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

  // Folders of favourites. The user goes into the statements as it stands.

  // FOLDERID to FOLDERNAME of the user's folders, by name; may be empty.
  DictionaryPtr GetFavoriteFolders(const std::string& i_sUserName);
  // Empty when the user has no such folder.
  std::string GetFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName);
  // -1 when the user has no folder of this name.
  std::int32_t GetFavoriteFolderID(const std::string& i_sFolderName, const std::string& i_sUserName);

  // Business partners and shop-out folders. All arguments are left as they are. These four are logged under their names
  // with "()" behind.

  // The partners of a node, or for a node of 0 or less those of the whole catalogue, as "1;2" in the store's order;
  // empty when there is none. Raises 6 for more than 32767 rows.
  std::string GetBPFromCatalogNodeByBP(std::int16_t& i_iNodeId, std::int16_t& i_iCatalogNodeId);
  // The ids of the shop-out folders, an array of shorts that may be empty: each as often as it has partners, those
  // without any are not found. Raises 6 for an id beyond 16 bits.
  Variant GetAllShopOutCatalogFolders();
  // NODEID, CATALOGID, NODENAME, NODEURL, NODEDESCRIPTION, BUSINESSPARTNERID: a row for each partner of the folder, cut
  // loose; no row when the node is no shop-out folder.
  RecordsetPtr GetShopOutFolderDetails(std::int16_t& i_iNodeId);
  // SHAREDID, SHAREDPWD of the user's entries for the node, and of those of a profile that has his id, cut loose; may
  // be empty. The user goes into the statement as it stands.
  RecordsetPtr GetFolderAuthenticationDetails(std::string& i_sUserID, std::int16_t& i_iNodeId);

  // Retired: raise -1 at every call. Use those of Mercato.TCatalog.
  void CopyCatalog(std::int32_t ilngCatalogIDOrig, std::int16_t iintDeepCopyLevel, const std::string& istrCopyName);
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  bool DeleteProductCategory(std::int32_t iCategoryID);
  std::int32_t InsertFavoriteFolder(const Variant& i_aFields, const Variant& i_aValues);
  bool UpdateFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName,
                                const std::string& i_sNewFolderName);
  bool DeleteFavoriteFolder(std::int32_t iFolderID, const std::string& i_sUserID);
  bool ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile = false);
  bool UpdateUserCatalogIDs(const std::string& i_sUserID, const Variant& i_aCatalogIDs, bool i_bIsProfile = false);
  bool PopulateUserNodes(const std::string& i_sUserID);
  bool InsertCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  bool UpdateCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  bool DeleteCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId);
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
  const Variant& cached_item(std::int32_t catalog, std::string_view column);

  CollectionPtr CatalogCache;
  std::int32_t CatalogCacheID = 0;
};

}  // namespace mercato
