// SPDX-License-Identifier: Apache-2.0
// No text that reaches the catalogue classes can change what a statement does.
#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "tests/catalog/catalog_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

bool is_unstorable(const std::string& text) { return text.find('\0') != std::string::npos || !text::is_valid(text); }

class CatalogHostileText : public CatalogTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_category("tools", "'2711'");
    add_product("2711");
    link(1, 1, 1);
    execute({"INSERT INTO VISIBILITIESBYCATEGORY (CATEGORYID, VISIBILITYID) VALUES (1, 7)",
             "INSERT INTO FAQVISIBILITY (VISIBILITYID, VISIBILITYDESCRIPTION) VALUES (7, 'public')"});
    // Everything that a user can have. A question for another user would find it.
    execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, CATEGORYID) VALUES (5, 'root', 1)",
             "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (5, 1, 'below')",
             "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, VIEWONLY) VALUES ('u', 5, 1)",
             "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, VIEWONLY) VALUES ('v', 5, 0)",
             "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('u', 5, 2, 2, 1)",
             "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('v', 5, 2, 2, 0)",
             "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('u', 5, 2)",
             "INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('u', 'folder')",
             "INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('v', 'other')",
             "INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID) VALUES ('u', 1, 1)",
             "INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (2, 5, 3)"});
    implement_unspsc("Yes");
  }
  // Calls that name a user, as they are made for this one.
  static std::vector<std::pair<std::string, std::vector<Variant>>> calls_for(const Variant& user) {
    return {{"GetAllUserAuthorizedCatalogNodes", {user}},
            {"GetAllUserAuthorizedCatalogNodes", {user, Array{5}}},
            {"GetUserCatalogNodesByLevel", {user, 5, 0}},
            {"GetUserCatalogNodesByLevel", {user, 5, 2}},
            {"GetUserTopLevelCatalogNodes", {user, 5}},
            {"IsEntireCatalogAuthorized", {5, user}},
            {"IsAuthorizedCatalogNode", {user, 2}},
            {"GetTopAuthorizedLevel", {5, user}},
            {"GetBottomAuthorizedLevel", {5, user}},
            {"IsViewOnlyCatalog", {user, 5}},
            {"IsViewOnlyCatalogNode", {user, Array{5, 1, 2}}},
            {"IsViewOnlyCatalogNode", {user, Array{5, 2}}},
            {"IsViewOnlyCatalogNodeEx", {user, 2}},
            {"IsOrderCatalog", {user, 5}},
            {"IsOrderCatalogNodeEx", {user, 2}}};
  }
};

TEST_F(CatalogHostileText, InTheReadsLeavesAllTablesAsTheyWere) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    std::vector<std::pair<std::string, std::vector<Variant>>> calls = {
        {"GetProductCategoryData", {Variant(), text, 5}},
        {"GetProductCategoryData", {Variant(), "", 5, Array{text}}},
        {"GetProductCategoryData", {Variant(), "", 5, kMissing, text}},
        {"GetVisibleProductCategories", {Array{text}}},
        {"GetVisibilitiesByCategories", {Array{text}}},
        {"GetJoinVisibilitiesByCategories", {Array{text}}},
        {"GetVisibilityDescByID", {Array{text}}},
        {"GetProductCategoriesByName", {text}},
        {"GetValidProductCatalogs", {Array{text}}},
        {"GetValidProductCatalogs", {Array{1}, Array{text}}},
        {"GetValidProductCatalogs", {Array{1}, kMissing, text}},
        {"GetAllUserAuthorizedCatalogNodes", {"u", Array{text}}},
        {"IsViewOnlyCatalogNode", {"v", Array{text, 1}}},
        {"IsViewOnlyCatalogNode", {"v", Array{5, text, 1}}},
        {"IsViewOnlyCatalogNode", {"v", Array{5, 1, text}}},
        {"GetFavoriteFolders", {text}},
        {"GetFavoriteFolderName", {1, text}},
        {"GetFavoriteFolderID", {text, "u"}},
        {"GetFavoriteFolderID", {"folder", text}},
        {"GetFolderAuthenticationDetails", {text, 2}},
        {"CopyCatalog", {1, 1, text}},
        {"InsertFavoriteFolder", {Array{text}, Array{text}}},
        {"UpdateFavoriteFolderName", {1, text, text}},
        {"DeleteFavoriteFolder", {1, text}},
        {"ClearUserCatalogIDs", {text}},
        {"UpdateUserCatalogIDs", {text, Array{text}}},
        {"PopulateUserNodes", {text}},
        {"InsertCatalogNodeByBP", {1, 1, text}},
        {"UpdateCatalogNodeByBP", {1, 1, text}},
    };
    for (auto& call : calls_for(text)) calls.push_back(std::move(call));
    for (const auto& [method, given] : calls) {
      std::vector<Variant> arguments = given;
      try {
        invoke(catalog_.object(), method, arguments);
      } catch (const Raised&) {
        // A refusal does no harm.
      }
    }
    ASSERT_EQ(all_rows(), before) << text.substr(0, 40);
  }
}

