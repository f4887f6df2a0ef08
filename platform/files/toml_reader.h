// SPDX-License-Identifier: Apache-2.0
// The parser of TOML, toml++, as all of this program includes it. Any thread.
//
// It has assertions that a file can violate, such as one for a key behind a bracket; a check with a message stands behind
// each. An assertion would end the process, and without assertions the compiler takes them for true. So they are taken
// out, and the check answers.
#pragma once

#define TOML_HEADER_ONLY 1
#define TOML_ASSERT(condition) static_cast<void>(0)
#pragma push_macro("NDEBUG")
#undef NDEBUG
#include <toml++/toml.h>
#pragma pop_macro("NDEBUG")
