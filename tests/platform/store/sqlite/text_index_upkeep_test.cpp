// SPDX-License-Identifier: Apache-2.0
// The text index in a file of SQLite: when changed rows go into it, and how one that is wrong is mended.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/store/known_drivers.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/integrity.h"
#include "tests/platform/store/sqlite/text_index_of_version_2.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store::test {
namespace {

using Tables = std::vector<std::string>;
using Keys = std::vector<std::int64_t>;

class TextIndexUpkeep : public testing::Test {
 protected:
  TextIndexUpkeep() {
    open();
    execute("CREATE TABLE PART (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NO nvarchar(50) NULL, NAME ntext)");
    execute("CREATE FULLTEXT INDEX ON PART (NO, NAME)");
    execute("INSERT INTO PART (NO, NAME) VALUES ('KT-INS 114', 'steel pipe')");
  }
  void open() { session_ = driver_for(folder_.store()).open(folder_.store()); }
  void execute(std::string text) { run(*session_, std::move(text)); }
  Keys proposals(const std::string& word) {
    return session_->proposals(*session_->table("PART"), std::vector<std::string>{word}, 10'000).value_or(Keys{-1});
  }
  // As the engine itself takes it.
  std::int64_t engine(const std::string& sql) {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(folder_.path("store.db").c_str(), &database), SQLITE_OK);
    sqlite::register_functions(database);
    std::int64_t number = 0;
    const auto take = [](void* result, int, char** values, char**) {
      *static_cast<std::int64_t*>(result) = std::atoll(values[0]);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), take, &number, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
    return number;
  }
  std::int64_t old_texts() { return engine("SELECT count(*) FROM \"text index of PART old texts\""); }
  std::int64_t new_rows() {
    return engine("SELECT count(*) FROM PART WHERE ID > (SELECT \"last row\" FROM \"text index of PART last row\")");
  }
  std::int64_t waiting() { return old_texts() + new_rows(); }
  void insert_many(int count) {
    session_->start_transaction();
    for (int i = 0; i < count; ++i)
      execute("INSERT INTO PART (NO, NAME) VALUES ('X" + std::to_string(i) + "', 'bolt')");
    session_->commit();
  }

