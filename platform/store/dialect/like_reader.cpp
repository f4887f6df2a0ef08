// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/like_reader.h"

#include <unicode/utf8.h>

#include <algorithm>

#include "platform/store/call_limit.h"
#include "values/same_text.h"

namespace mercato::store::dialect {
namespace {

LikePart set_of(std::string inner) {
  LikePart set{LikePart::Kind::set, std::move(inner), {}};
  const std::string_view text = set.text;
  set.negated = text.starts_with('^');
  for (std::size_t position = set.negated ? 1 : 0; position < text.size();) {
    check_call_limit();
    LikePart::Range range{};
    range.first = range.last = next_character(text, position);
    if (position + 1 < text.size() && text[position] == '-') {
      ++position;
      range.last = next_character(text, position);
    }
    set.ranges.push_back(range);
  }
  return set;
}

// A set ends at its first ]. One without an end matches nothing. `position` is behind the opening bracket and moves
// behind the set.
LikePart read_set(std::string_view pattern, std::size_t& position) {
  const std::size_t close = pattern.find(']', position);
  const bool ends = close != std::string_view::npos;
  LikePart set = set_of(ends ? text::folded(pattern.substr(position, close - position)) : std::string());
  position = ends ? close + 1 : pattern.size();
  if (!set.negated && set.ranges.size() == 1 && set.ranges[0].first == set.ranges[0].last) {
    std::size_t end = 0;
    next_character(set.text, end);
    set.text.resize(end);
    set.kind = LikePart::Kind::characters;
  }
  return set;
}

}  // namespace

char32_t next_character(std::string_view text, std::size_t& position) {
  const auto byte = static_cast<unsigned char>(text[position]);
  if (byte < 0x80) {
    ++position;
    return byte;
  }
  UChar32 character = 0;
  const auto length = static_cast<std::int32_t>(std::min<std::size_t>(text.size() - position, 4));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data() + position);
  std::int32_t used = 0;
  U8_NEXT(bytes, used, length, character);
  constexpr char32_t kStrayByte = 0x110000;
  if (character < 0) {
    ++position;
    return kStrayByte + byte;
  }
  position += static_cast<std::size_t>(used);
  return static_cast<char32_t>(character);
}

bool is_like_escape(std::string_view escape) {
  return escape.size() == 1 && static_cast<unsigned char>(escape[0]) < 0x80;
}

std::vector<LikePart> read_like(std::string_view pattern, char32_t escape) {
  std::vector<LikePart> parts;
  std::string characters;  // that stand for themselves, up to the next wildcard: neighbours may compose
  const auto end_characters = [&] {
    if (!characters.empty()) parts.push_back({LikePart::Kind::characters, text::folded(characters), {}});
    characters.clear();
  };
  for (std::size_t position = 0; position < pattern.size();) {
    check_call_limit();
    std::size_t begin = position;
    char32_t character = next_character(pattern, position);
    const bool escaped = escape != 0 && character == escape && position < pattern.size();
    if (escaped) {
      begin = position;
      character = next_character(pattern, position);
    }
    if (escaped || (character != '%' && character != '_' && character != '[')) {
      characters += pattern.substr(begin, position - begin);
      continue;
    }
    end_characters();
    if (character == '[')
      parts.push_back(read_set(pattern, position));
    else
      parts.push_back({character == '%' ? LikePart::Kind::any : LikePart::Kind::one, {}, {}});
  }
  end_characters();
  return parts;
}

std::vector<std::string> pieces_of_like(std::string_view pattern, char32_t escape) {
  std::vector<std::string> pieces;
  bool goes_on = false;
  for (LikePart& part : read_like(pattern, escape)) {
    const bool is_piece = part.kind == LikePart::Kind::characters;
    if (is_piece && goes_on)
      pieces.back() += part.text;
    else if (is_piece)
      pieces.push_back(std::move(part.text));
    goes_on = is_piece;
  }
  return pieces;
}

}  // namespace mercato::store::dialect
