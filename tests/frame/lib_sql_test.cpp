// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_sql.h"

#include <gtest/gtest.h>

#include <thread>

#include "frame/contracts.h"
#include "frame/lib_error_handling.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/unit.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

constexpr LiteralPiece kUnits("SELECT UNITCODE, UNITDESCRIPTION FROM UNIT ORDER BY UNITCODE");
const std::string kUnitsText = "SELECT UNITCODE, UNITDESCRIPTION FROM UNIT ORDER BY UNITCODE";
const std::string kRefusal = "Error(s) from connection object:  (1)refused on request[-2147217900]";

class LibSql : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'box')",
             "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each')"});
  }
};

// Closing

TEST_F(LibSql, ClosingNothingIsHarmlessButForADisconnectedRecordset) {
  ConnectionPtr connection;
  Sql_CloseConnection(connection);
  RecordsetPtr rows;
  Sql_CloseRecordset(rows);
  EXPECT_EQ(raised_by([&] { Sql_CloseDisconnectedRecordset(rows); }).Number, error_number::kObjectNotSet);
}

TEST_F(LibSql, ClosingAConnectionClosesItAndForgetsIt) {
  ConnectionPtr connection = open_connection(connection_string());
  const ConnectionPtr kept = connection;
  Sql_CloseConnection(connection);
  EXPECT_EQ(connection, nullptr);
  EXPECT_EQ(kept->State(), 0);
  connection = kept;
  Sql_CloseConnection(connection);  // closed already
  EXPECT_EQ(connection, nullptr);
}

TEST_F(LibSql, ClosingARecordsetClosesItAndForgetsIt) {
  RecordsetPtr rows = Sql_GetDisconnectedRecordset(kUnits, connection_string());
  const RecordsetPtr kept = rows;
  Sql_CloseRecordset(rows);
  EXPECT_EQ(rows, nullptr);
  EXPECT_EQ(kept->State(), 0);
  rows = kept;
  Sql_CloseDisconnectedRecordset(rows);
  EXPECT_EQ(rows, nullptr);
}

// Factories

TEST_F(LibSql, ADisconnectedRecordsetHoldsItsRowsWithoutAConnection) {
  Recorder recorder;
  const RecordsetPtr rows = Sql_GetDisconnectedRecordset(kUnits, connection_string(), true);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kUnitsText}));
  EXPECT_EQ(rows->ActiveConnection(), nullptr);
  EXPECT_EQ(rows->rows(), (std::vector<std::vector<Variant>>{{"BX", "box"}, {"EA", "each"}}));
}

TEST_F(LibSql, ADisconnectedRecordsetHasTheIsolationStatementOnRequestOnly) {
  for (const std::optional<bool> read_committed : {std::optional<bool>(), std::optional<bool>(false)}) {
    Recorder recorder;
    Sql_GetDisconnectedRecordset(kUnits, connection_string(), read_committed);
    EXPECT_EQ(recorder.statements, Statements{kUnitsText});
  }
}

// The isolation statement runs on a connection that never reads, so a failure of the query is not among its errors.
TEST_F(LibSql, ADisconnectedRecordsetReadsOnAConnectionOfItsOwn) {
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  const RaisedError raised = raised_by([&] { Sql_GetDisconnectedRecordset(kUnits, connection_string(), true); });
  EXPECT_EQ(raised, (RaisedError{error_number::kStatementRefused, "Test",
                                 message("80040E14", "Lib_SQL.Sql_GetDisconnectedRecordset", "refused on request",
                                         " executing: '" + kUnitsText + "'"),
                                 "", 0}));
  EXPECT_EQ(recorder.log.size(), 1u);
}

