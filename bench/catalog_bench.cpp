// SPDX-License-Identifier: Apache-2.0
// catalog_bench [-f FIGURES] [-n NODES]
//
// Lays out the nodes of a user who has a whole catalogue of 100,000 nodes (TCatalog.PopulateUserNodes), and copies that
// catalogue with its nodes (TCatalog.CopyCatalog); then the same by hand on the bare engine. Once more with a quarter
// of the nodes, to see that the cost grows with them and no faster. Each measurement has a process and a fresh store of
// its own; of several the median counts.

#include <cstdio>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"
#include "mercato/object_context.h"
#include "mercato/t_catalog.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 5;
constexpr int kChildren = 10;  // of a node

void populate_by_hand(const fs::path& path) {
  BareStore store(path);
  store.run("BEGIN IMMEDIATE");
  store.run("DELETE FROM USERNODE WHERE USERID='ann'");
  const BareStatement nodes = store.prepare("SELECT NODEID FROM CATALOGNODE WHERE CATALOGID=1");
  const BareStatement insertion = store.prepare("INSERT INTO USERNODE (CATALOGID, USERID, NODEID) VALUES (?1, ?2, ?3)");
  while (sqlite3_step(nodes.get()) == SQLITE_ROW) {
    sqlite3_bind_int(insertion.get(), 1, 1);
    sqlite3_bind_text(insertion.get(), 2, "ann", 3, SQLITE_STATIC);
    sqlite3_bind_int(insertion.get(), 3, sqlite3_column_int(nodes.get(), 0));
    finish(store, insertion.get());
  }
  store.run("COMMIT");
}

