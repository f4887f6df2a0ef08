// SPDX-License-Identifier: Apache-2.0
#include "mercato/upload_observer.h"

#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

class Listener : public UploadObserver {
 public:
  void on_start(std::size_t records) override { announced.push_back(records); }
  void on_record(const UploadRecord& record) override { heard.push_back(record); }

  std::vector<std::size_t> announced;
  std::vector<UploadRecord> heard;
};

using Told = std::vector<std::vector<std::string>>;

Told told(const std::vector<UploadField>& fields) {
  Told texts;
  for (const UploadField& field : fields) texts.push_back({field.field, field.value, field.reason});
  return texts;
}

class UploadObserving : public UploadTest {
 protected:
  void SetUp() override {
    UploadTest::SetUp();
    upload.set_observer(&listener);
  }
  Listener listener;
  ProductXML upload;
};

TEST_F(UploadObserving, EachRecordIsToldWithWhatBecameOfIt) {
  add_product("B-2");
  Array list{"A-1", "B-2", "C-3", "D-4", "E-5"};
  upload.insertProductsFromXML(
      "k/\\" + document(record("A-1", kRequired) + record("B-2", "<URL>b</URL>") +
                        record("C-3", "<LOTSIZE>ten</LOTSIZE>") + record("D-4", "") + record("E-5", kRequired)),
      false, list, false);
  EXPECT_EQ(listener.announced, (std::vector<std::size_t>{5}));
  ASSERT_EQ(listener.heard.size(), 5u);
  const std::vector<std::pair<std::string, UploadOutcome>> expected = {{"A-1", UploadOutcome::inserted},
                                                                       {"B-2", UploadOutcome::updated},
                                                                       {"C-3", UploadOutcome::given_up},
                                                                       {"D-4", UploadOutcome::empty},
                                                                       {"E-5", UploadOutcome::inserted}};
  for (std::size_t index = 0; index < expected.size(); ++index) {
    EXPECT_EQ(listener.heard[index].part_number, expected[index].first);
    EXPECT_EQ(listener.heard[index].outcome, expected[index].second) << expected[index].first;
  }
  EXPECT_EQ(told(listener.heard[0].dropped), Told{});
  EXPECT_EQ(told(listener.heard[2].dropped), (Told{{"LOTSIZE", "ten", "not a number"}}));
}

TEST_F(UploadObserving, EachDroppedOrCutFieldIsToldWithItsValueAndAReason) {
  set_unspsc_setting("Yes");
  upload.insertProductFromXML(
      document(record("A-1",
                      "<PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER><UNIT>Box</UNIT>"
                      "<COMMODITYCODE>NOSUCH</COMMODITYCODE><CONTRACTCODE>K8</CONTRACTCODE><NUMBER>5</NUMBER>"
                      "<PRODUCTEXPIRYDATE>soon</PRODUCTEXPIRYDATE><GTIN>12X</GTIN><MULTIPLEBUYER>2</MULTIPLEBUYER>"
                      "<UNSPSCCODE>441299</UNSPSCCODE><CLASSIFICATION>" +
                          repeated(33, 'c') + "</CLASSIFICATION><COLOUR>" + repeated(31, 'r') + "</COLOUR>")),
      false, "A-1", true);
  ASSERT_EQ(listener.heard.size(), 1u);
  EXPECT_EQ(listener.heard[0].outcome, UploadOutcome::inserted);
  EXPECT_EQ(told(listener.heard[0].dropped), (Told{{"UNITCODE", "Box", "no such unit"},
                                                   {"COMMODITYCODE", "NOSUCH", "no such commodity"},
                                                   {"CONTRACTCODE", "K8", "no such contract line"},
                                                   {"NUMBER", "5", "no such contract line"},
                                                   {"PRODUCTEXPIRYDATE", "soon", "not a date"},
                                                   {"GTIN", "0000000000012X", "not a number"},
                                                   {"MULTIPLEBUYER", "2", "neither 0 nor 1"},
                                                   {"UNSPSCCODE", "441299", "no such UNSPSC code"}}));
  EXPECT_EQ(told(listener.heard[0].cut), (Told{{"CLASSIFICATION", repeated(33, 'c'), "cut to 32 characters"},
                                               {"COLOUR", repeated(31, 'r'), "cut to 30 characters"}}));
}

