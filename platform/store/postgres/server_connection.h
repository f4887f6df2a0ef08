// SPDX-License-Identifier: Apache-2.0
// One connection to a server: opening, commands that go out together, answers that are waited for as long as the call
// limit allows. Knows nothing of transactions. One thread at a time.
//
// All commands go through the engine's pipeline: `send`, `prepare` and `run` put one into the batch, `flush` closes the
// batch and sends it, and the answers come in the same order. When a command of a batch fails, the engine passes over
// the rest of it. Outside of a transaction a batch is one.
#pragma once

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/postgres/postgres_failure.h"
#include "platform/store/postgres_dialect/postgres_server.h"
#include "platform/store/postgres_dialect/postgres_values.h"

namespace mercato::store::postgres {

struct ClearResult {
  void operator()(PGresult* result) const noexcept { PQclear(result); }
};
using ResultHandle = std::unique_ptr<PGresult, ClearResult>;

// What happens to a batch when the call limit passes.
enum class Ending : std::uint8_t {
  cancelled,  // the server is told to stop
  awaited,    // a commit or a rollback: stopped half-way, it would leave the next statement in doubt
};

class Connection final : public PostgresServer {
 public:
  // Raises what `postgres_driver` says.
  explicit Connection(const std::string& connection_string);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void send(const char* text);
  void send(const char* text, const SentValues& values);
  // Parameters of type 0 are what the engine takes them for.
  void prepare(const std::string& name, const std::string& text, const std::vector<Oid>& types);
  void run(const std::string& name, const SentValues& values);
  void flush(Ending ending = Ending::cancelled);
  // A batch of its own, for a statement of the store's own. Raises what it raises.
  void control(const std::string& statement) override { control(statement, Ending::cancelled); }
  void finish(const std::string& statement) { control(statement, Ending::awaited); }
  std::vector<SentValues> rows(const std::string& query, const SentValues& values = {}) override;
  // Outside of any batch.
  void run_script(const std::string& script) override;
  // Sends whole rows by that COPY command, outside of any batch. Raises what it raises; `table` is the one it fills.
  void copy_in(const std::string& command, std::span<const std::vector<Variant>> rows, const TableInfo* table);

  // The next answer of the batch: null behind the last one of each command. Raises when the connection is lost; when the
  // call limit passes, the command is ended on the server, and its answer is the engine's failure. A server that does not
  // answer even then is waited for a few seconds: the connection is given up, as if it were lost.
  ResultHandle next();
  // The same for a command that is to give its rows one by one: asked before its first answer.
  void stream_rows();
  // The rest of a command: its last answer, which is the failure if there is one.
  ResultHandle finish_command();
  // Passes over what is left of the oldest batch; its failure, if there is one.
  ResultHandle finish_batch();
  bool has_batches() const { return batches_ > 0; }
  // Ends the running command on the server; the batch has still to be finished.
  void cancel() noexcept;

  bool is_usable() const noexcept { return !given_up_ && PQstatus(connection_.get()) == CONNECTION_OK; }
  // No command is under way, no transaction open.
  bool is_idle() const noexcept {
    return is_usable() && PQtransactionStatus(connection_.get()) == PQTRANS_IDLE && batches_ == 0;
  }
  // Whether a transaction is open; asked between two batches.
  bool is_in_transaction() const noexcept { return PQtransactionStatus(connection_.get()) == PQTRANS_INTRANS; }
  // Whether the server has closed the connection meanwhile. Asks the system, not the server.
  bool has_ended() const noexcept;
  // What the server says that it is: 150004 for 15.4.
  int server_version() const { return PQserverVersion(connection_.get()); }
  // Host, or folder of the socket, and port.
  std::string address() const;
  std::string_view failure_source() const override { return kFailureSource; }
  // For messages: "the server 'db.example.com' (database 'mercato')".
  const std::string& label() const override { return label_; }

 private:
  struct Close {
    void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
  };

  void control(const std::string& statement, Ending ending);
  template <class Work>
  ResultHandle outside_of_batches(Work work);
  void queued(int done);
  const char* const* values_of(const SentValues& values);
  void wait_until_readable();
  std::optional<std::chrono::milliseconds> time_to_wait();
  // `last`: what came before the end, if anything.
  [[noreturn]] void raise_lost(const PGresult* last = nullptr);
  [[noreturn]] void raise_given_up();

  std::string label_;
  std::unique_ptr<PGconn, Close> connection_;
  std::vector<const char*> sent_;  // its room serves one command after the other
  int batches_ = 0;                // that were sent and are not finished
  Ending ending_ = Ending::cancelled;
  std::optional<std::chrono::steady_clock::time_point> patience_;  // until when the batch is still waited for
  bool given_up_ = false;
};

}  // namespace mercato::store::postgres
