// SPDX-License-Identifier: Apache-2.0
// The folders in which users sort their favourites. No folder is inside of another. The root has no row: its favourites
// have the folder id 0.
#include "catalog/catalog_internal.h"
#include "frame/lib_general.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"
#include "mercato/t_catalog.h"

namespace mercato {

DictionaryPtr Catalog::GetFavoriteFolders(const std::string& i_sUserName) {
  return read_and_close(
      "Mercato.Catalog.GetFavoriteFolders", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT FOLDERID, FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = '")
               << value(i_sUserName) << "' ORDER BY FOLDERNAME";
      },
      names_by_id);
}

std::string Catalog::GetFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName) {
  return read_and_close(
      "Mercato.Catalog.GetFavoriteFolderName", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = '")
               << value(i_sUserName) << "' AND FOLDERID = " << i_lFolderID << " ";
      },
      [](const RecordsetPtr& folder) { return folder->Eof() ? std::string() : folder->Value("FOLDERNAME").to_text(); });
}

std::int32_t Catalog::GetFavoriteFolderID(const std::string& i_sFolderName, const std::string& i_sUserName) {
  return read_and_close(
      "Mercato.Catalog.GetFavoriteFolderID", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT FOLDERID FROM FAVORITEFOLDERS WHERE USERID = '")
               << value(i_sUserName) << "' AND FOLDERNAME = '" << value(Gen_QuoteSql(i_sFolderName)) << "'";
      },
      [](const RecordsetPtr& folder) { return folder->Eof() ? -1 : folder->Value("FOLDERID").to_long(); });
}

std::int32_t TCatalog::InsertFavoriteFolder(const Variant& i_aFields, const Variant& i_aValues) {
  Opened opened;
  return method(
      [&]() -> Answer<std::int32_t> {
        opened.connection = GetConnection();
        opened.rows = open_updatable(LiteralPiece("SELECT * FROM FAVORITEFOLDERS WHERE 0=1"), opened.connection,
                                     CursorType::keyset);
        opened.rows->AddNew();
        const Array& fields = i_aFields.to_array();
        const Array& values = i_aValues.to_array();
        for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
          const std::string field = fields.at(index).to_text();
          Variant value = values.at(index);
          // These two names are compared exactly. In another case they are columns like any other.
          const bool is_name = field == "FOLDERNAME";
          if ((is_name || field == "USERID") && value.to_text().empty()) return refused;
          // The name goes into no statement, yet it is quoted: an apostrophe is stored twice.
          if (is_name) value = Gen_QuoteSql(value.to_text());
          opened.rows->SetValue(field, value);
        }
        opened.rows->Update();
        const std::int32_t id = opened.rows->Value("FOLDERID").to_long();
        opened.close();
        Mts_SetComplete();
        return id;
      },
      // A failure casts no vote: what becomes of the transaction is the caller's to say.
      Tail{"Mercato.Catalog.InsertFavoriteFolder", closing(opened), -1});
}

bool TCatalog::UpdateFavoriteFolderName(std::int32_t i_lFolderID, const std::string& i_sUserName,
                                        const std::string& i_sNewFolderName) {
  Opened namesake;
  ConnectionPtr connection;
  return method(
      [&] {
        namesake.connection = GetConnection();
        connection = GetConnection();
        const std::string user = Gen_QuoteSql(i_sUserName);
        const std::string name = Gen_QuoteSql(i_sNewFolderName);
        namesake.rows = open_updatable(Sql("SELECT * FROM FAVORITEFOLDERS WHERE USERID = '")
                                           << value(user) << "' AND FOLDERNAME = '" << value(name) << "' ",
                                       namesake.connection, CursorType::keyset);
        const bool is_free = namesake.rows->Eof();  // the folder's own name counts as taken, too
        if (is_free)
          connection->Execute(Sql("UPDATE FAVORITEFOLDERS SET FOLDERNAME= '")
                              << value(name) << "' WHERE FOLDERID = " << i_lFolderID << " AND USERID = '" << value(user)
                              << "'");
        namesake.close();
        Sql_CloseConnection(connection);
        return is_free;  // without a vote
      },
      Tail{"Mercato.Catalog.UpdateFavoriteFolderName", [&] {
             Mts_SetAbort();
             namesake.close();
             Sql_CloseConnection(connection);
           }});
}

bool TCatalog::DeleteFavoriteFolder(std::int32_t iFolderID, const std::string& i_sUserID) {
  ConnectionPtr favorites;
  ConnectionPtr folders;
  return method(
      [&] {
        // This deletes for all users, and before anything is asked: the folder id 0 deletes the favourites of the root.
        favorites = GetConnection();
        favorites->Execute(Sql("DELETE FROM FAVORITES WHERE FOLDERID = ") << iFolderID);
        folders = GetConnection();
        const bool is_folder = iFolderID >= 1;
        if (is_folder)  // whether the user has it is not looked at
          folders->Execute(Sql("DELETE FROM FAVORITEFOLDERS WHERE FOLDERID=")
                           << iFolderID << " AND USERID= '" << value(i_sUserID) << "'");
        Sql_CloseConnection(folders);
        Mts_SetComplete();
        return is_folder;
      },
      Tail{"Mercato.Catalog.DeleteFavoriteFolder", closing_and_aborting(favorites)});
}

}  // namespace mercato
