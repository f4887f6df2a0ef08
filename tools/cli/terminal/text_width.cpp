// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/text_width.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace mercato::cli {
namespace {

std::size_t columns_of(UChar32 character) {
  constexpr std::uint32_t kWithoutRoom = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
  if (character < 0x300) return 1;  // also what is no UTF-8
  if ((U_GET_GC_MASK(character) & kWithoutRoom) != 0) return 0;
  const auto width = static_cast<UEastAsianWidth>(u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH));
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// A character, or a code of colours.
struct Piece {
  std::string_view bytes;
  std::size_t columns = 0;
  bool is_code = false;
};

Piece next_piece(std::string_view text, std::size_t at) {
  if (text[at] == '\x1b') {
    const std::size_t end = std::min(text.find('m', at), text.size() - 1) + 1;
    return {text.substr(at, end - at), 0, true};
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t end = at;
  UChar32 character = 0;
  U8_NEXT(bytes, end, text.size(), character);
  return {text.substr(at, end - at), columns_of(character)};
}

template <class Take>
void for_each_piece(std::string_view text, const Take& take) {
  for (std::size_t at = 0; at < text.size();) {
    const Piece piece = next_piece(text, at);
    take(piece);
    at += piece.bytes.size();
  }
}

// How many bytes of the text are the most that fit; those of one character at the least.
std::size_t beginning_of(std::string_view text, std::size_t width) {
  std::size_t bytes = 0;
  std::size_t columns = 0;
  for_each_piece(text, [&](const Piece& piece) {
    columns += piece.columns;
    if (columns <= width || bytes == 0) bytes += piece.bytes.size();
  });
  return bytes;
}

}  // namespace

std::size_t width_of(std::string_view text) {
  std::size_t width = 0;
  for_each_piece(text, [&](const Piece& piece) { width += piece.columns; });
  return width;
}

std::string fitted(std::string_view text, std::size_t width) {
  if (width_of(text) <= width) return std::string(text);
  std::string cut;
  std::size_t columns = 0;
  bool is_full = false;
  for_each_piece(text, [&](const Piece& piece) {
    columns += piece.columns;
    if (!is_full && columns >= width && !piece.is_code) {
      cut += "…";
      is_full = true;
    }
    if (piece.is_code || !is_full) cut += piece.bytes;
  });
  return cut;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
  std::vector<std::string> lines;
  while (width_of(text) > width) {
    std::size_t end = beginning_of(text, width);
    if (text[end] != ' ')
      if (const std::size_t blank = text.rfind(' ', end); blank != std::string_view::npos && blank > 0) end = blank;
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  }
  if (!text.empty() || lines.empty()) lines.emplace_back(text);
  return lines;
}

std::string wrapped_lines(std::string_view text, std::size_t width, std::size_t indent) {
  std::string all;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    const std::string first = wrapped(line, width).front();
    all += first;
    const std::size_t more_begins = std::min(line.find_first_not_of(' ', first.size()), line.size());
    if (more_begins < line.size()) {
      const std::size_t blanks = line.starts_with(' ') ? indent : 0;
      const std::string_view rest = line.substr(more_begins);
      for (const std::string& more : wrapped(rest, width - blanks)) all.append("\n").append(blanks, ' ').append(more);
    }
    if (end < text.size()) all += '\n';
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return all;
}

}  // namespace mercato::cli
