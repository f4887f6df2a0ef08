// SPDX-License-Identifier: Apache-2.0
// Work of the library on a PostgreSQL server, and the statements that it sent, by hand: recorded in a run that is not
// timed, played one after the other over the same socket. The parent has no threads and no open store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/cost.h"
#include "bench/support/postgresql/bare_server.h"

namespace mercato::bench {

// What is in a database: a sum over all columns of the tables named, without the moments at which products were written.
struct DatabaseRows {
  std::int64_t count = 0;
  std::int64_t hash = 0;
  bool operator==(const DatabaseRows&) const = default;
};
DatabaseRows rows_in(const std::string& connection_string, const std::vector<std::string_view>& tables);

// What was sent, for one call or record.
struct Sent {
  double statements = 0;
  double round_trips = 0;
  double batches = 0;
  double savepoints = 0;
  double settings = 0;
  double table_questions = 0;
};

// Medians of several turns.
struct Times {
  double clock = 0;
  double client = 0;  // processor time
  double server = 0;  // the same of the server's connections
  double both() const { return client + server; }
};

class ServerBench {
 public:
  // A connection string without a database; files lie in the folder.
  ServerBench(std::string server, std::filesystem::path folder)
      : server_(std::move(server)), folder_(std::move(folder)) {}

  std::string database(const std::string& name) const { return server_ + ";Database=" + name; }
  const std::string& server() const { return server_; }
  const std::filesystem::path& folder() const { return folder_; }

  struct Calls {
    Times library;  // of one call, in microseconds
    Times by_hand;
    Sent sent;
  };
  // `batch` makes that many calls, the same ones each time, on the store that the settings name; nothing changes.
  Calls compare_calls(const std::string& name, std::size_t calls, const std::function<void()>& batch) const;

  struct Work {
    Times library;  // in seconds
    Times by_hand;
    Times at_once;     // by hand, in one transaction
    double calls = 0;  // what `work` returned
    double peak_bytes = 0;
    DatabaseRows rows;
    Sent sent;
  };
  enum class Commits { awaited, asynchronous };
  // `work` changes a copy of the database; what it and the play-back leave in the tables has to be the same. `units` is
  // how many records there are.
  Work compare_work(const std::string& name, std::size_t units, std::size_t rounds, Commits commits,
                    const std::vector<std::string_view>& tables, const std::function<std::size_t()>& work) const;

 private:
  std::string server_;
  std::filesystem::path folder_;
};

// The statements of a tape, the most frequent first.
void print_statements(const ServerTape& tape, std::size_t units);

}  // namespace mercato::bench
