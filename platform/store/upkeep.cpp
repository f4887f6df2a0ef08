// SPDX-License-Identifier: Apache-2.0
#include "platform/store/upkeep.h"

#include "mercato/raised_error.h"
#include "platform/store/known_drivers.h"

namespace mercato::store {

const Upkeep& upkeep_of(const Driver& driver) {
  if (const Upkeep* upkeep = driver.upkeep()) return *upkeep;
  raise(error_number::kFeatureNotAvailable, {},
        "Only a store in a file is checked, backed up and restored here. Use the means of the store's own server");
}

std::vector<std::string> check_store(const std::string& connection_string) {
  return upkeep_of(driver_for(connection_string)).check(connection_string);
}

void back_up_store(const std::string& connection_string, const std::string& file) {
  upkeep_of(driver_for(connection_string)).back_up(connection_string, file);
}

std::string restore_store(const std::string& connection_string, const std::string& backup, bool keep) {
  return upkeep_of(driver_for(connection_string)).restore(connection_string, backup, keep);
}

}  // namespace mercato::store
