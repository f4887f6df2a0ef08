// SPDX-License-Identifier: Apache-2.0
// The two uploads of UNSPSC codes. They differ in how they read pairs, so whatever is about the writing of a pair is
// shown for both.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "collaborators/spreadsheet/reader.h"
#include "mercato/registry.h"
#include "platform/store/call_limit.h"
#include "tests/classification/unspsc_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

struct Wishes {
  bool overwrite = false;
  bool commodities = false;
};

class UnspscUpload : public UnspscTest {
 protected:
  void SetUp() override {
    UnspscTest::SetUp();
    begin();
  }
  void begin() { t_unspsc_.emplace(); }
  // The transaction ends with the object.
  void end() { t_unspsc_.reset(); }

  DictionaryPtr from_workbook(const std::string& path, Wishes wishes = {}) {
    return (*t_unspsc_)->UploadFromXLS(path, wishes.overwrite, wishes.commodities);
  }
  DictionaryPtr from_document(const std::string& path, Wishes wishes = {}) {
    return (*t_unspsc_)->UploadFromXML(path, wishes.overwrite, wishes.commodities);
  }
  Vote vote() const { return t_unspsc_->context().vote_of_last_call(); }
  Outcome outcome() const { return t_unspsc_->context().outcome_of_last_call(); }

  std::optional<Root<TUNSPSC>> t_unspsc_;
};

enum class From { workbook, document };

class UnspscUploadOfPairs : public UnspscUpload, public testing::WithParamInterface<From> {
 protected:
  // Loads the pairs, ends the transaction, and answers what was refused.
  Refusals load(const Codes& codes, Wishes wishes = {}) {
    begin();
    const DictionaryPtr result =
        GetParam() == From::workbook ? from_workbook(workbook(codes), wishes) : from_document(document(codes), wishes);
    EXPECT_EQ(vote(), Vote::none);
    EXPECT_EQ(outcome(), Outcome::open);
    end();
    return refusals(result);
  }
};

INSTANTIATE_TEST_SUITE_P(All, UnspscUploadOfPairs, testing::Values(From::workbook, From::document),
                         [](const auto& tested) {
                           return std::string(tested.param == From::workbook ? "FromAWorkbook" : "FromADocument");
                         });

TEST_P(UnspscUploadOfPairs, CodesGoInParentsFirstAndNothingIsReported) {
  Recorder recorder;
  EXPECT_EQ(load({{"91000000", "Toys"},
                  {"91100000", "Board games"},
                  {"91101500", "Games for two"},
                  {"91101501", "Chess"},
                  {"9110150110", "Chess clocks"}}),
            Refusals{});
  EXPECT_EQ(recorder.statements,
            (Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Toys')",
                        "Select * from UNSPSCCODES WHERE PARENTCODE = '' and UNSPSCCODE = '91'",
                        "INSERT INTO UNSPSCCODES VALUES ('91','10',2, N'Board games')",
                        "Select * from UNSPSCCODES WHERE PARENTCODE = '91' and UNSPSCCODE = '10'",
                        "INSERT INTO UNSPSCCODES VALUES ('9110','15',3, N'Games for two')",
                        "Select * from UNSPSCCODES WHERE PARENTCODE = '9110' and UNSPSCCODE = '15'",
                        "INSERT INTO UNSPSCCODES VALUES ('911015','01',4, N'Chess')",
                        "Select * from UNSPSCCODES WHERE PARENTCODE = '911015' and UNSPSCCODE = '01'",
                        "INSERT INTO UNSPSCCODES VALUES ('91101501','10',5, N'Chess clocks')"}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"},
                                 {"91", "10", std::int16_t{2}, "Board games"},
                                 {"9110", "15", std::int16_t{3}, "Games for two"},
                                 {"911015", "01", std::int16_t{4}, "Chess"},
                                 {"91101501", "10", std::int16_t{5}, "Chess clocks"}}));
  EXPECT_EQ(commodities(), StoredRows{});
}

