// SPDX-License-Identifier: Apache-2.0
// What opening a SQLite store says when it cannot be opened or used, each time with the real thing: files, rights,
// locks of another process, a file system limit.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unicode/ucol.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "platform/store/call_limit.h"
#include "platform/store/known_drivers.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/unit_of_work.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/integrity.h"
#include "tests/platform/store/sqlite/text_index_of_version_2.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using namespace error_number;
using test::failure_of;
using test::query_one;
using test::run;

// Runs the work in another process; its answer is what the work returns.
template <class Work>
std::string in_another_process(Work work) {
  close_idle_sessions();
  int channel[2];
  if (pipe(channel) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    std::string answer;
    try {
      answer = work();
    } catch (const Raised& raised) {
      answer = raised.error().Description;
    } catch (const std::exception& failure) {
      answer = failure.what();
    }
    [[maybe_unused]] const auto written = write(channel[1], answer.data(), answer.size());
    _exit(0);
  }
  close(channel[1]);
  std::string answer;
  char buffer[512];
  for (ssize_t count; (count = read(channel[0], buffer, sizeof buffer)) > 0;)
    answer.append(buffer, static_cast<std::size_t>(count));
  close(channel[0]);
  waitpid(child, nullptr, 0);
  return answer;
}

// Somebody whom file rights bind, also when the tests are run by root.
void become_ordinary() {
  if (geteuid() != 0) return;
  constexpr uid_t kNobody = 65534;
  if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(1);
}

