// SPDX-License-Identifier: Apache-2.0
#include "mercato/connection.h"

#include <gtest/gtest.h>

#include "mercato/recordset.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/own_words.h"

namespace mercato {
namespace {

using namespace error_number;
using test::failure_of;

class ConnectionTest : public testing::Test {
 protected:
  ConnectionTest() {
    execute("CREATE TABLE UNIT (UNITCODE nvarchar(3) NOT NULL PRIMARY KEY, DESCRIPTION nvarchar(50) NULL)");
    execute("INSERT INTO UNIT (UNITCODE, DESCRIPTION) VALUES ('EA', 'each')");
    execute("INSERT INTO UNIT (UNITCODE, DESCRIPTION) VALUES ('BX', 'box')");
  }
  ConnectionPtr open() const {
    auto connection = Connection::create();
    connection->Open(store_, "", "", -1);
    return connection;
  }
  void execute(const char* text) const { open()->Execute(Sql::verbatim(text)); }

  store::test::Stores stores_;
  std::string store_ = stores_.store().connection_string();
};

TEST_F(ConnectionTest, IsOpenBetweenOpenAndClose) {
  auto connection = Connection::create();
  EXPECT_EQ(connection->State(), 0);
  connection->Open(store_, "", "", -1);
  EXPECT_EQ(connection->State(), 1);
  EXPECT_EQ(connection->connection_string(), store_);
  EXPECT_EQ(failure_of([&] { connection->Open(store_, "", "", -1); }).Number, kObjectOpen);
  connection->Close();
  EXPECT_EQ(connection->State(), 0);
  EXPECT_EQ(failure_of([&] { connection->Close(); }).Number, kObjectClosed);
  EXPECT_EQ(failure_of([&] { connection->Execute(Sql("SELECT * FROM UNIT")); }).Number, kObjectClosed);
  connection->Open(store_, "", "", -1);
  EXPECT_EQ(connection->State(), 1);
}

TEST_F(ConnectionTest, OpenFailsForAStoreThatIsNotThereAndKeepsTheFailure) {
  auto connection = Connection::create();
  const RaisedError failure = failure_of([&] { connection->Open("Data Source=/nowhere/at/all.db", "", "", -1); });
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(connection->State(), 0);
  EXPECT_EQ(connection->Errors(), std::vector{failure});
  EXPECT_EQ(failure_of([&] { connection->Open(" ", "", "", -1); }).Description,
            "The connection string is blank. It has to name a store");
}

TEST_F(ConnectionTest, OpenFailsUnderATransactionToo) {
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  const store::UnitOfWork::Current current(&unit);
  auto connection = Connection::create();
  EXPECT_EQ(failure_of([&] { connection->Open("Data Source=/nowhere/at/all.db", "", "", -1); }).Number, kStoreFailure);
}

TEST_F(ConnectionTest, ExecuteStreamsTheRowsOfAQuery) {
  const auto connection = open();
  const auto recordset = connection->Execute(Sql("SELECT UNITCODE FROM UNIT ORDER BY UNITCODE"), -1);
  EXPECT_EQ(recordset->State(), 1);
  EXPECT_EQ(recordset->ActiveConnection(), connection);
  EXPECT_EQ(recordset->Value("unitcode"), Variant("BX"));
  recordset->MoveNext();
  EXPECT_EQ(recordset->Value("UNITCODE"), Variant("EA"));
  recordset->MoveNext();
  EXPECT_TRUE(recordset->Eof());
}

TEST_F(ConnectionTest, ExecuteOfAWriteGivesAClosedRecordsetAndTheCountOfRows) {
  std::int64_t affected = -1;
  const auto recordset = open()->ExecuteAffecting(Sql("UPDATE UNIT SET DESCRIPTION = 'x'"), affected);
  EXPECT_EQ(affected, 2);
  EXPECT_EQ(recordset->State(), 0);
}

TEST_F(ConnectionTest, TheIsolationStatementIsTakenAndChangesNothing) {
  const auto connection = open();
  EXPECT_EQ(connection->Execute(Sql("set TRANSACTION ISOLATION LEVEL READ COMMITTED"))->State(), 0);
  EXPECT_TRUE(connection->Errors().empty());
}

TEST_F(ConnectionTest, ASettingThatWasSentBeforeStandsForNoOtherStatement) {
  const auto connection = open();
  const Sql setting("set TRANSACTION ISOLATION LEVEL READ COMMITTED");
  for (int time = 0; time < 3; ++time) EXPECT_EQ(connection->Execute(setting)->State(), 0);
  EXPECT_EQ(connection->Execute(Sql("SELECT * FROM UNIT"))->State(), 1);
  EXPECT_EQ(connection->Execute(setting)->State(), 0);
  for (const char* text :
       {"", "set TRANSACTION ISOLATION LEVEL READ", "set TRANSACTION ISOLATION LEVEL READ COMMITTED;x"})
    EXPECT_EQ(failure_of([&] { connection->Execute(Sql::verbatim(text)); }).Number, kStatementRefused) << text;
  // A piece that is refused stays so, whatever its text.
  Sql smuggled;
  smuggled << value(setting.text());
  EXPECT_EQ(failure_of([&] { connection->Execute(smuggled); }).Number, kStatementRefused);
}

TEST_F(ConnectionTest, ErrorsKeepWhatTheStoreReportedUntilTheConnectionIsClosed) {
  MERCATO_NOT_WHERE_SERVERS_ANSWER(stores_.store(), "whether it names the column of a value that is too long");
  const auto connection = open();
  const RaisedError first = failure_of([&] { connection->Execute(Sql("SELECT * FROM NOSUCHTABLE")); });
  const RaisedError second =
      failure_of([&] { connection->Execute(Sql("INSERT INTO UNIT (UNITCODE) VALUES ('FOUR')")); });
  EXPECT_EQ(first.Number, kStatementRefused);
  EXPECT_EQ(second, (RaisedError{kValueTooLong,
                                 stores_.store().failure_source(),
                                 "The value is too long: column UNIT.UNITCODE takes at most 3 characters",
                                 {},
                                 0}));
  EXPECT_EQ(connection->Errors(), (std::vector{first, second}));
  connection->Close();
  EXPECT_TRUE(connection->Errors().empty());
}

TEST_F(ConnectionTest, ADoubledKeySaysWhichOne) {
  MERCATO_NOT_WHERE_SERVERS_ANSWER(stores_.store(), "its words for a key that is taken");
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO UNIT (UNITCODE) VALUES ('EA')"); }),
            (RaisedError{kConstraintViolated,
                         stores_.store().failure_source(),
                         "There is already a row with this key (" +
                             stores_.store().words("UNIQUE constraint failed: UNIT.UNITCODE",
                                                   "duplicate key value violates unique constraint \"UNIT_pkey\"") +
                             ")",
                         {},
                         0}));
  EXPECT_EQ(
      failure_of([&] { execute("INSERT INTO UNIT (DESCRIPTION) VALUES ('EA')"); }),
      (RaisedError{kConstraintViolated,
                   stores_.store().failure_source(),
                   "UNIT.UNITCODE may not be Null (" +
                       stores_.store().words(
                           "NOT NULL constraint failed: UNIT.UNITCODE",
                           "null value in column \"UNITCODE\" of relation \"UNIT\" violates not-null constraint") +
                       ")",
                   {},
                   0}));
}

TEST_F(ConnectionTest, AStreamEndsWithItsConnection) {
  const auto connection = open();
  const auto recordset = connection->Execute(Sql("SELECT UNITCODE FROM UNIT"));
  connection->Close();
  EXPECT_EQ(failure_of([&] { recordset->MoveNext(); }).Number, kObjectClosed);
}

TEST_F(ConnectionTest, AStreamKeepsItsConnectionAlive) {
  auto recordset = open()->Execute(Sql("SELECT UNITCODE FROM UNIT"));
  EXPECT_FALSE(recordset->Eof());
  recordset->MoveNext();
  recordset->MoveNext();
  EXPECT_TRUE(recordset->Eof());
}

TEST_F(ConnectionTest, ConnectionsUnderATransactionShareIt) {
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  {
    const store::UnitOfWork::Current current(&unit);
    open()->Execute(Sql("INSERT INTO UNIT (UNITCODE) VALUES ('KG')"));
    EXPECT_EQ(open()->Execute(Sql("SELECT COUNT(*) FROM UNIT"))->Value(0), Variant(3));
  }
  EXPECT_EQ(open()->Execute(Sql("SELECT COUNT(*) FROM UNIT"))->Value(0), Variant(2));
  unit.rollback();
  EXPECT_EQ(open()->Execute(Sql("SELECT COUNT(*) FROM UNIT"))->Value(0), Variant(2));
}

TEST_F(ConnectionTest, AConnectionThatOutlivesItsTransactionWorksOnByItself) {
  ConnectionPtr connection;
  {
    store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
    const store::UnitOfWork::Current current(&unit);
    connection = open();
    connection->Execute(Sql("INSERT INTO UNIT (UNITCODE) VALUES ('KG')"));
    unit.commit();
  }
  connection->Execute(Sql("INSERT INTO UNIT (UNITCODE) VALUES ('M')"));
  EXPECT_EQ(open()->Execute(Sql("SELECT COUNT(*) FROM UNIT"))->Value(0), Variant(4));
}

}  // namespace
}  // namespace mercato
