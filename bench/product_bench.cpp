// SPDX-License-Identifier: Apache-2.0
// product_bench [-f FIGURES] [-n CALLS]
//
// Writes 1,000 products of 20 fields through Product.Insert20, and as many changes through Update20, each call in a
// transaction of its own, and does by hand on the bare engine what that amounts to. Each measurement has a process and
// a fresh store of its own; of several the median counts.
#include <sqlite3.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"
#include "mercato/clock.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 5;

// The work by hand knows the fields beforehand; the library gets them with each call.
constexpr const char* kFields[] = {"UNITCODE",
                                   "MANUFACTURERID",
                                   "PARTNUMBER",
                                   "PRODUCTDESCRIPTION",
                                   "CONFIGURABLE",
                                   "PRODUCTREMARK",
                                   "IMAGEFILENAME",
                                   "TECHNICALIMAGE",
                                   "URL",
                                   "COMMODITYCODE",
                                   "CONTRACTCODE",
                                   "NUMBER",
                                   "BUSINESSPARTNERID",
                                   "BUYFROMPARTNUMBER",
                                   "BUYFROMCONTACTEMAIL",
                                   "USERID",
                                   "MULTIPLEBUYER",
                                   "MFRPARTNUMBER",
                                   "LOTSIZE",
                                   "GTIN"};
constexpr int kFieldCount = static_cast<int>(std::size(kFields));
static_assert(kFieldCount == 20);

Array fields() {
  Array names;
  for (const char* field : kFields) names.items.emplace_back(field);
  return names;
}

// `turn` tells the values of an update from those of the insert.
Array values(int product, const std::string& turn) {
  const std::string number = std::to_string(product);
  return Array{"PCE",
               "M-" + number,
               "PART-" + number + turn,
               "Resistor 10 kOhm 1 % 0.25 W, number " + number + turn,
               1,
               "Thick film, on tape " + turn,
               "images/" + number + ".png",
               "images/technical/" + number + ".png",
               "https://example.org/parts/" + number + turn,
               "PASSIVE",
               "K-7",
               5,
               1,
               "BUY-" + number,
               "sales@example.org",
               "ann",
               0,
               "MFR-" + number + turn,
               100.0,
               std::string(14 - number.size(), '0') + number};
}

Date stamp() { return Date::from_civil({2026, 7, 1, 8, 30, 0}); }

void bind(const BareStatement& statement, int position, const Variant& value) {
  if (value.is_text())
    sqlite3_bind_text(statement.get(), position, value.text_value().data(), static_cast<int>(value.text_value().size()),
                      SQLITE_STATIC);
  else if (value.type() == Variant::Type::real)
    sqlite3_bind_double(statement.get(), position, value.double_value());
  else
    sqlite3_bind_int(statement.get(), position, value.to_long());
}

// The product's store, with one supplier and one user to refer to.
void make_store(const fs::path& path) {
  create_store(path);
  BareStore store(path);
  store.run("INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('ACME')");
  store.run("INSERT INTO USERS (USERID, ISACTIVE, ISBUYER) VALUES ('ann', 1, 1)");
  store.run("PRAGMA wal_checkpoint(TRUNCATE)");
}

// The library's side

template <class Call>
void by_class(const fs::path& path, int calls, Call call) {
  use_store(path, path.parent_path());
  clock::script_clock(stamp(), 0);
  {
    const Root<Product> product;
    for (int id = 1; id <= calls; ++id) call(product, id);
  }
  store::close_idle_sessions();
}

void insert_by_class(const fs::path& path, int calls) {
  by_class(path, calls, [names = fields()](const Root<Product>& product, int id) {
    if (product->Insert20(names, values(id, "")) != id) throw std::runtime_error("not the next id");
  });
}

void update_by_class(const fs::path& path, int calls) {
  by_class(path, calls, [names = fields()](const Root<Product>& product, int id) {
    product->Update20(id, names, values(id, " B"));
  });
}

// The same by hand

class ByHand {
 public:
  explicit ByHand(const fs::path& path) : store_(path) {
    store_.run("PRAGMA synchronous=FULL");  // a committed call of the library is on the disk
    std::string names;
    std::string places;
    std::string changes;
    for (int i = 0; i < kFieldCount; ++i) {
      const std::string place = "?" + std::to_string(i + 1);
      names += std::string(kFields[i]) + ", ";
      places += place + ", ";
      changes += std::string(kFields[i]) + "=" + place + ", ";
    }
    insert_ = store_.prepare("INSERT INTO PRODUCT (" + names + "DATEUPDATED) VALUES (" + places + "?21)");
    update_ = store_.prepare("UPDATE PRODUCT SET " + changes + "DATEUPDATED=?21 WHERE PRODUCTID=?22");
  }

  void insert(const Array& row) {
    run(begin_);
    require_references(row);
    write(insert_, row);
    run(commit_);
  }

