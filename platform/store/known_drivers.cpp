// SPDX-License-Identifier: Apache-2.0
#include "platform/store/known_drivers.h"

#include "mercato/raised_error.h"
#ifdef MERCATO_ODBC
#include "platform/store/odbc/driver.h"
#endif
#ifdef MERCATO_POSTGRES
#include "platform/store/postgres/driver.h"
#endif
#include "platform/store/sqlite/driver.h"
#include "values/text.h"

namespace mercato::store {
namespace {

struct KnownDriver {
  std::string_view provider;
  Driver& (*driver)();
};

// The one place that knows the drivers. The first one also serves a connection string that names no provider.
constexpr KnownDriver kKnownDrivers[] = {
    {"SQLite", &sqlite_driver},
#ifdef MERCATO_POSTGRES
    {"PostgreSQL", &postgres_driver},
#endif
#ifdef MERCATO_ODBC
    {"ODBC", &odbc_driver},
#endif
};

}  // namespace

Driver& driver_for(const std::string& connection_string) {
  if (text::trim(connection_string).empty())
    raise(error_number::kStoreFailure, {}, "The connection string is blank. It has to name a store");
  const auto provider = connection_property(connection_string, "Provider");
  if (!provider) return kKnownDrivers[0].driver();
  std::string known;
  for (const KnownDriver& candidate : kKnownDrivers) {
    if (text::equal_names(candidate.provider, *provider)) return candidate.driver();
    if (!known.empty()) known += ", ";
    known += candidate.provider;
  }
  raise(error_number::kStoreFailure, {}, "There is no store provider '" + *provider + "'. Known providers: " + known);
}

}  // namespace mercato::store