TEST_F(CatalogHostileText, AsAUserHasNoRights) {
  const auto has_something = [](const Variant& result) {
    if (!result.is_object()) return result.to_boolean();
    return result.object_value() != nullptr && result.to<Dictionary>()->Count() > 0;
  };
  for (const char* user : {"u", "v"}) {
    int found = 0;
    for (auto [method, arguments] : calls_for(user))
      found += has_something(invoke(catalog_.object(), method, arguments));
    EXPECT_GT(found, 5) << user;
  }
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    for (auto [method, arguments] : calls_for(text)) {
      try {
        EXPECT_FALSE(has_something(invoke(catalog_.object(), method, arguments))) << method;
      } catch (const Raised& failure) {
        const bool has_no_level = failure.error().Number == error_number::kInvalidUseOfNull;
        EXPECT_TRUE(has_no_level || failure.error().Number == error_number::kStatementRefused) << method;
      }
    }
  }
}

TEST_F(CatalogHostileText, AsAUserOrANameHasNoFolderAndNoAccount) {
  const std::pair<std::string, std::function<bool(const std::string&)>> finds[] = {
      {"u", [&](const std::string& text) { return catalog_->GetFavoriteFolders(text)->Count() > 0; }},
      {"u", [&](const std::string& text) { return !catalog_->GetFavoriteFolderName(1, text).empty(); }},
      {"u", [&](const std::string& text) { return catalog_->GetFavoriteFolderID("folder", text) != -1; }},
      {"folder", [&](const std::string& text) { return catalog_->GetFavoriteFolderID(text, "u") != -1; }},
      {"u",
       [&](std::string text) {
         std::int16_t node = 2;
         return !catalog_->GetFolderAuthenticationDetails(text, node)->Eof();
       }},
  };
  for (const auto& [known, find] : finds) {
    EXPECT_TRUE(find(known));
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(text.substr(0, 40));
      try {
        EXPECT_FALSE(find(text));
      } catch (const Raised& failure) {
        EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
      }
    }
  }
}

TEST_F(CatalogHostileText, InPlaceOfACatalogueOrANodeIsRefused) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    EXPECT_EQ(raised_by([&] { catalog_->GetValidProductCatalogs(Array{text}); }).Number, error_number::kTypeMismatch);
    EXPECT_EQ(raised_by([&] { catalog_->GetValidProductCatalogs(Array{1}, kMissing, text); }).Number,
              error_number::kTypeMismatch);
    EXPECT_EQ(raised_by([&] {
                catalog_->IsViewOnlyCatalogNode("v", Array{text, 1});
              }).Number,
              error_number::kTypeMismatch);
    if (text == "''") continue;  // this is one whole literal
    EXPECT_EQ(raised_by([&] { catalog_->GetValidProductCatalogs(Array{1}, Array{text}); }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(raised_by([&] { catalog_->GetAllUserAuthorizedCatalogNodes("u", Array{text}); }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(raised_by([&] {
                catalog_->IsViewOnlyCatalogNode("v", Array{5, text, 1});
              }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(raised_by([&] {
                catalog_->IsViewOnlyCatalogNode("v", Array{5, 1, text});
              }).Number,
              error_number::kStatementRefused);
  }
}

TEST_F(CatalogHostileText, InPlaceOfAnIdIsRefusedByTheStore) {
  for (const std::string& text : hostile_texts()) {
    if (text == "''") continue;  // this is one whole literal
    SCOPED_TRACE(text.substr(0, 40));
    for (const char* method : {"GetVisibleProductCategories", "GetVisibilitiesByCategories",
                               "GetJoinVisibilitiesByCategories", "GetVisibilityDescByID"})
      EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), method, {Array{text}}); }).Number,
                error_number::kStatementRefused)
          << method;
    // A list is the caller's own: a query in brackets may stand in it.
    if (text == "(SELECT MAX(PRODUCTID) FROM PRODUCT)") continue;
    EXPECT_EQ(raised_by([&] { catalog_->GetProductCategoryData(nullptr, "", 5, Array{text}); }).Number,
              error_number::kStatementRefused);
  }
}

