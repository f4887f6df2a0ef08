// SPDX-License-Identifier: Apache-2.0
// mercato shopout: shop-out folders, accounts, and the partners of nodes and catalogues.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

// Catalogue 1 with the shop-out folders 1, of two partners, and 2, of none, and the node 3; catalogue 2 with node 4.
constexpr const char* kShopOutSeed = R"(
INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES ('ACME', 'Acme Tools');
INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('BOLT');
INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('CORK');
INSERT INTO CATALOG (CATALOGNAME) VALUES ('house');
INSERT INTO CATALOG (CATALOGNAME) VALUES ('other');
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODEURL, SHOPOUT) VALUES (1, 'Shop', 'https://shop.example', 1);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SHOPOUT) VALUES (1, 'Without a partner', 1);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, 'Plain');
INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (2, 'Elsewhere');
INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (1, 1, 2);
INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (1, 1, 1);
INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (NULL, 1, 1);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, SHAREDID, SHAREDPWD) VALUES ('ann', 1, 1, 'team', 'secret');
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID) VALUES ('bob', 1, 1);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, SHAREDID) VALUES ('O''Neil', 1, 1, 'neil');
)";

class ShopOutCommands : public CommandTest {
 protected:
  ShopOutCommands() : CommandTest(kShopOutSeed) {}
  std::string ties() {
    return rows(
        "SELECT NODEID, CATALOGID, BUSINESSPARTNERID FROM CATALOGNODEBYBP ORDER BY CATALOGID, NODEID, "
        "BUSINESSPARTNERID");
  }
};

TEST_F(ShopOutCommands, FoldersAreListedOnceWithTheirPartners) {
  expect_done({"shopout", "list"},
              "NODE  CATALOG  NAME  ADDRESS               PARTNERS\n"
              "1     1        Shop  https://shop.example  1 ACME, 2 BOLT\n");
  EXPECT_EQ(answer({"shopout", "list"}), json({{"folders",
                                                {{{"NODEID", 1},
                                                  {"CATALOGID", 1},
                                                  {"NODENAME", "Shop"},
                                                  {"NODEURL", "https://shop.example"},
                                                  {"NODEDESCRIPTION", nullptr},
                                                  {"PARTNERS", {1, 2}}}}}}));
  execute("UPDATE CATALOGNODE SET SHOPOUT = 0");
  expect_done({"shopout", "list"}, "There are no shop-out folders with a partner.\n");
}

TEST_F(ShopOutCommands, FolderIsShown) {
  expect_done({"shopout", "show", "1"},
              "FIELD      VALUE\nNODEID     1\nCATALOGID  1\nNODENAME   Shop\nNODEURL    https://shop.example\n"
              "PARTNERS   1 ACME, 2 BOLT\n");
  EXPECT_EQ(answer({"shopout", "show", "1"}).at("PARTNERS"), json({1, 2}));
  for (const std::string node : {"2", "3", "99"})
    expect_refused({"shopout", "show", node}, "mercato: Node " + node + " is no shop-out folder with a partner.\n");
}

TEST_F(ShopOutCommands, CataloguesAndNodesAreNamedByTheirNamesToo) {
  EXPECT_EQ(answer({"shopout", "show", "house/shop"}).at("NODEID"), 1);
  expect_done({"shopout", "account", "ann", "house/Shop"}, "ACCOUNT\nteam\n");
  expect_done({"shopout", "tie", "house", "--node", "house/Plain", "3"}, "1 partner tied to node 3 of catalogue 1.\n");
  expect_done({"shopout", "partners", "house", "--node", "house/Plain"}, "ID  PARTNER  NAME\n3   CORK     \n");
  expect_refused({"shopout", "show", "house/Nowhere"}, "mercato: There is no node Nowhere on the way house/Nowhere.\n");
}

TEST_F(ShopOutCommands, PartnerThatNobodyKnowsIsShownByItsId) {
  execute("DELETE FROM BUSINESSPARTNER WHERE BUSINESSPARTNERID = 2");
  EXPECT_NE(run({"shopout", "show", "1"}).out.find("1 ACME, 2\n"), std::string::npos);
  EXPECT_EQ(answer({"shopout", "partners", "1", "--node", "1"}).at("partners").at(0), json({{"BUSINESSPARTNERID", 2}}));
}

TEST_F(ShopOutCommands, PasswordIsPrintedOnDemandOnly) {
  expect_done({"shopout", "account", "ann", "1"}, "ACCOUNT\nteam\n");
  expect_done({"shopout", "account", "ann", "1", "--password"}, "ACCOUNT  PASSWORD\nteam     secret\n");
  EXPECT_EQ(answer({"shopout", "account", "ann", "1"}), json({{"accounts", {{{"SHAREDID", "team"}}}}}));
  EXPECT_EQ(answer({"shopout", "account", "ann", "1", "--password"}),
            json({{"accounts", {{{"SHAREDID", "team"}, {"SHAREDPWD", "secret"}}}}}));
  expect_done({"shopout", "account", "O'Neil", "1", "--password"}, "ACCOUNT  PASSWORD\nneil     \n");
  expect_done({"shopout", "account", "bob", "1"}, "bob has no account at node 1.\n");
  expect_done({"shopout", "account", "ann", "2"}, "ann has no account at node 2.\n");
}

