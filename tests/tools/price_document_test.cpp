// SPDX-License-Identifier: Apache-2.0
// The price upload command's own work, with a clock and failures of the test.
#include "exchange/uploading/price_document.h"

#include "mercato/date.h"
#include "tests/support/store_fixture.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/upload_checks.h"

namespace mercato::test {
namespace {

using exchange::UploadReport;

class ToolPriceUpload : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
    for (const char* part_number : {"A", "B", "C", "O''NEIL", " D "})
      execute(
          {std::string("INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('M', 'About', '") +
           part_number + "')"});
  }
  static std::string line(const std::string& key, const std::string& quantity_to, const std::string& more = {}) {
    return "<ProductPrice buyfrompartnumber=\"" + key +
           "\"><CurrencyCode>EUR</CurrencyCode><Price>5</Price><QuantityTo>" + quantity_to +
           "</QuantityTo><PriceEffectiveDate>1/1/2026</PriceEffectiveDate>" +
           "<PriceExpiryDate>12/31/2026</PriceExpiryDate>" + more + "</ProductPrice>";
  }
  static std::string lines(const std::string& key, int count) {
    std::string text;
    for (int number = 1; number <= count; ++number) text += line(key, std::to_string(number));
    return text;
  }
  UploadReport upload(const std::string& records, std::size_t most_failures = exchange::kMostFailures) {
    write_whole(folder() / "prices.xml", "<ProductPrices>" + records + "</ProductPrices>");
    return upload_file(folder() / "prices.xml", most_failures);
  }
  UploadReport upload_file(const std::filesystem::path& path, std::size_t most_failures = exchange::kMostFailures) {
    exchange::PriceUpload upload({.document = path.string(),
                                  .file_key = "test",
                                  .web_root = (folder() / "web").string(),
                                  .most_failures = most_failures});
    return upload.run();
  }
  static std::vector<std::size_t> part_numbers_given(const Recorder& recorder) {
    std::vector<std::size_t> counts;
    for (const ComponentCall& call : recorder.calls)
      if (call.method == "Mercato.PriceXML.UpdateInsertPricesFromXML")
        counts.push_back(call.arguments[2].to_array().items.size());
    return counts;
  }
  static std::vector<std::string> told(const std::vector<exchange::UploadFinding>& findings) {
    std::vector<std::string> texts;
    for (const exchange::UploadFinding& finding : findings)
      texts.push_back(finding.part_number + "/" + std::to_string(finding.line) + "/" + finding.field + "/" +
                      finding.value + "/" + finding.reason);
    return texts;
  }
  std::filesystem::path remaining_file() const { return folder() / "web/XMLDownload/remaining_prices_test.xml"; }
  std::vector<std::string> remaining_part_numbers() const { return part_numbers_in(remaining_file()); }
  std::vector<std::string> stored() const {
    std::vector<std::string> texts;
    for (const auto& row : rows("SELECT PRODUCTID, QUANTITYTO FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO"))
      texts.push_back(row[0].to_text() + ":" + row[1].to_text());
    return texts;
  }
  using Texts = std::vector<std::string>;
};

TEST_F(ToolPriceUpload, RunsAgainOnWhatTheTimeForOneRunHasLeftAndLeavesWhatHasNoProduct) {
  clock::script_clock(Date::from_civil({2026, 7, 1, 8, 0, 0}), 80);  // a run has time for two part numbers
  Recorder recorder;
  const UploadReport report =
      upload(line("A", "1") + line("X", "1") + line("B", "1") + line("A", "2") + line("Y", "1") + line("X", "2"));
  EXPECT_EQ(part_numbers_given(recorder), (std::vector<std::size_t>{4, 2}));
  expect_counts(report, 3, 0, 3);
  EXPECT_EQ(report.stopped_by, "");
  EXPECT_EQ(told(report.unreachable), (Texts{"X/0///No product has this part number; it has 2 lines.",
                                             "Y/0///No product has this part number; it has 1 line."}));
  EXPECT_EQ(report.remaining_file, remaining_file().string());
  EXPECT_EQ(remaining_part_numbers(), (Texts{"X", "Y", "X"}));
  EXPECT_EQ(stored(), (Texts{"1:1", "1:2", "2:1"}));
}

