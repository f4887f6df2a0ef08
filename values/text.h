// SPDX-License-Identifier: Apache-2.0
// Text is UTF-8. Lengths and cuts count characters, never bytes, and never split one. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::text {

// Whether the bytes are well-formed UTF-8.
bool is_valid(std::string_view text);

// Number of characters (code points). A stray byte counts as one, a stray continuation byte belongs to the character
// before it.
std::size_t length(std::string_view text);

// The first `count` characters, all of them when there are fewer.
std::string_view left(std::string_view text, std::size_t count);
// The last `count` characters, all of them when there are fewer.
std::string_view right(std::string_view text, std::size_t count);
// What is left when the last `count` characters are taken away.
std::string_view without_last(std::string_view text, std::size_t count);

// Without the blanks (U+0020 only) at both ends.
std::string_view trim(std::string_view text);

// One letter stays one letter: a small sharp s has no capital here, so that a name with it is no name with SS.
std::string to_upper(std::string_view text);
std::string to_lower(std::string_view text);

// Whether the two are equal but for the case of ASCII letters: names of columns, classes and methods.
bool equal_names(std::string_view left, std::string_view right);

// Appends one character, which is no surrogate and not beyond U+10FFFF.
void append(std::string& text, char32_t character);

std::string replace_all(std::string_view text, std::string_view what, std::string_view with);

// Parts between the separators, empty ones included; the whole text when the separator is empty or absent.
// The empty text has no parts.
std::vector<std::string> split(std::string_view text, std::string_view separator);

// The number that a text reads as: blanks around it, a sign, thousands separators, decimals, an exponent,
// "$", brackets for a negative amount and "&H" for hexadecimal are understood. Nothing when it reads as none; the
// empty text reads as none.
std::optional<double> parse_number(std::string_view text);

// Shortest text of at most 15 significant digits, such as 3.5, 0.1, 1E+15.
std::string number_text(double number);

}  // namespace mercato::text