TEST_F(CatalogHostileText, AsANameOfACategoryIsOnePatternThatFindsNothing) {
  for (const std::string& text : hostile_texts()) {
    if (text.find('*') != std::string::npos) continue;
    SCOPED_TRACE(text.substr(0, 40));
    try {
      EXPECT_TRUE(catalog_->GetProductCategoriesByName(text).is_null());
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
      EXPECT_TRUE(is_unstorable(text));
    }
  }
}

TEST_F(CatalogHostileText, AsAFieldNameIsNoColumn) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    EXPECT_EQ(raised_by([&] { t_catalog_->InsertProductCategory(Array{text}, Array{"x"}); }).Number,
              error_number::kNoSuchField);
    EXPECT_EQ(raised_by([&] {
                t_catalog_->UpdateProductCategory(Array{"CATEGORYID", text}, Array{1, "x"});
              }).Number,
              error_number::kNoSuchField);
    EXPECT_EQ(raised_by([&] { t_catalog_->InsertFavoriteFolder(Array{text}, Array{"x"}); }).Number,
              error_number::kNoSuchField);
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(CatalogHostileText, AsANameIsThisOneRowOrNone) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto before = all_rows();
    try {
      t_catalog_->InsertProductCategory(Array{"CATEGORYNAME"}, Array{text});
    } catch (const Raised&) {
      EXPECT_EQ(all_rows(), before);
      continue;
    }
    auto after = all_rows();
    ASSERT_EQ(after["PRODUCTCATEGORY"].size(), 2u);
    EXPECT_EQ(after["PRODUCTCATEGORY"].back()[1], Variant(text));
    after["PRODUCTCATEGORY"].pop_back();
    EXPECT_EQ(after, before);
    execute({"DELETE FROM PRODUCTCATEGORY WHERE CATEGORYID <> 1"});
  }
}

TEST_F(CatalogHostileText, AsAFolderIsThisOneRowOrNone) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto before = all_rows();
    // A new folder's name is stored with its apostrophes doubled.
    const std::vector<std::tuple<Array, Array, std::string, std::string>> cases = {
        {{"FOLDERNAME", "USERID"}, {text, "u"}, "u", text::replace_all(text, "'", "''")},
        {{"FolderName", "USERID"}, {text, "u"}, "u", text},
        {{"FOLDERNAME", "USERID"}, {"new", text}, text, "new"},
    };
    for (const auto& [fields, values, user, name] : cases) {
      Root<TCatalog> writer;
      try {
        writer->InsertFavoriteFolder(fields, values);
      } catch (const Raised&) {
        EXPECT_EQ(all_rows(), before);
        continue;
      }
      auto after = all_rows();
      ASSERT_EQ(after["FAVORITEFOLDERS"].size(), 3u);
      EXPECT_EQ(after["FAVORITEFOLDERS"].back()[1], Variant(user));
      EXPECT_EQ(after["FAVORITEFOLDERS"].back()[2], Variant(name));
      after["FAVORITEFOLDERS"].pop_back();
      EXPECT_EQ(after, before);
      execute({"DELETE FROM FAVORITEFOLDERS WHERE FOLDERID > 2"});
      store().forget_lost_numbers();
    }
  }
}

TEST_F(CatalogHostileText, AsANewNameReachesTheFolderOnly) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto before = all_rows();
    try {
      Root<TCatalog> writer;
      EXPECT_TRUE(writer->UpdateFavoriteFolderName(1, "u", text));
    } catch (const Raised&) {
      EXPECT_EQ(all_rows(), before);
      continue;
    }
    auto expected = before;
    expected["FAVORITEFOLDERS"][0][2] = text;
    EXPECT_EQ(all_rows(), expected);
    execute({"UPDATE FAVORITEFOLDERS SET FOLDERNAME = 'folder' WHERE FOLDERID = 1"});
  }
}

