// A failure of the library as a person reads it. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>

#include "values/raised_error.h"

namespace mercato::cli {

// Every level that passed a failure on has wrapped its description once more. This is the innermost one.
std::string innermost_description(std::string_view description);
// The failure with one level more, whose description these words are; what it said before stays in its trace.
RaisedError told_as(RaisedError error, const std::string& words);

// The innermost description as a sentence.
std::string own_sentence(const RaisedError& error);
// The same for somebody who wrote no statement and knows no engine: what is said about a statement of the library's
// becomes what may be wrong with the values, and the engine's own words go.
std::string sentence(const RaisedError& error);

}  // namespace mercato::cli
