// SPDX-License-Identifier: Apache-2.0
// A server of the test program's own, which tests may stop, restart and configure, with a database of its own for each
// test. It listens on its socket and on a port of this machine. Without a server installed such tests are skipped.
#pragma once

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/store/driver.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store::postgres::test {

using mercato::test::failure_of;
using store::test::query;
using store::test::query_one;
using store::test::run;

inline constexpr std::chrono::seconds kLongEnough{20};

// Whether the condition comes true before long.
template <class Condition>
bool comes_true(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kLongEnough;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

class OwnCluster {
 public:
  // The one of the program.
  static OwnCluster& instance() {
    static OwnCluster cluster;
    return cluster;
  }
  // One more. `kind`: nothing, or on-disk for settings as for real work.
  explicit OwnCluster(const std::string& kind = {}) {
    try {
      script("start " + link() + " " + std::to_string(::getpid()) + " " + kind);
    } catch (const std::runtime_error& failure) {
      missing_ = failure.what();
      return;
    }
    folder_ = std::filesystem::read_symlink(link());
    // Free a moment ago; the tests of several programs may run side by side.
    static int started = 0;
    port_ = 20000 + (static_cast<int>(::getpid()) + 7919 * started++) % 20000;
    shell("printf \"listen_addresses = '127.0.0.1'\\nport = " + std::to_string(port_) +
          "\\ndeadlock_timeout = 100ms\\n\" >> postgresql.conf");
    control("restart");
  }
  OwnCluster(const OwnCluster&) = delete;
  OwnCluster& operator=(const OwnCluster&) = delete;
  ~OwnCluster() {
    if (missing_.empty()) script("stop " + link());
  }

  // Why there is none; empty when it runs.
  const std::string& missing() const { return missing_; }
  const std::string& folder() const { return folder_; }
  int port() const { return port_; }

  // The connection string of the role of the tests, over the socket.
  std::string store(const std::string& database) const {
    return "Provider=PostgreSQL;Server=" + folder_ + ";Port=" + std::to_string(port_) + ";Database=" + database +
           ";User ID=mercato";
  }
  // Runs statements as the server's owner, past the library; the first field of the last one's first row, if any.
  std::string run(const std::string& sql, const std::string& database = "postgres") const {
    const std::string target =
        "host=" + folder_ + " port=" + std::to_string(port_) + " user=postgres dbname=" + database;
    const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(target.c_str()), &PQfinish);
    PQsetNoticeReceiver(
        connection.get(), [](void*, const PGresult*) {}, nullptr);
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection.get(), sql.c_str()), &PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
      throw std::runtime_error(PQerrorMessage(connection.get()));
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  }
  // pg_ctl: "restart --mode=fast".
  void control(const std::string& arguments) const { script("control " + link() + " " + arguments); }
  // In the folder of its data, as its user.
  std::string shell(const std::string& command) const {
    std::string quoted = "'";
    for (const char character : command) quoted += character == '\'' ? "'\\''" : std::string(1, character);
    return script("shell " + link() + " " + quoted + "'");
  }

 private:
  std::string link() const { return link_folder_ / "cluster"; }
  static std::string script(const std::string& arguments) {
    FILE* const pipe =
        ::popen(("'" MERCATO_SOURCE_DIR "/tests/support/postgres_cluster' " + arguments + " 2>&1").c_str(), "r");
    std::string said;
    for (int character; (character = std::fgetc(pipe)) != EOF;) said += static_cast<char>(character);
    if (::pclose(pipe) != 0) throw std::runtime_error(said);
    return said;
  }

  mercato::test::TemporaryFolder link_folder_;
  std::string missing_;
  std::string folder_;
  int port_ = 0;
};

// A test with a database of its own.
class OwnClusterTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!cluster().missing().empty()) GTEST_SKIP() << cluster().missing();
    static int made = 0;
    database_ = "own_" + std::to_string(++made);
    cluster().run("CREATE DATABASE " + database_ + " OWNER mercato");
  }
  void TearDown() override {
    close_idle_sessions();
    if (!database_.empty()) cluster().run("DROP DATABASE " + database_ + " WITH (FORCE)");
  }

  static OwnCluster& cluster() { return OwnCluster::instance(); }
  const std::string& database() const { return database_; }
  std::string store(const std::string& more = {}) const { return cluster().store(database_) + more; }
  std::unique_ptr<Session> open(const std::string& more = {}) const { return open_store(store(more)); }
  static std::unique_ptr<Session> open_store(const std::string& connection_string) {
    return driver_for(connection_string).open(connection_string);
  }
  std::string as_owner(const std::string& sql) const { return cluster().run(sql, database_); }

  // The process of the server that serves the session, which is asked for it by nobody else.
  std::string backend_of(const std::string& marked) const {
    return as_owner("SELECT pid FROM pg_stat_activity WHERE datname = current_database() AND query LIKE '%" + marked +
                    "%' AND pid <> pg_backend_pid()");
  }
  std::string count_of(const std::string& condition) const {
    return as_owner(
        "SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND pid <> pg_backend_pid() AND " +
        condition);
  }
  // Ends all sessions of the test's database, and waits until they are gone.
  void end_backends() const {
    as_owner(
        "SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = current_database() AND pid <> "
        "pg_backend_pid()");
  }

 private:
  std::string database_;
};

}  // namespace mercato::store::postgres::test
