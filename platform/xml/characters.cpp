// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/characters.h"

#include "values/text.h"

namespace mercato::xml {
namespace {

constexpr char32_t kStray = 0xFFFFFFFF;

// The character at the position, which moves behind it; kStray for a byte that begins none.
char32_t decode(std::string_view text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position]);
  const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : lead >= 0xC0U ? 2 : 1;
  const std::string_view character = text.substr(position, length);
  if (!text::is_valid(character)) {
    ++position;
    return kStray;
  }
  position += length;
  constexpr std::array<unsigned char, 5> kBitsOfLead = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t code = lead & kBitsOfLead[length];
  for (const char byte : character.substr(1)) code = (code << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  return code;
}

}  // namespace

bool is_name(std::string_view text) {
  std::size_t position = 0;
  if (text.empty() || !begins_name(decode(text, position))) return false;
  while (position < text.size())
    if (!belongs_to_name(decode(text, position))) return false;
  return true;
}

std::size_t first_illegal(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    const auto byte = static_cast<unsigned char>(text[position]);
    if (byte >= 0x20 && byte < 0x80) {
      ++position;
      continue;
    }
    const std::size_t begin = position;
    if (!is_legal(decode(text, position))) return begin;
  }
  return std::string_view::npos;
}

std::string as_name_characters(std::string_view text) {
  std::string name;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t begin = position;
    if (belongs_to_name(decode(text, position)))
      name += text.substr(begin, position - begin);
    else
      name += '_';
  }
  return name;
}

}  // namespace mercato::xml
