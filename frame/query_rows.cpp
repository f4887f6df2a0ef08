// SPDX-License-Identifier: Apache-2.0
#include "frame/query_rows.h"

#include "frame/lib_sql.h"

namespace mercato {

std::vector<DictionaryPtr> query_rows(const std::string& connection_string, const Sql& sql) {
  return rows_left(open_connection(connection_string)->Execute(sql));
}

}  // namespace mercato