TEST_F(LibSql, ADisconnectedRecordsetReportsTheErrorsOfTheConnectionWithTheIsolationStatement) {
  Recorder recorder;
  recorder.fail_on = "ISOLATION";
  EXPECT_EQ(raised_by([&] { Sql_GetDisconnectedRecordset(kUnits, connection_string(), true); }).Description,
            message("80040E14", "Lib_SQL.Sql_GetDisconnectedRecordset", "refused on request",
                    kRefusal + " executing: '" + kUnitsText + "'"));
  EXPECT_EQ(recorder.statements, Statements{kIsolation});
}

TEST_F(LibSql, AReadonlyRecordsetStaysBoundToTheCallersConnection) {
  const ConnectionPtr connection = open_connection(connection_string());
  Recorder recorder;
  const RecordsetPtr rows = Sql_GetReadonlyRecordset(kUnits, connection);
  EXPECT_EQ(recorder.statements, Statements{kUnitsText});
  EXPECT_EQ(rows->ActiveConnection(), connection);
  EXPECT_EQ(rows->Value("UNITCODE"), Variant("BX"));
  EXPECT_EQ(raised_by([&] { rows->AddNew(); }).Number, error_number::kFeatureNotAvailable);
}

TEST_F(LibSql, AReadonlyRecordsetThatFailsLeavesTheCallersConnectionAlone) {
  const ConnectionPtr connection = open_connection(connection_string());
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  const RaisedError raised = raised_by([&] { Sql_GetReadonlyRecordset(kUnits, connection); });
  const std::string info = kRefusal + " executing: '" + kUnitsText + "'";
  const std::string once = message("80040E14", "Lib_SQL.Sql_GetReadonlyRecordset", "refused on request", info);
  EXPECT_EQ(raised, (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Test", message("80040E14", "Lib_SQL.Sql_GetReadonlyRecordset", once, info), 0}}));
  EXPECT_EQ(connection->State(), 1);
}

TEST_F(LibSql, AFactoryGivenNoConnectionStillNamesTheStatement) {
  EXPECT_EQ(raised_by([] { Sql_GetReadonlyRecordset(kUnits, nullptr); }).Description,
            message("800A0E78", "Lib_SQL.Sql_GetReadonlyRecordset",
                    "Operation is not allowed when the object is closed", " executing: '" + kUnitsText + "'"));
}

TEST_F(LibSql, AWritableRecordsetIsChangeableInMemory) {
  ConnectionPtr connection = open_connection(connection_string());
  const RecordsetPtr rows = SQL_GetWritableRecordset(kUnits, connection, 4);
  EXPECT_EQ(rows->ActiveConnection(), nullptr);
  rows->SetValue("UNITDESCRIPTION", "carton");
  EXPECT_EQ(rows->Value("UNITDESCRIPTION"), Variant("carton"));
  EXPECT_EQ(value_of("SELECT UNITDESCRIPTION FROM UNIT WHERE UNITCODE = 'BX'"), Variant("box"));
  EXPECT_EQ(connection->State(), 1);
  rows->SetActiveConnection(connection);
  rows->UpdateBatch();
  EXPECT_EQ(value_of("SELECT UNITDESCRIPTION FROM UNIT WHERE UNITCODE = 'BX'"), Variant("carton"));
}

TEST_F(LibSql, AWritableRecordsetThatFailsClosesTheCallersConnection) {
  ConnectionPtr connection = open_connection(connection_string());
  const ConnectionPtr kept = connection;
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  EXPECT_EQ(raised_by([&] { SQL_GetWritableRecordset(kUnits, connection, 4); }),
            (RaisedError{error_number::kStatementRefused, "Test",
                         message("80040E14", "Lib_SQL.SQL_GetWritableRecordset", "refused on request",
                                 kRefusal + " executing: '" + kUnitsText + "'"),
                         "", 0}));
  EXPECT_EQ(connection, nullptr);
  EXPECT_EQ(kept->State(), 0);
}

// Dictionaries

TEST_F(LibSql, ARecordAsDictionaryHasTheCurrentRow) {
  const RecordsetPtr rows = Sql_GetDisconnectedRecordset(kUnits, connection_string());
  rows->MoveNext();
  const DictionaryPtr record = Sql_GetRecordAsDictionary(rows);
  EXPECT_EQ(record->Keys(), (Array{"UNITCODE", "UNITDESCRIPTION"}));
  EXPECT_EQ(record->Items(), (Array{"EA", "each"}));
  EXPECT_EQ(rows->Value("UNITCODE"), Variant("EA"));  // neither moved nor closed
}

TEST_F(LibSql, ARecordAsDictionaryKeepsTheFirstOfTwoColumnsWithOneName) {
  const RecordsetPtr rows = Sql_GetDisconnectedRecordset(
      LiteralPiece("SELECT UNITCODE AS X, UNITDESCRIPTION AS X FROM UNIT WHERE UNITCODE = 'BX'"), connection_string());
  const DictionaryPtr record = Sql_GetRecordAsDictionary(rows);
  EXPECT_EQ(record->Keys(), Array{"X"});
  EXPECT_EQ(record->Items(), Array{"BX"});
}

TEST_F(LibSql, ARecordAsDictionaryOfAnEmptyRecordsetIsEmpty) {
  const RecordsetPtr rows =
      Sql_GetDisconnectedRecordset(LiteralPiece("SELECT UNITCODE FROM UNIT WHERE 0=1"), connection_string());
  EXPECT_EQ(Sql_GetRecordAsDictionary(rows)->Count(), 0);
}

TEST_F(LibSql, ARecordAsDictionaryOfAClosedRecordsetRaisesUnderItsLabel) {
  const RecordsetPtr rows = Sql_GetDisconnectedRecordset(kUnits, connection_string());
  rows->Close();
  EXPECT_EQ(raised_by([&] { Sql_GetRecordAsDictionary(rows); }),
            (RaisedError{error_number::kObjectClosed, "Mercato",
                         message("800A0E78", "Lib_SQL.Sql_GetRecordAsDictionary",
                                 "Operation is not allowed when the object is closed", ""),
                         "", 0}));
}

TEST_F(LibSql, RecordsAsDictionaryTakeTheFirstTwoColumns) {
  Recorder recorder;
  const DictionaryPtr records = Sql_GetRecordsAsDictionary(connection_string(), kUnits);
  EXPECT_EQ(recorder.statements, Statements{kUnitsText});
  EXPECT_EQ(records->Keys(), (Array{"BX", "EA"}));
  EXPECT_EQ(records->Items(), (Array{"box", "each"}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(LibSql, RecordsAsDictionaryKeepTheFirstOfDoubledKeysAndLogEachOther) {
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'each')",
           "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('ST', 'each')"});
  Recorder recorder;
  const DictionaryPtr records = Sql_GetRecordsAsDictionary(
      connection_string(), LiteralPiece("SELECT UNITDESCRIPTION, UNITCODE FROM UNIT ORDER BY UNITCODE"));
  EXPECT_EQ(records->Keys(), (Array{"box", "each"}));
  EXPECT_EQ(records->Items(), (Array{"BX", "EA"}));
  const std::string told =
      "Improper SQL statement 'SELECT UNITDESCRIPTION, UNITCODE FROM UNIT ORDER BY UNITCODE' to create a dictionary. "
      "The "
      "statement resulted in double key value: 'each'";
  const LogEntry entry{told, "\r\nERROR 0x0\r\n METHOD: " + told + "\r\n DESC: Not an actual error.\r\n", 1};
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{entry, entry}));
}