TEST_P(UnspscUploadOfPairs, MalformedCodesAreRefusedWithOneAndNoStatement) {
  Recorder recorder;
  EXPECT_EQ(load({{"910000000", "nine digits"},
                  {"9100000", "seven"},
                  {"91000000000", "eleven"},
                  {"9100000A", "a letter"},
                  {"abcdefgh", "letters"},
                  {"91002000", "a zero pair between others"},
                  {"00100000", "a zero pair in front"},
                  {"9100000001", "zero pairs in front of the last"},
                  {" 91000000", "nine characters"},
                  {"９１００００００", "digits of another kind"},
                  {"9", ""}}),
            (Refusals{{"910000000", 1},
                      {"9100000", 1},
                      {"91000000000", 1},
                      {"9100000A", 1},
                      {"abcdefgh", 1},
                      {"91002000", 1},
                      {"00100000", 1},
                      {"9100000001", 1},
                      {" 91000000", 1},
                      {"９１００００００", 1},
                      {"9", 1}}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(codes(), StoredRows{});
}

// What reads as a number counts as one, whatever its characters are.
TEST_P(UnspscUploadOfPairs, NumbersOfOtherFormsAreTakenApartLikeDigits) {
  Recorder recorder;
  EXPECT_EQ(load({{"1E+00005", "scientific"},
                  {"-1000000", "negative"},
                  {"10.00000", "with decimals"},
                  {"1,000,00", "with commas"}}),
            (Refusals{{"1E+00005", 1}}));
  EXPECT_EQ(recorder.statements, (Statements{"INSERT INTO UNSPSCCODES VALUES ('','-1',1, N'negative')",
                                             "INSERT INTO UNSPSCCODES VALUES ('','10',1, N'with decimals')",
                                             "INSERT INTO UNSPSCCODES VALUES ('','1,',1, N'with commas')"}));
}

TEST_P(UnspscUploadOfPairs, CodeWithoutAParentIsRefusedWithFourAndNothingIsWritten) {
  Recorder recorder;
  EXPECT_EQ(load({{"91101500", "before its parents"}, {"91000000", "Toys"}, {"91100000", "Board games"}}, {true, true}),
            (Refusals{{"91101500", 4}}));
  EXPECT_EQ(recorder.statements[0], "Select * from UNSPSCCODES WHERE PARENTCODE = '91' and UNSPSCCODE = '10'");
  EXPECT_EQ(codes().size(), 2u);
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", "Toys"}, {"91100000", "Board games"}}));
}

TEST_P(UnspscUploadOfPairs, CodeThatExistsIsRefusedWithTwoAndGetsNoCommodity) {
  add_code("91", "Toys");
  Recorder recorder;
  EXPECT_EQ(load({{"91000000", "Other"}}, {false, true}), (Refusals{{"91000000", 2}}));
  EXPECT_EQ(recorder.statements, Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Other')"});
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"}}));
  EXPECT_EQ(commodities(), StoredRows{});
}

TEST_P(UnspscUploadOfPairs, CodeThatExistsIsOverwrittenAndGoesOnToItsCommodity) {
  add_code("91", "Toys");
  Recorder recorder;
  EXPECT_EQ(load({{"91000000", "Toys and games"}}, {true, true}), Refusals{});
  EXPECT_EQ(
      recorder.statements,
      (Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Toys and games')",
                  "UPDATE UNSPSCCODES SET DESCRIPTION = N'Toys and games' WHERE PARENTCODE = '' AND UNSPSCCODE = '91'",
                  "INSERT INTO COMMODITY(COMMODITYCODE, DESCRIPTION) VALUES ('91000000', N'Toys and games')"}));
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys and games"}}));
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", "Toys and games"}}));
}

TEST_P(UnspscUploadOfPairs, CommodityThatExistsIsRefusedWithThreeOrOverwritten) {
  add_commodity("91000000", "old");
  Recorder recorder;
  EXPECT_EQ(load({{"91000000", "Toys"}}, {false, true}), (Refusals{{"91000000", 3}}));
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"}}));  // the code itself is in
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", "old"}}));
  recorder.statements.clear();
  EXPECT_EQ(load({{"91000000", "Games"}}, {true, true}), Refusals{});
  EXPECT_EQ(recorder.statements,
            (Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Games')",
                        "UPDATE UNSPSCCODES SET DESCRIPTION = N'Games' WHERE PARENTCODE = '' AND UNSPSCCODE = '91'",
                        "INSERT INTO COMMODITY(COMMODITYCODE, DESCRIPTION) VALUES ('91000000', N'Games')",
                        "UPDATE COMMODITY SET DESCRIPTION = N'Games' WHERE COMMODITYCODE = '91000000'"}));
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", "Games"}}));
}

TEST_P(UnspscUploadOfPairs, CommodityHasTheWholeCodeAsRead) {
  EXPECT_EQ(load({{"91000000", "Toys"}, {"9100000000", "Toys once more"}}, {true, true}), Refusals{});
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys once more"}}));
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", "Toys"}, {"9100000000", "Toys once more"}}));
}

TEST_P(UnspscUploadOfPairs, CodeOfZerosOnlyIsARowWithoutParentSegmentAndLevel) {
  Recorder recorder;
  EXPECT_EQ(load({{"00000000", "Everything"}}, {false, true}), Refusals{});
  EXPECT_EQ(recorder.statements,
            (Statements{"INSERT INTO UNSPSCCODES VALUES ('','',0, N'Everything')",
                        "INSERT INTO COMMODITY(COMMODITYCODE, DESCRIPTION) VALUES ('00000000', N'Everything')"}));
  EXPECT_EQ(codes(), (StoredRows{{"", "", std::int16_t{0}, "Everything"}}));
}

TEST_P(UnspscUploadOfPairs, CodeThatIsRefusedTwiceKeepsItsFirstEntry) {
  add_code("92", "Sports");
  EXPECT_EQ(load({{"91100000", "orphan"},
                  {"92000000", "again"},
                  {"91000000", "parent"},
                  {"91100000", "now"},
                  {"91100000", "twice"},
                  {"92000000", "and again"}}),
            (Refusals{{"91100000", 4}, {"92000000", 2}}));
  EXPECT_EQ(codes().size(), 3u);
}

TEST_P(UnspscUploadOfPairs, ItemsWithABlankCodeAreSkipped) {
  EXPECT_EQ(load({{"", "no code"}, {"   ", "blanks"}, {"91000000", "Toys"}}), Refusals{});
  EXPECT_EQ(codes().size(), 1u);
}

TEST_P(UnspscUploadOfPairs, QuotesAreDoubledAndADescriptionMayBeInAnyScript) {
  const std::string description = "O'Neill's <toys> & \"games\" — おもちゃ 😀";
  EXPECT_EQ(load({{"91000000", description}}, {false, true}), Refusals{});
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, description}}));
  EXPECT_EQ(commodities(), (StoredRows{{"91000000", description}}));
}

