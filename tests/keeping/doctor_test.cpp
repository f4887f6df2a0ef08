// SPDX-License-Identifier: Apache-2.0
// What the doctor finds, and that what it names mends it.
#include "keeping/doctor.h"

#include <map>

#include "mercato/clock.h"
#include "tests/keeping/keeping_fixture.h"

namespace mercato::test {
namespace {

class Doctor : public KeepingTest {
 protected:
  void SetUp() override {
    KeepingTest::SetUp();
    clock::script_clock(*Date::parse("2026-07-01"), 0);
    execute(
        {"INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, LEVEL, VIEWONLY, ISPROFILE) VALUES (N'ann', 1, 0, 0, 0), "
         "(N'bob', 1, 0, 0, 0)",
         "INSERT INTO CURRENCY (CURRENCYCODE) VALUES (N'EUR')"});
  }
  static std::map<std::string, keeping::Finding> findings() {
    std::map<std::string, keeping::Finding> found;
    for (keeping::Finding& finding : keeping::examine(keeping::kUsualDays)) found.emplace(finding.name, finding);
    return found;
  }
};

TEST_F(Doctor, FindsNothingWhereAllIsInOrder) { EXPECT_TRUE(findings().empty()); }

TEST_F(Doctor, FindsProductsThatNobodySeesAndNumbersOfSeveral) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'p-1', N'Twin')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, DISABLED) VALUES (N'Z', N'Hidden', 1)"});
  const auto found = findings();
  ASSERT_EQ(found.size(), 2U);
  const keeping::Finding& lost = found.at("productsInNoCategory");
  EXPECT_EQ(lost.count, 1U);
  EXPECT_EQ(lost.examples, (std::vector<std::string>{"id:4 p-1"}));
  EXPECT_EQ(lost.mend, "mercato category add CATEGORY PRODUCT...");
  EXPECT_EQ(found.at("doubledPartNumbers").count, 1U);
  EXPECT_EQ(found.at("doubledPartNumbers").examples.at(0).substr(3), ", 2 products");
}

TEST_F(Doctor, FindsUsersWithoutRightsAndRightsThatWereNotLaidOut) {
  execute({"INSERT INTO USERS (USERID, ISACTIVE) VALUES (N'cyd', 1), (N'dan', 0)",
           "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY, ISPROFILE) VALUES "
           "(N'bob', 1, 4, 1, 0, 0)"});
  const auto found = findings();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found.at("usersWithoutRights").examples, (std::vector<std::string>{"cyd"}));
  EXPECT_EQ(found.at("rightsNotLaidOut").examples, (std::vector<std::string>{"bob"}));
}

TEST_F(Doctor, FindsPricesThatEndWithinItsDays) {
  const std::string line =
      "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, CURRENCYCODE, PRICEEXPIRYDATE, "
      "PRICE) "
      "VALUES ";
  execute({line + "(1, '2026-01-01', 9, N'EUR', '2026-07-31', 1)",
           line + "(1, '2026-01-01', 99, N'EUR', '2026-08-01', 1)",
           line + "(2, '2026-01-01', 9, N'EUR', '2026-06-30', 1)", line + "(3, '2026-01-01', 9, N'EUR', NULL, 1)"});
  const auto found = findings();
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.at("pricesThatEnd").count, 1U);
  EXPECT_EQ(found.at("pricesThatEnd").examples, (std::vector<std::string>{"id:1 P-1 up to 9 on 2026-07-31"}));
  EXPECT_EQ(keeping::examine(31).at(0).count, 2U);
}

TEST_F(Doctor, MendsReferencesThatLeadNowhere) {
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES (N'ann', 99, 0, 1), (N'ann', 1, 8, 1)",
           "UPDATE PRODUCT SET BUSINESSPARTNERID = 77 WHERE PRODUCTID = 3",
           "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, CURRENCYCODE, PRICE) VALUES "
           "(1, '2026-01-01', 9, N'XXX', 1)"});
  std::map<std::string, keeping::Finding> by_words;
  for (const keeping::Finding& finding : keeping::examine(keeping::kUsualDays))
    by_words.emplace(finding.words, finding);
  ASSERT_EQ(by_words.size(), 4U);
  EXPECT_EQ(by_words.at("FAVORITES.PRODUCTID leads to no row of PRODUCT").mend,
            "mercato doctor --mend FAVORITES.PRODUCTID");
  EXPECT_EQ(by_words.at("PRODUCT.BUSINESSPARTNERID leads to no row of BUSINESSPARTNER").examples,
            (std::vector<std::string>{"PRODUCTID 3, BUSINESSPARTNERID 77"}));
  EXPECT_EQ(by_words.at("CATALOGPRODUCTPRICE.CURRENCYCODE leads to no row of CURRENCY").mend,
            "add the row of CURRENCY");
  EXPECT_EQ(kept([] { return keeping::mend_references("favorites.productid"); }), 1U);
  EXPECT_EQ(kept([] { return keeping::mend_references("FAVORITES.FOLDERID"); }), 1U);
  EXPECT_EQ(kept([] { return keeping::mend_references("PRODUCT.BUSINESSPARTNERID"); }), 1U);
  EXPECT_EQ(rows("SELECT USERID, PRODUCTID, FOLDERID FROM FAVORITES"), (Table{{"ann", 1, 0}}));
  EXPECT_EQ(rows("SELECT PRODUCTID, BUSINESSPARTNERID FROM PRODUCT ORDER BY PRODUCTID"),
            (Table{{1, 1}, {2, kNull}, {3, kNull}}));
  EXPECT_EQ(refusal_of([] { keeping::mend_references("CATALOGPRODUCTPRICE.CURRENCYCODE"); }),
            "CATALOGPRODUCTPRICE.CURRENCYCODE cannot be cleared: add the rows of CURRENCY");
  EXPECT_EQ(refusal_of([] { keeping::mend_references("PRODUCT.COLOUR"); }),
            "PRODUCT.COLOUR is no reference between tables; `mercato doctor` names those that lead nowhere");
}

}  // namespace
}  // namespace mercato::test
