// SPDX-License-Identifier: Apache-2.0
#include "platform/store/driver.h"

#include <gtest/gtest.h>

#include "platform/store/dialect/dialect.h"
#include "platform/store/empty/driver.h"
#include "platform/store/known_drivers.h"
#include "platform/store/statement_observer.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using namespace error_number;
using test::failure_of;

TEST(ConnectionString, APropertyIsFoundInAnyCaseWithoutTheBlanksAround) {
  const std::string text = "Provider = SQLite ; Data Source=a b.db;data source=other;Empty=";
  EXPECT_EQ(connection_property(text, "provider"), "SQLite");
  EXPECT_EQ(connection_property(text, "DATA SOURCE"), "a b.db");
  EXPECT_EQ(connection_property(text, "Empty"), "");
  EXPECT_EQ(connection_property(text, "Source"), std::nullopt);
  EXPECT_EQ(connection_property("", "Provider"), std::nullopt);
  EXPECT_EQ(connection_property("a=b=c", "a"), "b=c");
}

TEST(DriverFor, NoProviderMeansSqliteAndAnyCaseServes) {
  EXPECT_EQ(&driver_for("Data Source=x"), &driver_for("provider=SQLITE;Data Source=x"));
}

TEST(DriverFor, AnUnknownProviderIsRefusedWithTheKnownOnes) {
  EXPECT_EQ(failure_of([] { driver_for("Provider=Nosuch;Data Source=x"); }),
            (RaisedError{kStoreFailure,
                         "Mercato",
                         "There is no store provider 'Nosuch'. Known providers: " + mercato::test::known_providers(),
                         {},
                         0}));
}

TEST(DriverFor, ABlankStringIsRefused) {
  EXPECT_EQ(failure_of([] { driver_for("  "); }),
            (RaisedError{kStoreFailure, "Mercato", "The connection string is blank. It has to name a store", {}, 0}));
}

struct Conversion {
  Variant value;
  ColumnType type;
  Variant expected;
};

TEST(ToColumnType, GivesTheColumnsOwnType) {
  const Conversion rows[] = {
      {Variant(kNull), ColumnType::date, Variant(kNull)},
      {Variant(), ColumnType::long_integer, Variant(kNull)},
      {Variant(), ColumnType::text, Variant(kNull)},
      {Variant("12"), ColumnType::long_integer, Variant(12)},
      {Variant(2.5), ColumnType::short_integer, Variant(std::int16_t{2})},
      {Variant(true), ColumnType::short_integer, Variant(std::int16_t{1})},
      {Variant(false), ColumnType::short_integer, Variant(std::int16_t{0})},
      {Variant(true), ColumnType::long_integer, Variant(-1)},
      {Variant(1), ColumnType::boolean, Variant(true)},
      {Variant("False"), ColumnType::boolean, Variant(false)},
      {Variant("1.25"), ColumnType::real, Variant(1.25)},
      {Variant("12.3456"), ColumnType::money, Variant(Currency::from_scaled(123456))},
      {Variant("7/1/2026"), ColumnType::date, Variant(Date::from_civil({2026, 7, 1}))},
      {Variant(5), ColumnType::text, Variant("5")},
      {Variant(Date::from_civil({2026, 7, 1})), ColumnType::text, Variant("7/1/2026")},
  };
  for (const Conversion& row : rows)
    EXPECT_EQ(to_column_type(row.value, row.type), row.expected)
        << row.value.type_name() << " to " << static_cast<int>(row.type);
}