class SqliteOpening : public testing::Test {
 protected:
  std::unique_ptr<Session> open(const std::string& connection_string) {
    return driver_for(connection_string).open(connection_string);
  }
  std::string refusal(const std::string& connection_string) {
    const RaisedError failure = failure_of([&] { open(connection_string); });
    EXPECT_EQ(failure.Number, kStoreFailure);
    EXPECT_EQ(failure.Source, "SQLite store");
    return failure.Description;
  }
  void create() {
    const std::unique_ptr<Session> session = open(store_);
    run(*session, "CREATE TABLE T (N int NULL)");
    run(*session, "INSERT INTO T (N) VALUES (1)");
  }
  // Through the bare engine.
  void write_raw(const char* sql) {
    sqlite3* engine = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(engine, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(engine);
    sqlite3_close(engine);
  }

  test::Folder folder_;
  std::string path_ = folder_.path("store.db");
  std::string store_ = folder_.store();
  std::string existing_ = "Data Source=" + path_;
};

TEST_F(SqliteOpening, AMissingFileIsNotCreatedUnasked) {
  EXPECT_EQ(refusal(existing_),
            "There is no store at '" + path_ + "'. Create it with `mercato init`, or correct Data Source");
  EXPECT_FALSE(std::filesystem::exists(path_));
  create();
  EXPECT_EQ(query_one(*open(existing_), "SELECT N FROM T"), Variant(1));
}

TEST_F(SqliteOpening, AMissingFolderIsNamed) {
  const std::string path = folder_.path("none/store.db");
  EXPECT_EQ(refusal("Create=Yes;Data Source=" + path), "There is no folder '" + folder_.path("none") +
                                                           "' for the store '" + path +
                                                           "'. Create it, or correct Data Source");
}

TEST_F(SqliteOpening, AFolderIsNoStore) {
  EXPECT_EQ(refusal("Data Source=" + folder_.path()),
            "'" + folder_.path() + "' is a folder, not a store. Correct Data Source");
}

TEST_F(SqliteOpening, AStringWithoutAFileIsRefused) {
  EXPECT_EQ(refusal("Provider=SQLite"), "The connection string has no Data Source. It has to name the store file");
  EXPECT_EQ(refusal("Data Source=x;Busy Timeout=soon"), "Busy Timeout has to be a number of milliseconds, not 'soon'");
}

TEST_F(SqliteOpening, AnotherKindOfFileIsNoStore) {
  std::ofstream(path_) << std::string(5000, 'x');
  EXPECT_EQ(refusal(existing_), "'" + path_ + "' is not a store. Correct Data Source (file is not a database)");
}

TEST_F(SqliteOpening, TheFirstDefinitionMarksTheStoreAndANewerOneIsRefused) {
  create();
  write_raw("CREATE TABLE PROOF AS SELECT user_version AS V FROM pragma_user_version");
  EXPECT_EQ(query_one(*open(existing_), "SELECT V FROM PROOF"), Variant(3));
  write_raw("PRAGMA user_version=4");
  EXPECT_EQ(refusal(existing_),
            "The store '" + path_ +
                "' was written by a newer version of this program (store version 4, this one knows 3). "
                "Use the newer version");
}

// The order of texts of stores of version 1, which passed over characters that show nothing.
void register_former_order(sqlite3* engine) {
  static UErrorCode status = U_ZERO_ERROR;
  static UCollator* const collator = ucol_open("", &status);
  ASSERT_TRUE(U_SUCCESS(status));
  ucol_setStrength(collator, UCOL_SECONDARY);
  sqlite3_create_collation(engine, "MERCATO", SQLITE_UTF8, nullptr,
                           [](void*, int left_size, const void* left, int right_size, const void* right) -> int {
                             return ucol_strcollUTF8(collator, static_cast<const char*>(left), left_size,
                                                     static_cast<const char*>(right), right_size, &status);
                           });
}

class OlderStore : public SqliteOpening {
 protected:
  // What somebody reads who may not write.
  std::string read_only(const std::string& sql) {
    EXPECT_EQ(chmod(folder_.path().c_str(), 0555), 0);
    EXPECT_EQ(chmod(path_.c_str(), 0444), 0);
    std::string answer = in_another_process([&] {
      become_ordinary();
      return query_one(*open(existing_), sql).to_text();
    });
    EXPECT_EQ(chmod(folder_.path().c_str(), 0755), 0);
    return answer;
  }
};

class StoreOfVersion1 : public OlderStore {
 protected:
  // Rows of these names, in an index in the former order.
  void create_with(const std::vector<std::string>& names) {
    run(*open(store_), "CREATE TABLE T (NAME nvarchar(20) NULL)");
    sqlite3* engine = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
    register_former_order(engine);
    std::string sql = "CREATE INDEX NAMES ON T (NAME); PRAGMA user_version=1";
    for (const std::string& name : names) sql += "; INSERT INTO T (NAME) VALUES ('" + name + "')";
    EXPECT_EQ(sqlite3_exec(engine, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(engine);
    sqlite3_close(engine);
  }
  static std::vector<std::string> look_alikes() {
    std::vector<std::string> names;
    for (int i = 0; i < 50; ++i) names.push_back(i % 2 == 0 ? "bob\u200B" : "BOB");
    return names;
  }
  const std::string bobs_ = "SELECT COUNT(*) FROM T WHERE NAME = 'bob'";
};

// In the former order the two stand mixed, so that a search by the new one loses its way.
TEST_F(StoreOfVersion1, IsPutIntoTheNewOrderWhenItIsOpened) {
  create_with(look_alikes());
  ASSERT_NE(test::integrity_of(path_), "ok");
  {
    const std::unique_ptr<Session> session = open(existing_);
    EXPECT_EQ(query_one(*session, bobs_), Variant(25));
    EXPECT_EQ(query_one(*session, "SELECT COUNT(*) FROM T WHERE NAME = N'bob\u200B'"), Variant(25));
  }
  EXPECT_EQ(test::integrity_of(path_), "ok");
  write_raw("CREATE TABLE PROOF AS SELECT user_version AS V FROM pragma_user_version");
  EXPECT_EQ(query_one(*open(existing_), "SELECT V FROM PROOF"), Variant(3));
}

TEST_F(StoreOfVersion1, IsPutIntoOrderWhateverTheCallMayTake) {
  create_with(look_alikes());
  const CallLimit limit(1e-9);
  open(existing_);
  EXPECT_EQ(test::integrity_of(path_), "ok");
}

// Whoever has the store open does not look at its version again.
TEST_F(StoreOfVersion1, IsPutIntoTheNewOrderWhenItIsRestoredIntoAStoreInUse) {
  create_with(look_alikes());
  const std::string in_use = folder_.store("in-use.db");
  const std::unique_ptr<Session> session = open(in_use);
  run(*session, "CREATE TABLE T (NAME nvarchar(20) NULL)");
  restore_store(in_use, path_, false);
  EXPECT_EQ(query_one(*session, bobs_), Variant(25));
  EXPECT_EQ(test::integrity_of(folder_.path("in-use.db")), "ok");
}

TEST_F(StoreOfVersion1, IsReadAsItIsByWhoMayNotWriteWhenTheOrdersAgree) {
  create_with({"bob", "BOB", "b\u00FCb", "alice"});
  EXPECT_EQ(read_only(bobs_), "2");
}

TEST_F(StoreOfVersion1, IsRefusedToWhoMayNotWriteWhenTheOrdersDiffer) {
  create_with(look_alikes());
  EXPECT_EQ(read_only(bobs_), "The store '" + path_ +
                                  "' was written by an older version of this program, whose order of texts differs for "
                                  "some that it holds. Open it once with the right to write");
}

using StoreOfVersion2 = OlderStore;

TEST_F(StoreOfVersion2, IsReadWithoutItsTextIndexByWhoMayNotWrite) {
  {
    const std::unique_ptr<Session> session = open(store_);
    run(*session, "CREATE TABLE PART (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NO nvarchar(50) NULL, NAME ntext)");
    run(*session, "CREATE FULLTEXT INDEX ON PART (NO, NAME)");
    run(*session, "INSERT INTO PART (NO, NAME) VALUES ('KT-INS 114', 'steel pipe')");
  }
  sqlite3* engine = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
  sqlite::register_functions(engine);
  EXPECT_EQ(sqlite3_exec(engine, test::kTextIndexOfVersion2, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(engine);
  EXPECT_EQ(read_only("SELECT ID FROM PART WHERE NAME LIKE '%pipe%'"), "1");
}

TEST_F(SqliteOpening, AReadOnlyFileIsReadAndNotWritten) {
  create();
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  const std::string answer = in_another_process([&] {
    become_ordinary();
    const std::unique_ptr<Session> session = open(existing_);
    const std::string value = query_one(*session, "SELECT N FROM T").to_text();
    return value + ": " + failure_of([&] { run(*session, "DELETE FROM T"); }).Description;
  });
  EXPECT_EQ(answer,
            "1: The store '" + path_ +
                "' is read-only. Give this process the right to write to the file and its folder (attempt to write a "
                "readonly database)");
}

TEST_F(SqliteOpening, TheDescriptionSaysWhatMayNotBeWritten) {
  create();
  const auto lacking = [&] {
    return in_another_process([&] {
      become_ordinary();
      std::string rights;
      for (const std::string& right : driver_for(existing_).describe(existing_).lacking_rights) rights += right + "\n";
      return rights;
    });
  };
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  ASSERT_EQ(chmod(path_.c_str(), 0666), 0);
  EXPECT_EQ(lacking(), "");
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  EXPECT_EQ(lacking(), "writing: the file may only be read\n");
  ASSERT_EQ(chmod(path_.c_str(), 0666), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 0555), 0);
  const std::string without_log = lacking();
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  EXPECT_EQ(without_log, "writing: no log can be made in the folder of the file\n");
}

TEST_F(SqliteOpening, AReadOnlyFolderCanBeReadToo) {
  create();
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 0555), 0);
  const std::string answer = in_another_process([&] {
    become_ordinary();
    const std::unique_ptr<Session> session = open(existing_);
    const std::string value = query_one(*session, "SELECT N FROM T").to_text();
    session->start_transaction();
    return value + ": " + failure_of([&] { run(*session, "DELETE FROM T"); }).Description;
  });
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  EXPECT_EQ(answer,
            "1: The store '" + path_ +
                "' is read-only. Give this process the right to write to the file and its folder (attempt to write a "
                "readonly database)");
}

TEST_F(SqliteOpening, AFileThatMayNotBeReadIsRefused) {
  create();
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  ASSERT_EQ(chmod(path_.c_str(), 0000), 0);
  const std::string answer = in_another_process([&] {
    become_ordinary();
    return failure_of([&] { open(existing_); }).Description;
  });
  EXPECT_EQ(answer,
            "The store '" + path_ + "' cannot be read or written (unable to open database file: Permission denied)");
}

// Another process that holds the write lock until this one lets it go.
class LockHolder {
 public:
  explicit LockHolder(const std::string& path) {
    close_idle_sessions();
    int ready[2];
    if (pipe(ready) != 0 || pipe(release_) != 0) return;
    child_ = fork();
    if (child_ == 0) {
      sqlite3* engine = nullptr;
      sqlite3_open(path.c_str(), &engine);
      const bool locked = sqlite3_exec(engine, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
      char signal = locked ? 'y' : 'n';
      [[maybe_unused]] auto moved = write(ready[1], &signal, 1);
      close(release_[1]);
      moved = read(release_[0], &signal, 1);
      _exit(0);
    }
    close(release_[0]);
    char signal = 'n';
    holds_ = read(ready[0], &signal, 1) == 1 && signal == 'y';
    close(ready[0]);
    close(ready[1]);
  }
  ~LockHolder() {
    close(release_[1]);
    waitpid(child_, nullptr, 0);
  }
  bool holds() const { return holds_; }

 private:
  int release_[2] = {-1, -1};
  pid_t child_ = -1;
  bool holds_ = false;
};

TEST_F(SqliteOpening, AStoreThatAnotherProcessWritesIsReadAndWaitedFor) {
  create();
  const LockHolder other(path_);
  ASSERT_TRUE(other.holds());
  const std::unique_ptr<Session> session = open(existing_ + ";Busy Timeout=100");
  EXPECT_EQ(query_one(*session, "SELECT N FROM T"), Variant(1));
  const RaisedError failure = failure_of([&] { run(*session, "DELETE FROM T"); });
  EXPECT_EQ(failure.Number, kStoreFailure);
  const std::string begin =
      "Another process or connection holds the store '" + path_ + "', and did not let go of it in ";
  const std::string end = " milliseconds (database is locked)";
  ASSERT_EQ(failure.Description.substr(0, begin.size()), begin);
  ASSERT_EQ(failure.Description.substr(failure.Description.size() - end.size()), end);
  EXPECT_GE(std::stol(failure.Description.substr(begin.size())), 100);

  session->start_transaction();
  EXPECT_EQ(query_one(*session, "SELECT N FROM T"), Variant(1));
  EXPECT_EQ(failure_of([&] { run(*session, "DELETE FROM T"); }).Description.substr(0, begin.size()), begin);
}

// Stores that were made before keys had a range have no such check in their tables.
TEST_F(SqliteOpening, AnOlderStoreGivesItsKeysAsBefore) {
  sqlite3* engine = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(
                engine, "CREATE TABLE OLD (\"ID\" INTEGER PRIMARY KEY AUTOINCREMENT, \"N\" INT); PRAGMA user_version=1",
                nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(engine);
  const std::unique_ptr<Session> session = open(existing_);
  run(*session, "INSERT INTO OLD (N) VALUES (7)");
  const TableInfo* const table = session->table("OLD");
  ASSERT_NE(table, nullptr);
  const std::vector<std::size_t> columns = {1};
  const std::vector<Variant> values = {Variant(8)};
  EXPECT_EQ(session->insert_row(*table, columns, values).number, 2);
  const std::vector<std::size_t> key = {0};
  EXPECT_EQ(failure_of([&] { session->insert_row(*table, key, values); }).Number, kStatementRefused);
}

// Such a key could not be read as a long: the call failed with an overflow, and its row stayed.
TEST_F(SqliteOpening, AKeyBeyondALongInAnOlderStoreIsRefusedAndNothingOfItsRowStays) {
  sqlite3* engine = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &engine), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(engine,
                   "CREATE TABLE OLD (\"ID\" INTEGER PRIMARY KEY AUTOINCREMENT, \"N\" INT); PRAGMA user_version=1;"
                   "INSERT INTO OLD VALUES (2147483646, 1)",
                   nullptr, nullptr, nullptr),
      SQLITE_OK);
  sqlite3_close(engine);
  const std::unique_ptr<Session> session = open(existing_);
  const std::vector<std::size_t> columns = {1};
  const auto insert = [&](std::int32_t value) {
    const std::vector<Variant> values = {Variant(value)};
    return session->insert_row(*session->table("OLD"), columns, values).number;
  };
  const auto sum = [&] { return query_one(*session, "SELECT SUM(N) FROM OLD").to_long(); };
  EXPECT_EQ(insert(2), 2147483647);
  const RaisedError refused{kValueTooLong, "SQLite store", "The value is out of the range of column OLD.ID", {}, 0};
  EXPECT_EQ(failure_of([&] { insert(4); }), refused);
  EXPECT_EQ(sum(), 3);

