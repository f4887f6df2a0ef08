// The arrows between the folders: who may include whom. Read from the #include lines of the sources themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
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
  std::string without = {};              // a folder below it with a row of its own
};

const std::vector<Room>& rooms() {
  static const std::vector<Room> table = {
      {"frame/types", {}},
      {"platform", {"frame/types"}},
      {"frame", {"platform"}, false, "frame/types"},
      {"collaborators", {"frame", "platform"}},
      {"product", {"frame"}, false},
      {"upload", {"frame"}, false},
      {"catalog", {"frame"}, false},
      {"classification", {"frame"}, false},
      {"server", {"frame", "platform", "collaborators", "product", "upload", "catalog", "classification"}, false},
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
    if (!room.without.empty() && is_below(room.folder + "/" + file, room.without)) continue;
    std::ifstream text(path);
    std::smatch match;
    for (std::string line; std::getline(text, line);)
      if (std::regex_match(line, match, line_form))
        includes.push_back({room.folder + "/" + file, match[2], match[1] == "\""});
  }
  return includes;
}

TEST(Architecture, EveryRoomIsThere) {
  for (const char* folder : {"frame/types", "platform", "frame", "collaborators", "product", "upload", "catalog",
                             "classification", "server"}) {
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
