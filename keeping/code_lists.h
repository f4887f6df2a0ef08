// SPDX-License-Identifier: Apache-2.0
// Lists of master data whole, for hosts that show them: no public call tells them so. Each is rows of the columns that
// are named, ordered as said. Reads only, casts no vote, logs nothing. Any thread. Raises what the store raises.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato::keeping {

// PROPERTYID, PROPERTYNAME, DATATYPE, EXTERNAL, DEFAULTVALUE, by name.
std::vector<DictionaryPtr> all_properties();
// PROPERTYGROUPID, PROPERTYGROUPNAME, by name.
std::vector<DictionaryPtr> all_property_groups();
// UNITCODE, UNITDESCRIPTION, by code.
std::vector<DictionaryPtr> all_units();
// PARENTCODE, UNSPSCCODE (the last pair) and DESCRIPTION of codes with this text in their description, by code; at most
// `most`.
std::vector<DictionaryPtr> unspsc_codes_with(const std::string& text, std::int32_t most);
// How many products have each code right below this one, or a code further down; without those that have none.
std::map<std::string, std::int64_t> products_below_code(const std::string& parent);

}  // namespace mercato::keeping
