// SPDX-License-Identifier: Apache-2.0
// Nodes by their ways; what becomes of them, of the rights on them and of the products that they show.
#include "keeping/node_keeping.h"

#include "catalog/rights_entries.h"
#include "keeping/catalog_resolver.h"
#include "keeping/rights_keeping.h"
#include "keeping/succession.h"
#include "mercato/object_context.h"
#include "tests/keeping/keeping_fixture.h"

namespace mercato::test {
namespace {

class KeptNodes : public KeepingTest {
 protected:
  static keeping::CatalogPlace at(const std::string& text) { return keeping::place_named(text); }
  Table nodes() const {
    return rows("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE FROM CATALOGNODE ORDER BY NODEID");
  }
  Table rights() const {
    return plain_rows(
        "SELECT USERID, CATALOGID, NODEID, PARENTNODEID, LEVEL, VIEWONLY FROM CATALOGNODEBYUSER ORDER BY USERID, "
        "LEVEL, NODEID");
  }
  Table disabled() const { return rows("SELECT PRODUCTID FROM PRODUCT WHERE DISABLED = 1 ORDER BY PRODUCTID"); }
};

TEST_F(KeptNodes, AreFoundByIdAndByTheirWay) {
  EXPECT_EQ(keeping::node_named("3"), 3);
  EXPECT_EQ(keeping::node_named("House/Office/Paper/Copies"), 3);
  EXPECT_EQ(keeping::node_named("house/OFFICE"), 1);
  EXPECT_EQ(keeping::node_named("1/Garden"), 4);
  EXPECT_EQ(at("2/").catalog.name, "Next");
  EXPECT_FALSE(at("Next").node);
  execute({"UPDATE CATALOGNODE SET NODENAME = N'Pens/Inks' WHERE NODEID = 4"});
  EXPECT_EQ(keeping::node_named("House/Pens\\/Inks"), 4);
  EXPECT_EQ(refusal_of([] { keeping::node_named("House"); }),
            "House is a catalogue; a node is named by its id, or as CATALOGUE/NAME/NAME");
  EXPECT_EQ(refusal_of([] { at("99"); }), "There is no node 99");
  EXPECT_EQ(refusal_of([] { at("Nowhere/Office"); }), "There is no catalogue Nowhere");
  EXPECT_EQ(refusal_of([] { at("House/Office/Pens"); }), "There is no node Pens on the way House/Office/Pens");
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, N'office ')"});
  EXPECT_EQ(refusal_of([] { at("House/Office/Paper"); }),
            "Several nodes on the way House/Office/Paper are called Office; name one by its id: 1, 6");
}

TEST_F(KeptNodes, AreMadeAtTheEndOfTheirParent) {
  EXPECT_EQ(kept([] { return keeping::new_node(at("House/Office"), "Pens", 2); }), 6);
  EXPECT_EQ(kept([] { return keeping::new_node(at("1/"), "O'Neill's", std::nullopt); }), 7);
  EXPECT_EQ(rows("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID FROM CATALOGNODE "
                 "WHERE NODEID > 5 ORDER BY NODEID"),
            (Table{{6, 1, 1, "Pens", 2, 1, 2}, {7, 1, kNull, "O'Neill's", 3, 0, kNull}}));
  EXPECT_EQ(refusal_of([] { keeping::new_node(at("House/Office"), "PENS", std::nullopt); }),
            "Its parent has a node PENS already, node 6; two of one name could not be told apart");
  EXPECT_EQ(refusal_of([] { keeping::new_node(at("House"), " ", std::nullopt); }), "A node needs a name");
}

TEST_F(KeptNodes, AreRenamedWithinTheirSiblings) {
  kept([] { return keeping::rename_node(2, "PAPER"), 0; });
  EXPECT_EQ(value_of("SELECT NODENAME FROM CATALOGNODE WHERE NODEID = 2").to_text(), "PAPER");
  EXPECT_EQ(refusal_of([] { keeping::rename_node(4, "office"); }),
            "Its parent has a node office already, node 1; two of one name could not be told apart");
  EXPECT_EQ(refusal_of([] { keeping::rename_node(9, "X"); }), "There is no node 9");
}

TEST_F(KeptNodes, MoveWithTheEntriesOfTheirRights) {
  const RightsHolder ann{"ann", false};
  kept([&] { return keeping::grant(ann, at("2"), false); });
  kept([&] { return keeping::grant(ann, at("3"), true); });
  EXPECT_EQ(rights(), (Table{{"ann", 1, 2, 1, 2, 0}, {"ann", 1, 3, 2, 3, 1}}));
  kept([&] { return keeping::move_node(2, at("1/")), 0; });
  EXPECT_EQ(rights(), (Table{{"ann", 1, 2, kNull, 1, 0}, {"ann", 1, 3, 2, 2, 1}}));
  EXPECT_EQ(nodes()[1], (std::vector<Variant>{2, 1, kNull, "Paper", 3}));
  kept([&] { return keeping::move_node(2, at("House/Garden")), 0; });
  EXPECT_EQ(rights(), (Table{{"ann", 1, 2, 4, 2, 0}, {"ann", 1, 3, 2, 3, 1}}));
  EXPECT_EQ(refusal_of([&] { keeping::move_node(4, at("3")); }),
            "A node cannot lie below itself: node 3 is below node 4");
  EXPECT_EQ(refusal_of([&] { keeping::move_node(2, at("Next/Office")); }),
            "A node stays in its catalogue: node 2 is of catalogue 1, not of 2");
  EXPECT_EQ(refusal_of([&] { keeping::move_node(2, at("4")); }), "It is there already");
}

TEST_F(KeptNodes, GoWithAllThatIsBelowThem) {
  const RightsHolder ann{"ann", false};
  kept([&] { return keeping::grant(ann, at("3"), false); });
  kept([&] { return keeping::grant(ann, at("4"), false); });
  execute({"INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (2, 1, 1)",
           "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES (N'ann', 1, 3)"});
  const keeping::NodeFacts facts = keeping::facts_of_node(1);
  EXPECT_EQ(facts.path, "Office");
  EXPECT_EQ(facts.children, 1U);
  EXPECT_EQ(facts.below, 2U);
  EXPECT_EQ(facts.rights, 1U);
  EXPECT_EQ(keeping::facts_of_node(2).products, 2U);
  EXPECT_EQ(keeping::facts_of_node(2).category_name, "Paper");
  const keeping::DeletedNodes deleted = kept([] { return keeping::delete_node(1); });
  EXPECT_EQ(deleted.nodes, 3U);
  EXPECT_EQ(deleted.rights, 1U);
  EXPECT_EQ(deleted.ties, 1U);
  EXPECT_EQ(rights(), (Table{{"ann", 1, 4, kNull, 1, 0}}));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM USERNODE").to_long(), 0);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTCATEGORY").to_long(), 2);
}