  Folder folder_;
  std::unique_ptr<Session> session_;
};

TEST_F(TextIndexUpkeep, RowsGoIntoTheIndexAThousandAtATime) {
  insert_many(998);
  EXPECT_EQ(waiting(), 999);
  insert_many(1);
  EXPECT_EQ(waiting(), 0);
  EXPECT_EQ(proposals("bolt").size(), 999u);
  execute("UPDATE PART SET NAME = 'nut 4711' WHERE ID > 900");
  EXPECT_EQ(waiting(), 100);
  EXPECT_EQ(proposals("nut47").size(), 100u);
  EXPECT_EQ(proposals("bolt").size(), 899u);
  execute("UPDATE PART SET NAME = 'washer' WHERE ID > 1");
  EXPECT_EQ(waiting(), 999);
  execute("DELETE FROM PART WHERE ID = 1");
  EXPECT_EQ(waiting(), 0);
  EXPECT_EQ(proposals("washer").size(), 999u);
  EXPECT_EQ(proposals("nut47"), Keys());
  EXPECT_EQ(proposals("pipe"), Keys());
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AWriteOfTheSameTextsChangesNothing) {
  insert_many(999);
  execute("UPDATE PART SET NAME = 'bolt' WHERE ID > 1");
  EXPECT_EQ(waiting(), 0);
}

TEST_F(TextIndexUpkeep, RunsTakeRowsInByFourThousandAndTheRestAtTheirEnd) {
  session_->begin_run();
  const auto insert = [&](int count) {
    for (int i = 0; i < count; ++i)
      execute("INSERT INTO PART (NO, NAME) VALUES ('X" + std::to_string(i) + "', 'bolt')");
    session_->flush_run();
  };
  insert(2'500);
  EXPECT_EQ(waiting(), 2'501);
  EXPECT_EQ(proposals("bolt").size(), 2'500u);
  insert(2'500);
  EXPECT_LT(waiting(), 2'501);
  insert(1'500);
  session_->end_run();
  EXPECT_LT(waiting(), 1'000);
  EXPECT_EQ(proposals("bolt").size(), 6'500u);
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AnIndexThatDiffersFromItsTableIsMadeAnew) {
  insert_many(1'200);
  engine("DELETE FROM PART WHERE ID = 5");
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables()) << "whoever writes keeps the index";
  engine("DROP TRIGGER \"text index of PART after delete\"");
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables{"PART"});
  engine(
      "INSERT INTO \"text index of PART\"(\"text index of PART\", rowid, trigrams) VALUES('delete', 7, "
      "mercato_trigrams('X5', 'bolt'))");
  EXPECT_EQ(proposals("bolt").size(), 1'198u);
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables{"PART"});
  EXPECT_EQ(proposals("bolt").size(), 1'199u);
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
  EXPECT_EQ(integrity_of(folder_.path("store.db")), "ok");
}

TEST_F(TextIndexUpkeep, AnIndexWithDamagedPagesIsMadeAnew) {
  insert_many(1'200);
  session_.reset();
  engine("UPDATE \"text index of PART_data\" SET block = zeroblob(40) WHERE id > 1000");
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables{"PART"});
  open();
  EXPECT_EQ(proposals("bolt").size(), 1'200u);
}

TEST_F(TextIndexUpkeep, RowsBelowTheLastOneAreNotedInEachKindOfTransaction) {
  insert_many(1'200);
  execute("DELETE FROM PART WHERE ID BETWEEN 101 AND 700");
  execute("DELETE FROM PART WHERE ID BETWEEN 701 AND 1100");
  EXPECT_EQ(waiting(), 0);
  execute("INSERT INTO PART (ID, NO, NAME) VALUES (101, 'Y1', 'nut one')");
  EXPECT_EQ(old_texts(), 1);
  session_->start_transaction();
  execute("INSERT INTO PART (ID, NO, NAME) VALUES (102, 'Y2', 'nut two')");
  execute("INSERT INTO PART (ID, NO, NAME) SELECT ID + 200, NO, 'nut three' FROM PART WHERE ID BETWEEN 2 AND 4");
  EXPECT_EQ(proposals("nut"), (Keys{101, 102, 202, 203, 204}));
  session_->rollback();
  EXPECT_EQ(proposals("nut"), Keys{101});
  session_->begin_run();
  execute("INSERT INTO PART (ID, NO, NAME) VALUES (103, 'Y3', 'nut four')");
  session_->end_run();
  EXPECT_EQ(proposals("nut"), (Keys{101, 103}));
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, ARowThatFollowsADeletedLastOneIsFound) {
  execute("CREATE TABLE CODE (CODE nvarchar(50) NOT NULL PRIMARY KEY)");
  execute("CREATE FULLTEXT INDEX ON CODE (CODE)");
  const auto found = [&](const std::string& text) {
    return query_one(*session_, "SELECT COUNT(*) FROM CODE WHERE CODE LIKE '%" + text + "%'");
  };
  session_->start_transaction();
  for (int i = 0; i < 1'500; ++i) execute("INSERT INTO CODE (CODE) VALUES ('code " + std::to_string(i) + "')");
  session_->commit();
  execute("DELETE FROM CODE WHERE CODE = 'code 1499'");
  execute("INSERT INTO CODE (CODE) VALUES ('another')");
  EXPECT_EQ(found("noth"), Variant(1));
  EXPECT_EQ(found("1499"), Variant(0));
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AnIndexOfAnOlderVersionIsMadeAnewWhenItsStoreIsOpened) {
  insert_many(600);
  session_.reset();
  engine(kTextIndexOfVersion2);
  open();
  EXPECT_TRUE(session_->table("PART")->has_text_index());
  EXPECT_EQ(proposals("pipe"), Keys{1});
  EXPECT_EQ(engine("SELECT count(*) FROM sqlite_schema WHERE name LIKE '%changed rows' OR name LIKE '%after insert'"),
            0);
  execute("INSERT INTO PART (NO, NAME) VALUES ('KT-9', 'steel pipe')");
  EXPECT_EQ(proposals("pipe"), (Keys{1, 602}));
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AnOlderBackupIsRestoredWithAnIndexOfThisVersion) {
  session_.reset();
  engine(kTextIndexOfVersion2);
  engine("PRAGMA journal_mode = DELETE");
  std::filesystem::rename(folder_.path("store.db"), folder_.path("backup.db"));
  for (const char* const end : {"-wal", "-shm", "-owner"}) std::filesystem::remove(folder_.path("store.db") + end);
  open();
  restore_store(folder_.store(), folder_.path("backup.db"), false);
  open();
  EXPECT_EQ(proposals("pipe"), Keys{1});
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, ABackupHasItsIndex) {
  insert_many(1'500);
  back_up_store(folder_.store(), folder_.path("backup.db"));
  execute("DELETE FROM PART");
  restore_store(folder_.store(), folder_.path("backup.db"), false);
  open();
  EXPECT_EQ(proposals("pipe"), Keys{1});
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

}  // namespace
}  // namespace mercato::store::test
