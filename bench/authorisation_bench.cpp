// SPDX-License-Identifier: Apache-2.0
// authorisation_bench [-f FIGURES]
//
// What it costs to ask whether a user may see or order from a node, next to the bare statements of the same walk on the
// same store: trees of 100,000 nodes, 7 and 60 levels deep, asked about their lowest nodes, and the tree of a file of
// shop categories when it is there, asked about all of its nodes. Every figure is the median of several turns, taken in
// random order.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "bench/support/medians.h"
#include "bench/support/program.h"
#include "mercato/catalog.h"
#include "mercato/object_context.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kNodes = 100'000;
constexpr int kUsers = 1'000;
// Has a whole catalogue and may order from it, so that both walks go up to the root.
const std::string kUser = "user7";

fs::path store_file;

// One catalogue: its name here, and the nodes that are asked about.
struct Tree {
  std::string name;
  int catalog = 0;
  std::vector<int> asked;
};

// Filling

class Planter {
 public:
  explicit Planter(const fs::path& path) : store_(path) { store_.run("BEGIN"); }
  void finish() { store_.run("COMMIT"); }

  // No parent: 0. Every node has an entry of one of the users.
  int add_node(int catalog, int parent, int level) {
    const int id = ++last_;
    sqlite3_bind_int(node_.get(), 1, id);
    sqlite3_bind_int(node_.get(), 2, catalog);
    if (parent == 0)
      sqlite3_bind_null(node_.get(), 3);
    else
      sqlite3_bind_int(node_.get(), 3, parent);
    step(node_);
    add_entry("user" + std::to_string(id % kUsers), catalog, id, level);
    return id;
  }
  void add_catalog_entry(int catalog) { add_entry(kUser, catalog, 0, 0); }

 private:
  void add_entry(const std::string& user, int catalog, int node, int level) {
    sqlite3_bind_text(entry_.get(), 1, user.data(), static_cast<int>(user.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int(entry_.get(), 2, catalog);
    if (node == 0)
      sqlite3_bind_null(entry_.get(), 3);
    else
      sqlite3_bind_int(entry_.get(), 3, node);
    sqlite3_bind_int(entry_.get(), 4, level);
    step(entry_);
  }
  void step(const BareStatement& statement) {
    if (sqlite3_step(statement.get()) != SQLITE_DONE) store_.fail("filling the store");
    sqlite3_reset(statement.get());
  }

  BareStore store_;
  BareStatement node_ =
      store_.prepare("INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (?1, ?2, ?3, 'node')");
  BareStatement entry_ =
      store_.prepare("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL) VALUES (?1, ?2, ?3, ?4)");
  int last_ = 0;
};

// As many nodes on each level as on any other, each below a random one of the level above.
Tree plant_levels(Planter& planter, int catalog, int depth) {
  std::mt19937 numbers(20260701);
  Tree tree{"100,000 nodes, " + std::to_string(depth) + " levels", catalog, {}};
  planter.add_catalog_entry(catalog);
  std::vector<int> above;
  for (int level = 1; level <= depth; ++level) {
    tree.asked.clear();
    for (int node = 0; node < kNodes / depth; ++node)
      tree.asked.push_back(planter.add_node(catalog, above.empty() ? 0 : above[numbers() % above.size()], level));
    above = tree.asked;
  }
  return tree;
}

fs::path shop_categories() { return data_folder() / "categories" / "retail-categories.csv"; }

// The file names every parent before its children.
Tree plant_shop(Planter& planter, int catalog) {
  Tree tree{"a shop's categories", catalog, {}};
  planter.add_catalog_entry(catalog);
  CsvReader csv(shop_categories());
  const std::size_t id = csv.column("id"), parent = csv.column("parent_id"), depth = csv.column("depth");
  std::map<std::string, int> nodes;
  for (std::vector<std::string> row; csv.next(row);) {
    const int above = row[parent].empty() ? 0 : nodes.at(row[parent]);
    nodes[row[id]] = planter.add_node(catalog, above, std::stoi(row[depth]));
    tree.asked.push_back(nodes[row[id]]);
  }
  return tree;
}

std::vector<Tree> plant() {
  Planter planter(store_file);
  std::vector<Tree> trees = {plant_levels(planter, 1, 7), plant_levels(planter, 2, 60)};
  if (fs::exists(shop_categories()))
    trees.push_back(plant_shop(planter, 3));
  else
    std::printf("no %s: that tree is left out\n", shop_categories().c_str());
  planter.finish();
  return trees;
}

// Asking

enum class Question { view_only, order };

bool by_class(const Root<Catalog>& catalog, Question question, int node) {
  return question == Question::view_only ? catalog->IsViewOnlyCatalogNodeEx(kUser, node)
                                         : catalog->IsOrderCatalogNodeEx(kUser, node);
}

// The statements of the walk, one by one, and what is to be concluded from them.
class ByHand {
 public:
  bool operator()(Question question, int node) {
    sqlite3_bind_int(node_.get(), 1, node);
    if (!step(node_)) return false;
    const int catalog = sqlite3_column_int(node_.get(), 0);
    int parent = parent_of(node_);
    sqlite3_reset(node_.get());

    if (catalog_entry(catalog) == Entry::view_only) return question == Question::view_only;
    bool granted = question == Question::order && catalog_entry(catalog) == Entry::order;
    Entry entry = node_entry(node);
    if (entry == Entry::order) granted = true;
    while (entry != Entry::view_only && parent != 0) {
      sqlite3_bind_int(parent_.get(), 1, parent);
      if (!step(parent_)) break;
      const int above = parent_of(parent_);
      sqlite3_reset(parent_.get());
      entry = node_entry(parent);
      parent = above;
    }
    const bool restricted = entry == Entry::view_only;
    return question == Question::view_only ? restricted : granted && !restricted;
  }

 private:
  enum class Entry { none, order, view_only };

  bool step(const BareStatement& statement) {
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) store_.fail("asking");
    sqlite3_reset(statement.get());
    return false;
  }
  static int parent_of(const BareStatement& statement) { return sqlite3_column_int(statement.get(), 1); }
  Entry read(const BareStatement& statement) {
    if (!step(statement)) return Entry::none;
    const bool view_only = sqlite3_column_int(statement.get(), 0) != 0;
    sqlite3_reset(statement.get());
    return view_only ? Entry::view_only : Entry::order;
  }
  Entry catalog_entry(int catalog) {
    bind_user(of_catalog_);
    sqlite3_bind_int(of_catalog_.get(), 2, catalog);
    return read(of_catalog_);
  }
  Entry node_entry(int node) {
    bind_user(of_node_);
    sqlite3_bind_int(of_node_.get(), 2, node);
    return read(of_node_);
  }
  static void bind_user(const BareStatement& statement) {
    sqlite3_bind_text(statement.get(), 1, kUser.data(), static_cast<int>(kUser.size()), SQLITE_STATIC);
  }

  BareStore store_{store_file};
  BareStatement node_ = store_.prepare("SELECT CATALOGID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = ?1");
  BareStatement parent_ = store_.prepare("SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = ?1");
  BareStatement of_catalog_ = store_.prepare(
      "SELECT VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID = ?1 AND CATALOGID = ?2 AND NODEID IS NULL AND ISPROFILE = "
      "0");
  BareStatement of_node_ =
      store_.prepare("SELECT VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID = ?1 AND NODEID = ?2 AND ISPROFILE = 0");
};

// Nodes in a random order, the same in every run.
class Nodes {
 public:
  explicit Nodes(const Tree& tree) : asked_(tree.asked), pick_(0, tree.asked.size() - 1) {}
  int next() { return asked_[pick_(numbers_)]; }

