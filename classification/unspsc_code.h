// SPDX-License-Identifier: Apache-2.0
// How a UNSPSC code is made up: pairs of digits, each pair one level below the pair before it. A row of UNSPSCCODES
// holds one pair and, as its parent, all pairs above it. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mercato::unspsc {

// The row of a code: the last of its pairs that is not zero, below all pairs before it.
struct Place {
  std::string parent;  // the code above it; empty at the top
  std::string segment;
  std::int16_t level = 0;  // 1 at the top
};
// Nothing for a text that is no code: one that has neither 8 nor 10 characters, does not read as a number, or has a
// pair of zeros above another pair. A code of zeros only has neither parent nor segment, and the level 0.
std::optional<Place> place_of(const std::string& code);

// The code without the pairs of zeros at its end, which stand for no level. The first pair stays, and so does a text of
// odd length.
std::string without_zero_pairs(std::string code);

// The level of the codes right below this one, which has no pairs of zeros; 1 for the empty text.
std::int16_t level_below(const std::string& code);

}  // namespace mercato::unspsc
