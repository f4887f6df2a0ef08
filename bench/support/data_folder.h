// SPDX-License-Identifier: Apache-2.0
// Where the real data lies: the folder that MERCATO_DATA names, else shared/data beside the source tree. It is no part
// of the project, so it may be missing.
#pragma once

#include <cstdlib>
#include <filesystem>

namespace mercato::bench {

inline std::filesystem::path data_folder() {
  if (const char* folder = std::getenv("MERCATO_DATA")) return folder;
  return std::filesystem::path(MERCATO_SOURCE_DIR).parent_path() / "shared" / "data";
}
inline std::filesystem::path components_file() { return data_folder() / "products" / "components-100k.csv.gz"; }

}  // namespace mercato::bench
