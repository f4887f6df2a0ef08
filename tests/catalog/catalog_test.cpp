// SPDX-License-Identifier: Apache-2.0
#include "mercato/catalog.h"

#include <gtest/gtest.h>

#include "tests/catalog/catalog_fixture.h"

namespace mercato::test {
namespace {

class CatalogClasses : public CatalogTest {
 protected:
  bool exists(const Array& fields, const Array& values) {
    return invoke(t_catalog_.object(), "IReferentialIntegrity_Exists", {Variant(), fields, values}).to_boolean();
  }
};

TEST_F(CatalogClasses, OnlyTheWritingHalfRequiresATransaction) {
  EXPECT_EQ(Catalog::table().attribute(), TransactionAttribute::none);
  EXPECT_EQ(TCatalog::table().attribute(), TransactionAttribute::required);
}

TEST_F(CatalogClasses, WritingThroughTheReadingHalfIsRefusedWithTheNameOfTheOther) {
  const struct {
    std::string method;
    std::vector<Variant> arguments;
    std::string named = {};  // the name in the text, where it is spelled in another way
  } cases[] = {
      {"CopyCatalog", {1, 1, "copy"}},
      {"InsertProductCategory", {Array{"CATEGORYNAME"}, Array{"tools"}}},
      {"UpdateProductCategory", {Array{"CATEGORYID"}, Array{1}}},
      {"DeleteProductCategory", {1}},
      {"InsertFavoriteFolder", {Array{"FOLDERNAME"}, Array{"tools"}}, "InsertFavouriteFolder"},
      {"UpdateFavoriteFolderName", {1, "u", "tools"}},
      {"DeleteFavoriteFolder", {1, "u"}},
      {"ClearUserCatalogIDs", {"u"}},
      {"ClearUserCatalogIDs", {"u", true}},
      {"UpdateUserCatalogIDs", {"u", Array{1}}},
      {"PopulateUserNodes", {"u"}},
      {"InsertCatalogNodeByBP", {1, 1, "1;2"}},
      {"UpdateCatalogNodeByBP", {1, 1, "1;2"}},
      {"DeleteCatalogNodeByBP", {1, 1}},
      {"IReferentialIntegrity_BeforeDelete", {Variant(), Array{"CATEGORYID"}, Array{1}}},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"CATEGORYID"}, Array{1}}},
  };
  add_category("tools");
  execute({"INSERT INTO CATALOG (CATALOGNAME) VALUES ('tools')",
           "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID) VALUES ('u', 1)",
           "INSERT INTO FAVORITEFOLDERS (FOLDERNAME, USERID) VALUES ('folder', 'u')",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (1, 1, 1)"});
  const auto before = all_rows();
  for (const auto& row : cases) {
    SCOPED_TRACE(row.method);
    Recorder recorder;
    std::vector<Variant> arguments = row.arguments;
    const FailureTrail expected =
        trail({-1, "Mercato", "Application-defined or object-defined error", "", 0},
              {{"This method is depricated, Use Mercato.TCatalog." + (row.named.empty() ? row.method : row.named)}});
    EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), row.method, arguments); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(read_vote(), Vote::none);
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(CatalogClasses, AnythingMayGoBeforeADelete) {
  Recorder recorder;
  EXPECT_EQ(invoke(t_catalog_.object(), "IReferentialIntegrity_BeforeDelete", {Variant(), Array{}, Array{}}),
            Variant(true));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(CatalogClasses, ACategoryExistsByItsIdInAnyCase) {
  add_category("tools");
  Recorder recorder;
  EXPECT_TRUE(exists(Array{"CategoryId"}, Array{1}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(exists(Array(std::vector<Variant>{"CATEGORYID", "NOCOLUMN"}, 1), Array(std::vector<Variant>{"2"}, 1)));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CategoryId = 1",
                                             "SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID = 2"}));
}

TEST_F(CatalogClasses, ABusinessPartnerExistsWhenANodeIsTiedToIt) {
  execute({"INSERT INTO CATALOGNODEBYBP (CATALOGID, BUSINESSPARTNERID) VALUES (5, 7)"});
  Recorder recorder;
  EXPECT_TRUE(exists(Array{"businesspartnerid"}, Array{7}));
  EXPECT_FALSE(exists(Array{"BUSINESSPARTNERID"}, Array{8}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE businesspartnerid = 7",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE BUSINESSPARTNERID = 8"}));
}

TEST_F(CatalogClasses, NothingExistsForEmptyArrays) {
  Recorder recorder;
  EXPECT_FALSE(exists(Array{}, Array{}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(CatalogClasses, AskedForAnotherFieldTheStoreRefusesTheEmptyStatement) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { exists(Array{"PRODUCTID", "CATEGORYID"}, Array{1, 1}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements, Statements{""});
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.Exists\r\n"), std::string::npos);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(CatalogClasses, AQuestionThatFailsIsLoggedAndRaisedWithAnAbortVote) {
  Recorder recorder;
  recorder.fail_on = "PRODUCTCATEGORY";
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog.Exists"}});
  EXPECT_EQ(raised_by([&] { exists(Array{"CATEGORYID"}, Array{1}); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  const std::pair<Variant, std::int32_t> values[] = {{"1 OR 1=1", error_number::kStatementRefused},
                                                     {"", error_number::kStatementRefused},
                                                     {kNull, error_number::kStatementRefused}};
  for (const auto& [value, number] : values) {
    EXPECT_EQ(raised_by([&, &value = value] { exists(Array{"CATEGORYID"}, Array{value}); }).Number, number);
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_EQ(raised_by([&] { exists(Array{"CATEGORYID"}, Array{}); }).Number, error_number::kSubscriptOutOfRange);
}

}  // namespace
}  // namespace mercato::test