TEST_P(UnspscUploadOfPairs, DescriptionThatTheColumnCannotHoldIsRefusedAsIfTheCodeExisted) {
  const std::string too_long(501, 'x');
  EXPECT_EQ(load({{"91000000", too_long}}), (Refusals{{"91000000", 2}}));
  EXPECT_EQ(load({{"91000000", too_long}}, {true, true}), (Refusals{{"91000000", 2}}));
  EXPECT_EQ(load({{"91000000", ""}, {"92000000", std::string(500, 'x')}}), Refusals{});
  EXPECT_EQ(codes().size(), 2u);
}

TEST_P(UnspscUploadOfPairs, FailingStatementsRefuseTheirCodesAndKeepTheTransaction) {
  Recorder recorder;
  recorder.fail_on = "N'Board games'";
  EXPECT_EQ(load({{"91000000", "Toys"}, {"91100000", "Board games"}, {"91100000", "Board games"}, {"91101500", "Two"}}),
            (Refusals{{"91100000", 2}}));
  EXPECT_EQ(codes().size(), 3u);
  EXPECT_TRUE(recorder.log.empty());

  // A failing look for the parent does not keep the code out.
  recorder.fail_on = "Select * from";
  EXPECT_EQ(load({{"92100000", "orphan"}}), Refusals{});
  // A failing INSERT counts as no row, so the update decides.
  recorder.fail_on = "INSERT INTO COMMODITY";
  EXPECT_EQ(load({{"93000000", "x"}}, {false, true}), (Refusals{{"93000000", 3}}));
  recorder.fail_on = "UPDATE UNSPSCCODES";
  EXPECT_EQ(load({{"93000000", "y"}}, {true, false}), (Refusals{{"93000000", 2}}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_P(UnspscUploadOfPairs, EmptyListRefusesNothing) {
  Recorder recorder;
  EXPECT_EQ(load({}), Refusals{});
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_P(UnspscUploadOfPairs, NoTextOfAFileChangesWhatAStatementDoes) {
  add_code("91", "Toys");
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    // Neither file can hold such a text, and a cell no longer one.
    const bool fits = text::is_valid(text) && text.find('\0') == std::string::npos && text.size() < 100000;
    if (!fits) continue;
    const auto before = all_rows();
    load({{text, "x"}, {"91000000", text}}, {true, false});
    const Variant stored = value_of("SELECT DESCRIPTION FROM UNSPSCCODES WHERE UNSPSCCODE = '91'");
    // A document ends its lines in one way.
    if (text.size() <= 500) {
      EXPECT_EQ(stored, Variant(text::replace_all(text, "\r\n", "\n")));
    }
    execute({"UPDATE UNSPSCCODES SET DESCRIPTION = 'Toys' WHERE UNSPSCCODE = '91'"});
    EXPECT_EQ(all_rows(), before);
  }
}

// Workbooks

using UnspscUploadFromWorkbook = UnspscUpload;

TEST_F(UnspscUploadFromWorkbook, CodesOfAnOfficeProgramGoInAsTextsAndAsNumbers) {
  const std::string data = std::string(MERCATO_SOURCE_DIR) + "/tests/classification/data/";
  EXPECT_EQ(refusals(from_workbook(data + "codes-as-numbers.xlsx")), Refusals{});
  EXPECT_EQ(refusals(from_workbook(data + "codes-as-text.xlsx", {true, true})), Refusals{});
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"},
                                 {"91", "10", std::int16_t{2}, "Board games"},
                                 {"9110", "15", std::int16_t{3}, "Games for two"},
                                 {"911015", "01", std::int16_t{4}, "Chess sets, wooden"},
                                 {"911015", "02", std::int16_t{4}, "Draughts"}}));
  EXPECT_EQ(commodities().size(), 5u);
}

