// SPDX-License-Identifier: Apache-2.0
// Catalogues and their nodes, whoever may see them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "frame/lib_error_handling.h"
#include "tests/catalog/tree_fixture.h"
#include "tests/support/messages.h"

namespace mercato::test {
namespace {

class Catalogs : public CatalogTreeTest {};

TEST_F(Catalogs, AreListedByNameWithTheInactiveOnes) {
  add_catalog(1, "tools");
  add_catalog(2, "paper", 0);
  add_catalog(3, "tools");
  Recorder recorder;
  const Names listed = names(catalog_->GetAllCatalogs());
  ASSERT_EQ(listed.size(), 3u);
  EXPECT_EQ(listed.front(), (Names::value_type{2, "paper"}));
  EXPECT_EQ(listed[1].second, "tools");
  EXPECT_EQ(listed[2].second, "tools");
  EXPECT_EQ(recorder.statements, Statements{"SELECT CATALOGID, CATALOGNAME FROM CATALOG ORDER BY CATALOGNAME"});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(Catalogs, OfAnEmptyTableAreAnEmptyDictionary) {
  const DictionaryPtr listed = catalog_->GetAllCatalogs();
  ASSERT_NE(listed, nullptr);
  EXPECT_EQ(listed->Count(), 0);
}

class OneCatalog : public CatalogTreeTest {
 protected:
  static std::string reading(std::int32_t id) { return "select * from catalog where CATALOGID=" + std::to_string(id); }
  static FailureTrail not_present() {
    return trail({eCatalogNotFound, "Mercato.Catalog.GetCatalog", "Catalog not present", "", 0},
                 {{"Mercato.Catalog.getCatalog"}});
  }
};

TEST_F(OneCatalog, IsARecordOfSevenItemsAsTheyAreStored) {
  execute(
      {"INSERT INTO CATALOG (CATALOGNAME, CATALOGDESCRIPTION, ACTIVE, APPROVALCATALOG, SUPPLIERCATALOGID, VERSION, "
       "CATALOGLAYOUT, ICONID) VALUES (' tools ', 'text', 1, NULL, 'S-1', NULL, 1, 9)"});
  Recorder recorder;
  const CollectionPtr record = catalog_->GetCatalog(1);
  const std::pair<std::string, Variant> items[] = {
      {"CATALOGID", 1},           {"CATALOGNAME", " tools "},   {"ACTIVE", 1},
      {"APPROVALCATALOG", kNull}, {"SUPPLIERCATALOGID", "S-1"}, {"VERSION", kNull},
      {"CATALOGLAYOUT", 1}};
  ASSERT_EQ(record->Count(), 7);
  for (std::int32_t position = 1; position <= 7; ++position) {
    const auto& [key, item] = items[static_cast<std::size_t>(position - 1)];
    EXPECT_EQ(record->key_at(position), key);
    if (item.is_null())
      EXPECT_TRUE(record->Item(position).is_null()) << key;
    else
      EXPECT_EQ(record->Item(position).to_text(), item.to_text()) << key;
  }
  EXPECT_EQ(recorder.statements, Statements{reading(1)});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(OneCatalog, ThatIsNotThereIsRaised) {
  for (const std::int32_t id : {0, 7, -1, 2147483647, -2147483647 - 1}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { catalog_->GetCatalog(id); }), not_present().raised);
    EXPECT_EQ(recorder.log, not_present().log);
    EXPECT_EQ(recorder.statements, Statements{reading(id)});
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

TEST_F(OneCatalog, HasNameAndFlags) {
  execute({"INSERT INTO CATALOG (CATALOGNAME, ACTIVE, APPROVALCATALOG, CATALOGLAYOUT) VALUES ('tools', 1, 0, 1)",
           "INSERT INTO CATALOG (CATALOGNAME) VALUES ('paper')"});
  Recorder recorder;
  EXPECT_EQ(catalog_->getName(1), "tools");
  EXPECT_TRUE(catalog_->getActive(1));
  EXPECT_FALSE(catalog_->getApproval(1));
  EXPECT_TRUE(catalog_->UseCatalogLayOutParameter(1));
  EXPECT_EQ(recorder.statements, Statements{reading(1)});
  EXPECT_FALSE(catalog_->getActive(2));
  EXPECT_EQ(catalog_->getName(2), "paper");
  EXPECT_EQ(catalog_->getName(1), "tools");
  EXPECT_EQ(recorder.statements, (Statements{reading(1), reading(2), reading(1)}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(OneCatalog, IsRememberedAndNeverRefreshed) {
  add_catalog(1, "tools");
  EXPECT_EQ(catalog_->getName(1), "tools");
  execute({"UPDATE CATALOG SET CATALOGNAME = 'new', ACTIVE = 0"});
  EXPECT_EQ(catalog_->GetCatalog(1)->Item(std::string_view("CATALOGNAME")), Variant("new"));
  EXPECT_EQ(catalog_->getName(1), "tools");
  EXPECT_TRUE(catalog_->getActive(1));
  EXPECT_EQ(Root<Catalog>()->getName(1), "new");
}

TEST_F(OneCatalog, ThatIsNotThereLeavesTheRememberedOne) {
  add_catalog(1, "tools");
  catalog_->getName(1);
  Recorder recorder;
  for (const std::int32_t id : {7, 0}) {
    EXPECT_EQ(raised_by([&] { catalog_->getName(id); }), not_present().raised);  // this method has no tail
    EXPECT_EQ(recorder.log, not_present().log);
    recorder.log.clear();
  }
  EXPECT_EQ(recorder.statements, (Statements{reading(7), reading(0)}));
  EXPECT_EQ(catalog_->getName(1), "tools");
  EXPECT_EQ(recorder.statements.size(), 2u);
}

TEST_F(OneCatalog, AskedForUnderTheIdZeroFirstIsAnObjectThatIsNotSet) {
  Recorder recorder;
  const std::function<void()> calls[] = {[&] { catalog_->getName(0); }, [&] { catalog_->getActive(0); },
                                         [&] { catalog_->getApproval(0); },
                                         [&] { catalog_->UseCatalogLayOutParameter(0); }};
  for (const auto& call : calls) EXPECT_EQ(raised_by(call).Number, error_number::kObjectNotSet);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(OneCatalog, WithANullFlagRaisesItUnlogged) {
  execute(
      {"INSERT INTO CATALOG (CATALOGNAME, ACTIVE, APPROVALCATALOG, CATALOGLAYOUT) VALUES ('tools', NULL, NULL, "
       "NULL)"});
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { catalog_->getActive(1); }).Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(raised_by([&] { catalog_->getApproval(1); }).Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(raised_by([&] { catalog_->UseCatalogLayOutParameter(1); }).Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(catalog_->getName(1), "tools");
  EXPECT_TRUE(recorder.log.empty());
}

// The catalogues of a partner

class CatalogsOfAPartner : public CatalogTreeTest {
 protected:
  static std::string reading(const std::string& partner) {
    return "SELECT DISTINCT CATALOGNODEBYBP.CATALOGID AS CATALOGID, CATALOG.CATALOGNAME AS CATALOGNAME FROM "
           "CATALOGNODEBYBP,  CATALOG WHERE CATALOGNODEBYBP.BUSINESSPARTNERID = " +
           partner +
           " AND CATALOGNODEBYBP.CATALOGID = CATALOG.CATALOGID  AND CATALOG.ACTIVE=1 ORDER BY CATALOG.CATALOGNAME ";
  }
};

TEST_F(CatalogsOfAPartner, AreTheActiveOnesWithANodeOrTheWhole) {
  add_catalog(1, "tools");
  add_catalog(2, "paper");
  add_catalog(3, "closed", 0);
  add_catalog(4, "other");
  execute({"INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (1, 5, 7)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (1, 6, 7)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (2, NULL, 7)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (3, 5, 7)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (9, 5, 7)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, NODEID, BUSINESSPARTNERID) VALUES (4, 5, 8)"});
  Recorder recorder;
  EXPECT_EQ(names(catalog_->GetCatalogByBP(7)), (Names{{2, "paper"}, {1, "tools"}}));
  EXPECT_EQ(recorder.statements, Statements{reading("7")});
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(CatalogsOfAPartner, MayBeNone) {
  for (const std::int32_t partner : {1, 40000, -1}) {
    Recorder recorder;
    EXPECT_EQ(catalog_->GetCatalogByBP(partner)->Count(), 0);
    EXPECT_EQ(recorder.statements, Statements{reading(std::to_string(partner))});
  }
}

// The catalogues of products

class CatalogsOfProducts : public CatalogTreeTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    // Two categories in three catalogues; a node's type does not matter.
    execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 'a', 1, 10)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 'b', 0, 10)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (2, 'c', NULL, 10)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (3, 'd', 1, 11)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (3, 'e', 1, 12)"});
    link(100, 10, 1);
    link(101, 11, 1);
    link(102, 99, 1);
  }

  static std::string reading(const std::string& product, const std::string& restriction = "",
                             const std::string& column = "CATALOGID") {
    return "SELECT DISTINCT CATALOGNODE." + column +
           " AS CATALOGID FROM PRODUCTSBYCATEGORY,CATALOGNODE WHERE  PRODUCTSBYCATEGORY.PRODUCTID = " + product +
           " AND PRODUCTSBYCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID " + restriction;
  }
  // Product to its ids, which come in the store's order.
  using Valid = std::vector<std::pair<Variant, std::vector<std::int32_t>>>;
  static Valid valid(const DictionaryPtr& dictionary) {
    Valid valid;
    dictionary->for_each([&](const Variant& product, const Variant& ids) {
      EXPECT_EQ(ids.to_array().lower, 0);
      std::vector<std::int32_t> sorted;
      for (const Variant& id : ids.to_array().items) sorted.push_back(id.long_value());
      std::sort(sorted.begin(), sorted.end());
      valid.emplace_back(product, sorted);
    });
    return valid;
  }
};

TEST_F(CatalogsOfProducts, AreThoseOfTheNodesThatShowOneOfItsCategories) {
  Recorder recorder;
  EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{102, "101", 100.0, 999})),
            (Valid{{"101", {3}}, {100.0, {1, 2}}}));
  EXPECT_EQ(recorder.statements, (Statements{reading("102"), reading("101"), reading("100"), reading("999")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(CatalogsOfProducts, MayBeTheNodesInstead) {
  for (const Variant& wanted : {Variant(true), Variant(1), Variant(-1), Variant("True")}) {
    Recorder recorder;
    EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{100}, kMissing, wanted)), (Valid{{100, {1, 2, 3}}}));
    EXPECT_EQ(recorder.statements, Statements{reading("100", "", "NODEID")});
  }
  for (const Variant& unwanted : {Variant(false), Variant(0), Variant(), Variant("0")})
    EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{100}, kMissing, unwanted)), (Valid{{100, {1, 2}}}));
}

TEST_F(CatalogsOfProducts, MayBeRestricted) {
  Recorder recorder;
  EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{100, 101}, Array{"", 2, "9", Variant()})),
            (Valid{{100, {2}}}));
  EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{100}, Array(std::vector<Variant>{1}, 4), true)),
            (Valid{{100, {1, 2}}}));
  EXPECT_EQ(recorder.statements, (Statements{reading("100", "AND CATALOGNODE.CATALOGID IN (2,9) "),
                                             reading("101", "AND CATALOGNODE.CATALOGID IN (2,9) "),
                                             reading("100", "AND CATALOGNODE.CATALOGID IN (1) ", "NODEID")}));
}

