// SPDX-License-Identifier: Apache-2.0
#include "keeping/store_answers.h"

#include "frame/lib_sql.h"

namespace mercato::keeping {

void require_store() {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  open_read_only(Sql("SELECT UNITCODE FROM UNIT WHERE UNITCODE = ''"), connection)->Close();
  connection->Close();
}

}  // namespace mercato::keeping
