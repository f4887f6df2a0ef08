// SPDX-License-Identifier: Apache-2.0
// Writing commands are killed at a random moment. The store is in order then, and its sums are right: of a transaction
// all is there or nothing.
#include <chrono>
#include <filesystem>
#include <iterator>
#include <map>

#include "tests/support/random_rounds.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

constexpr int kRecords = 300;
constexpr int kUnits = 200;
constexpr int kNodes = 150;
constexpr int kCodes = 90;

class KilledByChance : public CommandTest {
 protected:
  // In memory most commands would be over before they are killed.
  KilledByChance() : CommandTest(Place::on_disk) {}

  void kill_after(unsigned milliseconds, const std::string& command) {
    const std::string seconds =
        std::to_string(milliseconds / 1000) + "." + std::to_string(1000 + milliseconds % 1000).substr(1);
    tool_.run_line(command + " & p=$!; sleep " + seconds + "; kill -9 $p; wait $p");
  }
};

class KilledCommands : public KilledByChance {
 protected:
  KilledCommands() {
    std::string records;
    std::string prices;
    for (int i = 0; i < kRecords; ++i) {
      const std::string key = std::to_string(i);
      records += "<Product buyfrompartnumber=\"P" + key + "\"><PARTNUMBER>M" + key +
                 "</PARTNUMBER><PRODUCTDESCRIPTION>About it</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>"
                 "<COLOUR>red</COLOUR></Product>";
      prices += "<ProductPrice buyfrompartnumber=\"P" + key +
                "\"><CurrencyCode>EUR</CurrencyCode><Price>3</Price><QuantityTo>9</QuantityTo>"
                "<PriceEffectiveDate>1/1/2035</PriceEffectiveDate><PriceExpiryDate>12/31/2035</"
                "PriceExpiryDate><GROUPBY/></ProductPrice>";
    }
    write_file("records.xml", "<Products>" + records + "</Products>");
    write_file("prices.xml", "<ProductPrices>" + prices + "</ProductPrices>");
    std::string codes = "<UNSPSC_ITEM><CODE>10000000</CODE><DESCRIPTION>all</DESCRIPTION></UNSPSC_ITEM>";
    for (int i = 10; i < 10 + kCodes - 1; ++i)
      codes += "<UNSPSC_ITEM><CODE>10" + std::to_string(i) + "0000</CODE><DESCRIPTION>some</DESCRIPTION></UNSPSC_ITEM>";
    write_file("codes.xml", "<UNSPSC_ITEMS>" + codes + "</UNSPSC_ITEMS>");
    execute("INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR');\n");
    std::string nodes = "id,parent,name\n0,,root\n";
    for (int i = 1; i < kNodes; ++i)
      nodes += std::to_string(i) + "," + std::to_string(i / 2) + ",node " + std::to_string(i) + "\n";
    write_file("nodes.csv", nodes);
  }
  // All of it or nothing.
  void write_script(int round) {
    std::string script;
    for (int i = 0; i < kUnits; ++i) {
      const std::string code = "'" + std::to_string(round) + "-" + std::to_string(i) + "'";
      script +=
          "INSERT UNIT (UNITCODE) VALUES (" + code + ");\nINSERT HAZARDOUSCLASS (CLASSCODE) VALUES (" + code + ");\n";
    }
    write_file("script.sql", script);
  }
  int number_of(const std::string& from) {
    const json done = json::parse(run({"execute", "--json", "-"}, "SELECT COUNT(*) AS N FROM " + from + ";").out);
    return done.at("results").at(0).at("rows").at(0).at(0).get<int>();
  }
};

