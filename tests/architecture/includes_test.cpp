// The arrows between the folders: who may include whom. Read from the #include lines of the sources themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::test {
namespace {

struct Room {
  std::string folder;
  std::vector<std::string> may_include;  // besides itself
  bool libraries_of_others = true;       // may include headers that are neither ours nor standard C++
};

const std::vector<Room>& rooms() {
  static const std::vector<Room> table = {
      {"values", {}},
      {"platform", {"values"}},
      {"frame", {"platform", "values"}, false},
      {"records", {"frame", "platform", "values"}, false},
      {"collaborators", {"frame", "platform", "values"}},
      {"product", {"frame", "records", "values"}, false},
      {"upload", {"frame", "records", "values"}, false},
      {"catalog", {"frame", "records", "values"}, false},
      {"classification", {"frame", "records", "values"}, false},
      {"server",
       {"frame", "platform", "values", "collaborators", "product", "upload", "catalog", "classification"},
       false},
  };
  return table;
}

struct Include {
  std::string file;
  std::string path;
  bool quoted;
};

bool is_below(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

std::vector<Include> includes_of(const Room& room) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  static const std::regex line_form(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
  std::vector<Include> includes;
  if (!std::filesystem::exists(root / room.folder)) return includes;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / room.folder)) {
    const std::filesystem::path& path = entry.path();
    if (path.extension() != ".h" && path.extension() != ".cpp") continue;
    const std::string file = std::filesystem::relative(path, root / room.folder).string();
    std::ifstream text(path);
    std::smatch match;
    for (std::string line; std::getline(text, line);)
      if (std::regex_match(line, match, line_form))
        includes.push_back({room.folder + "/" + file, match[2], match[1] == "\""});
  }
  return includes;
}

TEST(Architecture, EveryRoomIsThere) {
  for (const char* folder :
       {"values", "platform", "frame", "collaborators", "product", "upload", "catalog", "classification", "server"}) {
    const auto room =
        std::find_if(rooms().begin(), rooms().end(), [&](const Room& candidate) { return candidate.folder == folder; });
    ASSERT_NE(room, rooms().end());
    EXPECT_FALSE(includes_of(*room).empty()) << folder;
  }
}

TEST(Architecture, ArrowsPointDownOnly) {
  for (const Room& room : rooms()) {
    for (const Include& include : includes_of(room)) {
      if (!include.quoted) continue;
      const bool allowed = is_below(include.path, room.folder) ||
                           std::any_of(room.may_include.begin(), room.may_include.end(),
                                       [&](const std::string& folder) { return is_below(include.path, folder); });
      EXPECT_TRUE(allowed) << include.file << " includes " << include.path;
    }
  }
}

// A file is found by its name alone. A driver is a copy of the empty one, so its files are called as that one's are.
TEST(Architecture, NoTwoSourcesShareAName) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  std::map<std::string, std::string> files;
  for (const char* folder : {"values", "platform", "frame", "records", "collaborators", "product", "upload", "catalog",
                             "classification", "server", "tools", "tests", "bench", "examples", "fuzz"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      const std::filesystem::path& path = entry.path();
      if (path.extension() != ".h" && path.extension() != ".cpp") continue;
      const std::string file = std::filesystem::relative(path, root).string();
      static const std::regex of_a_driver("platform/store/([^/]+/)?(driver|session|cursor)\\.(h|cpp)");
      if (std::regex_match(file, of_a_driver)) continue;
      const auto [other, is_new] = files.emplace(path.filename().string(), file);
      EXPECT_TRUE(is_new) << file << " and " << other->second;
    }
  }
  EXPECT_GT(files.size(), 400U);
}

TEST(Architecture, IncludesStartAtTheRoot) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  for (const Room& room : rooms())
    for (const Include& include : includes_of(room))
      if (include.quoted) {
        EXPECT_TRUE(std::filesystem::exists(root / include.path)) << include.file << " includes " << include.path;
      }
}

TEST(Architecture, OtherPeoplesLibrariesStayInTheGroundBelow) {
  for (const Room& room : rooms()) {
    if (room.libraries_of_others) continue;
    for (const Include& include : includes_of(room))
      if (!include.quoted) {
        // Standard C++ headers have neither an extension nor a folder.
        EXPECT_EQ(include.path.find_first_of("./"), std::string::npos) << include.file << " includes " << include.path;
      }
  }
}

TEST(Architecture, NobodyBelowTheHostsIncludesThem) {
  for (const Room& room : rooms()) {
    if (room.folder == "server") continue;
    for (const Include& include : includes_of(room))
      EXPECT_FALSE(is_below(include.path, "server") || is_below(include.path, "tools") ||
                   is_below(include.path, "tests"))
          << include.file << " includes " << include.path;
  }
}

}  // namespace
}  // namespace mercato::test
