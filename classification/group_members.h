// SPDX-License-Identifier: Apache-2.0
// Which properties the property groups have, for hosts that list them: no public call tells it. Any thread.
#pragma once

#include <string>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato::classification {

// PROPERTYGROUPID, PROPERTYID, PROPERTYNAME, MANDATORY and SHOWINPRODUCTSHEET of every property in a group, by the
// names of the properties. Casts no vote. Raises what the store raises.
std::vector<DictionaryPtr> members_of_all_groups(const std::string& connection_string);

}  // namespace mercato::classification
