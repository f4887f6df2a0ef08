// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_error_handling.h"

#include <gtest/gtest.h>

#include <thread>

#include "collaborators/grundwerk/log.h"
#include "frame/method.h"
#include "mercato/registry.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

TEST(ErrorMessage, HasALineForNumberMethodAndDescription) {
  EXPECT_EQ(Err_FormatMessage("Property not present", ePropertyNotFound, "Mercato.Property.Delete"),
            "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Delete\r\n DESC: Property not present.\r\n");
}

TEST(ErrorMessage, HasALineForTheInformationWhenItWasPassed) {
  EXPECT_EQ(Err_FormatMessage("text", 13, "M", "more"),
            "\r\nERROR 0xD\r\n METHOD: M\r\n DESC: text.\r\n INFO: more.\r\n");
  EXPECT_EQ(Err_FormatMessage("text", 13, "M", ""), "\r\nERROR 0xD\r\n METHOD: M\r\n DESC: text.\r\n INFO: .\r\n");
  EXPECT_EQ(Err_FormatMessage("text", 13, "M", kMissing), "\r\nERROR 0xD\r\n METHOD: M\r\n DESC: text.\r\n");
  EXPECT_EQ(Err_FormatMessage("", 0, "", Variant()), "\r\nERROR 0x0\r\n METHOD: \r\n DESC: .\r\n INFO: .\r\n");
}

TEST(ErrorMessage, PrintsANegativeNumberAsItsPattern) {
  EXPECT_EQ(Err_FormatMessage("d", -1, "M"), "\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: d.\r\n");
  EXPECT_EQ(Err_FormatMessage("d", -2147221303, "M"), "\r\nERROR 0x800400C9\r\n METHOD: M\r\n DESC: d.\r\n");
  EXPECT_EQ(Err_FormatMessage("d", 0, "M"), "\r\nERROR 0x0\r\n METHOD: M\r\n DESC: d.\r\n");
  EXPECT_EQ(Err_FormatMessage("d", 2147483647, "M"), "\r\nERROR 0x7FFFFFFF\r\n METHOD: M\r\n DESC: d.\r\n");
}

TEST(ErrorNumbers, AreTheBaseAndAConsecutiveNumber) {
  const MercatoErrors in_order[] = {
      eProductNotFound,  ePropertyNotFound,   ePropertyGroupNotFound,   eUnitNotFound,      eCatalogNotFound,
      eContractNotFound, eCommodityNotFound,  eUNSPSCCodeNotFound,      eProductIdNotFound, eGTINNumberNotFound,
      eBuyerIdNotFound,  ePartNumberNotFound, eProductCategoryNotFound, eUnableToLoadXML,   eHazardousClassNotFound};
  std::uint32_t expected = 0x800400C8u;
  for (const MercatoErrors number : in_order) EXPECT_EQ(static_cast<std::uint32_t>(number), expected++);
  EXPECT_EQ(static_cast<std::uint32_t>(kObjectErrorBase), 0x80040000u);
  EXPECT_EQ(static_cast<std::uint32_t>(kInvalidReference), 0x80040007u);
}

class ErrorHandling : public StoreTest {
 protected:
  void TearDown() override {
    current_error() = {};
    StoreTest::TearDown();
  }
  const RaisedError pending_{eUnitNotFound, "Mercato.Unit.Delete", "Unit not found", "unit.hlp", 12};
};

TEST_F(ErrorHandling, OfNothingPendingRaisesAndLogsNothing) {
  Recorder recorder;
  Err_LogAndRaise("Mercato.Unit.Delete", "information");
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(recorder.calls.empty());
}

