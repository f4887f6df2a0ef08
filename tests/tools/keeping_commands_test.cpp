// SPDX-License-Identifier: Apache-2.0
// A department's tasks as commands: many products at once, nodes, the succession of a catalogue, prices, and what the
// doctor says. What the acts do is tested in tests/keeping; here what is said, asked and refused.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

// An old catalogue and its successor, which shows the first of two products; a right and a favourite to be moved.
constexpr const char* kKeepingSeed = R"(
INSERT INTO USERS (USERID, ISACTIVE) VALUES ('ann', 1);
INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR');
INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('ACME');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUSINESSPARTNERID, BUYFROMPARTNUMBER) VALUES ('A1', 'Pen', 1, '77');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUSINESSPARTNERID) VALUES ('1', 'Ink', 1);
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Pens');
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Inks');
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 1, 1);
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2, 2, 1);
INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('Old', 1);
INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('New', 0);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 'Pens', 1, 1);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 'Inks', 1, 2);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (2, 'Pens', 1, 1);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('ann', 1, 1, 1, 0);
INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 1, 0, 0, 1);
INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, CURRENCYCODE, PRICE)
  VALUES (1, '2026-01-01', 9, 'EUR', 1.15);
)";

class KeepingCommands : public CommandTest {
 protected:
  KeepingCommands() : CommandTest(kKeepingSeed) {}
};

TEST_F(KeepingCommands, TakeAProductByAnyOfItsNumbersAndRefuseTwo) {
  expect_done({"favorite", "list", "ann"},
              "ID  PART NUMBER  DESCRIPTION  KIND      FOLDER\n1   A1           Pen          ordinary  \n");
  expect_refused(
      {"price", "list", "1"},
      "mercato: 1 may be 2 products; name one by its id: id:1, part number A1, supplier's number 77, Pen; id:2, "
      "part number 1, Ink.\n");
  expect_done({"price", "list", "part:1"}, "product 2 has no price lines.\n");
  EXPECT_EQ(answer({"price", "list", "77", "--supplier", "acme"}).at("lines").size(), 1u);
}

TEST_F(KeepingCommands, HideManyProductsWithConsentOnly) {
  expect_done({"product", "disable", "--supplier", "ACME", "--dry-run"},
              "ID  PART NUMBER  SUPPLIER'S NUMBER  DESCRIPTION\n"
              "1   A1           77                 Pen\n"
              "2   1                               Ink\n"
              "2 products would be disabled. A dry run: nothing was changed.\n");
  expect_refused({"product", "disable", "--supplier", "ACME"},
                 "mercato: 2 products will be disabled: --yes confirms it.\n");
  EXPECT_EQ(answer({"product", "disable", "--supplier", "ACME", "--yes"}), json({{"products", 2}, {"disabled", true}}));
  expect_refused({"product", "disable", "--supplier", "ACME", "--yes"},
                 "mercato: no product is chosen that is not disabled already.\n");
  const ToolRun shown = run({"product", "enable", "--file", "-", "--yes"}, "A1\nid:2\n");
  EXPECT_EQ(shown.out, "2 products enabled.\n");
  expect_done({"product", "disable", "A1"}, "product 1 disabled.\n");
}

TEST_F(KeepingCommands, LetACatalogueSucceedAnotherInOneAct) {
  const std::string moved =
      "catalogue 1 Old to 2 New\n"
      "rights: 1 moved, 0 lost, 0 replaced\n"
      "favourites: 1 moved, 0 lost\n"
      "products: 1 disabled, 1 kept that an active catalogue shows\n"
      "nodes: laid out for 1 user\n";
  const std::string before = whole_store();
  expect_done({"catalog", "succeed", "Old", "New", "--dry-run"}, moved + "A dry run: nothing was changed.\n");
  EXPECT_EQ(whole_store(), before);
  expect_refused({"catalog", "succeed", "Old", "New"},
                 "mercato: Catalogue 1 Old will expire, and 2 New will have its rights and favourites; --dry-run says "
                 "what is lost: --yes confirms it.\n");
  expect_done({"catalog", "succeed", "Old", "New", "--yes"}, moved + "catalogue 2 New is active, 1 Old is not.\n");
  EXPECT_EQ(rows("SELECT PRODUCTID FROM PRODUCT WHERE DISABLED = 1"), "PRODUCTID\n2\n");
  EXPECT_EQ(rows("SELECT USERID, CATALOGID, NODEID FROM USERNODE"),
            "USERID  CATALOGID  NODEID\nann     2          3\n");
  expect_done({"catalog", "delete", "Old", "--yes"},
              "catalogue 1 Old with 2 nodes, 0 rights and 0 ties of partners deleted; categories and products stay.\n");
}

