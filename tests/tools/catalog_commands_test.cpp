// SPDX-License-Identifier: Apache-2.0
// The commands that keep catalogues: list, draw, load, copy, expire, migrate.
#include "tools/cli/catalog/catalog_commands.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <sstream>

#include "bench/support/data_folder.h"
#include "tests/support/another_process.h"
#include "tests/support/refusing_recorder.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

using nlohmann::json;

// A catalogue with two roots, and a successor that has the twin of one part of it. Products 1 and 3 are the same
// article; ann has all, bob may look at all, cyd has two nodes.
constexpr const char* kCatalogSeed = R"(
INSERT INTO CATALOG (CATALOGNAME, ACTIVE, VERSION) VALUES ('House', 1, 'a');
INSERT INTO CATALOG (CATALOGNAME) VALUES ('Next');
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('pens');
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('paper');
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('next pens');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('A1', 'Pen');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('A2', 'Ink');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('A1', 'Pen');
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (1, 1);
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (2, 1);
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (2, 2);
INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (3, 3);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE) VALUES (1, 'Office', 1, 0);
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) VALUES (1, 1, 'Pens', 2, 1, 1);
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) VALUES (1, 1, 'Paper', 1, 1, 2);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE) VALUES (1, 'Tools', 2, 0);
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 4, 'Pliers', 0, 1);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE) VALUES (2, 'OFFICE', 0);
INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID) VALUES (2, 6, 'pens', 1, 3);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID) VALUES ('ann', 1);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, VIEWONLY) VALUES ('bob', 1, 1);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, PARENTNODEID, LEVEL) VALUES ('cyd', 1, 2, 1, 2);
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('cyd', 1, 4, 1, 1);
INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('cyd', 1, 2);
)";

class CatalogCommands : public CommandTest {
 protected:
  CatalogCommands() { execute(kCatalogSeed); }
};

const std::string kLegend = ", or the whole catalogue is his; orders, view only: what the entries on its way up say\n";

// Lists

TEST_F(CatalogCommands, ListAndShowWhatThereIs) {
  expect_done({"catalog", "list"},
              "ID  NAME   ACTIVE  APPROVAL  VERSION\n1   House  yes     no        a\n2   Next   no      no        \n");
  EXPECT_EQ(answer({"catalog", "list"}).at("catalogs").at(1), json({{"CATALOGID", 2},
                                                                    {"CATALOGNAME", "Next"},
                                                                    {"ACTIVE", 0},
                                                                    {"APPROVALCATALOG", 0},
                                                                    {"SUPPLIERCATALOGID", nullptr},
                                                                    {"VERSION", nullptr},
                                                                    {"CATALOGLAYOUT", 0}}));
  expect_done({"catalog", "show", "HOUSE"},
              "CATALOGID = 1\nCATALOGNAME = House\nACTIVE = 1\nAPPROVALCATALOG = 0\nSUPPLIERCATALOGID = \nVERSION = a\n"
              "CATALOGLAYOUT = 0\nCATALOGDESCRIPTION = \nnodes: 5\nproducts: 2\nusers: 3\nprofiles: 0\n");
  EXPECT_EQ(answer({"catalog", "show", "2"}).at("products"), 1);
  execute("DELETE FROM CATALOG");
  expect_done({"catalog", "list"}, "There are no catalogues.\n");
}

TEST_F(CatalogCommands, CatalogueIsKnownByIdOrByTheNameThatOnlyItHas) {
  execute("INSERT INTO CATALOG (CATALOGNAME) VALUES ('2'); INSERT INTO CATALOG (CATALOGNAME) VALUES ('Next')");
  EXPECT_EQ(answer({"catalog", "show", "2"}).at("CATALOGNAME"), "Next");
  expect_refused({"catalog", "show", "next"},
                 "mercato: The name next stands for more than one catalogue: use the id.\n");
  for (const std::string which : {"9", "99999999999", "-1", "Nowhere", "1;2", "1.0"})
    expect_refused({"catalog", "show", which}, "mercato: There is no catalogue " + which + ".\n");
}

// Trees

