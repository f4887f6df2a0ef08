// SPDX-License-Identifier: Apache-2.0
// Products of a supplier that his file no longer names. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace mercato::exchange {

struct MissingProduct {
  std::int32_t id = 0;
  std::string number;
  std::string description;
};

// Hears of the part numbers of a file.
class NamedProducts {
 public:
  // Empty for a record whose number could not be read.
  void add(std::string_view number);

  // Whether each record could be told by its number, and there was one at all: else nobody knows what is missing.
  bool are_known() const { return !numbers_.empty() && unnamed_ == 0; }
  // Those of the supplier that are enabled and were not named, in the order of their ids. Raises what the store raises.
  std::vector<MissingProduct> missing(const std::string& supplier) const;

 private:
  std::unordered_set<std::string> numbers_;
  std::size_t unnamed_ = 0;
};

}  // namespace mercato::exchange
