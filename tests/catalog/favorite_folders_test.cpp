// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <tuple>

#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

using Folders = std::vector<std::pair<std::int32_t, std::string>>;

const std::string kNewFolder = "SELECT * FROM FAVORITEFOLDERS WHERE 0=1";
const Level kInsert = {"Mercato.Catalog.InsertFavoriteFolder"};
const Level kRename = {"Mercato.Catalog.UpdateFavoriteFolderName"};
const Level kDelete = {"Mercato.Catalog.DeleteFavoriteFolder"};

class FavoriteFolders : public CatalogRightsTest {
 protected:
  // Ids are given out from 1.
  void add_folder(const std::string& user, const std::string& name) const {
    execute({"INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES (" + literal(user) + ", " + literal(name) + ")"});
  }
  void add_favorite(const std::string& user, int product, int folder) const {
    execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES (" +
             literal(user) + ", " + std::to_string(product) + ", 0, " + std::to_string(folder) + ", 1)"});
  }
  // FOLDERID, USERID, FOLDERNAME
  Rows folders() const { return rows("SELECT * FROM FAVORITEFOLDERS ORDER BY FOLDERID"); }
  Rows favorites() const { return rows("SELECT USERID, PRODUCTID, FOLDERID FROM FAVORITES ORDER BY PRODUCTID"); }
  static Folders folders_in(const DictionaryPtr& dictionary) {
    Folders folders;
    dictionary->for_each(
        [&](const Variant& id, const Variant& name) { folders.emplace_back(id.long_value(), name.to_text()); });
    return folders;
  }
};

// Reading

