// SPDX-License-Identifier: Apache-2.0
// The listings of docs/use-from-cpp.md stand in the programs of examples/, which are compiled and run.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace mercato {
namespace {

const std::filesystem::path kTree = MERCATO_SOURCE_DIR;

struct Listing {
  std::size_t line = 0;
  std::vector<std::string> lines;
};

// Without the blanks at both ends: a listing is set in as the page wants it.
std::vector<std::string> trimmed_lines_of(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream text(file);
  for (std::string line; std::getline(text, line);) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    lines.push_back(line.substr(begin, line.find_last_not_of(' ') + 1 - begin));
  }
  return lines;
}

std::vector<Listing> listings_of(const std::filesystem::path& page) {
  std::vector<Listing> listings;
  std::ifstream text(page);
  bool in_listing = false;
  std::size_t number = 0;
  for (std::string line; std::getline(text, line);) {
    ++number;
    const bool is_listed = line.starts_with("    ");
    if (is_listed && !in_listing) listings.push_back({number, {}});
    in_listing = is_listed;
    if (is_listed) listings.back().lines.push_back(line.substr(line.find_first_not_of(' ')));
  }
  return listings;
}

TEST(Listings, OfTheGuideForHostsStandInTheExamples) {
  std::vector<std::vector<std::string>> programs;
  for (const auto& file : std::filesystem::directory_iterator(kTree / "examples"))
    if (file.path().extension() == ".cpp") programs.push_back(trimmed_lines_of(file.path()));
  const std::vector<Listing> listings = listings_of(kTree / "docs/use-from-cpp.md");
  ASSERT_GE(listings.size(), 8u);
  for (const Listing& listing : listings)
    EXPECT_TRUE(std::ranges::any_of(programs,
                                    [&](const auto& program) {
                                      return std::search(program.begin(), program.end(), listing.lines.begin(),
                                                         listing.lines.end()) != program.end();
                                    }))
        << "docs/use-from-cpp.md, line " << listing.line << ": no program in examples/ has these lines";
}

}  // namespace
}  // namespace mercato
