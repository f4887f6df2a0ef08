// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/server_connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <future>
#include <new>
#include <optional>
#include <thread>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/failures.h"
#include "platform/store/lock_timeout.h"
#include "platform/store/postgres/postgres_failure.h"
#include "platform/store/postgres_dialect/postgres_store.h"

namespace mercato::store::postgres {
namespace {

constexpr int kOldestServer = 150000;
// For what a sound server does at once.
constexpr std::chrono::seconds kPatience{5};

struct Property {
  std::string_view ours;
  const char* engines;
};
constexpr Property kProperties[] = {
    {"Server", "host"},  {"Port", "port"},         {"Database", "dbname"},
    {"User ID", "user"}, {"Password", "password"}, {"SSL Mode", "sslmode"},
};

// Keywords and values as libpq takes them, which needs no quoting.
class Parameters {
 public:
  void add(const char* keyword, std::string value) {
    keywords_.push_back(keyword);
    values_.push_back(std::move(value));
  }
  std::unique_ptr<PGconn, void (*)(PGconn*)> connect() const {
    std::vector<const char*> keywords = keywords_, values;
    for (const std::string& value : values_) values.push_back(value.c_str());
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    return {PQconnectdbParams(keywords.data(), values.data(), 0), &PQfinish};
  }

 private:
  std::vector<const char*> keywords_;
  std::vector<std::string> values_;
};

// "the server 'db.example.com' (database 'mercato')", without what nobody named.
std::string label_of(const std::string& connection_string) {
  std::string label = "the server";
  if (const auto server = connection_property(connection_string, "Server")) label += " '" + *server + "'";
  if (const auto database = connection_property(connection_string, "Database"))
    label += " (database '" + *database + "')";
  return label;
}

// A server that does not answer is not waited for beyond the call limit; without one, as long as libpq is told to.
void limit_opening(Parameters& parameters) {
  if (const auto left = call_time_left())
    parameters.add("connect_timeout", std::to_string(std::chrono::ceil<std::chrono::seconds>(*left).count() + 1));
}

// After such a failure the server says nothing more.
bool ends_connection(const PGresult* result) {
  const char* const severity = PQresultErrorField(result, PG_DIAG_SEVERITY_NONLOCALIZED);
  return severity != nullptr && (std::string_view(severity) == "FATAL" || std::string_view(severity) == "PANIC");
}

void ignore_notice(void*, const PGresult*) {}

}  // namespace

Connection::Connection(const std::string& connection_string) : label_(label_of(connection_string)) {
  Parameters parameters;
  for (const Property& property : kProperties)
    if (auto value = connection_property(connection_string, property.ours))
      parameters.add(property.engines, std::move(*value));
  parameters.add("client_encoding", "UTF8");
  parameters.add("fallback_application_name", "mercato");
  limit_opening(parameters);
  connection_.reset(parameters.connect().release());
  if (!connection_) throw std::bad_alloc();
  if (!is_usable()) throw Raised(unless_call_limit_passed(opening_failure(label_, PQerrorMessage(connection_.get()))));
  if (server_version() < kOldestServer) throw Raised(too_old(label_, server_version()));
  if (const char* const encoding = PQparameterStatus(connection_.get(), "server_encoding");
      encoding == nullptr || std::string_view(encoding) != "UTF8")
    raise_store_failure(at_the_start(label_) + " keeps its texts as " + (encoding == nullptr ? "" : encoding) +
                        ". Create the database with the encoding UTF8");
  PQsetNoticeReceiver(connection_.get(), &ignore_notice, nullptr);
  run_script(settings_of_session(lock_timeout_of(connection_string, kFailureSource)));
  if (const auto path = connection_property(connection_string, "Search Path")) {
    const ResultHandle set(PQexecParams(connection_.get(), "SELECT set_config('search_path', $1, false)", 1, nullptr,
                                        std::array{path->c_str()}.data(), nullptr, nullptr, 0));
    if (PQresultStatus(set.get()) != PGRES_TUPLES_OK)
      raise_store_failure("Search Path is '" + *path + "'. It has to be a list of schemas (" +
                          one_line(PQerrorMessage(connection_.get())) + ")");
  }
  // A statement may be longer than what the system takes at once: a server that has stopped reading must not hold us.
  PQsetnonblocking(connection_.get(), 1);
  PQenterPipelineMode(connection_.get());
}

// Work that a pipeline has no place for.
template <class Work>
ResultHandle Connection::outside_of_batches(Work work) {
  const bool pipelined = PQpipelineStatus(connection_.get()) != PQ_PIPELINE_OFF;
  const int nonblocking = PQisnonblocking(connection_.get());
  if (pipelined) PQexitPipelineMode(connection_.get());
  PQsetnonblocking(connection_.get(), 0);
  ResultHandle done = work();
  PQsetnonblocking(connection_.get(), nonblocking);
  if (pipelined) PQenterPipelineMode(connection_.get());
  if (!is_usable()) raise_lost();
  return done;
}

void Connection::run_script(const std::string& script) {
  const ResultHandle done = outside_of_batches([&] { return ResultHandle(PQexec(connection_.get(), script.c_str())); });
  const ExecStatusType status = PQresultStatus(done.get());
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) throw Raised(failure_of(done.get(), label_, nullptr));
}

