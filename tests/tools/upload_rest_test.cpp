// SPDX-License-Identifier: Apache-2.0
// What an upload refuses for its values, what it writes into the file of the rest, all or nothing, and Ctrl-C.
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <optional>

#include "exchange/journal/journal.h"
#include "exchange/uploading/price_document.h"
#include "exchange/uploading/product_document.h"
#include "frame/lib_sql.h"
#include "platform/store/session_pool.h"
#include "tests/platform/whole_files.h"
#include "tests/support/store_fixture.h"
#include "tests/tools/upload_checks.h"
#include "tools/cli/upload/report_printing.h"
#include "tools/cli/upload/terminal_watcher.h"

namespace mercato::test {
namespace {

using exchange::UploadReport;

// At the first statement with this text Ctrl-C is pressed, while a command runs.
class PressedCtrlC : public store::StatementObserver {
 public:
  // A program that runs in the background was started to ignore it.
  explicit PressedCtrlC(std::string text)
      : text_(std::move(text)),
        previous_(store::set_statement_observer(this)),
        previous_action_(std::signal(SIGINT, SIG_DFL)) {
    command_.emplace("Interrupted.\n");
  }
  ~PressedCtrlC() override {
    command_.reset();
    store::set_statement_observer(previous_);
    std::signal(SIGINT, previous_action_);
  }
  PressedCtrlC(const PressedCtrlC&) = delete;
  PressedCtrlC& operator=(const PressedCtrlC&) = delete;
  void on_statement(std::string_view text, bool) override {
    if (pressed_ || text.find(text_) == std::string_view::npos) return;
    pressed_ = true;
    ::raise(SIGINT);
  }

 private:
  std::string text_;
  bool pressed_ = false;
  store::StatementObserver* previous_;
  void (*previous_action_)(int);
  std::optional<cli::Interruptible> command_;
};

class UploadRest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
  }
  static std::string record(const std::string& key, const std::string& more = {}) {
    return "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>M</PARTNUMBER><PRODUCTDESCRIPTION>About " + key +
           "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>" + more + "</Product>\n";
  }
  static std::string line(const std::string& key, const std::string& price, const std::string& quantity_to) {
    return "<ProductPrice buyfrompartnumber=\"" + key + "\"><CurrencyCode>EUR</CurrencyCode><Price>" + price +
           "</Price><QuantityTo>" + quantity_to + "</QuantityTo><PriceEffectiveDate>1/1/2026</PriceEffectiveDate>" +
           "<PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>\n";
  }
  exchange::UploadSource source(const std::string& text) const {
    write_whole(folder() / "records.xml", text);
    exchange::UploadSource source;
    source.document = (folder() / "records.xml").string();
    source.file_key = "test";
    source.web_root = (folder() / "web").string();
    source.judging.emplace();
    source.rest_file = rest_file();
    return source;
  }
  UploadReport upload(const std::string& records, bool atomic = false) const {
    exchange::UploadSource all = source("<Products>\n" + records + "</Products>");
    all.atomic = atomic;
    return run(all);
  }
  static UploadReport run(const exchange::UploadSource& source) {
    return cli::run_at_terminal<exchange::ProductUpload>(source);
  }
  UploadReport upload_prices(const std::string& lines) const {
    return cli::run_at_terminal<exchange::PriceUpload>(source("<ProductPrices>\n" + lines + "</ProductPrices>"));
  }
  // As a document writes it.
  static std::string loaded_text(const std::string& element) {
    xml::Document document;
    EXPECT_TRUE(document.load_text(element));
    const std::string text = document.document_element().save_text();
    return text.ends_with('\n') ? text : text + '\n';
  }
  std::string rest_file() const { return (folder() / "rest.xml").string(); }
  std::vector<std::string> stored() const {
    std::vector<std::string> numbers;
    for (const auto& row : rows("SELECT BUYFROMPARTNUMBER FROM PRODUCT ORDER BY PRODUCTID"))
      numbers.push_back(row[0].to_text());
    return numbers;
  }
  using Texts = std::vector<std::string>;
};

