// SPDX-License-Identifier: Apache-2.0
// Connection strings as people may see them. A pure function; any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::store {

// A text in which a connection string may stand: "..." in the place of each password, and of what stands behind it up to
// the next semicolon.
std::string without_passwords(std::string_view text);

}  // namespace mercato::store