void Connection::copy_in(const std::string& command, std::span<const std::vector<Variant>> rows,
                         const TableInfo* table) {
  const ResultHandle done = outside_of_batches([&] {
    ResultHandle started(PQexec(connection_.get(), command.c_str()));
    if (PQresultStatus(started.get()) != PGRES_COPY_IN) return started;
    // A failure ends the copy on the server, which is asked at the end only.
    const char* refused = nullptr;
    try {
      std::string line;
      for (const std::vector<Variant>& row : rows) {
        line.clear();
        append_copied(line, row);
        if (PQputCopyData(connection_.get(), line.data(), static_cast<int>(line.size())) != 1) break;
      }
    } catch (const std::exception&) {
      refused = "the rows could not be written down";
    }
    PQputCopyEnd(connection_.get(), refused);
    ResultHandle ended(PQgetResult(connection_.get()));
    while (const ResultHandle more{PQgetResult(connection_.get())}) {
    }
    return ended;
  });
  if (PQresultStatus(done.get()) != PGRES_COMMAND_OK) throw Raised(failure_of(done.get(), label_, table));
}

void Connection::control(const std::string& statement, Ending ending) {
  send(statement.c_str());
  flush(ending);
  if (const ResultHandle failed = finish_batch()) throw Raised(failure_of(failed.get(), label_, nullptr));
}

std::vector<SentValues> Connection::rows(const std::string& query, const SentValues& values) {
  // A failure leaves the transaction as it was.
  const bool is_saved = is_in_transaction();
  if (is_saved) send("SAVEPOINT mercato_read");
  send(query.c_str(), values);
  if (is_saved) send("RELEASE SAVEPOINT mercato_read");
  flush();
  if (is_saved) finish_command();
  const ResultHandle found = finish_command();
  finish_batch();
  if (PQresultStatus(found.get()) != PGRES_TUPLES_OK) {
    RaisedError failure = failure_of(found.get(), label_, nullptr);
    if (is_saved) {
      send("ROLLBACK TO SAVEPOINT mercato_read");
      flush(Ending::awaited);
      finish_batch();
    }
    throw Raised(std::move(failure));
  }
  std::vector<SentValues> rows(static_cast<std::size_t>(PQntuples(found.get())));
  for (std::size_t row = 0; row < rows.size(); ++row)
    for (int column = 0; column < PQnfields(found.get()); ++column) {
      const int at = static_cast<int>(row);
      std::optional<std::string>& value = rows[row].emplace_back();
      if (PQgetisnull(found.get(), at, column) == 0)
        value.emplace(PQgetvalue(found.get(), at, column),
                      static_cast<std::size_t>(PQgetlength(found.get(), at, column)));
    }
  return rows;
}

// Sending

void Connection::queued(int done) {
  if (done == 1) return;
  if (!is_usable()) raise_lost();
  raise_store_failure(at_the_start(label_) + " could not be asked (" + PQerrorMessage(connection_.get()) + ")");
}

const char* const* Connection::values_of(const SentValues& values) {
  sent_.clear();
  for (const std::optional<std::string>& value : values) {
    if (value && value->find('\0') != std::string::npos)
      raise(error_number::kStatementRefused, std::string(kFailureSource),
            "The store refused the statement: a text with the character U+0000 cannot be kept");
    sent_.push_back(value ? value->c_str() : nullptr);
  }
  return sent_.data();
}

void Connection::send(const char* text) {
  queued(PQsendQueryParams(connection_.get(), text, 0, nullptr, nullptr, nullptr, nullptr, 0));
}

void Connection::send(const char* text, const SentValues& values) {
  const char* const* const sent = values_of(values);
  queued(
      PQsendQueryParams(connection_.get(), text, static_cast<int>(values.size()), nullptr, sent, nullptr, nullptr, 0));
}

void Connection::prepare(const std::string& name, const std::string& text, const std::vector<Oid>& types) {
  queued(PQsendPrepare(connection_.get(), name.c_str(), text.c_str(), static_cast<int>(types.size()), types.data()));
}

void Connection::run(const std::string& name, const SentValues& values) {
  const char* const* const sent = values_of(values);
  queued(
      PQsendQueryPrepared(connection_.get(), name.c_str(), static_cast<int>(values.size()), sent, nullptr, nullptr, 0));
}