TEST_F(ErrorHandling, RaisesTheDescriptionWrappedOnceAndLogsItWrappedTwice) {
  Recorder recorder;
  current_error() = pending_;
  const RaisedError raised = raised_by([] { Err_LogAndRaise("Mercato.Unit.Delete"); });
  const std::string once = message("800400CB", "Mercato.Unit.Delete", "Unit not found");
  EXPECT_EQ(raised, (RaisedError{eUnitNotFound, "Mercato.Unit.Delete", once, "unit.hlp", 12}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Mercato.Unit.Delete", message("800400CB", "Mercato.Unit.Delete", once), 0}}));
}

TEST_F(ErrorHandling, PutsTheInformationInBothWrappings) {
  Recorder recorder;
  current_error() = pending_;
  const RaisedError raised = raised_by([] { Err_LogAndRaise("M", "i"); });
  const std::string once = message("800400CB", "M", "Unit not found", "i");
  EXPECT_EQ(raised.Description, once);
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato.Unit.Delete", message("800400CB", "M", once, "i"), 0}}));
}

TEST_F(ErrorHandling, OfNullAsInformationNamesNone) {
  Recorder recorder;
  current_error() = pending_;
  EXPECT_EQ(raised_by([] { Err_LogAndRaise("Mercato.Unit.Delete", kNull); }).Description,
            message("800400CB", "Mercato.Unit.Delete", "Unit not found") + " INFO: .\r\n");
  EXPECT_EQ(recorder.log.size(), 1u);
}

TEST_F(ErrorHandling, WrapsOncePerLevelAndLogsAtEachOfThem) {
  Recorder recorder;
  const RaisedError raised = raised_by([] {
    method(
        [] {
          method([] { raise(ePropertyNotFound, "Mercato.Property.Update", "Property not present"); },
                 Tail{"Mercato.Property.Inner", no_steps});
        },
        Tail{"Mercato.Property.Outer", no_steps});
  });
  EXPECT_EQ(raised.Number, ePropertyNotFound);
  EXPECT_EQ(raised.Source, "Mercato.Property.Update");
  EXPECT_EQ(raised.Description,
            "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Outer\r\n DESC: "
            "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Inner\r\n DESC: Property not present.\r\n"
            ".\r\n");
  ASSERT_EQ(recorder.log.size(), 2u);
  EXPECT_EQ(recorder.log[0],
            (LogEntry{"Mercato.Property.Update",
                      "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Inner\r\n DESC: "
                      "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Inner\r\n DESC: Property not present.\r\n"
                      ".\r\n",
                      0}));
  EXPECT_EQ(recorder.log[1],
            (LogEntry{"Mercato.Property.Update",
                      "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Outer\r\n DESC: "
                      "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Outer\r\n DESC: "
                      "\r\nERROR 0x800400C9\r\n METHOD: Mercato.Property.Inner\r\n DESC: Property not present.\r\n"
                      ".\r\n"
                      ".\r\n",
                      0}));
}

TEST_F(ErrorHandling, CapturesWithoutTouchingTheCurrentError) {
  current_error() = pending_;
  const RaisedError captured = Err_Capture("M", "i");
  EXPECT_EQ(captured, (RaisedError{eUnitNotFound, "Mercato.Unit.Delete",
                                   message("800400CB", "M", "Unit not found", "i"), "unit.hlp", 12}));
  EXPECT_EQ(current_error(), pending_);
}

TEST_F(ErrorHandling, OfAPendingErrorLogsAtTheAskedSeverity) {
  Recorder recorder;
  current_error() = pending_;
  Err_LogError("M");
  current_error() = pending_;
  Err_LogInfo("M", "i");
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{
                              {"Mercato.Unit.Delete", message("800400CB", "M", "Unit not found"), 0},
                              {"Mercato.Unit.Delete", message("800400CB", "M", "Unit not found", "i"), 1},
                          }));
}

TEST_F(ErrorHandling, OfNothingPendingLogsAnInformationThatIsNotAnActualError) {
  Recorder recorder;
  Err_LogInfo("told");
  Err_LogError("told", "more");
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{
                {"told", "\r\nERROR 0x0\r\n METHOD: told\r\n DESC: Not an actual error.\r\n", 1},
                {"told", "\r\nERROR 0x0\r\n METHOD: told\r\n DESC: Not an actual error.\r\n INFO: more.\r\n", 1},
            }));
}

TEST_F(ErrorHandling, NeverUsesTheAlternateEntry) {
  Recorder recorder;
  Err_LogInfo("a");
  current_error() = pending_;
  raised_by([] { Err_LogAndRaise("b"); });
  ASSERT_EQ(recorder.calls.size(), 2u);
  for (const ComponentCall& call : recorder.calls) EXPECT_EQ(call.method, "Grundwerk.Log.WriteEntry");
}

class WithoutLog : public ErrorHandling {
 protected:
  void SetUp() override {
    ErrorHandling::SetUp();
    unregister_class(collaborators::Log::table());
  }
};

TEST_F(WithoutLog, AnInformationIsQuietlyDropped) {
  Err_LogInfo("told");
  Err_LogError("told");
  EXPECT_EQ(current_error().Number, 0);
}

TEST_F(WithoutLog, TheFirstErrorIsStillRaisedAndNothingRunsInCircles) {
  current_error() = pending_;
  EXPECT_EQ(
      raised_by([] { Err_LogAndRaise("M"); }),
      (RaisedError{eUnitNotFound, "Mercato.Unit.Delete", message("800400CB", "M", "Unit not found"), "unit.hlp", 12}));
}

TEST_F(WithoutLog, LoggingAPendingErrorItselfRaisesThatThereIsNone) {
  current_error() = pending_;
  const RaisedError raised = raised_by([] { Err_LogError("M"); });
  EXPECT_EQ(raised.Number, error_number::kCannotCreateObject);
  EXPECT_EQ(raised.Description, message("1AD", "Lib_General.Gen_GetComponent",
                                        "Component can't create object: nobody answers to 'Grundwerk.Log'",
                                        "CreateObject(Grundwerk.Log) failed"));
}

TEST_F(WithoutLog, LoggingWorksAgainOnceThereIsOne) {
  Err_LogInfo("lost");
  register_class(collaborators::Log::table());
  Recorder recorder;
  Err_LogInfo("kept");
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0].source, "kept");
}

