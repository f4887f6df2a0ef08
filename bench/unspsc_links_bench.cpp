// SPDX-License-Identifier: Apache-2.0
// unspsc_links_bench [-f FIGURES]
//
// What it costs to link one product to 2,000 categories and to cut it loose again, each in one transaction, next to the
// same work on the bare engine. Medians of turns in which both take part. Report only: no goal is set.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/program.h"
#include "frame/lib_mts.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/store/session_pool.h"
#include "records/unspsc_links.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kCategories = 2000;
constexpr int kProductsBefore = 10;  // in each category
constexpr std::int32_t kProduct = 1'000'000;
constexpr int kTurns = 11;

// 2,000 categories of one code, with some products each.
void fill(const fs::path& path) {
  BareStore store(path);
  store.run("BEGIN");
  const BareStatement category =
      store.prepare("INSERT INTO PRODUCTCATEGORY (CATEGORYID, CATEGORYNAME, UNSPSCCODE) VALUES (?1, 'category', '10')");
  const BareStatement link =
      store.prepare("INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (?1, ?2, ?1)");
  const auto step = [&](sqlite3_stmt* statement) {
    if (sqlite3_step(statement) != SQLITE_DONE) store.fail("filling the store");
    sqlite3_reset(statement);
  };
  for (int id = 1; id <= kCategories; ++id) {
    sqlite3_bind_int(category.get(), 1, id);
    step(category.get());
    for (int product = 1; product <= kProductsBefore; ++product) {
      sqlite3_bind_int(link.get(), 1, product);
      sqlite3_bind_int(link.get(), 2, id);
      step(link.get());
    }
  }
  store.run("COMMIT");
}

// The product's new code comes, or its old one goes.
enum class Step { link, unlink };

void by_module(Root<Product>& caller, Step step) {
  ContextCall call(caller.object()->context());
  UpdateProductLinksForUNSPSCCode(kProduct, step == Step::link ? "" : "10", step == Step::link ? "10" : "", false);
  Mts_SetComplete();
  call.finish();
}

class ByHand {
 public:
  explicit ByHand(const fs::path& path) : store_(path) {}

  void operator()(Step step) {
    store_.run("BEGIN IMMEDIATE");
    const std::vector<int> categories = ids(of_code_.get());
    sqlite3_bind_int(of_product_.get(), 1, kProduct);
    const std::size_t linked = ids(of_product_.get()).size();
    if (linked != (step == Step::link ? 0u : categories.size())) store_.fail("linking");
    for (const int category : categories) {
      if (step == Step::link) {
        sqlite3_bind_int(last_place_.get(), 1, category);
        if (sqlite3_step(last_place_.get()) != SQLITE_ROW) store_.fail("reading the last place");
        sqlite3_bind_int(insert_.get(), 3, sqlite3_column_int(last_place_.get(), 0) + 1);
        sqlite3_reset(last_place_.get());
      }
      sqlite3_stmt* write = step == Step::link ? insert_.get() : remove_.get();
      sqlite3_bind_int(write, 1, kProduct);
      sqlite3_bind_int(write, 2, category);
      if (sqlite3_step(write) != SQLITE_DONE) store_.fail("writing a link");
      sqlite3_reset(write);
    }
    store_.run("COMMIT");
  }

 private:
  static std::vector<int> ids(sqlite3_stmt* statement) {
    std::vector<int> ids;
    while (sqlite3_step(statement) == SQLITE_ROW) ids.push_back(sqlite3_column_int(statement, 0));
    sqlite3_reset(statement);
    return ids;
  }

  BareStore store_;
  BareStatement of_code_ = store_.prepare("SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10')");
  BareStatement of_product_ = store_.prepare("SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=?1");
  BareStatement last_place_ = store_.prepare("SELECT MAX(SEQUENCE) FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=?1");
  BareStatement insert_ =
      store_.prepare("INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (?1, ?2, ?3)");
  BareStatement remove_ = store_.prepare("DELETE FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=?1 AND CATEGORYID=?2");
};

template <class Work>
double milliseconds(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
  return times[times.size() / 2];
}

void run(Figures& figures) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "store.db";
  create_store(path);
  fill(path);
  use_store(path, folder.path());

  struct Times {
    std::vector<double> module, hand;
  };
  Times linking;
  Times unlinking;
  {
    Root<Product> caller;
    ByHand by_hand(path);
    for (int turn = 0; turn < kTurns; ++turn) {
      linking.module.push_back(milliseconds([&] { by_module(caller, Step::link); }));
      unlinking.hand.push_back(milliseconds([&] { by_hand(Step::unlink); }));
      linking.hand.push_back(milliseconds([&] { by_hand(Step::link); }));
      unlinking.module.push_back(milliseconds([&] { by_module(caller, Step::unlink); }));
    }
  }
  store::close_idle_sessions();
  const auto report = [&](const std::string& what, const Times& times) {
    figures.add(what, median(times.module), "ms");
    figures.add(what + " by hand, prepared", median(times.hand), "ms");
    figures.add(what + " : by hand", median(times.module) / median(times.hand), "x");
  };
  report("one product linked to 2,000 categories", linking);
  report("one product cut loose from 2,000 categories", unlinking);
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) { return mercato::bench::run_program(argc, argv, mercato::bench::run); }
