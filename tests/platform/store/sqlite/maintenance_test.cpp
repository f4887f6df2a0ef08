// SPDX-License-Identifier: Apache-2.0
// The check of a store, its backup while others work, and the way back.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include "platform/store/call_limit.h"
#include "platform/store/sqlite/database.h"
#include "platform/store/unit_of_work.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/store_files.h"
#include "tests/platform/whole_files.h"

namespace mercato::store::sqlite {
namespace {

namespace fs = std::filesystem;
using mercato::test::read_whole;
using mercato::test::write_whole;
using test::failure_of;
using test::query_one;
using test::run;

const std::vector<std::string> kSound;

class Maintenance : public testing::Test {
 protected:
  Maintenance() {
    const PooledSession session = acquire_session(folder_.store());
    run(*session.get(), "CREATE TABLE T (N int NULL)");
    run(*session.get(), "CREATE INDEX IX_T_N ON T (N)");
    insert(1);
  }
  void insert(int number) {
    run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (" + std::to_string(number) + ")");
  }
  Variant sum(const std::string& store) { return query_one(*acquire_session(store).get(), "SELECT SUM(N) FROM T"); }
  // Somewhere in the middle of the file.
  void damage(const std::string& path) {
    close_idle_sessions();
    std::string bytes = read_whole(path);
    bytes.replace(bytes.size() / 2, 3000, 3000, 'x');
    write_whole(path, bytes);
  }
  void expect_nothing_half_made() {
    for (const auto& entry : fs::directory_iterator(folder_.path()))
      EXPECT_EQ(entry.path().string().find("-new"), std::string::npos) << entry.path();
  }
  void expect_refused(const std::function<void()>& work, const std::string& description) {
    const RaisedError failure = failure_of(work);
    EXPECT_EQ(failure.Number, error_number::kStoreFailure);
    EXPECT_EQ(failure.Description, description);
  }

