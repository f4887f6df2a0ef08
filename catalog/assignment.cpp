// The catalogues that users and profiles have: reading (Catalog), writing and the flattened nodes (TCatalog).
#include "catalog/catalog.h"
#include "catalog/catalog_internal.h"
#include "catalog/t_catalog.h"
#include "catalog/t_catalog_internal.h"
#include "frame/lib_general.h"
#include "frame/voted_method.h"
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

}  // namespace

std::string Catalog::GetProfileCatalogIDs(const std::string& i_sProfileID) {
  return read_and_close(
      "Mercato.Catalog.GetProfileCatalogIDs", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT DISTINCT CNU.CATALOGID AS CATALOGID,C.CATALOGNAME FROM "
               "CATALOGNODEBYUSER CNU,CATALOG C WHERE USERID='"
            << value(i_sProfileID) << "' AND ISPROFILE = 1 AND CNU.CATALOGID = C.CATALOGID ORDER BY C.CATALOGNAME";
        return sql;
      },
      catalog_ids);
}

std::string Catalog::GetUserCatalogIDs(const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.GetUserCatalogIDs", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT DISTINCT CATALOGID FROM "
               "CATALOGNODEBYUSER WHERE USERID='"
            << value(Gen_QuoteSql(i_sUserID)) << "' AND ISPROFILE = 0 ";
        return sql;
      },
      catalog_ids);
}

Variant Catalog::GetCatalogUsers(std::int32_t i_lCatalogID, bool i_bIsProfile) {
  return read_and_close(
      "Mercato.Catalog.GetCatalogUsers", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  ";
        // Without a catalogue there is no WHERE before the AND: the store refuses the statement.
        if (i_lCatalogID != -1) sql << "WHERE CATALOGID = " << i_lCatalogID;
        i_bIsProfile ? sql << " AND ISPROFILE = 1" : sql << " AND ISPROFILE = 0";
        return sql;
      },
      [](const RecordsetPtr& rows) -> Variant {
        Dictionary users;
        for (; !rows->Eof(); rows->MoveNext()) users.Set(rows->Value("USERID"), rows->Value("USERID"));
        // The keys as a whole go into the last place, as a text, which an array does not have: every call ends here.
        Array list(std::vector<Variant>(static_cast<std::size_t>(users.Count()) + 1, ""));
        list.items.back() = Variant(users.Keys()).to_text();
        return list;
      });
}

bool TCatalog::ClearUserCatalogIDs(const std::string& i_sUserID, bool i_bIsProfile) {
  execute_and_vote("Mercato.Catalog.ClearUserCatalogIDs", GetConnection, [&] {
    Sql sql;
    sql << "DELETE FROM CATALOGNODEBYUSER WHERE USERID='" << value(Gen_QuoteSql(i_sUserID));
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
        // Cleared were the rows of the user as given; the new ones are those of the user without blanks.
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
      Tail{"Mercato.Catalog.UpdateUserCatalogIDs", [&] {
             opened.close();
             Mts_SetAbort();
           }});
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
        Sql sql;
        sql << "DELETE FROM USERNODE WHERE USERID='" << value(i_sUserID) << "' ";
        target.connection->Execute(sql);
        sql = LiteralPiece("SELECT * FROM USERNODE WHERE USERID='");
        sql << value(i_sUserID) << "' ";
        target.rows = open_batch(sql, target.connection);

        for (const std::string& id : ids) {
          const std::int32_t catalog = Variant(id).to_long();
          const auto add = [&](const Variant& node) {
            target.rows->AddNew();
            target.rows->SetValue("CATALOGID", catalog);
            target.rows->SetValue("USERID", i_sUserID);
            target.rows->SetValue("NODEID", node);
          };
          if (catalogs.GetTopAuthorizedLevel(catalog, i_sUserID) == 0) {
            sql = LiteralPiece("SELECT NODEID FROM CATALOGNODE WHERE CATALOGID =");
            sql << catalog << " ";
            reader.rows = open_read_only(sql, reader.connection);
            for (; !reader.rows->Eof(); reader.rows->MoveNext()) add(reader.rows->Value("NODEID"));
            Sql_CloseRecordset(reader.rows);
            continue;
          }
          // Level by level, whatever the nodes are, until one is empty; whether a node was there before is not asked.
          Sql level;
          const auto add_to_level = [&](const Variant& node) {
            add(node);
            if (!level.text().empty()) level << ",";
            level << value(node.to_text());
          };
          catalogs.GetUserTopLevelCatalogNodes(i_sUserID, catalog)->for_each([&](const Variant& node, const Variant&) {
            add_to_level(node);
          });
          while (!level.text().empty()) {
            sql = LiteralPiece("SELECT NODEID FROM CATALOGNODE WHERE PARENTNODEID IN (");
            sql << level << ") ORDER BY NODEID";
            reader.rows = open_read_only(sql, reader.connection);
            level = {};
            for (; !reader.rows->Eof(); reader.rows->MoveNext()) add_to_level(reader.rows->Value("NODEID"));
            Sql_CloseRecordset(reader.rows);
          }
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
             target.close();  // with the rows that wait
             reader.close();
           }});
}

}  // namespace mercato
