// SPDX-License-Identifier: Apache-2.0
// Shop-out folders: nodes that lead to a partner's own shop, and the accounts that users hold there.
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

// Only the connection's string is used. The connection closes when nobody holds it any more.
RecordsetPtr read_beside(const ConnectionPtr& connection, const Sql& sql) {
  return Sql_GetDisconnectedRecordset(sql, connection->connection_string(), true);
}

}  // namespace

Variant Catalog::GetAllShopOutCatalogFolders() {
  return method(
      [&]() -> Variant {
        const RecordsetPtr folders = read_beside(
            GetConnection(), LiteralPiece("SELECT CN.NODEID as NODEID, CNBYBP.BUSINESSPARTNERID as BUSINESSPARTNERID "
                                          "FROM CATALOGNODE CN, CATALOGNODEBYBP CNBYBP WHERE CN.SHOPOUT = 1 "
                                          " AND CN.NODEID = CNBYBP.NODEID"));
        Array ids;
        for (; !folders->Eof(); folders->MoveNext()) ids.items.emplace_back(folders->Value("NODEID").to_short());
        return ids;
      },
      Tail{"Mercato.Catalog.GetAllShopOutCatalogFolders()", no_steps});
}

RecordsetPtr Catalog::GetShopOutFolderDetails(std::int16_t& i_iNodeId) {
  return method(
      [&] {
        return read_beside(GetConnection(),
                           Sql("SELECT CN.NODEID, CN.CATALOGID, CN.NODENAME, CN.NODEURL, CN.NODEDESCRIPTION, "
                               "CNBYBP.BUSINESSPARTNERID FROM "
                               "CATALOGNODE CN, CATALOGNODEBYBP CNBYBP WHERE CN.NODEID = ")
                               << i_iNodeId
                               << " AND CN.SHOPOUT = 1"
                                  " AND CN.NODEID = CNBYBP.NODEID");
      },
      Tail{"Mercato.Catalog.GetShopOutFolderDetails()", no_steps});
}

RecordsetPtr Catalog::GetFolderAuthenticationDetails(std::string& i_sUserID, std::int16_t& i_iNodeId) {
  return method(
      [&] {
        // The account of a profile with this name comes along.
        return read_beside(GetConnection(), Sql("SELECT SHAREDID, SHAREDPWD FROM CATALOGNODEBYUSER WHERE USERID = '")
                                                << value(i_sUserID) << "' AND NODEID = " << i_iNodeId);
      },
      Tail{"Mercato.Catalog.GetFolderAuthenticationDetails()", no_steps});
}

}  // namespace mercato
