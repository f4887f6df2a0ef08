// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/backup_commands.h"

#include <gtest/gtest.h>

#include "mercato/raised_error.h"
#include "platform/store/upkeep.h"
#include "tests/platform/failure_of.h"

namespace mercato::store::postgres {
namespace {

TEST(BackupCommands, NameServerUserDatabaseAndSchemaAndNoPassword) {
  EXPECT_EQ(backup_commands("Provider=PostgreSQL;Server=db.example.com;Port=5433;Database=shop;User ID=ann;"
                            "Password=secret;Search Path=purchasing, public"),
            "`pg_dump --format=custom --host=db.example.com --port=5433 --username=ann --dbname=shop "
            "--schema=purchasing --file=FILE` backs this one up while others work, `pg_restore --clean --if-exists "
            "--single-transaction --host=db.example.com --port=5433 --username=ann --dbname=shop FILE` brings it back");
}

TEST(BackupCommands, LeaveOutWhatIsNotNamedAndQuoteWhatAShellWouldRead) {
  EXPECT_EQ(backup_commands("Provider=PostgreSQL;Database=the shop's $1"),
            "`pg_dump --format=custom --dbname='the shop'\\''s $1' --file=FILE` backs this one up while others work, "
            "`pg_restore --clean --if-exists --single-transaction --dbname='the shop'\\''s $1' FILE` brings it back");
}

TEST(BackupCommands, AnswerABackupWithoutAskingTheServer) {
  const RaisedError refused = mercato::test::failure_of(
      [] { back_up_store("Provider=PostgreSQL;Server=nowhere.invalid;Database=shop;Password=secret", "kept.db"); });
  EXPECT_EQ(refused.Number, error_number::kFeatureNotAvailable);
  EXPECT_EQ(
      refused.Description,
      "A store on a server is backed up and restored by the server's own programs. `pg_dump --format=custom "
      "--host=nowhere.invalid --dbname=shop --file=FILE` backs this one up while others work, `pg_restore --clean "
      "--if-exists --single-transaction --host=nowhere.invalid --dbname=shop FILE` brings it back");
}

}  // namespace
}  // namespace mercato::store::postgres
