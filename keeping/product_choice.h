// SPDX-License-Identifier: Apache-2.0
// Which products an act on many is about. Nothing is changed. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mercato::keeping {

// What restricts it; all of it has to hold.
struct ProductChoice {
  std::optional<std::int32_t> supplier;
  std::optional<std::int32_t> category;
  std::string part_number;                         // a pattern in which * stands for any text; empty: any number
  std::optional<std::vector<std::int32_t>> among;  // only these
  std::optional<bool> disabled;
};

// The ids, in ascending order. Raises what the store raises.
std::vector<std::int32_t> chosen_products(const ProductChoice& choice);

}  // namespace mercato::keeping