TEST_F(UnspscUploadFromWorkbook, CodesAreReadAsTheyAreDisplayed) {
  WorkbookContent content;
  content.formats = {"00000000", "0.00", "\"9100\"0000"};
  content.texts = {"<t>92000000</t>", "<t>Shared</t>"};
  content.rows = row(1, number_cell("A1", "1")) + row(2, number_cell("A2", "1000000", 1) + number_cell("B2", "5")) +
                 row(3, number_cell("A3", "91000000", 2)) +
                 row(4, number_cell("A4", "0", 3) + text_cell("B4", "Shown")) +
                 row(5, "<c r=\"A5\" t=\"s\"><v>0</v></c><c r=\"B5\" t=\"s\"><v>1</v></c>") +
                 row(6, number_cell("A6", "123456789012")) + row(7, "<c r=\"A7\" t=\"e\"><v>#N/A</v></c>") +
                 row(8, "<c r=\"A8\" t=\"str\"><f>\"\"</f><v></v></c>" + text_cell("B8", "no code"));
  EXPECT_EQ(refusals(from_workbook(workbook(content))),
            (Refusals{{"91000000.00", 1}, {"1.23457E+11", 1}, {"#N/A", 1}}));
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "01", std::int16_t{1}, "5"},
                                 {"", "91", std::int16_t{1}, "Shown"},
                                 {"", "92", std::int16_t{1}, "Shared"}}));
}

TEST_F(UnspscUploadFromWorkbook, ColumnsAreCountedFromTheUsedAreaAndItsFirstRowIsTheHeading) {
  WorkbookContent content;
  content.rows = row(4, text_cell("D4", "Title")) + row(5, text_cell("C5", "91000000") + text_cell("D5", "Toys")) +
                 row(9, text_cell("C9", "92000000") + text_cell("D9", "Sports") + text_cell("E9", "more"));
  EXPECT_EQ(refusals(from_workbook(workbook(content))), Refusals{});
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"}, {"", "92", std::int16_t{1}, "Sports"}}));
}

TEST_F(UnspscUploadFromWorkbook, AreaOfOneColumnHasNoDescriptions) {
  WorkbookContent content;
  content.rows = row(1, text_cell("B1", "Code")) + row(2, text_cell("B2", "91000000"));
  EXPECT_EQ(refusals(from_workbook(workbook(content))), Refusals{});
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, ""}}));
}

TEST_F(UnspscUploadFromWorkbook, HeadingAloneRefusesNothingAndIsNoCode) {
  Recorder recorder;
  WorkbookContent content;
  content.rows = row(1, text_cell("A1", "91000000") + text_cell("B1", "a heading all the same"));
  EXPECT_EQ(refusals(from_workbook(workbook(content))), Refusals{});
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(UnspscUploadFromWorkbook, ComponentIsAskedRowByRow) {
  Recorder recorder;
  const std::string path = workbook(Codes{{"91000000", "Toys"}});
  from_workbook(path);
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Spreadsheet.Reader.Open", {path}},
                                {"Spreadsheet.Reader.UsedArea", {}},
                                {"Grundwerk.Configuration.PrepareConnections", {false}},
                                {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}},
                                {"Spreadsheet.Reader.ReadRow", {0}},
                                {"Spreadsheet.Reader.ReadRow", {2}},
                                {"Spreadsheet.Reader.ReadRow", {2}},
                                {"Spreadsheet.Reader.Close", {}},
                            }));
}

