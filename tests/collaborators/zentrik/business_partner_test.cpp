// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

class BusinessPartnerTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    execute({"INSERT INTO BUSINESSPARTNER (BUSINESSID, DEFAULTBUYER) VALUES ('NL-100', 'anna')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('D''Arc')"});
  }
  mercato::zentrik::BusinessPartner partner_;
};

TEST_F(BusinessPartnerTest, APartnerIsFoundByBusinessIdInAnyCase) {
  EXPECT_EQ(partner_.GetBusinessPartnerID("NL-100"), Variant(std::int32_t{1}));
  EXPECT_EQ(partner_.GetBusinessPartnerID("nl-100"), Variant(std::int32_t{1}));
  EXPECT_EQ(partner_.GetBusinessPartnerID("D'Arc"), Variant(std::int32_t{2}));
}

TEST_F(BusinessPartnerTest, NobodyIsMinusOne) {
  EXPECT_EQ(partner_.GetBusinessPartnerID("NL-101"), Variant(std::int32_t{-1}));
  EXPECT_EQ(partner_.GetBusinessPartnerID(""), Variant(std::int32_t{-1}));
}

TEST_F(BusinessPartnerTest, TheDefaultBuyerMayBeEmpty) {
  EXPECT_EQ(partner_.GetPartnerDefaultBuyer(std::int32_t{1}), "anna");
  EXPECT_EQ(partner_.GetPartnerDefaultBuyer("1"), "anna");
  EXPECT_EQ(partner_.GetPartnerDefaultBuyer(std::int32_t{2}), "");
  EXPECT_EQ(partner_.GetPartnerDefaultBuyer(std::int32_t{99}), "");
  EXPECT_EQ(partner_.GetPartnerDefaultBuyer(kNull), "");
}

TEST_F(BusinessPartnerTest, APartnerIdThatIsNoNumberIsAFailure) {
  EXPECT_EQ(raised_by([&] { partner_.GetPartnerDefaultBuyer("1 OR 1=1"); }).Number, error_number::kTypeMismatch);
}

}  // namespace
}  // namespace mercato::collaborators
