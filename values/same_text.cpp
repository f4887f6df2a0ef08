#include "values/same_text.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>

#include "values/raised_error.h"
#include "values/text.h"

namespace mercato::text {
namespace {

UChar32 folded_character(UChar32 character) {
  // The long s is another letter than s for whoever sorts texts, and the iota below a letter is a mark, of which
  // folding would make a letter.
  constexpr UChar32 kLongS = 0x17F, kIotaSubscript = 0x345;
  return character == kLongS || character == kIotaSubscript ? character : u_foldCase(character, U_FOLD_CASE_DEFAULT);
}

// Whether a text may have characters whose fold is not the composed form of what its decomposed form folds to. The
// marks that compose begin at U+0300; the capital I with a dot folds to an i and a dot, which have no composed form.
bool composes(std::string_view text) {
  constexpr unsigned char kFirstMark = 0xCC;  // leads U+0300
  constexpr std::string_view kDottedCapitalI = "\u0130";
  return std::any_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) >= kFirstMark; }) ||
         text.find(kDottedCapitalI) != std::string_view::npos;
}

// A text's characters, each folded by itself, byte by byte. A stray byte is itself.
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
    const std::size_t begin = position_;
    UChar32 character = 0;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text_.data());
    U8_NEXT(bytes, position_, text_.size(), character);
    given_ = length_ = 0;
    if (character < 0) {
      position_ = begin + 1;
      bytes_[length_++] = static_cast<std::uint8_t>(text_[begin]);
    } else {
      const auto folded = static_cast<char32_t>(folded_character(character));
      U8_APPEND_UNSAFE(bytes_, length_, folded);
    }
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::uint8_t bytes_[U8_MAX_LENGTH] = {};
  std::size_t length_ = 0, given_ = 0;
};

std::string folded_and_composed(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* const decomposed = icu::Normalizer2::getNFDInstance(status);
  const icu::Normalizer2* const composed = icu::Normalizer2::getNFCInstance(status);
  icu::UnicodeString folded;
  if (U_SUCCESS(status)) {
    const auto characters = decomposed->normalize(
        icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())}), status);
    for (std::int32_t i = 0; i < characters.length(); i = characters.moveIndex32(i, 1))
      folded.append(folded_character(characters.char32At(i)));
    folded = composed->normalize(folded, status);
  }
  if (U_FAILURE(status))
    raise(error_number::kStoreFailure, {}, std::string("Texts cannot be compared: ") + u_errorName(status));
  std::string result;
  folded.toUTF8String(result);
  return result;
}

}  // namespace

std::string_view without_trailing_blanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string folded(std::string_view text) {
  if (composes(text) && is_valid(text)) return folded_and_composed(text);
  std::string result;
  result.reserve(text.size());
  FoldedBytes bytes(text);
  for (int byte = bytes.next(); byte >= 0; byte = bytes.next()) result += static_cast<char>(byte);
  return result;
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
