#include "classification/code_table.h"

#include <limits>

namespace mercato::classification {

std::int16_t delete_rows(ConnectionPtr& connection, const Sql& sql) {
  connection = open_connection(shared_connection_string());
  std::int64_t affected = 0;
  connection->ExecuteAffecting(sql, affected);
  if (affected > std::numeric_limits<std::int16_t>::max()) raise(error_number::kOverflow);
  return static_cast<std::int16_t>(affected);
}

}  // namespace mercato::classification
