// The favourites of a user as the groups `favorite` and `folder` list them. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/cli/commands.h"

namespace mercato::cli {

// All of them, or those in one folder; for none of them `none` on a line. Returns kDone.
int list_favorites(const std::string& user, std::optional<std::int32_t> folder, const std::string& none,
                   const OutputOptions& output);

}  // namespace mercato::cli