// As the library, it does not rely on parents coming first.
void copy_by_hand(const fs::path& path) {
  BareStore store(path);
  store.run("BEGIN IMMEDIATE");
  store.run("INSERT INTO CATALOG (CATALOGNAME, ACTIVE, APPROVALCATALOG) VALUES ('Copy Of Catalogue', 0, 1)");
  const std::int64_t catalog = sqlite3_last_insert_rowid(store.engine());
  const BareStatement nodes = store.prepare(
      "SELECT ICONID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, NODEURL, CATEGORYID, NODEDESCRIPTION, NODEID"
      " FROM CATALOGNODE WHERE CATALOGID=1");
  const BareStatement insertion = store.prepare(
      "INSERT INTO CATALOGNODE (ICONID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, NODEURL, CATEGORYID,"
      " NODEDESCRIPTION, CATALOGID) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
  constexpr int kCopied = 8, kParent = 1;
  std::unordered_map<std::int64_t, std::int64_t> twins;
  std::vector<std::pair<std::int64_t, std::int64_t>> children;  // new node, old parent
  while (sqlite3_step(nodes.get()) == SQLITE_ROW) {
    for (int column = 0; column < kCopied; ++column)
      sqlite3_bind_value(insertion.get(), column + 1, sqlite3_column_value(nodes.get(), column));
    sqlite3_bind_int64(insertion.get(), kCopied + 1, catalog);
    finish(store, insertion.get());
    const std::int64_t twin = sqlite3_last_insert_rowid(store.engine());
    twins.emplace(sqlite3_column_int64(nodes.get(), kCopied), twin);
    if (sqlite3_column_type(nodes.get(), kParent) != SQLITE_NULL)
      children.emplace_back(twin, sqlite3_column_int64(nodes.get(), kParent));
  }
  const BareStatement update = store.prepare("UPDATE CATALOGNODE SET PARENTNODEID=?1 WHERE NODEID=?2");
  for (const auto& [child, parent] : children) {
    sqlite3_bind_int64(update.get(), 1, twins.at(parent));
    sqlite3_bind_int64(update.get(), 2, child);
    finish(store, update.get());
  }
  store.run("COMMIT");
}

template <class Call>
void by_class(const fs::path& path, Call call) {
  use_store(path, path.parent_path());
  {
    const Root<TCatalog> catalog;
    call(catalog);
  }
  store::close_idle_sessions();
}

const std::vector<std::string> kCompared = {"SELECT * FROM CATALOG ORDER BY CATALOGID",
                                            "SELECT * FROM CATALOGNODE ORDER BY NODEID",
                                            "SELECT * FROM USERNODE ORDER BY USERID, NODEID"};

class CatalogBench {
 public:
  CatalogBench(int nodes, Figures& figures) : nodes_(nodes), figures_(figures) {
    in_child_process([&] {
      make_store(full_, nodes_);
      make_store(quarter_, nodes_ / 4);
      return true;
    });
  }

  void run() const {
    compare(
        "PopulateUserNodes", [](const Root<TCatalog>& catalog) { catalog->PopulateUserNodes("ann"); },
        populate_by_hand);
    compare(
        "CopyCatalog with nodes", [](const Root<TCatalog>& catalog) { catalog->CopyCatalog(1, 1, ""); }, copy_by_hand);
  }

 private:
  // One tree, its nodes laid out for the user already.
  static void make_store(const fs::path& path, int nodes) {
    create_store(path);
    BareStore store(path);
    store.run("BEGIN");
    store.run("INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('Catalogue', 1)");
    store.run("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID) VALUES ('ann', 1)");
    for (int node = 1; node <= nodes; ++node)
      store.run(("INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODEDESCRIPTION, SEQUENCE, NODETYPE,"
                 " CATEGORYID) VALUES (1, " +
                 (node == 1 ? "NULL" : std::to_string((node - 2) / kChildren + 1)) + ", 'Node " + std::to_string(node) +
                 "', 'What there is to say about it', " + std::to_string(node % kChildren) + ", 1, " +
                 std::to_string(node) + ")")
                    .c_str());
    store.run("INSERT INTO USERNODE (USERID, CATALOGID, NODEID) SELECT 'ann', 1, NODEID FROM CATALOGNODE");
    store.run("COMMIT");
    store.run("PRAGMA wal_checkpoint(TRUNCATE)");
  }

  template <class Call, class ByHand>
  void compare(const std::string& label, Call call, ByHand by_hand) const {
    std::vector<Cost<Rows>> library, bare, library_quarter;
    for (int round = 0; round < kRounds; ++round) {
      const auto work = [&](const fs::path& path) { by_class(path, call); };
      library.push_back(measure_on_copy(full_, kCompared, work));
      library_quarter.push_back(measure_on_copy(quarter_, kCompared, work));
      bare.push_back(measure_on_copy(full_, kCompared, by_hand));
      if (library.back().contents != bare.back().contents)
        throw std::runtime_error(label + ": the stores do not hold the same rows");
    }
    const std::string name = label + ", " + std::to_string(nodes_);
    const double seconds = median(library, &Cost<Rows>::seconds);
    const double bare_seconds = median(bare, &Cost<Rows>::seconds);
    const double cpu = median(library, &Cost<Rows>::cpu_seconds);
    figures_.add(name, seconds, "s");
    figures_.add(name + ": by hand, one transaction", bare_seconds, "s");
    figures_.add(name + " : by hand", seconds / bare_seconds, "x", at_most(3));
    figures_.add(name + " : by hand, processor time", cpu / median(bare, &Cost<Rows>::cpu_seconds), "x");
    // Four times the nodes; what is above 4 is for caches that they outgrow.
    figures_.add(name + " : a quarter of the nodes, processor time",
                 cpu / median(library_quarter, &Cost<Rows>::cpu_seconds), "x", at_most(5));
  }

  int nodes_;
  Figures& figures_;
  TemporaryFolder folder_;
  fs::path full_ = folder_.path() / "full.db";
  fs::path quarter_ = folder_.path() / "quarter.db";
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 'n', [](const Arguments& arguments, Figures& figures) {
    CatalogBench(arguments.own_number(100'000), figures).run();
  });
}