TEST_F(UploadRest, HasEachRecordThatWasRefusedOrIsLeftWithItsLineAndReasons) {
  const UploadReport report =
      upload(record("A") + record("B", "<LOTSIZE>12,50</LOTSIZE><Colour>it's</Colour>") + record("A", "<URL>u</URL>") +
             record("C", "<LOTSIZE>many</LOTSIZE>") + "<product buyfrompartnumber=\"D\"/>\n" +
             "<Product><PARTNUMBER>--lost--</PARTNUMBER></Product>\n");
  expect_counts(report, 2, 3, 1);
  EXPECT_EQ(report.rest_file, rest_file());
  EXPECT_EQ(
      read_whole(rest_file()),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Products>\n"
      "  <!-- line 3\n"
      "       LOTSIZE \"12,50\": it is no number as the file writes them. Correct it, or say the decimal sign with "
      "- -decimal.\n"
      "       Colour \"it's\": the library does not take a typewriter apostrophe here. Accept it to have it replaced "
      "by a typographic one. -->\n" +
          loaded_text(record("B", "<LOTSIZE>12,50</LOTSIZE><Colour>it's</Colour>")) +
          "  <!-- line 5\n"
          "       LOTSIZE \"many\": not a number -->\n" +
          loaded_text(record("C", "<LOTSIZE>many</LOTSIZE>")) +
          "  <!-- line 7\n"
          "       It has no attribute buyfrompartnumber. -->\n" +
          loaded_text("<Product><PARTNUMBER>--lost--</PARTNUMBER></Product>") +
          "  <!-- line 6\n"
          "       product \"\": its name is in another case than that of a record, so an upload passes over it. "
          "Write the name as the format does. -->\n" +
          loaded_text("<product buyfrompartnumber=\"D\"/>") + "</Products>\n");
  EXPECT_EQ(stored(), Texts{"A"});

  // Corrected, it is loaded as any document is.
  std::string corrected = read_whole(rest_file());
  for (const auto& [wrong, right] :
       {std::pair("12,50<", "12.50<"), std::pair("it's<", "its<"), std::pair("many<", "9<")})
    corrected.replace(corrected.find(wrong), std::string(wrong).size(), right);
  exchange::UploadSource again = source(corrected);
  expect_counts(run(again), 2, 1, 1);
  EXPECT_EQ(stored(), (Texts{"A", "B", "C"}));
}

