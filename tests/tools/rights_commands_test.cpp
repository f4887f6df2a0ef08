// SPDX-License-Identifier: Apache-2.0
// The commands that keep rights, and the explanation of one.
#include <gtest/gtest.h>

#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

using nlohmann::json;

// Two catalogues, the first with a tree of three levels.
constexpr const char* kRightsSeed = R"(
INSERT INTO USERS (USERID) VALUES ('ann');
INSERT INTO USERS (USERID) VALUES ('O''Neil');
INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('House', 1);
INSERT INTO CATALOG (CATALOGNAME) VALUES ('Next');
INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, 'Office');
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (1, 1, ' Paper ');
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (1, 2, 'A4');
INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (2, 'Other');
)";

class RightsCommands : public CommandTest {
 protected:
  RightsCommands() { execute(kRightsSeed); }
  // A right of the user on a catalogue, or on one of its nodes.
  void entitle(const std::string& user, const std::string& node, int level, bool view_only = false) {
    execute("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('" + user + "', 1, " +
            node + ", " + std::to_string(level) + ", " + (view_only ? "1" : "0") + ")");
  }
  std::string all_rights() {
    return rows(
        "SELECT USERID, ISPROFILE, CATALOGID, NODEID FROM CATALOGNODEBYUSER ORDER BY USERID, ISPROFILE, CATALOGID");
  }
};

TEST_F(RightsCommands, AreAssignedShownAndCleared) {
  expect_done({"rights", "show", "ann"}, "ann has no rights.\n");
  expect_done({"rights", "assign", "ann", "2", "House", "2"},
              "ann has 2 catalogues now; 0 earlier rights replaced. `mercato rights populate` lays the nodes out.\n");
  entitle("ann", "3", 3, true);
  execute("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('ann', 7, 99, 1, NULL)");
  expect_done({"rights", "show", "ann"},
              "CATALOGUE  LEVEL  NODE               RIGHT\n"
              "1 House    0      all                may order\n"
              "1 House    3      3 Office\\Paper\\A4  view only\n"
              "2 Next     0      all                may order\n"
              "7          1      99                 says neither\n");
  EXPECT_EQ(answer({"rights", "show", "ann"}).at("rights").at(1).at("PATH"), "Office\\Paper\\A4");
  EXPECT_EQ(answer({"rights", "assign", "ann", "1"}), json({{"assigned", true}, {"catalogs", 1}, {"replaced", 4}}));
  EXPECT_EQ(all_rights(), "USERID  ISPROFILE  CATALOGID  NODEID\nann     0          1          -\n");
  expect_refused({"rights", "clear", "ann"}, "mercato: 1 right of ann will be removed: --yes confirms it.\n");
  expect_done({"rights", "clear", "ann", "--yes"}, "1 right of ann removed.\n");
  EXPECT_EQ(answer({"rights", "clear", "ann"}), json({{"cleared", true}, {"removed", 0}}));
  EXPECT_EQ(all_rights(), "0 rows\n");
}

TEST_F(RightsCommands, OfAProfileAreItsOwn) {
  expect_done({"rights", "assign", "buyers", "1", "--profile"},
              "profile buyers has 1 catalogue now; 0 earlier rights replaced.\n");
  expect_refused({"rights", "assign", "buyers", "2"},
                 "mercato: There is no user buyers; --force takes him all the same.\n");
  expect_done({"rights", "assign", "buyers", "2", "--force"},
              "buyers has 1 catalogue now; 0 earlier rights replaced. `mercato rights populate` lays the nodes out.\n");
  expect_done({"rights", "show", "buyers", "--profile"},
              "CATALOGUE  LEVEL  NODE  RIGHT\n1 House    0      all   may order\n");
  expect_done({"rights", "show", "buyers"}, "CATALOGUE  LEVEL  NODE  RIGHT\n2 Next     0      all   may order\n");
  expect_done({"rights", "show", "nobody", "--profile"}, "profile nobody has no rights.\n");
  expect_done({"rights", "clear", "buyers", "--profile", "--yes"}, "1 right of profile buyers removed.\n");
  EXPECT_EQ(all_rights(), "USERID  ISPROFILE  CATALOGID  NODEID\nbuyers  0          2          -\n");
}

