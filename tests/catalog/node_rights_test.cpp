// SPDX-License-Identifier: Apache-2.0
// Which entry decides on a node, step by step, and that the answers are those of the class.
#include "catalog/node_rights.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/catalog/tree_fixture.h"
#include "tests/support/refusing_recorder.h"

namespace mercato {

// For the failures of comparisons.
void PrintTo(const RightsTrace::Step& step, std::ostream* out) {
  *out << "{place " << static_cast<int>(step.place) << ", id " << step.id << ", entry " << static_cast<int>(step.entry)
       << "}";
}
bool operator==(const RightsTrace::Step& step, const RightsTrace::Step& other) {
  return step.place == other.place && step.id == other.id && step.entry == other.entry;
}

}  // namespace mercato

namespace mercato::test {
namespace {

using Steps = std::vector<RightsTrace::Step>;

// Nodes 1 - 2 - 3 of catalogue 5 from the root down.
class TracedRights : public CatalogTreeTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_chain(5, 1, 3);
  }
};

TEST_F(TracedRights, AreDecidedByTheNodeBeforeTheCatalogueAndNotByAnAncestor) {
  enter("u", 5, kWhole, 0, 0);
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 3, 3, 0);
  const RightsTrace trace = trace_rights("u", 3);
  EXPECT_EQ(trace.steps, (Steps{{EntryPlace::catalog, 5, Right::order},
                                {EntryPlace::node, 3, Right::order},
                                {EntryPlace::ancestor, 2, Right::order},
                                {EntryPlace::ancestor, 1, Right::none}}));
  EXPECT_EQ(trace.decisive, 1u);
  EXPECT_TRUE(trace.may_order());
  EXPECT_FALSE(trace.is_view_only());
  EXPECT_FALSE(trace.endless);
  EXPECT_EQ(trace.sight, Sight::whole_catalog);
}

TEST_F(TracedRights, EndAtTheRestrictionThatDecides) {
  enter("u", 5, 3, 3, 0);
  enter("u", 5, 2, 2, 1);
  enter("u", 5, 1, 1, 1);
  lay_out("u", 5, 3);
  const RightsTrace trace = trace_rights("u", 3);
  EXPECT_EQ(trace.steps, (Steps{{EntryPlace::catalog, 5, Right::none},
                                {EntryPlace::node, 3, Right::order},
                                {EntryPlace::ancestor, 2, Right::view_only}}));
  EXPECT_EQ(trace.decisive, 2u);
  EXPECT_TRUE(trace.is_view_only());
  EXPECT_FALSE(trace.may_order());
  EXPECT_EQ(trace.sight, Sight::laid_out);
}

TEST_F(TracedRights, WithoutAnyEntryAreDecidedByNone) {
  enter("u", 5, 2, 2, 0);
  const RightsTrace trace = trace_rights("u", 3);
  EXPECT_EQ(trace.decisive, std::nullopt);
  EXPECT_FALSE(trace.may_order());
  EXPECT_FALSE(trace.is_view_only());
  EXPECT_EQ(trace.sight, Sight::nowhere);
}

TEST_F(TracedRights, OfANodeThatIsNotThereOrHasNoCatalogueHaveNoSteps) {
  add_node(4, kNone, kNone);
  lay_out("u", 5, 99);
  EXPECT_EQ(trace_rights("u", 4).sight, Sight::no_catalog);
  EXPECT_EQ(trace_rights("u", 4).steps, Steps{});
  EXPECT_EQ(trace_rights("u", 98).sight, Sight::no_node);
  EXPECT_EQ(trace_rights("u", 98).steps, Steps{});
  EXPECT_EQ(trace_rights("u", 99).sight, Sight::laid_out);
}

TEST_F(TracedRights, AreEndlessInACircleThatNothingRestricts) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 1"});
  enter("u", 5, 3, 3, 0);
  const RightsTrace trace = trace_rights("u", 3);
  EXPECT_TRUE(trace.endless);
  EXPECT_EQ(trace.steps.size(), 4u);
  enter("u", 5, 1, 1, 1);
  EXPECT_FALSE(trace_rights("u", 3).endless);
  EXPECT_TRUE(trace_rights("u", 3).is_view_only());
}

TEST_F(TracedRights, OfAUserWithAQuoteAreRefusedByTheStoreAndNothingIsLogged) {
  Recorder recorder;
  EXPECT_EQ(raised_by([] { trace_rights("O'Neil", 3); }).Number, error_number::kStatementRefused);
  EXPECT_TRUE(recorder.log.empty());
}

