// SPDX-License-Identifier: Apache-2.0
// A LIKE pattern, made ready once and matched against many texts: % any characters, _ one, [a-f] and [^a] one of or
// none of a set; all else is itself without regard to case and composition. Accents and trailing blanks count on both
// sides. Immutable once made, but it leans on a TextOrder, so one thread at a time. Making it and matching end with
// kTimeout when the call limit passes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/sqlite/collation.h"

namespace mercato::store::sqlite {

class LikePattern {
 public:
  // `escape`: a character that takes the meaning from the one behind it; 0 for none. `order` outlives the pattern.
  LikePattern(std::string_view pattern, char32_t escape, const TextOrder& order);

  // Takes at most time in proportion to the length of the text times that of the longest piece between two %.
  bool matches(std::string_view text) const;

 private:
  struct Range {
    char32_t first;
    char32_t last;
  };
  struct Set {
    std::array<bool, 128> ascii{};
    std::vector<Range> ranges;
    bool negated = false;
  };
  struct Element {
    enum class Kind : std::uint8_t { character, any, set } kind;
    char32_t character = 0;  // folded; of a set its index
  };
  // The elements between two %.
  struct Piece {
    std::vector<Element> elements;
    std::string plain;  // the same as bytes in lower case, when all are ASCII characters
  };

  void add_characters(std::string_view characters, Piece& piece) const;
  std::size_t read_set(std::string_view pattern, std::size_t open, Piece& piece);
  Set set_of(std::string_view inner) const;
  bool in_range(const Range& range, char32_t character) const;
  bool contains(const Set& set, char32_t character) const;
  bool fits(const Element& element, char32_t character) const;
  bool matches_folded(std::string_view text) const;
  // One past the matching bytes when the piece stands at `begin`, else npos.
  std::size_t match_at(const Piece& piece, std::string_view text, std::size_t begin) const;
  std::size_t find(const Piece& piece, std::string_view text, std::size_t begin) const;
  bool ends_with(const Piece& piece, std::string_view text, std::size_t begin) const;

  const TextOrder& order_;
  std::vector<Set> sets_;
  std::unordered_map<std::string, std::uint32_t> known_sets_;  // by what stands between their brackets
  std::vector<Piece> pieces_;  // at least one; the first stands at the begin of the text and the last at its end
};

}  // namespace mercato::store::sqlite