// Each line that failed used to end the library's run, and to have the whole document written and loaded again.
TEST_F(ToolPriceUpload, OneRunGoesOnBehindEveryLineThatFails) {
  Recorder recorder;
  const std::string failing = "<Colour>red</Colour>";
  const UploadReport report = upload(line("A", "1", failing) + line("A", "2") + line("B", "1", failing) +
                                     line("A", "3", failing) + line("C", "1"));
  EXPECT_EQ(part_numbers_given(recorder), (std::vector<std::size_t>{3}));
  expect_counts(report, 2, 3, 0);
  EXPECT_EQ(told(report.refusals),
            (Texts{"A/1/COLOUR//no such column", "A/3/COLOUR//no such column", "B/1/COLOUR//no such column"}));
  EXPECT_EQ(stored(), (Texts{"1:2", "3:1"}));
}

TEST_F(ToolPriceUpload, CountsEveryLineOnce) {
  const UploadReport report = upload(
      line("A", "1") + line("A", "many", "<DiscountPerc>101</DiscountPerc>") +  //
      line("A", "2", "<Price>6</Price>") +                                      // a field twice
      line("A", "3", "<Colour>red</Colour>") + line("A", "4", "<DiscountPerc/>") + line("A", "1") + line("A", "5") +
      line("B", "1") + "<ProductPrice><Price>lost</Price></ProductPrice>" + line("O'NEIL", "1") + line("O'NEIL", "2") +
      line(" D ", "1") + line("C", "1", "<ProductPrice buyfrompartnumber=\"C\"/>") + line("X", "1"));
  expect_counts(report, 5, 6, 4);
  EXPECT_EQ(told(report.refusals),
            (Texts{"A/3/Price/6/the field stands twice", "A/5/DiscountPerc//not a number",
                   "C/2///it stands within another price line", "A/2/QuantityTo/many/not a number",
                   "A/2/DiscountPerc/101/not from 0 to 100", "A/4/COLOUR//no such column",
                   "A/6///it is there already; only a line with the empty group, <GROUPBY/>, can be changed, any other "
                   "just added"}));
  EXPECT_EQ(told(report.unreachable), (Texts{"/0///It has no attribute buyfrompartnumber.",
                                             "O'NEIL/0///No run finds a part number with an apostrophe.",
                                             "X/0///No product has this part number; it has 1 line."}));
  EXPECT_EQ(stored(), (Texts{"1:1", "1:5", "2:1", "3:1", "5:1"}));
  EXPECT_EQ(remaining_part_numbers(), (Texts{"O'NEIL", "O'NEIL", "X"}));
  EXPECT_NE(read_whole(remaining_file()).find("lost"), std::string::npos);
}

TEST_F(ToolPriceUpload, LineWithTheEmptyGroupIsChangedTheNextTime) {
  const std::string once = line("A", "1", "<GROUPBY/>") + line("A", "2", "<GROUPBY/>");
  EXPECT_EQ(upload(once).inserted, 2u);
  const UploadReport again = upload(once + line("A", "3", "<GROUPBY/>"));
  expect_counts(again, 3, 0, 0);
  EXPECT_EQ(again.updated, 2u);
  EXPECT_EQ(again.remaining_file, "");
  EXPECT_FALSE(std::filesystem::exists(remaining_file()));
}

TEST_F(ToolPriceUpload, DocumentInWhichNoLineCanBeReachedRemainsAsItIs) {
  const UploadReport report = upload(line("O'NEIL", "1"));
  expect_counts(report, 0, 0, 1);
  EXPECT_EQ(remaining_part_numbers(), (Texts{"O'NEIL"}));
  expect_counts(upload(""), 0, 0, 0);
  EXPECT_FALSE(std::filesystem::exists(remaining_file()));
}

TEST_F(ToolPriceUpload, IsEndedWhenMoreLinesHaveFailedThanMay) {
  upload(lines("A", 103));
  const UploadReport report = upload(lines("A", 103) + line("B", "1"), 100);
  expect_counts(report, 0, 100, 4);
  EXPECT_EQ(report.refusals.back().line, 100u);
  EXPECT_EQ(report.stopped_by.substr(0, 30), "More than 100 records failed. ");
  EXPECT_EQ(remaining_part_numbers(), (Texts{"A", "A", "A", "B"}));
}