void Connection::flush(Ending ending) {
  queued(PQpipelineSync(connection_.get()));
  ++batches_;
  ending_ = ending;
  patience_.reset();
}

// Receiving

// Until the call limit passes, and a little longer then; nothing when there is no end.
std::optional<std::chrono::milliseconds> Connection::time_to_wait() {
  if (!patience_) {
    const auto left = call_time_left();
    if (!left || left->count() > 0) return left;
    if (ending_ == Ending::cancelled)
      cancel();
    else
      patience_ = std::chrono::steady_clock::now() + kPatience;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*patience_ - std::chrono::steady_clock::now());
  return std::max(left, std::chrono::milliseconds(0));
}

void Connection::wait_until_readable() {
  while (PQisBusy(connection_.get()) != 0) {
    const int unsent = PQflush(connection_.get());
    // `next` reads what the server said before its end.
    if (unsent < 0) return;
    auto left = time_to_wait();
    if (given_up_ || (left && left->count() == 0)) raise_given_up();
    // Nothing wakes the wait when somebody else ends the call. One without an end needs no timer of the system.
    constexpr std::chrono::milliseconds kLook{50};
    if (can_be_cancelled()) left = std::min(left.value_or(kLook), kLook);
    pollfd watched{PQsocket(connection_.get()), static_cast<short>(unsent == 0 ? POLLIN : POLLIN | POLLOUT), 0};
    const int ready = poll(&watched, 1, left ? static_cast<int>(left->count()) : -1);
    if (ready < 0 && errno != EINTR) raise_lost();
    if (ready > 0 && PQconsumeInput(connection_.get()) != 1) return;
  }
}

ResultHandle Connection::next() {
  wait_until_readable();
  ResultHandle result(PQgetResult(connection_.get()));
  // Of a connection that is lost there would be no next answer for ever.
  given_up_ = given_up_ || ends_connection(result.get());
  if (!is_usable()) raise_lost(result.get());
  return result;
}

void Connection::stream_rows() { PQsetSingleRowMode(connection_.get()); }

ResultHandle Connection::finish_command() {
  ResultHandle answer;
  while (ResultHandle result = next()) answer = std::move(result);
  return answer;
}

// Behind the last answer of a command stands a null one, behind a batch its end.
ResultHandle Connection::finish_batch() {
  ResultHandle failure;
  while (batches_ > 0) {
    ResultHandle result = next();
    if (!result) continue;
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_FATAL_ERROR && !failure) failure = std::move(result);
    if (status != PGRES_PIPELINE_SYNC) continue;
    --batches_;
    break;
  }
  return failure;
}

// libpq asks on a connection of its own and waits for its end without a limit, so a thread of its own asks. When it has
// been answered, the server has told the command: none that is sent later can be meant.
void Connection::cancel() noexcept {
  patience_ = std::chrono::steady_clock::now() + kPatience;
  PGcancel* const cancelling = PQgetCancel(connection_.get());
  try {
    std::packaged_task<void()> ask([cancelling] {
      char words[256];
      if (cancelling != nullptr) PQcancel(cancelling, words, sizeof words);
      PQfreeCancel(cancelling);
    });
    const std::future<void> asked = ask.get_future();
    std::thread(std::move(ask)).detach();
    given_up_ = asked.wait_until(*patience_) != std::future_status::ready;
  } catch (...) {
    // Without a thread the command goes on, and is given up when the patience ends.
  }
}

std::string Connection::address() const {
  return std::string(PQhost(connection_.get())) + ":" + PQport(connection_.get());
}

bool Connection::has_ended() const noexcept {
  if (!is_usable()) return true;
  // Nothing is expected from an idle connection: what can be read is its end, or a notice before it.
  pollfd watched{PQsocket(connection_.get()), POLLIN, 0};
  return poll(&watched, 1, 0) != 0;
}

void Connection::raise_lost(const PGresult* last) {
  const char* const said = PQresultErrorField(last, PG_DIAG_MESSAGE_PRIMARY);
  const std::string words = one_line(said == nullptr ? PQerrorMessage(connection_.get()) : said);
  raise_store_failure(at_the_start(label_) +
                      " has ended the connection. What was not committed is undone there. See what stands, then repeat "
                      "the call" +
                      (words.empty() ? "" : " (" + words + ")"));
}

void Connection::raise_given_up() {
  given_up_ = true;
  throw Raised(unless_call_limit_passed({error_number::kStoreFailure,
                                         std::string(kFailureSource),
                                         at_the_start(label_) + " does not answer. Its connection was given up",
                                         {},
                                         0}));
}

}  // namespace mercato::store::postgres
