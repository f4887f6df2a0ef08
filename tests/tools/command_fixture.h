// SPDX-License-Identifier: Apache-2.0
// Runs commands of the real program on a store of its own, and looks at what they say in words and as JSON, and that a
// refused one leaves the store as it was.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tools/run_tool.h"

namespace mercato::test {

using nlohmann::json;

class CommandTest : public testing::Test {
 protected:
  explicit CommandTest(Place place = Place::in_memory) : tool_(place) {}
  // The seed is a script of statements.
  explicit CommandTest(const std::string& seed) : CommandTest() { execute(seed); }

  ToolRun run(const Words& arguments, const std::string& input = {}) {
    return tool_.run(arguments, input, "export LC_ALL=C.UTF-8");
  }
  void execute(const std::string& script) {
    const ToolRun done = run({"execute", "-"}, script);
    ASSERT_EQ(done.status, 0) << done.err;
  }
  // What a query prints, without the line that counts the statements.
  std::string rows(const std::string& query) {
    const std::string out = run({"execute", "-"}, query).out;
    return out.substr(0, out.find("1 statement"));
  }
  std::string whole_store() {
    std::string queries;
    for (const char* table :
         {"PRODUCT", "PRODUCTPROPVALUE", "PROPERTY", "PROPERTYENUM", "PROPERTYGROUP", "PROPSBYPROPGROUP",
          "CATALOGPRODUCTPRICE", "FAVORITES", "FAVORITEFOLDERS", "UNIT", "PRODUCTCATEGORY", "PRODUCTSBYCATEGORY",
          "CATALOG", "CATALOGNODE", "CATALOGNODEBYUSER", "CATALOGNODEBYBP", "USERNODE"})
      queries += std::string("SELECT * FROM ") + table + " ORDER BY 1, 2;\n";
    const ToolRun done = run({"execute", "-"}, queries);
    EXPECT_EQ(done.status, 0) << done.err;
    return done.out;
  }

  void expect_done(const Words& arguments, const std::string& out) {
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.out, out);
    EXPECT_EQ(done.err, "");
  }
  // What `store check` says first, of a store that has the library's tables and no others.
  static std::string description_of(const TestStore& store) {
    const store::StoreDescription is = store.description();
    return "store        " + is.engine + " " + is.version + ", " + is.place +
           "\ntables       version 3\ncollation    " + is.collation + "\ntext search  " +
           (is.text_search.empty() ? "none: the tables are read" : is.text_search) + "\n" +
           (store.file() ? "" : "pages        not looked at: the server does that\n");
  }
  void expect_store_in_order() {
    expect_done({"store", "check"}, description_of(tool_.store()) + "The store is in order.\n");
  }
  json answer(Words arguments, int status = 0) {
    arguments.emplace_back("--json");
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, status) << done.err;
    EXPECT_EQ(done.err, "");
    return json::parse(done.out);
  }
  // Expects that the command is refused in these words and changes nothing.
  void expect_refused(const Words& arguments, const std::string& err, int status = 1) {
    const std::string before = whole_store();
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, status);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, err);
    EXPECT_EQ(whole_store(), before);
  }
  void expect_wrong_usage(const Words& arguments, const std::string& err) {
    expect_refused(arguments, "mercato: " + err + "; --help says more.\n", 2);
  }
  void write_file(const std::string& name, const std::string& text) { write_whole(tool_.folder() / name, text); }

  ToolFolder tool_;
};

}  // namespace mercato::test