TEST_F(ShopOutCommands, PartnersAreListed) {
  expect_done({"shopout", "partners", "1", "--node", "1"},
              "ID  PARTNER  NAME\n2   BOLT     \n1   ACME     Acme Tools\n");
  expect_done({"shopout", "partners", "1"}, "ID  PARTNER  NAME\n1   ACME     Acme Tools\n");
  expect_done({"shopout", "partners", "2"}, "No partner is tied to catalogue 2.\n");
  expect_done({"shopout", "partners", "1", "--node", "3"}, "No partner is tied to node 3 of catalogue 1.\n");
  EXPECT_EQ(answer({"shopout", "partners", "1"}),
            json({{"partners", {{{"BUSINESSPARTNERID", 1}, {"BUSINESSID", "ACME"}, {"PARTNERNAME", "Acme Tools"}}}}}));
}

TEST_F(ShopOutCommands, PartnersAreTiedReplacedAndUntied) {
  expect_done({"shopout", "tie", "1", "2", "3"}, "2 partners tied to catalogue 1.\n");
  EXPECT_EQ(answer({"shopout", "tie", "2", "--node", "4", "3"}), json({{"tied", true}}));
  EXPECT_EQ(ties(),
            "NODEID  CATALOGID  BUSINESSPARTNERID\n-       1          1\n-       1          2\n-       1          3\n"
            "1       1          1\n1       1          2\n4       2          3\n");
  expect_done({"shopout", "replace", "1", "3"}, "catalogue 1 has 1 partner now.\n");
  EXPECT_EQ(answer({"shopout", "replace", "1", "--node", "1", "3", "1"}), json({{"replaced", true}}));
  EXPECT_EQ(ties(),
            "NODEID  CATALOGID  BUSINESSPARTNERID\n-       1          3\n1       1          1\n1       1          3\n"
            "4       2          3\n");
  expect_refused({"shopout", "untie", "1", "--node", "1"},
                 "mercato: 2 partners will be untied from node 1 of catalogue 1: --yes confirms it.\n");
  expect_done({"shopout", "untie", "1", "--node", "1", "--yes"}, "2 partners untied from node 1 of catalogue 1.\n");
  EXPECT_EQ(answer({"shopout", "untie", "1", "--yes"}), json({{"untied", 1}}));
  EXPECT_EQ(ties(), "NODEID  CATALOGID  BUSINESSPARTNERID\n4       2          3\n");
}

TEST_F(ShopOutCommands, TieThatCannotBeIsRefused) {
  const std::string none = "mercato: no partner was tied.\n";
  expect_refused(
      {"shopout", "tie", "1", "1", "99"},
      "refused: there is no business partner 99\nrefused: partner 1 is tied to catalogue 1 already\n" + none);
  expect_refused({"shopout", "tie", "1", "--node", "4", "3", "3"},
                 "refused: there is no node 4 in catalogue 1\nrefused: partner 3 is named twice\n" + none);
  expect_refused({"shopout", "tie", "9", "1"}, "mercato: There is no catalogue 9.\n");
  expect_refused({"shopout", "replace", "1", "--node", "1", "99"},
                 "refused: there is no business partner 99\nmercato: the partners stay as they were.\n");
  EXPECT_EQ(answer({"shopout", "replace", "1", "99"}, 1),
            json({{"replaced", false}, {"reasons", {"there is no business partner 99"}}}));
  EXPECT_EQ(answer({"shopout", "tie", "1", "99"}, 1),
            json({{"tied", false}, {"reasons", {"there is no business partner 99"}}}));
  expect_refused({"shopout", "untie", "2"}, "mercato: no partner is tied to catalogue 2.\n");
  EXPECT_EQ(answer({"shopout", "untie", "1", "--node", "3"}, 1),
            json({{"untied", 0}, {"reasons", {"no partner is tied to node 3 of catalogue 1."}}}));
}

TEST_F(ShopOutCommands, TextOfTheCommandLineNeverBecomesAStatement) {
  const std::string hostile = "x'; DELETE FROM CATALOGNODEBYBP; --";
  const std::string before = whole_store();
  expect_done({"shopout", "account", hostile, "1"}, hostile + " has no account at node 1.\n");
  EXPECT_EQ(run({"shopout", "tie", "1", hostile}).status, 2);
  expect_refused({"shopout", "untie", hostile}, "mercato: There is no catalogue " + hostile + ".\n");
  EXPECT_EQ(whole_store(), before);
}

TEST_F(ShopOutCommands, WrongUsageIsToldBeforeTheStoreIsAsked) {
  expect_wrong_usage({"shopout"}, "A command is required");
  expect_wrong_usage({"shopout", "tie", "1"}, "PARTNERS is required");
  expect_wrong_usage({"shopout", "tie", "1", "40000"}, "PARTNERS: Value 40000 not in range 1 to 32767");
  for (const std::string id : {"40000", "0"}) {
    const std::string refusal = "mercato: Shop-out folders and ties have ids from 1 to 32767, not " + id + ".\n";
    expect_refused({"shopout", "show", id}, refusal);
    expect_refused({"shopout", "untie", id}, refusal);
    expect_refused({"shopout", "untie", "1", "--node", id}, refusal);
  }
}

}  // namespace
}  // namespace mercato::test
