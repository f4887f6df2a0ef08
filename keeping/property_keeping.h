// SPDX-License-Identifier: Apache-2.0
// What properties choose among, what a group loses, and what bringing its products in line would take away. What is
// written belongs to the caller's transaction. Every function raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mercato::keeping {

// In the order in which they are offered.
std::vector<std::string> choices_of(std::int32_t property);
// At the end; false when it is one already.
bool add_choice(std::int32_t property, const std::string& choice);
// False when it is none. Values of products stay as they are.
bool remove_choice(std::int32_t property, const std::string& choice);
// How many products have this value.
std::size_t count_values(std::int32_t property, const std::string& value);

// False when the group has no such property. Values of products stay until the group is applied.
bool remove_from_group(std::int32_t group, std::int32_t property);

// What PropertyGroup's UpdateGroupChange would do with all products of the group now.
struct GroupAlignment {
  struct Loss {
    std::int32_t property = 0;
    std::string name;  // empty: the property is no more
    std::size_t values = 0;
  };
  std::size_t products = 0;
  std::size_t removed = 0;
  std::size_t added = 0;
  std::vector<Loss> losses;  // by property, the one with the most values first
};
GroupAlignment plan_alignment(std::int32_t group);

}  // namespace mercato::keeping