TEST_F(RightsCommands, OfUsersWithQuotesAndBlanksAreKept) {
  expect_done({"rights", "assign", "O'Neil", "1"},
              "O'Neil has 1 catalogue now; 0 earlier rights replaced. `mercato rights populate` lays the nodes out.\n");
  expect_done({"rights", "show", "O'Neil"}, "CATALOGUE  LEVEL  NODE  RIGHT\n1 House    0      all   may order\n");
  const std::string before = whole_store();
  for (const Words& question : {Words{"rights", "explain", "O'Neil", "1"}, Words{"rights", "populate", "O'Neil"}}) {
    const ToolRun done = run(question);
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err,
              "mercato: the library puts a user's id into its statements as it stands, so that it cannot ask for "
              "O'Neil, which has a quote.\n");
  }
  EXPECT_EQ(whole_store(), before);
  expect_done({"rights", "clear", "O'Neil", "--yes"}, "1 right of O'Neil removed.\n");
  // Written without the blanks in front.
  ASSERT_EQ(run({"rights", "assign", "  Al Ba ", "1", "--force"}).status, 0);
  expect_done({"rights", "show", "Al Ba"}, "CATALOGUE  LEVEL  NODE  RIGHT\n1 House    0      all   may order\n");
  const std::string hostile = "x'; DELETE FROM CATALOG; --";
  for (const char* command : {"show", "clear"})
    expect_refused({"rights", command, hostile}, "mercato: There is no user " + hostile + ".\n");
  EXPECT_EQ(run({"rights", "populate", hostile}).status, 1);
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM CATALOG"), "N\n2\n");
}

TEST_F(RightsCommands, ThatMakeNoSenseAreRefused) {
  entitle("ann", "NULL", 0);
  expect_refused({"rights", "assign", "ann", "1", "9"}, "mercato: There is no catalogue 9.\n");
  for (const std::string which : {"1;2", "one", "99999999999"})
    expect_refused({"rights", "assign", "ann", "1", which}, "mercato: There is no catalogue " + which + ".\n");
  expect_refused({"rights", "assign", "ann", ""}, "mercato: There is no catalogue.\n");
  expect_wrong_usage({"rights", "assign", "ann"}, "CATALOG is required");
  expect_wrong_usage({"rights", "assign", " ", "1"}, "USER: it is blank");
  expect_wrong_usage({"rights", "clear", ""}, "USER: it is blank");
  expect_wrong_usage({"rights"}, "A command is required");
  expect_refused({"rights", "explain", "ann", "five"}, "mercato: There is no catalogue five.\n");
  const ToolRun too_long = run({"rights", "assign", std::string(61, 'x'), "1", "--force"});
  EXPECT_EQ(too_long.status, 1);
  EXPECT_EQ(too_long.err.substr(0, 60), "refused: USERID takes at most 60 characters, not 61\nmercato:");
}

TEST_F(RightsCommands, AreLaidOut) {
  entitle("ann", "2", 2);
  expect_done({"rights", "populate", "ann"}, "2 nodes laid out for ann.\n");
  EXPECT_EQ(rows("SELECT NODEID FROM USERNODE WHERE USERID = 'ann'"), "NODEID\n2\n3\n");
  entitle("ann", "3", 2);
  const ToolRun twice = run({"rights", "populate", "ann"});
  EXPECT_EQ(twice.out,
            "2 nodes laid out for ann. 1 row more: rights that overlap lay a node out several times, and the library "
            "cannot list these nodes.\n");
  EXPECT_EQ(answer({"rights", "populate", "ann"}), json({{"populated", true}, {"nodes", 2}, {"rows", 3}}));
  ASSERT_EQ(run({"rights", "clear", "ann", "--yes"}).status, 0);
  expect_done({"rights", "populate", "ann"}, "0 nodes laid out for ann.\n");
}

