// SPDX-License-Identifier: Apache-2.0
// A store file that is deleted, moved, copied or exchanged by hand while it is in use, or while a log stands beside it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/integrity.h"
#include "tests/platform/store/store_files.h"
#include "tests/platform/whole_files.h"

namespace mercato::store {
namespace {

namespace fs = std::filesystem;
using mercato::test::read_whole;
using test::failure_of;
using test::query_one;
using test::run;

class ExchangedStore : public testing::Test {
 protected:
  ExchangedStore() {
    fs::create_directory(folder_.path("s"));
    const PooledSession session = acquire_session(store_ + ";Create=Yes");
    run(*session.get(), "CREATE TABLE T (N int NULL)");
    run(*session.get(), "INSERT INTO T (N) VALUES (1)");
  }

  // Copies the store as it is at rest, and writes to it after that, so that the copy is of an earlier day.
  void back_up_and_go_on() {
    close_idle_sessions();
    fs::copy_file(path_, backup_);
    run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (2)");
    close_idle_sessions();
  }
  // Becomes the backup once more while it is in use, and writes to it after that.
  void restore_and_go_on() {
    const PooledSession live = acquire_session(store_);
    run(*live.get(), "INSERT INTO T (N) VALUES (2)");
    back_up_store(store_, backup_);
    restore_store(store_, backup_, false);
    for (int i = 0; i < 3; ++i) run(*live.get(), "INSERT INTO T (N) VALUES (3)");
  }
  // A process that dies, with more rows in its log than in the file.
  void die_with_a_log() {
    close_idle_sessions();
    const pid_t child = fork();
    if (child == 0) {
      try {
        const PooledSession session = acquire_session(store_);
        for (int i = 3; i < 30; ++i) run(*session.get(), "INSERT INTO T (N) VALUES (" + std::to_string(i) + ")");
        kill(getpid(), SIGKILL);
      } catch (...) {
      }
      _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_GT(fs::file_size(path_ + "-wal"), 0u);
  }
  Variant count(const std::string& store) { return query_one(*acquire_session(store).get(), "SELECT COUNT(*) FROM T"); }

  std::string foreign_log() const {
    return "The log '" + path_ + "-wal' does not belong to the store '" + path_ +
           "' that it stands beside: the store's file was exchanged, for a backup perhaps. Nothing was changed. Put a "
           "backup in place with `mercato store restore`, or move the log away, with '" +
           path_ + "-owner', to use the file as it is";
  }
  void expect_refused_and_untouched() {
    const std::string log = read_whole(path_ + "-wal");
    const RaisedError failure = failure_of([&] { acquire_session(store_); });
    EXPECT_EQ(failure.Number, error_number::kStoreFailure);
    EXPECT_EQ(failure.Source, "SQLite store");
    EXPECT_EQ(failure.Description, foreign_log());
    close_idle_sessions();
    EXPECT_TRUE(read_whole(path_) == read_whole(backup_)) << "the backup was changed";
    EXPECT_TRUE(read_whole(path_ + "-wal") == log) << "the log was changed";
  }
  void expect_gone(const std::function<void()>& work) {
    EXPECT_EQ(failure_of(work),
              (RaisedError{error_number::kStoreFailure,
                           "SQLite store",
                           "The store '" + path_ +
                               "' was moved, deleted or exchanged while it was in use, and what was written last is "
                               "not in it. Put its file back, or a backup, then repeat the call",
                           {},
                           0}));
  }

  test::Folder folder_;
  std::string path_ = folder_.path("s/store.db");
  std::string store_ = "Data Source=" + path_;
  std::string backup_ = folder_.path("backup.db");
};

// An upload into a file that was deleted meanwhile answered "applied 3000", and nothing was anywhere.
TEST_F(ExchangedStore, ARunIntoADeletedFileFailsAtItsEnd) {
  UnitOfWork unit(UnitOfWork::Kind::run);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (2)");
  fs::remove(path_);
  const RaisedError failure = failure_of([&] { unit.commit(); });
  EXPECT_EQ(failure.Number, error_number::kStoreFailure);
  EXPECT_EQ(failure.Description.find("The store '" + path_ + "' was moved, deleted or exchanged"), 0u);
}

TEST_F(ExchangedStore, ARunIntoAMovedFileFailsAtItsNextGroup) {
  UnitOfWork unit(UnitOfWork::Kind::run);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (2)");
  fs::rename(path_, folder_.path("away.db"));
  EXPECT_EQ(failure_of([&] {
              const UnitOfWork::Current none(nullptr);
              unit.session(store_).flush_run();
            }).Number,
            error_number::kStoreFailure);
}

TEST_F(ExchangedStore, ATransactionIntoADeletedFileFails) {
  const PooledSession session = acquire_session(store_);
  session->start_transaction();
  run(*session.get(), "INSERT INTO T (N) VALUES (2)");
  fs::remove(path_);
  expect_gone([&] { session->commit(); });
}

TEST_F(ExchangedStore, ASingleStatementIntoADeletedFileFails) {
  const PooledSession session = acquire_session(store_);
  fs::remove(path_);
  expect_gone([&] { run(*session.get(), "INSERT INTO T (N) VALUES (2)"); });
}

TEST_F(ExchangedStore, AStatementWhoseLogWasDeletedFails) {
  const PooledSession session = acquire_session(store_);
  run(*session.get(), "INSERT INTO T (N) VALUES (2)");
  fs::remove(path_ + "-wal");
  expect_gone([&] { run(*session.get(), "INSERT INTO T (N) VALUES (3)"); });
}

// A backup copied over the store was overwritten by the log of the store that it replaced.
TEST_F(ExchangedStore, ABackupCopiedOverAStoreWithALogIsNotOverwritten) {
  back_up_and_go_on();
  die_with_a_log();
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, ABackupMovedOverAStoreWithALogIsNotOverwritten) {
  back_up_and_go_on();
  die_with_a_log();
  fs::copy_file(backup_, folder_.path("s/incoming"));
  fs::rename(folder_.path("s/incoming"), path_);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, TheStoreAtTheBeginningOfItsLogMovedIntoPlaceIsNotOverwrittenEither) {
  close_idle_sessions();
  fs::copy_file(path_, backup_);
  die_with_a_log();
  fs::copy_file(backup_, folder_.path("s/incoming"));
  fs::rename(folder_.path("s/incoming"), path_);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, AnotherStoreMovedOverAStoreWithALogIsNotOverwritten) {
  run(*acquire_session(folder_.store("backup.db")).get(), "CREATE TABLE OTHER (N int NULL)");
  die_with_a_log();
  fs::remove(path_);
  fs::copy_file(backup_, path_);
  expect_refused_and_untouched();
}

// A store that had been restored carried its backup's mark: the log was replayed over the backup, which was damaged.
TEST_F(ExchangedStore, ABackupThatWasRestoredBeforeAndIsCopiedOverTheStoreIsNotOverwritten) {
  restore_and_go_on();
  die_with_a_log();
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, ABackupIsNotOverwrittenByTheLogIntoWhichItWasRestored) {
  back_up_store(store_, backup_);
  close_idle_sessions();
  const pid_t child = fork();
  if (child == 0) {
    try {
      const PooledSession idle = acquire_session(store_);
      restore_store(store_, backup_, false);
      kill(getpid(), SIGKILL);
    } catch (...) {
    }
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, ALiveProcessNoticesThatABackupWhichWasRestoredBeforeIsCopiedOverItsStore) {
  restore_and_go_on();
  {
    const PooledSession live = acquire_session(store_);
    run(*live.get(), "INSERT INTO T (N) VALUES (4)");
    fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
    expect_gone([&] { run(*live.get(), "INSERT INTO T (N) VALUES (5)"); });
  }
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, ALiveProcessNoticesABackupThatWasCopiedOverItsStore) {
  back_up_and_go_on();
  for (int i = 0; i < 3; ++i) run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (3)");
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  const CallLimit next_call(0);
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, AnIdleReaderNoticesABackupThatWasCopiedOverItsStore) {
  back_up_and_go_on();
  EXPECT_EQ(count(store_), Variant(2));
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  const CallLimit next_call(0);
  EXPECT_EQ(count(store_), Variant(1));
}

// Without the note nobody knows which marks are right: no commit fails for that.
TEST_F(ExchangedStore, ACommitIsNotRefusedBecauseANoteWasLost) {
  const PooledSession session = acquire_session(store_);
  for (int i = 0; i < 5; ++i) {
    run(*session.get(), "INSERT INTO T (N) VALUES (2)");
    fs::remove(path_ + "-owner");
    sqlite3* engine = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(engine, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(engine);
  }
  EXPECT_EQ(count(store_), Variant(6));
}

TEST_F(ExchangedStore, AWriterNoticesABackupThatWasCopiedOverItsStore) {
  back_up_and_go_on();
  {
    const PooledSession session = acquire_session(store_);
    run(*session.get(), "INSERT INTO T (N) VALUES (3)");
    fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
    expect_gone([&] { run(*session.get(), "INSERT INTO T (N) VALUES (4)"); });
  }
  expect_refused_and_untouched();
}

// The engine itself moves a long log into whatever file it holds.
TEST_F(ExchangedStore, AWriterDoesNotMoveItsLongLogIntoABackup) {
  back_up_and_go_on();
  {
    const PooledSession session = acquire_session(store_);
    run(*session.get(), "CREATE TABLE FILLED (TXT ntext NULL)");
    fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
    session->start_transaction();
    const std::string big(1 << 20, 'x');
    for (int i = 0; i < 20; ++i) run(*session.get(), "INSERT INTO FILLED (TXT) VALUES ('" + big + "')");
    expect_gone([&] { session->commit(); });
  }
  expect_refused_and_untouched();
}

TEST_F(ExchangedStore, ALogThatWasMovedAwayLeavesTheBackupInForce) {
  back_up_and_go_on();
  die_with_a_log();
  fs::copy_file(backup_, path_, fs::copy_options::overwrite_existing);
  expect_refused_and_untouched();
  fs::remove(path_ + "-wal");
  fs::remove(path_ + "-owner");
  EXPECT_EQ(count(store_), Variant(1));
}

TEST_F(ExchangedStore, TheLogOfADeadProcessIsReplayed) {
  die_with_a_log();
  EXPECT_EQ(count(store_), Variant(28));
  close_idle_sessions();
  EXPECT_EQ(test::integrity_of(path_), "ok");
}

TEST_F(ExchangedStore, AFolderThatWasCopiedOrMovedGoesOnWithItsLog) {
  die_with_a_log();
  fs::copy(folder_.path("s"), folder_.path("copied"));
  fs::rename(folder_.path("s"), folder_.path("moved"));
  EXPECT_EQ(count("Data Source=" + folder_.path("copied/store.db")), Variant(28));
  EXPECT_EQ(count("Data Source=" + folder_.path("moved/store.db")), Variant(28));
}

TEST_F(ExchangedStore, StoreAndLogBroughtBackTogetherGoOn) {
  die_with_a_log();
  fs::copy(folder_.path("s"), folder_.path("kept"));
  run(*acquire_session(store_).get(), "DELETE FROM T");
  close_idle_sessions();
  die_with_a_log();
  for (const char* name : {"store.db", "store.db-owner", "store.db-shm", "store.db-wal"})
    fs::copy_file(folder_.path(std::string("kept/") + name), folder_.path(std::string("s/") + name),
                  fs::copy_options::overwrite_existing);
  EXPECT_EQ(count(store_), Variant(28));
}

// Other programs write no note. Their log is theirs to answer for, and belongs to a store that is at work.
TEST_F(ExchangedStore, TheLogOfAnotherProgramIsReadAndReplayed) {
  close_idle_sessions();
  sqlite3* engine = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(engine, "INSERT INTO T VALUES (2)", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(count(store_), Variant(2));
  run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (3)");
  ASSERT_EQ(
      sqlite3_exec(engine, "PRAGMA wal_checkpoint(TRUNCATE); INSERT INTO T VALUES (4)", nullptr, nullptr, nullptr),
      SQLITE_OK);
  {
    const CallLimit next_call(0);
    EXPECT_EQ(count(store_), Variant(4));
  }
  run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (5)");
  close_idle_sessions();
  sqlite3_close(engine);
  EXPECT_EQ(count(store_), Variant(5));
}

TEST_F(ExchangedStore, WhoeverComesByALinkSharesTheNote) {
  fs::create_symlink(path_, folder_.path("link.db"));
  const std::string linked = "Data Source=" + folder_.path("link.db");
  const PooledSession direct = acquire_session(store_);
  run(*direct.get(), "INSERT INTO T (N) VALUES (2)");
  // The one moves the other's log into the file, and begins the next.
  for (int round = 0; round < 3; ++round) {
    run(*acquire_session(linked).get(), "INSERT INTO T (N) VALUES (3)");
    close_idle_sessions();
    sqlite3* engine = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(engine, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(engine);
    run(*direct.get(), "INSERT INTO T (N) VALUES (4)");
  }
  EXPECT_FALSE(fs::exists(folder_.path("link.db-owner")));
  EXPECT_EQ(count(linked), Variant(8));
}

TEST_F(ExchangedStore, TheNoteOfALogGoesWithIt) {
  PooledSession writer = acquire_session(store_);
  PooledSession reader = acquire_session(store_);
  run(*writer.get(), "INSERT INTO T (N) VALUES (2)");
  EXPECT_EQ(query_one(*reader.get(), "SELECT COUNT(*) FROM T"), Variant(2));
  writer.release();
  close_idle_sessions();
  EXPECT_TRUE(fs::exists(path_ + "-owner"));
  // The last one out need not have written.
  reader.release();
  close_idle_sessions();
  EXPECT_FALSE(fs::exists(path_ + "-owner"));
  EXPECT_FALSE(fs::exists(path_ + "-wal"));
}

// Stores were made with the rights of any file: under a umask of 002 the whole group could read and write.
TEST_F(ExchangedStore, AStoreIsTheOwnersAloneUnlessTheConnectionStringSaysOtherwise) {
  const mode_t before = umask(002);
  const auto rights = [&](const std::string& more) {
    const std::string name = "rights" + std::to_string(more.size());
    const PooledSession session = acquire_session(folder_.store(name) + more);
    run(*session.get(), "CREATE TABLE T (N int NULL)");
    std::string all;
    for (const char* ending : {"", "-wal", "-shm", "-owner"}) {
      struct stat status {};
      EXPECT_EQ(stat((folder_.path(name) + ending).c_str(), &status), 0) << ending;
      all += std::to_string((status.st_mode >> 6) & 7) + std::to_string((status.st_mode >> 3) & 7) +
             std::to_string(status.st_mode & 7) + " ";
    }
    return all;
  };
  EXPECT_EQ(rights(""), "600 600 600 600 ");
  EXPECT_EQ(rights(";File Mode=666"), "664 664 664 664 ");
  umask(before);
  EXPECT_EQ(failure_of([&] { acquire_session(folder_.store("never.db") + ";File Mode=private"); }).Description,
            "File Mode has to be an octal number such as 660, not 'private'");
  EXPECT_FALSE(fs::exists(folder_.path("never.db")));
}

}  // namespace
}  // namespace mercato::store
