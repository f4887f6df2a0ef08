// SPDX-License-Identifier: Apache-2.0
// What is offered to somebody who begins to write an id or a name.
#include "keeping/known_names.h"

#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using keeping::Named;

class KnownNames : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO USERS (USERID, USERNAME) VALUES (N'ann', N'Ann')",
             "INSERT INTO USERS (USERID) VALUES (N'O''Neil')",
             "INSERT INTO USERS (USERID, USERNAME) VALUES (N'Anton', N'Toni')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES (N'ACME', N'Acme')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES (N'BETA')",
             "INSERT INTO CATALOG (CATALOGNAME) VALUES (N'House')",
             "INSERT INTO CATALOG (CATALOGNAME) VALUES (N'Huts')",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES (N'100 % wool')"});
  }
  std::string beginning(Named kind, const std::string& begin, std::size_t most = 10) const {
    std::string list;
    for (const keeping::KnownName& name : keeping::names_beginning(connection_string(), kind, begin, most))
      list += name.word + "=" + name.description + ";";
    return list;
  }
};

TEST_F(KnownNames, BeginWithTheTextInAnyCase) {
  EXPECT_EQ(beginning(Named::users, ""), "ann=Ann;Anton=Toni;O'Neil=;");
  EXPECT_EQ(beginning(Named::users, "AN"), "ann=Ann;Anton=Toni;");
  EXPECT_EQ(beginning(Named::users, "o'"), "O'Neil=;");
  EXPECT_EQ(beginning(Named::users, "x"), "");
  EXPECT_EQ(beginning(Named::suppliers, ""), "1=Acme;2=;");
  EXPECT_EQ(beginning(Named::suppliers, "2"), "2=;");
  EXPECT_EQ(beginning(Named::catalogs, "h"), "House=1;Huts=2;");
  EXPECT_EQ(beginning(Named::catalogs, "ho"), "House=1;");
  EXPECT_EQ(beginning(Named::categories, "100 %"), "100 % wool=1;");
}

TEST_F(KnownNames, OfCatalogsAndCategoriesAreNumbersWhereOneIsBegun) {
  EXPECT_EQ(beginning(Named::catalogs, "2"), "2=Huts;");
  EXPECT_EQ(beginning(Named::categories, "1"), "1=100 % wool;");
}

TEST_F(KnownNames, AreNoMoreThanAreWanted) { EXPECT_EQ(beginning(Named::users, "", 1), "ann=Ann;"); }

}  // namespace
}  // namespace mercato::test
