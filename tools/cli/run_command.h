// SPDX-License-Identifier: Apache-2.0
// The command line of `mercato`: options, help, exit status. The commands themselves are in the files that commands.h
// and menu.h name. Main thread.
#pragma once

#include <string>
#include <vector>

namespace mercato::cli {

// Runs one command line, without the program's name: its settings are in force, and stay so. Returns the exit status.
// Raises std::bad_alloc.
int run_command(const std::vector<std::string>& words);

}  // namespace mercato::cli