TEST_F(KilledCommands, LeaveAStoreInOrderWithRightSums) {
  RandomRounds rounds(3);
  int products = 0;
  while (rounds.next()) {
    write_script(rounds.round());
    const char* const commands[] = {
        "mercato upload --key k records.xml", "mercato execute script.sql", "mercato catalog load --name C nodes.csv",
        "mercato prices upload --key k prices.xml", "mercato unspsc load --overwrite --commodities codes.xml"};
    const unsigned which = rounds.below(std::size(commands));
    const unsigned milliseconds = 20 + rounds.below(500);
    SCOPED_TRACE(std::string(commands[which]) + ", killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, commands[which]);
    expect_store_in_order();
    EXPECT_EQ(number_of("UNIT") % kUnits, 0);
    EXPECT_EQ(number_of("UNIT"), number_of("HAZARDOUSCLASS"));
    EXPECT_EQ(number_of("CATALOGNODE"), kNodes * number_of("CATALOG"));
    EXPECT_GE(number_of("PRODUCT"), products) << "what was in the store stays";
    products = number_of("PRODUCT");
    EXPECT_LE(number_of("PRODUCTPROPVALUE"), products);
    EXPECT_LE(number_of("CATALOGPRODUCTPRICE"), products);
    EXPECT_EQ(number_of("CATALOGPRODUCTPRICE WHERE PRICE = 3 AND CURRENCYCODE = 'EUR'"),
              number_of("CATALOGPRODUCTPRICE"))
        << "half a line";
    // A code comes first, then its commodity.
    const int commodities = number_of("COMMODITY");
    EXPECT_LE(commodities, number_of("UNSPSCCODES"));
    EXPECT_LE(number_of("UNSPSCCODES"), commodities + 1);
  }
  const ToolRun rest = run({"upload", "--key", "k", "records.xml"});
  EXPECT_EQ(rest.status, 0) << rest.out << rest.err;
  EXPECT_EQ(number_of("PRODUCT"), kRecords);
  EXPECT_EQ(number_of("PRODUCTPROPVALUE"), kRecords);
  run({"prices", "upload", "--key", "k", "prices.xml"});
  EXPECT_EQ(number_of("CATALOGPRODUCTPRICE"), kRecords);
  run({"unspsc", "load", "--overwrite", "--commodities", "codes.xml"});
  EXPECT_EQ(number_of("UNSPSCCODES"), kCodes);
  EXPECT_EQ(number_of("COMMODITY"), kCodes);
}

// A store with something of everything that the commands change, made anew for each round; beside it another one,
// `backup.db`.
class KilledTransactions : public KilledByChance {
 protected:
  void SetUp() override {
    MERCATO_ONLY_ON_SQLITE(tool_.store(), "the store of each round is a copy of a file");
    expect_done({"store", "backup", "backup.db"}, "The store was backed up to backup.db.\n");
    std::string script =
        "INSERT PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('Paper');\n"
        "INSERT PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Sheets');\n";
    for (int i = 1; i <= 12; ++i) {
      const std::string id = std::to_string(i);
      script += "INSERT PROPERTY (PROPERTYNAME, DATATYPE, DEFAULTVALUE) VALUES ('P" + id + "', 1, 'new');\n";
      if (i > 6) script += "INSERT PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, " + id + ");\n";
    }
    for (int i = 1; i <= 40; ++i) {
      const std::string id = std::to_string(i);
      script += "INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID, DISABLED) VALUES ('M" + id +
                "', 'about it', 1, 0);\n"
                "INSERT PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (" +
                id +
                ", 1);\n"
                "INSERT FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ANN', " +
                id + ", 0, 1);\n";
      for (int property = 1; property <= 5; ++property)
        script += "INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (" + std::to_string(property) + ", " +
                  id + ", 'old');\n";
    }
    std::string nodes = "id,parent,name,category\n0,,root,\n";
    for (int i = 1; i < 60; ++i) {
      nodes += std::to_string(i) + "," + std::to_string(i / 2) + ",node " + std::to_string(i) + ",Sheets\n";
      script += "INSERT CATALOGNODEBYUSER (USERID, CATALOGID, NODEID) VALUES ('ANN', 1, " + std::to_string(i) + ");\n";
    }
    execute(script);
    write_file("nodes.csv", nodes);
    EXPECT_EQ(run({"catalog", "load", "--name", "House", "--active", "nodes.csv"}).err, "");
    EXPECT_EQ(run({"catalog", "copy", "House", "--name", "Next"}).err, "");
    std::filesystem::copy_file(tool_.folder() / "mercato.db", tool_.folder() / "prepared.db");
  }
  // The store, without what lies beside it.
  void put_in_place(const char* file) {
    remove_all_of("mercato.db");
    std::filesystem::copy_file(tool_.folder() / file, tool_.folder() / "mercato.db");
  }
  void remove_all_of(const std::string& beginning) {
    for (const std::string& name : files())
      if (name.starts_with(beginning)) std::filesystem::remove(tool_.folder() / name);
  }
  std::vector<std::string> files() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(tool_.folder().path()))
      names.push_back(file.path().filename().string());
    return names;
  }
  void expect_nothing_half_written() {
    for (const std::string& name : files()) EXPECT_FALSE(name.ends_with("-new")) << name;
  }
  // How long it takes when nobody kills it.
  unsigned milliseconds_of(const std::string& command) {
    const auto start = std::chrono::steady_clock::now();
    const ToolRun done = tool_.run_line(command);
    EXPECT_EQ(done.status, 0) << command << ": " << done.err;
    return static_cast<unsigned>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
  }
};

