// SPDX-License-Identifier: Apache-2.0
#include "frame/query_rows.h"

#include "frame/lib_sql.h"

namespace mercato {

std::vector<DictionaryPtr> query_rows(const std::string& connection_string, const Sql& sql) {
  std::vector<DictionaryPtr> rows;
  const RecordsetPtr records = open_connection(connection_string)->Execute(sql);
  for (; !records->Eof(); records->MoveNext()) rows.push_back(Sql_GetRecordAsDictionary(records));
  return rows;
}

}  // namespace mercato
