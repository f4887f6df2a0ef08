// SPDX-License-Identifier: Apache-2.0
// mercato uploads: what was uploaded, what it changed, and the way back; also of uploads that were killed.
#include <algorithm>
#include <chrono>

#include "tests/support/random_rounds.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

std::string product(const std::string& key, const std::string& description, const std::string& colour) {
  return "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>M" + key + "</PARTNUMBER><PRODUCTDESCRIPTION>" +
         description + "</PRODUCTDESCRIPTION><COLOUR>" + colour + "</COLOUR></Product>";
}

class UploadsCommands : public CommandTest {
 protected:
  explicit UploadsCommands(Place place = Place::in_memory) : CommandTest(place) {}

  void write_products(const std::string& name, const std::string& records) {
    write_file(name, "<Products>" + records + "</Products>");
  }
  // A product that an upload writes as it was gets a stamp all the same, which an undo leaves.
  std::string without_stamps() {
    execute("UPDATE PRODUCT SET DATEUPDATED = NULL;\n");
    return whole_store();
  }
  // Its number, which is not the next one where a server has given one to what was rolled back.
  std::string newest() {
    return std::to_string(answer({"uploads", "list", "--limit", "1"}).at("uploads").at(0).at("id").get<int>());
  }
  void expect_uploaded(const Words& command) {
    const ToolRun done = run(command);
    EXPECT_EQ(done.status, 0) << done.out << done.err;
  }
};

TEST_F(UploadsCommands, AreNamedByTheReportsAndCountEveryRecordOnce) {
  write_products("one.xml", product("P1", "Paper", "white") + product("P2", "Ink", "blue"));
  expect_uploaded({"upload", "one.xml"});
  write_products("two.xml", product("P1", "Card", "white") + product("P2", "Ink", "blue") +
                                product("P3", "Pen", "red") + "<Product buyfrompartnumber=\"P4\"/><Product/>");
  const json report = json::parse(run({"upload", "--json", "two.xml"}).out);
  EXPECT_EQ(report.at("upload"), 2);
  const json kept = answer({"uploads", "show", "2"});
  for (const auto& [name, count] : {std::pair("read", 5), std::pair("inserted", 1), std::pair("updated", 1),
                                    std::pair("unchanged", 1), std::pair("refused", 1)}) {
    EXPECT_EQ(report.at(name), count) << name;
    EXPECT_EQ(kept.at(name), count) << name;
  }
  EXPECT_EQ(report.at("remaining"), 1);
  EXPECT_EQ(kept.at("left"), 1);
  // Without a journal nobody knows what was so before.
  const json untold = json::parse(run({"upload", "--json", "--no-journal", "one.xml"}).out);
  EXPECT_EQ(untold.at("updated"), 2);
  EXPECT_EQ(untold.at("unchanged"), nullptr);
  EXPECT_EQ(untold.at("upload"), nullptr);
  // What changed nothing needs no way back.
  EXPECT_NE(run({"upload", "two.xml"}).out.find("takes it back"), std::string::npos);
  EXPECT_EQ(run({"upload", "two.xml"}).out.find("takes it back"), std::string::npos);
}

TEST_F(UploadsCommands, TellWhatAnUploadChangedAndTakeItBack) {
  write_products("one.xml", product("P1", "Paper", "white") + product("P2", "Ink", "blue"));
  write_products("two.xml",
                 product("P1", "Card", "white") + product("P2", "Ink", "blue") + product("P3", "Pen", "red"));
  expect_uploaded({"upload", "one.xml"});
  const std::string before = without_stamps();
  expect_uploaded({"upload", "two.xml"});
  const std::string after = without_stamps();

  const json listed = answer({"uploads", "list"}).at("uploads");
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(listed[0].at("id"), 2);
  EXPECT_EQ(listed[0].at("kind"), "products");
  EXPECT_EQ(listed[0].at("file"), "two.xml");
  EXPECT_EQ(listed[0].at("state"), "done");
  EXPECT_EQ(listed[0].at("read"), 3);
  EXPECT_EQ(listed[0].at("inserted"), 1);
  EXPECT_EQ(listed[0].at("updated"), 1);
  EXPECT_EQ(listed[0].at("unchanged"), 1);
  EXPECT_EQ(answer({"uploads", "list", "--limit", "1", "--offset", "1"}).at("uploads"), json::array({listed[1]}));
  EXPECT_EQ(run({"uploads", "list", "--offset", "2"}).out, "--offset passes over all uploads.\n");

  const json changes = answer({"uploads", "diff", "2"}).at("changes");
  EXPECT_EQ(changes[0], json::parse(R"({"record":"P1","table":"PRODUCT","change":"updated","fields":[
      {"field":"PRODUCTDESCRIPTION","before":"Paper","after":"Card"}]})"))
      << changes;

  const std::string words = ": 1 row restored, 2 deleted, 0 inserted again, 0 as before already, 0 left.\n";
  expect_done({"uploads", "undo", "2", "--dry-run"}, "Upload 2 would be taken back" + words);
  EXPECT_EQ(without_stamps(), after);
  const ToolRun undone = run({"uploads", "undo", "2"});
  const std::string undo = newest();
  EXPECT_EQ(undone.out, "Upload 2 was taken back, as upload " + undo + words);
  EXPECT_EQ(without_stamps(), before);
  expect_refused({"uploads", "undo", "2"},
                 "mercato: Upload 2 was taken back already, by upload " + undo +
                     ". Undo that one to bring it back, or use --force for the rows that were left.\n");
  const ToolRun redone = run({"uploads", "undo", undo, "--yes"});
  EXPECT_EQ(redone.out, "Upload " + undo + " was taken back, as upload " + newest() +
                            ": 1 row restored, 0 deleted, 2 inserted again, 0 as before already, 0 left.\n");
  EXPECT_EQ(without_stamps(), after);
}