TEST_F(CatalogsOfProducts, AreNotRestrictedByEmptyTexts) {
  for (const Variant& list : {Variant(Array{}), Variant(Array{"", Variant(), ""})}) {
    Recorder recorder;
    EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{100}, list)), (Valid{{100, {1, 2}}}));
    EXPECT_EQ(recorder.statements, Statements{reading("100")});
  }
}

TEST_F(CatalogsOfProducts, AreNoneForNullOrEmptyAndTheStoreIsNotAsked) {
  Recorder recorder;
  for (const Variant& nothing : {Variant(kNull), Variant()}) {
    EXPECT_EQ(catalog_->GetValidProductCatalogs(Array{100}, nothing)->Count(), 0);
    EXPECT_EQ(catalog_->GetValidProductCatalogs(nothing)->Count(), 0);
    EXPECT_EQ(catalog_->GetValidProductCatalogs(nothing, Array{1})->Count(), 0);
    EXPECT_EQ(catalog_->GetValidProductCatalogs("no array", nothing)->Count(), 0);
  }
  EXPECT_EQ(catalog_->GetValidProductCatalogs(Array{})->Count(), 0);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(CatalogsOfProducts, AreRefusedForWhatCannotBeAsked) {
  const struct {
    Variant products, catalogs, nodes;
    std::int32_t number;
    std::size_t statements;
  } cases[] = {
      {Array{100, 100}, kMissing, 0, error_number::kDuplicateKey, 2},
      {Array{100, "abc"}, kMissing, 0, error_number::kTypeMismatch, 1},
      {Array{""}, kMissing, 0, error_number::kTypeMismatch, 0},
      {Array{kNull}, kMissing, 0, error_number::kInvalidUseOfNull, 0},
      {Array{2147483648.0}, kMissing, 0, error_number::kOverflow, 0},
      {100, kMissing, 0, error_number::kTypeMismatch, 0},
      {"100", kMissing, 0, error_number::kTypeMismatch, 0},
      {Array{100}, 1, 0, error_number::kTypeMismatch, 0},
      {Variant(), "1", 0, error_number::kTypeMismatch, 0},  // the catalogues are looked at first
      {Array{100}, Array{1, kNull}, 0, error_number::kInvalidUseOfNull, 0},
      {Array{100}, Array{"1,2"}, 0, error_number::kStatementRefused, 1},
      {Array{100}, Array{"tools"}, 0, error_number::kStatementRefused, 1},
      {Array{100}, Array{" "}, 0, error_number::kStatementRefused, 1},
      {Array{100}, kMissing, "maybe", error_number::kTypeMismatch, 0},
      {Array{100}, kMissing, kNull, error_number::kInvalidUseOfNull, 0},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    const RaisedError raised =
        raised_by([&] { catalog_->GetValidProductCatalogs(row.products, row.catalogs, row.nodes); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    EXPECT_EQ(recorder.statements.size(), row.statements) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetValidProductCatalogs\r\n"), std::string::npos);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

TEST_F(CatalogsOfProducts, GivenTwiceButNotReachedAreNoMatter) {
  EXPECT_EQ(catalog_->GetValidProductCatalogs(Array{102, 102})->Count(), 0);
}

TEST_F(CatalogsOfProducts, AreRefusedForANodeWithoutACatalogue) {
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, CATEGORYID) VALUES (NULL, 'f', 11)"});
  EXPECT_EQ(raised_by([&] { catalog_->GetValidProductCatalogs(Array{101}); }).Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(valid(catalog_->GetValidProductCatalogs(Array{101}, kMissing, true)), (Valid{{101, {4, 6}}}));
}

// Levels

class NodeLevel : public CatalogTreeTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_node(1, 5, kNone, "root");
    add_node(2, 5, 1);
    add_node(3, 5, 1);  // the same parent as the row before
    add_node(4, 5, 2);
    add_node(5, 6, 3);  // another catalogue's
    add_node(6, 5, kNone, "second root");
    add_node(7, 5, 2);  // the same parent as before the root: no change
    add_node(8, 5, 1);
    add_node(9, 5, 2);
  }
  static std::string reading(const std::string& catalog) {
    return "SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE CATALOGID=" + catalog + " ORDER BY NODEID";
  }
};

TEST_F(NodeLevel, CountsTheChangesOfParentUpToTheNode) {
  const std::pair<std::int32_t, std::int16_t> cases[] = {{1, 1}, {2, 2}, {3, 2}, {4, 3},
                                                         {6, 1}, {7, 3}, {8, 4}, {9, 5}};
  for (const auto& [node, level] : cases) {
    Recorder recorder;
    EXPECT_EQ(catalog_->GetNodeLevel(5, node), level) << node;
    EXPECT_EQ(recorder.statements, Statements{reading("5")});
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

TEST_F(NodeLevel, OfAnUnknownNodeIsTheCountOverAllRows) {
  for (const std::int32_t node : {5, 99, 0, -1}) EXPECT_EQ(catalog_->GetNodeLevel(5, node), 5);
}

TEST_F(NodeLevel, InACatalogueWithoutNodesIsMinusOne) {
  Recorder recorder;
  EXPECT_EQ(catalog_->GetNodeLevel(7, 1), -1);
  EXPECT_EQ(catalog_->GetNodeLevel(-2147483647 - 1, 1), -1);
  EXPECT_EQ(recorder.statements, (Statements{reading("7"), reading("-2147483648")}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(NodeLevel, BelowTheParentMinusOneIsNoChange) {
  execute({"INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (20, 8, -1, 'x')"});
  EXPECT_EQ(catalog_->GetNodeLevel(8, 20), 1);
}

TEST_F(NodeLevel, OfACircleIsCountedToo) {
  add_node(30, 9, 31);
  add_node(31, 9, 30);
  EXPECT_EQ(catalog_->GetNodeLevel(9, 31), 3);
}

TEST_F(NodeLevel, BeyondSixteenBitsIsAnOverflow) {
  execute({"DELETE FROM CATALOGNODE"});
  add_node(1, 5, kNone);
  // Every row gets a child, time and again: the new children of one turn have different parents.
  for (int turn = 0; turn < 15; ++turn)
    execute(
        {"INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) SELECT CATALOGID, NODEID, NODENAME FROM "
         "CATALOGNODE ORDER BY NODEID"});
  ASSERT_EQ(value_of("SELECT COUNT(*) FROM CATALOGNODE").to_long(), 32768);
  EXPECT_EQ(catalog_->GetNodeLevel(5, 99999), 32767);  // rows 2 and 3 have the same parent
  add_node(40000, 5, 1);
  Recorder recorder;
  const FailureTrail expected = trail({error_number::kOverflow, "Mercato",
                                       std::string(error_number::default_description(error_number::kOverflow)), "", 0},
                                      {{"Mercato.Catalog.GetNodeLevel"}});
  EXPECT_EQ(raised_by([&] { catalog_->GetNodeLevel(5, 40000); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(read_vote(), Vote::none);
}

// Paths

class NodeHierarchy : public CatalogTreeTest {
 protected:
  static std::string reading(std::int32_t node) {
    return "SELECT NODENAME, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " + std::to_string(node);
  }
  std::string path(std::int32_t node) { return catalog_->GetCatalogNodeHierarchy(node); }
};

TEST_F(NodeHierarchy, IsTheTrimmedNamesFromTheRootDown) {
  add_node(1, 5, kNone, "  tools ");
  add_node(2, 6, 1, "hand\\tools");  // a parent of another catalogue counts too
  add_node(3, 5, 2, " ");
  add_node(4, 5, 3, "saws");
  EXPECT_EQ(path(1), "tools");
  Recorder recorder;
  std::int32_t node = 4;
  EXPECT_EQ(catalog_->GetCatalogNodeHierarchy(node), "tools\\hand\\tools\\\\saws");
  EXPECT_EQ(node, 4);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, reading(4), kIsolation, reading(3), kIsolation, reading(2),
                                             kIsolation, reading(1)}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(NodeHierarchy, OfANodeOrBelowAParentThatIsNotThereRaisesUnlogged) {
  add_node(2, 5, 99);
  for (const std::int32_t node : {2, 3, 0, -1}) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { path(node); });
    EXPECT_EQ(raised.Number, error_number::kNoCurrentRow);
    EXPECT_EQ(raised.Description.find("METHOD"), std::string::npos);
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_EQ(recorder.statements.back(), reading(node == 2 ? 99 : node));
  }
}

TEST_F(NodeHierarchy, InACircleEndsWithTheTimeOfTheCall) {
  add_node(1, 5, 2);
  add_node(2, 5, 1);
  add_node(3, 5, 3);
  Recorder recorder;
  timeout_of([&] { path(1); });
  EXPECT_GT(recorder.statements.size(), 8u);
  timeout_of([&] { path(3); });
}

TEST_F(NodeHierarchy, ThatTheStoreRefusesIsLoggedByTheReadOnly) {
  add_node(1, 5, kNone);
  add_node(2, 5, 1);
  for (const std::int32_t node : {2, 1})
    expect_refusal(reading(node), {{"Lib_SQL.Sql_GetDisconnectedRecordset", " executing: '" + reading(node) + "'"}},
                   [&] { path(2); });
}

// Failures

TEST_F(Catalogs, ThatTheStoreRefusesAreLoggedAndRaised) {
  add_catalog(1, "tools");
  expect_refusal("SELECT CATALOGID, CATALOGNAME", {{"Mercato.Catalog.getAllCatalogs"}},
                 [&] { catalog_->GetAllCatalogs(); });
  expect_refusal("select * from catalog", {{"Mercato.Catalog.getCatalog"}}, [&] { catalog_->GetCatalog(1); });
  expect_refusal("select * from catalog", {{"Mercato.Catalog.getCatalog"}}, [&] { catalog_->getName(1); });
  expect_refusal("CATALOGNODEBYBP", {{"Mercato.Catalog.GetCatalogByBP"}}, [&] { catalog_->GetCatalogByBP(1); });
  expect_refusal("PRODUCTID = 2", {{"Mercato.Catalog.GetValidProductCatalogs"}}, [&] {
    catalog_->GetValidProductCatalogs(Array{1, 2});
  });
  expect_refusal("ORDER BY NODEID", {{"Mercato.Catalog.GetNodeLevel"}}, [&] { catalog_->GetNodeLevel(1, 1); });
  EXPECT_EQ(read_vote(), Vote::none);
}

}  // namespace
}  // namespace mercato::test
