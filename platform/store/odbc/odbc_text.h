// SPDX-License-Identifier: Apache-2.0
// Texts on their way to a driver of ODBC's and back: it takes UTF-16, whatever its own characters are. Pure functions;
// any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::store::odbc {

// Raises kStatementRefused for what is no UTF-8, and for the character U+0000: no server keeps such a text.
std::u16string wide(std::string_view text);

// Half a character is U+FFFD.
std::string narrow(std::u16string_view text);

}  // namespace mercato::store::odbc
