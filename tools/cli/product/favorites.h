// SPDX-License-Identifier: Apache-2.0
// The favourites of a user and their folders, as the groups `favorite` and `folder` list them. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/commands.h"

namespace mercato::cli {

struct Folder {
  std::int32_t id = 0;
  std::string name;
};
// The user's folders, by name.
std::vector<Folder> folders_of(const std::string& user);

// All favourites of the user, or those in one folder; for none of them `none` on a line. Returns kDone.
int list_favorites(const std::string& user, std::optional<std::int32_t> folder, const std::string& none,
                   const OutputOptions& output);

}  // namespace mercato::cli