TEST_F(UnspscUploadFromWorkbook, WithoutAComponentThatReadsWorkbooksTheUploadSaysSoUnlogged) {
  unregister_class(collaborators::SpreadsheetReader::table());
  Recorder recorder;
  EXPECT_EQ(raised_by([&] {
              from_workbook(workbook(Codes{{"91000000", "Toys"}}));
            }),
            (RaisedError{eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXLS",
                         "MS Excel should be installed to upload from XLS", "", 0}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(UnspscUploadFromWorkbook, WhatIsNoReadableWorkbookIsRaisedUnlogged) {
  const RaisedError expected = {eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXLS", "Unable to load XLS", "", 0};
  auto bomb = workbook_parts({std::string(std::size_t{64} << 20, ' ')});
  write_archive((folder() / "bomb.xlsx").string(), bomb);
  write_archive((folder() / "encrypted.xlsx").string(), workbook_parts(codes_content({})), "secret");
  for (const std::string& path :
       {(folder() / "missing.xlsx").string(), folder().string(), file("no.xlsx", "Code,Title\n91000000,Toys\n"),
        file("old.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1 and more"), (folder() / "bomb.xlsx").string(),
        (folder() / "encrypted.xlsx").string(), document({{"91000000", "Toys"}}), std::string()}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { from_workbook(path); }), expected) << path;
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
    EXPECT_EQ(outcome(), Outcome::open);
  }
}

TEST_F(UnspscUploadFromWorkbook, SheetWithoutContentFailsWithAnAbortVote) {
  Recorder recorder;
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato", "Object variable or With block variable not set", "", 0},
            {{"Mercato.UNSPSC.UploadFromXLS"}});
  EXPECT_EQ(raised_by([&] { from_workbook(workbook(WorkbookContent{})); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(UnspscUploadFromWorkbook, PositionsBeyond16BitsOverflowBeforeAnythingIsWritten) {
  const FailureTrail expected =
      trail({error_number::kOverflow, "Mercato", "Overflow", "", 0}, {{"Mercato.UNSPSC.UploadFromXLS"}});
  Recorder recorder;
  EXPECT_EQ(
      raised_by([&] {
        from_workbook(workbook(WorkbookContent{row(1, text_cell("A1", "Code")) + row(2, text_cell("A2", "91000000")) +
                                               row(32768, text_cell("A32768", "92000000"))}));
      }),
      expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::abort);
  begin();
  EXPECT_EQ(refusals(from_workbook(workbook(
                WorkbookContent{row(1, text_cell("A1", "Code")) + row(32767, text_cell("A32767", "92000000"))}))),
            Refusals{});
}

TEST_F(UnspscUploadFromWorkbook, MillionRowsWithoutContentDoNotCount) {
  std::string rows = row(1, text_cell("A1", "Code")) + row(2, text_cell("A2", "91000000"));
  for (int number = 3; number <= 1000000; ++number) rows += "<row r=\"" + std::to_string(number) + "\"/>";
  EXPECT_EQ(refusals(from_workbook(workbook(WorkbookContent{rows}))), Refusals{});
  end();
  EXPECT_EQ(codes().size(), 1u);
}

TEST_F(UnspscUploadFromWorkbook, FailureInTheMiddleRollsBackWhatWasWritten) {
  Recorder recorder;
  class Refusing : public UnspscUploadObserver {
   public:
    explicit Refusing(Recorder& its_recorder) : recorder(its_recorder) {}
    void on_code(const UploadedCode&) override {
      recorder.failures["Spreadsheet.Reader.ReadRow"] = {75, "Reader", "the file has changed", "", 0};
    }
    Recorder& recorder;
  } refusing(recorder);
  t_unspsc_->object()->set_observer(&refusing);
  const FailureTrail expected =
      trail({75, "Reader", "the file has changed", "", 0}, {{"Mercato.UNSPSC.UploadFromXLS"}});
  EXPECT_EQ(raised_by([&] {
              from_workbook(workbook(Codes{{"91000000", "Toys"}, {"92000000", "Sports"}}));
            }),
            expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(recorder.statements, Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Toys')"});
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(codes(), StoredRows{});
}

TEST_F(UnspscUploadFromWorkbook, ConnectionThatCannotBeOpenedFailsWithAnAbortVote) {
  Recorder recorder;
  recorder.failures["Grundwerk.Configuration.GetConnectionStringOf"] = {5, "Configuration", "no store", "", 0};
  EXPECT_EQ(raised_by([&] {
              from_workbook(workbook(Codes{{"91000000", "Toys"}}));
            }),
            trail({5, "Configuration", "no store", "", 0}, {{"Mercato.UNSPSC.UploadFromXLS"}}).raised);
  EXPECT_EQ(vote(), Vote::abort);
}

// Documents

using UnspscUploadFromDocument = UnspscUpload;

TEST_F(UnspscUploadFromDocument, ItemsAreFoundAtAnyDepth) {
  install_lax_schema();
  EXPECT_EQ(refusals(from_document(file("codes.xml", "<LIST><GROUP>" + items({{"91000000", "Toys"}}) +
                                                         "<GROUP><UNSPSC_ITEM><a>91100000</a><b>Board <c>games</c></b>"
                                                         "<d>more</d></UNSPSC_ITEM></GROUP></GROUP></LIST>"))),
            Refusals{});
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"}, {"91", "10", std::int16_t{2}, "Board games"}}));
}

TEST_F(UnspscUploadFromDocument, AnyChildNodeIsAChild) {
  EXPECT_EQ(refusals(from_document(file("codes.xml",
                                        "<UNSPSC_ITEMS><UNSPSC_ITEM><!--91000000--><CODE>Toys</CODE>"
                                        "<DESCRIPTION>passed over</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>"))),
            Refusals{});
  end();
  EXPECT_EQ(codes(), (StoredRows{{"", "91", std::int16_t{1}, "Toys"}}));
}

TEST_F(UnspscUploadFromDocument, InstalledSchemaIsThatOfTheBuildTree) {
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(collaborators::default_install_dir()) / "xmlschemas" /
                                      "UNSPSC_Schema.xml"));
  EXPECT_EQ(refusals(from_document(document({}))), Refusals{});
}

TEST_F(UnspscUploadFromDocument, WhatIsNoDocumentIsRaisedUnlogged) {
  const RaisedError expected = {eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXML", "Unable to load XML", "", 0};
  for (const std::string& path : {(folder() / "missing.xml").string(), folder().string(), file("no.xml", "no document"),
                                  file("cut.xml", "<UNSPSC_ITEMS><UNSPSC_ITEM>"), workbook(Codes{}),
                                  file("laughs.xml", "<!DOCTYPE a [<!ENTITY b SYSTEM 'bb'>]><a>&b;</a>"),
                                  std::string("http://127.0.0.1:1/codes.xml"), std::string()}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { from_document(path); }), expected) << path;
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
    EXPECT_EQ(outcome(), Outcome::open);
  }
}

TEST_F(UnspscUploadFromDocument, DocumentThatFailsTheSchemaIsRaisedInItsWordsUnlogged) {
  const struct {
    const char* text;
    const char* reason;
  } table[] = {
      {"<CODES/>", "Element 'CODES': No matching global declaration available for the validation root."},
      {"<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>91000000</CODE></UNSPSC_ITEM></UNSPSC_ITEMS>",
       "Element 'UNSPSC_ITEM': Missing child element(s). Expected is ( DESCRIPTION )."},
      {"<UNSPSC_ITEMS><UNSPSC_ITEM><DESCRIPTION>x</DESCRIPTION><CODE>91000000</CODE></UNSPSC_ITEM></UNSPSC_ITEMS>",
       "Element 'DESCRIPTION': This element is not expected. Expected is ( CODE )."},
      {"<UNSPSC_ITEMS>text</UNSPSC_ITEMS>",
       "Element 'UNSPSC_ITEMS': Character content other than whitespace is not allowed because the content type is "
       "'element-only'."},
  };
  for (const auto& row : table) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { from_document(file("bad.xml", row.text)); }),
              (RaisedError{eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXML", row.reason, "", 0}));
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
  }
}

// A schema that includes one of its neighbours was "Schema not found".
TEST_F(UnspscUploadFromDocument, SchemaMayIncludeItsNeighbours) {
  file("installed/xmlschemas/types.xsd",
       "<schema xmlns='http://www.w3.org/2001/XMLSchema'><simpleType name='Code'><restriction base='string'>"
       "<pattern value='9[0-9]{7}'/></restriction></simpleType></schema>");
  install_schema(
      "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:include schemaLocation='types.xsd'/>"
      "<xs:element name='UNSPSC_ITEMS'><xs:complexType><xs:sequence><xs:element name='UNSPSC_ITEM' "
      "maxOccurs='unbounded'><xs:complexType><xs:sequence><xs:element name='CODE' type='Code'/>"
      "<xs:element name='DESCRIPTION'/></xs:sequence></xs:complexType></xs:element></xs:sequence></xs:complexType>"
      "</xs:element></xs:schema>");
  EXPECT_EQ(refusals(from_document(document({{"91000000", "Toys"}}))), Refusals{});
  EXPECT_EQ(raised_by([&] {
              from_document(document({{"81000000", "Toys"}}));
            }),
            (RaisedError{eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXML",
                         "Element 'CODE': [facet 'pattern'] The value '81000000' is not accepted by the pattern "
                         "'9[0-9]{7}'.",
                         "", 0}));
}

TEST_F(UnspscUploadFromDocument, WithoutASchemaTheUploadSaysSoUnlogged) {
  const RaisedError expected = {eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXML", "Schema not found", "", 0};
  const auto expect_not_found = [&] {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { from_document(document({{"91000000", "Toys"}})); }), expected);
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
  };
  set_install_dir("nowhere");
  expect_not_found();
  install_schema("no schema");
  expect_not_found();
  install_schema("<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:x'/>");
  expect_not_found();
  Recorder recorder;
  recorder.failures["Grundwerk.Configuration.GetInstallDir"] = {5, "Configuration", "no such thing", "", 0};
  EXPECT_EQ(raised_by([&] { from_document(document({{"91000000", "Toys"}})); }), expected);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnspscUploadFromDocument, ItemWithoutChildrenFailsWithAnAbortVote) {
  install_lax_schema();
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato", "Object variable or With block variable not set", "", 0},
            {{"Mercato.UNSPSC.UploadFromXML"}});
  for (const std::string item : {"<UNSPSC_ITEM/>", "<UNSPSC_ITEM><CODE>92000000</CODE></UNSPSC_ITEM>"}) {
    Recorder recorder;
    begin();
    EXPECT_EQ(raised_by([&] {
                from_document(file("codes.xml", "<LIST>" + items({{"91000000", "Toys"}}) + item + "</LIST>"));
              }),
              expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Toys')"});
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(codes(), StoredRows{});
  }
}

TEST_F(UnspscUpload, NoTextForAFileIsMoreThanAPath) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    Recorder recorder;
    EXPECT_EQ(raised_by([&] {
                from_workbook(text, {true, true});
              }),
              (RaisedError{eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXLS", "Unable to load XLS", "", 0}));
    EXPECT_EQ(raised_by([&] {
                from_document(text, {true, true});
              }),
              (RaisedError{eUnableToLoadXML, "Mercato.UNSPSC.UploadFromXML", "Unable to load XML", "", 0}));
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_TRUE(recorder.log.empty());
  }
  EXPECT_EQ(all_rows(), before);
}

// Without the transaction server each statement stands when it has run.
TEST_F(UnspscUpload, ObjectWithoutATransactionServerLoadsToo) {
  end();
  TUNSPSC object;
  EXPECT_EQ(refusals(object.UploadFromXLS(workbook(Codes{{"91000000", "Toys"}, {"91000000", "again"}}), false, false)),
            (Refusals{{"91000000", 2}}));
  EXPECT_EQ(refusals(object.UploadFromXML(document({{"92000000", "Sports"}}), false, true)), Refusals{});
  EXPECT_EQ(codes().size(), 2u);
  EXPECT_EQ(commodities().size(), 1u);
}

// The observer

class Listener : public UnspscUploadObserver {
 public:
  void on_start(std::size_t items) override { told.push_back("items " + std::to_string(items)); }
  void on_failure(const RaisedError& failure) override { told.push_back("failure " + std::to_string(failure.Number)); }
  void on_code(const UploadedCode& code) override {
    told.push_back(code.code + " " + code.description + " " + std::to_string(static_cast<int>(code.outcome)) + " of " +
                   std::to_string(code.item));
  }
  void on_unreadable(const std::string& reason) override { told.push_back(reason); }

  std::vector<std::string> told;
};

TEST_P(UnspscUploadOfPairs, ObserverIsToldOfEachCode) {
  Listener listener;
  t_unspsc_->object()->set_observer(&listener);
  const Codes pairs = {{"91000000", "Toys"}, {"", "none"}, {"9", "nine"}, {"9", "again"}};
  GetParam() == From::workbook ? from_workbook(workbook(pairs)) : from_document(document(pairs));
  EXPECT_EQ(listener.told,
            (std::vector<std::string>{"items 4", "91000000 Toys 0 of 1", "9 nine 1 of 3", "9 again 1 of 4"}));
}

TEST_P(UnspscUploadOfPairs, ObserverIsToldOfFailuresThatArePassedOver) {
  Listener listener;
  t_unspsc_->object()->set_observer(&listener);
  Recorder recorder;
  recorder.fail_on = "UPDATE UNSPSCCODES";
  const Codes pairs = {{"91000000", "Toys"}, {"91000000", "again"}};
  GetParam() == From::workbook ? from_workbook(workbook(pairs), {true, false})
                               : from_document(document(pairs), {true, false});
  EXPECT_EQ(listener.told,
            (std::vector<std::string>{
                "items 2", "91000000 Toys 0 of 1", "failure " + std::to_string(error_number::kConstraintViolated),
                "failure " + std::to_string(refused_on_request().Number), "91000000 again 2 of 2"}));
}

TEST_P(UnspscUploadOfPairs, CodesThatTheObserverDoesNotTakeAreMalformedAndTheStoreIsNotAsked) {
  class Strict : public Listener {
   public:
    bool takes(const std::string& code) override { return code.find(',') == std::string::npos; }
  } strict;
  t_unspsc_->object()->set_observer(&strict);
  Recorder recorder;
  const Codes pairs = {{"91000000", "Toys"}, {"9,100,00", "Commas"}};
  EXPECT_EQ(refusals(GetParam() == From::workbook ? from_workbook(workbook(pairs)) : from_document(document(pairs))),
            (Refusals{{"9,100,00", 1}}));
  EXPECT_EQ(recorder.statements, Statements{"INSERT INTO UNSPSCCODES VALUES ('','91',1, N'Toys')"});
  EXPECT_EQ(strict.told, (std::vector<std::string>{"items 2", "91000000 Toys 0 of 1", "9,100,00 Commas 1 of 2"}));
}

TEST_P(UnspscUploadOfPairs, UploadThatItsObserverCancelsEndsBeforeTheNextCodeAndKeepsWhatWasWritten) {
  class Impatient : public Listener {
   public:
    bool cancels() override { return told.size() == 3; }
  } impatient;
  t_unspsc_->object()->set_observer(&impatient);
  const Codes pairs = {{"91000000", "Toys"}, {"9", "nine"}, {"", "none"}, {"92000000", "Sports"}, {"8", "eight"}};
  EXPECT_EQ(refusals(GetParam() == From::workbook ? from_workbook(workbook(pairs)) : from_document(document(pairs))),
            (Refusals{{"9", 1}}));
  EXPECT_EQ(impatient.told, (std::vector<std::string>{"items 5", "91000000 Toys 0 of 1", "9 nine 1 of 2"}));
  EXPECT_EQ(vote(), Vote::none);
  end();
  EXPECT_EQ(codes().size(), 1u);
}

// The timeout used to be passed over like any other failure of a statement: the call told the codes that it had not
// reached as codes that exist, and kept the others.
TEST_P(UnspscUploadOfPairs, CallLimitEndsTheUploadWithAnAbortVote) {
  class Slow : public UnspscUploadObserver {
   public:
    void on_code(const UploadedCode&) override {
      while (!store::call_limit_passed()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  } slow;
  t_unspsc_->object()->set_observer(&slow);
  const Codes pairs = {{"91000000", "Toys"}, {"92000000", "Sports"}, {"93000000", "Games"}};
  Recorder recorder;
  const FailureTrail expected = trail(
      {error_number::kTimeout, "Mercato", "Timeout expired: the call ran longer than its limit of 0.5 seconds", "", 0},
      {{GetParam() == From::workbook ? "Mercato.UNSPSC.UploadFromXLS" : "Mercato.UNSPSC.UploadFromXML"}});
  const RaisedError raised = raised_by([&] {
    const store::CallLimit limit(0.5);
    GetParam() == From::workbook ? from_workbook(workbook(pairs)) : from_document(document(pairs));
  });
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(codes(), StoredRows{});
}

TEST_P(UnspscUploadOfPairs, ObserverChangesNothingOfWhatIsAskedOfTheStore) {
  const Codes pairs = {{"91000000", "Toys"}, {"91100000", "Games"}, {"9", "nine"}};
  Recorder recorder;
  load(pairs);
  const Statements unwatched = std::exchange(recorder.statements, {});
  execute({"DELETE FROM UNSPSCCODES"});
  class Rude : public UnspscUploadObserver {
   public:
    void on_start(std::size_t) override { throw 1; }
    void on_code(const UploadedCode&) override { throw std::string("no"); }
    bool cancels() override { throw 2; }
  } rude;
  begin();
  t_unspsc_->object()->set_observer(&rude);
  EXPECT_EQ(refusals(GetParam() == From::workbook ? from_workbook(workbook(pairs)) : from_document(document(pairs))),
            (Refusals{{"9", 1}}));
  EXPECT_EQ(recorder.statements, unwatched);
}

// While the observer waited, nobody used to see the codes, and nobody could write.
TEST_F(UnspscUpload, OutsideOfATransactionLetsOthersSeeAndWriteWhileItsObserverWaits) {
  class Visited : public UnspscUploadObserver {
   public:
    explicit Visited(std::function<void()> visit) : visit_(std::move(visit)) {}
    void on_code(const UploadedCode&) override { visit_(); }

   private:
    std::function<void()> visit_;
  };
  std::vector<std::size_t> seen;
  Visited observer([&] {
    std::thread([&] {
      try {
        seen.push_back(codes().size());
        execute_on(store().impatient(), {"INSERT UNIT (UNITCODE) VALUES ('" + std::to_string(seen.size()) + "')"});
      } catch (const Raised& failure) {
        ADD_FAILURE() << failure.error().Description;
      }
    }).join();
  });
  TUNSPSC library;
  library.set_observer(&observer);
  library.UploadFromXLS(workbook(Codes{{"91000000", "Toys"}, {"92000000", "Sports"}}), false, false);
  EXPECT_EQ(seen, (std::vector<std::size_t>{1, 2}));
}

TEST_F(UnspscUpload, ObserverIsToldWhyAFileCannotBeRead) {
  Listener listener;
  t_unspsc_->object()->set_observer(&listener);
  const std::string path = file("no.txt", "no");
  raised_by([&] { from_workbook(path); });
  raised_by([&] { from_document(path); });
  set_install_dir("nowhere");
  raised_by([&] { from_document(document({})); });
  const std::string schema = (folder() / "nowhere" / "xmlschemas" / "UNSPSC_Schema.xml").string();
  EXPECT_EQ(listener.told, (std::vector<std::string>{
                               "The workbook \"" + path + "\" cannot be loaded: it is no zip archive.",
                               "The document \"" + path +
                                   "\" cannot be loaded: Line 1, column 1: text stands outside the root element.",
                               "Cannot read the file \"" + schema + "\": No such file or directory.",
                           }));
}

}  // namespace
}  // namespace mercato::test