TEST_F(CatalogHostileText, AsAUserReachesNoFolder) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto before = all_rows();
    try {
      Root<TCatalog> writer;
      writer->UpdateFavoriteFolderName(1, text, "new");
    } catch (const Raised&) {
      // A refusal does no harm.
    }
    EXPECT_EQ(all_rows(), before);
    try {
      EXPECT_TRUE(t_catalog_->DeleteFavoriteFolder(1, text));
    } catch (const Raised&) {
      EXPECT_EQ(all_rows(), before);
      continue;
    }
    // The favourites in the folder are deleted for all users.
    auto expected = before;
    expected["FAVORITES"].clear();
    EXPECT_EQ(all_rows(), expected);
    execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID) VALUES ('u', 1, 1)"});
  }
}

TEST_F(CatalogHostileText, AsAListOfPartnersIsRefused) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    for (const std::int16_t given : {std::int16_t{0}, std::int16_t{2}}) {
      for (const std::string& list : {text, "1;" + text}) {
        std::int16_t node = given, catalog = 5;
        Variant partners = list;
        EXPECT_EQ(raised_by([&] { t_catalog_->InsertCatalogNodeByBP(node, catalog, partners); }).Number,
                  error_number::kTypeMismatch);
        partners = list;
        EXPECT_EQ(raised_by([&] { t_catalog_->UpdateCatalogNodeByBP(node, catalog, partners); }).Number,
                  error_number::kTypeMismatch);
      }
    }
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(CatalogHostileText, AsACodeReachesTheCategorysOwnRowsOnly) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto before = all_rows();
    try {
      t_catalog_->InsertProductCategory(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"new", text});
    } catch (const Raised&) {
      EXPECT_EQ(all_rows(), before);
      continue;
    }
    auto after = all_rows();
    ASSERT_EQ(after["PRODUCTCATEGORY"].size(), 2u);
    EXPECT_EQ(after["PRODUCTCATEGORY"].back()[2], Variant(text));
    after["PRODUCTCATEGORY"].pop_back();
    // No product has such a code; but wildcards in it work, as for any code.
    std::erase_if(after["PRODUCTSBYCATEGORY"], [](const auto& link) { return link[1] != Variant(1); });
    EXPECT_EQ(after, before);
    execute(
        {"DELETE FROM PRODUCTCATEGORY WHERE CATEGORYID <> 1", "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID <> 1"});
  }
}

TEST_F(CatalogHostileText, AsACodeInTheStoreNeverGetsOutOfItsLiteral) {
  for (const std::string text : {"'", "' OR '1'='1", "') OR (1=1", "'; DROP TABLE X"}) {
    const auto before = all_rows();
    std::string quoted = text::replace_all(text, "'", "''");
    execute({"UPDATE PRODUCTCATEGORY SET UNSPSCCODE = '" + quoted + "'"});
    const auto with_code = all_rows();
    // The stored code is the old one of the update, and goes into a statement as it stands.
    EXPECT_EQ(raised_by([&] { t_catalog_->UpdateProductCategory(Array{"CATEGORYID"}, Array{1}); }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(all_rows(), with_code);
    execute({"UPDATE PRODUCTCATEGORY SET UNSPSCCODE = '2711'"});
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(CatalogHostileText, ForAReferenceCheckerIsRefused) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto exists = [&](const Variant& field, const Variant& value) {
      invoke(t_catalog_.object(), "IReferentialIntegrity_Exists", {Variant(), Array{field}, Array{value}});
    };
    EXPECT_EQ(raised_by([&] { exists(text, 1); }).Number, error_number::kStatementRefused);
    if (text == "''") continue;  // this is one whole literal
    EXPECT_EQ(raised_by([&] { exists("CATEGORYID", text); }).Number, error_number::kStatementRefused);
    EXPECT_EQ(raised_by([&] { exists("BUSINESSPARTNERID", text); }).Number, error_number::kStatementRefused);
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
