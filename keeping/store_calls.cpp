// SPDX-License-Identifier: Apache-2.0
#include "keeping/store_calls.h"

#include <algorithm>

#include "frame/lib_sql.h"
#include "frame/query_rows.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/recordset.h"

namespace mercato::keeping {

std::vector<DictionaryPtr> rows_of(const Sql& sql) { return query_rows(shared_connection_string(), sql); }

std::size_t count_by(const Sql& sql) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  const RecordsetPtr rows = open_read_only(sql, connection);
  const auto count = static_cast<std::size_t>(rows->Value(std::size_t{0}).to_long());
  rows->Close();
  connection->Close();
  return count;
}

std::vector<std::int32_t> ids_by(const Sql& sql) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  const RecordsetPtr rows = open_read_only(sql, connection);
  std::vector<std::int32_t> ids;
  for (; !rows->Eof(); rows->MoveNext()) ids.push_back(rows->Value(std::size_t{0}).to_long());
  rows->Close();
  connection->Close();
  return ids;
}

std::int64_t run_statement(const Sql& sql) {
  ConnectionPtr connection = open_connection(shared_connection_string());
  return execute_and_close(connection, sql);
}

Variant call_library(std::string_view prog_id, std::string_view method, std::initializer_list<Variant> arguments) {
  std::vector<Variant> values(arguments);
  return invoke(create_plain(prog_id), method, values);
}

void for_each_list(std::span<const std::int32_t> ids, const std::function<void(const Sql& list)>& work) {
  constexpr std::size_t kShort = 16;
  constexpr std::size_t kLong = 256;
  while (!ids.empty()) {
    const std::span<const std::int32_t> some = ids.first(std::min(ids.size(), kLong));
    ids = ids.subspan(some.size());
    const std::size_t length = some.size() <= kShort ? kShort : kLong;
    Sql list("(");
    for (std::size_t place = 0; place < length; ++place) {
      if (place > 0) list << ",";
      list << some[std::min(place, some.size() - 1)];
    }
    work(list << ")");
  }
}

}  // namespace mercato::keeping
