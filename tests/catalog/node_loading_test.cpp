// SPDX-License-Identifier: Apache-2.0
// New nodes that a host writes into a catalogue.
#include "catalog/node_loading.h"

#include <gtest/gtest.h>

#include "tests/catalog/tree_fixture.h"
#include "tests/support/refusing_recorder.h"

namespace mercato::test {
namespace {

using Places = std::vector<std::vector<std::size_t>>;

std::vector<NewNode> below(const std::vector<std::optional<std::size_t>>& parents) {
  std::vector<NewNode> nodes;
  for (const auto& parent : parents) nodes.push_back({"n", parent, std::nullopt});
  return nodes;
}

TEST(CirclesAmongNewNodes, AreFoundOnceFromTheirFirstPlaceUpwards) {
  constexpr auto kRoot = std::nullopt;
  EXPECT_EQ(circles_among({}), Places{});
  EXPECT_EQ(circles_among(below({kRoot, 0, 1, 0})), Places{});
  EXPECT_EQ(circles_among(below({0})), (Places{{0}}));
  // 0 hangs below the circle of 1, 3 and 2; 4 and 5 are each above the other.
  EXPECT_EQ(circles_among(below({2, 3, 1, 2, 5, 4})), (Places{{1, 3, 2}, {4, 5}}));
}

class NewNodes : public CatalogTreeTest {
 protected:
  Rows written() const {
    return rows("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID FROM CATALOGNODE");
  }
};

TEST_F(NewNodes, AreWrittenParentsFirstAndNumberedAmongTheirSiblings) {
  const std::vector<NewNode> nodes = {{"hex", 2, 9},
                                      {"hardware", std::nullopt, std::nullopt},
                                      {"nuts", 1, std::nullopt},
                                      {"paper", std::nullopt, std::nullopt},
                                      {"nails", 1, 8}};
  int count = 0;
  write_nodes(5, nodes, [&] { ++count; });
  EXPECT_EQ(count, 5);
  const auto row = [](std::int32_t id, const Variant& parent, const char* name, std::int32_t sequence,
                      std::int32_t type, const Variant& category) {
    return std::vector<Variant>{id, 5, parent, name, sequence, type, category};
  };
  EXPECT_EQ(written(),
            (Rows{row(1, kNull, "hardware", 1, 0, kNull), row(2, 1, "nuts", 1, 0, kNull), row(3, 2, "hex", 1, 1, 9),
                  row(4, kNull, "paper", 2, 0, kNull), row(5, 1, "nails", 2, 1, 8)}));
}

TEST_F(NewNodes, ThatTheStoreRefusesEndTheWriting) {
  MERCATO_ONLY_WITH_REFUSALS(store());
  const RefusedRows refused(store(), {"INSERT", "CATALOGNODE", "NODENAME", "'bad'"});
  int count = 0;
  EXPECT_EQ(raised_by([&] {
              write_nodes(5,
                          {{"good", std::nullopt, std::nullopt}, {"bad", 0, std::nullopt}, {"later", 0, std::nullopt}},
                          [&] { ++count; });
            }).Number,
            error_number::kConstraintViolated);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(written().size(), 1u);
}

}  // namespace
}  // namespace mercato::test
