// SPDX-License-Identifier: Apache-2.0
#include "values/squeezed_text.h"

#include <unicode/utf8.h>

#include <algorithm>

namespace mercato::text {
namespace {

bool is_kept(char byte) { return !is_squeezed_out(byte); }
bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

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
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(folded.data());
  std::uint32_t end = 0;
  for (std::size_t position = 0; position < folded.size();) {
    const std::size_t begin = position;
    UChar32 character = 0;
    U8_NEXT(bytes, position, folded.size(), character);
    if (character < 0) position = begin + 1;
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

}  // namespace mercato::text
