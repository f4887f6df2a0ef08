// SPDX-License-Identifier: Apache-2.0
// What servers report, in the library's numbers and words.
#include "platform/store/odbc/odbc_failure.h"

#include <gtest/gtest.h>

namespace mercato::store::odbc {
namespace {

using namespace error_number;

constexpr const char* kServer = "the server 'db'";

struct Case {
  const char* state;
  std::int32_t native;
  const char* words;
  std::int32_t number;
  const char* description;
};

TEST(OdbcFailure, OfATsqlServerIsKnownByItsNumber) {
  const TableInfo unit{"UNIT", {{.name = "UNITCODE", .type = ColumnType::text, .width = 50}}, {}};
  for (const Case& each : {
           Case{
               "23000", 515,
               "Cannot insert the value NULL into column 'NAME', table 'shop.dbo.PRODUCT'; column does not allow nulls",
               kConstraintViolated,
               "PRODUCT.NAME may not be Null (Cannot insert the value NULL into column 'NAME', table "
               "'shop.dbo.PRODUCT'; column does not allow nulls)"},
           {"23000", 547, "w", kConstraintViolated, "The change violates a constraint of the store (w)"},
           {"23000", 2601, "w", kConstraintViolated, "There is already a row with this key (w)"},
           {"23000", 2627, "w", kConstraintViolated, "There is already a row with this key (w)"},
           {"22001", 8152, "w", kValueTooLong, "The value is too long (w)"},
           {"22001", 2628, "would be truncated in table 'shop.dbo.UNIT', column 'UNITCODE'", kValueTooLong,
            "The value is too long: column UNIT.UNITCODE takes at most 50 characters"},
           {"22003", 8115, "w", kValueTooLong, "A value is out of the range of its column in UNIT (w)"},
           {"40001", 1205, "w", kStoreFailure,
            "Two transactions waited for each other on the server 'db', and this one was undone. Repeat the call (w)"},
           {"HYT00", 1222, "w", kStoreFailure,
            "Another process or connection holds what is to be changed on the server 'db', and did not let go of it "
            "in time (w)"},
           {"22018", 245, "w", kStatementRefused, "The store refused the statement: w"},
           {"22018", 241, "w", kStatementRefused, "The store refused the statement: w"},
           {"42000", 8114, "w", kStatementRefused, "The store refused the statement: w"},
           {"42000", 102, "w", kStatementRefused, "The store refused the statement: w"},
           {"42S02", 208, "w", kStatementRefused, "The store refused the statement: w"},
           {"42000", 229, "w", kStoreFailure,
            "The user of the connection may not do this on the server 'db'. Give it the right to (w)"},
           {"42000", 9002, "w", kStoreFailure,
            "The disk of the server 'db' is full. Free some space, then repeat the call (w)"},
           {"25000", 3906, "w", kStoreFailure,
            "The server 'db' takes no changes from this user, or is a copy. Connect to one that takes them (w)"},
           {"42000", 99999, "w", kStatementRefused, "The store refused the statement: w"},
           {"23000", 0, "w", kConstraintViolated, "The change violates a constraint of the store (w)"},
           {"HY000", 99999, "w", kStoreFailure, "The server 'db' reported a failure (w)"},
       }) {
    const RaisedError failure = failure_of_tsql({each.state, each.native, each.words}, kServer, &unit);
    EXPECT_EQ(failure.Number, each.number) << each.state << " " << each.native;
    EXPECT_EQ(failure.Description, each.description);
  }
}

TEST(OdbcFailure, OfAPostgresqlServerIsKnownByItsState) {
  const TableInfo unit{"UNIT", {{.name = "UNITCODE", .type = ColumnType::text, .width = 50}}, {}};
  for (const Case& each : {
           Case{"23505", 1, "w", kConstraintViolated, "There is already a row with this key (w)"},
           {"23502", 1, "null value in column \"A\" of relation \"T\" violates not-null constraint",
            kConstraintViolated,
            "T.A may not be Null (null value in column \"A\" of relation \"T\" violates not-null constraint)"},
           {"23514", 1, "new row for relation \"UNIT\" violates check constraint \"width of UNITCODE\"", kValueTooLong,
            "The value is too long: column UNIT.UNITCODE takes at most 50 characters"},
           {"42P01", 1, "w", kStatementRefused, "The store refused the statement: w"},
           {"HY000", 1, "w", kStoreFailure, "The server 'db' reported a failure (w)"},
       }) {
    const RaisedError failure = failure_of_postgresql({each.state, each.native, each.words}, kServer, &unit);
    EXPECT_EQ(failure.Number, each.number) << each.state;
    EXPECT_EQ(failure.Description, each.description);
  }
}

TEST(OdbcFailure, LeavesOutWhoPassedTheWordsOn) {
  EXPECT_EQ(words_of_server("[FreeTDS][SQL Server]Invalid object name 'T'."), "Invalid object name 'T'");
  EXPECT_EQ(words_of_server("ERROR: relation \"t\" does not exist;\nError while executing the query"),
            "relation \"t\" does not exist");
  EXPECT_EQ(
      words_of_server("ERROR: doubled\nDETAIL: Key (\"A\")=(x) already exists.;\nError while executing the query"),
      "doubled");
  EXPECT_EQ(words_of_server("two\nlines."), "two lines");
}

}  // namespace
}  // namespace mercato::store::odbc
