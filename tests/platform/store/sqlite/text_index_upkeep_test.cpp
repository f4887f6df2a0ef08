// SPDX-License-Identifier: Apache-2.0
// The text index in a file of SQLite: when changed rows go into it, and how one that is wrong is mended.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/store/known_drivers.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/integrity.h"
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
  std::int64_t changed_rows() { return engine("SELECT count(*) FROM \"text index of PART changed rows\""); }
  void insert_many(int count) {
    session_->start_transaction();
    for (int i = 0; i < count; ++i)
      execute("INSERT INTO PART (NO, NAME) VALUES ('X" + std::to_string(i) + "', 'bolt')");
    session_->commit();
  }

  Folder folder_;
  std::unique_ptr<Session> session_;
};

TEST_F(TextIndexUpkeep, ChangedRowsGoIntoTheIndexAThousandAtATime) {
  insert_many(998);
  EXPECT_EQ(changed_rows(), 999);
  insert_many(1);
  EXPECT_EQ(changed_rows(), 0);
  EXPECT_EQ(proposals("bolt").size(), 999u);
  execute("UPDATE PART SET NAME = 'nut 4711' WHERE ID > 900");
  EXPECT_EQ(changed_rows(), 100);
  EXPECT_EQ(proposals("nut47").size(), 100u);
  EXPECT_EQ(proposals("bolt").size(), 899u);
  execute("UPDATE PART SET NAME = 'washer' WHERE ID > 1");
  EXPECT_EQ(changed_rows(), 999);
  execute("DELETE FROM PART WHERE ID = 1");
  EXPECT_EQ(changed_rows(), 0);
  EXPECT_EQ(proposals("washer").size(), 999u);
  EXPECT_EQ(proposals("nut47"), Keys());
  EXPECT_EQ(proposals("pipe"), Keys());
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AWriteOfTheSameTextsChangesNothing) {
  insert_many(999);
  execute("UPDATE PART SET NAME = 'bolt' WHERE ID > 1");
  EXPECT_EQ(changed_rows(), 0);
}

TEST_F(TextIndexUpkeep, RunsTakeChangedRowsInWithTheirGroups) {
  session_->begin_run();
  for (int i = 0; i < 2'500; ++i) execute("INSERT INTO PART (NO, NAME) VALUES ('X" + std::to_string(i) + "', 'bolt')");
  session_->end_run();
  EXPECT_LT(changed_rows(), 1'000);
  EXPECT_EQ(proposals("bolt").size(), 2'500u);
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables());
}

TEST_F(TextIndexUpkeep, AnIndexThatDiffersFromItsTableIsMadeAnew) {
  insert_many(1'200);
  engine("DELETE FROM PART WHERE ID = 5");
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables()) << "whoever writes keeps the index";
  engine("DROP TRIGGER \"text index of PART after insert\"");
  EXPECT_EQ(mend_text_indexes(folder_.store()), Tables{"PART"});
  engine(
      "INSERT INTO \"text index of PART\"(\"text index of PART\", rowid, \"NO\", \"NAME\") VALUES('delete', 7, 'X5', "
      "'bolt')");
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
