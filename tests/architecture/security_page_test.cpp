// SPDX-License-Identifier: Apache-2.0
// SECURITY.md names the tests that prove its promises. Each of them exists.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace mercato {
namespace {

const std::filesystem::path kRoot = MERCATO_SOURCE_DIR;

std::string text_of(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Every match's first group.
std::set<std::string> all_of(const std::string& text, const std::regex& expression) {
  std::set<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
    found.insert((*match)[1]);
  return found;
}

// Suites, fuzz targets and scripts.
std::set<std::string> existing_tests() {
  std::set<std::string> names;
  for (const char* folder : {"tests", "fuzz"})
    for (const auto& file : std::filesystem::recursive_directory_iterator(kRoot / folder)) {
      if (file.path().extension() == ".sh") names.insert(file.path().filename().string());
      if (file.path().extension() != ".cpp") continue;
      if (file.path().stem().string().ends_with("_fuzz")) names.insert(file.path().stem().string());
      names.merge(all_of(text_of(file.path()), std::regex(R"(\nTEST(?:_F|_P)?\((\w+),)")));
    }
  return names;
}

TEST(SecurityPage, NamesTestsThatExist) {
  const std::set<std::string> existing = existing_tests();
  std::size_t promises = 0;
  std::ifstream page(kRoot / "SECURITY.md");
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with("| ") || !line.ends_with(" |")) continue;
    const std::string last_column = line.substr(line.rfind('|', line.size() - 2));
    const std::set<std::string> named = all_of(last_column, std::regex("`([^`]+)`"));
    if (named.empty()) continue;  // the head
    ++promises;
    for (const std::string& name : named) EXPECT_TRUE(existing.contains(name)) << name << " is not a test: " << line;
  }
  EXPECT_GE(promises, 13u);
}

}  // namespace
}  // namespace mercato
