// SPDX-License-Identifier: Apache-2.0
// The arrows between the folders: who may include whom. Read from the #include lines of the sources themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
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
      {"search", {"frame", "values"}, false},
      {"upload", {"frame", "records", "values"}, false},
      {"catalog", {"frame", "records", "values"}, false},
      {"classification", {"frame", "records", "values"}, false},
      {"server",
       {"frame", "platform", "values", "collaborators", "product", "search", "upload", "catalog", "classification"},
       false},
      {"exchange", {"frame", "platform", "records", "upload", "values"}},
      {"keeping",
       {"frame", "platform", "records", "values", "collaborators", "product", "upload", "catalog", "classification"}},
  };
  return table;
}

// Within a floor: which of its rooms a room may include besides itself. A room is the files of one folder, without those
// of the folders in it; where a single file may do more, or may be seen by more, it stands here by its own name.
struct Inner {
  std::string room;
  std::vector<std::string> may_include;
};

const std::vector<Inner>& inner_rooms() {
  static const std::vector<Inner> table = {
      {"platform/clock", {}},
      {"platform/files", {}},
      {"platform/xml", {"platform/files"}},
      {"platform/spreadsheet", {"platform/files"}},
      {"platform/automation", {}},
      {"platform/transactions", {"platform/automation", "platform/store"}},
      // The contract: it knows the dialect, for every statement is checked before a driver gets it, but no driver.
      {"platform/store", {"platform/store/dialect"}},
      {"platform/store/known_drivers.cpp",
       {"platform/store", "platform/store/odbc/driver.h", "platform/store/postgres/driver.h",
        "platform/store/sqlite/driver.h"}},
      // The dialect: of the contract only plain records, and the call limit, which long statements ask.
      {"platform/store/dialect",
       {"platform/store/call_limit.h", "platform/store/row_layout.h", "platform/store/statement.h"}},
      // PostgreSQL's SQL, for all drivers that reach such a server.
      {"platform/store/postgres_dialect", {"platform/store", "platform/store/dialect", "platform/clock"}},
      // The drivers: none sees another.
      {"platform/store/empty", {"platform/store", "platform/store/dialect"}},
      {"platform/store/sqlite", {"platform/store", "platform/store/dialect", "platform/clock"}},
      {"platform/store/odbc", {"platform/store", "platform/store/dialect", "platform/store/postgres_dialect"}},
      {"platform/store/postgres",
       {"platform/store", "platform/store/dialect", "platform/store/postgres_dialect", "platform/clock"}},

      {"exchange", {"exchange/input", "exchange/formats", "exchange/stored", "exchange/writers"}},
      {"exchange/input", {"exchange/item.h"}},
      {"exchange/journal", {}},
      {"exchange/uploading", {"exchange", "exchange/journal"}},
      {"exchange/formats", {"exchange/input", "exchange/stored", "exchange/item.h", "exchange/read_values.h"}},
      {"exchange/stored", {}},
      {"exchange/writers",
       {"exchange/stored", "exchange/formats", "exchange/item_documents.h", "exchange/read_values.h"}},

      {"tools/gateway", {}},
      {"tools/cli", {"tools/gateway", "tools/cli/terminal"}},
      {"tools/cli/terminal", {"tools/gateway", "tools/cli/commands.h", "tools/cli/library.h"}},
      {"tools/cli/import", {"tools/gateway", "tools/cli", "tools/cli/terminal", "tools/cli/upload"}},
      {"tools/cli/export", {"tools/gateway", "tools/cli", "tools/cli/terminal", "tools/cli/catalog/catalog_names.h"}},
      {"tools/cli/catalog", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
      {"tools/cli/classification", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
      {"tools/cli/product", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
      {"tools/cli/host", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
      {"tools/cli/store", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
      {"tools/cli/upload", {"tools/gateway", "tools/cli", "tools/cli/terminal"}},
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

// The public headers are a room of their own: public_headers_test.cpp holds what they include, and who includes them.
bool is_public(std::string_view path) { return path.starts_with("mercato/"); }

std::vector<Include> includes_below(const std::string& folder) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  static const std::regex line_form(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
  std::vector<Include> includes;
  if (!std::filesystem::exists(root / folder)) return includes;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
    const std::filesystem::path& path = entry.path();
    if (path.extension() != ".h" && path.extension() != ".cpp") continue;
    const std::string file = std::filesystem::relative(path, root).string();
    std::ifstream text(path);
    std::smatch match;
    for (std::string line; std::getline(text, line);)
      if (std::regex_match(line, match, line_form) && !is_public(match[2].str()))
        includes.push_back({file, match[2], match[1] == "\""});
  }
  return includes;
}

std::vector<Include> includes_of(const Room& room) { return includes_below(room.folder); }

std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/')); }

// The row of a file: its own, or its folder's; null when there is none.
const Inner* row_of(const std::string& file) {
  for (const std::string& name : {file, folder_of(file)})
    for (const Inner& row : inner_rooms())
      if (row.room == name) return &row;
  return nullptr;
}

TEST(Architecture, EveryRoomIsThere) {
  for (const char* folder : {"values", "platform", "frame", "records", "collaborators", "product", "search", "upload",
                             "catalog", "classification", "server", "exchange", "keeping"}) {
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

TEST(Architecture, RoomsOfAFloorIncludeEachOtherOnlyAsTheirRowsSay) {
  std::size_t seen = 0;
  for (const char* floor : {"platform", "exchange", "tools"}) {
    for (const Include& include : includes_below(floor)) {
      const Inner* const row = row_of(include.file);
      ASSERT_NE(row, nullptr) << include.file << " lies in a room without a row";
      if (!include.quoted || !is_below(include.path, floor)) continue;
      ++seen;
      const auto allows = [&](const std::string& room) {
        return room == include.path || room == folder_of(include.path);
      };
      EXPECT_TRUE(folder_of(include.path) == folder_of(include.file) || std::ranges::any_of(row->may_include, allows))
          << include.file << " includes " << include.path;
    }
  }
  EXPECT_GT(seen, 300U);
}

// Whoever talks to a store does so by the contract. The tests of a driver and the benchmarks look at its inside.
TEST(Architecture, NobodyOutsideOfTheStoreIncludesADriver) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  std::set<std::string> drivers;
  for (const auto& entry : std::filesystem::directory_iterator(root / "platform/store"))
    if (std::filesystem::exists(entry.path() / "driver.h"))
      drivers.insert("platform/store/" + entry.path().filename().string());
  EXPECT_EQ(drivers, (std::set<std::string>{"platform/store/empty", "platform/store/odbc", "platform/store/postgres",
                                            "platform/store/sqlite"}));
  for (const char* floor :
       {"values", "platform", "frame", "records", "collaborators", "product", "search", "upload", "catalog",
        "classification", "server", "exchange", "keeping", "host", "tools", "examples"}) {
    for (const Include& include : includes_below(floor)) {
      if (is_below(include.file, "platform/store")) continue;
      EXPECT_FALSE(drivers.contains(folder_of(include.path))) << include.file << " includes " << include.path;
    }
  }
}

// A file is found by its name alone. A driver is a copy of the empty one, so its files are called as that one's are.
TEST(Architecture, NoTwoSourcesShareAName) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  std::map<std::string, std::string> files;
  for (const char* folder : {"values", "platform", "frame",          "records",  "collaborators", "product", "search",
                             "upload", "catalog",  "classification", "server",   "exchange",      "keeping", "host",
                             "tools",  "tests",    "bench",          "examples", "fuzz",          "include"}) {
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

// The host stands beside the tool: of the tool it knows the gateway, and nothing below knows it.
TEST(Architecture, TheHostKnowsOfTheToolTheGatewayOnly) {
  for (const Include& include : includes_below("host"))
    if (include.quoted && is_below(include.path, "tools")) {
      EXPECT_EQ(folder_of(include.path), "tools/gateway") << include.file;
    }
  for (const Room& room : rooms())
    for (const Include& include : includes_of(room)) EXPECT_FALSE(is_below(include.path, "host")) << include.file;
  for (const Include& include : includes_below("tools"))
    if (is_below(include.path, "host")) {
      EXPECT_EQ(folder_of(include.file), "tools/cli/host") << include.path;
    }
}

// It takes long to compile, so it is compiled once.
TEST(Architecture, OneSourceIncludesTheLibraryForHttp) {
  for (const char* floor : {"host", "tools", "exchange", "keeping", "platform", "tests"})
    for (const Include& include : includes_below(floor))
      if (is_below(include.path, "boost")) {
        EXPECT_EQ(include.file, "host/front.cpp") << include.path;
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
    if (room.folder == "server" || room.folder == "exchange" || room.folder == "keeping") continue;
    for (const Include& include : includes_of(room))
      EXPECT_FALSE(is_below(include.path, "server") || is_below(include.path, "exchange") ||
                   is_below(include.path, "keeping") || is_below(include.path, "tools") ||
                   is_below(include.path, "tests"))
          << include.file << " includes " << include.path;
  }
}

}  // namespace
}  // namespace mercato::test
