// SPDX-License-Identifier: Apache-2.0
// Ids and names that the store has, for whoever is about to write one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mercato::keeping {

enum class Named : std::uint8_t { users, suppliers, catalogs, categories };

struct KnownName {
  std::string word;         // what commands take
  std::string description;  // whose it is
};

// Those whose word begins with the text, in any case, in order and so many at most. Users are known by their ids;
// suppliers by their numbers; catalogues and categories by their names, or by their numbers when the text is one. Raises
// what the store raises.
std::vector<KnownName> names_beginning(const std::string& connection_string, Named kind, const std::string& begin,
                                       std::size_t most);

}  // namespace mercato::keeping
