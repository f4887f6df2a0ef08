// SPDX-License-Identifier: Apache-2.0
#include "tests/support/test_store.h"

namespace mercato::test {

std::string known_providers() {
  std::string providers = "SQLite";
#ifdef MERCATO_POSTGRES
  providers += ", PostgreSQL";
#endif
#ifdef MERCATO_ODBC
  providers += ", ODBC";
#endif
  return providers;
}

}  // namespace mercato::test