TEST_F(FavoriteFolders, AreListedByNameForTheirUser) {
  add_folder("ann", "writing");
  add_folder("ann", "Paint");
  add_folder("bob", "Of another");
  add_folder("ann", "art");
  add_folder("ann", "Paint");
  Recorder recorder;
  const Folders listed = folders_in(catalog_->GetFavoriteFolders("ann"));
  ASSERT_EQ(listed.size(), 4u);
  EXPECT_EQ(listed[0], (Folders::value_type{4, "art"}));
  EXPECT_EQ(listed[1].second, "Paint");
  EXPECT_EQ(listed[2].second, "Paint");
  EXPECT_EQ(listed[3], (Folders::value_type{1, "writing"}));
  EXPECT_EQ(catalog_->GetFavoriteFolders("cyd")->Count(), 0);
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT FOLDERID, FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'ann' ORDER BY FOLDERNAME",
                        "SELECT FOLDERID, FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'cyd' ORDER BY FOLDERNAME"}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(FavoriteFolders, AreNamedForTheirUserOnly) {
  add_folder("ann", "Writing");
  Recorder recorder;
  EXPECT_EQ(catalog_->GetFavoriteFolderName(1, "ann"), "Writing");
  EXPECT_EQ(catalog_->GetFavoriteFolderName(1, "bob"), "");
  EXPECT_EQ(catalog_->GetFavoriteFolderName(70000, "ann"), "");
  EXPECT_EQ(catalog_->GetFavoriteFolderName(0, "ann"), "");
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'ann' AND FOLDERID = 1 ",
                        "SELECT FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'bob' AND FOLDERID = 1 ",
                        "SELECT FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'ann' AND FOLDERID = 70000 ",
                        "SELECT FOLDERNAME FROM FAVORITEFOLDERS WHERE USERID = 'ann' AND FOLDERID = 0 "}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(FavoriteFolders, AreFoundByNameForTheirUserOnly) {
  add_folder("ann", "Writing");
  add_folder("ann", "Ann's");
  Recorder recorder;
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Writing", "ann"), 1);
  EXPECT_EQ(catalog_->GetFavoriteFolderID("WRITING", "ann"), 1);  // the store compares without regard to case
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Ann's", "ann"), 2);
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Writ", "ann"), -1);
  EXPECT_EQ(catalog_->GetFavoriteFolderID("", "ann"), -1);
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Writing", "bob"), -1);
  EXPECT_EQ(recorder.statements[0],
            "SELECT FOLDERID FROM FAVORITEFOLDERS WHERE USERID = 'ann' AND FOLDERNAME = 'Writing'");
  EXPECT_EQ(recorder.statements[2],
            "SELECT FOLDERID FROM FAVORITEFOLDERS WHERE USERID = 'ann' AND FOLDERNAME = 'Ann''s'");
  EXPECT_EQ(recorder.statements.size(), 6u);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(FavoriteFolders, OfSomebodyWithAnApostropheAreReadByDoublingIt) {
  add_folder("O'Neil", "Writing");
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { catalog_->GetFavoriteFolders("O'Neil"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(raised_by([&] { catalog_->GetFavoriteFolderName(1, "O'Neil"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(raised_by([&] { catalog_->GetFavoriteFolderID("Writing", "O'Neil"); }).Number,
            error_number::kStatementRefused);
  EXPECT_EQ(recorder.log.size(), 3u);
  EXPECT_EQ(folders_in(catalog_->GetFavoriteFolders("O''Neil")), (Folders{{1, "Writing"}}));
  EXPECT_EQ(catalog_->GetFavoriteFolderName(1, "O''Neil"), "Writing");
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Writing", "O''Neil"), 1);
}

TEST_F(FavoriteFolders, ThatCannotBeReadAreLoggedAndRaisedWithoutAVote) {
  const std::pair<std::string, std::vector<Variant>> cases[] = {{"GetFavoriteFolders", {"ann"}},
                                                                {"GetFavoriteFolderName", {1, "ann"}},
                                                                {"GetFavoriteFolderID", {"Writing", "ann"}}};
  for (const auto& [method, given] : cases) {
    SCOPED_TRACE(method);
    std::vector<Variant> arguments = given;
    RefusingRecorder recorder(1);
    const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog." + method}});
    EXPECT_EQ(raised_by([&, name = method] { invoke(catalog_.object(), name, arguments); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements.size(), 1u);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

// Inserting

class NewFavoriteFolder : public FavoriteFolders {
 protected:
  std::int32_t insert(const Variant& fields, const Variant& values) {
    return t_catalog_->InsertFavoriteFolder(fields, values);
  }
};

TEST_F(NewFavoriteFolder, HasTheNextId) {
  execute({"INSERT INTO FAVORITEFOLDERS (FOLDERID, USERID, FOLDERNAME) VALUES (70000, 'ann', 'far')"});
  Recorder recorder;
  EXPECT_EQ(insert(Array{"FOLDERNAME", "USERID"}, Array{"Writing", "ann"}), 70001);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, Statements{kNewFolder});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(insert(Array(std::vector<Variant>{"USERID", "FOLDERNAME"}, 7), Array(std::vector<Variant>{"bob", 5}, 7)),
            70002);
  EXPECT_EQ(folders(), (Rows{{70000, "ann", "far"}, {70001, "ann", "Writing"}, {70002, "bob", "5"}}));
}

TEST_F(NewFavoriteFolder, WithoutANameOrAUserIsNotWrittenAndNobodyIsTold) {
  const std::pair<Array, Array> cases[] = {
      {Array{"FOLDERNAME", "USERID"}, Array{"", "ann"}},
      {Array{"FOLDERNAME", "USERID"}, Array{Variant(), "ann"}},
      {Array{"FOLDERNAME", "USERID"}, Array{"Writing", ""}},
      {Array{"FOLDERNAME", "USERID"}, Array{"Writing", Variant()}},
      {Array{"FOLDERNAME", "FOLDERNAME"}, Array{"Writing", ""}},
      {Array{"USERID", "NOCOLUMN"}, Array{""}},  // the fields behind an empty text are not looked at
  };
  for (const auto& [fields, values] : cases) {
    Root<TCatalog> fresh;
    Recorder recorder;
    EXPECT_EQ(fresh->InsertFavoriteFolder(fields, values), -1);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::open);
    EXPECT_EQ(recorder.statements, Statements{kNewFolder});
    EXPECT_TRUE(recorder.log.empty());
  }
  EXPECT_TRUE(folders().empty());
}

TEST_F(NewFavoriteFolder, IsWrittenAsItIsUnderANameInAnotherCase) {
  EXPECT_EQ(insert(Array{"FolderName", "USERID"}, Array{"", "ann"}), 1);
  EXPECT_EQ(insert(Array{"FolderName", "UserID"}, Array{"Ann's", ""}), 2);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(folders(), (Rows{{1, "ann", ""}, {2, "", "Ann's"}}));
}

// Once the folder was nobody's: no call finds or deletes it.
TEST_F(NewFavoriteFolder, ThatNamesNoUserIsRefusedByTheStore) {
  Recorder recorder;
  const FailureTrail expected =
      trail({error_number::kConstraintViolated, store().failure_source(),
             "FAVORITEFOLDERS.USERID may not be Null (" +
                 store().words(
                     "NOT NULL constraint failed: FAVORITEFOLDERS.USERID",
                     "null value in column \"USERID\" of relation \"FAVORITEFOLDERS\" violates not-null constraint") +
                 ")",
             "", 0},
            {kInsert});
  EXPECT_EQ(raised_by([&] { insert(Array{"FOLDERNAME"}, Array{"Writing"}); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_TRUE(folders().empty());
}

// Once -1, the answer of a refusal, came back with the row written.
TEST_F(NewFavoriteFolder, WithAnIdOfItsOwnIsRefusedByTheStore) {
  const FailureTrail expected = trail({error_number::kStatementRefused, store().failure_source(),
                                       "Cannot insert explicit value for identity column in table 'FAVORITEFOLDERS' "
                                       "when IDENTITY_INSERT is set to OFF",
                                       "", 0},
                                      {kInsert});
  EXPECT_EQ(raised_by([&] {
              insert(Array{"FOLDERID", "FOLDERNAME", "USERID"}, Array{-1, "Writing", "ann"});
            }),
            expected.raised);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_TRUE(folders().empty());
}

// Once an object whose insert had failed kept everybody else from writing until it was released.
TEST_F(NewFavoriteFolder, ThatFailedKeepsNobodyFromWriting) {
  EXPECT_EQ(raised_by([&] { insert(Array{"FOLDERNAME"}, Array{"Writing"}); }).Number,
            error_number::kConstraintViolated);
  EXPECT_EQ(outcome(), Outcome::open);
  store().forget_lost_numbers();
  execute_on(store().impatient(), {"INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('bob', 'Tools')"});
  EXPECT_EQ(insert(Array{"FOLDERNAME", "USERID"}, Array{"Writing", "ann"}), 2);
  EXPECT_EQ(outcome(), Outcome::committed);
}

// Once it waited ten seconds for itself, and blamed another process.
TEST_F(NewFavoriteFolder, OfAThreadWithAnOpenTransactionFailsAtOnceAndSaysSo) {
  MERCATO_ONLY_ON_SQLITE(store(), "another engine lets two transactions write different rows");
  add_folder("ann", "Writing");
  Root<TCatalog> other;
  EXPECT_TRUE(other->UpdateFavoriteFolderName(1, "ann", "Art"));  // casts no vote
  EXPECT_EQ(other.context().outcome_of_last_call(), Outcome::open);
  const auto began = std::chrono::steady_clock::now();
  const RaisedError raised = raised_by([&] { insert(Array{"FOLDERNAME", "USERID"}, Array{"Tools", "ann"}); });
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
  EXPECT_EQ(raised, trail({error_number::kStoreFailure, "SQLite store",
                           "An object of this thread holds an open transaction on the store '" + store_path().string() +
                               "'. It has to vote, or to be released, first (database is "
                               "locked)",
                           "", 0},
                          {kInsert})
                        .raised);
}

TEST_F(NewFavoriteFolder, MayHaveANameThatTheUserHasAlready) {
  EXPECT_EQ(insert(Array{"FOLDERNAME", "USERID"}, Array{"Writing", "ann"}), 1);
  EXPECT_EQ(insert(Array{"FOLDERNAME", "USERID"}, Array{"Writing", "ann"}), 2);
  EXPECT_EQ(folders(), (Rows{{1, "ann", "Writing"}, {2, "ann", "Writing"}}));
}

TEST_F(NewFavoriteFolder, HasTheApostropheOfItsNameTwiceARenamedOneOnce) {
  EXPECT_EQ(insert(Array{"FOLDERNAME", "USERID"}, Array{"Ann's", "O'Neil"}), 1);
  EXPECT_EQ(folders(), (Rows{{1, "O'Neil", "Ann''s"}}));
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Ann's", "O''Neil"), -1);
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Ann''s", "O''Neil"), 1);
  {
    Root<TCatalog> writer;
    EXPECT_TRUE(writer->UpdateFavoriteFolderName(1, "O'Neil", "Ann's"));
  }
  EXPECT_EQ(folders(), (Rows{{1, "O'Neil", "Ann's"}}));
  EXPECT_EQ(catalog_->GetFavoriteFolderID("Ann's", "O''Neil"), 1);
}

TEST_F(NewFavoriteFolder, LeavesTheCallersValuesAsTheyWere) {
  std::vector<Variant> arguments = {Array{"FOLDERNAME", "USERID"}, Array{"Ann's", "ann"}};
  EXPECT_EQ(invoke(t_catalog_.object(), "InsertFavoriteFolder", arguments), Variant(1));
  EXPECT_EQ(arguments[1].to_array().at(0), Variant("Ann's"));
}

TEST_F(NewFavoriteFolder, IsNotWrittenWhenAnythingIsWrongAndNobodyVotes) {
  const struct {
    Variant fields, values;
    std::int32_t number;
  } cases[] = {
      {Array{"FOLDERNAME", "COLOUR"}, Array{"Writing", "red"}, error_number::kNoSuchField},
      {Array{"FOLDERNAME", "USERID"}, Array{"Writing"}, error_number::kSubscriptOutOfRange},
      {Array{"FOLDERNAME"}, Array(std::vector<Variant>{"Writing"}, 1), error_number::kSubscriptOutOfRange},
      {"FOLDERNAME", Array{"Writing"}, error_number::kTypeMismatch},
      {Array{"FOLDERNAME"}, "Writing", error_number::kTypeMismatch},
      {Array{kNull}, Array{"Writing"}, error_number::kInvalidUseOfNull},
      {Array{"FOLDERNAME"}, Array{kNull}, error_number::kInvalidUseOfNull},
      {Array{"USERID"}, Array{kNull}, error_number::kInvalidUseOfNull},
      {Array{"FolderName"}, Array{kNull}, error_number::kConstraintViolated},
      {Array{"USERID"}, Array{"ann"}, error_number::kConstraintViolated},
      {Array{"FOLDERNAME", "UserID"}, Array{"Writing", kNull}, error_number::kConstraintViolated},
      {Array{}, Array{}, error_number::kConstraintViolated},
      {Array{"FOLDERNAME", "USERID"}, Array{std::string(256, 'x'), "ann"}, error_number::kValueTooLong},
      {Array{"FOLDERNAME", "USERID"}, Array{std::string(200, '\''), "ann"}, error_number::kValueTooLong},
  };
  for (const auto& row : cases) {
    Root<TCatalog> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->InsertFavoriteFolder(row.fields, row.values); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.InsertFavoriteFolder\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements, Statements{kNewFolder});
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::open);
  }
  EXPECT_TRUE(folders().empty());
}

TEST_F(NewFavoriteFolder, ThatTheStoreRefusesIsLoggedAndRaisedWithoutAVote) {
  RefusingRecorder recorder(1);
  const FailureTrail expected = trail(refused_on_request(), {kInsert});
  EXPECT_EQ(raised_by([&] { insert(Array{"FOLDERNAME"}, Array{"Writing"}); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(outcome(), Outcome::open);
}

// Renaming

class RenamedFavoriteFolder : public FavoriteFolders {
 protected:
  void SetUp() override {
    FavoriteFolders::SetUp();
    add_folder("ann", "Writing");
    add_folder("ann", "Paint");
    add_folder("bob", "Tools");
  }
  // Nobody votes, so the change stands when its object goes.
  bool rename(std::int32_t folder, const std::string& user, const std::string& name) {
    Root<TCatalog> writer;
    const bool renamed = writer->UpdateFavoriteFolderName(folder, user, name);
    EXPECT_EQ(writer.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(writer.context().outcome_of_last_call(), Outcome::open);
    return renamed;
  }
  static std::string namesake(const std::string& user, const std::string& name) {
    return "SELECT * FROM FAVORITEFOLDERS WHERE USERID = '" + user + "' AND FOLDERNAME = '" + name + "' ";
  }
  static std::string renaming(const std::string& folder, const std::string& user, const std::string& name) {
    return "UPDATE FAVORITEFOLDERS SET FOLDERNAME= '" + name + "' WHERE FOLDERID = " + folder + " AND USERID = '" +
           user + "'";
  }
};

TEST_F(RenamedFavoriteFolder, IsTheUsersOwnAndNobodyVotes) {
  Recorder recorder;
  EXPECT_TRUE(rename(1, "ann", "Tools"));
  EXPECT_EQ(recorder.statements, (Statements{namesake("ann", "Tools"), renaming("1", "ann", "Tools")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(folders(), (Rows{{1, "ann", "Tools"}, {2, "ann", "Paint"}, {3, "bob", "Tools"}}));
}

TEST_F(RenamedFavoriteFolder, KeepsItsNameWhenTheOtherIsTakenEvenByItself) {
  const auto before = all_rows();
  for (const std::string name : {"Paint", "PAINT", "Paint ", "Writing"}) {
    Recorder recorder;
    EXPECT_FALSE(rename(1, "ann", name));
    EXPECT_EQ(recorder.statements, Statements{namesake("ann", name)});
    EXPECT_TRUE(recorder.log.empty());
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(RenamedFavoriteFolder, OfAnotherUserStaysAndTheAnswerIsTrue) {
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_TRUE(rename(3, "ann", "New"));
  EXPECT_TRUE(rename(70000, "ann", "New"));
  EXPECT_EQ(recorder.statements, (Statements{namesake("ann", "New"), renaming("3", "ann", "New"),
                                             namesake("ann", "New"), renaming("70000", "ann", "New")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(RenamedFavoriteFolder, MayHaveApostrophesAsItsUserMay) {
  add_folder("O'Neil", "old");
  Recorder recorder;
  EXPECT_TRUE(rename(4, "O'Neil", "Ann's"));
  EXPECT_EQ(recorder.statements, (Statements{namesake("O''Neil", "Ann''s"), renaming("4", "O''Neil", "Ann''s")}));
  EXPECT_FALSE(rename(4, "O'Neil", "Ann's"));
  EXPECT_EQ(folders().back(), (std::vector<Variant>{4, "O'Neil", "Ann's"}));
}

TEST_F(RenamedFavoriteFolder, MayHaveAnEmptyName) {
  EXPECT_TRUE(rename(1, "ann", ""));
  EXPECT_EQ(folders().front(), (std::vector<Variant>{1, "ann", ""}));
}

TEST_F(RenamedFavoriteFolder, KeepsItsNameWhenAnythingFails) {
  const auto work = [&] { t_catalog_->UpdateFavoriteFolderName(1, "ann", "New"); };
  expect_nothing_left({"UPDATE", "FAVORITEFOLDERS"}, work);
  expect_whole_or_nothing({namesake("ann", "New"), renaming("1", "ann", "New")}, work,
                          [](std::size_t) { return std::vector<Level>{kRename}; });
}

// Deleting

class DeletedFavoriteFolder : public FavoriteFolders {
 protected:
  void SetUp() override {
    FavoriteFolders::SetUp();
    add_folder("ann", "Writing");
    add_folder("bob", "Tools");
    for (const auto& [user, product, folder] :
         {std::tuple{"ann", 1, 1}, {"bob", 2, 1}, {"ann", 3, 2}, {"bob", 4, 0}, {"ann", 5, 0}, {"bob", 6, -1}})
      add_favorite(user, product, folder);
    execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID) VALUES ('ann', 7, NULL)"});
  }
  bool remove(std::int32_t folder, const std::string& user) { return t_catalog_->DeleteFavoriteFolder(folder, user); }
  static Statements statements_for(const std::string& folder, const std::string& user) {
    return {"DELETE FROM FAVORITES WHERE FOLDERID = " + folder,
            "DELETE FROM FAVORITEFOLDERS WHERE FOLDERID=" + folder + " AND USERID= '" + user + "'"};
  }
};

TEST_F(DeletedFavoriteFolder, GoesWithTheFavouritesOfAllUsersInIt) {
  Recorder recorder;
  EXPECT_TRUE(remove(1, "ann"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, statements_for("1", "ann"));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(folders(), (Rows{{2, "bob", "Tools"}}));
  EXPECT_EQ(favorites(), (Rows{{"ann", 3, 2}, {"bob", 4, 0}, {"ann", 5, 0}, {"bob", 6, -1}, {"ann", 7, kNull}}));
}

TEST_F(DeletedFavoriteFolder, CannotBeTheRootButItsFavouritesAreGoneAllTheSame) {
  for (const std::int32_t root : {0, -1}) {
    Recorder recorder;
    EXPECT_FALSE(remove(root, "ann"));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(outcome(), Outcome::committed);
    EXPECT_EQ(recorder.statements, Statements{"DELETE FROM FAVORITES WHERE FOLDERID = " + std::to_string(root)});
    EXPECT_TRUE(recorder.log.empty());
  }
  EXPECT_EQ(folders(), (Rows{{1, "ann", "Writing"}, {2, "bob", "Tools"}}));
  EXPECT_EQ(favorites(), (Rows{{"ann", 1, 1}, {"bob", 2, 1}, {"ann", 3, 2}, {"ann", 7, kNull}}));
}

TEST_F(DeletedFavoriteFolder, OfAnotherUserStaysWithoutItsFavourites) {
  Recorder recorder;
  EXPECT_TRUE(remove(2, "ann"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, statements_for("2", "ann"));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(folders(), (Rows{{1, "ann", "Writing"}, {2, "bob", "Tools"}}));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM FAVORITES WHERE FOLDERID = 2"), Variant(0));
}

TEST_F(DeletedFavoriteFolder, ThatDoesNotExistIsDeletedAsWell) {
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_TRUE(remove(70000, "ann"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(DeletedFavoriteFolder, OfSomebodyWithAnApostropheNeedsItDoubled) {
  execute({"UPDATE FAVORITEFOLDERS SET USERID = 'O''Neil' WHERE FOLDERID = 1"});
  const auto before = all_rows();
  EXPECT_EQ(raised_by([&] { remove(1, "O'Neil"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
  EXPECT_TRUE(remove(1, "O''Neil"));
  EXPECT_EQ(folders(), (Rows{{2, "bob", "Tools"}}));
}

TEST_F(DeletedFavoriteFolder, GoesAsAWholeOrNotAtAll) {
  const auto work = [&] { remove(1, "ann"); };
  expect_nothing_left({"DELETE", "FAVORITES", "PRODUCTID", "2"}, work);
  expect_nothing_left({"DELETE", "FAVORITEFOLDERS"}, work);
  expect_whole_or_nothing(statements_for("1", "ann"), work, [](std::size_t) { return std::vector<Level>{kDelete}; });
}

}  // namespace
}  // namespace mercato::test