// A doubled Null used to fail the call with 94 while the text for the log was joined.
TEST_F(LibSql, RecordsAsDictionaryLogADoubledNullAsAnEmptyTextAndGoOn) {
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', null)",
           "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('ST', null)"});
  Recorder recorder;
  const DictionaryPtr records = Sql_GetRecordsAsDictionary(
      connection_string(), LiteralPiece("SELECT UNITDESCRIPTION, UNITCODE FROM UNIT ORDER BY UNITCODE DESC"));
  EXPECT_EQ(records->Keys(), (Array{kNull, "each", "box"}));
  EXPECT_EQ(records->Items(), (Array{"ST", "EA", "BX"}));
  const std::string told =
      "Improper SQL statement 'SELECT UNITDESCRIPTION, UNITCODE FROM UNIT ORDER BY UNITCODE DESC' to create a "
      "dictionary. The statement resulted in double key value: ''";
  EXPECT_EQ(
      recorder.log,
      (std::vector<LogEntry>{{told, "\r\nERROR 0x0\r\n METHOD: " + told + "\r\n DESC: Not an actual error.\r\n", 1}}));
}

TEST_F(LibSql, RecordsAsDictionaryThatFailHaveTheStatementInTheirLabel) {
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  EXPECT_EQ(raised_by([&] { Sql_GetRecordsAsDictionary(connection_string(), kUnits); }),
            (RaisedError{error_number::kStatementRefused, "Test",
                         message("80040E14", "Lib_SQL.Sql_GetRecordsAsDictionary. SQL: '" + kUnitsText + "'",
                                 "refused on request"),
                         "", 0}));
}

