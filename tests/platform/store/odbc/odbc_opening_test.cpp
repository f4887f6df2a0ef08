// SPDX-License-Identifier: Apache-2.0
// What a connection string leads to, and what is said when it leads nowhere: one line, what is wrong and what to do.
#include "tests/platform/store/odbc/odbc_server.h"

namespace mercato::store::odbc::test {
namespace {

using namespace error_number;

constexpr const char* kPassword = "easy-to-find-4711";

class OdbcDriverOpening : public OdbcServerTest {
 protected:
  static std::string refusal_of(const std::string& connection_string) {
    const RaisedError failure = failure_of([&] { open_store(connection_string); });
    EXPECT_EQ(failure.Number, kStoreFailure) << connection_string;
    EXPECT_EQ(failure.Source, "ODBC store");
    EXPECT_EQ(failure.Description.find('\n'), std::string::npos) << failure.Description;
    EXPECT_EQ(failure.Description.find(kPassword), std::string::npos) << failure.Description;
    return failure.Description;
  }
};

TEST_F(OdbcDriverOpening, WithoutADriverOrDataSourceSaysSo) {
  EXPECT_EQ(refusal_of("Provider=ODBC;DSN=nosuch;PWD=" + std::string(kPassword)),
            "The driver manager knows no such data source or driver. Install the driver, and correct DSN or Driver "
            "(Data source name not found and no default driver specified)");
  EXPECT_EQ(refusal_of("Provider=ODBC;Driver=/nowhere/driver.so;Server=db;PWD=" + std::string(kPassword)),
            "The driver of the server 'db' cannot be used. Install it, or correct Driver (Can't open lib "
            "'/nowhere/driver.so' : file not found)");
}

TEST_F(OdbcDriverOpening, OfAnUnknownDialectNamesTheKnownOnes) {
  EXPECT_EQ(refusal_of("Provider=ODBC;DSN=nosuch;Dialect=Klingon"),
            "There is no dialect 'Klingon'. Known dialects: TSQL, PostgreSQL");
}

TEST_F(OdbcDriverOpening, OfAServerThatIsNotThereOrRefusesSaysWhatToDo) {
  const std::string driver = "Provider=ODBC;Dialect=PostgreSQL;Driver=" + driver_path() + ";PWD=" + kPassword;
  EXPECT_EQ(refusal_of(driver + ";Server=127.0.0.1;Port=1;Database=d;UID=u"),
            "The server '127.0.0.1' (database 'd') cannot be reached. See that it runs, and correct Server and Port "
            "(connection to server at \"127.0.0.1\", port 1 failed: Connection refused Is the server running on that "
            "host and accepting TCP/IP connections?)");
  const std::string folder = cluster().folder(), port = std::to_string(cluster().port());
  const std::string attempt = "(connection to server on socket \"" + folder + "/.s.PGSQL." + port + "\" failed: ";
  EXPECT_EQ(refusal_of(driver + ";Server=" + folder + ";Port=" + port + ";Database=nosuch;UID=mercato"),
            "The server '" + folder + "' (database 'nosuch') has no such database. Create it, or correct Database " +
                attempt + "FATAL: database \"nosuch\" does not exist)");
  EXPECT_EQ(refusal_of(driver + ";Server=" + folder + ";Port=" + port + ";Database=postgres;UID=nobody"),
            "The server '" + folder + "' (database 'postgres') refuses the user. Correct UID and PWD " + attempt +
                "FATAL: role \"nobody\" does not exist)");
}

TEST_F(OdbcDriverOpening, NamesItsStoreAsTheDriverForThatServerDoes) {
  const std::string by_libpq = OwnClusterTest::store();
  EXPECT_EQ(driver_for(store()).describe(store()).place, driver_for(by_libpq).describe(by_libpq).place);
}

TEST_F(OdbcDriverOpening, TakesTheWaitForLocksAsANumberOnly) {
  EXPECT_EQ(refusal_of(store() + ";Lock Timeout=soon"),
            "Lock Timeout is 'soon'. It has to be a number of milliseconds");
  run(*open(), "CREATE TABLE T (ID int NOT NULL PRIMARY KEY)");
  const std::unique_ptr<Session> holder = open(), waiting = open_store(store() + ";Lock Timeout=1");
  holder->start_transaction();
  run(*holder, "INSERT INTO T (ID) VALUES (1)");
  EXPECT_EQ(failure_of([&] { run(*waiting, "INSERT INTO T (ID) VALUES (1)"); }).Description,
            "Another process or connection holds what is to be changed on the server '" + cluster().folder() +
                "' (database '" + database() +
                "'), and did not let go of it in time (canceling statement due to lock timeout)");
}

}  // namespace
}  // namespace mercato::store::odbc::test
