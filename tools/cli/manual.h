// SPDX-License-Identifier: Apache-2.0
// The manual, made from the table of commands, in the language of man pages. Main thread.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace mercato::cli {

// One page about the command and all commands below it.
std::string manual_of(const CLI::App& command, const std::string& version);

}  // namespace mercato::cli
