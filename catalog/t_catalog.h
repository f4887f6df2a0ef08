// The catalogue, writing half. Requires a transaction and votes on it: commit when a method succeeds; a failure closes
// what the method opened, votes abort, and is logged and raised under a label of the reading half, "Mercato.Catalog."
// and the method's name, unless something else is said. Every method may raise what the store raises. One object
// serves one call at a time; nothing is kept between calls.
//
// Field/value arrays: column names, in any case, and values with the same bounds; Empty and the empty text are written
// as Null, a blank stays a blank. Raise 13 for what is no array, 9 when there are fewer values than fields, 0x800A0CC1
// for a name that is no column, 13, 6 or 94 for a value that the column cannot take.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"
#include "frame/connection.h"

namespace mercato {

class TCatalog : public ComponentOf<TCatalog> {
 public:
  static const ClassTable& table();

  // A new category; true. Links the products of its UNSPSC code when UNSPSCIMPLEMENTED is "Yes".
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  // Changes the category named by the first CATEGORYID among the fields; true. Raises eProductCategoryNotFound, source
  // "Mercato.Catalog.UpdateProductCategory"; without a CATEGORYID it looks for category 0. Updates the product links
  // when UNSPSCIMPLEMENTED is "Yes", as if the code had been cleared when UNSPSCCODE is not among the fields.
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  // Deletes a category with its visibilities, its product links and the catalogue nodes that point at it, whatever
  // their type; true. Children of those nodes stay. False, with an abort vote and nothing raised or logged, when the
  // checker refuses. Raises eCatalogNotFound, source "Mercato.Catalog.Delete", when there is no such category.
  bool DeleteProductCategory(std::int32_t iCategoryID);

  // Copies a catalogue's row, and at level 1 its nodes; at any other level the row only. The copy is inactive and
  // marked as an approval catalogue; the new id is not returned. An empty name stands for "Copy Of " and the name, then
  // "Copy (2) Of " and the name, and so on, whichever is free, compared exactly; a name that is given may be taken.
  // Nodes point at the same categories; rights, favourites and shop-out marks are not copied; children of a node
  // outside of the catalogue become roots. Raises eCatalogNotFound, source "Mercato.Catalog.CopyCatalog", and 6
  // when the numbers up to 32767 are taken. Logged under "Catalog.CopyCatalog", what happens in its two steps also
  // under "Catalog.CopyCatalogNodes" and "Catalog.GenerateCopyCatalogNames".
  void CopyCatalog(std::int32_t ilngCatalogIDOrig, std::int16_t iintDeepCopyLevel, const std::string& istrCopyName);

  // Takes all assignments from a user or a profile, of whole catalogues and of nodes; true.
  bool ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile = false);
  // Replaces them by whole catalogues; true. The new rows are those of the user without blanks around, the old ones
  // those of the user as given. Leaves the flattened nodes as they are. Raises 13 for what is no array or no id.
  bool UpdateUserCatalogIDs(const std::string& i_sUserID, const Variant& i_aCatalogIDs, bool i_bIsProfile = false);
  // Rebuilds the flattened nodes of a user: of a whole catalogue all of its nodes, else the nodes where his view of the
  // catalogue starts and everything below them; true. A node is there as often as it is come to; a cycle in the tree is
  // ended by the call limit. The user goes into the statements as it stands.
  bool PopulateUserNodes(const std::string& i_sUserID);

  // The life of a catalogue. These four are logged under "Mercato.TCatalog." and the method's name.

  // A new catalogue; its id. Values are written as they are, the empty text too. Casts no vote when it fails. Raises 13
  // for what is no array, 9 when there are fewer values than fields, 6 for an index beyond 16 bits, 0x800A0CC1 for a
  // name that is no column, 13, 6 or 94 for a value that the column cannot take.
  std::int32_t InsertCatalog(const Variant& iFields, const Variant& iValues);
  // Makes the catalogue inactive and disables every product of the categories of its nodes of type 1, also those that
  // another catalogue has; true. Raises 3021 (0x800A0BCD) for an unknown catalogue. The argument is left as it is.
  bool ExpireCatalog(std::int32_t& lCatalogID);
  // Moves the rights of all users and profiles to another catalogue: those on the whole catalogue, and those on nodes
  // that have a twin there, a node of the same name and path in any case; those on other nodes are deleted. Rights that
  // the new catalogue has are deleted first; with bDelete false there may be none: false, nothing changed, no vote. The
  // first node of the name has to be the twin: else the call goes on until the call limit ends it. The arguments are
  // left as they are.
  bool ChangeAuthorizationsForUser(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID, bool bDelete = true);
  // Moves the favourites to the products of the new catalogue that have exactly the same part number and that the user
  // may order there, and deletes the others; true. When the new catalogue has none of the parts, the favourites of
  // these products are deleted for all users. Asks the rights in the new catalogue, so move them first. The arguments
  // are left as they are.
  bool ChangeFavorites(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID);

  // Folders of favourites

  // A new folder; its id. -1, with nothing raised or logged and no vote, when the value for FOLDERNAME or USERID is the
  // empty text; the names are compared in exactly this case, in another the empty text is written. A user may have a
  // name twice. The value for FOLDERNAME is stored with its apostrophes doubled, other than by the call below. Casts no
  // vote when it fails. Raises 94 for one of the two that is Null, else as for field/value arrays; but values are
  // written as they are.
  std::int32_t InsertFavoriteFolder(const Variant& i_aFields, const Variant& i_aValues);
  // Renames a folder of the user; true, also when he has no such folder. False when a folder of his has the name, be it
  // this one. Votes only when it fails.
  bool UpdateFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName,
                                const std::string& i_sNewFolderName);
  // Deletes all favourites with this folder id, of all users, then the folder if the user has it; true whether or not
  // he has. For 0 and less false: but the favourites with this id, those in no folder, are gone all the same, and the
  // vote is commit. The user goes into the statement as it stands.
  bool DeleteFavoriteFolder(std::int32_t iFolderID, const std::string& i_sUserID);

  // Business partners. A node of 0 or less stands for the whole catalogue. The partners come as "1;2", and the variable
  // is left with an array of their texts, so that a second call with it raises 13. Raise 13 or 6 for a partner that is
  // no id of 16 bits.

  // Ties the partners; true. Those that are tied already are tied again.
  bool InsertCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  // Ties these partners instead of those that are tied; true. As many as before take the rows' places in the store's
  // order; else the rows are deleted first. Votes only when it fails. When the delete fails nothing tells of it: with
  // an empty list the rows stay, fewer partners take the first rows' places, more raise kNoCurrentRow. Logged with "()"
  // behind its name.
  bool UpdateCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  // Takes all partners away; true. False, with nothing raised or logged, when that fails. Never votes.
  bool DeleteCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId);

  // True at every call; votes commit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // Whether the first field and value, CATEGORYID or BUSINESSPARTNERID in any case, are those of a category or of a
  // partner's node. False for empty arrays. Another name is refused by the store. The value goes into the statement as
  // it stands. Logged under "Mercato.Catalog.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
  std::string GenerateCopyCatalogNames(const std::string& name);
  void CopyCatalogNodes(std::int32_t original_catalog, std::int32_t new_catalog);
};

}  // namespace mercato
