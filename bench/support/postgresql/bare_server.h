// SPDX-License-Identifier: Apache-2.0
// A connection to a PostgreSQL server for code that is written against libpq itself, and copies of its databases. One
// thread at a time. All calls throw std::runtime_error with the engine's words.
#pragma once

#include <libpq-fe.h>

#include <memory>
#include <string>

#include "bench/support/postgresql/server_tape.h"

namespace mercato::bench {

struct ClearServerResult {
  void operator()(PGresult* result) const noexcept { PQclear(result); }
};
using ServerResult = std::unique_ptr<PGresult, ClearServerResult>;

class BareServer {
 public:
  // A connection string of the library.
  explicit BareServer(const std::string& connection_string);

  // Returns the first field of the last statement's first row, if any.
  std::string run(const std::string& sql);
  PGconn* connection() const { return connection_.get(); }
  // Throws for a failure.
  void check(const PGresult* result, const std::string& doing) const;

 private:
  struct Close {
    void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
  };
  std::unique_ptr<PGconn, Close> connection_;
};

// Replaces the database `name` by a copy of another one, to which nobody may be connected; an empty one when it is not
// said which. `server` names no database.
void make_database(const std::string& server, const std::string& name, const std::string& from = "template1");
void drop_database(const std::string& server, const std::string& name);

// The processor time that the server has spent on the connections to a database, on the same machine: what else runs
// there is not in it.
class ServerClock {
 public:
  explicit ServerClock(const std::string& connection_string) : server_(connection_string) {}
  // Of the connections that are open, from their beginning.
  double seconds();

 private:
  BareServer server_;
};

// Sends the statements of a tape one after the other, each prepared once, and reads all fields of what comes back.
class TapePlayer {
 public:
  enum class Transactions { as_recorded, one };

  TapePlayer(const std::string& connection_string, const ServerTape& tape);
  // A sum over all fields that were read, so that the compiler cannot leave the reading out.
  std::size_t play(Transactions transactions = Transactions::as_recorded);
  // Commits are not waited for.
  void commit_asynchronously() { server_.run("SET synchronous_commit = off"); }

 private:
  std::size_t run_step(const ServerTape::Step& step);

  BareServer server_;
  const ServerTape& tape_;
  std::vector<std::string> names_;
  std::vector<const char*> values_;
};

}  // namespace mercato::bench
