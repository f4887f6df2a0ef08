// SPDX-License-Identifier: Apache-2.0
// Asks before what cannot be taken back. Main thread.
#pragma once

#include <string>

namespace mercato::cli {

// For a command without --yes. Returns when the user says on the terminal that he wants the act, which is a sentence
// without its end, such as "12 price lines will be deleted". Else raises 5, where nobody can be asked too.
void expect_consent(const std::string& act);

}  // namespace mercato::cli
