// SPDX-License-Identifier: Apache-2.0
// A LIKE pattern, made ready once and matched against many texts. Accents and trailing blanks count on both sides.
// Immutable once made, but it leans on a TextOrder, so one thread at a time. Making it and matching end with kTimeout
// when the call limit passes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/dialect/like_reader.h"
#include "platform/store/sqlite/collation.h"

namespace mercato::store::sqlite {

class LikePattern {
 public:
  // `escape`: a character that takes the meaning from the one behind it; 0 for none. `order` outlives the pattern.
  LikePattern(std::string_view pattern, char32_t escape, const TextOrder& order);

  // Takes at most time in proportion to the length of the text times that of the longest piece between two %.
  bool matches(std::string_view text) const;

 private:
  struct Set {
    std::array<bool, 128> ascii{};
    std::vector<dialect::LikePart::Range> ranges;
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

  std::uint32_t set_of(const dialect::LikePart& part);
  void look_for_outline(const Piece& piece);
  bool in_range(const dialect::LikePart::Range& range, char32_t character) const;
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
  Piece outline_;              // what each text that matches has in it before it is folded; may be empty
};

}  // namespace mercato::store::sqlite
