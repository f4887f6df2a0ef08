// SPDX-License-Identifier: Apache-2.0
#include "keeping/known_names.h"

#include <algorithm>
#include <cctype>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "mercato/recordset.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

struct Table {
  const char* table;
  const char* id;
  const char* name;
  bool by_name;  // else only by its id
};

Table table_of(Named kind) {
  switch (kind) {
    case Named::users:
      return {"USERS", "USERID", "USERNAME", false};
    case Named::suppliers:
      return {"BUSINESSPARTNER", "BUSINESSPARTNERID", "PARTNERNAME", false};
    case Named::catalogs:
      return {"CATALOG", "CATALOGID", "CATALOGNAME", true};
    case Named::categories:
      break;
  }
  return {"PRODUCTCATEGORY", "CATEGORYID", "CATEGORYNAME", true};
}

bool is_number(const std::string& text) {
  return !text.empty() &&
         std::ranges::all_of(text, [](unsigned char character) { return std::isdigit(character) != 0; });
}

}  // namespace

std::vector<KnownName> names_beginning(const std::string& connection_string, Named kind, const std::string& begin,
                                       std::size_t most) {
  const Table from = table_of(kind);
  const bool by_name = from.by_name && !is_number(begin);
  const char* const word = by_name ? from.name : from.id;
  // Texts that begin alike follow each other; numbers do not.
  const bool in_order = by_name || kind == Named::users;
  Sql sql = Sql("SELECT ") << name(from.id) << ", " << name(from.name) << " FROM " << name(from.table);
  if (in_order) sql << " WHERE " << name(word) << " >= N'" << value(Gen_QuoteSql(begin)) << "'";
  sql << " ORDER BY " << name(word);

  const std::string wanted = text::to_lower(begin);
  std::vector<KnownName> names;
  const ConnectionPtr connection = open_connection(connection_string);
  const RecordsetPtr rows = open_read_only(sql, connection);
  for (; !rows->Eof() && names.size() < most; rows->MoveNext()) {
    const std::string id = rows->Value(0).to_text();
    const std::string called = rows->Value(1).text_or_empty();
    KnownName found = by_name ? KnownName{called, id} : KnownName{id, called};
    const bool begins_so = text::to_lower(found.word).starts_with(wanted);
    if (begins_so) names.push_back(std::move(found));
    if (!begins_so && in_order) break;
  }
  rows->Close();
  connection->Close();
  return names;
}

}  // namespace mercato::keeping
