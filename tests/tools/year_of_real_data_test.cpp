// SPDX-License-Identifier: Apache-2.0
// A year of an office by commands alone, with a thousand products of a real supplier; on request, since it takes longer.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "mercato/clock.h"
#include "tests/tools/run_in_process.h"

namespace mercato::test {
namespace {

using nlohmann::json;

constexpr std::size_t kShelves = 10;

std::filesystem::path real_products() {
  const char* folder = std::getenv("MERCATO_DATA");
  const std::filesystem::path data =
      folder ? std::filesystem::path(folder) : std::filesystem::path(MERCATO_SOURCE_DIR).parent_path() / "shared/data";
  return data / "products/components-1k.csv";
}

class YearOfRealData : public testing::Test {
 protected:
  ~YearOfRealData() override { clock::restore_clock(); }

  static void enter(int month) { clock::script_clock(Date::from_civil({2026, month, 2, 9, 0, 0}), 0); }
  // What the command answers; it fails the test with another status.
  static json told(Words words, int status = 0) {
    words.emplace_back("--json");
    const ToolRun done = InProcess::run(words);
    EXPECT_EQ(done.status, status) << words.front() << ' ' << words[1] << ": " << done.err;
    return done.out.empty() ? json() : json::parse(done.out);
  }
  Words import(const std::string& file, Words more = {}) const {
    Words words = {"import", file, "--supplier", "PARTS", "--cut", "--set", "UNITCODE=PCE"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
  // The first categories of the supplier's, with the part numbers in each, as `import --to` writes them.
  std::map<std::string, Words> shelves() const {
    std::map<std::string, Words> shelves;
    std::ifstream lines(tool_.folder() / "documents/product_categories.csv");
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
      const std::size_t comma = line.find(',');
      if (line.find('"') != std::string::npos) continue;  // a name with a comma
      const std::string name = line.substr(line.rfind('>') + 2);
      if (shelves.contains(name) || shelves.size() < kShelves) shelves[name].push_back(line.substr(0, comma));
    }
    return shelves;
  }

  ToolFolder tool_{Place::in_memory, Tables::none};
};

TEST_F(YearOfRealData, NeedsNoStatement) {
  const std::string file = real_products();
  if (!std::getenv("MERCATO_TEST_SECONDS")) GTEST_SKIP() << "MERCATO_TEST_SECONDS asks for it";
  if (!std::filesystem::exists(file))
    GTEST_SKIP() << "there is no real data at " << file << "; MERCATO_DATA names its folder";
  const InProcess here(tool_.folder().path());

  enter(1);
  told({"init"});
  for (const Words& row : {Words{"units", "UNITCODE=PCE"}, Words{"currencies", "CURRENCYCODE=USD"},
                           Words{"partners", "BUSINESSID=PARTS"}, Words{"users", "USERID=ben", "ISACTIVE=1"}}) {
    Words words = {"reference", "set"};
    words.insert(words.end(), row.begin(), row.end());
    EXPECT_EQ(told(words).at("inserted"), 1);
  }

  enter(2);  // what lacks a description is refused, and comes with one
  const json first = told(import(file), 3);
  EXPECT_EQ(first.at("read"), 1000);
  EXPECT_EQ(first.at("refused"), 140);
  EXPECT_EQ(first.at("products").at("inserted"), 860);
  const json second = told(import(file, {"--set", "PRODUCTDESCRIPTION=Component"}));
  EXPECT_EQ(second.at("unchanged"), 860);
  EXPECT_EQ(second.at("products").at("inserted"), 140);
  EXPECT_EQ(told({"find", "C1002"}).at("products").at(0).at("partNumber"), "C1002");

  enter(3);  // the catalogue
  told(import(file, {"--set", "PRODUCTDESCRIPTION=Component", "--to", "documents"}));
  std::string nodes = "id,parent,name,category\ntop,,Components,\n";
  std::size_t shown = 0;
  const std::map<std::string, Words> all = shelves();
  ASSERT_EQ(all.size(), kShelves);
  for (const auto& [name, numbers] : all) {
    const std::string id = std::to_string(told({"category", "new", name}).at("id").get<int>());
    std::string list;
    for (const std::string& number : numbers) list += "part:" + number + "\n";
    write_whole(tool_.folder() / "numbers.txt", list);
    EXPECT_EQ(told({"category", "add", id, "--file", "numbers.txt", "--yes"}).at("added"), numbers.size());
    shown += numbers.size();
    nodes += "n" + id + ",top,Shelf " + id + "," + id + "\n";
  }
  write_whole(tool_.folder() / "nodes.csv", nodes);
  told({"catalog", "load", "nodes.csv", "--name", "Parts 2026", "--active"});
  EXPECT_EQ(told({"catalog", "tree", "Parts 2026"}).at("nodes").size(), kShelves + 1);
  told({"rights", "assign", "ben", "Parts 2026"});
  EXPECT_EQ(told({"rights", "populate", "ben"}).at("nodes"), kShelves + 1);
  const std::string wanted = all.begin()->second.front();
  EXPECT_EQ(told({"find", wanted, "--user", "ben"}).at("products").at(0).at("partNumber"), wanted);
  told({"favorite", "add", "ben", "part:" + wanted});

  enter(5);  // prices
  const json raised = told({"price", "change", "--supplier", "PARTS", "--by", "3%", "--decimals", "4", "--yes"});
  EXPECT_EQ(raised.at("changed").get<int>() + raised.at("same").get<int>(), 5091 + 840);
  EXPECT_EQ(told({"price", "for", "part:C1002", "--quantity", "1", "--currency", "USD"}).at("PRICE"),
            json({{"$", "currency"}, {"value", "0.0194"}}));

  enter(6);  // a file that nobody wanted
  write_whole(tool_.folder() / "june.csv",
              "part_number,description\nC1002,Something else\nC4068,Something else\nNEW-1,New\n");
  EXPECT_EQ(told(import("june.csv")).at("products"),
            json({{"given", 3}, {"inserted", 1}, {"updated", 2}, {"refused", 0}, {"left", 0}}));
  const int upload = told({"uploads", "list", "--limit", "1"}).at("uploads").at(0).at("id");
  const json undone = told({"uploads", "undo", std::to_string(upload), "--yes"});
  EXPECT_EQ(undone.at("left"), json::array());
  EXPECT_EQ(told({"find", "NEW-1"}, 1).at("products"), json::array());

  enter(9);
  told({"product", "disable", "part:C4068"});

  enter(11);  // the successor
  told({"catalog", "copy", "Parts 2026", "--name", "Parts 2027"});
  const json succeeded = told({"catalog", "succeed", "Parts 2026", "Parts 2027", "--yes"});
  EXPECT_EQ(succeeded.at("disabled"), 0);
  EXPECT_EQ(succeeded.at("laidOut"), 1);
  EXPECT_EQ(told({"find", wanted, "--user", "ben"}).at("products").at(0).at("partNumber"), wanted);
  EXPECT_EQ(told({"favorite", "list", "ben"}).at("favorites").size(), 1u);

  enter(12);
  told({"doctor"}, 3);  // products in no category
  EXPECT_EQ(told({"export", "products", "-o", "products.csv"}).at("written"), 1000);
  EXPECT_EQ(told({"import", "products.csv", "--dry-run"}).at("unchanged"), 1000);
  EXPECT_EQ(told({"export", "products", "--catalog", "Parts 2027", "-o", "shown.csv"}).at("written"), shown);
  if (!tool_.store().file()) return;
  told({"store", "backup", "2026.db"});
  told({"store", "check"});
}

}  // namespace
}  // namespace mercato::test