TEST_F(ToolPriceUpload, IsEndedByAStoreThatIsGoneAndTheRestCanBeUploadedLater) {
  class LostStore : public store::StatementObserver {
   public:
    LostStore() : previous_(store::set_statement_observer(this)) {}
    ~LostStore() override { store::set_statement_observer(previous_); }
    void on_statement(std::string_view text, bool) override {
      if (text.find("QUANTITYTO=103 ") != std::string_view::npos)
        raise(error_number::kStoreFailure, "Test", "The store is gone");
    }

   private:
    store::StatementObserver* previous_;
  };
  {
    LostStore lost;
    const UploadReport report = upload(lines("A", 105) + lines("B", 2));
    expect_counts(report, 100, 0, 7);
    EXPECT_EQ(report.stopped_by, "The store is gone.");
  }
  // Lines 101 and 102 could have been lost with it.
  EXPECT_EQ(remaining_part_numbers().size(), 7u);
  const UploadReport rest = upload_file(remaining_file());
  expect_counts(rest, 5, 2, 0);
  EXPECT_EQ(rest.refusals[0].line, 1u) << "a line that had been written after all";
  EXPECT_EQ(stored().size(), 107u);
}

TEST_F(ToolPriceUpload, FailureThatIsNoLinesLeavesThePartNumber) {
  Recorder recorder;
  recorder.fail_on = "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A'";
  const UploadReport report = upload(lines("A", 2) + line("B", "1"));
  expect_counts(report, 1, 0, 2);
  EXPECT_EQ(told(report.unreachable), (Texts{"A/0///refused on request."}));
  EXPECT_EQ(remaining_part_numbers(), (Texts{"A", "A"}));
}

// The commands.

class PricesTool : public testing::Test {
 protected:
  PricesTool() {
    EXPECT_EQ(tool_
                  .run({"execute", "-"},
                       "INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR');"
                       "INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('M', 'Pen', 'A');")
                  .status,
              0);
    const auto line = [](const std::string& key, const std::string& fields) {
      return "<ProductPrice buyfrompartnumber=\"" + key +
             "\"><CurrencyCode>EUR</CurrencyCode><PriceEffectiveDate>1/1/2026</PriceEffectiveDate>"
             "<PriceExpiryDate>12/31/2026</PriceExpiryDate>" +
             fields + "</ProductPrice>";
    };
    write_whole(tool_.folder() / "prices.xml",
                "<ProductPrices>" + line("A", "<Price>5</Price><QuantityTo>9</QuantityTo>") +
                    line("A", "<Price>dear</Price>") + line("A", "<Price>4</Price><QuantityTo/>") +
                    line("A", "<Price>4</Price><DiscountPerc/>") + line("Z", "<Price>4</Price>") + "</ProductPrices>");
  }
  ToolFolder tool_;
};

TEST_F(PricesTool, PreviewJudgesEachLine) {
  const ToolRun shown = tool_.run({"prices", "preview", "prices.xml"});
  EXPECT_EQ(shown.status, 3) << shown.err;
  EXPECT_EQ(shown.out,
            "PART NUMBER  LINE  NAME  FIELD         VALUE\n"
            "A            2     Pen   Price         dear\n"
            "A            3     Pen   QuantityTo    (missing)\n"
            "A            4           DiscountPerc  (not a number)\n"
            "Z            1                         no product has this part number\n"
            "\n"
            "5 lines: 1 valid, 3 invalid, 1 without a product.\n");
  EXPECT_EQ(tool_.run({"prices", "preview", "--all", "--json", "prices.xml"}).out.substr(0, 151),
            R"({"read":5,"valid":1,"invalid":3,"withoutProduct":1,"lines":[{"partNumber":"A","line":1,"name":"Pen",)"
            R"("valid":true,"hasProduct":true,"errors":{},"fault":)");
}

TEST_F(PricesTool, PreviewJudgesTheOthersBesideALineThatCannotBeJudged) {
  write_whole(tool_.folder() / "odd.xml",
              "<ProductPrices><ProductPrice buyfrompartnumber=\"A\"/>"
              "<ProductPrice buyfrompartnumber=\"\"><Price>4</Price></ProductPrice>"
              "<ProductPrice><Price>4</Price></ProductPrice></ProductPrices>");
  const ToolRun shown = tool_.run({"prices", "preview", "odd.xml"});
  EXPECT_EQ(shown.status, 3) << shown.err;
  EXPECT_EQ(shown.out,
            "PART NUMBER  LINE  NAME  FIELD  VALUE\n"
            "A            1                  (it has no fields)\n"
            "             1                  no product has this part number\n"
            "             0                  (it has no attribute buyfrompartnumber)\n"
            "\n"
            "3 lines: 0 valid, 2 invalid, 1 without a product.\n");
}