TEST_F(CatalogCommands, TreeIsDrawnInTheOrderOfItsLevels) {
  const std::string tree =
      "catalogue 1 House, 5 nodes\n"
      "1 Office\n"
      "├── 3 Paper (1 product)\n"
      "└── 2 Pens (2 products)\n"
      "4 Tools\n"
      "└── 5 Pliers\n";  // the category of a folder is not shown
  expect_done({"catalog", "tree", "House"}, tree);
  for (const char* locale :
       {"export LC_ALL=C LANG=C.UTF-8", "export LC_ALL= LC_CTYPE=POSIX LANG=C.UTF-8", "unset LC_ALL LC_CTYPE LANG"})
    EXPECT_EQ(tool_.run({"catalog", "tree", "1"}, "", locale).out,
              "catalogue 1 House, 5 nodes\n1 Office\n|-- 3 Paper (1 product)\n`-- 2 Pens (2 products)\n4 Tools\n"
              "`-- 5 Pliers\n");
  EXPECT_EQ(tool_.run({"catalog", "tree", "1"}, "", "unset LC_ALL LC_CTYPE; export LANG=de_DE.utf8").out, tree);
  expect_done({"catalog", "tree", "1", "--depth", "1"},
              "catalogue 1 House, 5 nodes\n1 Office (2 nodes below)\n4 Tools (1 node below)\n");
  EXPECT_EQ(answer({"catalog", "tree", "1", "--depth", "2"}).at("nodes").at(1), json({{"NODEID", 3},
                                                                                      {"PARENTNODEID", 1},
                                                                                      {"NODENAME", "Paper"},
                                                                                      {"NODETYPE", 1},
                                                                                      {"LEVEL", 2},
                                                                                      {"CATEGORYID", 2},
                                                                                      {"PRODUCTS", 1},
                                                                                      {"HIDDEN", 0}}));
  execute("DELETE FROM CATALOGNODE");
  expect_done({"catalog", "tree", "1"}, "catalogue 1 House, 0 nodes\n");
}

TEST_F(CatalogCommands, TreeOfAUserSaysWhatHeMayDo) {
  expect_done({"catalog", "tree", "1", "--user", "cyd"},
              "catalogue 1 House, 5 nodes\n"
              "1 Office  [no right]\n"
              "├── 3 Paper (1 product)  [no right]\n"
              "└── 2 Pens (2 products)  [sees, orders]\n"
              "4 Tools  [view only]\n"
              "└── 5 Pliers  [view only]\n"
              "sees: the node is laid out for cyd" +
                  kLegend);
  expect_done({"catalog", "tree", "1", "--user", "bob", "--depth", "1"},
              "catalogue 1 House, 5 nodes\n1 Office (2 nodes below)  [sees, view only]\n"
              "4 Tools (1 node below)  [sees, view only]\nsees: the node is laid out for bob" +
                  kLegend);
  EXPECT_EQ(answer({"catalog", "tree", "1", "--user", "ann"}).at("nodes").at(4).at("RIGHTS"),
            json({{"AUTHORIZED", true}, {"VIEWONLY", false}, {"ORDER", true}}));
  expect_refused(
      {"catalog", "tree", "1", "--user", "O'Neil"},
      "mercato: the library puts a user's id into its statements as it stands, so that it cannot ask for O'Neil, "
      "which has a quote.\n");
}

TEST_F(CatalogCommands, TreeWithACircleOrWithoutAParentIsDrawnAndReported) {
  execute(
      "UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 1;"
      "UPDATE CATALOGNODE SET PARENTNODEID = 6 WHERE NODEID = 4;"
      "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (1, 99, 'Lost');"
      "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE) VALUES (1, 9, 'Own parent', 9);");
  const ToolRun tree = run({"catalog", "tree", "1", "--user", "ann"});
  EXPECT_EQ(tree.status, 3);
  EXPECT_EQ(tree.out,
            "catalogue 1 House, 7 nodes\n"
            "8 Lost  [sees, orders]\n"
            "4 Tools  [sees, orders]\n"
            "└── 5 Pliers  [sees, orders]\n"
            "1 Office  [cannot be asked: a circle]\n"
            "├── 3 Paper (1 product)  [cannot be asked: a circle]\n"
            "└── 2 Pens (2 products)  [cannot be asked: a circle]\n"
            "9 Own parent  [cannot be asked: a circle]\n"
            "sees: the node is laid out for ann" +
                kLegend);
  EXPECT_EQ(tree.err,
            "wrong: the parent of node 8 Lost, node 99, is not there\n"
            "wrong: the parent of node 4 Tools, node 6, is of another catalogue\n"
            "wrong: the parents of node 1 Office go in a circle: 1 > 3 > 1\n"
            "wrong: the parents of node 9 Own parent go in a circle: 9 > 9\n");
  const json found = answer({"catalog", "tree", "1", "--user", "ann"}, 3);
  EXPECT_EQ(found.at("nodes").size(), 7u);
  EXPECT_EQ(found.at("nodes").at(3).at("RIGHTS"), nullptr);
  EXPECT_EQ(found.at("problems").size(), 4u);
}

