// SPDX-License-Identifier: Apache-2.0
// The public headers: what they include, and who of the library may include which of them. Moving a header to
// include/mercato/ takes it out of no floor: the arrows between the folders hold for it all the same.
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

// The folder that a public header belongs to: its source lies there, or would.
const std::map<std::string, std::string>& homes() {
  static const std::map<std::string, std::string> table = {
      {"object.h", "values"},
      {"variant.h", "values"},
      {"currency.h", "values"},
      {"date.h", "values"},
      {"dictionary.h", "values"},
      {"collection.h", "values"},
      {"raised_error.h", "values"},
      {"component.h", "platform"},
      {"class_table.h", "platform"},
      {"invoke.h", "platform"},
      {"registry.h", "platform"},
      {"object_context.h", "platform"},
      {"statement.h", "platform"},
      {"clock.h", "platform"},
      {"connection.h", "frame"},
      {"recordset.h", "frame"},
      {"mercato_errors.h", "frame"},
      {"table_creation.h", "frame"},
      {"by_name.h", "collaborators"},
      {"settings.h", "collaborators"},
      {"reference_rules.h", "collaborators"},
      {"product.h", "product"},
      {"search.h", "search"},
      {"product_xml.h", "upload"},
      {"price_xml.h", "upload"},
      {"upload_observer.h", "upload"},
      {"catalog.h", "catalog"},
      {"t_catalog.h", "catalog"},
      {"contract.h", "classification"},
      {"faqlist.h", "classification"},
      {"hazardous_class.h", "classification"},
      {"property.h", "classification"},
      {"property_group.h", "classification"},
      {"r_property_group.h", "classification"},
      {"t_hazardous_class.h", "classification"},
      {"t_unit.h", "classification"},
      {"t_unspsc.h", "classification"},
      {"unit.h", "classification"},
      {"unspsc.h", "classification"},
      {"unspsc_upload_observer.h", "classification"},
      {"server.h", "server"},
  };
  return table;
}

// Besides its own, the headers of these folders may be included; a header's own name is one header.
const std::map<std::string, std::set<std::string>>& arrows() {
  // A business class describes itself in a class table and asks the clock; nothing else of the ground is its business.
  static const std::set<std::string> of_business = {"frame", "values", "class_table.h", "clock.h"};
  static const std::map<std::string, std::set<std::string>> table = {
      {"values", {}},
      {"platform", {"values"}},
      {"frame", {"platform", "values"}},
      {"records", {"frame", "platform", "values"}},
      {"collaborators", {"frame", "platform", "values"}},
      {"product", of_business},
      {"search", of_business},
      {"upload", of_business},
      {"catalog", of_business},
      {"classification", of_business},
      {"server",
       {"frame", "platform", "values", "collaborators", "product", "search", "upload", "catalog", "classification"}},
  };
  return table;
}

// They belong to no folder: every one may include the first two, and only hosts the last one.
constexpr std::string_view kExport = "export.h";
constexpr std::string_view kVersion = "version.h";
constexpr std::string_view kForHosts = "mercato.h";

const std::filesystem::path& tree() {
  static const std::filesystem::path path = MERCATO_SOURCE_DIR;
  return path;
}

std::set<std::string> public_headers() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(tree() / "include/mercato"))
    if (entry.path().extension() == ".h") names.insert(entry.path().filename().string());
  return names;
}

std::vector<std::string> includes_in(const std::filesystem::path& file) {
  static const std::regex form(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"].*)");
  std::vector<std::string> includes;
  std::ifstream text(file);
  std::smatch match;
  for (std::string line; std::getline(text, line);)
    if (std::regex_match(line, match, form)) includes.push_back(match[1]);
  return includes;
}

constexpr std::string_view kFolder = "mercato/";
bool is_of_the_face(std::string_view include) { return include.starts_with(kFolder); }
std::string name_of(std::string_view include) { return std::string(include.substr(kFolder.size())); }

// Whether a file of the folder may include the public header.
bool may_include(const std::string& folder, const std::string& header) {
  if (header == kExport || header == kVersion) return true;
  if (header == kForHosts) return false;
  const auto home = homes().find(header);
  if (home == homes().end()) return false;
  const std::set<std::string>& allowed = arrows().at(folder);
  return home->second == folder || allowed.contains(home->second) || allowed.contains(header);
}

TEST(PublicHeaders, EachBelongsToAFolder) {
  std::set<std::string> listed = {std::string(kExport), "mercato.h"};
  for (const auto& [header, folder] : homes()) listed.insert(header);
  EXPECT_EQ(public_headers(), listed);
}

TEST(PublicHeaders, IncludeEachOtherAndStandardHeadersOnly) {
  for (const std::string& header : public_headers())
    for (const std::string& include : includes_in(tree() / "include/mercato" / header)) {
      // Standard C++ headers have neither an extension nor a folder.
      const bool standard = include.find_first_of("./") == std::string::npos;
      const bool public_too =
          is_of_the_face(include) && (public_headers().contains(name_of(include)) || include == "mercato/version.h");
      EXPECT_TRUE(standard || public_too) << header << " includes " << include;
    }
}

TEST(PublicHeaders, OneIncludesAllOthers) {
  std::set<std::string> expected = public_headers();
  expected.erase("mercato.h");
  expected.insert("version.h");
  std::set<std::string> included;
  for (const std::string& include : includes_in(tree() / "include/mercato/mercato.h"))
    included.insert(name_of(include));
  EXPECT_EQ(included, expected);
}

TEST(PublicHeaders, IncludeNothingOfAFloorAbove) {
  for (const auto& [header, folder] : homes())
    for (const std::string& include : includes_in(tree() / "include/mercato" / header)) {
      if (!is_of_the_face(include)) continue;
      EXPECT_TRUE(may_include(folder, name_of(include))) << header << " includes " << include;
    }
}

TEST(PublicHeaders, AreIncludedFromTheirOwnFloorAndFromAbove) {
  std::size_t seen = 0;
  for (const auto& [folder, allowed] : arrows())
    for (const auto& entry : std::filesystem::recursive_directory_iterator(tree() / folder)) {
      if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
      for (const std::string& include : includes_in(entry.path())) {
        if (!is_of_the_face(include)) continue;
        ++seen;
        EXPECT_TRUE(may_include(folder, name_of(include))) << entry.path() << " includes " << include;
      }
    }
  EXPECT_GT(seen, 100U);
}

}  // namespace
}  // namespace mercato::test
