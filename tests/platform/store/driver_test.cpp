#include "platform/store/driver.h"

#include <gtest/gtest.h>

#include "platform/store/empty/driver.h"
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
  EXPECT_EQ(
      failure_of([] { driver_for("Provider=Nosuch;Data Source=x"); }),
      (RaisedError{kStoreFailure, "Mercato", "There is no store provider 'Nosuch'. Known providers: SQLite", {}, 0}));
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