TEST_F(KilledTransactions, AreWholeOrNotThere) {
  const std::vector<std::string> commands = {
      "mercato catalog copy House --name Third",
      "mercato catalog migrate House Next",
      "mercato catalog expire House",
      "mercato catalog succeed House Next --yes",
      "mercato rights assign ANN House Next --force",
      "mercato rights populate ANN",
      "mercato rights clear ANN --yes",
      "mercato group apply Paper --yes",
      "mercato product delete 1 --yes",
      "mercato property delete P12 --yes",
      "mercato store restore backup.db",
  };
  struct Undisturbed {
    unsigned milliseconds = 0;
    std::string rows;
  };
  std::map<std::string, Undisturbed> undisturbed;
  const std::string before = whole_store();
  RandomRounds rounds(4);
  const unsigned first = rounds.below(static_cast<unsigned>(commands.size()));
  while (rounds.next()) {
    const std::string& command = commands[(first + static_cast<unsigned>(rounds.round())) % commands.size()];
    Undisturbed& whole = undisturbed[command];
    if (whole.rows.empty()) {
      put_in_place("prepared.db");
      whole.milliseconds = milliseconds_of(command);
      whole.rows = whole_store();
      ASSERT_NE(whole.rows, before) << command;
    }
    put_in_place("prepared.db");
    const unsigned milliseconds = rounds.below(whole.milliseconds + 5);
    SCOPED_TRACE(command + ", killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, command);
    expect_store_in_order();
    const std::string left = whole_store();
    if (left == whole.rows) continue;
    EXPECT_EQ(left, before);
    // The next command is not hindered.
    const ToolRun again = tool_.run_line(command);
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(whole_store(), whole.rows);
    expect_nothing_half_written();
  }
}

TEST_F(KilledTransactions, AnInitLeavesAllTablesOrNone) {
  remove_all_of("mercato.db");
  const unsigned usual = milliseconds_of("mercato init");
  RandomRounds rounds(1);
  while (rounds.next()) {
    remove_all_of("mercato.db");
    const unsigned milliseconds = rounds.below(usual + 5);
    SCOPED_TRACE("killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, "mercato init");
    const json created = answer({"init"});
    EXPECT_TRUE(created.at("existing") == 0 || created.at("tables").size() + created.at("indexes").size() == 0)
        << created;
    expect_store_in_order();
  }
}

TEST_F(KilledTransactions, ACopyIsGoneOnWithUntilItIsWhole) {
  const std::string copy = "mercato store copy prepared.db copied.db";
  const std::string rows = whole_store();
  const unsigned usual = milliseconds_of(copy);
  RandomRounds rounds(2);
  while (rounds.next()) {
    remove_all_of("copied.db");
    for (int kills = 0; kills < 2; ++kills) kill_after(rounds.below(usual + 5), copy);
    const ToolRun done = tool_.run_line(copy);
    if (done.status != 0) {  // one of the killed ones was whole before
      EXPECT_NE(done.err.find("' has rows already, in the table "), std::string::npos) << done.err;
    }
    remove_all_of("mercato.db");
    EXPECT_EQ(tool_.run_line("mercato store backup mercato.db --store copied.db").status, 0);
    expect_store_in_order();
    EXPECT_EQ(whole_store(), rows);
  }
}

TEST_F(KilledTransactions, ABackupIsWholeOrHasNoName) {
  const std::string rows = whole_store();
  const unsigned usual = milliseconds_of("mercato store backup kept.db");
  RandomRounds rounds(1);
  while (rounds.next()) {
    remove_all_of("kept.db");
    const unsigned milliseconds = rounds.below(usual + 5);
    SCOPED_TRACE("killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, "mercato store backup kept.db");
    if (!std::filesystem::exists(tool_.folder() / "kept.db"))
      expect_done({"store", "backup", "kept.db"}, "The store was backed up to kept.db.\n");
    expect_nothing_half_written();
    put_in_place("kept.db");
    expect_store_in_order();
    EXPECT_EQ(whole_store(), rows);
  }
}

// A store that cannot be used is exchanged for a copy of the backup, not written over.
TEST_F(KilledTransactions, ARestoreOfADamagedStoreLeavesOneOfBoth) {
  const std::string damaged(200'000, '?');
  const std::string restore = "mercato store restore prepared.db";
  const std::string rows = whole_store();
  write_file("mercato.db", damaged);
  const unsigned usual = milliseconds_of(restore);
  RandomRounds rounds(1);
  while (rounds.next()) {
    remove_all_of("mercato.db");
    write_file("mercato.db", damaged);
    const unsigned milliseconds = rounds.below(usual + 5);
    SCOPED_TRACE("killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, restore);
    if (read_whole(tool_.folder() / "mercato.db") != damaged) {
      expect_store_in_order();
      EXPECT_EQ(whole_store(), rows);
    }
    const ToolRun again = tool_.run_line(restore);
    EXPECT_EQ(again.status, 0) << again.err;
    expect_store_in_order();
    EXPECT_EQ(whole_store(), rows);
    EXPECT_EQ(read_whole(tool_.folder() / "mercato.db.before-restore"), damaged);
    expect_nothing_half_written();
  }
}

}  // namespace
}  // namespace mercato::test
