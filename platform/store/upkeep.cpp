// SPDX-License-Identifier: Apache-2.0
#include "platform/store/upkeep.h"

#include "mercato/raised_error.h"
#include "platform/store/known_drivers.h"

namespace mercato::store {

namespace {

const Upkeep& upkeep_for(const std::string& connection_string) {
  return upkeep_of(driver_for(connection_string), connection_string);
}

}  // namespace

const Upkeep& upkeep_of(const Driver& driver, const std::string& connection_string) {
  if (const Upkeep* upkeep = driver.upkeep()) return *upkeep;
  raise(error_number::kFeatureNotAvailable, {},
        "A store on a server is backed up and restored by the server's own programs. " +
            driver.means_of_upkeep(connection_string));
}

std::vector<std::string> check_store(const std::string& connection_string) {
  return upkeep_for(connection_string).check(connection_string);
}

std::vector<std::string> mend_text_indexes(const std::string& connection_string) {
  return upkeep_for(connection_string).mend_text_indexes(connection_string);
}

void back_up_store(const std::string& connection_string, const std::string& file) {
  upkeep_for(connection_string).back_up(connection_string, file);
}

std::string restore_store(const std::string& connection_string, const std::string& backup, bool keep) {
  return upkeep_for(connection_string).restore(connection_string, backup, keep);
}

}  // namespace mercato::store
