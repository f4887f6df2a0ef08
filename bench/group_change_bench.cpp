// SPDX-License-Identifier: Apache-2.0
// group_change_bench [-f FIGURES] [-n PRODUCTS]
//
// Aligns a group of 10,000 products with its 20 properties through PropertyGroup.UpdateGroupChange, and does by hand on
// the bare engine what that amounts to. Three times: the products have no values yet, they have all of them, and the
// group has lost its properties. Each measurement has a process and a fresh store of its own; of several the median
// counts.

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"
#include "mercato/object_context.h"
#include "mercato/property_group.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kProperties = 20;
constexpr int kRounds = 5;
constexpr std::int32_t kGroup = 1;
constexpr std::int32_t kAllProducts = -1;

// `change` says how the values have to change, which the library finds out for its caller.
enum class Change { none, insert_all, delete_all };

void by_hand(const fs::path& path, Change change) {
  BareStore store(path);
  store.run("BEGIN IMMEDIATE");
  std::vector<std::int32_t> products;
  const BareStatement rows = store.prepare(
      "SELECT P.PRODUCTID, V.PROPERTYID FROM PRODUCT P LEFT JOIN PRODUCTPROPVALUE V ON V.PRODUCTID=P.PRODUCTID"
      " WHERE P.PROPERTYGROUPID=?1");
  sqlite3_bind_int(rows.get(), 1, kGroup);
  std::size_t sum = 0;
  while (sqlite3_step(rows.get()) == SQLITE_ROW) {
    sum += read_row(rows.get());
    const std::int32_t product = sqlite3_column_int(rows.get(), 0);
    if (products.empty() || products.back() != product) products.push_back(product);
  }
  const BareStatement members = store.prepare(
      "SELECT P.DEFAULTVALUE, M.PROPERTYID FROM PROPERTY P INNER JOIN PROPSBYPROPGROUP M ON P.PROPERTYID=M.PROPERTYID"
      " WHERE M.PROPERTYGROUPID=?1");
  sqlite3_bind_int(members.get(), 1, kGroup);
  std::vector<std::pair<int, std::string>> defaults;
  while (sqlite3_step(members.get()) == SQLITE_ROW)
    defaults.emplace_back(sqlite3_column_int(members.get(), 1),
                          reinterpret_cast<const char*>(sqlite3_column_text(members.get(), 0)));
  const BareStatement external = store.prepare("SELECT PROPERTYID FROM PROPERTY WHERE \"EXTERNAL\"=1");
  while (sqlite3_step(external.get()) == SQLITE_ROW) sum += read_row(external.get());

  const BareStatement insertion =
      store.prepare("INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (?1, ?2, ?3)");
  const BareStatement deletion = store.prepare("DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID=?1 AND PRODUCTID=?2");
  for (const std::int32_t product : products) {
    if (change == Change::insert_all)
      for (const auto& [property, text] : defaults) {
        sqlite3_bind_int(insertion.get(), 1, property);
        sqlite3_bind_int(insertion.get(), 2, product);
        sqlite3_bind_text(insertion.get(), 3, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        finish(store, insertion.get());
      }
    if (change == Change::delete_all)
      for (int property = 1; property <= kProperties; ++property) {
        sqlite3_bind_int(deletion.get(), 1, property);
        sqlite3_bind_int(deletion.get(), 2, product);
        finish(store, deletion.get());
      }
  }
  store.run("COMMIT");
  if (sum == 0) throw std::runtime_error("nothing was read");
}

void by_class(const fs::path& path) {
  use_store(path, path.parent_path());
  {
    const Root<PropertyGroup> group;
    std::int32_t id = kGroup;
    std::int32_t product = kAllProducts;
    group->UpdateGroupChange(id, product);
  }
  store::close_idle_sessions();
}

const std::vector<std::string> kCompared = {
    "SELECT PRODUCTID, PROPERTYID, VALUE FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID"};

class GroupChangeBench {
 public:
  GroupChangeBench(int products, Figures& figures) : products_(products), figures_(figures) {
    in_child_process([&] {
      make_stores();
      return true;
    });
  }

  void run() const {
    const std::int64_t all = std::int64_t{products_} * kProperties;
    compare("no values yet", without_values_, Change::insert_all, all, at_most(4));
    compare("all values there", with_values_, Change::none, all, std::nullopt);
    compare("group without properties", without_members_, Change::delete_all, 0, std::nullopt);
  }

 private:
  void make_stores() const {
    create_store(without_values_);
    BareStore store(without_values_);
    store.run("BEGIN");
    store.run("INSERT INTO PROPERTYGROUP (PROPERTYGROUPID, PROPERTYGROUPNAME) VALUES (1, 'Group')");
    for (int property = 1; property <= kProperties + 1; ++property) {
      const std::string id = std::to_string(property);
      // The last one is external and in no group.
      const bool external = property > kProperties;
      store.run(("INSERT INTO PROPERTY (PROPERTYID, PROPERTYNAME, DATATYPE, \"EXTERNAL\", DEFAULTVALUE) VALUES (" + id +
                 ", 'Property " + id + "', 1, " + (external ? "1" : "0") + ", 'default value " + id + "')")
                    .c_str());
      if (!external)
        store.run(("INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, " + id + ")").c_str());
    }
    for (int product = 1; product <= products_; ++product)
      store.run(("INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID) VALUES ('P-" +
                 std::to_string(product) + "', 'Product', 1)")
                    .c_str());
    store.run("COMMIT");
    store.run("PRAGMA wal_checkpoint(TRUNCATE)");
    copy_store(without_values_, with_values_);
    by_hand(with_values_, Change::insert_all);
    copy_store(with_values_, without_members_);
    BareStore(without_members_).run("DELETE FROM PROPSBYPROPGROUP");
  }

  void compare(const std::string& label, const fs::path& from, Change change, std::int64_t values,
               std::optional<Goal> goal) const {
    std::vector<Cost<Rows>> library, bare;
    for (int round = 0; round < kRounds; ++round) {
      library.push_back(measure_on_copy(from, kCompared, by_class));
      bare.push_back(measure_on_copy(from, kCompared, [&](const fs::path& path) { by_hand(path, change); }));
      if (library.back().contents.count != values || library.back().contents != bare.back().contents)
        throw std::runtime_error(label + ": the stores do not hold the same values");
    }
    const std::string name =
        "UpdateGroupChange, " + std::to_string(products_) + " x " + std::to_string(kProperties) + ", " + label;
    const double seconds = median(library, &Cost<Rows>::seconds);
    const double bare_seconds = median(bare, &Cost<Rows>::seconds);
    figures_.add(name, seconds, "s");
    figures_.add(name + ": by hand, one transaction", bare_seconds, "s");
    figures_.add(name + " : by hand", seconds / bare_seconds, "x", goal);
    figures_.add(name + " : by hand, processor time",
                 median(library, &Cost<Rows>::cpu_seconds) / median(bare, &Cost<Rows>::cpu_seconds), "x");
  }

  int products_;
  Figures& figures_;
  TemporaryFolder folder_;
  fs::path without_values_ = folder_.path() / "without_values.db";
  fs::path with_values_ = folder_.path() / "with_values.db";
  fs::path without_members_ = folder_.path() / "without_members.db";
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 'n', [](const Arguments& arguments, Figures& figures) {
    GroupChangeBench(arguments.own_number(10'000), figures).run();
  });
}
