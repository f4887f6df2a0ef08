// SPDX-License-Identifier: Apache-2.0
#include "values/text.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace mercato::text {
namespace {

constexpr bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u; }
constexpr bool is_ascii(std::string_view text) {
  unsigned char bits = 0;  // no early exit: the compiler then takes many bytes at a time
  for (char byte : text) bits |= static_cast<unsigned char>(byte);
  return bits < 0x80u;
}
constexpr char ascii_upper(char byte) {
  return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}
constexpr char ascii_lower(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}
constexpr bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

// Bytes of the first `count` characters.
std::size_t prefix_bytes(std::string_view text, std::size_t count) {
  std::size_t position = 0;
  while (position < text.size() && count > 0) {
    ++position;
    while (position < text.size() && is_continuation(text[position])) ++position;
    --count;
  }
  return position;
}

// Bytes that are no UTF-8 become the replacement character.
template <class AsciiCase>
std::string changed_case(std::string_view text, AsciiCase ascii_case, UChar32 (*unicode_case)(UChar32)) {
  std::string result;
  if (is_ascii(text)) {
    result = text;
    for (char& byte : result) byte = ascii_case(byte);
    return result;
  }
  result.reserve(text.size());
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t position = 0; position < text.size();) {
    if (bytes[position] < 0x80u) {
      result += ascii_case(text[position++]);
      continue;
    }
    UChar32 character = 0;
    U8_NEXT(bytes, position, text.size(), character);
    constexpr UChar32 kReplacement = 0xFFFD;
    append(result, static_cast<char32_t>(character < 0 ? kReplacement : unicode_case(character)));
  }
  return result;
}

// Reading a number, from both ends of its text

constexpr bool is_blank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

void skip_blanks(std::string_view& text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
}

std::optional<double> read_hexadecimal(std::string_view digits) {
  std::uint64_t bits = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, problem] = std::from_chars(digits.data(), end, bits, 16);
  if (problem != std::errc{} || stop != end || bits > UINT32_MAX) return std::nullopt;
  // Four digits are a 16-bit pattern, more a 32-bit one.
  return digits.size() <= 4 ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
}

// Takes brackets, or one sign at either end, and a "$" in front. Answers whether the number is negative, and nothing
// when there are two of one kind.
std::optional<bool> take_sign(std::string_view& text) {
  const bool bracketed = text.size() > 2 && text.front() == '(' && text.back() == ')';
  if (bracketed) {
    text = text.substr(1, text.size() - 2);
    skip_blanks(text);
  }
  bool negative = bracketed;
  bool has_sign = bracketed;
  bool has_currency = false;
  while (!text.empty() && (text.front() == '+' || text.front() == '-' || text.front() == '$')) {
    bool& has_one = text.front() == '$' ? has_currency : has_sign;
    if (has_one) return std::nullopt;
    has_one = true;
    if (text.front() == '-') negative = true;
    text.remove_prefix(1);
    skip_blanks(text);
  }
  if (!has_sign && !text.empty() && (text.back() == '-' || text.back() == '+')) {
    negative = text.back() == '-';
    text.remove_suffix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  }
  return negative;
}

// Takes digits and a point, and adds them to `number`. Commas between the digits before the point are passed over.
// False when there is no digit.
bool take_digits(std::string_view& text, std::string& number) {
  bool any_digit = false;
  bool decimals = false;
  std::size_t position = 0;
  for (; position < text.size(); ++position) {
    const char byte = text[position];
    if (is_digit(byte))
      any_digit = true;
    else if (byte == '.' && !decimals)
      decimals = true;
    else if (byte == ',' && any_digit && !decimals)
      continue;
    else
      break;
    number += byte;
  }
  text.remove_prefix(position);
  return any_digit;
}

// Adds the text, which is an exponent or empty, to `number`. False when it is neither.
bool take_exponent(std::string_view text, std::string& number) {
  if (text.empty()) return true;
  const char letter = ascii_upper(text.front());
  if (letter != 'E' && letter != 'D') return false;
  text.remove_prefix(1);
  number += 'e';
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    number += text.front();
    text.remove_prefix(1);
  }
  number += text;
  return !text.empty() && std::all_of(text.begin(), text.end(), is_digit);
}

