// SPDX-License-Identifier: Apache-2.0
// Many threads ask for rights while others change them. The test has rules of its own to judge the answers by. An
// answer has to be exactly right when nothing was written meanwhile; else it has to be one that the two states allow.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <thread>

#include "tests/catalog/tree_fixture.h"
#include "tests/support/length_of_run.h"
#include "tests/support/refusing_recorder.h"

namespace mercato::test {
namespace {

// A count of the turns of one writer between two states. It is odd while the writer writes.
class Turns {
 public:
  void begin() { ++count_; }
  void end() { ++count_; }
  unsigned now() const { return count_; }
  static bool writing(unsigned turn) { return turn % 2 == 1; }
  static bool second_state(unsigned turn) { return turn / 2 % 2 == 1; }

 private:
  std::atomic<unsigned> count_{0};
};

// Two catalogues with the same tree: node n of the first is node n + kTwin of the second. All entries are on one of the
// two.
constexpr std::int32_t kFirst = 5;
constexpr std::int32_t kSecond = 6;
constexpr std::int32_t kTwin = 100;
constexpr int kNodeCount = 40;
constexpr int kUsers = 6;

struct Entries {
  std::optional<bool> catalog;         // view only
  std::map<std::int32_t, bool> nodes;  // node of the first catalogue to view only
};

class ConcurrentRights : public CatalogTreeTest {
 protected:
  static constexpr int kReaders = 8;
  // Catalogues of the user whose assignment changes: the first always, the second at times.
  static constexpr std::int32_t kAlways = 7;
  static constexpr std::int32_t kAtTimes = 8;
  static constexpr std::int32_t kAlwaysNode = 201;
  static constexpr std::int32_t kAtTimesNode = 301;

  static std::string user(int number) { return "user" + std::to_string(number); }

  void SetUp() override {
    CatalogTreeTest::SetUp();
    std::mt19937 random(20260706);
    const auto below = [&](int limit) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(limit)); };
    std::string script;
    const auto add = [&](std::int32_t id, std::int32_t catalog, const std::string& parent, const std::string& name) {
      script += "INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (" + std::to_string(id) +
                ", " + std::to_string(catalog) + ", " + parent + ", '" + name + "');";
    };
    for (std::int32_t node = 1; node <= kNodeCount; ++node) {
      if (node > 1 && below(5) != 0) parents_[node] = 1 + below(node - 1);
      const std::string name = "node " + std::to_string(node);
      const auto parent = [&](std::int32_t shift) {
        return parents_.contains(node) ? std::to_string(parents_[node] + shift) : "NULL";
      };
      add(node, kFirst, parent(0), name);
      add(node + kTwin, kSecond, parent(kTwin), name);
    }
    const auto enter = [&](const std::string& who, const std::string& node, int level, bool view_only) {
      script += "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('" + who + "', " +
                std::to_string(kFirst) + ", " + node + ", " + std::to_string(level) + ", " + (view_only ? "1" : "0") +
                ");";
    };
    for (int number = 0; number < kUsers; ++number) {
      Entries& entries = entries_[user(number)];
      if (number % 3 != 0) entries.catalog = number % 3 == 2;
      if (entries.catalog) enter(user(number), "NULL", 0, *entries.catalog);
      for (std::int32_t node = 1; node <= kNodeCount; ++node) {
        if (below(4) != 0) continue;
        entries.nodes[node] = below(3) == 0;
        enter(user(number), std::to_string(node), level_of(node), entries.nodes[node]);
      }
    }
    for (std::int32_t node = 0; node < 20; ++node) {
      const auto below_first = [&](std::int32_t first) { return node == 0 ? "NULL" : std::to_string(first); };
      add(kAlwaysNode + node, kAlways, below_first(kAlwaysNode), "n");
      add(kAtTimesNode + node, kAtTimes, below_first(kAtTimesNode), "n");
    }
    execute_script(script);
    Root<TCatalog> catalog;
    catalog->UpdateUserCatalogIDs("flip", Array{kAlways});
    catalog->PopulateUserNodes("flip");
  }

  int level_of(std::int32_t node) const { return parents_.contains(node) ? 1 + level_of(parents_.at(node)) : 1; }
  // The node and all above it.
  std::set<std::int32_t> way(std::int32_t node) const {
    std::set<std::int32_t> way = {node};
    while (parents_.contains(node)) way.insert(node = parents_.at(node));
    return way;
  }

