// SPDX-License-Identifier: Apache-2.0
// What somebody may have meant who found next to nothing. One thread at a time.
#pragma once

#include <string>
#include <vector>

#include "search/hits.h"

namespace mercato::search {

// A product by one of its numbers is what somebody meant; so may be any of more than two products.
inline constexpr std::size_t kFewProducts = 2;

// The text with each word that hardly any product has replaced by one like it, the likeliest first. The words are those
// of products that the search may show, and each text finds some.
std::vector<std::string> suggestions(Products& products, const LookedFor& looked_for);

}  // namespace mercato::search
