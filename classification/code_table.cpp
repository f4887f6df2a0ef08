// SPDX-License-Identifier: Apache-2.0
#include "classification/code_table.h"

#include <limits>

namespace mercato::classification {

std::int16_t short_count(std::int64_t rows) {
  if (rows > std::numeric_limits<std::int16_t>::max()) raise(error_number::kOverflow);
  return static_cast<std::int16_t>(rows);
}

std::int16_t delete_rows(ConnectionPtr& connection, const Sql& sql) {
  connection = open_connection(shared_connection_string());
  return short_count(execute_and_close(connection, sql));
}

}  // namespace mercato::classification