// What is too small reads as 0, what is too large as no number.
std::optional<double> read_decimal(const std::string& number) {
  double value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc{}) return value;
  if (result.ec != std::errc::result_out_of_range || std::strtod(number.c_str(), nullptr) > 1) return std::nullopt;
  return 0;
}

}  // namespace

bool is_valid(std::string_view text) {
  std::size_t position = 0;
  while (position < text.size()) {
    const auto lead = static_cast<unsigned char>(text[position]);
    if (lead < 0x80u) {
      ++position;
      continue;
    }
    std::size_t length = 0;
    char32_t code = 0;
    if (lead >= 0xC2u && lead <= 0xDFu) {
      length = 2;
      code = lead & 0x1Fu;
    } else if (lead >= 0xE0u && lead <= 0xEFu) {
      length = 3;
      code = lead & 0x0Fu;
    } else if (lead >= 0xF0u && lead <= 0xF4u) {
      length = 4;
      code = lead & 0x07u;
    } else {
      return false;
    }
    if (position + length > text.size()) return false;
    for (std::size_t offset = 1; offset < length; ++offset) {
      if (!is_continuation(text[position + offset])) return false;
      code = (code << 6u) | (static_cast<unsigned char>(text[position + offset]) & 0x3Fu);
    }
    const bool overlong = (length == 3 && code < 0x800u) || (length == 4 && code < 0x10000u);
    const bool surrogate = code >= 0xD800u && code <= 0xDFFFu;
    if (overlong || surrogate || code > 0x10FFFFu) return false;
    position += length;
  }
  return true;
}

std::size_t length(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t position = 0; position < text.size(); ++position)
    if (position == 0 || !is_continuation(text[position])) ++count;
  return count;
}

std::string_view left(std::string_view text, std::size_t count) { return text.substr(0, prefix_bytes(text, count)); }

std::string_view right(std::string_view text, std::size_t count) {
  const std::size_t total = length(text);
  return total <= count ? text : text.substr(prefix_bytes(text, total - count));
}

std::string_view without_last(std::string_view text, std::size_t count) {
  const std::size_t total = length(text);
  return total <= count ? std::string_view{} : left(text, total - count);
}

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string to_upper(std::string_view text) { return changed_case(text, ascii_upper, u_toupper); }

std::string to_lower(std::string_view text) { return changed_case(text, ascii_lower, u_tolower); }

bool equal_names(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  for (std::size_t position = 0; position < left.size(); ++position)
    if (ascii_upper(left[position]) != ascii_upper(right[position])) return false;
  return true;
}

void append(std::string& text, char32_t character) {
  std::uint8_t bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, character);
  text.append(reinterpret_cast<const char*>(bytes), length);
}

std::string replace_all(std::string_view text, std::string_view what, std::string_view with) {
  std::string result;
  result.reserve(text.size());
  std::size_t position = 0;
  while (true) {
    const std::size_t found = what.empty() ? std::string_view::npos : text.find(what, position);
    if (found == std::string_view::npos) break;
    result.append(text, position, found - position);
    result.append(with);
    position = found + what.size();
  }
  result.append(text, position);
  return result;
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  std::size_t position = 0;
  while (true) {
    const std::size_t found = separator.empty() ? std::string_view::npos : text.find(separator, position);
    parts.emplace_back(text.substr(position, found == std::string_view::npos ? found : found - position));
    if (found == std::string_view::npos) return parts;
    position = found + separator.size();
  }
}

std::optional<double> parse_number(std::string_view text) {
  skip_blanks(text);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  if (text.size() > 2 && text[0] == '&' && ascii_upper(text[1]) == 'H') return read_hexadecimal(text.substr(2));

  const std::optional<bool> negative = take_sign(text);
  std::string number;
  number.reserve(text.size());
  if (!negative || !take_digits(text, number) || !take_exponent(text, number)) return std::nullopt;
  const std::optional<double> amount = read_decimal(number);
  if (!amount) return std::nullopt;
  return *negative ? -*amount : *amount;
}

std::string number_text(double number) {
  // A whole number of up to 15 digits is written with all of them.
  constexpr double kBeyondDigits = 1e15;
  if (std::fabs(number) < kBeyondDigits && number == std::trunc(number))
    return std::to_string(static_cast<std::int64_t>(number));
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15G", number);
  return buffer;
}

}  // namespace mercato::text
