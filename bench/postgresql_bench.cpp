// SPDX-License-Identifier: Apache-2.0
// postgresql_bench [-f FIGURES] -s SERVER [RECORDS...]
//
// Uploads and calls on a PostgreSQL server, and the same statements by hand with libpq, one after the other over the
// same socket. SERVER is a connection string without a database, of a role that may create some; its server is reached
// through a socket. With sizes named, product uploads of these sizes and nothing else.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/data_folder.h"
#include "bench/support/measured_upload.h"
#include "bench/support/postgresql/bare_server.h"
#include "bench/support/postgresql/compared_on_server.h"
#include "bench/support/postgresql/server_recording.h"
#include "bench/support/price_converter.h"
#include "bench/support/product_converter.h"
#include "bench/support/program.h"
#include "mercato/catalog.h"
#include "mercato/connection.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/property_group.h"
#include "mercato/t_catalog.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

using Commits = ServerBench::Commits;
using Tables = std::vector<std::string_view>;

constexpr char kOrigin[] = "mercato_bench_origin";
constexpr char kCalls[] = "mercato_bench_calls";
constexpr char kUser[] = "user7";
const Date kDate = Date::from_civil({2026, 7, 15});

// Numbers from 1, the same sequence in every turn.
class Numbers {
 public:
  explicit Numbers(std::int32_t last) : pick_(1, last) {}
  std::int32_t next() { return pick_(numbers_); }

 private:
  std::mt19937 numbers_{20260701};
  std::uniform_int_distribution<std::int32_t> pick_;
};

