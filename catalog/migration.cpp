// The life of a catalogue: its insertion and its end, and what users take along to its successor.
#include <unordered_map>

#include "catalog/t_catalog.h"
#include "catalog/t_catalog_internal.h"
#include "frame/lib_general.h"
#include "frame/voted_method.h"
#include "values/text.h"

namespace mercato {
namespace {

RecordsetPtr read(const Sql& sql) { return Sql_GetDisconnectedRecordset(sql, shared_connection_string(), true); }

bool has_rows(const Sql& sql) { return !read(sql)->Eof(); }

// Rights

Sql catalog_entries(std::int32_t catalog) {
  Sql condition;
  condition << " WHERE CATALOGID = " << catalog << " AND NODEID IS NULL AND PARENTNODEID IS NULL";
  return condition;
}

// Whether two nodes have the same names all the way up, in any case.
bool have_equal_paths(ReadingHalf& catalogs, const Variant& node, const Variant& other) {
  const std::string path = catalogs.GetCatalogNodeHierarchy(node);
  return text::to_upper(path) == text::to_upper(catalogs.GetCatalogNodeHierarchy(other));
}

// Favourites

struct Offer {
  Variant product;
  Variant node;
};
using Offers = std::unordered_map<std::string, std::vector<Offer>>;  // by part number, in the order of the rows

Offers offers_in(Recordset& rows) {
  Offers offers;
  for (; !rows.Eof(); rows.MoveNext())
    offers[rows.Value("PARTNUMBER").to_text()].push_back({rows.Value("PRODUCTID"), rows.Value("NODEID")});
  return offers;
}

// The first offer of the part that the user may order; null when there is none.
const Offer* orderable_offer(const Offers& offers, const Variant& part_number, const Variant& user,
                             ReadingHalf& catalogs) {
  const auto same_part = offers.find(part_number.to_text());
  if (same_part == offers.end()) return nullptr;
  for (const Offer& offer : same_part->second)
    if (catalogs.IsOrderCatalogNodeEx(user, offer.node)) return &offer;
  return nullptr;
}

}  // namespace

std::int32_t TCatalog::InsertCatalog(const Variant& iFields, const Variant& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows =
            open_updatable(LiteralPiece("SELECT * FROM CATALOG WHERE 0=1"), opened.connection, CursorType::keyset);
        opened.rows->AddNew();
        const Array& fields = iFields.to_array();
        const Array& values = iValues.to_array();
        for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
          const std::int16_t narrow = Variant(index).to_short();  // an index beyond 16 bits ends the call
          opened.rows->SetValue(fields.at(narrow).to_text(), values.at(narrow));
        }
        opened.rows->Update();
        const std::int32_t id = opened.rows->Value("CATALOGID").to_long();
        opened.close();
        Mts_SetComplete();
        return id;
      },
      // No vote: a refused row leaves the transaction to the caller's next step.
      Tail{"Mercato.TCatalog.InsertCatalog", [&] { opened.close(); }});
}

bool TCatalog::ExpireCatalog(std::int32_t& lCatalogID) {
  Opened opened;
  return method(
      [&] {
        Sql sql;
        sql << "SELECT * FROM CATALOG WHERE CATALOGID = " << lCatalogID;
        opened.connection = GetConnection();
        opened.rows = open_updatable(sql, opened.connection, CursorType::keyset);
        opened.rows->SetValue("ACTIVE", 0);
        opened.rows->Update();
        Sql_CloseRecordset(opened.rows);
        // Also those that another catalogue shows, and those that are disabled already.
        sql = LiteralPiece(
            "SELECT DISTINCT P.PRODUCTID, P.DISABLED FROM PRODUCT P "
            "INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
            " INNER JOIN CATALOGNODE N ON N.CATALOGID = ");
        sql << lCatalogID << " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1";
        opened.rows = open_batch(sql, opened.connection);
        for (; !opened.rows->Eof(); opened.rows->MoveNext()) opened.rows->SetValue("DISABLED", 1);
        opened.rows->UpdateBatch();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ExpireCatalog", [&] {
             opened.close();
             Mts_SetAbort();
           }});
}

