// SPDX-License-Identifier: Apache-2.0
// Texts on their way into an upload document. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::bench {

// A typewriter apostrophe in a part number or a property value ends an upload.
inline std::string with_typographic_apostrophes(std::string_view value) {
  std::string result;
  for (const char c : value) {
    if (c == '\'')
      result += "\u2019";
    else
      result += c;
  }
  return result;
}

// As the content of an element, or between double quotes.
inline std::string escaped(std::string_view value) {
  std::string result;
  for (const char c : value) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

}  // namespace mercato::bench