class PostgresqlBench {
 public:
  PostgresqlBench(const std::string& server, Figures& figures) : bench_(server, folder_.path()), figures_(figures) {}
  ~PostgresqlBench() {
    for (const char* name : {kOrigin, kCalls, "mercato_bench_copy"}) {
      try {
        drop_database(bench_.server(), name);
      } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
      }
    }
  }

  void products(std::size_t records) {
    make_origin({});
    std::vector<std::string> part_numbers;
    const fs::path document = folder_.path() / "products.xml";
    {
      std::ofstream file(document);
      part_numbers = components_to_products(components_file(), records, file).part_numbers;
    }
    const std::size_t count = part_numbers.size();
    const std::string label = std::to_string(records) + " records: ";
    const auto cost =
        bench_.compare_work(label + "upload", count, std::clamp<std::size_t>(20'000 / count, 1, 5),
                            Commits::asynchronous, Tables{"PRODUCT", "PROPERTY", "PRODUCTPROPVALUE", "PRODUCTBUYER"},
                            [&] { return upload_all(document, folder_.path(), part_numbers); });
    const double per_record = 1e6 * cost.library.clock / static_cast<double>(count);
    if (!smallest_) smallest_ = per_record;
    figures_.add(label + "records per second", static_cast<double>(count) / cost.library.clock, "1/s");
    figures_.add(label + "cost of a record", per_record, "us");
    figures_.add(label + "cost of a record, against the smallest document", per_record / *smallest_, "x", at_most(1.2));
    figures_.add(label + "peak memory", cost.peak_bytes / 1e6, "MB");
    report(label + "upload", cost, count, at_most(1));
    keep_copy();
  }

  void prices(std::size_t limit) {
    ConvertedPrices converted;
    const fs::path document = folder_.path() / "prices.xml";
    {
      std::ofstream file(document);
      converted = components_to_prices(components_file(), limit, file);
    }
    make_origin([&](BareServer& server) {
      server.run("INSERT INTO \"CURRENCY\" (\"CURRENCYCODE\") VALUES ('EUR'), ('USD'); BEGIN");
      for (const std::string& part_number : converted.part_numbers) {
        const std::unique_ptr<char, decltype(&PQfreemem)> quoted(
            PQescapeLiteral(server.connection(), part_number.data(), part_number.size()), &PQfreemem);
        const std::string text = quoted.get();
        server.run(
            "INSERT INTO \"PRODUCT\" (\"PARTNUMBER\", \"PRODUCTDESCRIPTION\", \"BUYFROMPARTNUMBER\", "
            "\"MULTIPLEBUYER\") VALUES (" +
            text + ", " + text + ", " + text + ", 0)");
      }
      server.run("COMMIT");
    });
    const std::string label = std::to_string(limit) + " price lines: ";
    const auto cost =
        bench_.compare_work(label + "upload", converted.lines, 3, Commits::asynchronous, Tables{"CATALOGPRODUCTPRICE"},
                            [&] { return upload_all_prices(document, folder_.path(), converted.part_numbers); });
    figures_.add(label + "lines per second", static_cast<double>(converted.lines) / cost.library.clock, "1/s");
    report(label + "upload", cost, converted.lines, at_most(3));
  }

  // On the store that the last upload left.
  void calls(std::int32_t products) {
    furnish_calls(products);
    compare_calls("GetProductEx", 500, at_most(1.5), [products] {
      const Root<Product> product;
      Numbers ids(products);
      for (int i = 0; i < 500; ++i) product->GetProductEx(ids.next());
    });
    compare_calls("getProductIDFromPartNum through " + std::to_string(products) + " products without a hit", 1,
                  at_most(3), [] {
                    const Root<Product> product;
                    if (product->getProductIDFromPartNum("zzqx-no-such-part") != -1)
                      throw std::runtime_error("something was found");
                  });
    compare_calls("getCatalogPriceAttributes, six price lines", 500, at_most(3), [] {
      const Root<Product> product;
      Numbers ids(1'000);
      for (int i = 0; i < 500; ++i) product->getCatalogPriceAttributes(ids.next(), kDate, "EUR", 60);
    });
    for (const auto& [levels, catalog] : {std::pair{7, 1}, std::pair{60, 2}}) {
      const std::string tree = ", a tree of " + std::to_string(levels) + " levels";
      const std::int32_t last = levels * kNodesOfLevel;
      const auto ask = [last, catalog = catalog](auto question) {
        const Root<Catalog> rights;
        Numbers places(kNodesOfLevel);
        for (int i = 0; i < 50; ++i) question(rights, catalog * kFirstNode + last - kNodesOfLevel + places.next());
      };
      compare_calls("IsViewOnlyCatalogNodeEx" + tree, 50, at_most(3), [ask] {
        ask([](const Root<Catalog>& rights, std::int32_t node) {
          if (rights->IsViewOnlyCatalogNodeEx(kUser, node)) throw std::runtime_error("he may order from it");
        });
      });
      compare_calls("IsOrderCatalogNodeEx" + tree, 50, at_most(3), [ask] {
        ask([](const Root<Catalog>& rights, std::int32_t node) {
          if (!rights->IsOrderCatalogNodeEx(kUser, node)) throw std::runtime_error("he may order from it");
        });
      });
    }
    pool();
    readers(products);
  }

  void catalogues(int nodes) {
    make_origin([&](BareServer& server) {
      const std::string count = std::to_string(nodes);
      server.run(
          "INSERT INTO \"CATALOG\" (\"CATALOGNAME\", \"ACTIVE\") VALUES ('Catalogue', 1);"
          "INSERT INTO \"CATALOGNODEBYUSER\" (\"USERID\", \"CATALOGID\") VALUES ('ann', 1);"
          "INSERT INTO \"CATALOGNODE\" (\"CATALOGID\", \"PARENTNODEID\", \"NODENAME\", \"NODEDESCRIPTION\", "
          "\"SEQUENCE\", \"NODETYPE\", \"CATEGORYID\") SELECT 1, CASE WHEN n > 1 THEN (n - 2) / 10 + 1 END, "
          "'Node ' || n, 'What there is to say about it', n % 10, 1, n FROM generate_series(1, " +
          count +
          ") n;"
          "INSERT INTO \"USERNODE\" (\"USERID\", \"CATALOGID\", \"NODEID\") SELECT 'ann', 1, \"NODEID\" FROM "
          "\"CATALOGNODE\"");
    });
    const Tables tables{"CATALOG", "CATALOGNODE", "USERNODE"};
    const auto units = static_cast<std::size_t>(nodes);
    const std::string label = ", " + std::to_string(nodes) + " nodes";
    const auto report_call = [&](const std::string& name, auto call) {
      const auto cost = bench_.compare_work(name + label, units, 3, Commits::awaited, tables, [&]() -> std::size_t {
        const Root<TCatalog> catalog;
        call(catalog);
        return 1;
      });
      report(name + label, cost, units, at_most(3));
    };
    report_call("CopyCatalog", [](const Root<TCatalog>& catalog) { catalog->CopyCatalog(1, 1, ""); });
    report_call("PopulateUserNodes", [](const Root<TCatalog>& catalog) { catalog->PopulateUserNodes("ann"); });
  }

  void group_change(int products) {
    make_origin([&](BareServer& server) {
      server.run(
          "INSERT INTO \"PROPERTYGROUP\" (\"PROPERTYGROUPID\", \"PROPERTYGROUPNAME\") VALUES (1, 'Group');"
          "INSERT INTO \"PROPERTY\" (\"PROPERTYID\", \"PROPERTYNAME\", \"DATATYPE\", \"EXTERNAL\", \"DEFAULTVALUE\") "
          "SELECT n, 'Property ' || n, 1, (n > 20)::int, 'default value ' || n FROM generate_series(1, 21) n;"
          "INSERT INTO \"PROPSBYPROPGROUP\" (\"PROPERTYGROUPID\", \"PROPERTYID\") SELECT 1, n FROM "
          "generate_series(1, 20) n;"
          "INSERT INTO \"PRODUCT\" (\"PARTNUMBER\", \"PRODUCTDESCRIPTION\", \"PROPERTYGROUPID\") SELECT 'P-' || n, "
          "'Product', 1 FROM generate_series(1, " +
          std::to_string(products) + ") n");
    });
    const std::string name = "UpdateGroupChange, " + std::to_string(products) + " x 20, no values yet";
    const auto units = static_cast<std::size_t>(products) * 20;
    const auto cost = bench_.compare_work(name, units, 3, Commits::awaited, Tables{"PRODUCTPROPVALUE"}, [] {
      const Root<PropertyGroup> group;
      std::int32_t id = 1;
      std::int32_t product = -1;
      group->UpdateGroupChange(id, product);
      return std::size_t{1};
    });
    report(name, cost, units, at_most(3));
  }

  void single_products(int calls) {
    const auto furnish = [](BareServer& server) {
      server.run(
          "INSERT INTO \"BUSINESSPARTNER\" (\"BUSINESSID\") VALUES ('ACME');"
          "INSERT INTO \"USERS\" (\"USERID\", \"ISACTIVE\", \"ISBUYER\") VALUES ('ann', 1, 1)");
    };
    make_origin(furnish);
    const auto units = static_cast<std::size_t>(calls);
    const auto compare = [&](const std::string& name, auto call) {
      const auto cost = bench_.compare_work(name, units, 3, Commits::awaited, Tables{"PRODUCT"}, [&] {
        const Root<Product> product;
        for (int id = 1; id <= calls; ++id) call(product, id);
        return units;
      });
      figures_.add(name + ", 20 fields, one flushed transaction", 1e6 * cost.library.clock / calls, "us");
      report(name, cost, units, at_most(3));
    };
    compare("Insert20", [](const Root<Product>& product, int id) {
      if (product->Insert20(field_names(), field_values(id, "")) != id) throw std::runtime_error("not the next id");
    });
    make_origin([&](BareServer& server) {
      furnish(server);
      server.run(
          "INSERT INTO \"PRODUCT\" (\"PARTNUMBER\", \"PRODUCTDESCRIPTION\") SELECT 'P-' || n, 'Product' FROM "
          "generate_series(1, " +
          std::to_string(calls) + ") n");
    });
    compare("Update20",
            [](const Root<Product>& product, int id) { product->Update20(id, field_names(), field_values(id, " B")); });
  }

 private:
  static constexpr std::int32_t kNodesOfLevel = 1'000;
  static constexpr std::int32_t kFirstNode = 1'000'000;  // of a tree, times the number of its catalogue

  static Array field_names() {
    return Array{"UNITCODE",
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
  }
  static Array field_values(int product, const std::string& turn) {
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

  // What each run begins with a copy of.
  void make_origin(const std::function<void(BareServer&)>& furnish) const {
    make_database(bench_.server(), kOrigin);
    in_child_process([&] {
      create_store(bench_.database(kOrigin));
      if (furnish) {
        BareServer server(bench_.database(kOrigin));
        furnish(server);
      }
      return true;
    });
    // Where a server cleans up by itself, the plans do not depend on when it does.
    BareServer(bench_.database(kOrigin)).run("VACUUM ANALYZE");
  }
  void keep_copy() const {
    drop_database(bench_.server(), kCalls);
    BareServer(bench_.server() + ";Database=postgres")
        .run(std::string("ALTER DATABASE mercato_bench_copy RENAME TO ") + kCalls);
  }

  void report(const std::string& name, const ServerBench::Work& cost, std::size_t units, Goal goal) const {
    figures_.add(name, cost.library.clock, "s");
    figures_.add(name + ": by hand, the same transactions", cost.by_hand.clock, "s");
    figures_.add(name + ": by hand, one transaction", cost.at_once.clock, "s");
    figures_.add(name + " : by hand", cost.library.clock / cost.by_hand.clock, "x", goal);
    figures_.add(name + " : by hand, processor time", cost.library.both() / cost.by_hand.both(), "x");
    figures_.add(name + " : by hand, one transaction", cost.library.clock / cost.at_once.clock, "x");
    report_one(name + ", of one", cost.library, cost.by_hand, 1e6 / static_cast<double>(units), cost.sent);
  }

  void compare_calls(const std::string& name, std::size_t count, std::optional<Goal> goal,
                     const std::function<void()>& batch) const {
    const ServerBench::Calls calls = bench_.compare_calls(name, count, batch);
    figures_.add(name, calls.library.clock, "us");
    figures_.add(name + ": by hand, prepared", calls.by_hand.clock, "us");
    figures_.add(name + " : by hand", calls.library.clock / calls.by_hand.clock, "x", goal);
    figures_.add(name + " : by hand, processor time", calls.library.both() / calls.by_hand.both(), "x");
    report_one(name, calls.library, calls.by_hand, 1, calls.sent);
  }

  // `factor` makes microseconds of one of the times.
  void report_one(const std::string& name, const Times& library, const Times& by_hand, double factor,
                  const Sent& sent) const {
    figures_.add(name + ": client's processor time", factor * library.client, "us");
    figures_.add(name + ": client's, by hand", factor * by_hand.client, "us");
    figures_.add(name + ": server's processor time", factor * library.server, "us");
    figures_.add(name + ": server's, by hand", factor * by_hand.server, "us");
    figures_.add(name + ": statements", sent.statements, "");
    figures_.add(name + ": round trips", sent.round_trips, "");
  }

  // Two trees, each node below one of the level above; the user has both catalogues and may order from them. Prices, and
  // all products in one category.
  void furnish_calls(std::int32_t products) const {
    BareServer server(bench_.database(kCalls));
    if (server.run("SELECT count(*) FROM \"PRODUCT\"") != std::to_string(products))
      throw std::runtime_error("the store does not hold the products");
    for (const auto& [levels, catalog] : {std::pair{7, "1"}, std::pair{60, "2"}}) {
      const std::string of_level = std::to_string(kNodesOfLevel);
      const std::string last = std::to_string(levels * kNodesOfLevel);
      const std::string first = std::to_string(kFirstNode) + " * " + catalog;
      server.run("INSERT INTO \"CATALOGNODE\" (\"NODEID\", \"CATALOGID\", \"PARENTNODEID\", \"NODENAME\") SELECT " +
                 first + " + n, " + catalog + ", CASE WHEN n > " + of_level + " THEN " + first + " + n - " + of_level +
                 " END, 'node' FROM generate_series(1, " + last +
                 ") n;"
                 "INSERT INTO \"CATALOGNODEBYUSER\" (\"USERID\", \"CATALOGID\", \"NODEID\", \"LEVEL\") SELECT 'user' "
                 "|| 8 + n % 1000, " +
                 catalog + ", " + first + " + n, 1 FROM generate_series(1, " + last +
                 ") n;"
                 "INSERT INTO \"CATALOGNODEBYUSER\" (\"USERID\", \"CATALOGID\", \"LEVEL\") VALUES ('" +
                 kUser + "', " + catalog + ", 0)");
    }
    server.run(
        "INSERT INTO \"CURRENCY\" (\"CURRENCYCODE\") VALUES ('EUR') ON CONFLICT DO NOTHING;"
        "INSERT INTO \"CATALOGPRODUCTPRICE\" (\"PRODUCTID\", \"PRICEEFFECTIVEDATE\", \"QUANTITYTO\", \"CURRENCYCODE\", "
        "\"PRICE\") SELECT id, '2026-07-01', band, 'EUR', id + 0.25 FROM generate_series(1, 1000) id, "
        "unnest(ARRAY[10, 50, 100, 500, 1000, 999999999]) band;"
        "INSERT INTO \"PRODUCTCATEGORY\" (\"CATEGORYID\", \"CATEGORYNAME\") VALUES (1, 'Components');"
        "INSERT INTO \"CATALOG\" (\"CATALOGID\", \"CATALOGNAME\", \"ACTIVE\") VALUES (1, 'Components', 1);"
        "INSERT INTO \"CATALOGNODE\" (\"NODEID\", \"CATALOGID\", \"NODENAME\", \"NODETYPE\", \"CATEGORYID\") VALUES "
        "(1, 1, 'Components', 1, 1);"
        "INSERT INTO \"PRODUCTSBYCATEGORY\" (\"PRODUCTID\", \"CATEGORYID\", \"SEQUENCE\") SELECT \"PRODUCTID\", 1, "
        "\"PRODUCTID\" FROM \"PRODUCT\"");
    server.run("VACUUM ANALYZE");
  }

  // With the session below it: a connection takes one only at its first statement.
  void pool() const {
    constexpr std::size_t kConnections = 1'000;
    const auto open_and_close = [&](const std::string& store) {
      for (std::size_t i = 0; i < kConnections; ++i) {
        const ConnectionPtr connection = Connection::create();
        connection->Open(store, "", "", -1);
        connection->session();
        connection->Close();
      }
    };
    struct Pool {
      double us;
      double round_trips;
    };
    const Pool pool = in_child_process([&]() -> Pool {
      const std::string direct = bench_.database(kCalls);
      double round_trips = 0;
      {
        ServerRecording recording(direct);
        open_and_close(recording.connection_string());
        recording.start();
        open_and_close(recording.connection_string());
        store::close_idle_sessions();
        round_trips = static_cast<double>(recording.finish().round_trips) / kConnections;
      }
      open_and_close(direct);
      const auto begin = std::chrono::steady_clock::now();
      open_and_close(direct);
      const std::chrono::duration<double, std::micro> passed = std::chrono::steady_clock::now() - begin;
      store::close_idle_sessions();
      return {passed.count() / kConnections, round_trips};
    });
    figures_.add("a connection from the pool, opened and closed", pool.us, "us");
    figures_.add("a connection from the pool, round trips", pool.round_trips, "", at_most(0));
  }

  // Processes that read products side by side, and others that send the same statements.
  void readers(std::int32_t products) const {
    constexpr int kReaders = 16;
    constexpr std::size_t kBatch = 50;
    const std::string direct = bench_.database(kCalls);
    const auto read = [&] {
      const Root<Product> product;
      Numbers ids(products);
      for (std::size_t i = 0; i < kBatch; ++i) product->GetProductEx(ids.next());
    };
    const fs::path tape_file = folder_.path() / "reader";
    in_child_process([&] {
      ServerRecording recording(direct);
      use_store(recording.connection_string(), folder_.path());
      read();
      recording.start();
      read();
      store::close_idle_sessions();
      save_server_tape(recording.finish(), tape_file);
      return true;
    });
    const auto by_class = [&](auto until_the_end) {
      use_store(direct, folder_.path());
      until_the_end(read);
      store::close_idle_sessions();
    };
    const auto by_hand = [&](auto until_the_end) {
      const ServerTape tape = load_server_tape(tape_file);
      TapePlayer player(direct, tape);
      until_the_end([&] { player.play(); });
    };
    std::vector<double> library;
    std::vector<double> hand;
    for (int turn = 0; turn < 3; ++turn) {
      library.push_back(side_by_side(kReaders, kBatch, by_class));
      hand.push_back(side_by_side(kReaders, kBatch, by_hand));
    }
    std::ranges::sort(library);
    std::ranges::sort(hand);
    const std::string name = std::to_string(kReaders) + " processes that read: ";
    figures_.add(name + "GetProductEx", library[1], "1/s");
    figures_.add(name + "by hand", hand[1], "1/s");
    figures_.add(name + "by hand : GetProductEx", hand[1] / library[1], "x", at_most(1.3));
  }

  // How many reads they make in a second, all of them. Each warms up before the time begins.
  template <class Reader>
  static double side_by_side(int readers, std::size_t batch, const Reader& reader) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds kWarmUp{4};
    constexpr std::chrono::seconds kLength{5};
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const auto begin = Clock::now() + kWarmUp;
    const auto end = begin + kLength;
    for (int i = 0; i < readers; ++i) {
      if (::fork() != 0) continue;
      std::uint64_t reads = 0;
      try {
        reader([&](auto read) {
          read();
          std::this_thread::sleep_until(begin);
          for (; Clock::now() < end; reads += batch) read();
        });
      } catch (const Raised& failure) {
        std::fprintf(stderr, "%s\n", failure.error().Description.c_str());
        reads = 0;
      } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        reads = 0;
      }
      ::_exit(::write(ends[1], &reads, sizeof reads) == sizeof reads ? 0 : 1);
    }
    ::close(ends[1]);
    std::uint64_t all = 0;
    for (int i = 0; i < readers; ++i) {
      std::uint64_t reads = 0;
      if (::read(ends[0], &reads, sizeof reads) != sizeof reads || reads == 0)
        throw std::runtime_error("a reader has failed");
      all += reads;
    }
    ::close(ends[0]);
    for (int i = 0; i < readers; ++i) ::wait(nullptr);
    return static_cast<double>(all) / std::chrono::duration<double>(kLength).count();
  }

  TemporaryFolder folder_;
  ServerBench bench_;
  Figures& figures_;
  std::optional<double> smallest_;  // microseconds of a record of the smallest document
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 's', [](const Arguments& arguments, Figures& figures) {
    PostgresqlBench bench(arguments.own, figures);
    const std::vector<std::size_t> sizes = arguments.sizes_or({1'000, 20'000, 100'000});
    for (const std::size_t records : sizes) bench.products(records);
    if (!arguments.sizes.empty()) return;
    bench.calls(static_cast<std::int32_t>(sizes.back()));
    bench.prices(10'000);
    bench.single_products(1'000);
    bench.catalogues(20'000);
    bench.group_change(1'000);
  });
}