bool TCatalog::ChangeAuthorizationsForUser(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID, bool bDelete) {
  ConnectionPtr connection;
  const auto execute = [&](const Sql& sql) {
    if (!connection) connection = GetConnection();
    connection->Execute(sql);
  };
  return method(
      [&] {
        Sql sql;
        sql << "SELECT CATALOGID FROM CATALOGNODEBYUSER WHERE CATALOGID = " << lNewCatalogID;
        if (has_rows(sql)) {
          if (!bDelete) return false;  // without a vote
          sql = LiteralPiece("DELETE FROM CATALOGNODEBYUSER WHERE CATALOGID = ");
          sql << lNewCatalogID;
          execute(sql);
        }

        sql = LiteralPiece("SELECT CATALOGID FROM CATALOGNODEBYUSER");
        sql << catalog_entries(lCurrentCatalogID);
        if (has_rows(sql)) {
          sql = LiteralPiece("UPDATE CATALOGNODEBYUSER SET CATALOGID = ");
          sql << lNewCatalogID << catalog_entries(lCurrentCatalogID);
          execute(sql);
        }

        sql = LiteralPiece(
            "SELECT DISTINCT CN.NODEID, CN.NODENAME FROM CATALOGNODE CN "
            " INNER JOIN CATALOGNODEBYUSER CU ON CU.NODEID = CN.NODEID "
            " WHERE CN.CATALOGID = ");
        sql << lCurrentCatalogID;
        const RecordsetPtr nodes = read(sql);
        ReadingHalf catalogs;
        if (!nodes->Eof()) catalogs.create();
        for (; !nodes->Eof(); nodes->MoveNext()) {
          const std::int32_t node = nodes->Value("NODEID").to_long();
          sql = LiteralPiece(" SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  NODENAME = '");
          sql << value(Gen_QuoteSql(nodes->Value("NODENAME").to_text())) << "' AND CATALOGID = " << lNewCatalogID;
          const RecordsetPtr twin = read(sql);
          if (twin->Eof()) {
            sql = LiteralPiece(" DELETE FROM CATALOGNODEBYUSER   WHERE CATALOGID = ");
            sql << lCurrentCatalogID << " AND NODEID = " << node;
          } else {
            // Only the first node of that name is looked at. One at another path is looked at until the call's time is
            // up: callers see to it that none stands there.
            while (!have_equal_paths(catalogs, node, twin->Value("NODEID"))) continue;
            sql = LiteralPiece(" UPDATE CATALOGNODEBYUSER SET  CATALOGID = ");
            sql << lNewCatalogID << " , NODEID = " << twin->Value("NODEID").to_long();
            if (const Variant& parent = twin->Value("PARENTNODEID"); parent.is_null())
              sql << " , PARENTNODEID = NULL ";
            else
              sql << " , PARENTNODEID = " << parent.to_long();
            sql << " WHERE CATALOGID = " << lCurrentCatalogID << " AND NODEID = " << node;
          }
          execute(sql);
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ChangeAuthorizationsForUser", [&] {
             Sql_CloseConnection(connection);
             Mts_SetAbort();
           }});
}

bool TCatalog::ChangeFavorites(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = GetConnection();
        Sql sql;
        sql << " SELECT distinct P.PRODUCTID, P.PARTNUMBER, F.USERID FROM  FAVORITES F, PRODUCT P "
               " INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
               " INNER JOIN CATALOGNODE N ON N.CATALOGID = "
            << lCurrentCatalogID
            << " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1 "
               " WHERE P.PRODUCTID = F.PRODUCTID ORDER BY F.USERID";
        const RecordsetPtr favorites = read(sql);
        if (!favorites->Eof()) {
          // Here nodes of every type count.
          sql = LiteralPiece(
              " SELECT P.PRODUCTID, P.PARTNUMBER, N.NODEID FROM  CATALOGNODE N ,PRODUCT P "
              " INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
              " Where N.CATEGORYID = C.CATEGORYID And N.CatalogID = ");
          sql << lNewCatalogID
              << " AND P.PARTNUMBER IN "
                 "(SELECT distinct P1.PARTNUMBER FROM  FAVORITES F1, PRODUCT P1  "
                 " INNER JOIN PRODUCTSBYCATEGORY C1 ON P1.PRODUCTID = C1.PRODUCTID "
                 " INNER JOIN CATALOGNODE N1 ON N1.CATALOGID = "
              << lCurrentCatalogID
              << " AND N1.CATEGORYID = C1.CATEGORYID AND "
                 " N1.NODETYPE = 1  WHERE P1.PRODUCTID = F1.PRODUCTID )";
          const Offers offers = offers_in(*read(sql));
          ReadingHalf catalogs;
          for (; !favorites->Eof(); favorites->MoveNext()) {
            const std::int32_t product = favorites->Value("PRODUCTID").to_long();
            const auto user = [&] {
              Sql condition;
              condition << " AND USERID = '" << value(Gen_QuoteSql(favorites->Value("USERID").to_text())) << "'";
              return condition;
            };
            const Offer* const offer =
                orderable_offer(offers, favorites->Value("PARTNUMBER"), favorites->Value("USERID"), catalogs);
            if (offer) {
              sql = LiteralPiece("UPDATE FAVORITES SET PRODUCTID = ");
              sql << offer->product.to_long() << " WHERE PRODUCTID = " << product << user();
            } else {
              sql = LiteralPiece("DELETE FROM FAVORITES WHERE PRODUCTID = ");
              sql << product;
              // A catalogue without any of the parts ends the favourites of all users of these products.
              if (!offers.empty()) sql << user();
            }
            connection->Execute(sql);
          }
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ChangeFavorites", [&] {
             Sql_CloseConnection(connection);
             Mts_SetAbort();
           }});
}

}  // namespace mercato
