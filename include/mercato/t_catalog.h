// SPDX-License-Identifier: Apache-2.0
// The catalogue, writing half: product categories, catalogues with their copies, end and successors, rights, folders of
// favourites, and ties of business partners. One object serves one call at a time, on any thread; nothing is kept
// between calls.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/connection.h"
#include "mercato/export.h"

namespace mercato {

/// The writing half of the catalogue. It requires a transaction and votes on it: commit when a method succeeds, abort
/// when it fails, unless the method says otherwise. What was written is then kept as a whole or not at all.
///
/// A failure closes what the method has opened, votes abort, and is logged and raised under a label of the reading
/// half, "Mercato.Catalog." and the method's name, unless the method says otherwise. Every method may raise what the
/// store raises: 0x80040E14 for a statement that it refuses, 0x80040E2F for a violated constraint, 0x80040E57 for a
/// text that is too long, 0x80040E31 when the call takes longer than its limit, 0x80004005 for a store that cannot be
/// written, and 7 when there is no memory. A number that the library raises without a source of its own has the source
/// "Mercato".
///
/// Field/value arrays are column names, in any case, and values with the same bounds. Empty and the empty text are
/// written as Null, a blank stays a blank. They raise 13 for what is no array, 9 when there are fewer values than
/// fields, 0x800A0CC1 for a name that is no column, and 13, 6 or 94 for a value that the column cannot take.
class MERCATO_API TCatalog : public ComponentOf<TCatalog> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  // Product categories

  /// Writes a new category from field/value arrays; true.
  /// When UNSPSCIMPLEMENTED is "Yes", it links the products of the category's UNSPSC code.
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  /// Changes the category that the first CATEGORYID among the fields names; true.
  /// Without a CATEGORYID it looks for category 0. When UNSPSCIMPLEMENTED is "Yes", it updates the product links, and
  /// arrays without an UNSPSCCODE count as if the code had been cleared. Raises eProductCategoryNotFound, source
  /// "Mercato.Catalog.UpdateProductCategory", when there is no such category.
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  /// Deletes a category with its visibilities, its product links and the catalogue nodes that point at it, whatever
  /// their type; true. Children of those nodes stay.
  /// False, with an abort vote and nothing raised, logged or changed, when the reference checker refuses. Raises
  /// eCatalogNotFound, source "Mercato.Catalog.Delete", when there is no such category.
  bool DeleteProductCategory(std::int32_t iCategoryID);

  // Catalogues

  /// Copies a catalogue's row, and at level 1 its nodes; at any other level the row only. The new id is not returned.
  /// The copy is inactive and marked as an approval catalogue. An empty name stands for "Copy Of " and the name, then
  /// "Copy (2) Of " and the name, and so on, whichever is free, compared exactly; a name that is given may be taken.
  /// Nodes point at the same categories. Rights, favourites and shop-out marks are not copied; children of a node
  /// outside of the catalogue become roots. Raises eCatalogNotFound, source "Mercato.Catalog.CopyCatalog", when there
  /// is no such catalogue, and 6 when the numbers up to 32767 are taken. Labelled "Catalog.CopyCatalog", what happens
  /// in its two steps also "Catalog.CopyCatalogNodes" and "Catalog.GenerateCopyCatalogNames".
  void CopyCatalog(std::int32_t ilngCatalogIDOrig, std::int16_t iintDeepCopyLevel, const std::string& istrCopyName);

  /// Writes a new catalogue from field/value arrays and returns its id.
  /// Values are written as they are, the empty text too. A failure casts no vote. Raises 6 for an index beyond 16 bits.
  /// Labelled "Mercato.TCatalog.InsertCatalog".
  std::int32_t InsertCatalog(const Variant& iFields, const Variant& iValues);
  /// Makes the catalogue inactive and disables every product of the categories of its nodes of type 1, also those that
  /// another catalogue shows; true.
  /// Raises kNoCurrentRow (0x800A0BCD) when there is no such catalogue. Labelled "Mercato.TCatalog.ExpireCatalog". The
  /// argument is left as it is.
  bool ExpireCatalog(std::int32_t& lCatalogID);
  /// Moves the rights of all users and profiles from the current catalogue to the new one; true.
  /// Those on the whole catalogue, and those on nodes that have a twin in the new one: a node of the same name and
  /// path, in any case. Those on other nodes are deleted. Rights that the new catalogue has are deleted first; when
  /// `bDelete` is false there may be none: the answer is then false, with nothing changed, raised or logged, and
  /// without a vote. The first node of the name has to be the twin: else, and in a circle of parents, the call goes on
  /// until its time is up. Raises kNoCurrentRow when a parent is missing above a node or its twin. Labelled
  /// "Mercato.TCatalog.ChangeAuthorizationsForUser". The arguments are left as they are.
  bool ChangeAuthorizationsForUser(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID, bool bDelete = true);
  /// Moves the favourites of the current catalogue's products to products of the new one; true.
  /// A favourite goes to the first product with exactly the same part number from whose node the user may order; the
  /// others are deleted. When the new catalogue has none of the parts, the favourites of these products are deleted for
  /// all users. The call asks the rights in the new catalogue, so move them first. Raises 94 for a favourite without a
  /// user. A circle of parents ends with the time of the call only. Labelled "Mercato.TCatalog.ChangeFavorites". The
  /// arguments are left as they are.
  bool ChangeFavorites(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID);