  test::Folder folder_;
  std::string path_ = folder_.path("store.db");
  std::string store_ = "Data Source=" + path_;
  std::string backup_ = folder_.path("backup.db");
  std::string backup_store_ = "Data Source=" + backup_;
};

TEST_F(Maintenance, ASoundStoreHasNoFaultsAndADamagedOneNamesThem) {
  EXPECT_EQ(check_store(store_), kSound);
  for (int i = 0; i < 300; ++i) insert(i);
  damage(path_);
  EXPECT_NE(check_store(store_), kSound);
}

TEST_F(Maintenance, ABackupHoldsWhatWasCommittedAndIsTheOwnersAlone) {
  const PooledSession open = acquire_session(store_);
  open->start_transaction();
  run(*open.get(), "INSERT INTO T (N) VALUES (100)");
  back_up_store(store_, backup_);
  open->commit();
  EXPECT_FALSE(fs::exists(backup_ + "-wal"));
  struct stat status {};
  ASSERT_EQ(stat(backup_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_EQ(check_store(backup_store_), kSound);
  EXPECT_EQ(sum(backup_store_), Variant(1));
  EXPECT_EQ(sum(store_), Variant(101));
}

TEST_F(Maintenance, BackupsAreWholeWhileAnotherThreadWrites) {
  run(*acquire_session(store_).get(), "DELETE FROM T");
  std::atomic<bool> ends{false};
  std::thread writer([&] {
    // Each transaction keeps the sum at 0.
    for (int i = 1; !ends; ++i) {
      UnitOfWork unit(UnitOfWork::Kind::transaction);
      for (const int number : {i, -i})
        run(unit.session(store_), "INSERT INTO T (N) VALUES (" + std::to_string(number) + ")");
      unit.commit();
    }
  });
  for (int i = 0; i < 5; ++i) {
    const std::string file = backup_ + std::to_string(i);
    back_up_store(store_, file);
    EXPECT_EQ(check_store("Data Source=" + file), kSound);
    const Variant total = sum("Data Source=" + file);
    EXPECT_TRUE(total.is_null() || total == Variant(0)) << total.to_text();
  }
  ends = true;
  writer.join();
}

TEST_F(Maintenance, ABackupNeverTakesThePlaceOfAFile) {
  write_whole(backup_, "dear");
  expect_refused([&] { back_up_store(store_, backup_); },
                 "There is a file '" + backup_ + "' already. Give the backup another name, or delete it");
  EXPECT_EQ(read_whole(backup_), "dear");
}

TEST_F(Maintenance, ADamagedStoreIsNotBackedUp) {
  for (int i = 0; i < 300; ++i) insert(i);
  damage(path_);
  EXPECT_EQ(failure_of([&] { back_up_store(store_, backup_); }).Number, error_number::kStoreFailure);
  EXPECT_FALSE(fs::exists(backup_));
  expect_nothing_half_made();
}

TEST_F(Maintenance, ARestoredStoreIsSeenByLiveSessionsAndTheOldOneIsKept) {
  back_up_store(store_, backup_);
  insert(10);
  const PooledSession live = acquire_session(store_);
  EXPECT_EQ(query_one(*live.get(), "SELECT SUM(N) FROM T"), Variant(11));
  EXPECT_EQ(restore_store(store_, backup_, true), path_ + ".before-restore");
  EXPECT_EQ(query_one(*live.get(), "SELECT SUM(N) FROM T"), Variant(1));
  run(*live.get(), "INSERT INTO T (N) VALUES (5)");
  EXPECT_EQ(sum(store_), Variant(6));
  EXPECT_EQ(sum("Data Source=" + path_ + ".before-restore"), Variant(11));
  EXPECT_EQ(sum(backup_store_), Variant(1));
  EXPECT_EQ(check_store(store_), kSound);
}

TEST_F(Maintenance, AStoreIsOpenedAfterItsRestorerDied) {
  back_up_store(store_, backup_);
  insert(10);
  close_idle_sessions();
  const pid_t child = fork();
  if (child == 0) {
    try {
      const PooledSession live = acquire_session(store_);
      run(*live.get(), "INSERT INTO T (N) VALUES (20)");
      restore_store(store_, backup_, false);
      run(*live.get(), "INSERT INTO T (N) VALUES (2)");
    } catch (...) {
      _exit(1);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(fs::exists(path_ + "-wal"));
  EXPECT_EQ(sum(store_), Variant(3));
}

TEST_F(Maintenance, ARestoreWithoutKeepingLeavesNothingBeside) {
  back_up_store(store_, backup_);
  EXPECT_EQ(restore_store(store_, backup_, false), "");
  EXPECT_FALSE(fs::exists(path_ + ".before-restore"));
  expect_nothing_half_made();
}

// With more than a hundred restores into one log the note of the log was no longer read.
TEST_F(Maintenance, ANoteKeepsTheMarkOfTheFileAndTheLastOnes) {
  Database store(store_);
  store.run("INSERT INTO T (N) VALUES (2)");
  store.after_commit();
  const auto before = read_log_note(path_);
  ASSERT_TRUE(before);
  for (std::uint32_t mark = 1; mark <= 250; ++mark) store.admit_mark(mark);
  const auto note = read_log_note(path_);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->marks.size(), kMostMarks);
  EXPECT_TRUE(note->admits(before->marks.front()));
  EXPECT_TRUE(note->admits(250));
  EXPECT_FALSE(note->admits(1));
}

// The one who restored a damaged store took the group's rights to it away.
TEST_F(Maintenance, AStoreThatIsExchangedKeepsItsRights) {
  back_up_store(store_, backup_);
  close_idle_sessions();
  write_whole(path_, "no store at all");
  fs::permissions(path_, fs::perms(0664));
  const mode_t before = umask(077);
  restore_store(store_, backup_, false);
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0664u);
  expect_nothing_half_made();
}

TEST_F(Maintenance, ABackupIntoAMissingFolderNamesTheFolder) {
  const std::string folder = folder_.path("none");
  expect_refused([&] { back_up_store(store_, folder + "/x"); },
                 "There is no folder '" + folder + "' for the backup '" + folder + "/x'");
}

TEST_F(Maintenance, AStoreThatIsNoneOrNotThereMakesRoomForTheBackup) {
  back_up_store(store_, backup_);
  close_idle_sessions();
  write_whole(path_, "no store at all");
  EXPECT_EQ(restore_store(store_, backup_, true), path_ + ".before-restore");
  EXPECT_EQ(read_whole(path_ + ".before-restore"), "no store at all");
  EXPECT_EQ(sum(store_), Variant(1));
  close_idle_sessions();
  fs::remove(path_);
  EXPECT_EQ(restore_store(store_, backup_, true), "");
  EXPECT_EQ(sum(store_), Variant(1));
}

TEST_F(Maintenance, ARestoreMovesTheLogOfAnotherFileAwayWithItsStore) {
  back_up_store(store_, backup_);
  close_idle_sessions();
  const pid_t child = fork();
  if (child == 0) {
    try {
      for (int i = 2; i < 9; ++i) insert(i);
    } catch (...) {
      _exit(1);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(fs::exists(path_ + "-wal"));
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  EXPECT_EQ(restore_store(store_, backup_, true), path_ + ".before-restore");
  EXPECT_TRUE(fs::exists(path_ + ".before-restore-wal"));
  EXPECT_EQ(sum(store_), Variant(1));
  EXPECT_EQ(check_store(store_), kSound);
}

TEST_F(Maintenance, WhatIsNoBackupIsRefusedAndTheStoreIsAsItWas) {
  const std::string other = folder_.path("other");
  expect_refused([&] { restore_store(store_, other, true); },
                 "There is no backup '" + other + "': No such file or directory");
  expect_refused([&] { restore_store(store_, folder_.path(), true); },
                 "'" + folder_.path() + "' is no file, and so no backup");
  expect_refused([&] { restore_store(store_, path_, true); }, "'" + path_ + "' is the store itself");
  write_whole(other, std::string(5000, 'x'));
  expect_refused([&] { restore_store(store_, other, true); }, "'" + other + "' is no store of this program");
  for (int i = 0; i < 300; ++i) insert(0);
  back_up_store(store_, backup_);
  fs::copy_file(backup_, folder_.path("cut"));
  damage(folder_.path("cut"));
  const std::string said = failure_of([&] { restore_store(store_, folder_.path("cut"), true); }).Description;
  EXPECT_EQ(said.find("The backup '" + folder_.path("cut") + "' is damaged ("), 0u) << said;
  EXPECT_EQ(sum(store_), Variant(1));
  EXPECT_FALSE(fs::exists(path_ + ".before-restore"));
}

TEST_F(Maintenance, AStoreInUseIsNoBackup) {
  const PooledSession other = acquire_session(folder_.store("other.db"));
  run(*other.get(), "CREATE TABLE T (N int NULL)");
  const std::string path = folder_.path("other.db");
  expect_refused([&] { restore_store(store_, path, true); },
                 "The backup '" + path + "' has a log beside it, '" + path +
                     "-wal': it was copied while the store was in use. `mercato store backup --store 'Data Source=" +
                     path + "' FILE` makes a whole one of both");
}

}  // namespace
}  // namespace mercato::store::sqlite