TEST_F(RightsCommands, InACircleOrBelowAParentThatIsMissingAreNotLaidOut) {
  entitle("ann", "2", 2);
  ASSERT_EQ(run({"rights", "populate", "ann"}).status, 0);
  entitle("ann", "3", 3);
  execute("UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 1");
  expect_refused({"rights", "populate", "ann"},
                 "refused: the parents of node 2 go in a circle: 2 > 1 > 3 > 2\n"
                 "refused: the parents of node 3 go in a circle: 3 > 2 > 1 > 3\n"
                 "mercato: the nodes cannot be laid out; nothing was changed.\n");
  execute("UPDATE CATALOGNODE SET PARENTNODEID = 99 WHERE NODEID = 1");
  const std::string before = whole_store();
  const ToolRun missing = run({"rights", "populate", "ann"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err.substr(0, missing.err.find("mercato:")),
            "refused: node 2 or one above it is not in catalogue 1\n"
            "refused: node 3 or one above it is not in catalogue 1\n");
  EXPECT_EQ(whole_store(), before);
}

TEST_F(RightsCommands, AreExplainedStepByStep) {
  const std::string head = "LOOKED AT  ID  NAME    ENTRY      WHAT IT DOES\n";
  entitle("ann", "NULL", 0);
  entitle("ann", "3", 3);
  entitle("ann", "2", 2);
  entitle("bob", "1", 1, true);
  entitle("bob", "3", 3);
  expect_done({"rights", "explain", "ann", "3"},
              "ann and node 3 Office\\Paper\\A4\n" + head +
                  "catalogue  1   House   may order  is not needed: the node's own entry says the same\n"
                  "node       3   A4      may order  decides\n"
                  "above it   2   Paper   may order  lets order from that node only, not from those below it\n"
                  "above it   1   Office  -          \n"
                  "sees: yes, the user has the whole catalogue\n"
                  "orders: yes, by the entry on node 3 A4\n"
                  "view only: no, by the entry on node 3 A4\n");
  expect_done({"rights", "explain", "bob", "3"},
              "bob and node 3 Office\\Paper\\A4\n" + head +
                  "catalogue  1   House   -          \n"
                  "node       3   A4      may order  is overruled\n"
                  "above it   2   Paper   -          \n"
                  "above it   1   Office  view only  decides: nothing lifts it\n"
                  "sees: no, not laid out (`mercato rights populate`), nor has the user the whole catalogue\n"
                  "orders: no, by the entry on node 1 Office\n"
                  "view only: yes, by the entry on node 1 Office\n");
  EXPECT_EQ(answer({"rights", "explain", "bob", "house/office"}).at("node"), 1);
  const json explained = answer({"rights", "explain", "cyd", "1"});
  EXPECT_EQ(explained,
            json({{"user", "cyd"},
                  {"node", 1},
                  {"path", "Office"},
                  {"steps",
                   {{{"place", "catalogue"}, {"id", 1}, {"name", "House"}, {"entry", nullptr}, {"decides", false}},
                    {{"place", "node"}, {"id", 1}, {"name", "Office"}, {"entry", nullptr}, {"decides", false}}}},
                  {"sees", false},
                  {"orders", false},
                  {"viewOnly", false}}));
}

TEST_F(RightsCommands, ThatTheLibraryCannotTellAreNotExplained) {
  expect_refused({"rights", "explain", "ann", "99"}, "mercato: There is no node 99.\n");
  execute(
      "INSERT INTO CATALOGNODE (NODENAME) VALUES ('of nobody');"
      "UPDATE CATALOGNODE SET PARENTNODEID = 4 WHERE NODEID = 4;");
  expect_refused({"rights", "explain", "ann", "5"},
                 "refused: node 5 has no catalogue\nmercato: the library cannot say whether the user sees it.\n");
  expect_refused({"rights", "explain", "ann", "4"},
                 "refused: the parents of node 4 go in a circle: 4 > 4\n"
                 "mercato: the library would ask until its time is up.\n");
  // The walk meets a restriction before it has gone round the circle.
  execute("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('ann', 2, 4, 1, 1)");
  EXPECT_EQ(answer({"rights", "explain", "ann", "4"}).at("viewOnly"), true);
}

}  // namespace
}  // namespace mercato::test
