// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/like_pattern.h"

#include <algorithm>

#include "platform/store/call_limit.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::store::sqlite {
namespace {

using dialect::LikePart;
using dialect::next_character;

constexpr std::size_t kNot = std::string_view::npos;

constexpr std::array<char, 256> make_folding() {
  std::array<char, 256> folding{};
  for (std::size_t c = 0; c < folding.size(); ++c)
    folding[c] = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return folding;
}
constexpr auto kFolding = make_folding();

char folded(char byte) { return kFolding[static_cast<unsigned char>(byte)]; }

bool is_ascii(char32_t character) { return character < 0x80; }

// Beyond ASCII, patterns and texts are folded before they are looked at.
char32_t folded_character(char32_t character) {
  return is_ascii(character) ? static_cast<unsigned char>(folded(static_cast<char>(character))) : character;
}

// Of a stray byte a question mark.
std::string utf8_of(char32_t character) {
  std::string text;
  text::append(text, character <= 0x10FFFF ? character : U'?');
  return text;
}

}  // namespace

LikePattern::LikePattern(std::string_view pattern, char32_t escape, const TextOrder& order)
    : order_(order), pieces_(1) {
  for (const LikePart& part : dialect::read_like(pattern, escape)) {
    Piece& piece = pieces_.back();
    switch (part.kind) {
      case LikePart::Kind::any:
        pieces_.emplace_back();
        break;
      case LikePart::Kind::one:
        piece.elements.push_back({Element::Kind::any});
        break;
      case LikePart::Kind::set:
        piece.elements.push_back({Element::Kind::set, set_of(part)});
        break;
      case LikePart::Kind::characters:
        for (std::size_t position = 0; position < part.text.size();)
          piece.elements.push_back({Element::Kind::character, next_character(part.text, position)});
        break;
    }
  }
  for (Piece& piece : pieces_) {
    const auto plain = [](const Element& each) {
      return each.kind == Element::Kind::character && is_ascii(each.character);
    };
    if (!std::all_of(piece.elements.begin(), piece.elements.end(), plain)) continue;
    for (const Element& each : piece.elements) piece.plain += static_cast<char>(each.character);
    look_for_outline(piece);
  }
}

void LikePattern::look_for_outline(const Piece& piece) {
  for (auto begin = piece.plain.begin(); begin != piece.plain.end();) {
    const auto end = std::find_if(begin, piece.plain.end(), text::changes_by_folding);
    if (const auto length = static_cast<std::size_t>(end - begin); length > outline_.plain.size()) {
      outline_.plain.assign(begin, end);
      outline_.elements.resize(length);
    }
    begin = std::find_if_not(end, piece.plain.end(), text::changes_by_folding);
  }
}

// The index of the set.
std::uint32_t LikePattern::set_of(const LikePart& part) {
  const auto [known, is_new] = known_sets_.emplace(part.text, static_cast<std::uint32_t>(sets_.size()));
  if (!is_new) return known->second;
  Set& set = sets_.emplace_back(Set{{}, part.ranges, part.negated});
  for (const LikePart::Range& range : set.ranges) {
    check_call_limit();
    if (range.first == range.last) {
      if (is_ascii(range.first)) set.ascii[range.first] = true;
      continue;
    }
    for (char32_t c = 0; is_ascii(c); ++c) set.ascii[c] = set.ascii[c] || in_range(range, folded_character(c));
  }
  return known->second;
}

// A range holds what sorts between its ends.
bool LikePattern::in_range(const LikePart::Range& range, char32_t character) const {
  if (character == range.first || character == range.last) return true;
  if (range.first == range.last) return false;
  const std::string text = utf8_of(character);
  return order_.compare(utf8_of(range.first), text) <= 0 && order_.compare(text, utf8_of(range.last)) <= 0;
}

bool LikePattern::contains(const Set& set, char32_t character) const {
  if (set.ranges.empty() && !set.negated) return false;
  const bool found = is_ascii(character)
                         ? set.ascii[character]
                         : std::any_of(set.ranges.begin(), set.ranges.end(), [&](const LikePart::Range& range) {
                             check_call_limit();
                             return in_range(range, character);
                           });
  return found != set.negated;
}

bool LikePattern::fits(const Element& element, char32_t character) const {
  switch (element.kind) {
    case Element::Kind::character:
      return element.character == folded_character(character);
    case Element::Kind::any:
      return true;
    case Element::Kind::set:
      return contains(sets_[element.character], folded_character(character));
  }
  return false;
}

std::size_t LikePattern::match_at(const Piece& piece, std::string_view text, std::size_t begin) const {
  if (!piece.plain.empty()) {
    if (text.size() - begin < piece.plain.size()) return kNot;
    for (std::size_t i = 0; i < piece.plain.size(); ++i)
      if (folded(text[begin + i]) != piece.plain[i]) return kNot;
    return begin + piece.plain.size();
  }
  std::size_t position = begin;
  for (const Element& element : piece.elements)
    if (position >= text.size() || !fits(element, next_character(text, position))) return kNot;
  return position;
}

std::size_t LikePattern::find(const Piece& piece, std::string_view text, std::size_t begin) const {
  // An element is at least one byte, so a piece never begins where it would not end.
  if (text.size() < piece.elements.size()) return kNot;
  const std::size_t last = text.size() - piece.elements.size();
  if (!piece.plain.empty()) {
    const char first = piece.plain.front();
    for (; begin <= last; ++begin) {
      if (folded(text[begin]) != first) continue;
      check_call_limit();
      if (const std::size_t end = match_at(piece, text, begin); end != kNot) return end;
    }
    return kNot;
  }
  while (begin <= last) {
    check_call_limit();
    if (const std::size_t end = match_at(piece, text, begin); end != kNot) return end;
    if (begin == text.size()) return kNot;
    next_character(text, begin);
  }
  return kNot;
}

bool LikePattern::ends_with(const Piece& piece, std::string_view text, std::size_t begin) const {
  if (piece.elements.empty()) return true;
  if (!piece.plain.empty()) {
    const std::size_t size = piece.plain.size();
    return text.size() - begin >= size && match_at(piece, text, text.size() - size) != kNot;
  }
  std::size_t characters = 0;
  for (std::size_t position = begin; position < text.size(); ++characters) next_character(text, position);
  for (; characters > piece.elements.size(); --characters) next_character(text, begin);
  return match_at(piece, text, begin) == text.size();
}

bool LikePattern::matches(std::string_view text) const {
  const bool is_plain = std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
  if (is_plain) return matches_folded(text);
  // Looking for the outline costs a fraction of folding.
  if (!outline_.plain.empty() && find(outline_, text, 0) == kNot) return false;
  return matches_folded(text::folded(text));
}

// A text of ASCII characters may come as it is.
bool LikePattern::matches_folded(std::string_view text) const {
  const Piece& first = pieces_.front();
  std::size_t position = match_at(first, text, 0);
  if (position == kNot) return false;
  if (pieces_.size() == 1) return position == text.size();
  for (std::size_t i = 1; i + 1 < pieces_.size(); ++i) {
    position = find(pieces_[i], text, position);
    if (position == kNot) return false;
  }
  return ends_with(pieces_.back(), text, position);
}

}  // namespace mercato::store::sqlite
