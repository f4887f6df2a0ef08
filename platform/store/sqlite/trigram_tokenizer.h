// SPDX-License-Identifier: Apache-2.0
// How the trigrams of a row get into FTS5: the function mercato_trigrams(text, ...) lists those of squeezed_text.h that
// are in any of the texts, each once, and the tokenizer takes such a list apart. In a query each quoted string is one
// trigram as it stands. A connection of its own for each thread.
#pragma once

#include <sqlite3.h>

#include <string_view>

namespace mercato::store::sqlite {

inline constexpr std::string_view kTokenizer = "mercato_trigrams";

// The engine's code.
int register_trigrams(sqlite3* database);

}  // namespace mercato::store::sqlite
