// SPDX-License-Identifier: Apache-2.0
#include "values/same_text.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::text {
namespace {

constexpr UChar32 folded_ascii(UChar32 character) {
  return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character;
}

UChar32 folded_character(UChar32 character) {
  if (character < 0x80) return folded_ascii(character);
  // Folding would make an s of the long s, which sorts as a letter of its own, and a letter of the iota below a letter,
  // which is a mark.
  constexpr UChar32 kLongS = 0x17F, kIotaSubscript = 0x345;
  return character == kLongS || character == kIotaSubscript ? character : u_foldCase(character, U_FOLD_CASE_DEFAULT);
}

struct Normalizers {
  Normalizers() {
    UErrorCode status = U_ZERO_ERROR;
    decomposing = icu::Normalizer2::getNFDInstance(status);
    composing = icu::Normalizer2::getNFCInstance(status);
    check(status);
  }
  static void check(UErrorCode status) {
    if (U_FAILURE(status))
      raise(error_number::kStoreFailure, {}, std::string("Texts cannot be compared: ") + u_errorName(status));
  }
  const icu::Normalizer2* decomposing = nullptr;
  const icu::Normalizer2* composing = nullptr;
};

const Normalizers& normalizers() {
  static const Normalizers instance;
  return instance;
}

// A folded text by definition: the text is decomposed, each character is folded, and the whole is composed.
icu::UnicodeString folded_and_composed(const icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString characters = normalizers().decomposing->normalize(text, status);
  icu::UnicodeString folded;
  for (std::int32_t i = 0; i < characters.length(); i = characters.moveIndex32(i, 1))
    folded.append(folded_character(characters.char32At(i)));
  icu::UnicodeString composed = normalizers().composing->normalize(folded, status);
  Normalizers::check(status);
  return composed;
}

std::string folded_and_composed(std::string_view text) {
  std::string result;
  folded_and_composed(icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())}))
      .toUTF8String(result);
  return result;
}

// Whether the character may be folded alone, whatever text it stands in: it does not join with the character before it,
// and its fold is the composed form of what its decomposed form folds to.
bool folds_alone(UChar32 character) {
  const UChar32 folded = folded_character(character);
  return normalizers().composing->hasBoundaryBefore(folded) &&
         folded_and_composed(icu::UnicodeString(character)) == icu::UnicodeString(folded);
}

// The same, worked out once for a block of characters. Characters beyond the blocks are rare and not remembered.
bool is_known_to_fold_alone(UChar32 character) {
  constexpr UChar32 kBlockSize = 64, kEnd = 0x30000;
  struct Block {
    std::atomic<bool> known;
    std::atomic<std::uint64_t> folds_alone;  // a bit for each character
  };
  static std::array<Block, kEnd / kBlockSize> blocks;
  if (character >= kEnd) return folds_alone(character);
  Block& block = blocks[static_cast<std::size_t>(character / kBlockSize)];
  if (!block.known.load(std::memory_order_acquire)) {
    std::uint64_t bits = 0;
    const UChar32 first = character / kBlockSize * kBlockSize;
    for (UChar32 i = 0; i < kBlockSize; ++i)
      if (folds_alone(first + i)) bits |= std::uint64_t{1} << i;
    block.folds_alone.store(bits, std::memory_order_relaxed);
    block.known.store(true, std::memory_order_release);
  }
  return (block.folds_alone.load(std::memory_order_relaxed) >> (character % kBlockSize) & 1) != 0;
}

// Whether a text has characters that do not fold alone. Below U+0300, where the marks begin, that is only the capital
// I with a dot: it folds to an i and a dot, which have no composed form.
bool composes(std::string_view text) {
  constexpr std::uint8_t kFirstMark = 0xCC;  // leads U+0300
  constexpr std::uint8_t kDottedCapitalI[] = {0xC4, 0xB0};
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t position = 0; position < text.size();) {
    const std::uint8_t byte = bytes[position];
    if (byte < kFirstMark) {
      ++position;
      if (byte == kDottedCapitalI[0] && position < text.size() && bytes[position] == kDottedCapitalI[1]) return true;
      continue;
    }
    UChar32 character = 0;
    U8_NEXT(bytes, position, text.size(), character);
    if (character >= 0 && !is_known_to_fold_alone(character)) return true;
  }
  return false;
}

// Writes the fold of the character at `position`, which moves behind it. A stray byte is itself.
inline void append_folded(const std::uint8_t* bytes, std::size_t size, std::size_t& position, std::uint8_t* written,
                          std::size_t& length) {
  const std::size_t begin = position;
  if (bytes[begin] < 0x80) {
    ++position;
    written[length++] = static_cast<std::uint8_t>(folded_ascii(bytes[begin]));
    return;
  }
  UChar32 character = 0;
  U8_NEXT(bytes, position, size, character);
  if (character < 0) {
    position = begin + 1;
    written[length++] = bytes[begin];
  } else {
    const auto folded = static_cast<char32_t>(folded_character(character));
    U8_APPEND_UNSAFE(written, length, folded);
  }
}

// A text's characters, each folded by itself, byte by byte.
class FoldedBytes {
 public:
  explicit FoldedBytes(std::string_view text) : text_(text) {}

  // Negative behind the last.
  int next() {
    if (given_ == length_) {
      if (position_ == text_.size()) return -1;
      read();
    }
    return bytes_[given_++];
  }

 private:
  void read() {
    given_ = length_ = 0;
    append_folded(reinterpret_cast<const std::uint8_t*>(text_.data()), text_.size(), position_, bytes_, length_);
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::uint8_t bytes_[U8_MAX_LENGTH] = {};
  std::size_t length_ = 0, given_ = 0;
};

}  // namespace

std::string_view without_trailing_blanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string folded(std::string_view text) {
  if (composes(text) && is_valid(text)) return folded_and_composed(text);
  // Folding makes three bytes of two at most.
  std::string result(text.size() + text.size() / 2, '\0');
  auto* const written = reinterpret_cast<std::uint8_t*>(result.data());
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t length = 0;
  for (std::size_t position = 0; position < text.size();) append_folded(bytes, text.size(), position, written, length);
  result.resize(length);
  return result;
}

bool changes_by_folding(char byte) {
  // Made of the capital I with a dot, the sign of kelvin, the Greek question mark and the Greek grave accent; a NUL is an
  // end to some engines.
  constexpr std::string_view kMadeOfOthers("\0ik;`", 5);
  return static_cast<unsigned char>(byte) >= 0x80 || kMadeOfOthers.find(byte) != std::string_view::npos;
}

int compare_folded(std::string_view left, std::string_view right) {
  if (composes(left) || composes(right)) return folded(left).compare(folded(right));
  FoldedBytes left_bytes(left), right_bytes(right);
  for (;;) {
    const int left_byte = left_bytes.next(), right_byte = right_bytes.next();
    if (left_byte != right_byte) return left_byte < right_byte ? -1 : 1;
    if (left_byte < 0) return 0;
  }
}

bool same(std::string_view left, std::string_view right) {
  left = without_trailing_blanks(left);
  right = without_trailing_blanks(right);
  return left == right || compare_folded(left, right) == 0;
}

}  // namespace mercato::text