  session->start_transaction();
  run(*session, "INSERT INTO OLD (ID, N) VALUES (7, 8)");
  EXPECT_EQ(failure_of([&] { insert(16); }), refused);
  session->commit();
  EXPECT_EQ(sum(), 11);

  session->begin_run();
  run(*session, "INSERT INTO OLD (ID, N) VALUES (8, 32)");
  EXPECT_EQ(failure_of([&] { insert(64); }), refused);
  run(*session, "INSERT INTO OLD (ID, N) VALUES (9, 128)");
  session->end_run();
  EXPECT_EQ(sum(), 171);
}

// Once the failure showed the statement in the words of the engine.
TEST_F(SqliteOpening, WhatTheEngineDoesNotTakeIsRefusedWithoutItsOwnStatement) {
  create();
  const std::unique_ptr<Session> session = open(existing_);
  std::string many = "SELECT N";
  for (int i = 0; i < 3000; ++i) many += ", N";
  EXPECT_EQ(failure_of([&] { run(*session, many + " FROM T"); }),
            (RaisedError{kStatementRefused,
                         "SQLite store",
                         "The store refused the statement: too many columns in result set",
                         {},
                         0}));
}

// Once each statement of a call waited out the time for a store that stayed locked.
TEST_F(SqliteOpening, WithinACallTheWaitForALockIsPaidOnce) {
  create();
  const LockHolder other(path_);
  ASSERT_TRUE(other.holds());
  const std::string patient = existing_ + ";Busy Timeout=1000";
  const std::unique_ptr<Session> session = open(patient);
  const auto time_of_a_refusal = [&](Session& on) {
    const auto began = std::chrono::steady_clock::now();
    const std::string words = failure_of([&] { run(on, "DELETE FROM T"); }).Description;
    EXPECT_EQ(words.substr(0, words.find(" in ")),
              "Another process or connection holds the store '" + path_ + "', and did not let go of it");
    return std::chrono::steady_clock::now() - began;
  };
  {
    const OutermostCall call;
    EXPECT_GE(time_of_a_refusal(*session), std::chrono::milliseconds(1000));
    EXPECT_LT(time_of_a_refusal(*session), std::chrono::milliseconds(900));
    EXPECT_LT(time_of_a_refusal(*open(patient)), std::chrono::milliseconds(900));
    EXPECT_EQ(query_one(*session, "SELECT N FROM T"), Variant(1));
  }
  const OutermostCall next;
  EXPECT_GE(time_of_a_refusal(*session), std::chrono::milliseconds(1000));
}

// A call that got the lock in the end was refused at once for its rest, whenever somebody else wrote.
TEST_F(SqliteOpening, WithinACallThatHadTheLockSinceItIsWaitedForAnew) {
  create();
  const std::string patient = existing_ + ";Busy Timeout=300";
  const std::unique_ptr<Session> session = open(patient);
  const OutermostCall call;
  for (int turn = 0; turn < 2; ++turn) {
    {
      const LockHolder other(path_);
      ASSERT_TRUE(other.holds());
      const auto began = std::chrono::steady_clock::now();
      EXPECT_EQ(failure_of([&] { run(*session, "DELETE FROM T"); }).Number, kStoreFailure);
      EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(300));
    }
    run(*session, "UPDATE T SET N = 2");
  }
}

TEST_F(SqliteOpening, TheWaitForALockEndsWithTheCall) {
  create();
  const LockHolder other(path_);
  ASSERT_TRUE(other.holds());
  const std::unique_ptr<Session> session = open(existing_);
  const CallLimit limit(0.05);
  EXPECT_EQ(failure_of([&] { run(*session, "DELETE FROM T"); }).Number, kTimeout);
}

// From here on the files of this process can grow by this much only, as on a full disk.
void limit_file_size(rlim_t bytes) {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

// Writes until it fails; the answer is how many rows the writer believes in, and the failure.
std::string fill(Session& session) {
  int written = 0;
  const RaisedError failure = failure_of([&] {
    for (;; ++written) run(session, "INSERT INTO FILLED (TXT) VALUES ('" + std::string(3000, 'x') + "')");
  });
  return std::to_string(written) + " " + failure.Description;
}

TEST_F(SqliteOpening, AFullDiskIsSaidAndWhatWasWrittenBeforeStands) {
  run(*open(store_), "CREATE TABLE FILLED (TXT ntext NULL)");
  const std::string answer = in_another_process([&] {
    limit_file_size(400 * 1024);
    return fill(*open(existing_));
  });
  const int written = std::stoi(answer);
  EXPECT_GT(written, 10);
  EXPECT_EQ(answer.substr(answer.find(' ') + 1, 80 + path_.size()),
            ("The disk is full: the store '" + path_ + "' cannot grow. Free some space, then repeat the call (")
                .substr(0, 80 + path_.size()));
  EXPECT_EQ(query_one(*open(existing_), "SELECT COUNT(*) FROM FILLED"), Variant(written));
}

TEST_F(SqliteOpening, WhatARunLosesBeforeItWaitsIsTheFailureOfItsNextStatement) {
  run(*open(store_), "CREATE TABLE FILLED (TXT ntext NULL)");
  const std::string answer = in_another_process([&] {
    limit_file_size(100 * 1024);
    UnitOfWork upload(UnitOfWork::Kind::run);
    const UnitOfWork::Current running(&upload);
    return failure_of([&] {
             run(upload.session(existing_), "INSERT INTO FILLED (TXT) VALUES ('" + std::string(200'000, 'x') + "')");
             UnitOfWork::before_waiting();
             run(upload.session(existing_), "SELECT TXT FROM FILLED");
           })
        .Description;
  });
  const std::string begin = "The disk is full: the store '" + path_ + "' cannot grow. ";
  const std::string end = ". The last 1 statements of this run were lost with it";
  EXPECT_EQ(answer.substr(0, begin.size()), begin);
  EXPECT_EQ(answer.substr(answer.size() - std::min(answer.size(), end.size())), end);
}

TEST_F(SqliteOpening, ATransactionThatTheStoreUndidCanOnlyBeRolledBack) {
  run(*open(store_), "CREATE TABLE FILLED (TXT ntext NULL)");
  const std::string answer = in_another_process([&] {
    limit_file_size(400 * 1024);
    const std::unique_ptr<Session> session = open(existing_);
    session->start_transaction();
    // More than the pages that are kept in memory, so that it fails before its end.
    const std::string big(4 * 1024 * 1024, 'x');
    RaisedError failure;
    for (int i = 0; i < 20 && failure.Number == 0; ++i)
      failure = failure_of([&] { run(*session, "INSERT INTO FILLED (TXT) VALUES ('" + big + "')"); });
    if (failure.Number == 0) return std::string("nothing failed");
    const RaisedError later = failure_of([&] { run(*session, "DELETE FROM FILLED"); });
    const RaisedError commit = failure_of([&] { session->commit(); });
    return later.Description.substr(0, 81) + "|" + commit.Description.substr(0, 79) + "|" +
           query_one(*session, "SELECT COUNT(*) FROM FILLED").to_text();
  });
  EXPECT_EQ(answer,
            "This transaction can only be rolled back: the store undid it after a failure. The|"
            "Nothing of this transaction stands: the store undid it after a failure. The dis|0");
}

}  // namespace
}  // namespace mercato::store
