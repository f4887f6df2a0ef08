// SPDX-License-Identifier: Apache-2.0
#include "bench/support/postgresql/compared_on_server.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
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

Sent per_unit(const ServerTape& tape, std::size_t units) {
  const auto of = [units](std::uint64_t count) { return static_cast<double>(count) / static_cast<double>(units); };
  return {of(tape.runs()),     of(tape.round_trips), of(tape.batches),
          of(tape.savepoints), of(tape.settings),    of(tape.table_questions)};
}

// What a piece of work took. Its connections stay open.
template <class Work>
Times times_of(ServerClock& server, const Work& work) {
  const double server_before = server.seconds();
  const double client_before = cpu_seconds();
  const auto begin = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  const double client = cpu_seconds() - client_before;
  return {passed.count(), client, server.seconds() - server_before};
}

Times medians(const std::vector<Times>& turns, double factor = 1) {
  return {factor * median(turns, &Times::clock), factor * median(turns, &Times::client),
          factor * median(turns, &Times::server)};
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
    ServerClock server(direct);
    std::vector<Times> library;
    std::vector<Times> hand;
    for (int turn = 0; turn < kTurns; ++turn) {
      library.push_back(times_of(server, batch));
      hand.push_back(times_of(server, [&] { sum += by_hand.play(); }));
    }
    store::close_idle_sessions();
    if (sum == 0 && !tape.steps.empty()) std::printf("  nothing came back\n");
    const double factor = 1e6 / static_cast<double>(calls);
    return {medians(library, factor), medians(hand, factor), per_unit(tape, calls)};
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

  struct Turn {
    Times times;
    double calls = 0;
    double peak_bytes = 0;
  };
  const auto by_library = [&]() -> Turn {
    use_store(copy, folder_);
    Turn turn;
    ServerClock server(copy);
    turn.times = times_of(server, [&] { turn.calls = static_cast<double>(work()); });
    turn.peak_bytes = memory_bytes("VmHWM");
    store::close_idle_sessions();
    return turn;
  };
  const auto by_hand = [&](TapePlayer::Transactions transactions) {
    return [&, transactions]() -> Turn {
      const ServerTape tape = load_server_tape(tape_file);
      ServerClock server(copy);
      std::optional<TapePlayer> player;
      return {times_of(server,
                       [&] {
                         player.emplace(copy, tape);
                         if (commits == Commits::asynchronous) player->commit_asynchronously();
                         player->play(transactions);
                       }),
              1, memory_bytes("VmHWM")};
    };
  };
  std::vector<Times> library;
  std::vector<Times> each;
  std::vector<Times> once;
  const auto run = [&](std::vector<Times>& times, const auto& work_of_turn) {
    make_database(server_, kCopy, origin);
    const Turn turn = in_child_process(work_of_turn);
    times.push_back(turn.times);
    if (rows_in(copy, tables) != recorded) throw std::runtime_error(name + ": the runs left different rows behind");
    return turn;
  };
  Turn turn;
  for (std::size_t round = 0; round < rounds; ++round) {
    turn = run(library, by_library);
    run(each, by_hand(TapePlayer::Transactions::as_recorded));
    run(once, by_hand(TapePlayer::Transactions::one));
  }
  return {medians(library), medians(each), medians(once), turn.calls, turn.peak_bytes, recorded, sent};
}

}  // namespace mercato::bench
