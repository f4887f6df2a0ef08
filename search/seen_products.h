// SPDX-License-Identifier: Apache-2.0
// Which products a user sees, by the rules of the search (mercato/search.h): for hosts that show single products. Any
// thread. Raises what the store raises.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mercato {

// Those of the products that the user sees, by id; of this category when there is one.
std::vector<std::int32_t> seen_products(const std::string& user, std::vector<std::int32_t> products,
                                        std::optional<std::int32_t> category = std::nullopt);

}  // namespace mercato
