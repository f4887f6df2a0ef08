// SPDX-License-Identifier: Apache-2.0
// The business partners that are tied to a catalogue as a whole, or to one of its nodes. A node's id of 0 or less
// stands for the whole catalogue.
#include "catalog/catalog_internal.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"
#include "mercato/t_catalog.h"
#include "values/text.h"

namespace mercato {
namespace {

Sql of_tie(LiteralPiece statement, std::int16_t node, std::int16_t catalog) {
  Sql sql = statement;
  if (node > 0)
    sql << " WHERE NODEID = " << node;
  else
    sql << " WHERE NODEID IS NULL";
  sql << " AND CATALOGID = " << catalog;
  return sql;
}

// All columns of the ties.
Sql ties_of(std::int16_t node, std::int16_t catalog) {
  if (node > 0) return Sql("SELECT * FROM CATALOGNODEBYBP WHERE NODEID = ") << node << " AND CATALOGID = " << catalog;
  return Sql("SELECT * FROM CATALOGNODEBYBP WHERE NODEID IS NULL "
             " AND CATALOGID = ")
         << catalog;
}

// The partners in the list. The caller's variable is left with them as an array.
const Array& split_in_place(Variant& list) {
  Array partners;
  for (const std::string& partner : text::split(list.to_text(), kBetweenIds)) partners.items.emplace_back(partner);
  list = partners;
  return list.to_array();
}

void set_partner(Recordset& ties, const Variant& partner) { ties.SetValue("BUSINESSPARTNERID", partner.to_short()); }

void add_tie(Recordset& ties, std::int16_t node, std::int16_t catalog, const Variant& partner) {
  ties.AddNew();
  if (node > 0) ties.SetValue("NODEID", node);
  ties.SetValue("CATALOGID", catalog);
  set_partner(ties, partner);
}

}  // namespace

std::string Catalog::GetBPFromCatalogNodeByBP(std::int16_t& i_iNodeId, std::int16_t& i_iCatalogNodeId) {
  return read_and_close(
      "Mercato.Catalog.GetBPFromCatalogNodeByBP()", CursorType::forward_only, GetConnection,
      [&] { return of_tie("SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP", i_iNodeId, i_iCatalogNodeId); },
      [](const RecordsetPtr& ties) {
        std::string partners;
        std::int16_t count = 0;
        for (; !ties->Eof(); ties->MoveNext()) {
          if (count > 0) partners += kBetweenIds;
          partners += ties->Value("BUSINESSPARTNERID").to_text();
          count = Variant(count + 1).to_short();  // raises 6 at the 32768th row
        }
        return partners;
      });
}

bool TCatalog::InsertCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues) {
  Opened opened;
  return method(
      [&] {
        const Array& partners = split_in_place(i_aBPValues);
        opened.connection = GetConnection();
        opened.rows = open_updatable(LiteralPiece("SELECT * FROM  CATALOGNODEBYBP WHERE 0=1"), opened.connection,
                                     CursorType::keyset);
        for (const Variant& partner : partners.items) add_tie(*opened.rows, i_iNoideId, i_iCatalogId, partner);
        opened.rows->UpdateBatch();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Catalog.InsertCatalogNodeByBP", closing_and_aborting(opened)});
}

bool TCatalog::UpdateCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId, Variant& i_aBPValues) {
  constexpr auto kBatch = static_cast<std::int32_t>(LockType::batch_optimistic);
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = SQL_GetWritableRecordset(ties_of(i_iNoideId, i_iCatalogId), opened.connection, kBatch);
        Sql_CloseConnection(opened.connection);

        const Array& partners = split_in_place(i_aBPValues);
        const bool as_many = partners.upper() == opened.rows->RecordCount() - 1;
        // A failed delete goes unnoticed here. The partners then go into the rows that are still there, and one partner
        // more than rows ends the call. An empty list leaves the rows.
        const bool are_new = !as_many && DeleteCatalogNodeByBP(i_iNoideId, i_iCatalogId);
        if (!as_many && partners.items.empty()) return true;
        for (const Variant& partner : partners.items) {
          if (are_new) {
            add_tie(*opened.rows, i_iNoideId, i_iCatalogId, partner);
          } else {
            set_partner(*opened.rows, partner);
            opened.rows->MoveNext();
          }
        }
        opened.connection = GetConnection();
        opened.rows->SetActiveConnection(opened.connection);
        opened.rows->UpdateBatch();
        Sql_CloseDisconnectedRecordset(opened.rows);
        Sql_CloseConnection(opened.connection);
        return true;  // without a vote
      },
      Tail{"Mercato.Catalog.UpdateCatalogNodeByBP()", [&] {
             Mts_SetAbort();  // before the closing
             opened.close();
           }});
}

bool TCatalog::DeleteCatalogNodeByBP(std::int16_t& i_iNoideId, std::int16_t& i_iCatalogId) {
  // No tail: a failure is neither logged nor raised, and nobody votes.
  ConnectionPtr connection;
  const bool deleted = suppressing_failures([&] {
    connection = GetConnection();
    connection->Execute(of_tie("DELETE CATALOGNODEBYBP", i_iNoideId, i_iCatalogId));
  });
  Sql_CloseConnection(connection);
  return deleted;
}

}  // namespace mercato
