// SPDX-License-Identifier: Apache-2.0
// The commands that keep the store's file, the creation of a store by several at once, and a store that goes away.
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

constexpr const char* kBackup = "a server's own programs back up its stores";

class StoreCommands : public CommandTest {
 protected:
  std::string path(const std::string& name) const { return tool_.folder() / name; }
};

TEST_F(StoreCommands, ANewStoreIsInOrder) {
  expect_store_in_order();
  json expected = json::parse(R"({"lackingRights":[],"version":3,"missing":[],"mendedTextIndexes":[],"others":[],)"
                              R"("unfinishedCopyOf":null,"dangling":[]})");
  const store::StoreDescription is = tool_.store().description();
  expected["engine"] = is.engine;
  expected["engineVersion"] = is.version;
  expected["place"] = is.place;
  expected["collation"] = is.collation;
  expected["textSearch"] = is.text_search;
  expected["damage"] = tool_.store().file() ? json::array() : json();  // only a file's pages are looked at
  EXPECT_EQ(answer({"store", "check"}), expected);
}

TEST_F(StoreCommands, RowsThatLeadNowhereAreToldOneReferenceALine) {
  execute(
      "INSERT PROPERTY (PROPERTYNAME) VALUES ('colour');\n"
      "INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 7, 'red');\n"
      "INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 8, 'red');\n"
      "INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 9, 'red');\n"
      "INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 10, 'red');\n"
      "INSERT CATALOGNODE (CATALOGID, NODENAME) VALUES (3, 'lost');\n");
  const ToolRun done = run({"store", "check"});
  EXPECT_EQ(done.status, 3);
  EXPECT_EQ(
      done.out,
      description_of(tool_.store()) +
          "leads nowhere: 1 row of CATALOGNODE with a CATALOGID that is in no row of CATALOG: NODEID 1, CATALOGID "
          "3\n"
          "  echo \"SELECT * FROM CATALOGNODE R WHERE R.CATALOGID > 0 AND NOT EXISTS (SELECT 1 FROM CATALOG T "
          "WHERE T.CATALOGID = R.CATALOGID)\" | mercato execute -\n"
          "leads nowhere: 4 rows of PRODUCTPROPVALUE with a PRODUCTID that is in no row of PRODUCT: PROPERTYID 1, "
          "PRODUCTID 7; PROPERTYID 1, PRODUCTID 8; PROPERTYID 1, PRODUCTID 9; ...\n"
          "  echo \"SELECT * FROM PRODUCTPROPVALUE R WHERE R.PRODUCTID > 0 AND NOT EXISTS (SELECT 1 FROM PRODUCT T "
          "WHERE T.PRODUCTID = R.PRODUCTID)\" | mercato execute -\n");
  EXPECT_EQ(answer({"store", "check"}, 3).at("dangling").at(0),
            json({{"table", "CATALOGNODE"},
                  {"column", "CATALOGID"},
                  {"refersTo", "CATALOG"},
                  {"rows", 1},
                  {"first", json::array({{{"NODEID", 1}, {"CATALOGID", 3}}})},
                  {"query",
                   "SELECT * FROM CATALOGNODE R WHERE R.CATALOGID > 0 AND NOT EXISTS (SELECT 1 FROM CATALOG T WHERE "
                   "T.CATALOGID = R.CATALOGID)"}}));
  // The line below a finding is a command as it stands.
  std::istringstream lines(done.out);
  std::string command;
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("  echo ")) command = line;
  EXPECT_EQ(tool_.run_line(command).out,
            "PROPERTYID  PRODUCTID  VALUE\n1           7          red\n1           8          red\n"
            "1           9          red\n1           10         red\n1 statement run, 0 rows changed.\n");
}

TEST_F(StoreCommands, MissingTablesAndIndexesAreNamed) {
  execute("DROP TABLE FAQCATEGORY;\nDROP TABLE USERNODE;\n");
  const ToolRun done = run({"store", "check"});
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(done.out, description_of(tool_.store()) +
                          "missing: USERNODE\nmissing: IX_USERNODE_USERID\nmissing: FAQCATEGORY\n"
                          "Tables or indexes are missing: `mercato init` creates them, without rows.\n");
}