TEST_F(KeepingCommands, ExpireACatalogueWithAndWithoutWhatIsShared) {
  ASSERT_EQ(run({"catalog", "activate", "New"}).status, 0);
  expect_done({"catalog", "expire", "Old", "--dry-run"},
              "2 products would be disabled; of these 1 are shown by other active catalogues, and stay with "
              "--keep-shared. A dry run: nothing was changed.\n");
  EXPECT_EQ(answer({"catalog", "expire", "Old", "--keep-shared"}),
            json({{"expired", true}, {"disabled", 1}, {"kept", 1}}));
}

TEST_F(KeepingCommands, KeepNodesByTheirWays) {
  expect_done(
      {"node", "new", "Old/Pens", "Nibs", "--category", "Inks"},
      "node 4 created below node 1. What was laid out for users is as before: `mercato rights populate USER`.\n");
  expect_done({"node", "show", "old/pens"},
              "node 1 Pens\ncatalogue: 1\nlevel: 1\ncategory: 1 Pens\nproducts: 1\nchildren: 1\nnodes below: 1\n"
              "rights on it and below: 1\n");
  expect_done({"rights", "grant", "ann", "Old/Pens/Nibs", "--view-only"},
              "ann may only view node 4 Pens\\Nibs now. `mercato rights populate` lays the nodes out.\n");
  EXPECT_EQ(answer({"node", "move", "4", "1/"}), json({{"id", 4}, {"parent", nullptr}}));
  EXPECT_EQ(rows("SELECT NODEID, LEVEL FROM CATALOGNODEBYUSER WHERE NODEID = 4"), "NODEID  LEVEL\n4       1\n");
  expect_done({"rights", "revoke", "ann", "Old/Nibs"},
              "1 right of ann on node 4 Nibs removed. `mercato rights populate` lays the nodes out.\n");
  expect_done({"node", "rename", "Old/Nibs", "Tips"}, "node 4 is called Tips now.\n");
  EXPECT_EQ(answer({"node", "delete", "Old/Pens", "--yes"}),
            json({{"deleted", true}, {"dryRun", false}, {"nodes", 1}, {"rights", 1}, {"ties", 0}}));
}

TEST_F(KeepingCommands, ChangeAndEndPrices) {
  expect_done({"price", "change", "--supplier", "ACME", "--by", "10%", "--dry-run"},
              "PRODUCT  FROM        TO QUANTITY  GROUP  CURRENCY  BEFORE  AFTER\n"
              "1        2026-01-01  9                   EUR       1.15    1.27\n"
              "1 price would change by 10%, rounded to 2 decimals, halves away from zero. A dry run: nothing was "
              "changed.\n");
  expect_refused({"price", "change", "A1", "--by", "10%"},
                 "mercato: 1 price will change by 10%, rounded to 2 decimals, halves away from zero: --yes confirms "
                 "it.\n");
  EXPECT_EQ(answer({"price", "change", "A1", "--by=-10%", "--decimals", "3", "--yes"}).at("first").at(0).at("after"),
            "1.035");
  expect_done({"price", "end", "A1", "--on", "2026-12-31"}, "1 price line with 2026-12-31 as the last day.\n");
  expect_refused({"price", "delete", "A1", "--currency", "EUR"},
                 "mercato: 1 price line will be deleted: --yes confirms it.\n");
  EXPECT_EQ(answer({"price", "delete", "A1", "--to-quantity", "9", "--yes"}),
            json({{"deleted", 1}, {"dryRun", false}}));
}

TEST_F(KeepingCommands, SortProductsIntoCategories) {
  expect_done({"category", "add", "Inks", "A1", "part:1"}, "1 product added to category 2 Inks.\n");
  expect_refused({"category", "remove", "Inks", "--supplier", "ACME"},
                 "mercato: 2 products will be taken from category 2 Inks: --yes confirms it.\n");
  EXPECT_EQ(answer({"category", "remove", "Inks", "--supplier", "ACME", "--yes"}),
            json({{"removed", 2}, {"chosen", 2}}));
}

TEST_F(KeepingCommands, OfTheDoctorSayWhatMends) {
  execute("INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ann', 99, 0, 1)");
  const ToolRun found = run({"doctor"});
  EXPECT_EQ(found.status, 3);
  EXPECT_EQ(found.out,
            "1  FAVORITES.PRODUCTID leads to no row of PRODUCT\n     PRODUCTID 99\n"
            "   > mercato doctor --mend FAVORITES.PRODUCTID\n"
            "1  users have rights on nodes that were never laid out\n     ann\n   > mercato rights populate USER\n");
  EXPECT_EQ(answer({"doctor"}, 3).at("findings").size(), 2u);
  ASSERT_EQ(run({"rights", "populate", "ann"}).status, 0);
  expect_done({"doctor", "--mend", "FAVORITES.PRODUCTID", "--yes"}, "1 row of FAVORITES.PRODUCTID mended.\n");
  expect_done({"doctor"}, "Nothing to mend.\n");
}

}  // namespace
}  // namespace mercato::test
