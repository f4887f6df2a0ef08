// SPDX-License-Identifier: Apache-2.0
// A server whose disk is full, and a copy of a server that takes no changes.
#include <sched.h>
#include <sys/mount.h>

#include <cstring>
#include <fstream>

#include "mercato/product_xml.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/table_creation.h"
#include "tests/platform/store/postgres/own_cluster.h"

namespace mercato::store::postgres::test {
namespace {

using namespace error_number;

// A file system of a few megabytes, which only this process and those that it starts see.
class SmallDisk {
 public:
  SmallDisk() {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("small", folder_.path().c_str(), "tmpfs", 0, "size=64m,mode=777") != 0)
      missing_ = std::string("this process may not mount a small file system: ") + std::strerror(errno);
  }
  ~SmallDisk() {
    if (missing_.empty()) ::umount2(folder_.path().c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  const std::string& missing() const { return missing_; }
  std::string path() const { return folder_.path(); }
  // Leaves so many bytes free.
  void fill_up_to(std::uintmax_t free) const {
    std::ofstream file(filler());
    const std::string block(4096, 'x');
    while (file && std::filesystem::space(folder_.path()).available > free) (file << block).flush();
  }
  void make_room() const { std::filesystem::remove(filler()); }

 private:
  std::string filler() const { return folder_ / "filler"; }

  mercato::test::TemporaryFolder folder_;
  std::string missing_;
};

std::unique_ptr<Session> open_store(const std::string& connection_string) {
  return driver_for(connection_string).open(connection_string);
}

class PostgresFullDisk : public testing::Test {
 protected:
  static std::string part_number(int upload, int record) {
    return "F" + std::to_string(upload) + "-" + std::to_string(record);
  }
  static constexpr int kRecords = 40;
  static void upload(int number) {
    std::string records;
    Array part_numbers;
    for (int record = 0; record < kRecords; ++record) {
      const std::string key = part_number(number, record);
      records += "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>" + key + "</PARTNUMBER><PRODUCTDESCRIPTION>" +
                 std::string(200, 'd') +
                 "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER><COLOUR>red</COLOUR></Product>";
      part_numbers.items.emplace_back(key);
    }
    ProductXML().insertProductsFromXML("k/\\<PRODUCTS>" + records + "</PRODUCTS>", false, part_numbers, false);
  }
};

// The tables lie on the small disk; the server's log does not, for a server whose log is full stops.
TEST_F(PostgresFullDisk, IsSaidInOneLineAndWhatWasAcknowledgedStandsAndMoreIsTakenWhenThereIsRoom) {
  const SmallDisk disk;
  if (!disk.missing().empty()) GTEST_SKIP() << disk.missing();
  const OwnCluster cluster;
  if (!cluster.missing().empty()) GTEST_SKIP() << cluster.missing();
  cluster.shell("mkdir '" + disk.path() + "/tables'");
  cluster.run("CREATE TABLESPACE small LOCATION '" + disk.path() + "/tables'");
  cluster.run("CREATE DATABASE d OWNER mercato TABLESPACE small");
  const std::string store = cluster.store("d");
  const mercato::test::TemporaryFolder folder;
  DllRegisterServer();
  collaborators::Settings settings;
  settings.connections["Mercato"] = store;
  settings.web_root = folder / "web";
  std::filesystem::create_directory(settings.web_root);
  collaborators::set_settings(settings);
  create_tables(store);
  const auto count = [&](const std::string& where) {
    return std::stoi(cluster.run("SELECT count(*) FROM \"PRODUCT\"" + where, "d"));
  };

  disk.fill_up_to(200'000);
  int acknowledged = 0;
  RaisedError failure;
  while (failure.Number == 0 && acknowledged < 1000) {
    try {
      upload(acknowledged + 1);
      ++acknowledged;
    } catch (const Raised& raised) {
      failure = raised.error();
    }
  }
  const std::string said = "The disk of the server '" + cluster.folder() +
                           "' (database 'd') is full. Free some space, then repeat the call (could not extend file ";
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_NE(failure.Description.find(said), std::string::npos) << failure.Description;
  // The session, too, goes on: it reads, and fails in the same words when it is to write more than there is room for.
  const auto session = open_store(store);
  EXPECT_EQ(query(*session, "SELECT TOP 1 UNITCODE FROM UNIT").size(), 0u);
  const RaisedError again = failure_of([&] {
    for (int i = 0; i < 100; ++i)
      run(*session, "INSERT INTO ATTACHEDFILE (PRODUCTID, FILENAME) SELECT PRODUCTID, '" + std::string(200, 'f') +
                        "' FROM PRODUCT");
  });
  EXPECT_TRUE(again.Description.starts_with(said)) << again.Description;
  for (int number = 1; number <= acknowledged; ++number)
    EXPECT_EQ(count(" WHERE \"BUYFROMPARTNUMBER\" LIKE 'F" + std::to_string(number) + "-%'"), kRecords) << number;

  disk.make_room();
  const int before = count("");
  upload(5000);
  EXPECT_EQ(count(""), before + kRecords);
  EXPECT_EQ(count(" WHERE \"BUYFROMPARTNUMBER\" LIKE 'F5000-%'"), kRecords);
  close_idle_sessions();
}

TEST(PostgresStandby, AnswersQuestionsAndSaysOfAWriteWhereItHasToGo) {
  const OwnCluster cluster("on-disk");
  if (!cluster.missing().empty()) GTEST_SKIP() << cluster.missing();
  cluster.run("CREATE DATABASE d OWNER mercato");
  {
    const auto session = open_store(cluster.store("d"));
    run(*session, "CREATE TABLE T (ID int NOT NULL PRIMARY KEY, NAME nvarchar(10) NULL)");
    run(*session, "INSERT INTO T (ID, NAME) VALUES (1, 'bolt')");
  }
  // The server itself becomes the copy: it waits for a log of another one that never comes.
  cluster.shell("touch standby.signal");
  cluster.control("restart");
  const auto session = open_store(cluster.store("d"));
  EXPECT_EQ(query_one(*session, "SELECT NAME FROM T WHERE NAME LIKE 'B%' ORDER BY NAME"), Variant("bolt"));
  const std::string said = "The server '" + cluster.folder() +
                           "' (database 'd') takes no changes from this user, or is a copy. Connect to one that takes "
                           "them (cannot execute ";
  for (const std::string statement : {"INSERT INTO T (ID) VALUES (2)", "UPDATE T SET NAME = 'nut'", "DELETE FROM T"})
    EXPECT_EQ(failure_of([&] { run(*session, statement); }).Description,
              said + statement.substr(0, 6) + " in a read-only transaction)");
  const RaisedError defined = failure_of([&] { run(*session, "CREATE TABLE N (ID int NULL)"); });
  EXPECT_TRUE(defined.Description.starts_with(said.substr(0, said.find("(cannot")))) << defined.Description;
  const RaisedError created = failure_of([&] { create_tables(cluster.store("d")); });
  EXPECT_TRUE(created.Description.starts_with(said.substr(0, said.find("(cannot")))) << created.Description;
  // What is read goes on.
  EXPECT_EQ(query_one(*session, "SELECT COUNT(*) FROM T"), Variant(1));
}

}  // namespace
}  // namespace mercato::store::postgres::test