TEST_F(ErrorHandling, ALogThatFailsNeverReplacesTheFirstError) {
  Recorder recorder;
  recorder.failures["Grundwerk.Log.WriteEntry"] = {70, "Grundwerk.Log", "disk full", "", 0};
  current_error() = pending_;
  EXPECT_EQ(
      raised_by([] { Err_LogAndRaise("M"); }),
      (RaisedError{eUnitNotFound, "Mercato.Unit.Delete", message("800400CB", "M", "Unit not found"), "unit.hlp", 12}));
}

TEST_F(ErrorHandling, ALogThatFailsOnAnInformationIsAFailureOfTheCall) {
  Recorder recorder;
  recorder.failures["Grundwerk.Log.WriteEntry"] = {70, "Grundwerk.Log", "disk full", "", 0};
  EXPECT_EQ(raised_by([] { Err_LogInfo("told"); }).Number, 70);
}

TEST_F(ErrorHandling, OfARetiredMethodRaisesMinusOneWithTheMessageInPlaceOfTheMethod) {
  Recorder recorder;
  const RaisedError raised =
      raised_by([] { Err_RaiseDeprecated("This method is depricated, Use Mercato.TUnit.Delete"); });
  const std::string once =
      "\r\nERROR 0xFFFFFFFF\r\n METHOD: This method is depricated, Use Mercato.TUnit.Delete\r\n"
      " DESC: Application-defined or object-defined error.\r\n";
  EXPECT_EQ(raised, (RaisedError{-1, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{
                {"Mercato", message("FFFFFFFF", "This method is depricated, Use Mercato.TUnit.Delete", once), 0}}));
}

TEST_F(ErrorHandling, OfARetiredMethodMayCarryItsMessageAsInformation) {
  const RaisedError raised = raised_by([] {
    Err_RaiseDeprecated("Mercato.Property.DeleteUserProperties", "DeleteUserProperties is deprecated - don't use");
  });
  EXPECT_EQ(raised.Description,
            message("FFFFFFFF", "Mercato.Property.DeleteUserProperties", "Application-defined or object-defined error",
                    "DeleteUserProperties is deprecated - don't use"));
}

TEST_F(ErrorHandling, OfAConnectionThatWasNeverMadeGivesNoText) {
  EXPECT_EQ(Err_ConnectionErrors(nullptr), "");
  EXPECT_EQ(Err_ConnectionErrors(open_connection(connection_string())), "");
}

TEST_F(ErrorHandling, OfAConnectionNumbersItsFailuresFromOne) {
  const ConnectionPtr connection = open_connection(connection_string());
  Recorder recorder;
  for (int count = 0; count < 2; ++count) {
    recorder.fail_on = "SELECT";
    raised_by([&] { connection->Execute(LiteralPiece("SELECT UNITCODE FROM UNIT")); });
  }
  EXPECT_EQ(Err_ConnectionErrors(connection),
            "Error(s) from connection object:  (1)refused on request[-2147217900] (2)refused on request[-2147217900]");
  connection->Close();
  EXPECT_EQ(Err_ConnectionErrors(connection), "");
}

TEST_F(ErrorHandling, OfAConnectionCountsItsFailuresIn16BitsAndFailsBeyond) {
  const ConnectionPtr connection = open_connection(connection_string());
  Recorder recorder;
  const auto refuse = [&] {
    recorder.fail_on = "SELECT";
    raised_by([&] { connection->Execute(LiteralPiece("SELECT UNITCODE FROM UNIT")); });
  };
  for (int count = 0; count < 32767; ++count) refuse();
  const std::string counted = Err_ConnectionErrors(connection);
  EXPECT_EQ(counted.substr(counted.rfind(" (")), " (32767)refused on request[-2147217900]");
  refuse();
  EXPECT_EQ(raised_by([&] { Err_ConnectionErrors(connection); }).Number, error_number::kOverflow);
  // In a tail it takes the place of the failure that the text was for.
  recorder.log.clear();
  recorder.fail_on = "SELECT";
  EXPECT_EQ(raised_by([&] { Sql_GetReadonlyRecordset(LiteralPiece("SELECT UNITCODE FROM UNIT"), connection); }).Number,
            error_number::kOverflow);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ErrorHandling, KeepsOneCurrentErrorForEachThread) {
  current_error() = pending_;
  std::thread([] {
    EXPECT_EQ(current_error().Number, 0);
    current_error() = {5, "other thread", "", "", 0};
  }).join();
  EXPECT_EQ(current_error(), pending_);
}

TEST_F(ErrorHandling, ThatIsSuppressedLeavesNoErrorBehind) {
  EXPECT_TRUE(suppressing_failures([] {}));
  current_error() = pending_;
  EXPECT_FALSE(suppressing_failures([] { raise(5); }));
  EXPECT_EQ(current_error().Number, 0);
  EXPECT_FALSE(suppressing_failures([] { throw std::bad_alloc(); }));
}

}  // namespace
}  // namespace mercato::test
