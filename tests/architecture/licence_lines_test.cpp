// SPDX-License-Identifier: Apache-2.0
// Every source says under which licence it is, in its first line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace mercato::test {
namespace {

TEST(LicenceLines, BeginEverySource) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  std::size_t sources = 0;
  for (const char* folder : {"include", "values", "platform", "frame",          "records",  "collaborators", "product",
                             "search",  "upload", "catalog",  "classification", "server",   "exchange",      "keeping",
                             "host",    "tools",  "tests",    "bench",          "examples", "fuzz"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      if (const auto extension = entry.path().extension(); extension != ".h" && extension != ".cpp") continue;
      ++sources;
      std::ifstream text(entry.path());
      std::string first;
      std::getline(text, first);
      EXPECT_EQ(first, "// SPDX-License-Identifier: Apache-2.0") << entry.path();
    }
  }
  EXPECT_GT(sources, 600U);
}

}  // namespace
}  // namespace mercato::test
