// SPDX-License-Identifier: Apache-2.0
// Which products hang in a category. What is written belongs to the caller's transaction. Every function raises what
// the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace mercato::keeping {

// Each at the end of the category, in the order of the list. Returns how many were not in it before.
std::size_t add_to_category(std::int32_t category, std::span<const std::int32_t> products);
// Returns how many were in it.
std::size_t remove_from_category(std::int32_t category, std::span<const std::int32_t> products);
std::size_t count_products_of(std::int32_t category);

// How many products a new category of this code would get.
struct LinkedByCode {
  std::size_t products = 0;  // with the code or one below it
  // Zeros at the end of a code are digits like others to the library: 44120000 is above no code but itself. The code
  // without them, and its products, when they are more.
  std::string shorter_code;
  std::size_t products_of_shorter = 0;
};
// Nothing where category links do not follow UNSPSC codes (the setting UNSPSCIMPLEMENTED), and for the empty code.
std::optional<LinkedByCode> linked_by_code(const std::string& code);

}  // namespace mercato::keeping
