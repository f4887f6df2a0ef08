// A failure of the library as a person reads it. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>

#include "frame/types/raised_error.h"

namespace mercato::cli {

// Every level that passed a failure on has wrapped its description once more. This is the innermost one.
std::string innermost_description(std::string_view description);

// The innermost description as a sentence.
std::string sentence(const RaisedError& error);

}  // namespace mercato::cli