TEST_F(UploadObserving, RecordThatLostEverythingIsToldAsNothingWritten) {
  upload.updateProductFromXML(document(record("A-1", "<LOTSIZE>ten</LOTSIZE>")), false, "A-1", true);
  ASSERT_EQ(listener.heard.size(), 1u);
  EXPECT_EQ(listener.heard[0].outcome, UploadOutcome::nothing_written);
}

TEST_F(UploadObserving, RecordWhoseFailureEndsTheCallIsToldAsFailed) {
  Array list{"A-1", "Z-9", "B-2"};
  raised_by([&] {
    upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired) + record("B-2", kRequired)), false, list,
                                 false);
  });
  ASSERT_EQ(listener.heard.size(), 2u);
  EXPECT_EQ(listener.heard[1].part_number, "Z-9");
  EXPECT_EQ(listener.heard[1].outcome, UploadOutcome::failed);
}

class Persistent : public Listener {
 public:
  bool goes_on_behind(const RaisedError& failure) override {
    failures.push_back(failure.Number);
    return failures.size() < 3;
  }
  std::vector<std::int32_t> failures;
};

// Whoever wanted to go on behind a failure had to write the document out and load it again for each one.
TEST_F(UploadObserving, InsertsGoOnBehindRecordsThatFailForAsLongAsTheObserverWants) {
  Persistent persistent;
  upload.set_observer(&persistent);
  const std::string failing = kRequired + "<COLOUR>black'n'white</COLOUR>";
  const std::string text = document(record("A-1", failing) + record("B-2", kRequired) + record("A-1", kRequired) +
                                    record("C-3", failing) + record("D-4", kRequired));
  Array list{"A-1", "Z-9", "B-2", "A-1"};
  upload.insertProductsFromXML("k/\\" + text, false, list, false);
  EXPECT_EQ(list, (Array{"A-1", "Z-9", "B-2", "A-1"}));
  EXPECT_EQ(persistent.failures,
            (std::vector<std::int32_t>{error_number::kStatementRefused, error_number::kObjectNotSet}));
  std::vector<UploadOutcome> outcomes;
  for (const UploadRecord& told : persistent.heard) outcomes.push_back(told.outcome);
  EXPECT_EQ(outcomes, (std::vector<UploadOutcome>{UploadOutcome::failed, UploadOutcome::failed, UploadOutcome::inserted,
                                                  UploadOutcome::updated}));
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"C-3", "D-4"}));

  list = Array{"C-3", "D-4"};
  EXPECT_EQ(raised_by([&] { upload.insertProductsFromXML("k/\\" + text, false, list, false); }).Number,
            error_number::kStatementRefused);
  EXPECT_EQ(list, (Array{"C-3", "D-4"}));
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"C-3", "D-4"}));
}

TEST_F(UploadObserving, UpdatesGoOnBehindRecordsThatFail) {
  add_product("B-2");
  Persistent persistent;
  upload.set_observer(&persistent);
  upload.updateProductsFromXML(document(record("A-1", "<URL>a</URL>") + record("B-2", "<URL>b</URL>")), false,
                               Array{"A-1", "B-2"}, false);
  EXPECT_EQ(persistent.failures, (std::vector<std::int32_t>{error_number::kNoCurrentRow}));
  EXPECT_EQ(product("URL", "B-2").to_text(), "b");
}

// Cancels when it has heard of so many records.
class CancellingListener : public Persistent {
 public:
  explicit CancellingListener(std::size_t records) : records_(records) {}
  bool cancels() override { return heard.size() == records_; }

 private:
  const std::size_t records_;
};