TEST_F(UploadsCommands, LeaveWhatWasChangedSince) {
  write_products("one.xml", product("P1", "Paper", "white"));
  expect_uploaded({"upload", "one.xml"});
  execute("UPDATE PRODUCT SET PRODUCTREMARK = 'dear' WHERE PRODUCTID = 1;\n");
  const ToolRun left = run({"uploads", "undo", "1"});
  EXPECT_EQ(left.status, 3);
  EXPECT_EQ(
      left.out,
      "Left:\n"
      "RECORD  TABLE             REASON\n"
      "P1      PRODUCT           It was changed since.\n"
      "P1      PRODUCTPROPVALUE  It belongs to a row of PRODUCT that stays.\n"
      "COLOUR  PROPERTY          It is used by a row of PRODUCTPROPVALUE that stays.\n"
      "\n"
      "Upload 1 was taken back, as upload 2: 0 rows restored, 0 deleted, 0 inserted again, 0 as before already, 3 "
      "left.\n");
  const json forced = answer({"uploads", "undo", "1", "--force"});
  EXPECT_EQ(forced.at("deleted"), 3);
  EXPECT_EQ(forced.at("left"), json::array());
}

TEST_F(UploadsCommands, SayThatAFileWasUploadedBefore) {
  write_products("one.xml", product("P1", "Paper", "white"));
  EXPECT_EQ(run({"upload", "one.xml"}).err, "");
  EXPECT_EQ(run({"upload", "one.xml"}).err,
            "note: one.xml was uploaded before, as upload 1; `mercato uploads show 1` tells of it.\n");
  EXPECT_EQ(run({"upload", "--no-journal", "one.xml"}).err, "");
  EXPECT_EQ(answer({"uploads", "list"}).at("uploads").size(), 2u);
}

TEST_F(UploadsCommands, KnowEveryWayOfLoading) {
  execute("INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR');\nINSERT UNIT (UNITCODE) VALUES ('EA');\n");
  const std::string before = whole_store();
  write_products("one.xml", product("P1", "Paper", "white"));
  write_file("prices.xml",
             "<ProductPrices><ProductPrice buyfrompartnumber=\"P1\"><CurrencyCode>EUR</CurrencyCode><Price>3</Price>"
             "<QuantityTo>9</QuantityTo><PriceEffectiveDate>1/1/2035</PriceEffectiveDate><PriceExpiryDate>12/31/2035"
             "</PriceExpiryDate><GROUPBY/></ProductPrice></ProductPrices>");
  write_file("codes.xml",
             "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>10000000</CODE><DESCRIPTION>all</DESCRIPTION></UNSPSC_ITEM>"
             "</UNSPSC_ITEMS>");
  write_file("nodes.csv", "id,parent,name\n1,,root\n2,1,leaf\n");
  write_file("parts.csv", "part number;description;price;currency\nP7;Nut;1,50;EUR\n");
  expect_uploaded({"upload", "one.xml"});
  expect_uploaded({"prices", "upload", "prices.xml"});
  expect_uploaded({"unspsc", "load", "--commodities", "codes.xml"});
  expect_uploaded({"catalog", "load", "--name", "C", "nodes.csv"});
  expect_uploaded({"import", "parts.csv", "--set", "UNITCODE=EA"});
  const char* const kinds[] = {"import", "catalog", "unspsc", "prices", "products"};
  const int inserted[] = {2, 1, 1, 1, 1};
  const int deleted[] = {2, 3, 2, 1, 3};
  const json listed = answer({"uploads", "list"}).at("uploads");
  ASSERT_EQ(listed.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(listed[i].at("kind"), kinds[i]);
    EXPECT_EQ(listed[i].at("inserted"), inserted[i]) << kinds[i];
    EXPECT_EQ(answer({"uploads", "undo", std::to_string(5 - i)}).at("deleted"), deleted[i]) << kinds[i];
  }
  EXPECT_EQ(whole_store(), before);
  expect_done({"uploads", "forget", "--before", "2999-01-01"}, "10 uploads forgotten; what they changed stays.\n");
  expect_done({"uploads", "list"}, "Nothing was uploaded, or the journal was forgotten.\n");
}