TEST_F(KeptNodes, OfACircleAreToldAndGoOnce) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 1"});
  EXPECT_EQ(refusal_of([] { keeping::facts_of_node(2); }), "The parents of node 2 go in a circle");
  EXPECT_EQ(refusal_of([] {
              keeping::grant({"ann", false}, at("2"), false);
            }),
            "The way up from node 2 does not end at a root of catalogue 1, so no right on it could be laid out");
  EXPECT_EQ(kept([] { return keeping::delete_node(2).nodes; }), 3U);
}

TEST_F(KeptNodes, RightsAreGrantedChangedAndRevokedOneByOne) {
  const RightsHolder ann{"ann", false};
  EXPECT_EQ(kept([&] { return keeping::grant(ann, at("House"), true); }), keeping::Granted::added);
  EXPECT_EQ(kept([&] { return keeping::grant(ann, at("House"), true); }), keeping::Granted::same);
  EXPECT_EQ(kept([&] { return keeping::grant(ann, at("House"), false); }), keeping::Granted::changed);
  EXPECT_EQ(kept([&] { return keeping::grant({"buyers", true}, at("House/Office"), false); }), keeping::Granted::added);
  EXPECT_EQ(rights(), (Table{{"ann", 1, kNull, kNull, 0, 0}, {"buyers", 1, 1, kNull, 1, 0}}));
  EXPECT_EQ(keeping::users_with_rights(1), (std::vector<std::string>{"ann"}));
  EXPECT_EQ(kept([&] { return keeping::revoke(ann, at("House/Office")); }), 0U);
  EXPECT_EQ(kept([&] { return keeping::revoke(ann, at("House")); }), 1U);
  EXPECT_EQ(keeping::users_with_rights(1), (std::vector<std::string>{}));
}