 private:
  std::mt19937 numbers_{20260701};
  const std::vector<int>& asked_;
  std::uniform_int_distribution<std::size_t> pick_;
};

// Checks that both ways give the same answers.
void check(const Tree& tree) {
  const Root<Catalog> catalog;
  ByHand by_hand;
  Nodes nodes(tree);
  for (int turn = 0; turn < 50; ++turn) {
    const int node = nodes.next();
    if (!by_hand(Question::order, node) || by_hand(Question::view_only, node) ||
        !catalog->IsOrderCatalogNodeEx(kUser, node) || catalog->IsViewOnlyCatalogNodeEx(kUser, node))
      throw std::runtime_error("another answer than the store was filled for");
  }
}

void run(Figures& figures) {
  const TemporaryFolder folder;
  store_file = folder.path() / "store.db";
  create_store(store_file);
  use_store(store_file, folder.path());
  const std::vector<Tree> trees = plant();

  const std::pair<Question, std::string> questions[] = {{Question::view_only, "IsViewOnlyCatalogNodeEx"},
                                                        {Question::order, "IsOrderCatalogNodeEx"}};
  const auto name_of = [](const Tree& tree, const std::string& question) {
    return question + "_" + std::to_string(tree.catalog);
  };
  for (const Tree& tree : trees) {
    check(tree);
    for (const auto& [question, name] : questions) {
      measure(name_of(tree, name).c_str(), [&tree, question = question](benchmark::State& state) {
        const Root<Catalog> catalog;
        Nodes nodes(tree);
        for (auto _ : state) benchmark::DoNotOptimize(by_class(catalog, question, nodes.next()));
      });
      measure((name_of(tree, name) + "_by_hand").c_str(), [&tree, question = question](benchmark::State& state) {
        ByHand by_hand;
        Nodes nodes(tree);
        for (auto _ : state) benchmark::DoNotOptimize(by_hand(question, nodes.next()));
      });
    }
  }
  const Medians medians = measure_in_random_order("authorisation_bench");
  store::close_idle_sessions();
  std::printf("\n");
  for (const Tree& tree : trees)
    for (const auto& [question, name] : questions) {
      const double class_us = medians.processor_us(name_of(tree, name));
      const double hand_us = medians.processor_us(name_of(tree, name) + "_by_hand");
      figures.add(name + ", " + tree.name, class_us, "us");
      figures.add(name + " by hand, prepared, " + tree.name, hand_us, "us");
      figures.add(name + " : by hand, " + tree.name, class_us / hand_us, "x", at_most(2));
    }
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) { return mercato::bench::run_program(argc, argv, mercato::bench::run); }
