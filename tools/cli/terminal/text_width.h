// SPDX-License-Identifier: Apache-2.0
// How much room a text takes on a terminal: ideographs and the like take two columns, marks above and below others none.
// Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::cli {

// In columns. Codes of colours take none.
std::size_t width_of(std::string_view text);
// The text, or when it is wider than that its beginning with "…"; codes of colours stay. No character is cut in two.
std::string fitted(std::string_view text, std::size_t width);
// The text in lines that are no wider, broken at blanks; a word that is wider is broken where it has to be. At least one
// line. It has no codes of colours.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);
// The same of each line; what goes on in a further line stands behind so many blanks if the line begins with one.
std::string wrapped_lines(std::string_view text, std::size_t width, std::size_t indent);

}  // namespace mercato::cli