TEST_F(UploadObserving, InsertsThatTheObserverCancelsEndBeforeTheNextRecordAsIfTheirTimeWereUp) {
  CancellingListener impatient(2);
  upload.set_observer(&impatient);
  Array list({Variant("A-1"), Variant("B-2"), Variant("C-3"), Variant("D-4")}, 1);
  upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired) + record("B-2", kRequired) +
                                                 record("C-3", kRequired) + record("D-4", kRequired)),
                               false, list, false);
  EXPECT_EQ(list, (Array{"A-1", "B-2"}));
  EXPECT_EQ(products(), 2);
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"C-3", "D-4"}));

  upload.set_observer(nullptr);
  list = Array{"C-3", "D-4"};
  upload.insertProductsFromXML("k/\\" + remaining_file("k").string(), true, list, false);
  EXPECT_EQ(products(), 4) << "the remaining file finishes the job";
}

TEST_F(UploadObserving, InsertsThatAreCancelledBehindAFailureLeaveWhatWasNotReached) {
  CancellingListener impatient(1);
  upload.set_observer(&impatient);
  Array list{"A-1", "B-2"};
  upload.insertProductsFromXML(
      "k/\\" + document(record("A-1", kRequired + "<COLOUR>black'n'white</COLOUR>") + record("B-2", kRequired)), false,
      list, false);
  EXPECT_EQ(impatient.failures, (std::vector<std::int32_t>{error_number::kStatementRefused}));
  EXPECT_EQ(list, Array{"A-1"});
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"B-2"}));
}

TEST_F(UploadObserving, InsertsThatAreCancelledBeforeTheFirstRecordLeaveEverything) {
  CancellingListener impatient(0);
  upload.set_observer(&impatient);
  Array list{"A-1"};
  Recorder recorder;
  upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired)), false, list, false);
  EXPECT_EQ(impatient.announced, (std::vector<std::size_t>{1}));
  EXPECT_EQ(list, Array());
  EXPECT_EQ(recorder.statements, Statements{});
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"A-1"}));
}

TEST_F(UploadObserving, UpdatesThatTheObserverCancelsEndBeforeTheNextRecord) {
  for (const char* part_number : {"A-1", "B-2", "C-3"}) add_product(part_number);
  CancellingListener impatient(2);
  upload.set_observer(&impatient);
  upload.updateProductsFromXML(
      document(record("A-1", "<URL>a</URL>") + record("B-2", "<URL>b</URL>") + record("C-3", "<URL>c</URL>")), false,
      Array{"A-1", "B-2", "C-3"}, false);
  EXPECT_EQ(product("URL", "A-1"), Variant("a"));
  EXPECT_EQ(product("URL", "B-2"), Variant("b"));
  EXPECT_TRUE(product("URL", "C-3").is_null());
}

TEST_F(UploadObserving, CallForOneRecordIsNotCancelled) {
  CancellingListener impatient(0);
  upload.set_observer(&impatient);
  upload.insertProductFromXML(document(record("A-1", kRequired)), false, "A-1", false);
  EXPECT_EQ(products(), 1);
}

TEST_F(UploadObserving, ObserverChangesNothingOfWhatIsAskedOfTheStore) {
  Statements watched;
  Statements unwatched;
  for (Statements* statements : {&watched, &unwatched}) {
    execute({"DELETE FROM PRODUCT", "DELETE FROM PRODUCTPROPVALUE", "DELETE FROM PRODUCTBUYER"});
    ProductXML object;
    if (statements == &watched) object.set_observer(&listener);
    Recorder recorder;
    object.insertProductFromXML(document(record("A-1", kRequired + "<LOTSIZE>ten</LOTSIZE>")), false, "A-1", false);
    *statements = recorder.statements;
  }
  EXPECT_EQ(watched, unwatched);
}

TEST_F(UploadObserving, ObserverThatThrowsIsNotHeard) {
  class Rude : public UploadObserver {
   public:
    void on_start(std::size_t) override { throw 1; }
    void on_record(const UploadRecord&) override { throw std::string("no"); }
    bool cancels() override { throw 2; }
  } rude;
  upload.set_observer(&rude);
  upload.insertProductFromXML(document(record("A-1", kRequired)), false, "A-1", false);
  Array list{"B-2"};
  upload.insertProductsFromXML("k/\\" + document(record("B-2", kRequired)), false, list, false);
  EXPECT_EQ(products(), 2);
}

}  // namespace
}  // namespace mercato::test
