// SPDX-License-Identifier: Apache-2.0
#include "mercato/recordset.h"

#include <gtest/gtest.h>

#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/own_words.h"

namespace mercato {
namespace {

using namespace error_number;
using test::failure_of;

class RecordsetTest : public testing::Test {
 protected:
  RecordsetTest() {
    connection_->Open(store_, "", "", -1);
    execute(
        "CREATE TABLE PROPERTY (PROPERTYID int NOT NULL IDENTITY(1,1) PRIMARY KEY, PROPERTYNAME nvarchar(8) NOT NULL, "
        "DATATYPE smallint NULL DEFAULT 1, EXTERNALFLAG bit NULL, CHANGED datetime NULL, PRICE money NULL)");
    execute("CREATE TABLE NODEPARTNER (NODEID int NULL, PARTNERID int NULL)");
  }
  void execute(std::string text) { connection_->Execute(Sql::verbatim(std::move(text))); }
  void add_properties(int count) {
    for (int i = 1; i <= count; ++i)
      execute("INSERT INTO PROPERTY (PROPERTYNAME) VALUES ('P" + std::to_string(i) + "')");
  }
  RecordsetPtr open(const Sql& source, CursorType cursor, LockType lock) {
    auto recordset = Recordset::create();
    recordset->Open(source, connection_, cursor, lock, -1);
    return recordset;
  }
  RecordsetPtr open_writable(const Sql& source) { return open(source, CursorType::keyset, LockType::optimistic); }
  Variant stored(std::string text) {
    auto other = Connection::create();
    other->Open(store_, "", "", -1);
    const auto recordset = other->Execute(Sql::verbatim(std::move(text)));
    return recordset->Eof() ? Variant(kMissing) : recordset->Value(0);
  }

