// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/odbc_text.h"

#include "mercato/raised_error.h"
#include "platform/store/failures.h"
#include "platform/store/odbc/odbc_failure.h"
#include "values/text.h"

namespace mercato::store::odbc {

std::u16string wide(std::string_view text) {
  if (!text::is_valid(text)) throw Raised(of_this_store(statement_refused("a text that is not UTF-8 cannot be kept")));
  // Some drivers end a text there.
  if (text.find('\0') != std::string_view::npos)
    throw Raised(of_this_store(statement_refused("a text with the character U+0000 cannot be kept")));
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(i);
    const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    char32_t character = size == 1 ? first : first & (0x7Fu >> size);
    for (std::size_t next = 1; next < size; ++next) character = (character << 6) | (byte(i + next) & 0x3Fu);
    i += size;
    if (character < 0x10000) {
      units += static_cast<char16_t>(character);
      continue;
    }
    character -= 0x10000;
    units += static_cast<char16_t>(0xD800 + (character >> 10));
    units += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
  }
  return units;
}

std::string narrow(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    const bool is_first_half = character >= 0xD800 && character < 0xDC00;
    const bool has_second_half = i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
    if (is_first_half && has_second_half)
      character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00u);
    else if (character >= 0xD800 && character < 0xE000)
      character = 0xFFFD;
    text::append(bytes, character);
  }
  return bytes;
}

}  // namespace mercato::store::odbc