TEST_F(UploadRest, IsADocumentWithoutRecordsWhenNothingIsLeft) {
  expect_counts(upload(record("A")), 1, 0, 0);
  EXPECT_EQ(read_whole(rest_file()), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Products>\n</Products>\n");
}

TEST_F(UploadRest, OfPricesHasTheLinesOfUnknownProductsToo) {
  upload(record("A"));
  const UploadReport report =
      upload_prices(line("A", "5", "10") + line("N", "5", "10") + line("A", "1,5", "20") + line("A", "6", "30"));
  expect_counts(report, 2, 1, 1);
  EXPECT_EQ(part_numbers_in(rest_file()), (Texts{"N", "A"}));
  const std::string rest = read_whole(rest_file());
  EXPECT_NE(rest.find("line 3\n       No product has this part number; it has 1 line. -->"), std::string::npos) << rest;
  EXPECT_NE(rest.find("line 4\n       Price \"1,5\": it is no number"), std::string::npos) << rest;
  EXPECT_EQ(report.refusals.front().line, 2u);
  EXPECT_EQ(report.refusals.front().file_line, 4u);
}

TEST_F(UploadRest, IsWrittenAsLinesOfJsonWhenThoseAreAskedFor) {
  exchange::UploadSource lines = source("<Products>\n" + record("A", "<LOTSIZE>x</LOTSIZE>") + "</Products>");
  lines.rest_as_lines = true;
  expect_counts(run(lines), 0, 1, 0);
  const auto json = nlohmann::json::parse(read_whole(rest_file()));
  EXPECT_EQ(json.at("line"), 2);
  EXPECT_EQ(json.at("partNumber"), "A");
  EXPECT_EQ(json.at("reasons"), nlohmann::json::parse(R"([{"field":"LOTSIZE","value":"x","reason":"not a number"}])"));
  EXPECT_EQ(json.at("record"), loaded_text(record("A", "<LOTSIZE>x</LOTSIZE>")));
}

TEST_F(UploadRest, OfAnUploadThatTakesValuesAsItIsToldIsEmpty) {
  exchange::UploadSource told = source("<Products>\n" + record("A", "<LOTSIZE>12,50</LOTSIZE><BROKEN>it's</BROKEN>") +
                                       record("B", "<LOTSIZE>3</LOTSIZE>") + "</Products>");
  told.judging->decimal_sign = ',';
  told.judging->accepted = {exchange::Reason::apostrophe};
  expect_counts(run(told), 2, 0, 0);
  EXPECT_EQ(value_of("SELECT LOTSIZE FROM PRODUCT WHERE BUYFROMPARTNUMBER='A'"), Variant(12.5));
  EXPECT_EQ(value_of("SELECT VALUE FROM PRODUCTPROPVALUE"), Variant("it’s"));
  EXPECT_EQ(value_of("SELECT LOTSIZE FROM PRODUCT WHERE BUYFROMPARTNUMBER='B'"), Variant(3.0));
}

TEST_F(UploadRest, NamesWhatWasLeftOutOfARecordAndCountsItAsRepaired) {
  exchange::UploadSource told = source("<Products>\n" + record("A", "<LOTSIZE>-5</LOTSIZE>") + "</Products>");
  told.judging->accepted = {exchange::Reason::negative};
  const UploadReport report = run(told);
  expect_counts(report, 1, 0, 0);
  EXPECT_EQ(report.repaired, 1u);
  ASSERT_EQ(report.dropped.size(), 1u);
  EXPECT_EQ(report.dropped.front().value, "-5");
  EXPECT_TRUE(value_of("SELECT LOTSIZE FROM PRODUCT").is_null());
}

TEST_F(UploadRest, OfAllOrNothingIsTheWholeDocumentAndNothingStands) {
  for (const char* bad : {"<LOTSIZE>many</LOTSIZE>", "<LOTSIZE>12,50</LOTSIZE>"}) {
    const UploadReport report = upload(record("A") + record("B", bad) + record("C"), true);
    expect_counts(report, 0, 1, 2);
    EXPECT_EQ(cli::status_of(report), 1);
    EXPECT_EQ(stored(), Texts{});
    EXPECT_EQ(report.remaining_file, "");
    EXPECT_FALSE(std::filesystem::exists(folder() / "web/XMLDownload/remaining_products_test.xml"));
    EXPECT_EQ(part_numbers_in(rest_file()), (Texts{"A", "B", "C"}));
  }
  const UploadReport report = upload(record("A") + record("C"), true);
  expect_counts(report, 2, 0, 0);
  EXPECT_EQ(cli::status_of(report), 0);
  EXPECT_EQ(stored(), (Texts{"A", "C"}));
}

TEST_F(UploadRest, OfAnInterruptedUploadIsWhatItDidNotComeTo) {
  UploadReport report;
  {
    const PressedCtrlC pressed("'C'");
    report = upload(record("A") + record("B") + record("C") + record("D") + record("E"));
  }
  expect_counts(report, 3, 0, 2);
  EXPECT_TRUE(report.interrupted);
  EXPECT_EQ(cli::status_of(report), 130);
  EXPECT_EQ(stored(), (Texts{"A", "B", "C"}));
  EXPECT_EQ(part_numbers_in(rest_file()), (Texts{"D", "E"}));
  EXPECT_EQ(part_numbers_in(report.remaining_file), (Texts{"D", "E"}));
  expect_counts(run(source(read_whole(rest_file()))), 2, 0, 0);
}

TEST_F(UploadRest, OfAnInterruptedUploadIsListedAsCancelled) {
  exchange::Journal journal(shared_connection_string(), {"products", "ann", "records.xml", {}, {}, 0});
  exchange::UploadSource all = source("<Products>" + record("A") + record("B") + record("C") + "</Products>");
  all.journal = &journal;
  UploadReport report;
  {
    const PressedCtrlC pressed("'B'");  // at the latest when the journal looks for it
    report = run(all);
  }
  journal.end(result_of(report), kept_findings(report));
  const store::PooledSession session = store::acquire_session(shared_connection_string());
  const exchange::Upload kept = exchange::upload_of(*session.get(), journal.id());
  EXPECT_EQ(kept.state, "cancelled");
  EXPECT_EQ(kept.counts, (exchange::UploadCounts{3, 0, 0, 0, 0, 3}));
}

TEST_F(UploadRest, OfInterruptedPricesIsWhatTheyDidNotComeTo) {
  upload(record("A") + record("B"));
  const PressedCtrlC pressed("CATALOGPRODUCTPRICE");
  const UploadReport report = upload_prices(line("A", "5", "10") + line("B", "5", "10"));
  expect_counts(report, 1, 0, 1);
  EXPECT_EQ(cli::status_of(report), 130);
  EXPECT_EQ(part_numbers_in(rest_file()), Texts{"B"});
}

TEST_F(UploadRest, ThatCannotBeWrittenIsTold) {
  exchange::UploadSource nowhere = source("<Products>\n" + record("A") + "</Products>");
  nowhere.rest_file = (folder() / "none/rest.xml").string();
  const UploadReport report = run(nowhere);
  expect_counts(report, 1, 0, 0);
  EXPECT_EQ(report.rest_file, "");
  EXPECT_EQ(report.stopped_by, "The rest was not written: The file \"" + nowhere.rest_file + "\" cannot be written.");
}

}  // namespace
}  // namespace mercato::test