  // The right answer about a node of the catalogue that has the entries.
  struct Rules {
    bool restricted;
    bool granted;
  };
  Rules rules(const Entries& entries, std::int32_t node) const {
    Rules rules = {entries.catalog == true, entries.catalog == false};
    for (const std::int32_t above : way(node))
      if (entries.nodes.contains(above) && entries.nodes.at(above)) rules.restricted = true;
    if (entries.nodes.contains(node) && !entries.nodes.at(node)) rules.granted = true;
    return rules;
  }

  // One question: what it asks, the turns that matter to it, and the answers by state.
  struct Question {
    std::string text;
    const Turns* turns;
    std::function<bool(Root<Catalog>&)> ask;
    bool in_first, in_second;
    bool always_one_of_both = true;  // also while a writer is between the two
  };
  std::vector<Question> questions() {
    std::vector<Question> all;
    for (const auto& [who, entries] : entries_)
      for (std::int32_t node = 1; node <= kNodeCount; ++node)
        for (const bool twin : {false, true}) {
          const std::int32_t id = twin ? node + kTwin : node;
          const std::string id_of_user = who;
          const Rules rules = this->rules(entries, node);
          const auto add = [&](const char* method, const std::function<bool(Root<Catalog>&)>& ask,
                               bool where_entries_are) {
            // Elsewhere there are no entries, and every answer is no. A question of several statements may find some of
            // the entries here and miss others, so that a grant is seen without its restriction.
            all.push_back({std::string(method) + " of " + id_of_user + ", node " + std::to_string(id), &moves_, ask,
                           !twin && where_entries_are, twin && where_entries_are, !rules.granted});
          };
          add(
              "IsViewOnlyCatalogNodeEx",
              [id_of_user, id](Root<Catalog>& catalog) { return catalog->IsViewOnlyCatalogNodeEx(id_of_user, id); },
              rules.restricted);
          add(
              "IsOrderCatalogNodeEx",
              [id_of_user, id](Root<Catalog>& catalog) { return catalog->IsOrderCatalogNodeEx(id_of_user, id); },
              rules.granted && !rules.restricted);
        }
    const auto add = [&](const std::string& text, std::function<bool(Root<Catalog>&)> ask, bool first, bool second) {
      all.push_back({text, &assignments_, std::move(ask), first, second});
    };
    for (std::int32_t node = 0; node < 20; ++node) {
      for (const auto& [first, at_times] : {std::pair{kAlwaysNode, false}, std::pair{kAtTimesNode, true}}) {
        const std::int32_t id = first + node;
        const std::string text = " of flip, node " + std::to_string(id);
        add(
            "IsOrderCatalogNodeEx" + text, [id](auto& catalog) { return catalog->IsOrderCatalogNodeEx("flip", id); },
            !at_times, true);
        add(
            "IsViewOnlyCatalogNodeEx" + text,
            [id](auto& catalog) { return catalog->IsViewOnlyCatalogNodeEx("flip", id); }, false, false);
        add(
            "IsAuthorizedCatalogNode" + text,
            [id](auto& catalog) { return catalog->IsAuthorizedCatalogNode("flip", id); }, !at_times, true);
      }
    }
    for (const auto& [id, at_times] : {std::pair{kAlways, false}, std::pair{kAtTimes, true}})
      add(
          "IsEntireCatalogAuthorized of flip, catalogue " + std::to_string(id),
          [id = id](auto& catalog) { return catalog->IsEntireCatalogAuthorized(id, "flip"); }, !at_times, true);
    return all;
  }

  // Asks, and returns what is wrong with the answer; nothing as a rule.
  std::string ask(Root<Catalog>& catalog, const Question& question) {
    const unsigned before = question.turns->now();
    bool answer = false;
    try {
      answer = question.ask(catalog);
    } catch (const Raised& raised) {
      return question.text + " failed: " + raised.error().Description;
    }
    ++asked_;
    const unsigned after = question.turns->now();
    const bool stable = before == after && !Turns::writing(before);
    if (stable) {
      ++exact_;
      const bool expected = Turns::second_state(before) ? question.in_second : question.in_first;
      return answer == expected ? "" : question.text + " is " + (answer ? "true" : "false") + " in a state that stands";
    }
    if (!question.always_one_of_both || answer == question.in_first || answer == question.in_second) return "";
    return question.text + " is " + (answer ? "true" : "false") + " in neither state";
  }

