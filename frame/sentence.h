// SPDX-License-Identifier: Apache-2.0
// A failure of the library as a person reads it. Pure functions; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/raised_error.h"

namespace mercato {

// Each level that passes a failure on wraps its description once more. This is the innermost description.
std::string innermost_description(std::string_view description);
// The failure with these words as its innermost description. What it said before stays in its trace.
RaisedError told_as(RaisedError error, const std::string& words);

// The innermost description as a sentence.
std::string own_sentence(const RaisedError& error);
// The same for a person who wrote no statement and knows no engine. Words about a statement of the library's are
// replaced by what may be wrong with the values; the engine's own words are cut. With the version of the store's tables
// it says when they are another release's.
std::string sentence(const RaisedError& error, std::optional<std::int32_t> schema_version = std::nullopt);

// Whether a row was refused for another one that has its key.
bool says_key_is_taken(const RaisedError& error);

// Whether a driver says that its store failed, whatever it was asked for.
bool says_store_failed(const RaisedError& error);

// Whether a statement of the library's asked for a table or a column that the store has not, as a store of another
// release may.
bool misses_a_definition(const RaisedError& error);

}  // namespace mercato
