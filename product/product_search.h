// SPDX-License-Identifier: Apache-2.0
// A search for hosts that list what it finds. The public calls of Product tell only the first hit and the number of
// hits. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mercato::product {

// The ids of enabled products that hang in some catalogue and have the term, as it stands, anywhere in their
// description, part number or supplier's part number: in their order, and at most so many. Casts no vote. Raises what
// the store raises.
std::vector<std::int32_t> products_in_catalogs(const std::string& connection_string, const std::string& term,
                                               std::int32_t most);

}  // namespace mercato::product
