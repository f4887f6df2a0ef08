// SPDX-License-Identifier: Apache-2.0
// What the server's functions mercato_folded and mercato_key make of a text, byte for byte: for texts that are bound
// where a statement compares with the key of a column. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "values/same_text.h"

namespace mercato::store::postgres {

using text::folded;

// The one form of all texts that are the same for the store.
inline std::string key(std::string_view text) { return folded(text::without_trailing_blanks(text)); }

}  // namespace mercato::store::postgres
