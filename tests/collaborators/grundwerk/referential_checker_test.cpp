// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/referential_checker.h"

#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "mercato/reference_rules.h"
#include "mercato/registry.h"
#include "platform/store/unit_of_work.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

// Stands in for the owner of products, and of other rows.
class ScriptedOwner : public ComponentOf<ScriptedOwner> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<ScriptedOwner>("Mercato.Product", "{00000000-0000-0000-0000-000000000001}",
                                      TransactionAttribute::undeclared)
            .implements_referential_integrity(&ScriptedOwner::BeforeDelete, &ScriptedOwner::Exists);
    return table;
  }
  static inline bool answer = false;
  static inline std::vector<std::vector<Variant>> asked;

  bool BeforeDelete(const Variant& unread, const Array& fields, const Array& values) {
    asked.push_back({"BeforeDelete", unread, fields, values});
    return answer;
  }
  bool Exists(const Variant& unread, const Array& fields, const Array& values) {
    asked.push_back({"Exists", unread, fields, values});
    return answer;
  }
};

class ReferentialCheckerTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    register_class(ScriptedOwner::table());
    ScriptedOwner::asked.clear();
  }
  void TearDown() override {
    unregister_class(ScriptedOwner::table());
    set_reference_rules(default_reference_rules());
    test::StoreTest::TearDown();
  }
  bool references(const std::string& table, const Array& fields, const Array& values) {
    return checker_.CheckReferences(table, fields, values);
  }
  bool may_go(const std::string& table, const std::string& field, const Variant& value) {
    return checker_.CheckBeforeDelete(table, Array{field}, Array{value});
  }
  mercato::grundwerk::ReferentialChecker checker_;
};

TEST_F(ReferentialCheckerTest, AProductNeedsItsPartnerAndItsUser) {
  execute({"INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('NL-100')", "INSERT INTO USERS (USERID) VALUES ('anna')",
           "INSERT INTO USERS (USERID) VALUES ('O''Neil')"});
  const struct {
    Variant partner;
    Variant user;
    bool resolves;
  } cases[] = {
      {std::int32_t{1}, "anna", true},
      {"1", "ANNA", true},
      {std::int32_t{1}, "O'Neil", true},
      {kNull, kNull, true},
      {Variant(), "", true},
      {std::int32_t{2}, "anna", false},
      {std::int32_t{0}, kNull, false},
      {std::int32_t{1}, "bert", false},
      {kNull, "' OR 'a'='a", false},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(references("PRODUCT", Array{"BUSINESSPARTNERID", "USERID"}, Array{row.partner, row.user}), row.resolves)
        << row.partner.type_name() << " and " << row.user.type_name();
    EXPECT_EQ(references("product", Array{"UserID", "businessPartnerId"}, Array{row.user, row.partner}), row.resolves)
        << "in another case and order";
  }
}

TEST_F(ReferentialCheckerTest, OnlyTheGivenFieldsAreAskedFor) {
  EXPECT_TRUE(references("PRODUCT", Array{"PARTNUMBER"}, Array{"A-1"}));
  EXPECT_TRUE(references("PRODUCT", Array{}, Array{}));
  EXPECT_TRUE(references("UNKNOWN", Array{"USERID"}, Array{"nobody"}));
}

TEST_F(ReferentialCheckerTest, ArraysMayBeginAnywhere) {
  execute({"INSERT INTO USERS (USERID) VALUES ('anna')"});
  EXPECT_TRUE(references("PRODUCT", Array({"X", "USERID"}, 1), Array({"nobody", "anna"}, 1)));
  EXPECT_FALSE(references("PRODUCT", Array({"X", "USERID"}, 1), Array({"anna", "nobody"}, 1)));
}

TEST_F(ReferentialCheckerTest, AFieldWithoutAValueIsAFailure) {
  EXPECT_EQ(raised_by([&] {
              references("PRODUCT", Array{"X", "USERID"}, Array{"anna"});
            }).Number,
            error_number::kSubscriptOutOfRange);
}

TEST_F(ReferentialCheckerTest, APartnerThatIsNoNumberIsAFailure) {
  EXPECT_EQ(raised_by([&] { references("PRODUCT", Array{"BUSINESSPARTNERID"}, Array{"none"}); }).Number,
            error_number::kTypeMismatch);
}