TEST_F(StoreCommands, AStoreOfANewerReleaseIsLeftAloneAndNamedWhereItDoesNotFit) {
  execute(
      "INSERT MERCATO_SCHEMA (VERSION, APPLIED, BY_RELEASE) VALUES (9, '2031-01-01', '9.0.0');\n"
      "DROP TABLE HAZARDOUSCLASS;\nDROP TABLE FAQCATEGORY;\n");
  const std::string newer =
      "mercato: The tables of the store have version 9, and this release knows version 3 at most. Use the newer "
      "release.\n";
  expect_refused({"init"}, newer, 4);
  execute("DROP TABLE UNIT;\n");
  const ToolRun done = run({"unit", "list"});
  EXPECT_EQ(done.status, 4);
  EXPECT_EQ(done.err, newer);
  const ToolRun checked = run({"store", "check"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_TRUE(
      checked.out.ends_with("\nThe tables of the store have version 9, and this release knows version 3 at "
                            "most. Use the newer release.\n"))
      << checked.out;
}

TEST_F(StoreCommands, TheCheckOfAStoreWithoutTablesAndOfOlderOnesSaysWhatToDo) {
  execute(
      "CREATE TABLE NOTES (TEXT ntext NULL);\nCREATE TABLE ORDERS (ORDERID int NULL);\nDROP TABLE MERCATO_SCHEMA;\n");
  const ToolRun older = run({"store", "check"});
  EXPECT_EQ(older.status, 1);
  EXPECT_TRUE(
      older.out.ends_with("\nnot ours     NOTES, ORDERS\nThe tables of the store have version 0, and this "
                          "release needs version 3. `mercato init` brings them up to date.\n"))
      << older.out;
  EXPECT_EQ(
      tool_.run({"execute", "-", "--store", "Data Source=other.db;Create=Yes"}, "CREATE TABLE NOTES (N int NULL);")
          .status,
      0);
  const ToolRun empty = run({"store", "check", "--store", "other.db"});
  EXPECT_EQ(empty.status, 1);
  EXPECT_TRUE(empty.out.ends_with("\nThe store has no tables: `mercato init` creates them.\n")) << empty.out;
  EXPECT_EQ(empty.out.find("missing: "), std::string::npos);
}

TEST_F(StoreCommands, InitBringsTheTablesOfAReleaseBeforeVersionsUpToDate) {
  execute("INSERT UNIT (UNITCODE) VALUES ('EA');\nDROP TABLE MERCATO_SCHEMA;\n");
  expect_done({"init"},
              "brought up to date: the tables had version 0 and have version 3\n"
              "Nothing to create: all 92 tables and indexes are there.\n");
  expect_done({"init"}, "Nothing to create: all 92 tables and indexes are there.\n");
  EXPECT_EQ(rows("SELECT UNITCODE FROM UNIT;"), "UNITCODE\nEA\n");
  EXPECT_EQ(answer({"init"}), json::parse(R"({"tables":[],"indexes":[],"existing":92,"version":3,"versionBefore":3})"));
}

TEST_F(StoreCommands, AColumnThatOlderTablesHaveNotNamesTheirVersion) {
  execute("DROP TABLE MERCATO_SCHEMA;\nDROP TABLE PRODUCT;\nCREATE TABLE PRODUCT (PRODUCTID int NOT NULL);\n");
  const ToolRun done = run({"find", "x"});
  EXPECT_EQ(done.status, 4);
  EXPECT_EQ(done.err,
            "mercato: The tables of the store have version 0, and this release needs version 3. `mercato init` brings "
            "them up to date.\n");
}

TEST_F(StoreCommands, ACopyIsAWholeStore) {
  execute(
      "INSERT UNIT (UNITCODE) VALUES ('EA');\nINSERT CATALOG (CATALOGNAME) VALUES ('House');\n"
      "CREATE TABLE NOTES (N int NULL);\n");
  expect_done({"store", "copy", tool_.connection_string(), "Provider=SQLite;Data Source=copy.db"},
              "The store was copied: 2 rows of 38 tables, counts and checksums agree. Left, since they are not the "
              "library's: NOTES.\n");
  expect_done({"store", "check", "--store", "copy.db"},
              description_of(*store_in_file(path("copy.db"))) + "The store is in order.\n");
  EXPECT_EQ(run({"execute", "-", "--store", "copy.db"}, "SELECT UNITCODE FROM UNIT;").out,
            "UNITCODE\nEA\n1 statement run, 0 rows changed.\n");
  const json done = answer({"store", "copy", "copy.db", "again.db"});
  EXPECT_EQ(done.at("from"), std::filesystem::canonical(path("copy.db")).string());
  EXPECT_EQ(done.at("to"), std::filesystem::canonical(path("again.db")).string());
  EXPECT_EQ(done.at("continued"), false);
  EXPECT_EQ(done.at("left"), json::array());
  EXPECT_EQ(done.at("tables").size(), 38u);
  EXPECT_EQ(done.at("tables").at(33), json({{"table", "UNSPSCCODES"}, {"rows", 0}, {"checksum", "0000000000000000"}}));
  EXPECT_EQ(run({"store", "copy", tool_.connection_string(), "again.db"}).err,
            "mercato: '" + std::filesystem::canonical(path("again.db")).string() +
                "' has rows already, in the table CATALOG. Copy into a store without rows.\n");
}

TEST_F(StoreCommands, AnUnfinishedCopyIsToldByTheCheck) {
  execute(
      "CREATE TABLE MERCATO_COPY (COPIEDTABLE nvarchar(128) NOT NULL PRIMARY KEY, SOURCE ntext NULL);\n"
      "INSERT MERCATO_COPY (COPIEDTABLE, SOURCE) VALUES ('', '/srv/shop.db');\n");
  const ToolRun done = run({"store", "check"});
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(done.out, description_of(tool_.store()) +
                          "The store is an unfinished copy of /srv/shop.db: repeat `mercato store copy` to finish "
                          "it.\n");
}

TEST_F(StoreCommands, ATextIndexThatIsWrongIsMendedAndTold) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "it makes one wrong by a statement of SQLite's own");
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path("mercato.db").c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, "DROP TRIGGER \"text index of PRODUCT after delete\"", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  const ToolRun done = run({"store", "check"});
  EXPECT_EQ(done.status, 3);
  EXPECT_EQ(done.out, description_of(tool_.store()) +
                          "mended: the text index of PRODUCT did not hold what the table does, and was made anew\n");
  expect_store_in_order();
}

