// SPDX-License-Identifier: Apache-2.0
// The upload command's own work, with a clock and failures of the test.
#include "exchange/uploading/product_document.h"

#include <functional>
#include <utility>

#include "mercato/date.h"
#include "tests/support/store_fixture.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/upload_checks.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/upload/report_printing.h"

namespace mercato::test {
namespace {

using exchange::UploadReport;

// Once, at a statement with this text, the store fails as if it were gone.
class LostStore : public store::StatementObserver {
 public:
  explicit LostStore(std::string text) : text_(std::move(text)), previous_(store::set_statement_observer(this)) {}
  ~LostStore() override { store::set_statement_observer(previous_); }
  LostStore(const LostStore&) = delete;
  LostStore& operator=(const LostStore&) = delete;
  void on_statement(std::string_view text, bool) override {
    if (struck_ || text.find(text_) == std::string_view::npos) return;
    struck_ = true;
    raise(error_number::kStoreFailure, "Test", "The store is gone");
  }

 private:
  std::string text_;
  bool struck_ = false;
  store::StatementObserver* previous_;
};

class ToolUpload : public StoreTest {
 protected:
  static std::string record(const std::string& key, const std::string& more = {}) {
    return "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>M-" + key +
           "</PARTNUMBER><PRODUCTDESCRIPTION>About " + key + "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>" +
           more + "</Product>";
  }
  // P-1, P-2 and so on.
  static std::string records(int count) {
    std::string text;
    for (int number = 1; number <= count; ++number) text += record("P-" + std::to_string(number));
    return text;
  }
  UploadReport upload(const std::string& records, bool update_only = false) {
    write_whole(folder() / "records.xml", "<Products>" + records + "</Products>");
    return upload_file(folder() / "records.xml", update_only);
  }
  UploadReport upload_file(const std::filesystem::path& path, bool update_only = false) {
    return exchange::ProductUpload(
               {.document = path.string(), .file_key = "test", .web_root = (folder() / "web").string()},
               {.update_only = update_only})
        .run();
  }
  // How many records each call of the library was given.
  static std::vector<std::size_t> records_given(const Recorder& recorder) {
    std::vector<std::size_t> counts;
    for (const ComponentCall& call : recorder.calls)
      if (call.method == "Mercato.ProductXML.insertProductsFromXML" ||
          call.method == "Mercato.ProductXML.updateProductsFromXML")
        counts.push_back(call.arguments[2].to_array().items.size());
    return counts;
  }
  std::filesystem::path remaining_file() const { return folder() / "web/XMLDownload/remaining_products_test.xml"; }
  std::vector<std::string> remaining_part_numbers() const { return part_numbers_in(remaining_file()); }
  std::vector<std::string> stored_part_numbers() const {
    std::vector<std::string> part_numbers;
    for (const auto& row : rows("SELECT BUYFROMPARTNUMBER FROM PRODUCT ORDER BY PRODUCTID"))
      part_numbers.push_back(row[0].to_text());
    return part_numbers;
  }
  // Each reading moves the clock on. One is taken when a run begins, one before each record and one for each row that
  // is written.
  static void let_readings_take(double seconds) {
    clock::script_clock(Date::from_civil({2026, 7, 1, 8, 0, 0}), seconds);
  }
};

TEST_F(ToolUpload, RunsAgainOnWhatTheTimeForOneRunHasLeftUntilNothingIs) {
  let_readings_take(45);
  Recorder recorder;
  const UploadReport report = upload(records(7));
  EXPECT_EQ(records_given(recorder), (std::vector<std::size_t>{7, 5, 3, 1}));
  expect_counts(report, 7, 0, 0);
  EXPECT_EQ(report.inserted, 7u);
  EXPECT_EQ(report.stopped_by, "");
  EXPECT_EQ(report.remaining_file, "");
  EXPECT_FALSE(std::filesystem::exists(remaining_file()));
  EXPECT_EQ(stored_part_numbers(), (std::vector<std::string>{"P-1", "P-2", "P-3", "P-4", "P-5", "P-6", "P-7"}));
}

TEST_F(ToolUpload, CountsEveryRecordOnceOverSeveralRuns) {
  let_readings_take(45);
  // One record fails, one is refused, one has no key: each place where a record can end. Two runs end with their time.
  const UploadReport report =
      upload(record("P-1") + "<Product buyfrompartnumber=\"BAD\"><PARTNUMBER>M</PARTNUMBER></Product>" +
             "<Product><PARTNUMBER>lost</PARTNUMBER></Product>" + record("P-2", "<LOTSIZE>ten</LOTSIZE>") +
             record("P-1", "<URL>twice</URL>") + record("P-3") + record("P-4") + record("P-5"));
  expect_counts(report, 5, 2, 1);
  EXPECT_EQ(report.inserted, 4u);
  EXPECT_EQ(report.updated, 1u);
  EXPECT_EQ(stored_part_numbers(), (std::vector<std::string>{"P-1", "P-3", "P-4", "P-5"}));
  EXPECT_EQ(value_of("SELECT URL FROM PRODUCT WHERE BUYFROMPARTNUMBER='P-1'"), Variant("twice"));
  EXPECT_EQ(remaining_part_numbers(), std::vector<std::string>{});
  EXPECT_NE(read_whole(remaining_file()).find("lost"), std::string::npos);
}

TEST_F(ToolUpload, IsEndedWhenARunHasNoTimeForItsFirstRecord) {
  let_readings_take(180);
  const UploadReport report = upload(records(3));
  expect_counts(report, 0, 0, 3);
  EXPECT_EQ(report.stopped_by, "The time for one run passed before its first record.");
  EXPECT_EQ(remaining_part_numbers(), (std::vector<std::string>{"P-1", "P-2", "P-3"}));
  clock::restore_clock();
  expect_counts(upload_file(remaining_file()), 3, 0, 0);
}

TEST_F(ToolUpload, IsEndedByAStoreThatIsGoneAndTheRestCanBeUploadedLater) {
  {
    LostStore lost("'P-203'");
    const UploadReport report = upload(records(205));
    expect_counts(report, 200, 0, 5);
    EXPECT_EQ(report.stopped_by, "The store is gone.");
    EXPECT_EQ(report.remaining_file, remaining_file());
  }
  // The writes of P-201 and P-202 could have been lost with it.
  EXPECT_EQ(remaining_part_numbers(), (std::vector<std::string>{"P-201", "P-202", "P-203", "P-204", "P-205"}));
  const UploadReport rest = upload_file(remaining_file());
  expect_counts(rest, 5, 0, 0);
  EXPECT_EQ(rest.updated, 2u);
  EXPECT_EQ(stored_part_numbers().size(), 205u);
  EXPECT_FALSE(std::filesystem::exists(remaining_file()));
}

TEST_F(ToolUpload, OfUpdatesIsEndedByAStoreThatIsGoneJustSo) {
  upload(records(5));
  LostStore lost("BUYFROMPARTNUMBER ='P-2'");
  expect_counts(upload(records(5), true), 0, 0, 5);
  EXPECT_EQ(remaining_part_numbers(), (std::vector<std::string>{"P-1", "P-2", "P-3", "P-4", "P-5"}));
}

// The preview used to load the whole document again for each invalid record.
TEST_F(ToolUpload, PreviewAsksForTheErrorsOfARecordWithThatRecordAlone) {
  const auto bad = [](const std::string& key, const std::string& fields) {
    return "<Product buyfrompartnumber=\"" + key + "\">" + fields + "</Product>";
  };
  write_whole(folder() / "records.xml", "<Products>" + bad("A", "") + bad("A", "<LOTSIZE>ten</LOTSIZE>") +
                                            bad("B", "<URL>x &lt; y</URL>") + "<Group>" + bad("A", "<GTIN>12X</GTIN>") +
                                            "</Group></Products>");
  Recorder recorder;
  testing::internal::CaptureStdout();
  const int status = cli::preview({.document = folder() / "records.xml"}, {.json = true});
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      R"({"read":3,"valid":0,"invalid":3,"records":[)"
      R"({"partNumber":"A","name":"","valid":false,"errors":{"LOTSIZE":"ten","PRODUCTDESCRIPTION":"","PARTNUMBER":"","UNITCODE":""}},)"
      R"({"partNumber":"B","name":"","valid":false,"errors":{"PRODUCTDESCRIPTION":"","PARTNUMBER":"","UNITCODE":""}},)"
      R"({"partNumber":"A","name":"","valid":false,"errors":{"GTIN":"0000000000012X","PRODUCTDESCRIPTION":"","PARTNUMBER":"","UNITCODE":""}}]})"
      "\n");
  EXPECT_EQ(status, cli::kDoneInPart);
  std::vector<std::string> asked;
  for (const ComponentCall& call : recorder.calls)
    if (call.method == "Mercato.ProductXML.getErrorsInProductValues") asked.push_back(call.arguments[0].to_text());
  EXPECT_EQ(asked,
            (std::vector<std::string>{"<Product buyfrompartnumber=\"A\">\n  <LOTSIZE>ten</LOTSIZE>\n</Product>\n",
                                      "<Product buyfrompartnumber=\"B\">\n  <URL>x &lt; y</URL>\n</Product>\n",
                                      "<Product buyfrompartnumber=\"A\">\n  <GTIN>12X</GTIN>\n</Product>\n"}));
}

TEST_F(ToolUpload, UpdatesGoOnBehindAnyNumberOfUnknownPartNumbers) {
  upload(record("P-1") + record("P-2"));
  std::string unknown;
  for (int number = 0; number < 1200; ++number) unknown += record("N-" + std::to_string(number));
  Recorder recorder;
  const UploadReport report = upload(unknown + record("P-1", "<URL>new</URL>") + record("P-2"), true);
  expect_counts(report, 2, 1200, 0);
  EXPECT_EQ(report.stopped_by, "");
  EXPECT_EQ(report.refusals.front().reason, "No product has this part number.");
  EXPECT_EQ(records_given(recorder), (std::vector<std::size_t>{2}));
  EXPECT_EQ(value_of("SELECT URL FROM PRODUCT WHERE BUYFROMPARTNUMBER='P-1'"), Variant("new"));
}

// Each record that failed used to end the library's run, and to have the whole document written and loaded again.
TEST_F(ToolUpload, OneRunGoesOnBehindEveryRecordThatFails) {
  const std::string failing = "<COLOUR>black'n'white</COLOUR>";
  const std::string text = record("P-1") + record("P-2", failing) + record("P-3", failing) + record("P-4") +
                           record("P-5", failing) + record("P-3");
  {
    Recorder recorder;
    const UploadReport report = upload(text);
    EXPECT_EQ(records_given(recorder), (std::vector<std::size_t>{6}));
    expect_counts(report, 3, 3, 0);
    EXPECT_EQ(report.stopped_by, "");
    ASSERT_EQ(report.refusals.size(), 3u);
    EXPECT_EQ(report.refusals[1].part_number, "P-3");
    EXPECT_EQ(report.refusals[1].reason,
              "The library could not make a statement of these values: most often one of them has a quote ('), or one "
              "that belongs to another is missing.");
  }
  Recorder recorder;
  expect_counts(upload(text, true), 2, 4, 0);
  EXPECT_EQ(records_given(recorder), (std::vector<std::size_t>{5}));
}

// An upload into a store that was taken away said that everything was applied.
TEST_F(ToolUpload, NothingIsAppliedWhenTheFileOfTheStoreIsTakenAway) {
  MERCATO_ONLY_ON_SQLITE(store(), "the file of the store is moved, removed and replaced");
  class Thief : public store::StatementObserver {
   public:
    explicit Thief(std::function<void()> deed)
        : deed_(std::move(deed)), previous_(store::set_statement_observer(this)) {}
    ~Thief() override { store::set_statement_observer(previous_); }
    Thief(const Thief&) = delete;
    Thief& operator=(const Thief&) = delete;
    void on_statement(std::string_view text, bool) override {
      if (deed_ && text.find("'P-150'") != std::string_view::npos) std::exchange(deed_, nullptr)();
    }

   private:
    std::function<void()> deed_;
    store::StatementObserver* previous_;
  };
  const std::filesystem::path store = store_path();
  const std::filesystem::path whole = folder() / "whole.db";
  const auto restore = [&] {
    store::close_idle_sessions();
    for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(store.string() + suffix);
    std::filesystem::copy_file(whole, store, std::filesystem::copy_options::overwrite_existing);
  };
  store::close_idle_sessions();
  std::filesystem::copy_file(store, whole);
  std::filesystem::copy_file(store, folder() / "other.db");
  const std::pair<const char*, std::function<void()>> deeds[] = {
      {"moved", [&] { std::filesystem::rename(store, folder() / "moved.db"); }},
      {"removed", [&] { std::filesystem::remove(store); }},
      {"replaced", [&] { std::filesystem::rename(folder() / "other.db", store); }}};
  for (const auto& [name, deed] : deeds) {
    SCOPED_TRACE(name);
    std::filesystem::remove(remaining_file());
    UploadReport report;
    {
      const Thief thief(deed);
      report = upload(records(205));
    }
    expect_counts(report, 0, 0, 205);
    EXPECT_EQ(
        report.stopped_by,
        "The file of the store was moved, removed or replaced during the upload, so that nothing of the document is "
        "in the store for certain. Put the file back, or a backup, and upload the whole document again.");
    EXPECT_EQ(cli::status_of(report), cli::kFailed);
    EXPECT_EQ(report.remaining_file, remaining_file());
    EXPECT_EQ(remaining_part_numbers().size(), 205u);
    restore();
  }
  expect_counts(upload_file(remaining_file()), 205, 0, 0);
}

TEST_F(ToolUpload, EndsWhenMoreRecordsHaveFailedThanMay) {
  const std::string failing = "<COLOUR>black'n'white</COLOUR>";
  write_whole(folder() / "records.xml", "<Products>" + record("P-1", failing) + record("P-2") + record("P-3", failing) +
                                            record("P-4", failing) + record("P-5") + "</Products>");
  exchange::ProductUpload upload(
      {.document = folder() / "records.xml", .file_key = "test", .web_root = folder() / "web", .most_failures = 2});
  const UploadReport report = upload.run();
  expect_counts(report, 1, 2, 2);
  EXPECT_EQ(
      report.stopped_by,
      "More than 2 records failed. Mend what they have in common, and upload the remaining file. The last one: "
      "The library could not make a statement of these values: most often one of them has a quote ('), or one that "
      "belongs to another is missing.");
  EXPECT_EQ(remaining_part_numbers(), (std::vector<std::string>{"P-4", "P-5"}));
}

TEST_F(ToolUpload, TellsWhatWasWrittenWhenTheRestCannotBePutIntoAFile) {
  std::filesystem::create_directories(folder() / "web");
  write_whole(folder() / "web/XMLDownload", "no folder");
  const UploadReport report = upload(record("P-1") + record("O'NEIL") + record("P-2"));
  expect_counts(report, 2, 0, 1);
  EXPECT_EQ(report.remaining_file, "");
  EXPECT_EQ(report.stopped_by,
            "What remains could not be put into a file, and stands in the document only: Cannot create the folder \"" +
                (folder() / "web/XMLDownload").string() + "\": File exists.");
  EXPECT_EQ(stored_part_numbers(), (std::vector<std::string>{"P-1", "P-2"}));
}

TEST_F(ToolUpload, TellsAlsoWhatEndedItBeforeTheRestCouldNotBePutIntoAFile) {
  std::filesystem::create_directories(folder() / "web");
  write_whole(folder() / "web/XMLDownload", "no folder");
  const LostStore lost("'P-2'");
  const UploadReport report = upload(record("P-1") + record("P-2"));
  EXPECT_EQ(report.stopped_by.substr(0, 55), "The store is gone. What remains could not be put into a");
  EXPECT_EQ(report.read, report.applied() + report.refused + report.remaining);
  EXPECT_GE(report.remaining, 1u);
}

TEST_F(ToolUpload, PreviewJudgesTheOthersBesideARecordThatCannotBeJudged) {
  execute({"INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')"});
  write_whole(folder() / "records.xml", "<Products>" + record("P-1", "<UNIT>PC</UNIT>") +
                                            "<Product><PARTNUMBER>lost</PARTNUMBER></Product>" +
                                            record("P-2", "<UNIT>PC</UNIT><CONTRACTCODE>K7</CONTRACTCODE>") +
                                            record("P-3", "<UNIT>PC</UNIT>") + "</Products>");
  testing::internal::CaptureStdout();
  const int status = cli::preview({.document = folder() / "records.xml"}, {.json = true});
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      R"({"read":4,"valid":2,"invalid":2,"records":[)"
      R"({"partNumber":"P-1","name":"About P-1","valid":true,"errors":{}},)"
      R"({"partNumber":"","name":"","valid":false,"errors":{},"reason":"It has no attribute buyfrompartnumber."},)"
      R"({"partNumber":"P-2","name":"","valid":false,"errors":{},"reason":)"
      R"("The library could not make a statement of these values: most often one of them has a quote ('), or one that )"
      R"(belongs to another is missing."},)"
      R"({"partNumber":"P-3","name":"About P-3","valid":true,"errors":{}}]})"
      "\n");
  EXPECT_EQ(status, cli::kDoneInPart);
}

TEST_F(ToolUpload, PreviewOfUpdatesFindsTheRecordsOfTheProductsThatExist) {
  upload(record("P-2"));
  write_whole(folder() / "records.xml", "<Products>" + record("P-1", "<LOTSIZE>one</LOTSIZE>") +
                                            record("P-2", "<LOTSIZE>two</LOTSIZE>") +
                                            record("P-1", "<LOTSIZE>three</LOTSIZE>") +
                                            record("P-2", "<MINORDERQTY>four</MINORDERQTY>") + "</Products>");
  testing::internal::CaptureStdout();
  cli::preview({.document = folder() / "records.xml", .update_only = true}, {.json = true});
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            R"({"read":2,"valid":0,"invalid":2,"records":[)"
            R"({"partNumber":"P-2","name":"About P-2","valid":false,"errors":{"LOTSIZE":"two","UNITCODE":""}},)"
            R"({"partNumber":"P-2","name":"About P-2","valid":false,"errors":{"MINORDERQTY":"four","UNITCODE":""}}]})"
            "\n");
}

}  // namespace
}  // namespace mercato::test
