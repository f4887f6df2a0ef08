// SPDX-License-Identifier: Apache-2.0
// The nodes of catalogues as hosts see them.
#include "catalog/node_tree.h"

#include <gtest/gtest.h>

#include "tests/catalog/tree_fixture.h"

namespace mercato::test {
namespace {

class NodesOfATree : public CatalogTreeTest {
 protected:
  static std::vector<std::int32_t> ids(const std::vector<const CatalogNode*>& nodes) {
    std::vector<std::int32_t> ids;
    for (const CatalogNode* node : nodes) ids.push_back(node->id);
    return ids;
  }
};

TEST_F(NodesOfATree, StandInTheOrderOfTheirLevel) {
  add_node(1, 5, kNone, "a", "2");
  add_node(2, 5, 1, "b", "1");
  add_node(3, 6, kNone, "c");
  add_node(4, 5, kNone, "d", "2");
  NodeTree tree;
  EXPECT_EQ(ids(tree.nodes_of(5)), (std::vector<std::int32_t>{2, 1, 4}));
  EXPECT_EQ(ids(tree.nodes_of(7)), (std::vector<std::int32_t>{}));
}

TEST_F(NodesOfATree, AreReadOnceAndKept) {
  add_node(1, 5, kNone, "a");
  NodeTree tree;
  const CatalogNode* node = tree.find(1);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(tree.find(2), nullptr);
  Recorder recorder;
  EXPECT_EQ(tree.find(1), node);
  EXPECT_EQ(tree.find(2), nullptr);
  EXPECT_EQ(tree.nodes_of(5).front(), node);
  EXPECT_EQ(recorder.statements.size(), 1u);
}

TEST_F(NodesOfATree, ShowTheCategoryThatTheirTypeAsksFor) {
  execute({"INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 5, 'a', 1, 7)",
           "INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (2, 5, 'b', 0, 7)",
           "INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME, NODETYPE) VALUES (3, 5, 'c', 1)"});
  NodeTree tree;
  EXPECT_EQ(tree.find(1)->shown_category(), 7);
  EXPECT_EQ(tree.find(2)->shown_category(), std::nullopt);
  EXPECT_EQ(tree.find(3)->shown_category(), std::nullopt);
}

TEST_F(NodesOfATree, LeadUpToARootAMissingParentOrACircle) {
  add_chain(5, 1, 3);
  add_node(4, 5, 99);
  add_node(5, 5, 7);
  add_node(6, 5, 5);
  add_node(7, 6, 6);
  add_node(8, 5, 6);
  NodeTree tree;
  const WayUp to_root = tree.way_up(3);
  EXPECT_EQ(ids(to_root.nodes), (std::vector<std::int32_t>{3, 2, 1}));
  EXPECT_EQ(to_root.end, WayUp::End::root);
  EXPECT_EQ(tree.way_up(4).end, WayUp::End::missing_parent);
  EXPECT_EQ(tree.way_up(98).end, WayUp::End::missing_parent);
  EXPECT_EQ(ids(tree.way_up(98).nodes), (std::vector<std::int32_t>{}));
  const WayUp to_circle = tree.way_up(8);
  EXPECT_EQ(to_circle.end, WayUp::End::circle);
  EXPECT_EQ(ids(to_circle.nodes), (std::vector<std::int32_t>{8, 6, 5, 7}));
  EXPECT_EQ(to_circle.circle(), (std::vector<std::int32_t>{6, 5, 7, 6}));
}

TEST_F(NodesOfATree, HaveThePathThatTheClassTells) {
  add_node(1, 5, kNone, "  Office ");
  add_node(2, 5, 1, " ");
  add_node(3, 5, 2, "A 4");
  NodeTree tree;
  EXPECT_EQ(tree.path(3), "Office\\\\A 4");
  std::int32_t node = 3;
  EXPECT_EQ(catalog_->GetCatalogNodeHierarchy(node), "Office\\\\A 4");
  EXPECT_EQ(tree.path(99), "");
}

TEST_F(NodesOfATree, AreWalkedWithinTheTimeOfTheCall) {
  add_chain(5, 1, 3);
  NodeTree tree;
  tree.nodes_of(5);
  timeout_of([&] {
    while (true) tree.way_up(3);
  });
}

}  // namespace
}  // namespace mercato::test
