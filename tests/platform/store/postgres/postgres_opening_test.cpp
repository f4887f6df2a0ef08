// SPDX-License-Identifier: Apache-2.0
// What a connection string leads to, and what is said when it leads nowhere: one line, what is wrong and what to do.
#include <stdlib.h>

#include <fstream>

#include "mercato/table_creation.h"
#include "platform/store/postgres/postgres_failure.h"
#include "tests/platform/store/postgres/own_cluster.h"

namespace mercato::store::postgres::test {
namespace {

using namespace error_number;

constexpr const char* kPassword = "easy-to-find-4711";

// A variable of the environment, for one test.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : name_(name) { ::setenv(name, value.c_str(), 1); }
  ~Environment() { ::unsetenv(name_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
};

class PostgresOpening : public OwnClusterTest {
 protected:
  // What opening is refused with: a store failure of one line, without the password.
  static std::string refusal_of(const std::string& connection_string) {
    const RaisedError failure = failure_of([&] { open_store(connection_string); });
    EXPECT_EQ(failure.Number, kStoreFailure) << connection_string;
    EXPECT_EQ(failure.Source, "PostgreSQL store");
    EXPECT_EQ(failure.Description.find('\n'), std::string::npos) << failure.Description;
    EXPECT_EQ(failure.Description.find(kPassword), std::string::npos) << failure.Description;
    return failure.Description;
  }
  static std::string part(const std::string& name, const std::string& value) { return ";" + name + "=" + value; }
  std::string server() const { return "The server '" + cluster().folder() + "' (database '" + database() + "')"; }
  std::string attempt() const {
    return "connection to server on socket \"" + cluster().folder() + "/.s.PGSQL." + std::to_string(cluster().port()) +
           "\" failed: ";
  }
  std::string store_of(const std::string& user, const std::string& more = {}) const {
    return "Provider=PostgreSQL;Server=" + cluster().folder() + ";Port=" + std::to_string(cluster().port()) +
           ";Database=" + database() + ";User ID=" + user + more;
  }
  // A role that has to give its password, for as long as the object lives.
  class Secretive {
   public:
    Secretive() {
      cluster().run("CREATE ROLE secretive LOGIN PASSWORD '" + std::string(kPassword) + "'");
      cluster().shell("sed -i '1i local all secretive scram-sha-256' pg_hba.conf");
      cluster().run("SELECT pg_reload_conf()");
    }
    ~Secretive() {
      cluster().shell("sed -i 1d pg_hba.conf");
      cluster().run("SELECT pg_reload_conf(); DROP ROLE secretive");
    }
    Secretive(const Secretive&) = delete;
    Secretive& operator=(const Secretive&) = delete;
  };
};

TEST_F(PostgresOpening, WithoutAServerThereSaysSo) {
  EXPECT_EQ(
      refusal_of("Provider=PostgreSQL;Server=/nowhere;Port=5432;Database=d;User ID=u"),
      "The server '/nowhere' (database 'd') cannot be reached. See that it runs, and correct Server and Port "
      "(connection to server on socket \"/nowhere/.s.PGSQL.5432\" failed: No such file or directory Is the server "
      "running locally and accepting connections on that socket?)");
  EXPECT_EQ(
      refusal_of("Provider=PostgreSQL;Server=127.0.0.1;Port=1;User ID=u"),
      "The server '127.0.0.1' cannot be reached. See that it runs, and correct Server and Port (connection to "
      "server at \"127.0.0.1\", port 1 failed: Connection refused Is the server running on that host and accepting "
      "TCP/IP connections?)");
  const std::string unknown_host = refusal_of("Provider=PostgreSQL;Server=nowhere.invalid;User ID=u");
  EXPECT_TRUE(unknown_host.starts_with(
      "The server 'nowhere.invalid' cannot be reached. See that it runs, and correct Server and Port (could not "
      "translate host name \"nowhere.invalid\" to address: "))
      << unknown_host;
}

TEST_F(PostgresOpening, WithAPortThatIsNoneSaysSo) {
  EXPECT_EQ(refusal_of("Provider=PostgreSQL;Server=127.0.0.1;Port=many"),
            "The server '127.0.0.1' cannot be reached. See that it runs, and correct Server and Port (invalid integer "
            "value \"many\" for connection option \"port\")");
}

TEST_F(PostgresOpening, OfAnUnknownDatabaseOrRoleSaysWhichAndWhatToDo) {
  EXPECT_EQ(refusal_of(cluster().store("no_such")),
            "The server '" + cluster().folder() +
                "' (database 'no_such') has no such database. Create it, or correct Database (" + attempt() +
                "FATAL: database \"no_such\" does not exist)");
  EXPECT_EQ(refusal_of(store_of("nobody_here")), server() +
                                                     " does not know the user. Create the role, or correct User ID (" +
                                                     attempt() + "FATAL: role \"nobody_here\" does not exist)");
}

TEST_F(PostgresOpening, WithAPasswordThatIsWrongOrMissingSaysSoAndKeepsItToItself) {
  const Secretive secretive;
  EXPECT_EQ(refusal_of(store_of("secretive")),
            server() + " refuses the user. Correct User ID and Password, or the password file (" + attempt() +
                "fe_sendauth: no password supplied)");
  EXPECT_EQ(refusal_of(store_of("secretive", part("Password", std::string("not-") + kPassword))),
            server() + " refuses the user. Correct User ID and Password, or the password file (" + attempt() +
                "FATAL: password authentication failed for user \"secretive\")");
  EXPECT_EQ(query_one(*open_store(store_of("secretive", part("Password", kPassword))), "SELECT 1"), Variant(1));
}

TEST_F(PostgresOpening, NoFailureEverHasThePassword) {
  const Secretive secretive;
  const std::string right = store_of("secretive", part("Password", kPassword));
  for (const std::string& wrong : {part("Database", "no_such"), part("Port", "1"), part("SSL Mode", "what"),
                                   part("Lock Timeout", "soon"), part("Search Path", "a,,b")}) {
    std::string connection_string = right;
    // Of two properties of one name the first counts.
    connection_string.insert(connection_string.find(";Server"), wrong);
    refusal_of(connection_string);
  }
  const auto session = open_store(right);
  for (const char* const refused : {"SELECT * FROM NONE", "CREATE TABLE T (ID int NULL)"}) {
    const RaisedError failure = failure_of([&] { run(*session, refused); });
    EXPECT_NE(failure.Number, 0) << refused;
    EXPECT_EQ(failure.Description.find(kPassword), std::string::npos) << failure.Description;
  }
}

TEST_F(PostgresOpening, TakesThePasswordFromTheFileOfPasswords) {
  const Secretive secretive;
  const mercato::test::TemporaryFolder folder;
  const std::string file = folder / "passwords";
  std::ofstream(file) << "*:*:*:secretive:" << kPassword << "\n";
  std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  const Environment passwords("PGPASSFILE", file);
  EXPECT_EQ(query_one(*open_store(store_of("secretive")), "SELECT 1"), Variant(1));
}

TEST_F(PostgresOpening, TakesAllThatIsNotSaidFromTheService) {
  const mercato::test::TemporaryFolder folder;
  const std::string file = folder / "services";
  std::ofstream(file) << "[mercato]\nhost=" << cluster().folder() << "\nport=" << cluster().port()
                      << "\nuser=mercato\ndbname=" << database() << "\n";
  const Environment services("PGSERVICEFILE", file);
  const Environment service("PGSERVICE", "mercato");
  const auto session = open_store("Provider=PostgreSQL");
  run(*session, "CREATE TABLE SERVED (ID int NULL)");
  EXPECT_EQ(as_owner("SELECT count(*) FROM \"SERVED\""), "0");
}

TEST_F(PostgresOpening, OfADatabaseInAnotherEncodingSaysSo) {
  cluster().run("CREATE DATABASE latin OWNER mercato ENCODING 'LATIN1' LOCALE 'C' TEMPLATE template0");
  EXPECT_EQ(refusal_of(cluster().store("latin")),
            "The server '" + cluster().folder() +
                "' (database 'latin') keeps its texts as LATIN1. Create the database with the encoding UTF8");
  cluster().run("DROP DATABASE latin");
}

TEST_F(PostgresOpening, OfAServerThatIsTooOldSaysWhichVersionItNeeds) {
  EXPECT_EQ(too_old("the server 'db'", 140011).Description,
            "The server 'db' is PostgreSQL 14. The store needs version 15 or later");
}

TEST_F(PostgresOpening, OfOneConnectionTooManySaysSo) {
  cluster().run("ALTER DATABASE " + database() + " CONNECTION LIMIT 1");
  const auto only = open();
  EXPECT_EQ(refusal_of(store()),
            server() + " has no room for another connection. Raise the limit there, or use fewer processes (" +
                attempt() + "FATAL: too many connections for database \"" + database() + "\")");
}

TEST_F(PostgresOpening, WithALockTimeoutThatIsNoNumberSaysSo) {
  EXPECT_EQ(refusal_of(store(part("Lock Timeout", "soon"))),
            "Lock Timeout is 'soon'. It has to be a number of milliseconds");
}

TEST_F(PostgresOpening, SearchPathNamesTheSchemaOfTheTables) {
  as_owner("CREATE SCHEMA purchasing AUTHORIZATION mercato");
  const auto session = open(part("Search Path", "purchasing"));
  run(*session, "CREATE TABLE T (ID int NOT NULL PRIMARY KEY)");
  EXPECT_EQ(as_owner("SELECT relnamespace::regnamespace FROM pg_class WHERE relname = 'T'"), "purchasing");
  EXPECT_EQ(open()->table("T"), nullptr);
  const RaisedError failure =
      failure_of([&] { run(*open(part("Search Path", "nowhere")), "CREATE TABLE T (ID int NULL)"); });
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(failure.Description,
            server() + " has no schema to create tables in. Create one, and name it in Search Path");
}

// It may not create anything elsewhere, nor anything but tables, functions and what belongs to them.
TEST_F(PostgresOpening, ARoleThatOwnsItsSchemaOnlyCreatesAndUsesTheTables) {
  as_owner("CREATE ROLE modest LOGIN; REVOKE ALL ON SCHEMA public FROM PUBLIC; REVOKE TEMPORARY ON DATABASE " +
           database() + " FROM PUBLIC; CREATE SCHEMA modest AUTHORIZATION modest");
  const std::string modest = store_of("modest");
  create_tables(modest);
  const auto session = open_store(modest);
  run(*session, "INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES('m', 'Muster')");
  EXPECT_EQ(query_one(*session, "SELECT MANUFACTURERNAME FROM MANUFACTURER WHERE MANUFACTURERID = 'M'"),
            Variant("Muster"));
  session->begin_run();
  run(*session, "UPDATE MANUFACTURER SET MANUFACTURERNAME = 'New'");
  session->end_run();
  as_owner("DROP OWNED BY modest; DROP ROLE modest");
}

TEST_F(PostgresOpening, ARightThatIsLackingIsSaid) {
  as_owner("CREATE ROLE reader LOGIN");
  run(*open(), "CREATE TABLE T (ID int NULL)");
  as_owner("GRANT USAGE ON SCHEMA public TO reader; GRANT SELECT ON \"T\", mercato_store TO reader");
  const auto session = open_store(store_of("reader"));
  EXPECT_EQ(query_one(*session, "SELECT COUNT(*) FROM T"), Variant(0));
  const std::string label = "the server '" + cluster().folder() + "' (database '" + database() + "')";
  EXPECT_EQ(failure_of([&] { run(*session, "DELETE T"); }).Description,
            "The user of the connection may not do this on " + label +
                ". Give it the right to (permission denied for table T)");
  EXPECT_EQ(failure_of([&] { run(*session, "CREATE TABLE U (ID int NULL)"); }).Description,
            "The user of the connection may not do this on " + label +
                ". Give it the right to (permission denied for schema public)");
  as_owner("DROP OWNED BY reader; DROP ROLE reader");
}

// Whoever made a role or a database read-only meant it.
TEST_F(PostgresOpening, AStoreThatTakesNoChangesIsReadAndSaysSoAtAChange) {
  run(*open(), "CREATE TABLE T (ID int NULL)");
  cluster().run("ALTER DATABASE " + database() + " SET default_transaction_read_only = on");
  const auto session = open();
  EXPECT_EQ(query_one(*session, "SELECT COUNT(*) FROM T"), Variant(0));
  const std::string expected = server() +
                               " takes no changes from this user, or is a copy. Connect to one that takes them (cannot "
                               "execute INSERT in a read-only transaction)";
  EXPECT_EQ(failure_of([&] { run(*session, "INSERT INTO T (ID) VALUES (1)"); }).Description, expected);
  session->start_transaction();
  EXPECT_EQ(failure_of([&] { run(*session, "INSERT INTO T (ID) VALUES (1)"); }).Description, expected);
  session->rollback();
}

TEST_F(PostgresOpening, DoesNotWaitForASilentServerBeyondTheCallLimit) {
  const std::string process = cluster().shell("head -1 postmaster.pid");
  cluster().shell("kill -STOP $(head -1 postmaster.pid)");
  const auto begin = std::chrono::steady_clock::now();
  RaisedError failure;
  {
    const CallLimit limit(0.5);
    failure = failure_of([&] { open(); });
  }
  const auto took = std::chrono::steady_clock::now() - begin;
  cluster().shell("kill -CONT $(head -1 postmaster.pid)");
  EXPECT_EQ(failure.Number, kTimeout);
  EXPECT_EQ(failure.Description, "Timeout expired: the call ran longer than its limit of 0.5 seconds");
  EXPECT_LT(took, std::chrono::seconds(5));
}

// Certificates of the test's own making. `verify-full` wants one that a known authority signed for the name of the
// server, and that is valid today.
class PostgresEncryption : public PostgresOpening {
 protected:
  void SetUp() override {
    PostgresOpening::SetUp();
    if (IsSkipped()) return;
    if (std::system("openssl version > /dev/null 2>&1") != 0) GTEST_SKIP() << "openssl is not installed";
    cluster().shell(
        "mkdir -p certificates && cd certificates && "
        "openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj /CN=authority -keyout authority.key -out "
        "authority.crt && "
        "openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj /CN=stranger -keyout stranger.key -out stranger.crt "
        "&& "
        "openssl req -newkey rsa:2048 -nodes -subj /CN=localhost -keyout server.key -out server.csr && "
        "openssl req -new -key server.key -subj /CN=elsewhere.example -out elsewhere.csr && "
        "openssl x509 -req -in server.csr -CA authority.crt -CAkey authority.key -CAcreateserial -days 30 -out "
        "right.crt && "
        "openssl x509 -req -in elsewhere.csr -CA authority.crt -CAkey authority.key -CAcreateserial -days 30 -out "
        "elsewhere.crt && "
        "mkdir -p issued && : > index && echo 01 > serial && "
        "openssl ca -batch -notext -keyfile authority.key -cert authority.crt -outdir issued -in server.csr -out "
        "expired.crt -startdate 20200101000000Z -enddate 20210101000000Z -config <(printf "
        "'[ca]\\ndefault_ca=own\\n[own]\\n"
        "database=index\\nserial=serial\\ndefault_md=sha256\\npolicy=any\\n[any]\\ncommonName=supplied\\n') && "
        "chmod 600 *.key 2>&1");
    cluster().shell(
        "printf \"ssl = on\\nssl_cert_file = 'certificates/shown.crt'\\nssl_key_file = 'certificates/server.key'\\n\" "
        ">> "
        "postgresql.auto.conf && cp certificates/right.crt certificates/shown.crt");
    folder_.emplace();
    for (const char* const known : {"authority", "stranger"})
      std::ofstream(*folder_ / known) << cluster().shell("cat certificates/" + std::string(known) + ".crt");
  }
  void TearDown() override {
    if (folder_) {
      cluster().shell("sed -i '/^ssl/d' postgresql.auto.conf; rm -r certificates");
      cluster().run("SELECT pg_reload_conf()");
    }
    PostgresOpening::TearDown();
  }

  // What the connection is like when the server shows that certificate and that authority is known.
  std::string connecting(const std::string& shown, const std::string& known) const {
    cluster().shell("cp certificates/" + shown + ".crt certificates/shown.crt");
    cluster().run("SELECT pg_reload_conf()");
    const Environment authority("PGSSLROOTCERT", *folder_ / known);
    const std::string connection_string =
        "Provider=PostgreSQL;Server=localhost;Port=" + std::to_string(cluster().port()) + ";Database=" + database() +
        ";User ID=mercato;SSL Mode=verify-full";
    std::string result;
    // The server takes a moment to read its settings anew.
    const auto read = [&] {
      const RaisedError failure = failure_of([&] { open_store(connection_string); });
      EXPECT_EQ(failure.Description.find('\n'), std::string::npos);
      return failure.Number == 0 ? "taken" : failure.Description;
    };
    const std::string before = last_;
    comes_true([&] { return (result = read()) != before; });
    last_ = result;
    return result;
  }
  std::string not_safe(const std::string& words) const {
    return "The connection to the server 'localhost' (database '" + database() +
           "') is not safe enough. Look at the server's certificate, and at SSL Mode (connection to server at "
           "\"localhost\" (127.0.0.1), port " +
           std::to_string(cluster().port()) + " failed: " + words + ")";
  }

 private:
  std::optional<mercato::test::TemporaryFolder> folder_;
  mutable std::string last_;
};

TEST_F(PostgresEncryption, VerifyFullTakesTheRightCertificateOnly) {
  EXPECT_EQ(connecting("right", "authority"), "taken");
  EXPECT_EQ(connecting("expired", "authority"), not_safe("SSL error: certificate verify failed"));
  EXPECT_EQ(connecting("elsewhere", "authority"),
            not_safe("server certificate for \"elsewhere.example\" does not match host name \"localhost\""));
  EXPECT_EQ(connecting("right", "stranger"), not_safe("SSL error: certificate verify failed"));
}

}  // namespace
}  // namespace mercato::store::postgres::test
