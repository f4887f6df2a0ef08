// SPDX-License-Identifier: Apache-2.0
// The catalogues that users and profiles have. Catalog reads them; TCatalog writes them, and lays out the nodes of
// users.
#include "catalog/catalog_internal.h"
#include "catalog/t_catalog_internal.h"
#include "frame/lib_general.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"
#include "mercato/t_catalog.h"
#include "values/text.h"

namespace mercato {
namespace {

std::string catalog_ids(const RecordsetPtr& rows) {
  std::string ids;
  for (; !rows->Eof(); rows->MoveNext()) {
    if (!ids.empty()) ids += kBetweenIds;
    ids += rows->Value("CATALOGID").to_text();
  }
  return ids;
}

// The flattened nodes of one user, which wait in memory for UpdateBatch.
class LaidOutNodes {
 public:
  LaidOutNodes(const std::string& user, Recordset& target, Opened& reader)
      : user_(user), target_(target), reader_(reader) {}

  // All nodes of the catalogue.
  void add_whole(std::int32_t catalog) {
    reader_.rows =
        open_read_only(Sql("SELECT NODEID FROM CATALOGNODE WHERE CATALOGID =") << catalog << " ", reader_.connection);
    for (; !reader_.rows->Eof(); reader_.rows->MoveNext()) add(catalog, reader_.rows->Value("NODEID"));
    Sql_CloseRecordset(reader_.rows);
  }

  // These nodes and everything below them, level by level until one is empty. A child counts whatever its catalogue is,
  // and a node is added as often as it is found.
  void add_trees(std::int32_t catalog, const Dictionary& tops) {
    Sql level;
    const auto add_to_level = [&](const Variant& node) {
      add(catalog, node);
      if (!level.text().empty()) level << ",";
      level << value(node.to_text());
    };
    tops.for_each([&](const Variant& node, const Variant&) { add_to_level(node); });
    while (!level.text().empty()) {
      reader_.rows =
          open_read_only(Sql("SELECT NODEID FROM CATALOGNODE WHERE PARENTNODEID IN (") << level << ") ORDER BY NODEID",
                         reader_.connection);
      level = {};
      for (; !reader_.rows->Eof(); reader_.rows->MoveNext()) add_to_level(reader_.rows->Value("NODEID"));
      Sql_CloseRecordset(reader_.rows);
    }
  }

 private:
  void add(std::int32_t catalog, const Variant& node) {
    target_.AddNew();
    target_.SetValue("CATALOGID", catalog);
    target_.SetValue("USERID", user_);
    target_.SetValue("NODEID", node);
  }

  const std::string& user_;
  Recordset& target_;
  Opened& reader_;
};

}  // namespace

std::string Catalog::GetProfileCatalogIDs(const std::string& i_sProfileID) {
  return read_and_close(
      "Mercato.Catalog.GetProfileCatalogIDs", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT DISTINCT CNU.CATALOGID AS CATALOGID,C.CATALOGNAME FROM "
                   "CATALOGNODEBYUSER CNU,CATALOG C WHERE USERID='")
               << value(i_sProfileID) << "' AND ISPROFILE = 1 AND CNU.CATALOGID = C.CATALOGID ORDER BY C.CATALOGNAME";
      },
      catalog_ids);
}

std::string Catalog::GetUserCatalogIDs(const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.GetUserCatalogIDs", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT DISTINCT CATALOGID FROM "
                   "CATALOGNODEBYUSER WHERE USERID='")
               << value(Gen_QuoteSql(i_sUserID)) << "' AND ISPROFILE = 0 ";
      },
      catalog_ids);
}

Variant Catalog::GetCatalogUsers(std::int32_t i_lCatalogID, bool i_bIsProfile) {
  return read_and_close(
      "Mercato.Catalog.GetCatalogUsers", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql("SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  ");
        // Without a catalogue no WHERE stands before the AND, so the store refuses the statement.
        if (i_lCatalogID != -1) sql << "WHERE CATALOGID = " << i_lCatalogID;
        i_bIsProfile ? sql << " AND ISPROFILE = 1" : sql << " AND ISPROFILE = 0";
        return sql;
      },
      [](const RecordsetPtr& rows) -> Variant {
        Dictionary users;
        for (; !rows->Eof(); rows->MoveNext()) users.Set(rows->Value("USERID"), rows->Value("USERID"));
        // Converting the key array to text raises 13, so every call fails here.
        Array list(std::vector<Variant>(static_cast<std::size_t>(users.Count()) + 1, ""));
        list.items.back() = Variant(users.Keys()).to_text();
        return list;
      });
}

bool TCatalog::ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile) {
  execute_and_vote("Mercato.Catalog.ClearUserCatalogIDs", GetConnection, [&] {
    Sql sql = Sql("DELETE FROM CATALOGNODEBYUSER WHERE USERID='") << value(Gen_QuoteSql(i_sUserID));
    i_bIsProfile ? sql << "' AND ISPROFILE= 1 " : sql << "' AND ISPROFILE= 0 ";
    return sql;
  });
  return true;
}

bool TCatalog::UpdateUserCatalogIDs(const std::string& i_sUserID, const Variant& i_aCatalogIDs, bool i_bIsProfile) {
  Opened opened;
  return method(
      [&]() -> Answer<bool> {
        opened.connection = GetConnection();
        opened.rows = open_batch(LiteralPiece("SELECT * FROM CATALOGNODEBYUSER WHERE 0=1"), opened.connection);
        if (!ClearUserCatalogIDs(i_sUserID, i_bIsProfile)) return refused;
        // The rows of the user as given are cleared. The new rows get the id without blanks around it.
        const std::string user(text::trim(i_sUserID));
        for (const Variant& catalog : i_aCatalogIDs.to_array().items) {
          opened.rows->AddNew();
          opened.rows->SetValue("CATALOGID", catalog.to_long());
          opened.rows->SetValue("USERID", user);
          opened.rows->SetValue("LEVEL", 0);
          opened.rows->SetValue("ISPROFILE", i_bIsProfile ? 1 : 0);
        }
        opened.rows->UpdateBatch();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Catalog.UpdateUserCatalogIDs", closing_and_aborting(opened)});
}

bool TCatalog::PopulateUserNodes(const std::string& i_sUserID) {
  ReadingHalf catalogs;
  Opened target;
  Opened reader;
  return method(
      [&] {
        const std::vector<std::string> ids = text::split(catalogs.GetUserCatalogIDs(i_sUserID), kBetweenIds);
        target.connection = GetConnection();
        reader.connection = GetConnection();
        target.connection->Execute(Sql("DELETE FROM USERNODE WHERE USERID='") << value(i_sUserID) << "' ");
        target.rows =
            open_batch(Sql("SELECT * FROM USERNODE WHERE USERID='") << value(i_sUserID) << "' ", target.connection);
        LaidOutNodes nodes(i_sUserID, *target.rows, reader);
        for (const std::string& id : ids) {
          const std::int32_t catalog = Variant(id).to_long();
          if (catalogs.GetTopAuthorizedLevel(catalog, i_sUserID) == 0)
            nodes.add_whole(catalog);
          else
            nodes.add_trees(catalog, *catalogs.GetUserTopLevelCatalogNodes(i_sUserID, catalog));
        }
        target.rows->UpdateBatch();
        Mts_SetComplete();
        catalogs.release();
        target.close();
        reader.close();
        return true;
      },
      Tail{"Mercato.Catalog.PopulateUserNodes", [&] {
             Mts_SetAbort();
             catalogs.release();
             target.close();  // drops the rows that wait in memory
             reader.close();
           }});
}

}  // namespace mercato
