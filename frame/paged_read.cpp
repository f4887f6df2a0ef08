// SPDX-License-Identifier: Apache-2.0
#include "frame/paged_read.h"

#include "frame/contracts.h"
#include "frame/lib_sql.h"
#include "platform/store/dialect/dialect.h"
#include "values/text.h"

namespace mercato {

ComponentPtr PagedRead(const PagedQuery& query, const PageRequest& request, const std::string& (*connection_string)()) {
  std::optional<bauteil::Page> page;
  std::optional<bauteil::DRecordset> rows;
  if (request.page) {
    page.emplace(request.page);
    page->RegisterConnection("MercatoConnection");
    rows.emplace(page->GetDRecordset());
  } else {
    rows.emplace();
    rows->SetConnectionString(connection_string());
    rows->SetPersistedState(request.persisted_state);
  }
  rows->SetPageSize(Variant(request.page_size).to_short());
  if (query.sort_fields) rows->SetSortFields(*query.sort_fields);
  if (page) {
    std::string position;
    bool has_position = false;
    page->GetSavedPosition(position, has_position);
    if (has_position) {
      rows->Reset();
      rows->RestoreState(-1, position);
    }
  }
  // The DRecordset gets a plain text, in which the caller's own clauses can no longer be told: they are checked before.
  store::dialect::check_pieces(query.statement);
  rows->OpenQuery(query.statement.text(), query.key_fields);
  return rows->component();
}

Sql with_ids(Sql statement, std::string_view column, const Variant& ids) {
  if (ids.is_missing()) return statement;
  const Array& given = ids.to_array();
  std::string list;
  for (std::int32_t index = given.lower; index <= given.upper(); ++index) {
    if (index > given.lower) list += ' ';
    list += given.at(index).to_text();
  }
  return with_condition(std::move(statement), Sql() << name(column) << " IN (" << clause(list) << ")");
}

}  // namespace mercato