  // Catalogues of users

  /// Takes all assignments from a user, or from a profile when `i_bIsProfile` is true: those of whole catalogues and
  /// those of nodes; true.
  bool ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile = false);
  /// Replaces all assignments of a user, or of a profile, by whole catalogues; true. The flattened nodes stay as they
  /// are.
  /// `i_aCatalogIDs` is an array of ids, which need not be those of catalogues. The new rows are those of the user
  /// without blanks around, the old ones those of the user as given. Raises 13 for what is no array or no id, 94 for a
  /// Null.
  bool UpdateUserCatalogIDs(const std::string& i_sUserID, const Variant& i_aCatalogIDs, bool i_bIsProfile = false);
  /// Rebuilds the flattened nodes of a user from his assignments; true.
  /// Of a whole catalogue all of its nodes, else the nodes where his view of the catalogue begins and everything below
  /// them. A node is there as often as it is come to. The user goes into the statements as it stands, so that the store
  /// refuses one with a quote. Raises what Mercato.Catalog's GetUserTopLevelCatalogNodes raises. A circle in the tree
  /// ends with the time of the call only.
  bool PopulateUserNodes(const std::string& i_sUserID);

  // Folders of favourites

  /// Writes a new folder from field/value arrays and returns its id.
  /// -1, with nothing raised, logged or written and no vote, when the value for FOLDERNAME or USERID is the empty text.
  /// These two names are compared in exactly this case; in another the empty text is written. A user may have a name
  /// twice. Values are written as they are, but the value for FOLDERNAME is stored with its apostrophes doubled, other
  /// than by UpdateFavoriteFolderName. A failure casts no vote. Raises 94 when one of the two is Null.
  std::int32_t InsertFavoriteFolder(const Variant& i_aFields, const Variant& i_aValues);
  /// Renames a folder of the user; true, also when he has no such folder.
  /// False, with nothing changed, when a folder of his has the name, be it this one. It votes only when it fails,
  /// before it closes.
  bool UpdateFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName,
                                const std::string& i_sNewFolderName);
  /// Deletes all favourites with this folder id, of all users, then the folder if the user has it; true whether or not
  /// he has.
  /// For 0 and less false: but the favourites with this id, those in no folder, are gone all the same, and the vote is
  /// commit. The user goes into the statement as it stands, so that the store refuses one with a quote.
  bool DeleteFavoriteFolder(std::int32_t iFolderID, const std::string& i_sUserID);

  // Business partners

  /// Ties the partners to a node, or for a node of 0 or less to the whole catalogue; true. Those that are tied already
  /// are tied again.
  /// `i_aBPValues` has the ids of the partners as "1;2", and is left with an array of their texts, so that a second
  /// call with it raises 13. Raises 13 or 6 for a partner that is no id of 16 bits.
  bool InsertCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  /// Ties these partners instead of those that are tied; true. Arguments and failures are as those of
  /// InsertCatalogNodeByBP.
  /// As many as before take the rows' places in the store's order; else the rows are deleted first. It votes only when
  /// it fails, before it closes. A delete that fails goes unnoticed: then an empty list leaves the rows, fewer partners
  /// take the places of the first rows, and more raise kNoCurrentRow. Labelled
  /// "Mercato.Catalog.UpdateCatalogNodeByBP()".
  bool UpdateCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues);
  /// Takes all partners from a node, or for a node of 0 or less from the whole catalogue; true. False, with nothing
  /// raised or logged, when that fails. It never votes.
  bool DeleteCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId);

  // For reference checkers

  /// True at every call.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  /// Whether the first field and value, CATEGORYID or BUSINESSPARTNERID in any case, are those of a category or of a
  /// partner's tie.
  /// False for empty arrays. Another name is refused by the store. The value goes into the statement as it stands.
  /// Raises 9 when there is a field and no value. Labelled "Mercato.Catalog.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
  std::string GenerateCopyCatalogNames(const std::string& name);
  void CopyCatalogNodes(std::int32_t original_catalog, std::int32_t new_catalog);
};

}  // namespace mercato
