// SPDX-License-Identifier: Apache-2.0
// mercato folder: what it says, and that nothing of another user is touched.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

// Two folders of ann's with a favourite in each, one in her root, one of bob's.
constexpr const char* kFolderSeed = R"(
INSERT INTO USERS (USERID) VALUES ('ann');
INSERT INTO USERS (USERID) VALUES ('bob');
INSERT INTO USERS (USERID) VALUES ('cyd');
INSERT INTO USERS (USERID) VALUES ('O''Neil');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('A1', 'Pen');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('A2', 'Ink');
INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('ann', 'Writing');
INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('ann', 'Art');
INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('bob', 'Tools');
INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 1, 0, 1, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 2, 1, 2, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 2, 0, 0, 1);
INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('bob', 1, 0, 3, 1);
)";

class FolderCommands : public CommandTest {
 protected:
  FolderCommands() : CommandTest(kFolderSeed) {}
};

TEST_F(FolderCommands, FoldersAreCreatedAndListedByName) {
  expect_done({"folder", "list", "ann"}, "ID  NAME\n2   Art\n1   Writing\n");
  expect_done({"folder", "list", "cyd"}, "cyd has no folders.\n");
  expect_done({"folder", "new", "ann", "Every week"}, "folder 4 created.\n");
  EXPECT_EQ(answer({"folder", "new", "bob", "Writing"}), json({{"id", 5}}));
  EXPECT_EQ(
      answer({"folder", "list", "bob"}),
      json({{"folders", {{{"FOLDERID", 3}, {"FOLDERNAME", "Tools"}}, {{"FOLDERID", 5}, {"FOLDERNAME", "Writing"}}}}}));
  EXPECT_EQ(answer({"folder", "list", "cyd"}), json({{"folders", json::array()}}));
}

TEST_F(FolderCommands, ApostrophesAreKeptAsTheyAre) {
  expect_done({"folder", "new", "O'Neil", "Ann's"}, "folder 4 created.\n");
  expect_done({"folder", "list", "O'Neil"}, "ID  NAME\n4   Ann's\n");
  expect_done({"folder", "rename", "O'Neil", "Ann's", "Bob's"}, "folder 4 is called Bob's now.\n");
  EXPECT_EQ(rows("SELECT USERID, FOLDERNAME FROM FAVORITEFOLDERS WHERE FOLDERID = 4"),
            "USERID  FOLDERNAME\nO'Neil  Bob's\n");
  EXPECT_EQ(answer({"folder", "delete", "O'Neil", "Bob's", "--yes"}), json({{"deleted", true}, {"favorites", 0}}));
}

TEST_F(FolderCommands, FolderThatCannotBeIsRefused) {
  const std::string nothing = "mercato: no folder was created.\n";
  expect_refused({"folder", "new", "ann", "WRITING"}, "refused: ann has a folder WRITING already: 1\n" + nothing);
  expect_refused({"folder", "new", "", ""},
                 "refused: a folder needs a name\nrefused: a folder needs a user\n" + nothing);
  expect_refused({"folder", "new", "ann", std::string(256, 'x')},
                 "refused: FOLDERNAME takes at most 255 characters, not 256\n" + nothing);
  EXPECT_EQ(answer({"folder", "new", "ann", ""}, 1), json({{"id", -1}, {"reasons", {"a folder needs a name"}}}));
}

// A name with letters beyond ASCII was found in its own case only, and not with a blank behind it.
TEST_F(FolderCommands, NameIsTheSameInAnyCaseCompositionAndWithBlanksBehindIt) {
  execute("INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('ann', 'Büro ')");
  const std::string decomposed = "BU\u0308RO";
  expect_refused({"folder", "new", "ann", decomposed},
                 "refused: ann has a folder " + decomposed + " already: 4\nmercato: no folder was created.\n");
  expect_done({"folder", "rename", "ann", decomposed, "Desk"}, "folder 4 is called Desk now.\n");
}

TEST_F(FolderCommands, FolderIsRenamedByItsNameOrItsId) {
  expect_done({"folder", "rename", "ann", "writing", "Every week"}, "folder 1 is called Every week now.\n");
  EXPECT_EQ(answer({"folder", "rename", "ann", "2", "Tools"}), json({{"renamed", true}}));
  EXPECT_EQ(rows("SELECT FOLDERNAME FROM FAVORITEFOLDERS ORDER BY FOLDERID"), "FOLDERNAME\nEvery week\nTools\nTools\n");
}

