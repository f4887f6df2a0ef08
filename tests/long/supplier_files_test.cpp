// SPDX-License-Identifier: Apache-2.0
// Files of suppliers at their real size, through the tool: whole files of several trades; a year of monthly ones, each
// loaded, taken back and loaded again; imports that are killed at any moment; a file larger than memory may grow. The
// tool is that of the build's preset, so it is the optimised one that is worth the time.
//   MERCATO_TEST_KILLS     how many imports are killed, a hundred unless said
//   MERCATO_TEST_RECORDS   products in a monthly file, 100,000 unless said
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <random>

#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

std::size_t number_of(const char* name, std::size_t usual) {
  const char* const given = std::getenv(name);
  return given == nullptr ? usual : std::strtoul(given, nullptr, 10);
}

// One product of the supplier's list.
struct Component {
  std::string number;
  std::string description;
  std::string maker;
  std::int64_t ten_thousandths = 0;  // its price
};

// The first components of the real file that have a description.
std::vector<Component> components(std::size_t count) {
  bench::CsvReader reader(bench::components_file());
  const std::size_t number = reader.column("part_number"), description = reader.column("description"),
                    maker = reader.column("manufacturer"), tiers = reader.column("price_tiers");
  std::vector<Component> all;
  std::vector<std::string> row;
  while (all.size() < count && reader.next(row)) {
    const std::string& prices = row[tiers];
    const std::size_t colon = prices.find(':');
    if (row[description].empty() || colon == std::string::npos) continue;
    const double price = std::strtod(prices.c_str() + colon + 1, nullptr);
    all.push_back({row[number], row[description], row[maker], std::max<std::int64_t>(std::llround(price * 10'000), 1)});
  }
  return all;
}

class SupplierFiles : public CommandTest {
 protected:
  SupplierFiles() : CommandTest(Place::on_disk) {}
  void SetUp() override {
    if (!std::filesystem::exists(bench::components_file())) GTEST_SKIP() << "needs the file of components";
    execute(
        "INSERT INTO UNIT (UNITCODE) VALUES ('PCE');\nINSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD');\n"
        "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('PARTS');\n");
    list_ = components(number_of("MERCATO_TEST_RECORDS", 100'000));
  }

  void write_list(const std::string& name) const {
    std::ofstream file(tool_.folder() / name);
    const auto quoted = [](const std::string& text) {
      std::string cell = "\"";
      for (const char character : text) cell += character == '"' ? std::string("\"\"") : std::string(1, character);
      return cell + "\"";
    };
    file << "part number,description,manufacturer,price\n";
    for (const Component& each : list_) {
      const std::string decimals = std::to_string(10'000 + each.ten_thousandths % 10'000).substr(1);
      file << each.number << ',' << quoted(each.description) << ',' << quoted(each.maker) << ','
           << each.ten_thousandths / 10'000 << '.' << decimals << '\n';
    }
  }
  // A twentieth of the list has another price or another description than in the month before.
  void change_a_twentieth(std::size_t month) {
    for (std::size_t i = month % 20; i < list_.size(); i += 20) {
      if (i % 40 < 20)
        list_[i].ten_thousandths += 1;
      else
        list_[i].description = "Month " + std::to_string(month) + ": " + list_[i].maker + " " + list_[i].number;
    }
  }

  static Words import_of(const std::string& name) {
    return {"import", name,           "--supplier", "PARTS",    "--set",    "UNITCODE=PCE",
            "--set",  "CURRENCY=USD", "--accept",   "too-long", "--accept", "apostrophe"};
  }
  json last_upload() { return answer({"uploads", "list", "--limit", "1"}).at("uploads").at(0); }
  // All products and prices, a line for each.
  std::string exported() {
    std::string all;
    for (const char* what : {"products", "prices"}) {
      const ToolRun done = run({"export", what});
      EXPECT_EQ(done.status, 0) << done.err;
      all += done.out;
    }
    return all;
  }
  static void expect_adds_up(const json& upload) {
    std::int64_t sum = 0;
    for (const char* count : {"inserted", "updated", "unchanged", "refused", "left"})
      sum += upload.at(count).get<std::int64_t>();
    EXPECT_EQ(upload.at("read").get<std::int64_t>(), sum) << upload.dump(1);
  }

  std::vector<Component> list_;
};

// Each with the mapping that is proposed for it. What was exported of them changes nothing when it comes back.
TEST_F(SupplierFiles, OfSeveralTradesAddUpAndComeBackUnchanged) {
  for (const char* name : {"components-100k.csv.gz", "components-20k-attributes.csv.gz", "books-10k.csv.gz", "food.csv",
                           "toy-parts.csv.gz", "toy-sets.csv.gz"}) {
    SCOPED_TRACE(name);
    const std::string file = (bench::data_folder() / "products" / name).string();
    const ToolRun proposed = run({"import", "--propose", file});
    ASSERT_EQ(proposed.status, 0) << proposed.err;
    write_file("mapping.toml", proposed.out);
    Words words = import_of(file);
    words.insert(words.end(), {"--mapping", "mapping.toml"});
    const ToolRun loaded = run(words);
    const json upload = last_upload();
    expect_adds_up(upload);
    EXPECT_EQ(upload.at("left"), 0);
    EXPECT_EQ(loaded.status, upload.at("refused") == 0 ? 0 : 3) << loaded.out << loaded.err;
  }
  const std::string before = exported();
  for (const char* what : {"products", "prices"})
    for (const char* form : {"csv", "xlsx"}) {
      SCOPED_TRACE(std::string(what) + " as " + form);
      const std::string file = std::string(what) + "." + form;
      EXPECT_EQ(run({"export", what, "--as", form, "-o", file}).status, 0);
      const ToolRun back = run({"import", file, "--json"});
      EXPECT_EQ(back.status, 0) << back.err;
      const json report = json::parse(back.out);
      EXPECT_EQ(report.at("products").at("updated"), 0);
      EXPECT_EQ(report.at("priceLines").at("changed"), 0);
    }
  EXPECT_TRUE(exported() == before);
  EXPECT_EQ(run({"store", "check"}).status, 0);
}

TEST_F(SupplierFiles, OfAYearAreLoadedTakenBackAndLoadedAgain) {
  write_list("month.csv");
  ASSERT_EQ(run(import_of("month.csv")).status, 0);
  std::string stands = exported();
  for (std::size_t month = 1; month <= 12; ++month) {
    SCOPED_TRACE("month " + std::to_string(month));
    change_a_twentieth(month);
    write_list("month.csv");
    const ToolRun loaded = run(import_of("month.csv"));
    ASSERT_EQ(loaded.status, 0) << loaded.out << loaded.err;
    const json upload = last_upload();
    expect_adds_up(upload);
    EXPECT_EQ(upload.at("inserted"), 0);
    EXPECT_EQ(upload.at("refused"), 0);
    EXPECT_EQ(upload.at("updated").get<std::size_t>(), (list_.size() - month % 20 + 19) / 20);
    const std::string changed = exported();
    EXPECT_TRUE(changed != stands);

    const std::string number = std::to_string(upload.at("id").get<int>());
    const ToolRun undone = run({"uploads", "undo", number, "--yes"});
    ASSERT_EQ(undone.status, 0) << undone.out << undone.err;
    EXPECT_TRUE(exported() == stands);
    ASSERT_EQ(run(import_of("month.csv")).status, 0);
    EXPECT_TRUE(exported() == changed);
    stands = changed;
    if (HasFailure()) return;
  }
  EXPECT_EQ(run({"store", "check"}).status, 0);
}

TEST_F(SupplierFiles, WhoseImportIsKilledAreTakenBackWhole) {
  list_.resize(std::min<std::size_t>(list_.size(), 3'000));
  write_list("month.csv");
  ASSERT_EQ(run(import_of("month.csv")).status, 0);
  const std::string before = exported();
  change_a_twentieth(1);
  const auto added = static_cast<std::ptrdiff_t>(list_.size() / 2);
  for (std::ptrdiff_t i = 0; i < added; ++i) {
    Component other = list_[static_cast<std::size_t>(i)];
    other.number = "N" + other.number;
    list_.push_back(std::move(other));
  }
  write_list("next.csv");
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(run(import_of("next.csv")).status, 0);
  const auto takes = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  const auto take_back = [&] {
    const json upload = last_upload();
    EXPECT_EQ(run({"uploads", "undo", std::to_string(upload.at("id").get<int>()), "--yes"}).status, 0);
    EXPECT_TRUE(exported() == before);
  };
  take_back();

  const unsigned seed = std::random_device()();
  std::mt19937 random(seed);
  const std::size_t kills = number_of("MERCATO_TEST_KILLS", 100);
  std::size_t in_time = 0;
  for (std::size_t kill = 0; kill < kills && !HasFailure(); ++kill) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", kill " + std::to_string(kill));
    const int uploads_before = last_upload().at("id").get<int>();
    const double seconds = static_cast<double>(random() % static_cast<unsigned>(takes.count())) / 1'000;
    tool_.run_line(tool_.command(import_of("next.csv")) + " & p=$!; sleep " + std::to_string(seconds) +
                   "; kill -9 $p; wait $p");
    const json listed = last_upload();
    if (listed.at("id").get<int>() == uploads_before) continue;  // it had not begun
    const json upload = answer({"uploads", "show", std::to_string(listed.at("id").get<int>())});
    expect_adds_up(upload);
    if (listed.at("cutShort") == true) {
      ++in_time;
      EXPECT_EQ(upload.at("state"), "failed");
    }
    // What it counts stands, and nothing else.
    const std::string left = exported();
    EXPECT_EQ(std::ranges::count(left, '\n') - std::ranges::count(before, '\n'), upload.at("inserted"));
    take_back();
    EXPECT_EQ(run({"store", "check"}).status, 0);
  }
  std::cout << in_time << " of " << kills << " imports were killed while they ran\n";
  EXPECT_GT(in_time, kills / 3);
}

// A catalogue of a thousand megabytes, of articles that differ in number, text and price.
TEST_F(SupplierFiles, OfAGigabyteNeedLittleMemory) {
  constexpr std::uintmax_t kBytes = 1'000'000'000;
  const std::filesystem::path path = tool_.folder() / "catalogue.xml";
  std::size_t articles = 0;
  {
    std::ofstream file(path);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BMECAT version=\"1.2\"><HEADER><CATALOG>"
            "<LANGUAGE>eng</LANGUAGE><CATALOG_ID>YEAR</CATALOG_ID><CATALOG_VERSION>001.000</CATALOG_VERSION>"
            "<CURRENCY>USD</CURRENCY></CATALOG><SUPPLIER><SUPPLIER_NAME>Parts</SUPPLIER_NAME></SUPPLIER></HEADER>"
            "<T_NEW_CATALOG>\n";
    while (static_cast<std::uintmax_t>(file.tellp()) < kBytes) {
      const Component& component = list_[articles % list_.size()];
      const std::string number = std::to_string(articles++) + "-" + component.number;
      file << "<ARTICLE><SUPPLIER_AID>" << number << "</SUPPLIER_AID><ARTICLE_DETAILS><DESCRIPTION_SHORT>Component "
           << number << "</DESCRIPTION_SHORT><DESCRIPTION_LONG>";
      for (int i = 0; i < 60; ++i) file << "A sentence of the long text, with its number " << i << ". ";
      file << "</DESCRIPTION_LONG></ARTICLE_DETAILS><ARTICLE_FEATURES>";
      for (int i = 0; i < 4; ++i)
        file << "<FEATURE><FNAME>Feature " << i << "</FNAME><FVALUE>" << articles % 97 << "</FVALUE></FEATURE>";
      file << "</ARTICLE_FEATURES><ARTICLE_ORDER_DETAILS><ORDER_UNIT>PCE</ORDER_UNIT></ARTICLE_ORDER_DETAILS>"
              "<ARTICLE_PRICE_DETAILS><ARTICLE_PRICE price_type=\"net_customer\"><PRICE_AMOUNT>"
           << 1 + articles % 1000 << ".5</PRICE_AMOUNT><PRICE_CURRENCY>USD</PRICE_CURRENCY></ARTICLE_PRICE>"
           << "</ARTICLE_PRICE_DETAILS></ARTICLE>\n";
    }
    file << "</T_NEW_CATALOG></BMECAT>\n";
  }
  const ToolRun loaded = run(import_of("catalogue.xml"));
  EXPECT_EQ(loaded.status, 0) << loaded.out << loaded.err;
  rusage used{};
  ::getrusage(RUSAGE_CHILDREN, &used);
  EXPECT_LT(used.ru_maxrss, 300 * 1024);  // kilobytes
  std::cout << articles << " articles, at most " << used.ru_maxrss / 1024 << " MB\n" << loaded.out;
  const json upload = last_upload();
  expect_adds_up(upload);
}

}  // namespace
}  // namespace mercato::test