TEST_F(LibSql, RecordsAsDictionaryOfOneColumnFail) {
  EXPECT_EQ(raised_by([&] {
              Sql_GetRecordsAsDictionary(connection_string(), LiteralPiece("SELECT UNITCODE FROM UNIT"));
            }).Number,
            error_number::kNoSuchField);
}

// Conditions

std::string conditioned(LiteralPiece statement) { return with_condition(statement, LiteralPiece("B = 2")).text(); }

TEST(SqlCondition, BeginsWithWhereUnlessThereIsOneInCapitals) {
  EXPECT_EQ(conditioned("SELECT A FROM T"), "SELECT A FROM T WHERE (B = 2)");
  EXPECT_EQ(conditioned("SELECT A FROM T WHERE (A = 1)"), "SELECT A FROM T WHERE (A = 1) AND (B = 2)");
  EXPECT_EQ(conditioned("SELECT A FROM T where A = 1"), "SELECT A FROM T where A = 1 WHERE (B = 2)");
  EXPECT_EQ(conditioned("SELECT ELSEWHERE FROM T"), "SELECT ELSEWHERE FROM T AND (B = 2)");
}

TEST(SqlCondition, KeepsTheMarksOfItsParts) {
  Sql sql;
  sql << "SELECT A FROM T WHERE A = '" << value("x") << "'";
  Sql condition;
  condition << "B = " << 5;
  const Sql whole = with_condition(sql, condition);
  EXPECT_EQ(whole.text(), "SELECT A FROM T WHERE A = 'x' AND (B = 5)");
  ASSERT_EQ(whole.marks().size(), 2u);
  EXPECT_EQ(whole.text().substr(whole.marks()[1].begin, whole.marks()[1].end - whole.marks()[1].begin), "5");
}

// The connection string

class ConnectionString : public StoreTest {
 protected:
  static void configure(const std::string& connection_string) {
    collaborators::Settings settings;
    settings.connections["Mercato"] = connection_string;
    collaborators::set_settings(settings);
  }
  void TearDown() override {
    set_application(nullptr);
    StoreTest::TearDown();
  }
};

TEST_F(ConnectionString, IsAskedOfTheConfigurationOnceForEachThread) {
  Recorder recorder;
  EXPECT_EQ(shared_connection_string(), connection_string());
  configure("Provider=SQLite;Data Source=elsewhere.db");
  EXPECT_EQ(shared_connection_string(), connection_string());
  EXPECT_EQ(shared_connection_string_of_application(), connection_string());
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Grundwerk.Configuration.PrepareConnections", {false}},
                                {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}},
                            }));
  std::thread([] { EXPECT_EQ(shared_connection_string(), "Provider=SQLite;Data Source=elsewhere.db"); }).join();
}

