// SPDX-License-Identifier: Apache-2.0
#include "values/squeezed_text.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <utility>

namespace mercato::text {
namespace {

bool is_kept(char byte) { return !is_squeezed_out(byte); }
bool is_printable(char byte) { return byte >= ' ' && byte <= '~'; }
bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

// The end of the character that begins there. A stray byte is one.
std::size_t end_of_character(std::string_view text, std::size_t begin) {
  std::size_t end = begin;
  UChar32 character = 0;
  U8_NEXT(reinterpret_cast<const std::uint8_t*>(text.data()), end, text.size(), character);
  return character < 0 ? begin + 1 : end;
}

}  // namespace

std::string squeezed(std::string_view folded) {
  std::string result(folded.size(), '\0');
  result.resize(static_cast<std::size_t>(std::ranges::copy_if(folded, result.begin(), is_kept).out - result.begin()));
  return result;
}

// The characters are told apart before the signs between them go: two stray bytes never become one character.
Trigrams::Trigrams(std::string_view folded) : squeezed_(squeezed(folded)) {
  if (std::ranges::all_of(squeezed_, is_ascii)) return;
  ends_.reserve(squeezed_.size());
  std::uint32_t end = 0;
  for (std::size_t position = 0; position < folded.size();) {
    const std::size_t begin = std::exchange(position, end_of_character(folded, position));
    if (!is_kept(folded[begin])) continue;
    end += static_cast<std::uint32_t>(position - begin);
    ends_.push_back(end);
  }
}

std::string_view Trigrams::next() {
  const std::size_t characters = ends_.empty() ? squeezed_.size() : ends_.size();
  if (given_ + 3 > characters) return {};
  const std::size_t first = given_++;
  if (ends_.empty()) return std::string_view(squeezed_).substr(first, 3);
  const std::size_t begin = first == 0 ? 0 : ends_[first - 1];
  return std::string_view(squeezed_).substr(begin, ends_[first + 2] - begin);
}

std::string_view SignedTrigrams::next() {
  while (end_ < text_.size()) {
    const std::size_t last = std::exchange(end_, end_of_character(text_, end_));
    const auto [first, middle] = std::exchange(before_, {before_[1], last});
    if (++looked_at_ < 3 || !is_kept(text_[last]) || is_kept(text_[first]) == is_kept(text_[middle])) continue;
    const char sign = text_[is_kept(text_[first]) ? middle : first];
    if (is_printable(sign) && !(sign == ' ' && is_kept(text_[first]))) return text_.substr(first, end_ - first);
  }
  return {};
}

}  // namespace mercato::text