TEST_F(CatalogCommands, TreeOfAThousandLevelsIsDrawn) {
  std::string script = "INSERT INTO CATALOG (CATALOGID, CATALOGNAME) VALUES (5, 'Deep');";
  for (int level = 0; level < 1000; ++level)
    script += "INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (" +
              std::to_string(1000 + level) + ", 5, " + (level == 0 ? "NULL" : std::to_string(999 + level)) + ", 'n');";
  execute(script);
  const json nodes = answer({"catalog", "tree", "Deep"}).at("nodes");
  ASSERT_EQ(nodes.size(), 1000u);
  EXPECT_EQ(nodes.back().at("LEVEL"), 1000);
}

// The lines in front of the nodes took the square of the levels: 16 GB for a chain of 60,000.
TEST_F(CatalogCommands, LinesAreDrawnTo64LevelsAndDeeperOnesNameTheirLevel) {
  std::string text = "id,parent,name\nr,,root\n";
  for (int level = 2; level <= 60'000; ++level)
    text += std::to_string(level) + "," + (level == 2 ? "r" : std::to_string(level - 1)) + ",n\n";
  text += "x,r,beside\ny,65,beside\n";
  write_file("deep.csv", text);
  ASSERT_EQ(run({"catalog", "load", "deep.csv", "--name", "Deep"}).status, 0);
  const ToolRun tree = tool_.run({"catalog", "tree", "Deep"}, "", little_memory(1000000) + "; export LC_ALL=C");
  EXPECT_EQ(tree.status, 0) << tree.err;
  std::vector<std::string> lines;
  std::istringstream out(tree.out);
  for (std::string line; std::getline(out, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 60'003u);
  std::string front = "|   ";
  for (int level = 3; level < 64; ++level) front += "    ";
  EXPECT_EQ(lines[1], "8 root");
  EXPECT_EQ(lines[2], "|-- 9 n");
  EXPECT_EQ(lines[64], front + "`-- 71 n");
  EXPECT_EQ(lines[65], front + "    level 65: 72 n");
  EXPECT_EQ(lines[66], front + "    level 66: 73 n");
  EXPECT_EQ(lines[60'000], front + "    level 60000: 60007 n");
  EXPECT_EQ(lines[60'001], front + "    level 66: 60009 beside");
  EXPECT_EQ(lines[60'002], "`-- 60008 beside");
}

// No limit ended the tool's own walks.
TEST_F(CatalogCommands, WalksOfTheToolKeepToTheCallLimit) {
  std::string text = "id,parent,name\nr,,root\n";
  for (int level = 2; level <= 3000; ++level)
    text += std::to_string(level) + "," + (level == 2 ? "r" : std::to_string(level - 1)) + ",n\n";
  write_file("deep.csv", text);
  ASSERT_EQ(run({"catalog", "load", "deep.csv", "--name", "Deep"}).status, 0);
  tool_.write_settings("[limits]\ncall_seconds = 0.2\n");
  expect_refused({"catalog", "tree", "Deep", "--user", "ann"},
                 "mercato: Timeout expired: the call ran longer than its limit of 0.2 seconds.\n");
}

// Catalogues themselves

TEST_F(CatalogCommands, CatalogueIsCreated) {
  expect_done({"catalog", "new", "Spring", "active=1", "Version=2", "CATALOGDESCRIPTION="}, "catalogue 3 created.\n");
  EXPECT_EQ(answer({"catalog", "new", "Spring"}), json({{"id", 4}}));
  EXPECT_EQ(rows("SELECT CATALOGID, CATALOGNAME, ACTIVE, VERSION, CATALOGDESCRIPTION FROM CATALOG WHERE CATALOGID > 2"),
            "CATALOGID  CATALOGNAME  ACTIVE  VERSION  CATALOGDESCRIPTION\n3          Spring       1       2        -\n"
            "4          Spring       0       -        -\n");
  expect_refused({"catalog", "new", "Spring", "ACTIVE=many"},
                 "refused: ACTIVE takes a whole number, not 'many'\nmercato: Type mismatch.\n");
  expect_refused({"catalog", "new", "Spring", "COLOUR=red"},
                 "refused: there is no field COLOUR\nmercato: Item cannot be found in the collection corresponding to "
                 "the requested name or ordinal: COLOUR.\n");
  expect_wrong_usage({"catalog", "new", "  "}, "NAME: it is blank");
  expect_wrong_usage({"catalog", "new", "Spring", "ACTIVE"}, "PAIRS: 'ACTIVE' is not of the form NAME=VALUE");
}

TEST_F(CatalogCommands, CatalogueIsCopiedUnderANameOfItsOwn) {
  expect_done({"catalog", "copy", "1"},
              "catalogue 3 Copy Of House created as a copy with 5 nodes; it is not active.\n");
  EXPECT_EQ(answer({"catalog", "copy", "house", "--name", "O'Neil's", "--without-nodes"}),
            json({{"id", 4}, {"name", "O'Neil's"}, {"nodes", 0}}));
  expect_done({"catalog", "tree", "3", "--depth", "1"},
              "catalogue 3 Copy Of House, 5 nodes\n8 Office (2 nodes below)\n11 Tools (1 node below)\n");
  const ToolRun too_long = run({"catalog", "copy", "1", "--name", std::string(256, 'x')});
  EXPECT_EQ(too_long.status, 1);
  EXPECT_EQ(too_long.err.substr(0, 67), "refused: CATALOGNAME takes at most 255 characters, not 256\nmercato:");
  EXPECT_EQ(answer({"catalog", "list"}).at("catalogs").size(), 4u);
}

TEST_F(CatalogCommands, CatalogueExpiresWithItsProducts) {
  execute("UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = 2");
  expect_done({"catalog", "expire", "House"}, "catalogue 1 House is no longer active; 1 product disabled.\n");
  EXPECT_EQ(rows("SELECT PRODUCTID FROM PRODUCT WHERE DISABLED = 1"), "PRODUCTID\n1\n2\n");
  EXPECT_EQ(answer({"catalog", "expire", "1"}), json({{"expired", true}, {"disabled", 0}}));
  expect_refused({"catalog", "expire", "9"}, "mercato: There is no catalogue 9.\n");
}

// Loading

TEST_F(CatalogCommands, FileIsLoadedWithParentsThatComeLate) {
  write_file("nodes.csv",
             "\xEF\xBB\xBFname, ID ,depth,Parent_Id,CATEGORY\r\n"
             "\"Nuts, \"\"hex\"\"\",c,3,b,\r\n"
             "Hardware,a,1,,\r\n"
             "\r\n"
             "\"Bolts\nand more\",b,2,a,PENS\r\n"
             "  Ünter  ,d,1,,\r\n"
             "Nails,e,2,a,2");
  expect_done({"catalog", "load", "nodes.csv", "--name", "Hardware 2027"},
              "catalogue 3 created with 5 nodes, 2 roots.\n");
  expect_done({"catalog", "tree", "3"},
              "catalogue 3 Hardware 2027, 5 nodes\n"
              "8 Hardware\n"
              "├── 9 Bolts and more (2 products)\n"
              "│   └── 10 Nuts, \"hex\"\n"
              "└── 12 Nails (1 product)\n"
              "11 Ünter\n");
  EXPECT_EQ(rows("SELECT NODENAME FROM CATALOGNODE WHERE NODEID = 9 AND NODENAME LIKE '%s'+CHAR(10)+'%'"), "");
  EXPECT_EQ(rows("SELECT ACTIVE, CATALOGDESCRIPTION FROM CATALOG WHERE CATALOGID = 3"),
            "ACTIVE  CATALOGDESCRIPTION\n0       -\n");
}

TEST_F(CatalogCommands, FileMayHaveHeadersOfItsOwn) {
  write_file("themes.csv", "code,above,title,kind,id,name\n1,,First,,x,y\n2,1,Second,1,x,y\n");
  EXPECT_EQ(answer({"catalog", "load", "themes.csv", "--name", "T", "--id-column", "CODE", "--parent-column", "above",
                    "--name-column", "title", "--category-column", "kind", "--active", "--description", "d"}),
            json({{"id", 3}, {"nodes", 2}, {"roots", 1}}));
  EXPECT_EQ(rows("SELECT N.NODENAME, N.NODETYPE, N.CATEGORYID, N.SEQUENCE, C.ACTIVE, C.CATALOGDESCRIPTION FROM "
                 "CATALOGNODE N, CATALOG C WHERE N.CATALOGID = C.CATALOGID AND C.CATALOGID = 3"),
            "NODENAME  NODETYPE  CATEGORYID  SEQUENCE  ACTIVE  CATALOGDESCRIPTION\n"
            "First     0         -           1         1       d\n"
            "Second    1         1           1         1       d\n");
  expect_refused({"catalog", "load", "themes.csv", "--name", "T", "--id-column", "key"},
                 "mercato: The file has no column key in its first line.\n");
}

// A category was not found by its name when that was written with other characters for the same letters, or had a blank
// behind it in the store; a catalogue not when its letters beyond ASCII stood in another case.
TEST_F(CatalogCommands, NameIsTheSameInAnyCaseCompositionAndWithBlanksBehindIt) {
  execute(
      "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Möbel');"
      "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Lamps ')");
  write_file("office.csv", "id,parent,name,category\n1,,Desks,MO\u0308BEL\n2,,Light,lamps\n");
  EXPECT_EQ(answer({"catalog", "load", "office.csv", "--name", "Büro "}),
            json({{"id", 3}, {"nodes", 2}, {"roots", 2}}));
  EXPECT_EQ(rows("SELECT N.NODENAME, C.CATEGORYNAME FROM CATALOGNODE N, PRODUCTCATEGORY C WHERE N.CATEGORYID = "
                 "C.CATEGORYID AND N.CATALOGID = 3 ORDER BY N.NODEID"),
            "NODENAME  CATEGORYNAME\nDesks     Möbel\nLight     Lamps \n");
  EXPECT_EQ(answer({"catalog", "show", "BÜRO"}), answer({"catalog", "show", "3"}));
}

TEST_F(CatalogCommands, FileWithFaultsIsNotLoadedAndEachIsToldWithItsLine) {
  const std::string head = "id,parent,name,category\n";
  const struct {
    std::string text;
    Words faults;
  } cases[] = {
      {"a,,A,\nb,a,B,\na,,C,\n", {"line 4: the id a stands on line 2 already; every node needs its own"}},
      {"a,x,A,\n",
       {"line 2: there is no node x to be the parent of node a; add it, or leave the parent empty for a root"}},
      {"a,a,A,\n", {"line 2: node a is above itself: a > a; give one of them another parent"}},
      {"d,b,D,\na,c,A,\nb,a,B,\nc,b,C,\n",
       {"line 3: node a is above itself: a > c > b > a; give one of them another parent"}},
      {"a,,\" \",\n", {"line 2: the name of node a is empty"}},
      {",,A,\n,,B,\n", {"line 2: the id is empty", "line 3: the id is empty"}},
      {"a,,\"A\nA\",\nb,,,\n", {"line 4: the name of node b is empty"}},
      {"a,," + std::string(256, 'x') + ",\n", {"line 2: the name of node a has 256 characters; it may have 255"}},
      {"a,,A,9\n", {"line 2: there is no category 9; create it with `mercato category new`, or leave the field empty"}},
      {"a,,A,twice\n", {"line 2: the name twice stands for more than one category: use the id"}},
  };
  execute(
      "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('twice');"
      "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Twice')");
  for (const auto& row : cases) {
    write_file("bad.csv", head + row.text);
    std::string err;
    for (const std::string& fault : row.faults) err += "refused: " + fault + "\n";
    const std::string count = row.faults.size() == 1 ? "1 fault" : "2 faults";
    expect_refused({"catalog", "load", "bad.csv", "--name", "Bad"},
                   err + "mercato: bad.csv has " + count + "; nothing of it was loaded.\n");
  }
  std::string many = head;
  for (int node = 0; node < 25; ++node) many += std::to_string(node) + ",x,A,\n";
  write_file("bad.csv", many);
  const json reasons = answer({"catalog", "load", "bad.csv", "--name", "Bad"}, 1).at("reasons");
  ASSERT_EQ(reasons.size(), 21u);
  EXPECT_EQ(reasons.back(), "and 5 more");
}

TEST_F(CatalogCommands, FileThatIsNoTableIsNotLoaded) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "The file is empty."},
      {"\n\n", "The file is empty."},
      {"id,parent,name\n", "The file has no nodes below its first line."},
      {"key;above;label\na;;A\n",
       "The first line of the file has no column for the id of a node; name it with --id-column, or put commas between "
       "the columns if it has others."},
      {"id,name\na,A\n",
       "The first line of the file has no column for the parent of a node; name it with --parent-column, or put commas "
       "between the columns if it has others."},
      {"id,parent\na,A\n",
       "The first line of the file has no column for the name of a node; name it with --name-column, or put commas "
       "between the columns if it has others."},
      {"id,parent,name\na,,A\nb,a\n",
       "Line 3: 2 fields instead of 3 as in the header; put a field that has a comma in quotes."},
      {"id,parent,name\na,,B, C\n",
       "Line 2: 4 fields instead of 3 as in the header; put a field that has a comma in quotes."},
      {"id,parent,name\na,,\"A\nb,a,B\n", "The quote that opens on line 2 is never closed."},
      {"id,parent,name\na,,\"A\" x\n",
       "Line 2: There is text behind the closing quote of cell 3; double a quote that belongs to the text."},
  };
  for (const auto& [text, words] : cases) {
    write_file("bad.csv", text);
    expect_refused({"catalog", "load", "bad.csv", "--name", "Bad"}, "mercato: " + std::string(words) + "\n");
  }
  const ToolRun nowhere = run({"catalog", "load", "nowhere.csv", "--name", "Bad"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_NE(nowhere.err.find("nowhere.csv"), std::string::npos) << nowhere.err;
}

TEST_F(CatalogCommands, FileMayHaveTheSeparatorAndTheEncodingOfAnyProgram) {
  write_file("nodes.csv", "id;parent;name\n1;;B\xFC\x72o\n2;1;12\" pipe\n3;1;\"x;\ny\"\n");
  expect_done({"catalog", "load", "nodes.csv", "--name", "New"}, "catalogue 3 created with 3 nodes, 1 root.\n");
  EXPECT_EQ(rows("SELECT NODENAME FROM CATALOGNODE WHERE CATALOGID = 3 AND NODENAME LIKE 'B%' OR NODENAME LIKE '12%' "
                 "ORDER BY NODENAME;\n"),
            "NODENAME\n12\" pipe\nBüro\n");
}

TEST_F(CatalogCommands, FileIsLoadedWholeOrNotAtAll) {
  MERCATO_ONLY_WITH_REFUSALS(tool_.store());
  std::string text = "id,parent,name\n";
  for (int node = 1; node <= 50; ++node)
    text += std::to_string(node) + "," + (node == 1 ? "" : "1") + ",node " + std::to_string(node) + "\n";
  write_file("nodes.csv", text);
  const std::string before = whole_store();
  {
    const RefusedRows refused(tool_.store(), {"INSERT", "CATALOGNODE", "NODENAME", "'node 40'"});
    const ToolRun done = run({"catalog", "load", "nodes.csv", "--name", "New"});
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.out, "");
    EXPECT_NE(done.err.find("row refused on request"), std::string::npos) << done.err;
  }
  EXPECT_EQ(whole_store(), before);
  tool_.store().forget_lost_numbers();
  expect_done({"catalog", "load", "nodes.csv", "--name", "New"}, "catalogue 3 created with 50 nodes, 1 root.\n");
}

TEST_F(CatalogCommands, HostileTextInAFileIsTextOnly) {
  write_file("hostile.csv", "id,parent,name\n\"x'; DELETE FROM CATALOGNODE; --\",,\"'; DROP TABLE CATALOG; --\"\n");
  ASSERT_EQ(run({"catalog", "load", "hostile.csv", "--name", "'; DELETE FROM PRODUCT; --"}).status, 0);
  EXPECT_EQ(rows("SELECT CATALOGNAME FROM CATALOG"), "CATALOGNAME\nHouse\nNext\n'; DELETE FROM PRODUCT; --\n");
  EXPECT_EQ(rows("SELECT NODENAME FROM CATALOGNODE WHERE CATALOGID = 3"), "NODENAME\n'; DROP TABLE CATALOG; --\n");
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT"), "N\n3\n");
  const std::string hostile = "x'; DELETE FROM CATALOG; --";
  expect_refused({"catalog", "show", hostile}, "mercato: There is no catalogue " + hostile + ".\n");
  expect_refused({"catalog", "migrate", "1", hostile}, "mercato: There is no catalogue " + hostile + ".\n");
}

// A real tree of 6,711 shop categories, which is no part of the project.
TEST_F(CatalogCommands, TreeOfARealShopIsLoadedDrawnAndCopied) {
  const std::string file = (bench::data_folder() / "categories" / "retail-categories.csv").string();
  if (!std::filesystem::exists(file))
    GTEST_SKIP() << "there is no real data at " << file << "; MERCATO_DATA names its folder";
  expect_done({"catalog", "load", file, "--name", "Shop"}, "catalogue 3 created with 6711 nodes, 43 roots.\n");
  const json nodes = answer({"catalog", "tree", "Shop"}).at("nodes");
  ASSERT_EQ(nodes.size(), 6711u);
  // The file is in the order of the tree, and has the levels: nothing but the ids is new.
  std::size_t roots = 0, deepest = 0;
  for (const json& node : nodes) {
    const std::size_t level = node.at("LEVEL");
    roots += level == 1 ? 1 : 0;
    deepest = std::max(deepest, level);
  }
  EXPECT_EQ(roots, 43u);
  EXPECT_EQ(deepest, 7u);
  EXPECT_EQ(answer({"catalog", "copy", "Shop"}), json({{"id", 4}, {"name", "Copy Of Shop"}, {"nodes", 6711}}));
  const json copy = answer({"catalog", "tree", "4"}).at("nodes");
  ASSERT_EQ(copy.size(), 6711u);
  for (std::size_t position = 0; position < copy.size(); ++position) {
    ASSERT_EQ(copy[position].at("NODENAME"), nodes[position].at("NODENAME")) << position;
    ASSERT_EQ(copy[position].at("LEVEL"), nodes[position].at("LEVEL")) << position;
  }
}

// Migrating

// One right is replaced. Favourites are moved, or lost for each possible reason; one is in the successor.
constexpr const char* kMigrationSeed = R"(
INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID) VALUES ('eve', 2);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ann', 1, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ann', 2, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('bob', 1, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('cyd', 1, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('fay', 1, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('fay', 3, 0, 1);
)";

class CatalogMigration : public CatalogCommands {
 protected:
  CatalogMigration() { execute(kMigrationSeed); }
  static std::string report() {
    return "catalogue 1 House to 2 Next\n"
           "rights: 3 moved, 1 lost, 1 replaced\n"
           "  lost: 1 right on node 4 Tools; catalogue 2 Next has no such node\n"
           "favourites: 2 moved, 3 lost\n"
           "  lost: 1 favourite of ann: product 2 (A2); catalogue 2 Next has no product of this part number\n"
           "  lost: 1 favourite of bob: product 1 (A1); the user may only view the product in catalogue 2 Next\n"
           "  lost: 1 favourite of fay: product 1 (A1); no entry of the user lets him order the product in catalogue 2 "
           "Next\n";
  }
};

TEST_F(CatalogMigration, SaysWhatIsMovedAndLostAndWhy) {
  const std::string before = whole_store();
  expect_done({"catalog", "migrate", "House", "Next", "--dry-run"}, report() + "A dry run: nothing was changed.\n");
  EXPECT_EQ(whole_store(), before);
  expect_done({"catalog", "migrate", "1", "2"},
              report() + "The nodes laid out for users are as before: `mercato rights populate USER`.\n");
  EXPECT_EQ(rows("SELECT USERID, CATALOGID, NODEID, PARENTNODEID, VIEWONLY FROM CATALOGNODEBYUSER ORDER BY USERID"),
            "USERID  CATALOGID  NODEID  PARENTNODEID  VIEWONLY\n"
            "ann     2          -       -             0\n"
            "bob     2          -       -             1\n"
            "cyd     2          7       6             0\n");
  EXPECT_EQ(rows("SELECT USERID, PRODUCTID FROM FAVORITES ORDER BY USERID"),
            "USERID  PRODUCTID\nann     3\ncyd     3\nfay     3\n");
}

TEST_F(CatalogMigration, IsToldToPrograms) {
  const std::string before = whole_store();
  const json dry = answer({"catalog", "migrate", "1", "2", "--dry-run"});
  EXPECT_EQ(dry.at("migrated"), false);
  EXPECT_EQ(
      dry.at("rights"),
      json({{"moved", 3},
            {"lost", 1},
            {"replaced", 1},
            {"left", 0},
            {"losses", {{{"count", 1}, {"what", "on node 4 Tools"}, {"why", "catalogue 2 Next has no such node"}}}}}));
  EXPECT_EQ(dry.at("favorites").at("moved"), 2);
  EXPECT_EQ(dry.at("favorites").at("losses").size(), 3u);
  EXPECT_EQ(whole_store(), before);
  EXPECT_EQ(answer({"catalog", "migrate", "1", "2"}).at("migrated"), true);
}

TEST_F(CatalogMigration, OfNothingIsNothing) {
  execute("DELETE FROM CATALOGNODEBYUSER; DELETE FROM FAVORITES");
  expect_done({"catalog", "migrate", "1", "2"},
              "catalogue 1 House to 2 Next\nrights: 0 moved, 0 lost, 0 replaced\nfavourites: 0 moved, 0 lost\n"
              "The nodes laid out for users are as before: `mercato rights populate USER`.\n");
}

TEST_F(CatalogMigration, LeavesRightsOnNodesOfOtherCatalogues) {
  execute("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL) VALUES ('gus', 1, 99, 1)");
  const ToolRun done = run({"catalog", "migrate", "1", "2"});
  EXPECT_NE(done.out.find("rights: 3 moved, 1 lost, 1 replaced\n"), std::string::npos) << done.out;
  EXPECT_NE(done.out.find("\n  left: 1 right on nodes that are not of the catalogue\n"), std::string::npos) << done.out;
  EXPECT_EQ(rows("SELECT USERID FROM CATALOGNODEBYUSER WHERE CATALOGID = 1"), "USERID\ngus\n");
}

TEST_F(CatalogMigration, ThatWouldNeverEndIsRefused) {
  const std::string rights = "mercato: the rights cannot be moved; nothing was changed.\n";
  execute("UPDATE CATALOGNODE SET PARENTNODEID = NULL WHERE NODEID = 7");
  expect_refused({"catalog", "migrate", "1", "2"},
                 "refused: for node 2 Office\\Pens the first of its name in catalogue 2 Next is node 7 pens, and the "
                 "library looks at no other; rename one of them\n" +
                     rights);
  execute("UPDATE CATALOGNODE SET PARENTNODEID = 7 WHERE NODEID = 7");
  expect_refused({"catalog", "migrate", "1", "2"}, "refused: the parents of node 7 go in a circle: 7 > 7\n" + rights);
  execute("UPDATE CATALOGNODE SET PARENTNODEID = 0 WHERE NODEID = 7");
  expect_refused({"catalog", "migrate", "1", "2"}, "refused: above node 7 pens a parent is missing, node 0\n" + rights);
  // No right on that node, so that only the walk of the favourites would never end.
  execute("UPDATE CATALOGNODE SET PARENTNODEID = 7 WHERE NODEID = 7; DELETE FROM CATALOGNODEBYUSER WHERE NODEID = 2");
  expect_refused({"catalog", "migrate", "1", "2"},
                 "refused: the parents of node 7 go in a circle: 7 > 7\n"
                 "mercato: the favourites cannot be moved; nothing was changed.\n");
}

TEST_F(CatalogMigration, OntoItselfOrOntoRightsThatMayNotGoIsRefused) {
  expect_refused({"catalog", "migrate", "1", "House"},
                 "refused: both are catalogue 1 House, whose rights would be deleted\n"
                 "mercato: a catalogue is no successor of its own.\n");
  expect_refused({"catalog", "migrate", "1", "2", "--only-if-empty"},
                 "refused: catalogue 2 Next has 1 right already; without --only-if-empty they are replaced\n"
                 "mercato: nothing was migrated.\n");
  expect_refused({"catalog", "migrate", "1", "9"}, "mercato: There is no catalogue 9.\n");
  execute("DELETE FROM CATALOGNODEBYUSER WHERE CATALOGID = 2");
  EXPECT_EQ(answer({"catalog", "migrate", "1", "2", "--only-if-empty"}).at("rights").at("moved"), 3);
}

TEST_F(CatalogMigration, ThatIsRepeatedTakesNothingAwayUnlessItIsTold) {
  EXPECT_EQ(answer({"catalog", "migrate", "1", "2"}).at("rights").at("moved"), 3);
  expect_refused(
      {"catalog", "migrate", "1", "2"},
      "refused: catalogue 1 House has none, and the 3 rights of catalogue 2 Next would be deleted; --replace "
      "does so\n"
      "mercato: there are no rights to move; nothing was changed.\n");
  EXPECT_EQ(answer({"catalog", "migrate", "1", "2", "--replace"}).at("rights").at("replaced"), 3);
}

TEST_F(CatalogMigration, WhoseFavouritesFailLeavesTheRightsToo) {
  MERCATO_ONLY_WITH_REFUSALS(tool_.store());
  execute("INSERT INTO FAVORITES (PRODUCTID) VALUES (1)");
  expect_refused({"catalog", "migrate", "1", "2"}, "mercato: Invalid use of Null.\n");
  execute("DELETE FROM FAVORITES WHERE USERID IS NULL; UPDATE FAVORITES SET USERID = 'O''Neil' WHERE USERID = 'fay'");
  const std::string before = whole_store();
  const ToolRun quoted = run({"catalog", "migrate", "1", "2"});
  EXPECT_EQ(quoted.status, 1);
  EXPECT_EQ(quoted.err,
            "mercato: the library puts a user's id into its statements as it stands, so that it cannot ask for O'Neil, "
            "which has a quote.\n");
  EXPECT_EQ(whole_store(), before);
  execute("DELETE FROM FAVORITES WHERE USERID = 'O''Neil'");
  {
    const RefusedRows refused(tool_.store(), {"UPDATE", "FAVORITES", "USERID", "'cyd'"});
    EXPECT_EQ(run({"catalog", "migrate", "1", "2"}).status, 1);
  }
  EXPECT_EQ(rows("SELECT CATALOGID FROM CATALOGNODEBYUSER WHERE USERID = 'ann'"), "CATALOGID\n1\n");
  EXPECT_EQ(run({"catalog", "migrate", "1", "2"}).status, 0);
}

// The same in this process, so that it can die at a chosen statement.
class KilledMigration : public StoreTest {};

TEST_F(KilledMigration, LeavesRightsAndFavouritesAsTheyWereWhereverItDies) {
  execute_script(std::string(kCatalogSeed) + kMigrationSeed);
  const auto before = all_rows();
  for (unsigned statement = 1;; ++statement) {
    SCOPED_TRACE("death at statement " + std::to_string(statement));
    const int status = in_another_process([&] {
      std::cout.rdbuf(nullptr);
      DeathAtAStatement death(statement);
      store::set_statement_observer(&death);
      cli::CatalogMigration given;
      given.from = "House";
      given.to = "Next";
      cli::migrate_catalog(given, {});
      store::set_statement_observer(nullptr);
    });
    if (WIFEXITED(status)) {
      // The process dies at each statement of the two calls, and of the questions around them.
      EXPECT_GT(statement, 40u);
      break;
    }
    ASSERT_EQ(all_rows(), before);
  }
  EXPECT_EQ(rows("SELECT COUNT(*) FROM CATALOGNODEBYUSER WHERE CATALOGID = 2"),
            (std::vector<std::vector<Variant>>{{3}}));
  EXPECT_EQ(rows("SELECT COUNT(*) FROM FAVORITES"), (std::vector<std::vector<Variant>>{{3}}));
}

}  // namespace
}  // namespace mercato::test
