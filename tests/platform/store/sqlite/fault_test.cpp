// SPDX-License-Identifier: Apache-2.0
// A store whose files fail, and one that loses its power: what was said to stand stands, and the store is in order.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "platform/store/unit_of_work.h"
#include "platform/store/upkeep.h"
#include "tests/platform/store/sqlite/faulty_files.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/random_rounds.h"

namespace mercato::store {
namespace {

using mercato::test::RandomRounds;
using test::FaultyFiles;
using test::query;
using test::run;

// Each step is a row with the next number, and a pair of rows that both have it.
void take_steps(Session& session, int first, int last) {
  for (int step = first; step <= last; ++step)
    run(session, "INSERT INTO STEP (N, FILLER) VALUES (" + std::to_string(step) + ", '" + std::string(700, 'x') + "')");
  run(session, "UPDATE PAIR SET N = " + std::to_string(last));
}

// Writes in every way that there is, and tells after each what is promised to stand.
void write_in_all_ways(const std::string& store, int first, const std::function<void(int)>& promised) {
  int step = first;
  for (int round = 0; round < 12; ++round) {
    switch (round % 3) {
      case 0: {
        const PooledSession session = acquire_session(store);
        take_steps(*session.get(), step, step);
        break;
      }
      case 1: {
        UnitOfWork unit(UnitOfWork::Kind::transaction);
        take_steps(unit.session(store), step, step + 4);
        unit.commit();
        step += 4;
        break;
      }
      default: {
        UnitOfWork unit(UnitOfWork::Kind::run);
        for (int group = 0; group < 3; ++group, ++step) {
          take_steps(unit.session(store), step, step);
          unit.session(store).flush_run();
        }
        --step;
        unit.commit();
        // The last session that is closed moves the log into the file.
        if (round % 6 == 5) close_idle_sessions();
        break;
      }
    }
    promised(step);
    ++step;
  }
}

class Faults : public testing::Test {
 protected:
  ~Faults() override { close_idle_sessions(); }

  void create() {
    close_idle_sessions();
    std::filesystem::remove_all(folder_.path("s"));
    std::filesystem::create_directory(folder_.path("s"));
    const PooledSession session = acquire_session(store_ + ";Create=Yes");
    run(*session.get(), "CREATE TABLE STEP (N int NOT NULL PRIMARY KEY, FILLER ntext NULL)");
    run(*session.get(), "CREATE INDEX IX_STEP_N ON STEP (N)");
    run(*session.get(), "CREATE TABLE PAIR (SIDE int NOT NULL PRIMARY KEY, N int NULL)");
    run(*session.get(), "INSERT INTO PAIR (SIDE, N) VALUES (1, 0)");
    run(*session.get(), "INSERT INTO PAIR (SIDE, N) VALUES (2, 0)");
  }
  // The highest step.
  int expect_sound(int promised) {
    EXPECT_EQ(check_store(store_), std::vector<std::string>());
    const PooledSession session = acquire_session(store_);
    const auto steps = query(*session.get(), "SELECT COUNT(*), MAX(N) FROM STEP").at(0);
    const int last = steps[1].is_null() ? 0 : steps[1].to_long();
    EXPECT_EQ(steps[0].to_long(), last) << "a step is missing in the middle";
    EXPECT_GE(last, promised) << "what was promised is gone";
    const auto pair = query(*session.get(), "SELECT N FROM PAIR ORDER BY SIDE");
    EXPECT_EQ(pair[0], pair[1]) << "half a statement";
    return last;
  }

  test::Folder folder_;
  std::string store_ = "Data Source=" + folder_.path("s/store.db") + ";Busy Timeout=200";
};

TEST_F(Faults, WhereverAFileFailsOnceOrForGoodWhatWasPromisedStands) {
  RandomRounds rounds(4);
  int struck = 0;
  while (rounds.next()) {
    create();
    close_idle_sessions();
    const long operation = 1 + rounds.below(600);
    const bool for_good = rounds.below(2) == 0;
    SCOPED_TRACE("operation " + std::to_string(operation) + (for_good ? " and all after it" : ""));
    FaultyFiles& files = FaultyFiles::install();
    files.fail_at(operation, for_good);
    int promised = 0;
    try {
      write_in_all_ways(store_, 1, [&](int step) { promised = step; });
    } catch (const Raised& raised) {
      EXPECT_EQ(raised.error().Number, error_number::kStoreFailure) << raised.error().Description;
    }
    struck += files.has_failed() ? 1 : 0;
    close_idle_sessions();
    files.uninstall();
    const int last = expect_sound(promised);
    write_in_all_ways(store_, last + 1, [&](int step) { promised = step; });
    expect_sound(promised);
  }
  EXPECT_GT(struck, rounds.round() / 4) << "of " << rounds.round() << " rounds";
}

TEST_F(Faults, WheneverThePowerGoesWhatWasPromisedStands) {
  RandomRounds rounds(4);
  int struck = 0;
  while (rounds.next()) {
    create();
    int promised = 0;
    // The power goes again while the store recovers.
    for (int loss = 0; loss < 3; ++loss) {
      close_idle_sessions();
      const long operation = 1 + rounds.below(loss == 0 ? 600 : 150);
      const unsigned seed = rounds.below(1u << 30);
      SCOPED_TRACE("operation " + std::to_string(operation) + " of life " + std::to_string(loss));
      int channel[2];
      ASSERT_EQ(pipe(channel), 0);
      const pid_t child = fork();
      if (child == 0) {
        try {
          std::mt19937 random(seed);
          FaultyFiles::install().lose_power_at(operation, [&](unsigned limit) { return random() % limit; });
          const auto before = query(*acquire_session(store_).get(), "SELECT MAX(N) FROM STEP").at(0).at(0);
          const int first = 1 + (before.is_null() ? 0 : before.to_long());
          write_in_all_ways(store_, first, [&](int step) {
            if (write(channel[1], &step, sizeof step) != sizeof step) _exit(3);
          });
        } catch (const Raised& raised) {
          std::cerr << raised.error().Description << '\n';
          _exit(2);
        }
        _exit(1);
      }
      close(channel[1]);
      for (int step = 0; read(channel[0], &step, sizeof step) == sizeof step;) promised = step;
      close(channel[0]);
      int status = 0;
      waitpid(child, &status, 0);
      ASSERT_TRUE(WIFEXITED(status));
      ASSERT_LE(WEXITSTATUS(status), 1);
      struck += WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    const int last = expect_sound(promised);
    write_in_all_ways(store_, last + 1, [&](int step) { promised = step; });
    expect_sound(promised);
  }
  EXPECT_GT(struck, rounds.round() / 2) << "of " << 3 * rounds.round() << " lives";
}

}  // namespace
}  // namespace mercato::store
