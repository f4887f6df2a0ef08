// SPDX-License-Identifier: Apache-2.0
#include "bench/support/any_store.h"

#include <time.h>

#include <filesystem>
#include <optional>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#ifdef MERCATO_POSTGRES
#include "bench/support/postgresql/bare_server.h"
#endif
#include "platform/store/driver.h"

namespace mercato::bench {
namespace {

double seconds_of_thread() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace

#ifdef MERCATO_POSTGRES

// Of a store on a server.
class AnyStore::Engine {
 public:
  explicit Engine(const std::string& place)
      : place_(place),
        server_(place.substr(0, place.find(kDatabase))),
        database_(store::connection_property(place, "Database").value()) {}

  static bool is_meant(const std::string& place) { return place.find(kDatabase) != std::string::npos; }

  bool exists() const {
    BareServer server(server_ + ";Database=postgres");
    return !server.run("SELECT 1 FROM pg_database WHERE datname = '" + database_ + "'").empty();
  }
  void remove() {
    clock_.reset();
    drop_database(server_, database_);
  }
  void make() const { make_database(server_, database_); }
  void settle() const { BareServer(place_).run("VACUUM ANALYZE"); }
  double text_index_bytes(const std::string& table) const {
    return std::stod(BareServer(place_).run("SELECT pg_relation_size('\"text index of " + table + "\"')"));
  }
  double seconds() {
    if (!clock_) clock_.emplace(place_);
    return clock_->seconds();
  }

 private:
  static constexpr const char* kDatabase = ";Database=";

  const std::string place_, server_, database_;
  std::optional<ServerClock> clock_;
};

#else

// Of a store on a server, which this build knows none of.
class AnyStore::Engine {
 public:
  explicit Engine(const std::string&) {}
  static bool is_meant(const std::string&) { return false; }
  bool exists() const { return false; }
  void remove() {}
  void make() const {}
  void settle() const {}
  double text_index_bytes(const std::string&) const { return 0; }
  double seconds() { return 0; }
};

#endif

AnyStore::AnyStore(const std::string& place)
    : connection_string_(Engine::is_meant(place) ? place : bench::connection_string(place)),
      file_(Engine::is_meant(place) ? "" : place),
      server_(Engine::is_meant(place) ? std::make_unique<Engine>(place) : nullptr) {}

AnyStore::~AnyStore() = default;

bool AnyStore::exists() const { return server_ ? server_->exists() : std::filesystem::exists(file_); }

void AnyStore::remove() {
  if (server_) return server_->remove();
  for (const char* const end : {"", "-wal", "-shm", "-owner"}) std::filesystem::remove(file_ + end);
}

void AnyStore::make_empty() {
  remove();
  if (server_) server_->make();
}

void AnyStore::settle() const {
  if (server_) server_->settle();
}

double AnyStore::text_index_bytes(const std::string& table) const {
  if (server_) return server_->text_index_bytes(table);
  BareStore bare(file_);
  const BareStatement statement = bare.prepare("SELECT sum(length(block)) FROM \"text index of " + table + "_data\"");
  if (sqlite3_step(statement.get()) != SQLITE_ROW) bare.fail("reading a number");
  return sqlite3_column_double(statement.get(), 0);
}

double AnyStore::seconds() {
  const double of_server = server_ ? server_->seconds() : 0;
  return of_server + seconds_of_thread();
}

}  // namespace mercato::bench