TEST_F(FolderCommands, FolderKeepsItsNameWhenTheOtherIsTaken) {
  const std::string kept = "mercato: folder 1 keeps its name.\n";
  expect_refused({"folder", "rename", "ann", "1", "Art"}, "refused: ann has a folder Art already: 2\n" + kept);
  expect_refused({"folder", "rename", "ann", "1", "Writing"}, "refused: ann has a folder Writing already: 1\n" + kept);
  expect_refused({"folder", "rename", "ann", "1", ""}, "refused: a folder needs a name\n" + kept);
  EXPECT_EQ(answer({"folder", "rename", "ann", "1", "Art"}, 1),
            json({{"renamed", false}, {"reasons", {"ann has a folder Art already: 2"}}}));
}

TEST_F(FolderCommands, FolderIsShownWithItsFavourites) {
  expect_done({"folder", "show", "ann", "Writing"},
              "ID  PART NUMBER  DESCRIPTION  KIND      FOLDER\n1   A1           Pen          ordinary  1 Writing\n");
  EXPECT_EQ(answer({"folder", "show", "ann", "2"}).at("favorites").size(), 1u);
  execute("DELETE FROM FAVORITES WHERE FOLDERID = 2");
  expect_done({"folder", "show", "ann", "Art"}, "folder 2 is empty.\n");
}

TEST_F(FolderCommands, FolderIsDeletedWithItsFavourites) {
  expect_done({"folder", "delete", "ann", "Writing", "--yes"}, "folder 1 deleted with 1 favourite.\n");
  EXPECT_EQ(answer({"folder", "delete", "ann", "2", "--yes"}), json({{"deleted", true}, {"favorites", 1}}));
  EXPECT_EQ(rows("SELECT FOLDERNAME FROM FAVORITEFOLDERS"), "FOLDERNAME\nTools\n");
  EXPECT_EQ(rows("SELECT USERID, FOLDERID FROM FAVORITES ORDER BY FOLDERID"),
            "USERID  FOLDERID\nann     0\nbob     3\n");
}

TEST_F(FolderCommands, FolderOfAnotherUserAndTheRootAreNone) {
  for (const std::string which : {"3", "Tools", "0", "-1", "99", ""}) {
    const std::string none = "mercato: ann has no folder" + (which.empty() ? "" : " " + which) + ".\n";
    for (const Words& command : {Words{"folder", "delete", "ann"}, Words{"folder", "show", "ann"}}) {
      Words arguments = command;
      arguments.insert(arguments.end(), {"--", which});
      SCOPED_TRACE(which);
      expect_refused(arguments, none);
    }
  }
}

TEST_F(FolderCommands, NameOfSeveralFoldersNeedsAnId) {
  execute("INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('ann', 'art')");
  expect_refused({"folder", "delete", "ann", "Art"}, "mercato: ann has more than one folder Art: use the id.\n");
  expect_done({"folder", "delete", "ann", "4", "--yes"}, "folder 4 deleted with 0 favourites.\n");
}

TEST_F(FolderCommands, TextOfTheCommandLineNeverBecomesAStatement) {
  const std::string hostile = "x'; DELETE FROM FAVORITES; --";
  const std::string before = whole_store();
  expect_refused({"folder", "list", hostile}, "mercato: There is no user " + hostile + ".\n");
  expect_refused({"folder", "new", hostile, "Desk"},
                 "mercato: There is no user " + hostile + "; --force takes him all the same.\n");
  expect_refused({"folder", "show", hostile, "1"}, "mercato: " + hostile + " has no folder 1.\n");
  expect_refused({"folder", "delete", "ann", hostile}, "mercato: ann has no folder " + hostile + ".\n");
  expect_refused({"folder", "rename", hostile, hostile, hostile},
                 "mercato: " + hostile + " has no folder " + hostile + ".\n");
  EXPECT_EQ(whole_store(), before);
  expect_done({"folder", "new", hostile, hostile, "--force"}, "folder 4 created.\n");
  expect_done({"folder", "rename", hostile, "4", hostile + "2"}, "folder 4 is called " + hostile + "2 now.\n");
  expect_done({"folder", "delete", hostile, "4", "--yes"}, "folder 4 deleted with 0 favourites.\n");
  EXPECT_EQ(whole_store(), before);
}

TEST_F(FolderCommands, WrongUsageIsToldBeforeTheStoreIsAsked) {
  expect_wrong_usage({"folder"}, "A command is required");
  expect_wrong_usage({"folder", "list"}, "USER is required");
  expect_wrong_usage({"folder", "new", "ann"}, "NAME is required");
}

}  // namespace
}  // namespace mercato::test
