// SPDX-License-Identifier: Apache-2.0
// How FTS5 cuts the texts of text indexes: into the trigrams of squeezed_text.h. In a query each quoted string is one
// trigram as it stands. A connection of its own for each thread.
#pragma once

#include <sqlite3.h>

#include <string_view>

namespace mercato::store::sqlite {

inline constexpr std::string_view kTokenizer = "mercato_trigrams";

// The engine's code.
int register_tokenizer(sqlite3* database);

}  // namespace mercato::store::sqlite
