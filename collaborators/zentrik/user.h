// SPDX-License-Identifier: Apache-2.0
// Zentrik.User: the users of table USERS. Raises what the store raises.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"

namespace mercato::collaborators {

class User : public ComponentOf<User> {
 public:
  static const ClassTable& table();

  // Whether the user named by the second argument is a buyer; the first one is not read.
  bool BuyerCheckSecond(const std::string& user_id, const Variant& trimmed);
  // The user's property group; 0 for an unknown user, and for one without a group.
  std::int32_t GetUserPropertyGroup(const std::string& user_id);
  // Whether the user is active.
  bool BuyerCheckFirst(const std::string& user_id);
};

}  // namespace mercato::collaborators