// The trace and the class, on any trees: with circles, missing parents, nodes of other catalogues above, nodes without
// a catalogue, entries that stand twice or say neither.

class AnyTrace : public StoreTest {
 protected:
  struct Answer {
    std::int32_t failure = 0;
    bool is_true = false;
    bool operator==(const Answer&) const = default;
  };
  template <class Ask>
  static Answer answer_of(Ask ask) {
    try {
      return {0, ask()};
    } catch (const Raised& raised) {
      return {raised.error().Number, false};
    }
  }
  static std::string grow(std::mt19937& random, int& count) {
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto text = [](int number) { return std::to_string(number); };
    std::string script = "DELETE FROM CATALOGNODE; DELETE FROM CATALOGNODEBYUSER; DELETE FROM USERNODE;";
    count = 1 + below(14);
    const int density = 1 + below(6);
    const auto entry = [&](const std::string& catalog, const std::string& node) {
      const std::string view_only = below(40) == 0 ? "NULL" : below(3) == 0 ? "1" : "0";
      script += "INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, VIEWONLY) VALUES ('u', " +
                std::string(below(10) == 0 ? "1" : "0") + ", " + catalog + ", " + node + ", " + view_only + ");";
    };
    for (int node = 1; node <= count; ++node) {
      const std::string catalog = below(15) == 0 ? "NULL" : text(5 + below(2));
      std::string parent = "NULL";
      if (node > 1 && below(6) != 0) parent = text(1 + below(node - 1));
      if (below(25) == 0) parent = text(1 + below(count));
      if (below(25) == 0) parent = "999";
      script += "INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (" + text(node) + ", " +
                catalog + ", " + parent + ", 'n');";
      while (below(10) < density) entry(catalog, text(node));
      if (below(5) == 0)
        script += "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('u', " + catalog + ", " + text(node) + ");";
    }
    for (const int catalog : {5, 6})
      if (below(3) == 0) entry(text(catalog), "NULL");
    return script;
  }

  Root<Catalog> catalog_;
};

TEST_F(AnyTrace, SaysWhatTheClassSays) {
  std::mt19937 random(20260705);
  std::map<std::string, int> seen;
  int circles = 0;
  for (int tree = 0; tree < 400; ++tree) {
    int count = 0;
    execute_script(grow(random, count));
    for (int node = 1; node <= count + 1; ++node) {
      SCOPED_TRACE("tree " + std::to_string(tree) + ", node " + std::to_string(node));
      RightsTrace trace;
      const Answer traced = answer_of([&] {
        trace = trace_rights("u", node);
        return true;
      });
      if (trace.endless) {
        // Each of these costs the whole time of a call.
        if (++circles > 8) continue;
        const store::CallLimit limit(0.1);
        EXPECT_EQ(answer_of([&] { return catalog_->IsViewOnlyCatalogNodeEx("u", node); }).failure,
                  error_number::kTimeout);
        continue;
      }
      const Answer view_only = answer_of([&] { return catalog_->IsViewOnlyCatalogNodeEx("u", node); });
      const Answer order = answer_of([&] { return catalog_->IsOrderCatalogNodeEx("u", node); });
      if (traced.failure != 0) {
        ASSERT_EQ(view_only, traced);
        ASSERT_EQ(order, traced);
        ++seen["null"];
        continue;
      }
      ASSERT_EQ(view_only, (Answer{0, trace.is_view_only()}));
      ASSERT_EQ(order, (Answer{0, trace.may_order()}));
      const Answer authorized = answer_of([&] { return catalog_->IsAuthorizedCatalogNode("u", node); });
      if (trace.sight == Sight::no_catalog)
        ASSERT_EQ(authorized, (Answer{error_number::kInvalidUseOfNull, false}));
      else
        ASSERT_EQ(authorized, (Answer{0, trace.sight == Sight::laid_out || trace.sight == Sight::whole_catalog}));
      if (trace.decisive) {
        // A step without an entry decides nothing.
        ASSERT_LT(*trace.decisive, trace.steps.size());
        ASSERT_NE(trace.steps[*trace.decisive].entry, Right::none);
      }
      ++seen[view_only.is_true ? "view only" : order.is_true ? "order" : "neither"];
      ++seen[authorized.failure != 0 ? "unanswered" : authorized.is_true ? "sees" : "does not see"];
    }
  }
  // The trees had enough of each kind.
  for (const char* kind : {"view only", "order", "neither", "sees", "does not see", "unanswered", "null"})
    EXPECT_GT(seen[kind], 30) << kind;
  EXPECT_GT(circles, 8);
}

}  // namespace
}  // namespace mercato::test