TEST(ToColumnType, RefusesWhatCannotBeConverted) {
  EXPECT_EQ(failure_of([] { to_column_type(Variant("abc"), ColumnType::long_integer); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([] { to_column_type(Variant(""), ColumnType::real); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([] { to_column_type(Variant(""), ColumnType::date); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([] { to_column_type(Variant(""), ColumnType::money); }).Number, kTypeMismatch);
  EXPECT_EQ(failure_of([] { to_column_type(Variant(40000), ColumnType::short_integer); }).Number, kOverflow);
}

// A driver that writes down what it is asked, and what reached the others before.
class WritingSession : public Session, private StatementObserver {
 public:
  WritingSession() : Session("Test store"), observer_(set_statement_observer(this)) {}
  ~WritingSession() override { set_statement_observer(observer_); }

  std::vector<std::string> log;
  bool sets_only = false;  // statements ask nothing of this engine
  TableInfo goods{
      "GOODS", {{"ID", ColumnType::long_integer, 0, false, true}, {"NAME", ColumnType::text, 10, true, false}}, {0}};

  using Session::lose_transaction;
  const TableInfo* table(std::string_view) override { return &goods; }
  bool has_index(std::string_view, std::string_view) override { return false; }
  void start_transaction() override { log.emplace_back("start"); }
  void begin_run() override {}
  void flush_run() override {}
  void end_run() override {}
  bool outdated() const noexcept override { return false; }
  bool unused() const noexcept override { return !has_lost_transaction(); }

 protected:
  bool end_use() noexcept override { return true; }
  void before_statement() override { log.emplace_back("before"); }
  Execution run(const dialect::LexedStatement& statement, ExecuteOptions) override {
    log.push_back("run " + std::string(statement.text));
    return {.cursor = nullptr, .affected = 0, .nothing_to_do = sets_only};
  }
  RowIdentity insert(const TableInfo&, std::span<const std::size_t>, std::span<const Variant>) override {
    log.emplace_back("insert");
    return {};
  }
  void update(const TableInfo&, RowIdentity&, std::span<const std::size_t>, std::span<const Variant>) override {
    log.emplace_back("update");
  }
  void commit_transaction() override { log.emplace_back("commit"); }
  void roll_back_transaction() override { log.emplace_back("roll back"); }

 private:
  void on_statement(std::string_view text, bool) override { log.push_back("seen " + std::string(text)); }

  StatementObserver* observer_;
};

using Log = std::vector<std::string>;

TEST(EverySession, ShowsAStatementToItsObserverAndMakesReadyBeforeTheDriverGetsIt) {
  WritingSession session;
  session.execute(Sql("SELECT 1"));
  EXPECT_EQ(session.log, (Log{"seen SELECT 1", "before", "run SELECT 1"}));
}

TEST(EverySession, KeepsFromTheDriverAValueThatIsNotOneLiteral) {
  WritingSession session;
  const std::string hostile = "x' OR 'a'='a";
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT A FROM B WHERE C='") << value(hostile) << "'"); }).Number,
            kStatementRefused);
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT A FROM B ORDER BY ") << name("C; DROP")); }).Number,
            kStatementRefused);
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT A FROM B") << clause(" -- all")); }).Number,
            kStatementRefused);
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT 'no end")); }).Number, kStatementRefused);
  EXPECT_EQ(session.log,
            (Log{"seen SELECT A FROM B WHERE C='x' OR 'a'='a'", "before", "seen SELECT A FROM B ORDER BY C; DROP",
                 "before", "seen SELECT A FROM B -- all", "before", "seen SELECT 'no end", "before"}));
}

TEST(EverySession, AsksTheCallLimitAfterTheObserverAndBeforeAnythingElse) {
  WritingSession session;
  session.lose_transaction("The disk is full");
  const CallLimit limit(1e-9);
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT 'no end")); }),
            (RaisedError{
                kTimeout, "Mercato", "Timeout expired: the call ran longer than its limit of 1E-09 seconds", {}, 0}));
  EXPECT_EQ(session.log, Log{"seen SELECT 'no end"});
}

TEST(EverySession, TakesASettingThatAskedNothingWithoutAnotherLookUntilAnotherCame) {
  WritingSession session;
  session.sets_only = true;
  for (int i = 0; i < 2; ++i) session.execute(Sql("set A"));
  session.execute(Sql("set B"));
  session.execute(Sql("set A"));
  // One with pieces is looked at each time.
  for (int i = 0; i < 2; ++i) session.execute(Sql("set ") << name("C"));
  EXPECT_EQ(session.log, (Log{"seen set A", "before", "run set A", "seen set A", "before", "seen set B", "before",
                              "run set B", "seen set A", "before", "run set A", "seen set C", "before", "run set C",
                              "seen set C", "before", "run set C"}));
}

TEST(EverySession, RefusesAColumnThatTheStoreAssignsInTheServersWords) {
  WritingSession session;
  const std::size_t columns[] = {1, 0};
  const Variant values[] = {Variant("bolt"), Variant(7)};
  RowIdentity row;
  EXPECT_EQ(failure_of([&] { session.insert_row(session.goods, columns, values); }),
            (RaisedError{kStatementRefused,
                         "Test store",
                         "Cannot insert explicit value for identity column in table 'GOODS' when IDENTITY_INSERT is "
                         "set to OFF",
                         {},
                         0}));
  EXPECT_EQ(failure_of([&] { session.update_row(session.goods, row, columns, values); }),
            (RaisedError{kStatementRefused, "Test store", "Cannot update identity column 'ID'", {}, 0}));
  EXPECT_EQ(session.log, Log{});
  session.insert_row(session.goods, std::span(columns).first(1), std::span(values).first(1));
  session.update_row(session.goods, row, std::span(columns).first(1), std::span(values).first(1));
  EXPECT_EQ(session.log, (Log{"insert", "update"}));
}

TEST(EverySession, TakesNothingButARollbackOnceItsTransactionIsLost) {
  WritingSession session;
  session.start_transaction();
  session.lose_transaction("The disk is full");
  const RaisedError refused{kStoreFailure,
                            "Test store",
                            "This transaction can only be rolled back: the store undid it after a failure. The disk is "
                            "full",
                            {},
                            0};
  EXPECT_EQ(failure_of([&] { session.execute(Sql("SELECT 'no end")); }), refused);
  const std::size_t assigned[] = {0};
  const Variant values[] = {Variant(7)};
  RowIdentity row;
  EXPECT_EQ(failure_of([&] { session.insert_row(session.goods, assigned, values); }), refused);
  EXPECT_EQ(failure_of([&] { session.update_row(session.goods, row, assigned, values); }), refused);
  EXPECT_FALSE(session.unused());
  session.rollback();
  session.execute(Sql("SELECT 1"));
  EXPECT_EQ(session.log, (Log{"start", "seen SELECT 'no end", "roll back", "seen SELECT 1", "before", "run SELECT 1"}));
}

TEST(EverySession, ForgetsALostTransactionBeforeItsNextUser) {
  WritingSession session;
  session.lose_transaction("The disk is full");
  EXPECT_TRUE(session.reset());
  session.log.clear();
  session.execute(Sql("SELECT 1"));
  EXPECT_EQ(session.log, (Log{"seen SELECT 1", "before", "run SELECT 1"}));
}

TEST(EverySession, FailsTheCommitOfALostTransactionAndRollsItBack) {
  WritingSession session;
  session.start_transaction();
  session.lose_transaction("The disk is full");
  EXPECT_EQ(failure_of([&] { session.commit(); }),
            (RaisedError{kStoreFailure,
                         "Test store",
                         "Nothing of this transaction stands: the store undid it after a failure. The disk is full",
                         {},
                         0}));
  session.commit();
  EXPECT_EQ(session.log, (Log{"start", "roll back", "commit"}));
}

TEST(Upkeep, IsForStoresInFilesOnly) {
  EXPECT_EQ(failure_of([] { upkeep_of(empty_driver(), "anything"); }),
            (RaisedError{kFeatureNotAvailable,
                         "Mercato",
                         "A store on a server is backed up and restored by the server's own programs. Its "
                         "documentation names them",
                         {},
                         0}));
  EXPECT_NE(driver_for("Provider=SQLite").upkeep(), nullptr);
}

TEST(EmptyDriver, TakesEverythingAndFindsNothing) {
  const std::unique_ptr<Session> session = empty_driver().open("anything");
  const Execution result = test::run(*session, "SELECT * FROM ANYWHERE");
  EXPECT_FALSE(result.cursor->next());
  EXPECT_EQ(session->table("ANYWHERE"), nullptr);
  EXPECT_FALSE(session->has_index("ANYWHERE", "ANY"));
  EXPECT_TRUE(session->reset());
  EXPECT_FALSE(session->outdated());
}

}  // namespace
}  // namespace mercato::store