TEST_F(ConnectionString, ThatIsBlankIsAskedForAgain) {
  configure("  ");
  EXPECT_EQ(shared_connection_string(), "  ");
  configure(connection_string());
  EXPECT_EQ(shared_connection_string(), connection_string());
}

TEST_F(ConnectionString, OfAProductComesFromTheWebApplicationFirst) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P', 'D')"});
  configure("Provider=SQLite;Data Source=/nowhere/at/all.db");
  const auto application = std::make_shared<Dictionary>();
  application->Add("MercatoConnection_ConnectionString", connection_string());
  set_application(application);
  Recorder recorder;
  Root<Product> product;
  EXPECT_EQ(product->GetMaxProductId(), 1);
  EXPECT_TRUE(recorder.calls.empty());
  // Whoever asks first decides for the thread.
  Root<Unit> unit;
  EXPECT_EQ(unit->GetAllUnits()->Count(), 0);
}

TEST_F(ConnectionString, OfOtherClassesIsNoBusinessOfTheWebApplication) {
  const auto application = std::make_shared<Dictionary>();
  application->Add("MercatoConnection_ConnectionString", "Provider=SQLite;Data Source=/nowhere/at/all.db");
  set_application(application);
  Root<Unit> unit;
  EXPECT_EQ(unit->GetAllUnits()->Count(), 0);
}

TEST_F(ConnectionString, OfAProductOutsideOfAContextComesFromTheConfiguration) {
  const auto application = std::make_shared<Dictionary>();
  application->Add("MercatoConnection_ConnectionString", "Provider=SQLite;Data Source=/nowhere/at/all.db");
  set_application(application);
  Product product;
  EXPECT_EQ(product.GetProductsByPartNumber("P")->Count(), 0);
}

TEST_F(ConnectionString, OfAProductComesFromTheConfigurationWhenTheApplicationFailsOrHasNone) {
  const auto without_entry = std::make_shared<Dictionary>();
  const auto null_entry = std::make_shared<Dictionary>();
  null_entry->Add("MercatoConnection_ConnectionString", kNull);
  const auto no_dictionary = Gen_GetComponent("Mercato.Unit");
  for (const ObjectPtr& application :
       {ObjectPtr(), ObjectPtr(without_entry), ObjectPtr(null_entry), ObjectPtr(no_dictionary)}) {
    forget_thread_state();
    set_application(application);
    Recorder recorder;
    Root<Product> product;
    EXPECT_EQ(product->GetProductsByPartNumber("P")->Count(), 0);
    EXPECT_TRUE(recorder.log.empty());
  }
}

TEST_F(ConnectionString, ThatCannotBeHadIsTheFailureOfTheCallThatAsked) {
  collaborators::Settings settings;
  settings.connections.clear();
  collaborators::set_settings(settings);
  Recorder recorder;
  Root<Unit> unit;  // nothing is asked yet
  EXPECT_TRUE(recorder.calls.empty());
  const RaisedError raised = raised_by([&] { unit->GetAllUnits(); });
  const std::string once =
      message("5", "Mercato.Unit.getAllUnits", "No connection is configured for the application 'Mercato'");
  EXPECT_EQ(raised, (RaisedError{5, "Grundwerk.Configuration", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Grundwerk.Configuration", message("5", "Mercato.Unit.getAllUnits", once), 0}}));
}

TEST_F(ConnectionString, ThatIsBlankIsReportedByTheStore) {
  configure("");
  Root<Unit> unit;
  EXPECT_EQ(raised_by([&] { unit->GetAllUnits(); }),
            (RaisedError{error_number::kStoreFailure, "Mercato",
                         message("80004005", "Mercato.Unit.getAllUnits",
                                 "The connection string is blank. It has to name a store"),
                         "", 0}));
}

}  // namespace
}  // namespace mercato::test
