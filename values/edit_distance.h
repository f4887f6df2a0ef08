// SPDX-License-Identifier: Apache-2.0
// How far two words are from each other: for proposals in place of what was misspelt. Any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace mercato::text {

using Characters = std::vector<std::string_view>;

// The characters of a text, each as it stands there.
Characters characters_of(std::string_view text);

// How many characters have to be put in, left out, replaced, or swapped with their neighbours; more than `most` is any
// number above it.
std::size_t edit_distance(const Characters& left, const Characters& right, std::size_t most);

}  // namespace mercato::text
