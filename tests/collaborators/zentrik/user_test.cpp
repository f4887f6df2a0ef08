// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

class UserTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    execute({"INSERT INTO USERS (USERID, ISACTIVE, ISBUYER, PROPERTYGROUPID) VALUES ('anna', 1, 1, 7)",
             "INSERT INTO USERS (USERID, ISACTIVE, ISBUYER, PROPERTYGROUPID) VALUES ('bert', 0, 1, NULL)",
             "INSERT INTO USERS (USERID, ISACTIVE, ISBUYER, PROPERTYGROUPID) VALUES ('carl', 1, 0, 0)",
             "INSERT INTO USERS (USERID) VALUES ('dora')",
             "INSERT INTO USERS (USERID, ISACTIVE, ISBUYER, PROPERTYGROUPID) VALUES ('O''Neil', 1, 1, 9)"});
  }
  mercato::zentrik::User user_;
};

TEST_F(UserTest, TheFirstQuestionIsWhetherTheUserIsActive) {
  EXPECT_TRUE(user_.BuyerCheckFirst("anna"));
  EXPECT_TRUE(user_.BuyerCheckFirst("ANNA"));
  EXPECT_TRUE(user_.BuyerCheckFirst("carl"));
  EXPECT_TRUE(user_.BuyerCheckFirst("O'Neil"));
  EXPECT_FALSE(user_.BuyerCheckFirst("bert"));
  EXPECT_FALSE(user_.BuyerCheckFirst("dora"));
  EXPECT_FALSE(user_.BuyerCheckFirst("nobody"));
  EXPECT_FALSE(user_.BuyerCheckFirst(""));
}

TEST_F(UserTest, TheSecondQuestionIsWhetherTheUserOfTheSecondArgumentIsABuyer) {
  EXPECT_TRUE(user_.BuyerCheckSecond("carl", "anna"));
  EXPECT_TRUE(user_.BuyerCheckSecond("nobody", "bert"));
  EXPECT_TRUE(user_.BuyerCheckSecond("", "O'Neil"));
  EXPECT_FALSE(user_.BuyerCheckSecond("anna", "carl"));
  EXPECT_FALSE(user_.BuyerCheckSecond("anna", "dora"));
  EXPECT_FALSE(user_.BuyerCheckSecond("anna", "nobody"));
}

TEST_F(UserTest, AUserWithoutAGroupHasGroupZero) {
  EXPECT_EQ(user_.GetUserPropertyGroup("anna"), 7);
  EXPECT_EQ(user_.GetUserPropertyGroup("O'Neil"), 9);
  EXPECT_EQ(user_.GetUserPropertyGroup("bert"), 0);
  EXPECT_EQ(user_.GetUserPropertyGroup("carl"), 0);
  EXPECT_EQ(user_.GetUserPropertyGroup("nobody"), 0);
}

TEST_F(UserTest, ItsStatementsAreNotTheLibrarysOwn) {
  test::Recorder recorder;
  user_.BuyerCheckFirst("anna");
  EXPECT_EQ(recorder.statements, std::vector<std::string>());
}

}  // namespace
}  // namespace mercato::collaborators