  void update(int id, const Array& row) {
    run(begin_);
    sqlite3_bind_int(select_.get(), 1, id);
    if (sqlite3_step(select_.get()) != SQLITE_ROW) store_.fail("reading a product");
    sum_ += read_row(select_.get());
    sqlite3_reset(select_.get());
    require_references(row);
    sqlite3_bind_int(buyers_.get(), 1, id);
    run(buyers_);
    sqlite3_bind_int(update_.get(), 22, id);
    write(update_, row);
    run(commit_);
  }

 private:
  void run(const BareStatement& statement) {
    if (sqlite3_step(statement.get()) != SQLITE_DONE) store_.fail("writing a product");
    sqlite3_reset(statement.get());
  }
  void require_one(const BareStatement& statement, const Variant& key) {
    bind(statement, 1, key);
    if (sqlite3_step(statement.get()) != SQLITE_ROW) store_.fail("looking for a reference");
    sqlite3_reset(statement.get());
  }
  void require_references(const Array& row) {
    require_one(partner_, row.items[12]);
    require_one(user_, row.items[15]);
  }
  void write(const BareStatement& statement, const Array& row) {
    for (int i = 0; i < kFieldCount; ++i) bind(statement, i + 1, row.items[static_cast<std::size_t>(i)]);
    sqlite3_bind_text(statement.get(), kFieldCount + 1, stamp_.data(), static_cast<int>(stamp_.size()), SQLITE_STATIC);
    run(statement);
  }

  BareStore store_;
  BareStatement begin_ = store_.prepare("BEGIN IMMEDIATE");
  BareStatement commit_ = store_.prepare("COMMIT");
  BareStatement partner_ = store_.prepare("SELECT 1 FROM BUSINESSPARTNER WHERE BUSINESSPARTNERID=?1");
  BareStatement user_ = store_.prepare("SELECT 1 FROM USERS WHERE USERID=?1");
  BareStatement select_ = store_.prepare("SELECT * FROM PRODUCT WHERE PRODUCTID=?1");
  BareStatement buyers_ = store_.prepare("DELETE FROM PRODUCTBUYER WHERE PRODUCTID=?1");
  BareStatement insert_;
  BareStatement update_;
  const std::string stamp_ = stamp().iso_text();
  std::size_t sum_ = 0;
};

void insert_by_hand(const fs::path& path, int calls) {
  ByHand hand(path);
  for (int id = 1; id <= calls; ++id) hand.insert(values(id, ""));
}

void update_by_hand(const fs::path& path, int calls) {
  ByHand hand(path);
  for (int id = 1; id <= calls; ++id) hand.update(id, values(id, " B"));
}

// Measuring

const std::vector<std::string> kCompared = {"SELECT * FROM PRODUCT ORDER BY PRODUCTID"};

using Work = void (*)(const fs::path&, int);

void compare(const std::string& name, const fs::path& from, int calls, Work by_class, Work by_hand, Figures& figures) {
  std::vector<Cost<Rows>> library;
  std::vector<Cost<Rows>> bare;
  for (int round = 0; round < kRounds; ++round) {
    library.push_back(measure_on_copy(from, kCompared, [&](const fs::path& store) { by_class(store, calls); }));
    bare.push_back(measure_on_copy(from, kCompared, [&](const fs::path& store) { by_hand(store, calls); }));
    if (library.back().contents.count != calls || library.back().contents != bare.back().contents)
      throw std::runtime_error(name + ": the stores do not hold the same products");
  }
  const double microseconds = 1e6 / calls;
  figures.add(name + ", 20 fields, one transaction", median(library, &Cost<Rows>::seconds) * microseconds, "us");
  figures.add(name + ": the same by hand", median(bare, &Cost<Rows>::seconds) * microseconds, "us");
  figures.add(name + " : by hand", median(library, &Cost<Rows>::seconds) / median(bare, &Cost<Rows>::seconds), "x",
              at_most(3));
  figures.add(name + ", processor time", median(library, &Cost<Rows>::cpu_seconds) * microseconds, "us");
  figures.add(name + " : by hand, processor time",
              median(library, &Cost<Rows>::cpu_seconds) / median(bare, &Cost<Rows>::cpu_seconds), "x");
}

void run(int calls, Figures& figures) {
  const TemporaryFolder folder;
  const fs::path empty = folder.path() / "empty.db";
  const fs::path full = folder.path() / "full.db";
  in_child_process([&] {
    make_store(empty);
    fs::copy_file(empty, full);
    insert_by_hand(full, calls);
    return true;
  });
  compare("Insert20", empty, calls, insert_by_class, insert_by_hand, figures);
  compare("Update20", full, calls, update_by_class, update_by_hand, figures);
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 'n',
                     [](const Arguments& arguments, Figures& figures) { run(arguments.own_number(1000), figures); });
}