TEST_F(StoreCommands, ADamagedStoreIsToldAndBroughtBack) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), kBackup);
  execute("INSERT UNIT (UNITCODE) VALUES ('EA');\n");
  expect_done({"store", "backup", "kept.db"}, "The store was backed up to kept.db.\n");
  std::string bytes = read_whole(path("mercato.db"));
  bytes.replace(bytes.size() / 2, 9000, 9000, '\7');
  write_whole(path("mercato.db"), bytes);
  const json found = answer({"store", "check"}, 1);
  EXPECT_FALSE(found.at("damage").empty());
  EXPECT_EQ(run({"store", "backup", "never.db"}).status, 4);
  EXPECT_FALSE(std::filesystem::exists(path("never.db")));
  expect_done({"store", "restore", "kept.db"},
              "The store was restored from kept.db. What was there before is kept as mercato.db.before-restore.\n");
  expect_store_in_order();
  EXPECT_EQ(rows("SELECT UNITCODE FROM UNIT;"), "UNITCODE\nEA\n");
  EXPECT_EQ(answer({"store", "restore", "kept.db", "--discard-old"}),
            json::parse(R"({"restored":"kept.db","kept":""})"));
}

TEST_F(StoreCommands, AFileThatIsThereIsNoPlaceForABackup) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), kBackup);
  write_file("kept.db", "dear");
  expect_refused({"store", "backup", "kept.db"},
                 "mercato: There is a file 'kept.db' already. Give the backup another name, or delete it.\n", 4);
  EXPECT_EQ(read_whole(path("kept.db")), "dear");
  expect_refused({"store", "restore", "kept.db"}, "mercato: 'kept.db' is no store of this program.\n", 4);
}

// Of several at once one failed at another's tables, and under a umask of 002 the whole group could write the store.
TEST(StoreCreation, BySeveralAtOnceIsDoneByOneAndFoundDoneByTheOthers) {
  const ToolFolder tool(Place::in_memory, Tables::none);
  const ToolRun all =
      tool.run_line("umask 002; for i in 1 2 3 4 5 6; do mercato init --json >$i.out 2>&1 & done; wait; cat ?.out");
  EXPECT_EQ(all.err, "");
  std::istringstream lines(all.out);
  int creators = 0;
  int processes = 0;
  for (std::string line; std::getline(lines, line); ++processes) {
    const json answer = json::parse(line, nullptr, false);
    ASSERT_TRUE(answer.is_object()) << line;
    if (answer.at("tables").empty())
      EXPECT_TRUE(answer.at("indexes").empty()) << line;
    else
      ++creators;
  }
  EXPECT_EQ(processes, 6);
  EXPECT_EQ(creators, 1);
  EXPECT_TRUE(tool.run({"store", "check"}).out.ends_with("\nThe store is in order.\n"));
  if (const auto file = tool.store().file()) {
    struct stat status {};
    ASSERT_EQ(stat(file->c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
  }
}

// The upload said "applied 3000" with exit status 0, and nothing was in any file.
TEST_F(StoreCommands, AnUploadIntoAStoreThatGoesAwayClaimsNothing) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "the file of the store is removed");
  std::string records;
  for (int i = 0; i < 1500; ++i) {
    const std::string key = std::to_string(i);
    records += "<Product buyfrompartnumber=\"P" + key + "\"><PARTNUMBER>M" + key +
               "</PARTNUMBER><PRODUCTDESCRIPTION>About it</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>"
               "</Product>";
  }
  write_file("records.xml", "<Products>" + records + "</Products>");
  // As soon as the upload has written something.
  const ToolRun upload = tool_.run_line(
      "mercato upload records.xml --key gone >upload.out 2>upload.err & p=$!\n"
      "while [ ! -s mercato.db-wal ]; do sleep 0.01; done\n"
      "rm mercato.db; wait $p; echo $? >status; cat upload.out; cat upload.err >&2");
  EXPECT_EQ(read_whole(path("status")), "1\n");
  EXPECT_EQ(
      upload.out,
      "read         1500  records of the document\n"
      "valid           0  written with all their fields\n"
      "repaired        0  written without the fields listed above\n"
      "written         0  applied: 0 inserted, 0 updated\n"
      "skipped         0  refused\n"
      "remaining    1500  in web/XMLDownload/remaining_products_gone.xml\n"
      "The upload was ended early: The file of the store was moved, removed or replaced during the upload, so that "
      "nothing of the document is in the store for certain. Put the file back, or a backup, and upload the whole "
      "document again.\n");
  EXPECT_EQ(upload.err, "");
}

}  // namespace
}  // namespace mercato::test