  store::test::Stores stores_;
  std::string store_ = stores_.store().connection_string();
  ConnectionPtr connection_ = Connection::create();
};

TEST_F(RecordsetTest, AnEmptyResultIsAtBothEnds) {
  for (const CursorType cursor : {CursorType::forward_only, CursorType::fixed}) {
    const auto recordset = open(Sql("SELECT * FROM PROPERTY"), cursor, LockType::read_only);
    EXPECT_EQ(recordset->State(), 1);
    EXPECT_TRUE(recordset->Eof());
    EXPECT_TRUE(recordset->Bof());
    EXPECT_EQ(recordset->FieldCount(), 6u);
    EXPECT_EQ(failure_of([&] { recordset->Value("PROPERTYID"); }).Number, kNoCurrentRow);
    EXPECT_EQ(failure_of([&] { recordset->MoveNext(); }).Number, kNoCurrentRow);
  }
}

TEST_F(RecordsetTest, AnUnknownFieldIsNamedInTheFailure) {
  add_properties(1);
  const auto recordset = open(Sql("SELECT * FROM PROPERTY"), CursorType::fixed, LockType::read_only);
  EXPECT_EQ(
      failure_of([&] { recordset->Value("NOSUCH"); }),
      (RaisedError{kNoSuchField,
                   "Mercato",
                   "Item cannot be found in the collection corresponding to the requested name or ordinal: NOSUCH",
                   {},
                   0}));
  EXPECT_EQ(kNoSuchField, static_cast<std::int32_t>(0x800A0CC1u));
  EXPECT_EQ(failure_of([&] { recordset->Value(6); }).Number, kNoSuchField);
  EXPECT_EQ(failure_of([&] { recordset->FieldName(6); }).Number, kNoSuchField);
  EXPECT_EQ(recordset->FieldName(1), "PROPERTYNAME");
}

TEST_F(RecordsetTest, HeldRowsCanBeWalkedAgainAndStreamedOnesCannot) {
  add_properties(3);
  const auto held =
      open(Sql("SELECT PROPERTYID FROM PROPERTY ORDER BY PROPERTYID"), CursorType::keyset, LockType::read_only);
  EXPECT_EQ(held->RecordCount(), 3);
  held->MoveNext();
  held->MoveNext();
  held->MoveNext();
  EXPECT_TRUE(held->Eof());
  EXPECT_FALSE(held->Bof());
  held->MoveFirst();
  EXPECT_EQ(held->Value(0), Variant(1));

  const auto streamed =
      open(Sql("SELECT PROPERTYID FROM PROPERTY ORDER BY PROPERTYID"), CursorType::forward_only, LockType::read_only);
  EXPECT_EQ(streamed->RecordCount(), -1);
  streamed->MoveFirst();
  streamed->MoveNext();
  EXPECT_EQ(streamed->Value(0), Variant(2));
  EXPECT_EQ(failure_of([&] { streamed->MoveFirst(); }).Number, kFeatureNotAvailable);
}

TEST_F(RecordsetTest, ARecordsetThatIsClosedRefusesEverything) {
  const auto recordset = Recordset::create();
  EXPECT_EQ(recordset->State(), 0);
  EXPECT_EQ(failure_of([&] { recordset->Eof(); }).Number, kObjectClosed);
  EXPECT_EQ(failure_of([&] { recordset->Close(); }).Number, kObjectClosed);
  EXPECT_EQ(failure_of([&] { recordset->Value("X"); }).Number, kObjectClosed);
  recordset->Open(Sql("SELECT * FROM PROPERTY"), connection_, CursorType::fixed, LockType::read_only, -1);
  EXPECT_EQ(failure_of([&] {
              recordset->Open(Sql("SELECT * FROM PROPERTY"), connection_, CursorType::fixed, LockType::read_only, -1);
            }).Number,
            kObjectOpen);
  recordset->Close();
  EXPECT_EQ(recordset->State(), 0);
  recordset->Open(Sql("SELECT * FROM PROPERTY"), connection_, CursorType::fixed, LockType::read_only, -1);
  EXPECT_EQ(recordset->State(), 1);
}

TEST_F(RecordsetTest, AClosedConnectionServesNoRecordset) {
  const auto closed = Connection::create();
  const auto recordset = Recordset::create();
  EXPECT_EQ(
      failure_of([&] { recordset->Open(Sql("SELECT 1"), closed, CursorType::fixed, LockType::read_only, -1); }).Number,
      kObjectClosed);
  EXPECT_EQ(failure_of([&] {
              recordset->Open(Sql("SELECT 1"), ConnectionPtr(), CursorType::fixed, LockType::read_only, -1);
            }).Number,
            kObjectClosed);
}

TEST_F(RecordsetTest, OpenedWithAStringItHasAConnectionOfItsOwnUntilCutLoose) {
  add_properties(2);
  const auto recordset = Recordset::create();
  recordset->SetCursorLocation(CursorLocation::client);
  recordset->Open(Sql("SELECT PROPERTYNAME FROM PROPERTY ORDER BY PROPERTYID"), store_, CursorType::forward_only,
                  LockType::read_only, 1);
  ASSERT_NE(recordset->ActiveConnection(), nullptr);
  EXPECT_EQ(recordset->ActiveConnection()->State(), 1);
  recordset->SetActiveConnection(nullptr);
  EXPECT_EQ(recordset->ActiveConnection(), nullptr);
  EXPECT_EQ(recordset->RecordCount(), 2);
  recordset->MoveNext();
  EXPECT_EQ(recordset->Value(0), Variant("P2"));
}

TEST_F(RecordsetTest, AStreamIsFetchedWhenItIsCutLoose) {
  add_properties(3);
  const auto recordset = connection_->Execute(Sql("SELECT PROPERTYNAME FROM PROPERTY ORDER BY PROPERTYID"));
  recordset->MoveNext();
  recordset->SetActiveConnection(nullptr);
  connection_->Close();
  EXPECT_EQ(recordset->Value(0), Variant("P2"));
  recordset->MoveNext();
  EXPECT_EQ(recordset->Value(0), Variant("P3"));
  recordset->MoveNext();
  EXPECT_TRUE(recordset->Eof());
}

TEST_F(RecordsetTest, RowsThatSomebodyComputedAreReadLikeOthers) {
  const auto layout = std::make_shared<const store::RowLayout>(
      std::vector<store::Column>{{.name = "A", .type = store::ColumnType::text}, {.name = "B"}});
  const auto recordset = Recordset::from_rows(layout, {{Variant("x"), Variant(1)}, {Variant("y"), Variant(2)}});
  EXPECT_EQ(recordset->ActiveConnection(), nullptr);
  EXPECT_EQ(recordset->Value("a"), Variant("x"));
  recordset->MoveNext();
  EXPECT_EQ(recordset->Value("B"), Variant(2));
  EXPECT_EQ(recordset->rows().size(), 2u);
  EXPECT_EQ(failure_of([&] { recordset->AddNew(); }).Number, kFeatureNotAvailable);
}

TEST_F(RecordsetTest, ANewRowIsWrittenByUpdateAndGivesItsAssignedKey) {
  add_properties(4);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE 0=1"));
  recordset->AddNew();
  EXPECT_TRUE(recordset->Value("PROPERTYID").is_null());
  recordset->SetValue("PROPERTYNAME", Variant("NEW"));
  recordset->SetValue("externalflag", Variant(true));
  recordset->SetValue("CHANGED", Variant("7/1/2026 8:30:00 AM"));
  EXPECT_EQ(recordset->Value("CHANGED"), Variant(Date::from_civil({2026, 7, 1, 8, 30, 0})));
  EXPECT_TRUE(recordset->Value("DATATYPE").is_null());
  EXPECT_EQ(stored("SELECT COUNT(*) FROM PROPERTY"), Variant(4));
  recordset->Update();
  EXPECT_EQ(recordset->Value("PROPERTYID"), Variant(5));
  EXPECT_EQ(stored("SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID=5"), Variant("NEW"));
  EXPECT_EQ(stored("SELECT EXTERNALFLAG FROM PROPERTY WHERE PROPERTYID=5"), Variant(true));
  EXPECT_EQ(stored("SELECT DATATYPE FROM PROPERTY WHERE PROPERTYID=5"), Variant(std::int16_t{1}));
}

TEST_F(RecordsetTest, ABooleanIsWrittenIntoAFlagAsOneOrZero) {
  add_properties(2);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY ORDER BY PROPERTYID"));
  recordset->SetValue("DATATYPE", Variant(true));
  EXPECT_EQ(recordset->Value("DATATYPE"), Variant(std::int16_t{1}));
  recordset->MoveNext();
  recordset->SetValue("DATATYPE", Variant(false));
  recordset->Update();
  EXPECT_EQ(stored("SELECT PROPERTYID FROM PROPERTY WHERE DATATYPE = 1"), Variant(1));
  EXPECT_EQ(stored("SELECT PROPERTYID FROM PROPERTY WHERE DATATYPE = 0"), Variant(2));
}

TEST_F(RecordsetTest, ARowUnderConstructionIsDroppedByClose) {
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE 0=1"));
  recordset->AddNew();
  recordset->SetValue("PROPERTYNAME", Variant("NEW"));
  recordset->Close();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM PROPERTY"), Variant(0));
}

TEST_F(RecordsetTest, TheNextNewRowWritesTheOneBefore) {
  const auto recordset = open_writable(Sql("SELECT * FROM NODEPARTNER WHERE 0=1"));
  for (int partner = 1; partner <= 3; ++partner) {
    recordset->AddNew();
    recordset->SetValue("PARTNERID", Variant(partner));
  }
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER"), Variant(2));
  recordset->Update();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER"), Variant(3));
}

TEST_F(RecordsetTest, ChangedFieldsAreWrittenAndNoOthers) {
  add_properties(2);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE PROPERTYID=2"));
  execute("UPDATE PROPERTY SET DATATYPE = 4 WHERE PROPERTYID=2");
  recordset->SetValue("PROPERTYNAME", Variant("other"));
  EXPECT_EQ(recordset->Value("PROPERTYNAME"), Variant("other"));
  recordset->Update();
  EXPECT_EQ(stored("SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID=2"), Variant("other"));
  EXPECT_EQ(stored("SELECT DATATYPE FROM PROPERTY WHERE PROPERTYID=2"), Variant(std::int16_t{4}));
  EXPECT_EQ(stored("SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID=1"), Variant("P1"));
}

// A recordset used to write whatever key it was given.
TEST_F(RecordsetTest, AnAssignedKeyIsRefusedInTheWordsOfTheServer) {
  const auto added = open_writable(Sql("SELECT * FROM PROPERTY WHERE 0=1"));
  added->AddNew();
  added->SetValue("PROPERTYNAME", Variant("NEW"));
  added->SetValue("PropertyID", Variant(kNull));
  EXPECT_EQ(failure_of([&] { added->Update(); }),
            (RaisedError{kStatementRefused,
                         stores_.store().failure_source(),
                         "Cannot insert explicit value for identity column in table 'PROPERTY' when IDENTITY_INSERT is "
                         "set to OFF",
                         {},
                         0}));
  EXPECT_EQ(stored("SELECT COUNT(*) FROM PROPERTY"), Variant(0));

  add_properties(1);
  const auto changed = open_writable(Sql("SELECT * FROM PROPERTY"));
  changed->SetValue("PROPERTYNAME", Variant("other"));
  changed->SetValue("PROPERTYID", Variant(1));
  EXPECT_EQ(
      failure_of([&] { changed->Update(); }),
      (RaisedError{
          kStatementRefused, stores_.store().failure_source(), "Cannot update identity column 'PROPERTYID'", {}, 0}));
  EXPECT_EQ(stored("SELECT PROPERTYNAME FROM PROPERTY"), Variant("P1"));
}

TEST_F(RecordsetTest, MovingOnWritesWhatWasChanged) {
  add_properties(2);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY ORDER BY PROPERTYID"));
  for (; !recordset->Eof(); recordset->MoveNext()) recordset->SetValue("DATATYPE", Variant("3"));
  EXPECT_EQ(stored("SELECT COUNT(*) FROM PROPERTY WHERE DATATYPE = 3"), Variant(2));
}

TEST_F(RecordsetTest, UpdateWithoutAChangeDoesNothing) {
  add_properties(1);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY"));
  execute("DELETE FROM PROPERTY");
  recordset->Update();
  recordset->SetValue("DATATYPE", Variant(2));
  EXPECT_EQ(
      failure_of([&] { recordset->Update(); }),
      (RaisedError{
          kStoreFailure, stores_.store().failure_source(), "The row to be changed is no longer in PROPERTY", {}, 0}));
}

TEST_F(RecordsetTest, WritingNeedsARow) {
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE PROPERTYID=1"));
  EXPECT_EQ(failure_of([&] { recordset->SetValue("DATATYPE", Variant(2)); }).Number, kNoCurrentRow);
  EXPECT_EQ(failure_of([&] { recordset->Update(); }).Number, kNoCurrentRow);
  EXPECT_EQ(failure_of([&] { recordset->SetValue("NOSUCH", Variant(2)); }).Number, kNoSuchField);
}

TEST_F(RecordsetTest, AReadOnlyRecordsetIsNotWritten) {
  add_properties(1);
  const auto recordset = open(Sql("SELECT * FROM PROPERTY"), CursorType::fixed, LockType::read_only);
  EXPECT_EQ(failure_of([&] { recordset->AddNew(); }).Number, kFeatureNotAvailable);
  EXPECT_EQ(failure_of([&] { recordset->SetValue("DATATYPE", Variant(2)); }).Number, kFeatureNotAvailable);
  EXPECT_EQ(failure_of([&] { recordset->Update(); }).Number, kFeatureNotAvailable);
}

TEST_F(RecordsetTest, AValueThatIsNotOfTheColumnsTypeIsRefusedAndLeavesTheRow) {
  add_properties(1);
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY"));
  EXPECT_EQ(failure_of([&] { recordset->SetValue("DATATYPE", Variant("abc")); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([&] { recordset->SetValue("DATATYPE", Variant("")); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([&] { recordset->SetValue("CHANGED", Variant("")); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([&] { recordset->SetValue("CHANGED", Variant("soon")); }).Number, kTypeMismatch);
  EXPECT_EQ(recordset->Value("DATATYPE"), Variant(std::int16_t{1}));
  recordset->SetValue("DATATYPE", Variant(kNull));
  recordset->SetValue("PRICE", Variant("12.5"));
  recordset->Update();
  EXPECT_TRUE(stored("SELECT DATATYPE FROM PROPERTY").is_null());
  EXPECT_EQ(stored("SELECT PRICE FROM PROPERTY"), Variant(Currency::from_scaled(125000)));
}

TEST_F(RecordsetTest, AnOverlongValueIsTheStoresFailureAndIsKeptByTheConnection) {
  MERCATO_NOT_WHERE_SERVERS_ANSWER(stores_.store(), "whether it names the column of a value that is too long");
  const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE 0=1"));
  recordset->AddNew();
  recordset->SetValue("PROPERTYNAME", Variant("123456789"));
  const RaisedError failure = failure_of([&] { recordset->Update(); });
  EXPECT_EQ(failure, (RaisedError{kValueTooLong,
                                  stores_.store().failure_source(),
                                  "The value is too long: column PROPERTY.PROPERTYNAME takes at most 8 characters",
                                  {},
                                  0}));
  EXPECT_EQ(connection_->Errors(), std::vector{failure});
  stores_.store().forget_lost_numbers();
  recordset->SetValue("PROPERTYNAME", Variant("12345678"));
  recordset->Update();
  EXPECT_EQ(recordset->Value("PROPERTYID"), Variant(1));
}

TEST_F(RecordsetTest, DoubledRowsWithoutAKeyAreChangedOneByOne) {
  execute("INSERT INTO NODEPARTNER (NODEID, PARTNERID) VALUES (1, 7)");
  execute("INSERT INTO NODEPARTNER (NODEID, PARTNERID) VALUES (1, 7)");
  const auto recordset = open_writable(Sql("SELECT * FROM NODEPARTNER"));
  recordset->MoveNext();
  recordset->SetValue("PARTNERID", Variant(8));
  recordset->Update();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER WHERE PARTNERID = 7"), Variant(1));
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER WHERE PARTNERID = 8"), Variant(1));
}

TEST_F(RecordsetTest, ABatchIsWrittenAtOnceOnTheConnectionThatItIsBoundToAgain) {
  for (int partner = 1; partner <= 2; ++partner)
    execute("INSERT INTO NODEPARTNER (NODEID, PARTNERID) VALUES (1, " + std::to_string(partner) + ")");
  const auto recordset =
      open(Sql("SELECT * FROM NODEPARTNER WHERE NODEID = 1"), CursorType::keyset, LockType::batch_optimistic);
  recordset->SetActiveConnection(nullptr);
  for (int i = 0; i < 2; ++i) {
    recordset->SetValue("PARTNERID", Variant(10 + i));
    recordset->MoveNext();
  }
  EXPECT_EQ(failure_of([&] { recordset->SetValue("PARTNERID", Variant(9)); }).Number, kNoCurrentRow);
  recordset->AddNew();
  recordset->SetValue("NODEID", Variant(1));
  recordset->SetValue("PARTNERID", Variant(12));
  recordset->Update();
  EXPECT_EQ(failure_of([&] { recordset->UpdateBatch(); }).Number, kObjectClosed);
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER WHERE PARTNERID >= 10"), Variant(0));

  const auto later = Connection::create();
  later->Open(store_, "", "", -1);
  recordset->SetActiveConnection(later);
  recordset->UpdateBatch();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER WHERE PARTNERID >= 10"), Variant(3));
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER"), Variant(3));
  recordset->UpdateBatch();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER"), Variant(3));
}

TEST_F(RecordsetTest, ABatchThatIsNotSentWritesNothing) {
  const auto recordset =
      open(Sql("SELECT * FROM NODEPARTNER WHERE 0=1"), CursorType::keyset, LockType::batch_optimistic);
  recordset->AddNew();
  recordset->SetValue("NODEID", Variant(1));
  recordset->Update();
  recordset->Close();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM NODEPARTNER"), Variant(0));
}

TEST_F(RecordsetTest, WritesUnderATransactionAreItsOwn) {
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  {
    const store::UnitOfWork::Current current(&unit);
    const auto recordset = open_writable(Sql("SELECT * FROM PROPERTY WHERE 0=1"));
    recordset->AddNew();
    recordset->SetValue("PROPERTYNAME", Variant("NEW"));
    recordset->Update();
    EXPECT_EQ(recordset->Value("PROPERTYID"), Variant(1));
  }
  unit.rollback();
  EXPECT_EQ(stored("SELECT COUNT(*) FROM PROPERTY"), Variant(0));
}

TEST_F(RecordsetTest, AnUpdatableRecordsetReadsOneTable) {
  EXPECT_EQ(failure_of([&] { open_writable(Sql("SELECT PROPERTYID FROM PROPERTY, NODEPARTNER")); }).Number,
            kFeatureNotAvailable);
}

TEST_F(RecordsetTest, AWriteInTheMiddleOfAStreamLeavesItsRows) {
  add_properties(5);
  const auto recordset = connection_->Execute(Sql("SELECT PROPERTYID FROM PROPERTY ORDER BY PROPERTYID"));
  int seen = 0;
  for (; !recordset->Eof(); recordset->MoveNext()) {
    EXPECT_EQ(recordset->Value(0), Variant(++seen));
    execute("DELETE FROM PROPERTY WHERE PROPERTYID = " + std::to_string(6 - seen));
  }
  EXPECT_EQ(seen, 5);
}

TEST_F(RecordsetTest, AWalkWithoutAnEndIsEndedByTheCallLimit) {
  add_properties(1);
  const auto recordset = open(Sql("SELECT * FROM PROPERTY"), CursorType::fixed, LockType::read_only);
  const store::CallLimit limit(0.02);
  EXPECT_EQ(failure_of([&] {
              for (;;) recordset->Value("PROPERTYID");
            }).Number,
            kTimeout);
}

}  // namespace
}  // namespace mercato