TEST_F(UploadsCommands, AreRefusedInOneLine) {
  expect_refused({"uploads", "show", "7"},
                 "mercato: There is no upload 7; `mercato uploads list` shows those that are kept.\n");
  expect_refused({"uploads", "undo", "7"},
                 "mercato: There is no upload 7; `mercato uploads list` shows those that are kept.\n");
  execute("DROP TABLE MERCATO_UPLOAD;\n");
  write_products("one.xml", product("P1", "Paper", "white"));
  EXPECT_EQ(run({"upload", "one.xml"}).status, 4);
  EXPECT_EQ(run({"upload", "--no-journal", "one.xml"}).status, 0);
}

class KilledUploads : public UploadsCommands {
 protected:
  KilledUploads() : UploadsCommands(Place::on_disk) {}
};

// Whatever was written until then is found, counted and taken back, and what was not has left nothing.
TEST_F(KilledUploads, CanBeTakenBackWholly) {
  constexpr int kRecords = 300;
  std::string first;
  std::string second;
  for (int i = 0; i < kRecords; ++i) {
    const std::string key = "P" + std::to_string(i);
    if (i % 2 == 0) first += product(key, "Old", "white");
    second += product(key, "New", i % 3 == 0 ? "white" : "red");
  }
  write_products("first.xml", first);
  write_products("second.xml", second);
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  expect_uploaded({"upload", "--no-journal", "first.xml"});
  const auto half_time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  const std::string before = whole_store();
  RandomRounds rounds(5);
  int killed = 0;
  while (rounds.next()) {
    const unsigned milliseconds = 5 + rounds.below(2 * static_cast<unsigned>(std::min<long>(half_time, 400)));
    SCOPED_TRACE("killed after " + std::to_string(milliseconds) + " ms");
    const std::string seconds = "0." + std::to_string(1000 + milliseconds).substr(1);
    tool_.run_line("mercato upload --key k second.xml & p=$!; sleep " + seconds + "; kill -9 $p; wait $p");
    const json listed = answer({"uploads", "list", "--limit", "1"}).at("uploads");
    if (listed.empty()) continue;  // killed before it began
    const json& upload = listed[0];
    if (upload.at("kind") == "undo") continue;
    const std::string id = std::to_string(upload.at("id").get<int>());
    if (upload.at("cutShort") == true) ++killed;
    const std::size_t changes = answer({"uploads", "diff", id, "--limit", "0"}).at("changes").size();
    const json shown = answer({"uploads", "show", id});
    EXPECT_EQ(shown.at("state"), upload.at("cutShort") == true ? "failed" : "done");
    EXPECT_EQ(shown.at("cutShort"), false);
    const json undone = answer({"uploads", "undo", id});
    EXPECT_EQ(undone.at("left"), json::array());
    EXPECT_EQ(undone.at("restored").get<std::size_t>() + undone.at("deleted").get<std::size_t>() +
                  undone.at("inserted").get<std::size_t>() + undone.at("unchanged").get<std::size_t>(),
              changes);
    EXPECT_EQ(whole_store(), before);
    expect_store_in_order();
  }
  EXPECT_GT(killed, 0) << "no upload was met at work";
  expect_uploaded({"upload", "--key", "k", "second.xml"});
  const json whole = answer({"uploads", "list", "--limit", "1"}).at("uploads").at(0);
  EXPECT_EQ(whole.at("read"), kRecords);
  EXPECT_EQ(whole.at("inserted"), kRecords / 2);
  EXPECT_EQ(whole.at("updated"), kRecords / 2);
}

}  // namespace
}  // namespace mercato::test