// The library's answers are those of the entries that are written here.
TEST_F(KeptNodes, GrantedRightsAreThoseOfTheLibrary) {
  const RightsHolder ann{"ann", false};
  kept([&] { return keeping::grant(ann, at("House/Office/Paper"), false); });
  const ComponentPtr writer = create_root("Mercato.TCatalog");
  std::vector<Variant> user = {"ann"};
  ASSERT_TRUE(invoke(writer, "PopulateUserNodes", user).to_boolean());
  EXPECT_EQ(rows("SELECT NODEID FROM USERNODE WHERE USERID = 'ann' ORDER BY NODEID"), (Table{{2}, {3}}));
  const auto ask = [&](const char* method, std::int32_t node) {
    std::vector<Variant> arguments = {"ann", node};
    return invoke(create_root("Mercato.Catalog"), method, arguments).to_boolean();
  };
  EXPECT_TRUE(ask("IsOrderCatalogNodeEx", 2));
  kept([&] { return keeping::grant(ann, at("House/Office"), true); });
  EXPECT_FALSE(ask("IsOrderCatalogNodeEx", 2));
  EXPECT_TRUE(ask("IsViewOnlyCatalogNodeEx", 2));
}

TEST_F(KeptNodes, ACatalogueIsRenamedActivatedAndDeletedWithItsNodes) {
  kept([] { return keeping::rename_catalog(2, "Spring '27"), 0; });
  kept([] { return keeping::set_active(2, true), 0; });
  EXPECT_EQ(plain_rows("SELECT CATALOGNAME, ACTIVE FROM CATALOG WHERE CATALOGID = 2"), (Table{{"Spring '27", 1}}));
  kept([] { return keeping::grant({"ann", false}, at("House"), false); });
  EXPECT_EQ(refusal_of([] { keeping::delete_catalog(1); }),
            "Catalogue 1 is active; `mercato catalog deactivate` or `mercato catalog expire` comes first");
  kept([] { return keeping::set_active(1, false), 0; });
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 4 WHERE NODEID = 5"});
  EXPECT_EQ(refusal_of([] { keeping::delete_catalog(1); }),
            "1 nodes that are not of catalogue 1 hang on its nodes; `mercato node move` or `mercato node delete` comes "
            "first");
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = NULL WHERE NODEID = 5"});
  const keeping::DeletedNodes deleted = kept([] { return keeping::delete_catalog(1); });
  EXPECT_EQ(deleted.nodes, 4U);
  EXPECT_EQ(deleted.rights, 1U);
  EXPECT_EQ(nodes(), (Table{{5, 2, kNull, "Office", 1}}));
  EXPECT_EQ(rows("SELECT CATALOGID FROM CATALOG"), (Table{{2}}));
}

// Expiring the old catalogue disabled what its successor shows.
TEST_F(KeptNodes, AnExpiredCatalogueLeavesWhatAnActiveOneShowsEnabled) {
  EXPECT_EQ(keeping::plan_expiry(1).disabled, (Ids{1, 2, 3}));
  kept([] { return keeping::set_active(2, true), 0; });
  const keeping::Expiry plan = keeping::plan_expiry(1);
  EXPECT_EQ(plan.disabled, (Ids{3}));
  EXPECT_EQ(plan.shared, 2U);
  EXPECT_EQ(disabled(), Table());
  kept([] { return keeping::expire_keeping_shared(1); });
  EXPECT_EQ(disabled(), (Table{{3}}));
  EXPECT_EQ(plain_rows("SELECT ACTIVE FROM CATALOG ORDER BY CATALOGID"), (Table{{0}, {1}}));
}

}  // namespace
}  // namespace mercato::test
