// SPDX-License-Identifier: Apache-2.0
#include "bench/support/postgresql/compared_on_server.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/postgresql/server_recording.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

constexpr int kTurns = 5;
// After five runs the engine decides whether it keeps a statement's plan.
constexpr int kWarmUps = 6;

constexpr const char* kCopy = "mercato_bench_copy";

using UploadCost = Cost<DatabaseRows>;

Sent per_unit(const ServerTape& tape, std::size_t units) {
  const auto of = [units](std::uint64_t count) { return static_cast<double>(count) / static_cast<double>(units); };
  return {of(tape.runs()),     of(tape.round_trips), of(tape.batches),
          of(tape.savepoints), of(tape.settings),    of(tape.table_questions)};
}

struct Turn {
  double us = 0;
  double processor_us = 0;
};

template <class Batch>
Turn measure_turn(std::size_t calls, const Batch& batch) {
  const double processor = cpu_seconds();
  const auto begin = std::chrono::steady_clock::now();
  batch();
  const std::chrono::duration<double, std::micro> passed = std::chrono::steady_clock::now() - begin;
  const auto count = static_cast<double>(calls);
  return {passed.count() / count, 1e6 * (cpu_seconds() - processor) / count};
}

}  // namespace

DatabaseRows rows_in(const std::string& connection_string, const std::vector<std::string_view>& tables) {
  BareServer server(connection_string);
  DatabaseRows rows;
  for (const std::string_view table : tables) {
    const std::string from = " FROM \"" + std::string(table) + "\" t";
    rows.count += std::stoll(server.run("SELECT count(*)" + from));
    rows.hash = static_cast<std::int64_t>(
        static_cast<std::uint64_t>(rows.hash) * 31 +
        static_cast<std::uint64_t>(std::stoll(server.run(
            "SELECT coalesce(sum(hashtext((to_jsonb(t) - 'DATEUPDATED' - 'mercato_row')::text)::bigint), 0)" + from))));
  }
  return rows;
}

void print_statements(const ServerTape& tape, std::size_t units) {
  const Sent sent = per_unit(tape, units);
  std::printf("  %.2f statements, %.2f round trips, %.2f batches, %.2f savepoints, %.2f settings, %.2f about tables\n",
              sent.statements, sent.round_trips, sent.batches, sent.savepoints, sent.settings, sent.table_questions);
  std::vector<ServerTape::Statement> statements = tape.statements;
  std::ranges::sort(statements, std::greater<>(), &ServerTape::Statement::runs);
  for (const ServerTape::Statement& statement : statements)
    if (statement.runs > 0)
      std::printf("  %9.3f  %s\n", static_cast<double>(statement.runs) / static_cast<double>(units),
                  statement.text.c_str());
}

ServerBench::Calls ServerBench::compare_calls(const std::string& name, std::size_t calls,
                                              const std::function<void()>& batch) const {
  std::printf("\n%s, %zu calls\n", name.c_str(), calls);
  return in_child_process([&]() -> Calls {
    const std::string direct = database("mercato_bench_calls");
    ServerTape tape;
    {
      ServerRecording recording(direct);
      use_store(recording.connection_string(), folder_);
      for (int i = 0; i < kWarmUps; ++i) batch();
      recording.start();
      batch();
      store::close_idle_sessions();
      tape = recording.finish();
    }
    print_statements(tape, calls);

    use_store(direct, folder_);
    TapePlayer by_hand(direct, tape);
    std::size_t sum = 0;
    for (int i = 0; i < kWarmUps; ++i) {
      batch();
      sum += by_hand.play();
    }
    std::vector<Turn> library;
    std::vector<Turn> hand;
    for (int turn = 0; turn < kTurns; ++turn) {
      library.push_back(measure_turn(calls, batch));
      hand.push_back(measure_turn(calls, [&] { sum += by_hand.play(); }));
    }
    store::close_idle_sessions();
    if (sum == 0 && !tape.steps.empty()) std::printf("  nothing came back\n");
    return {median(library, &Turn::us), median(hand, &Turn::us), median(library, &Turn::processor_us),
            median(hand, &Turn::processor_us), per_unit(tape, calls)};
  });
}

ServerBench::Work ServerBench::compare_work(const std::string& name, std::size_t units, std::size_t rounds,
                                            Commits commits, const std::vector<std::string_view>& tables,
                                            const std::function<std::size_t()>& work) const {
  const std::filesystem::path tape_file = folder_ / "tape";
  const std::string copy = database(kCopy);
  const std::string origin = "mercato_bench_origin";
  std::printf("\n%s; median of %zu\n", name.c_str(), rounds);
  make_database(server_, kCopy, origin);
  const Sent sent = in_child_process([&] {
    ServerRecording recording(copy);
    use_store(recording.connection_string(), folder_);
    recording.start();
    work();
    store::close_idle_sessions();
    const ServerTape tape = recording.finish();
    print_statements(tape, units);
    save_server_tape(tape, tape_file);
    return per_unit(tape, units);
  });
  const DatabaseRows recorded = rows_in(copy, tables);

  const auto by_library = [&](UploadCost& cost) {
    use_store(copy, folder_);
    cost = measure<DatabaseRows>([&](UploadCost& measured) { measured.calls = static_cast<double>(work()); });
    store::close_idle_sessions();
  };
  const auto by_hand = [&](TapePlayer::Transactions transactions) {
    return [&, transactions](UploadCost& cost) {
      const ServerTape tape = load_server_tape(tape_file);
      cost = measure<DatabaseRows>([&](UploadCost&) {
        TapePlayer player(copy, tape);
        if (commits == Commits::asynchronous) player.commit_asynchronously();
        player.play(transactions);
      });
    };
  };
  std::vector<UploadCost> library;
  std::vector<UploadCost> each;
  std::vector<UploadCost> once;
  const auto run = [&](std::vector<UploadCost>& costs, const auto& turn) {
    make_database(server_, kCopy, origin);
    costs.push_back(in_child_process([&] {
      UploadCost cost;
      turn(cost);
      return cost;
    }));
    if (rows_in(copy, tables) != recorded) throw std::runtime_error(name + ": the runs left different rows behind");
  };
  for (std::size_t round = 0; round < rounds; ++round) {
    run(library, by_library);
    run(each, by_hand(TapePlayer::Transactions::as_recorded));
    run(once, by_hand(TapePlayer::Transactions::one));
  }
  return {median(library, &UploadCost::seconds),
          median(each, &UploadCost::seconds),
          median(once, &UploadCost::seconds),
          median(library, &UploadCost::cpu_seconds),
          library.front().calls,
          median(library, &UploadCost::peak_bytes),
          recorded,
          sent};
}

}  // namespace mercato::bench
