// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/confirmation.h"

#include <unistd.h>

#include <iostream>

#include "mercato/raised_error.h"
#include "tools/cli/terminal/terminal.h"
#include "values/text.h"

namespace mercato::cli {

void expect_consent(const std::string& act) {
  if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDERR_FILENO) != 1)
    raise(error_number::kInvalidArgument, {}, act + ": --yes confirms it");
  std::cerr << shown(act, 500) << ". Go on? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  const std::string word = text::to_lower(text::trim(answer));
  if (word != "y" && word != "yes") raise(error_number::kInvalidArgument, {}, "Nothing was changed");
}

}  // namespace mercato::cli