TEST_F(PricesTool, UploadSaysWhatBecameOfEachLine) {
  const ToolRun shown = tool_.run({"prices", "upload", "--key", "k", "prices.xml"});
  EXPECT_EQ(shown.status, 3) << shown.err;
  EXPECT_EQ(shown.err, "");
  EXPECT_EQ(shown.out,
            "Refused:\n"
            "FILE LINE  PART NUMBER  LINE  FIELD         VALUE  REASON\n"
            "1          A            4     DiscountPerc         not a number\n"
            "1          A            2     Price         dear   not a number\n"
            "\n"
            "Left:\n"
            "PART NUMBER  FIELD  VALUE  REASON\n"
            "Z                          No product has this part number; it has 1 line.\n"
            "\n"
            "read            5  price lines of the document\n"
            "applied         2  2 added, 0 changed, 0 unchanged\n"
            "refused         2\n"
            "remaining       1  in web/XMLDownload/remaining_prices_k.xml\n"
            "upload          1  `mercato uploads undo 1` takes it back\n");
  const ToolRun rest =
      tool_.run({"prices", "upload", "--json", "--key", "k", "web/XMLDownload/remaining_prices_k.xml"});
  EXPECT_EQ(rest.status, 3);
  EXPECT_EQ(rest.out,
            R"({"read":1,"applied":0,"added":0,"changed":0,"unchanged":0,"upload":2,"refused":0,"remaining":1,)"
            R"("remainingFile":"web/XMLDownload/remaining_prices_k.xml","refusals":[],"left":[{"partNumber":"Z",)"
            R"("field":"","value":"","reason":"No product has this part number; it has 1 line."}],"stoppedBy":"",)"
            R"("restFile":"","atomic":false,"interrupted":false})"
            "\n");
}

TEST_F(PricesTool, SamplesAreUploadedAndPriced) {
  const std::string samples = std::string(MERCATO_SOURCE_DIR) + "/samples/";
  ToolFolder tool;
  for (const std::vector<std::string>& command : {std::vector<std::string>{"execute", samples + "reference.sql"},
                                                  {"upload", "--on-errors", "write", samples + "products.xml"}})
    ASSERT_EQ(tool.run(command).status, 0);
  const auto counts = [](const ToolRun& done) { return done.out.substr(0, done.out.find(",\"remainingFile")); };
  const std::vector<std::string> upload = {"prices", "upload", "--json", samples + "prices.xml"};
  EXPECT_EQ(counts(tool.run(upload)),
            R"({"read":73,"applied":63,"added":63,"changed":0,"unchanged":0,"upload":2,"refused":8,"remaining":2)");
  EXPECT_EQ(counts(tool.run(upload)),
            R"({"read":73,"applied":63,"added":0,"changed":0,"unchanged":63,"upload":3,"refused":8,"remaining":2)");
  const std::string preview = tool.run({"prices", "preview", samples + "prices.xml"}).out;
  EXPECT_NE(preview.find("\n73 lines: 63 valid, 8 invalid, 2 without a product.\n"), std::string::npos) << preview;
  const auto price = [&](const char* quantity, const char* currency) {
    const std::string out =
        tool.run({"price", "for", "1", "--quantity", quantity, "--currency", currency, "--date", "2026-09-01"}).out;
    return out.substr(out.find(": ") + 2, out.find(", DISCOUNTPERC") - out.find(": ") - 2);
  };
  EXPECT_EQ(price("5", "EUR"), "PRICE 4.35");
  EXPECT_EQ(price("50", "EUR"), "PRICE 3.95");
  EXPECT_EQ(price("500", "EUR"), "PRICE 3.6");
  EXPECT_EQ(price("500", "USD"), "PRICE 3.996");
}

TEST_F(PricesTool, WhatIsNoDocumentIsRefused) {
  write_whole(tool_.folder() / "broken.xml", "<ProductPrices>");
  for (const char* command : {"preview", "upload"}) {
    const ToolRun broken = tool_.run({"prices", command, "broken.xml"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(
        broken.err,
        "mercato: The document \"broken.xml\" cannot be loaded: Line 1, column 16: the element <ProductPrices> is "
        "never closed.\n");
    EXPECT_EQ(tool_.run({"prices", command}).status, 2);
  }
  EXPECT_EQ(tool_.run({"prices", "upload", "--key", "../up", "prices.xml"}).status, 1);
}

}  // namespace
}  // namespace mercato::test
