// SPDX-License-Identifier: Apache-2.0
#include "tests/support/odbc_stores.h"

#include "platform/store/driver.h"

namespace mercato::test {

std::string through_odbc(const std::string& connection_string) {
  // By its path where Debian has put it, else by the name that it is registered by.
  std::string odbc = "Provider=ODBC;Dialect=PostgreSQL;Driver=" + std::string(MERCATO_PSQLODBC);
  constexpr std::pair<const char*, const char*> kProperties[] = {
      {"Server", "Server"}, {"Port", "Port"}, {"Database", "Database"}, {"User ID", "UID"}, {"Password", "PWD"}};
  for (const auto& [ours, drivers] : kProperties)
    if (const auto value = store::connection_property(connection_string, ours))
      odbc += ";" + std::string(drivers) + "=" + *value;
  return odbc;
}

}  // namespace mercato::test
