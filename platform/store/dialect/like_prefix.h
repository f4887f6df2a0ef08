// SPDX-License-Identifier: Apache-2.0
// What a LIKE pattern says of the begin of the texts that match it, so that an index can be searched for them.
#pragma once

#include <string_view>

namespace mercato::store::dialect {

// The ASCII letters and digits that the pattern begins with: all texts that match begin with them, in any case. They
// sort between these characters and the same followed by U+FFFF, the last of all in the order of texts.
constexpr std::string_view like_prefix(std::string_view pattern) {
  const auto plain = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  std::size_t size = 0;
  while (size < pattern.size() && plain(pattern[size])) ++size;
  return pattern.substr(0, size);
}

inline constexpr std::string_view kBehindAllTexts = "\xEF\xBF\xBF";

}  // namespace mercato::store::dialect