  // Changes the state again and again until the time is up; each state is asked about for a while.
  template <class Change>
  void write(Turns& turns, Change change) {
    constexpr unsigned kAskedPerState = 12 * kReaders;
    try {
      while (!stopped_) {
        turns.begin();
        change(!Turns::second_state(turns.now()));
        turns.end();
        ++changes_;
        const unsigned enough = asked_ + kAskedPerState;
        while (!stopped_ && asked_ < enough) std::this_thread::yield();
      }
    } catch (const Raised& raised) {
      complain("a change failed: " + raised.error().Description);
    }
  }
  void complain(const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (wrong_.size() < 10) wrong_.push_back(what);
    stopped_ = true;
  }

  std::map<std::int32_t, std::int32_t> parents_;  // of the first catalogue
  std::map<std::string, Entries> entries_;
  Turns moves_;
  Turns assignments_;
  std::atomic<unsigned> asked_{0}, exact_{0}, changes_{0};
  std::atomic<bool> stopped_{false};
  std::mutex mutex_;
  std::vector<std::string> wrong_;
};

TEST_F(ConcurrentRights, AreRightWhileOthersChangeThem) {
  const std::vector<Question> all = questions();
  std::vector<std::thread> threads;
  for (int reader = 0; reader < kReaders; ++reader)
    threads.emplace_back([&, reader] {
      std::mt19937 random(static_cast<unsigned>(reader));
      Root<Catalog> catalog;
      while (!stopped_) {
        const std::string wrong = ask(catalog, all[random() % all.size()]);
        if (!wrong.empty()) complain(wrong);
      }
    });
  threads.emplace_back([&] {
    write(moves_, [](bool to_second) {
      Root<TCatalog> catalog;
      std::int32_t from = to_second ? kFirst : kSecond, to = to_second ? kSecond : kFirst;
      if (!catalog->ChangeAuthorizationsForUser(from, to)) raise(error_number::kStoreFailure);
    });
  });
  threads.emplace_back([&] {
    write(assignments_, [](bool to_second) {
      Root<TCatalog> catalog;
      catalog->UpdateUserCatalogIDs("flip", to_second ? Array{kAlways, kAtTimes} : Array{kAlways});
      catalog->PopulateUserNodes("flip");
    });
  });
  const auto start = std::chrono::steady_clock::now();
  while (!stopped_ && std::chrono::steady_clock::now() - start < length_of_run(2))
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  stopped_ = true;
  for (std::thread& thread : threads) thread.join();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;

  for (const std::string& wrong : wrong_) ADD_FAILURE() << wrong;
  std::cout << asked_ << " questions, " << exact_ << " of them in a state that stood, by " << kReaders << " threads; "
            << changes_ << " changes by 2 threads; " << took.count()
            << " s: " << static_cast<long>(asked_ / took.count()) << " questions and "
            << static_cast<long>(changes_ / took.count()) << " changes each second\n";
  EXPECT_GT(exact_, 0u);
  EXPECT_GT(changes_, 1u);

  // At the end everything is as the last changes left it.
  Root<Catalog> catalog;
  for (const Question& question : all) EXPECT_EQ(ask(catalog, question), "");
  const bool moved = Turns::second_state(moves_.now());
  const bool assigned = Turns::second_state(assignments_.now());
  std::vector<std::vector<Variant>> expected;
  for (const auto& [who, entries] : entries_) {
    const std::int32_t id = moved ? kSecond : kFirst;
    const std::int32_t shift = moved ? kTwin : 0;
    if (entries.catalog) expected.push_back({who, id, kNull, kNull, *entries.catalog ? 1 : 0});
    for (const auto& [node, view_only] : entries.nodes)
      expected.push_back(
          {who, id, node + shift,
           parents_.contains(node) && moves_.now() > 0 ? Variant(parents_.at(node) + shift) : Variant(kNull),
           view_only ? 1 : 0});
  }
  const auto numbers = [](const std::vector<std::vector<Variant>>& rows) {
    std::vector<std::vector<std::string>> texts;
    for (const auto& row : rows) {
      auto& text = texts.emplace_back();
      for (const Variant& value : row) text.push_back(value.is_null() ? "-" : value.to_text());
    }
    return texts;
  };
  EXPECT_EQ(numbers(rows("SELECT USERID, CATALOGID, NODEID, PARENTNODEID, VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID "
                         "<> 'flip' ORDER BY USERID, NODEID")),
            numbers(expected));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOGNODEBYUSER WHERE USERID = 'flip'"), Variant(assigned ? 2 : 1));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM USERNODE"), Variant(assigned ? 40 : 20));
  EXPECT_EQ(value_of("SELECT COUNT(DISTINCT NODEID) FROM USERNODE"), Variant(assigned ? 40 : 20));
}

}  // namespace
}  // namespace mercato::test
