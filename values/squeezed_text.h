// SPDX-License-Identifier: Apache-2.0
// A text without the signs that numbers and names are written with in many ways, and its pieces of three characters:
// what text indexes are made of. KT-INS 114 and ktins114 have the same ones. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::text {

// A folded text (same_text.h) without the ASCII characters that are neither letters nor digits: blanks, hyphens, dots,
// slashes, quotes, controls.
std::string squeezed(std::string_view folded);
// By byte: whether it leaves it out.
inline constexpr std::array<bool, 256> kSqueezedOut = [] {
  std::array<bool, 256> out{};
  for (std::size_t c = 0; c < 0x80; ++c)
    out[c] = !(c >= '0' && c <= '9') && !(c >= 'A' && c <= 'Z') && !(c >= 'a' && c <= 'z');
  return out;
}();
constexpr bool is_squeezed_out(char byte) { return kSqueezedOut[static_cast<unsigned char>(byte)]; }

// Every three characters that stand in a row in a squeezed text, from the begin to the end. A stray byte is a character.
class Trigrams {
 public:
  explicit Trigrams(std::string_view folded);
  // Empty behind the last one; valid as long as this object.
  std::string_view next();

 private:
  std::string squeezed_;
  std::vector<std::uint32_t> ends_;  // of the characters; none when each is one byte
  std::size_t given_ = 0;
};

// The trigrams of a folded text as it is that hold one sign, in front or in the middle: they tell "18-A" from "118A".
// Signs are the printable ones of those that `squeezed` leaves out. A blank in the middle tells too little.
class SignedTrigrams {
 public:
  // The text outlives this object.
  explicit SignedTrigrams(std::string_view folded) : text_(folded) {}
  // Empty behind the last one; a piece of the text.
  std::string_view next();

 private:
  std::string_view text_;
  std::array<std::size_t, 2> before_{};  // where the two characters before the next one begin
  std::size_t looked_at_ = 0;            // characters
  std::size_t end_ = 0;                  // of them
};

}  // namespace mercato::text
