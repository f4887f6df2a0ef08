// SPDX-License-Identifier: Apache-2.0
// What a LIKE pattern is made of: % any characters, _ one, [a-f] and [^a] one of or none of a set; all else is itself
// without regard to case and composition. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::store::dialect {

struct LikePart {
  enum class Kind : std::uint8_t { characters, one, any, set };
  // The characters between two, by the order of texts; mostly a single one.
  struct Range {
    char32_t first;
    char32_t last;
  };

  Kind kind;
  std::string text;           // folded: characters that stand for themselves, or what stands between a set's brackets
  std::vector<Range> ranges;  // of a set; one without any and without a ^ matches nothing
  bool negated = false;
};

// The parts of a pattern in their order. `escape`: a character that takes the meaning from the one behind it; 0 for
// none. Sets that stand for one character are that character, which is how wildcards are written as themselves.
// Raises kTimeout when the call limit passes.
std::vector<LikePart> read_like(std::string_view pattern, char32_t escape);

// The characters, folded, that stand in a row in every text that matches: what lies between two wildcards or sets. In
// the order of the pattern.
std::vector<std::string> pieces_of_like(std::string_view pattern, char32_t escape);

// Whether the text can be an escape character: one of ASCII.
bool is_like_escape(std::string_view escape);

// The character at `position`, which moves behind it. A byte that is no UTF-8 is a character of its own, beyond all
// others.
char32_t next_character(std::string_view text, std::size_t& position);

}  // namespace mercato::store::dialect
