// SPDX-License-Identifier: Apache-2.0
// Which characters a document may hold, and which a name in it, as XML 1.0 in its fifth edition lists them. Any thread.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace mercato::xml {

struct CharacterRange {
  char32_t first;
  char32_t last;
};

inline bool is_legal(char32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c <= 0xD7FF || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

inline bool begins_name(char32_t c) {
  constexpr std::array<CharacterRange, 15> kRanges = {{{':', ':'},
                                                       {'A', 'Z'},
                                                       {'_', '_'},
                                                       {'a', 'z'},
                                                       {0xC0, 0xD6},
                                                       {0xD8, 0xF6},
                                                       {0xF8, 0x2FF},
                                                       {0x370, 0x37D},
                                                       {0x37F, 0x1FFF},
                                                       {0x200C, 0x200D},
                                                       {0x2070, 0x218F},
                                                       {0x2C00, 0x2FEF},
                                                       {0x3001, 0xD7FF},
                                                       {0xF900, 0xFDCF},
                                                       {0xFDF0, 0xFFFD}}};
  return (c >= 0x10000 && c <= 0xEFFFF) ||
         std::ranges::any_of(kRanges, [c](const CharacterRange& range) { return c >= range.first && c <= range.last; });
}

inline bool belongs_to_name(char32_t c) {
  return begins_name(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == 0xB7 || (c >= 0x300 && c <= 0x36F) ||
         (c >= 0x203F && c <= 0x2040);
}

// Whether the text, UTF-8, can be the name of an element.
bool is_name(std::string_view text);
// Where the first character stands that no document may hold, stray bytes included; npos when there is none.
std::size_t first_illegal(std::string_view text);
// The text, UTF-8, with an underscore in place of each character that no name has.
std::string as_name_characters(std::string_view text);

}  // namespace mercato::xml
