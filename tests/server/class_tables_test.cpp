// SPDX-License-Identifier: Apache-2.0
// Every public class and every public method of it stands in its class table. Read from the headers themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "mercato/server.h"
#include "values/text.h"

namespace mercato::test {
namespace {

// Public members that automation clients do not need, each with the reason.
const std::map<std::string, std::string>& members_beside_the_table() {
  static const std::map<std::string, std::string> members = {
      {"table", "is the table"},
      {"set_observer", "for hosts in the same process, who watch an upload record by record"},
  };
  return members;
}

std::string without_comments(const std::string& text) {
  static const std::regex comment(R"(//[^\n]*)");
  return std::regex_replace(text, comment, "");
}

// The names of the functions that a class body declares in its public sections.
std::vector<std::string> public_functions(const std::string& body, const std::string& class_name) {
  static const std::regex access(R"(^\s*(public|protected|private)\s*:)");
  static const std::regex function(R"(([A-Za-z_]\w*)\s*\()");
  std::vector<std::string> names;
  bool is_public = false;
  std::string declaration;
  int depth = 0;
  const auto end_declaration = [&] {
    std::smatch match;
    while (std::regex_search(declaration, match, access)) {
      is_public = match[1] == "public";
      declaration = match.suffix();
    }
    if (is_public && std::regex_search(declaration, match, function) && match[1] != class_name)
      names.push_back(match[1]);
    declaration.clear();
  };
  for (const char byte : body) {
    if (byte == '{' && depth++ == 0) end_declaration();
    if (depth == 0 && byte == ';')
      end_declaration();
    else if (depth == 0)
      declaration += byte;
    if (byte == '}') --depth;
  }
  return names;
}

// Class name to its public functions, for every component that the public headers, or those of the business folders,
// declare.
std::map<std::string, std::vector<std::string>> declared_classes() {
  static const std::regex head(
      R"(class\s+(?:MERCATO_API\s+)?(\w+)(?:\s+final)?\s*:\s*public\s+ComponentOf<(\w+)>\s*\{)");
  std::map<std::string, std::vector<std::string>> classes;
  for (const char* folder : {"include/mercato", "product", "upload", "catalog", "classification"}) {
    const std::filesystem::path path = std::filesystem::path(MERCATO_SOURCE_DIR) / folder;
    if (!std::filesystem::exists(path)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
      if (entry.path().extension() != ".h") continue;
      std::ifstream file(entry.path());
      const std::string text = without_comments({std::istreambuf_iterator<char>(file), {}});
      for (std::sregex_iterator match(text.begin(), text.end(), head), end; match != end; ++match) {
        const std::size_t begin = static_cast<std::size_t>(match->position() + match->length());
        const std::size_t length = text.find("\n};", begin) - begin;
        classes[(*match)[1]] = public_functions(text.substr(begin, length), (*match)[1]);
      }
    }
  }
  return classes;
}

const ClassTable* table_of(const std::string& class_name) {
  const auto tables = library_classes();
  const auto found = std::find_if(tables.begin(), tables.end(),
                                  [&](const ClassTable* table) { return table->class_name() == class_name; });
  return found == tables.end() ? nullptr : *found;
}

// A property is one entry of the table, under its name, but two functions in the header: one reads, one writes.
bool writes_property(const ClassTable& table, const std::string& function) {
  if (!function.starts_with("Set")) return false;
  const MethodInfo* property = table.find(function.substr(3));
  return property && property->property;
}

TEST(ClassTables, AreReadFromTheHeadersRightly) {
  const std::string body = R"(
   public:
    static const ClassTable& table();
    Sample() = default;
    DictionaryPtr GetOne(std::int32_t id = -1,
                         const std::string& text = "");
    std::string Name() const { return call({1, 2}); }
    enum class Kind { one, two };
   protected:
    void Hidden();
   private:
    void HiddenToo();
   public:
    bool Last();
  )";
  EXPECT_EQ(public_functions(body, "Sample"), (std::vector<std::string>{"table", "GetOne", "Name", "Last"}));
}

TEST(ClassTables, HoldEveryPublicMethod) {
  const auto classes = declared_classes();
  EXPECT_GE(classes.size(), library_classes().size());
  for (const auto& [class_name, functions] : classes) {
    const ClassTable* table = table_of(class_name);
    ASSERT_NE(table, nullptr) << class_name << " is no public class of the library";
    EXPECT_FALSE(functions.empty()) << class_name;
    for (const std::string& function : functions) {
      if (members_beside_the_table().contains(function) || writes_property(*table, function)) continue;
      EXPECT_NE(table->find(function), nullptr) << class_name << "." << function << " is public and not in the table";
    }
  }
}

TEST(ClassTables, SpellMethodsAsTheHeadersDo) {
  const auto classes = declared_classes();
  for (const ClassTable* table : library_classes()) {
    const auto declared = classes.find(std::string(table->class_name()));
    ASSERT_NE(declared, classes.end()) << table->prog_id();
    for (const MethodInfo& method : table->methods())
      EXPECT_NE(std::find(declared->second.begin(), declared->second.end(), method.name), declared->second.end())
          << table->prog_id() << "." << method.name;
  }
}

TEST(ClassTables, DeclareTheTransactionOfEveryClassAndWhoAnswersForReferences) {
  const std::map<std::string, std::pair<std::string, bool>> expected = {
      {"Catalog", {"none", true}},
      {"Contract", {"undeclared", true}},
      {"Faqlist", {"undeclared", false}},
      {"HazardousClass", {"none", false}},
      {"PriceXML", {"none", false}},
      {"Product", {"required", true}},
      {"ProductXML", {"undeclared", false}},
      {"Property", {"required", true}},
      {"PropertyGroup", {"required", false}},
      {"RPropertyGroup", {"none", false}},
      {"TCatalog", {"required", true}},
      {"THazardousClass", {"required", true}},
      {"TUNSPSC", {"required", true}},
      {"TUnit", {"required", true}},
      {"UNSPSC", {"none", true}},
      {"Unit", {"none", true}},
  };
  std::map<std::string, std::pair<std::string, bool>> declared;
  for (const ClassTable* table : library_classes())
    declared[std::string(table->class_name())] = {std::string(attribute_name(table->attribute())),
                                                  !table->implements().empty()};
  EXPECT_EQ(declared, expected);
}

TEST(ClassTables, NameEveryMethodAndArgumentOnce) {
  for (const ClassTable* table : library_classes()) {
    std::set<std::string> methods;
    for (const MethodInfo& method : table->methods()) {
      EXPECT_TRUE(methods.insert(text::to_upper(method.name)).second) << table->prog_id() << "." << method.name;
      std::set<std::string> arguments;
      bool optional_seen = false;
      for (const ArgumentInfo& argument : method.arguments) {
        EXPECT_TRUE(arguments.insert(text::to_upper(argument.name)).second) << method.name << " " << argument.name;
        EXPECT_FALSE(optional_seen && !argument.optional)
            << method.name << ": " << argument.name << " follows an optional one";
        optional_seen = argument.optional;
      }
    }
  }
}

}  // namespace
}  // namespace mercato::test
