// SPDX-License-Identifier: Apache-2.0
// The token file that the commands of the host take when none is named.
#pragma once

namespace mercato::cli {

inline constexpr const char* kUsualTokenFile = "mercato-tokens.json";

}  // namespace mercato::cli