TEST_F(ReferentialCheckerTest, APriceNeedsItsCurrency) {
  execute({"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
  EXPECT_TRUE(references("CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{"EUR"}));
  EXPECT_TRUE(references("CatalogProductPrice", Array{"CurrencyCode"}, Array{"eur"}));
  EXPECT_TRUE(references("CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{kNull}));
  EXPECT_FALSE(references("CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{"USD"}));
}

TEST_F(ReferentialCheckerTest, TheProductOfABuyerIsAskedOfTheClassThatOwnsProducts) {
  execute({"INSERT INTO USERS (USERID) VALUES ('anna')"});
  for (const bool answer : {true, false}) {
    ScriptedOwner::answer = answer;
    ScriptedOwner::asked.clear();
    EXPECT_EQ(references("PRODUCTBUYER", Array{"ProductId", "USERID"}, Array{std::int32_t{5}, "anna"}), answer);
    EXPECT_EQ(ScriptedOwner::asked,
              (std::vector<std::vector<Variant>>{{"Exists", Variant(), Array{"PRODUCTID"}, Array{std::int32_t{5}}}}));
  }
  ScriptedOwner::answer = true;
  EXPECT_FALSE(references("PRODUCTBUYER", Array{"PRODUCTID", "USERID"}, Array{std::int32_t{5}, "bert"}));
}

TEST_F(ReferentialCheckerTest, ABuyerWithoutAProductIdAsksNobody) {
  EXPECT_TRUE(references("PRODUCTBUYER", Array{"PRODUCTID", "USERID"}, Array{kNull, kNull}));
  EXPECT_TRUE(ScriptedOwner::asked.empty());
}

TEST_F(ReferentialCheckerTest, ARowThatIsReferredToHasToStay) {
  const struct {
    const char* table;
    const char* field;
    Variant key;
    const char* dependent;  // refers to it
    const char* clear;
  } cases[] = {
      {"COMMODITY", "COMMODITYCODE", "C'1",
       "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, COMMODITYCODE) VALUES ('P', 'P', 'C''1')",
       "DELETE FROM PRODUCT"},
      {"UNIT", "UNITCODE", "KG",
       "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE) VALUES ('P', 'P', 'kg')", "DELETE FROM PRODUCT"},
      {"PROPERTY", "PROPERTYID", std::int32_t{3}, "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID) VALUES (3, 1)",
       "DELETE FROM PRODUCTPROPVALUE"},
      {"PROPERTYGROUP", "PROPERTYGROUPID", std::int32_t{4},
       "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID) VALUES ('P', 'P', 4)",
       "DELETE FROM PRODUCT"},
      {"PROPERTYGROUP", "PROPERTYGROUPID", std::int32_t{4},
       "INSERT INTO COMMODITY (COMMODITYCODE, PROPERTYGROUPID) VALUES ('C', 4)", "DELETE FROM COMMODITY"},
      {"PROPERTYGROUP", "PROPERTYGROUPID", std::int32_t{4},
       "INSERT INTO USERS (USERID, PROPERTYGROUPID) VALUES ('anna', 4)", "DELETE FROM USERS"},
      {"UNSPSCCodes", "UNSPSCCode", "1020",
       "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('P', 'P', '1020')",
       "DELETE FROM PRODUCT"},
      {"UNSPSCCodes", "UNSPSCCode", "1020",
       "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('C', '1020')", "DELETE FROM PRODUCTCATEGORY"},
      {"PRODUCTCATEGORY", "CATEGORYID", std::int32_t{6}, "INSERT INTO FAQISSUE (PRODUCTCATEGORYID) VALUES (6)",
       "DELETE FROM FAQISSUE"},
      {"PRODUCT", "ProductID", std::int32_t{7}, "INSERT INTO FAQISSUE (PRODUCTID) VALUES (7)", "DELETE FROM FAQISSUE"},
  };
  for (const auto& row : cases) {
    EXPECT_TRUE(may_go(row.table, row.field, row.key)) << "nothing refers to " << row.table;
    execute({row.dependent});
    EXPECT_FALSE(may_go(row.table, row.field, row.key)) << row.dependent;
    EXPECT_TRUE(may_go(row.table, row.field, row.key.is_text() ? Variant("other") : Variant(std::int32_t{99})))
        << row.dependent;
    EXPECT_TRUE(may_go(row.table, row.field, kNull)) << row.dependent;
    execute({row.clear});
  }
}

// Its owner deletes a UNSPSC code without the blanks around it; of a unit they are a part.
TEST_F(ReferentialCheckerTest, ACodeIsLookedForWithoutTheBlanksAroundItAndATextWithThem) {
  execute(
      {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE, UNITCODE) VALUES ('P', 'P', '1020', 'KG')"});
  EXPECT_FALSE(may_go("UNSPSCCODES", "UNSPSCCODE", " 1020 "));
  EXPECT_TRUE(may_go("UNSPSCCODES", "UNSPSCCODE", "10 20"));
  EXPECT_FALSE(may_go("UNIT", "UNITCODE", "KG "));
  EXPECT_TRUE(may_go("UNIT", "UNITCODE", " KG"));
}

TEST_F(ReferentialCheckerTest, TheCheckSeesWhatItsTransactionHasWritten) {
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  const store::UnitOfWork::Current current(&unit);
  execute({"INSERT INTO FAQISSUE (PRODUCTID) VALUES (7)"});
  EXPECT_FALSE(may_go("PRODUCT", "PRODUCTID", std::int32_t{7}));
}

TEST_F(ReferentialCheckerTest, WithoutConfiguredOwnersNothingStandsInTheWayOfADelete) {
  EXPECT_TRUE(checker_.RunBeforeDelete("Product", Array{"ProductID"}, Array{std::int32_t{5}}));
  EXPECT_TRUE(ScriptedOwner::asked.empty());
}

TEST_F(ReferentialCheckerTest, AConfiguredOwnerOfDependentRowsMayRefuse) {
  ReferenceRules rules = default_reference_rules();
  rules.dependents["PRODUCT"] = {"Mercato.Product"};
  set_reference_rules(rules);
  for (const bool answer : {true, false}) {
    ScriptedOwner::answer = answer;
    ScriptedOwner::asked.clear();
    EXPECT_EQ(checker_.RunBeforeDelete("Product", Array{"ProductID"}, Array{std::int32_t{5}}), answer);
    EXPECT_EQ(
        ScriptedOwner::asked,
        (std::vector<std::vector<Variant>>{{"BeforeDelete", Variant(), Array{"ProductID"}, Array{std::int32_t{5}}}}));
  }
}

TEST_F(ReferentialCheckerTest, ADeploymentCanAddARule) {
  ASSERT_TRUE(references("PRODUCT", Array{"UNITCODE"}, Array{"KG"}));
  ReferenceRules rules = *reference_rules();
  rules.references.push_back({"PRODUCT", "UNITCODE", "UNIT", "UNITCODE", KeyKind::text, Checked::before_write});
  set_reference_rules(rules);
  EXPECT_FALSE(references("PRODUCT", Array{"UNITCODE"}, Array{"KG"}));
}

// What hosts say of a refusal

TEST_F(ReferentialCheckerTest, RowsThatReferAreCountedForEachRule) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID) VALUES ('A', 'a', 5)",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID) VALUES ('B', 'b', 5)",
           "INSERT INTO USERS (USERID, PROPERTYGROUPID) VALUES ('anna', 5)"});
  const auto referring = rows_that_refer("propertygroup", 5);
  ASSERT_EQ(referring.size(), 2u);
  EXPECT_EQ(referring[0].reference.from_table, "PRODUCT");
  EXPECT_EQ(referring[0].rows, 2);
  EXPECT_EQ(referring[1].reference.from_table, "USERS");
  EXPECT_EQ(referring[1].rows, 1);
  EXPECT_TRUE(rows_that_refer("PROPERTYGROUP", 6).empty());
  EXPECT_TRUE(rows_that_refer("NOWHERE", 5).empty());
  EXPECT_FALSE(may_go("PROPERTYGROUP", "PROPERTYGROUPID", 5));
}

// The count asked for the code as given, and said nothing of a product that the checker refused for.
TEST_F(ReferentialCheckerTest, RowsThatReferToACodeAreCountedWithAndWithoutItsBlanks) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('A', 'a', '44101501')"});
  ASSERT_EQ(rows_that_refer("UNSPSCCODES", " 44101501").size(), 1u);
  EXPECT_EQ(rows_that_refer("UNSPSCCODES", " 44101501")[0].rows, 1);
  EXPECT_FALSE(may_go("UNSPSCCODES", "UNSPSCCODE", " 44101501"));
}

TEST_F(ReferentialCheckerTest, TheReferenceThatLeadsNowhereIsTold) {
  execute({"INSERT INTO USERS (USERID) VALUES ('anna')"});
  const auto unresolved = unresolved_reference("product", "userid", "bert");
  ASSERT_TRUE(unresolved);
  EXPECT_EQ(unresolved->to_table, "USERS");
  EXPECT_FALSE(unresolved_reference("PRODUCT", "USERID", "anna"));
  EXPECT_FALSE(unresolved_reference("PRODUCT", "USERID", kNull));
  EXPECT_TRUE(unresolved_reference("PRODUCT", "BUSINESSPARTNERID", 7));
  EXPECT_FALSE(unresolved_reference("PRODUCT", "BUSINESSPARTNERID", "-1"));
  EXPECT_FALSE(unresolved_reference("PRODUCT", "UNITCODE", "QQ"));  // no rule asks for it
}

}  // namespace
}  // namespace mercato::collaborators
