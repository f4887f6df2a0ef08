// SPDX-License-Identifier: Apache-2.0
// calls_bench [-f FIGURES] [-s STORE]
//
// What single calls cost, next to the same work on the bare engine, on a store of 100,000 real products: the one named,
// which upload_bench leaves behind with -k, or one made for the purpose. Every figure is the median of several turns,
// taken in random order.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/data_folder.h"
#include "bench/support/measured_upload.h"
#include "bench/support/medians.h"
#include "bench/support/product_converter.h"
#include "bench/support/program.h"
#include "frame/lib_general.h"
#include "mercato/connection.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/session_pool.h"
#include "platform/store/shape_cache.h"
#include "tools/gateway/gateway_session.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kProducts = 100'000;

// Stands in the last product's description only, so that the search goes through all of them.
constexpr char kNoSuchText[] = "zzqx-no-such-part";

fs::path store_file;

// Ids all over the table, the same sequence in every run.
class ProductIds {
 public:
  std::int32_t next() { return pick_(numbers_); }

 private:
  std::mt19937 numbers_{20260701};
  std::uniform_int_distribution<std::int32_t> pick_{1, kProducts};
};

// One product read

void product_by_class(benchmark::State& state) {
  const Root<Product> product;
  ProductIds ids;
  for (auto _ : state) benchmark::DoNotOptimize(product->GetProductEx(ids.next()));
}

void product_by_class_and_object(benchmark::State& state) {
  ProductIds ids;
  for (auto _ : state) {
    const Root<Product> product;
    benchmark::DoNotOptimize(product->GetProductEx(ids.next()));
  }
}

void product_by_hand(benchmark::State& state) {
  BareStore store(store_file);
  const BareStatement statement = store.prepare("SELECT * FROM PRODUCT WHERE PRODUCTID=?1");
  ProductIds ids;
  for (auto _ : state) {
    sqlite3_bind_int(statement.get(), 1, ids.next());
    if (sqlite3_step(statement.get()) != SQLITE_ROW) store.fail("reading a product");
    benchmark::DoNotOptimize(read_row(statement.get()));
    sqlite3_reset(statement.get());
  }
}

// A search through all products

void search_by_class(benchmark::State& state) {
  const Root<Product> product;
  for (auto _ : state)
    if (product->getProductIDFromPartNum(kNoSuchText) != -1) state.SkipWithError("something was found");
}

void search_by_hand(benchmark::State& state) {
  BareStore store(store_file);
  const BareStatement statement = store.prepare(
      "SELECT DISTINCT PRODUCTSBYCATEGORY.PRODUCTID FROM PRODUCTSBYCATEGORY"
      " INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID"
      " INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID"
      " INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID"
      " WHERE (PRODUCTDESCRIPTION LIKE ?1 OR PARTNUMBER LIKE ?1 OR BUYFROMPARTNUMBER LIKE ?1) AND PRODUCT.DISABLED = 0"
      " LIMIT 1");
  const std::string pattern = "%" + std::string(kNoSuchText) + "%";
  for (auto _ : state) {
    sqlite3_bind_text(statement.get(), 1, pattern.data(), static_cast<int>(pattern.size()), SQLITE_STATIC);
    if (sqlite3_step(statement.get()) != SQLITE_DONE) store.fail("searching");
    sqlite3_reset(statement.get());
  }
}

// What every step pays

// With the session below it: a connection takes one only at its first statement.
void connection_from_pool(benchmark::State& state) {
  const std::string store = connection_string(store_file);
  for (auto _ : state) {
    const ConnectionPtr connection = Connection::create();
    connection->Open(store, "", "", -1);
    benchmark::DoNotOptimize(&connection->session());
    connection->Close();
  }
}

// The longest statement of the class. A text of its caller stands in three places of it.
Sql search_statement(const std::string& term) {
  Sql sql;
  sql << "SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID "
         " FROM PRODUCTSBYCATEGORY "
         " INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
         " INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
         " INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
         " WHERE (PRODUCTDESCRIPTION LIKE '%"
      << value(term) << "%' OR PARTNUMBER LIKE '%" << value(term) << "%' OR BUYFROMPARTNUMBER LIKE '%" << value(term)
      << "%')  AND (PRODUCT.DISABLED = 0) AND CATALOGNODE.CATALOGID IN " << clause("(1,2,3)");
  return sql;
}
Sql record_statement(const std::string& product_id) {
  Sql sql;
  sql << "SELECT * FROM PRODUCT WHERE PRODUCTID=" << value(product_id);
  return sql;
}

template <class Build>
void statement_overhead(benchmark::State& state, Build build, const std::string& argument) {
  using namespace store;
  ShapeCache<ShapedStatement> cache;
  dialect::LexedStatement lexed;
  const auto insert = [&](const Sql& sql) {
    dialect::lex(sql.text(), lexed);
    cache.insert(std::make_shared<ShapedStatement>(), lexed, false, false);
  };
  for (int other = 0; other < 100; ++other)
    insert(Sql::verbatim("SELECT C" + std::to_string(other) + " FROM T WHERE C = 1"));
  insert(build(argument));
  for (auto _ : state) {
    const Sql sql = build(argument);
    dialect::lex(sql.text(), lexed);
    dialect::check_pieces(sql, lexed);
    if (!cache.find(lexed, false)) state.SkipWithError("the statement is not found again");
  }
}

// The gateway

std::string call_line(std::int32_t product_id) {
  return R"({"jsonrpc":"2.0","id":1,"method":"call","params":{"object":1,"method":"GetProductEx","args":[)" +
         std::to_string(product_id) + "]}}";
}
constexpr char kCreateLine[] = R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"progId":"Mercato.Product"}})";

bool is_product(std::string_view answer) { return answer.find("PRODUCTDESCRIPTION") != std::string_view::npos; }

void product_by_gateway(benchmark::State& state) {
  gateway::Session session(gateway::Session::Options{});
  session.answer(kCreateLine);
  ProductIds ids;
  for (auto _ : state)
    if (!is_product(session.answer(call_line(ids.next())).value_or(""))) state.SkipWithError("no product came back");
}

// `mercato rpc` in a process of its own, a pipe to it and one from it.
class RpcProcess {
 public:
  RpcProcess() {
    int requests[2];
    int answers[2];
    if (::pipe(requests) != 0 || ::pipe(answers) != 0) throw std::runtime_error("no pipe");
    const std::string store = connection_string(store_file);
    child_ = ::fork();
    if (child_ == 0) {
      ::dup2(requests[0], STDIN_FILENO);
      ::dup2(answers[1], STDOUT_FILENO);
      for (const int end : {requests[0], requests[1], answers[0], answers[1]}) ::close(end);
      ::execl(MERCATO_TOOL, MERCATO_TOOL, "--store", store.c_str(), "rpc", nullptr);
      ::_exit(127);
    }
    ::close(requests[0]);
    ::close(answers[1]);
    requests_ = ::fdopen(requests[1], "w");
    answers_ = ::fdopen(answers[0], "r");
  }
  ~RpcProcess() {
    std::fclose(requests_);
    std::fclose(answers_);
    std::free(line_);
    ::waitpid(child_, nullptr, 0);
  }
  RpcProcess(const RpcProcess&) = delete;
  RpcProcess& operator=(const RpcProcess&) = delete;

  std::string_view ask(const std::string& line) {
    std::fprintf(requests_, "%s\n", line.c_str());
    std::fflush(requests_);
    const ssize_t length = ::getline(&line_, &capacity_, answers_);
    return length < 0 ? std::string_view() : std::string_view(line_, static_cast<std::size_t>(length));
  }

 private:
  pid_t child_;
  std::FILE* requests_;
  std::FILE* answers_;
  char* line_ = nullptr;
  std::size_t capacity_ = 0;
};

void product_by_process(benchmark::State& state) {
  RpcProcess process;
  process.ask(kCreateLine);
  ProductIds ids;
  for (auto _ : state)
    if (!is_product(process.ask(call_line(ids.next())))) state.SkipWithError("no product came back");
}

// The store, and what is made of the times

void make_store(const fs::path& path, const fs::path& folder) {
  std::fprintf(stderr, "uploading %d products\n", kProducts);
  create_store(path);
  use_store(path, folder);
  const fs::path document = folder / "products.xml";
  std::ofstream file(document);
  Converted converted = components_to_products(components_file(), kProducts, file);
  file.close();
  upload_all(document, folder, std::move(converted.part_numbers));
}

// Every product in one category, and that one on a node of a catalogue.
void link_products(const fs::path& path) {
  BareStore store(path);
  store.run(
      "BEGIN;"
      "INSERT OR IGNORE INTO PRODUCTCATEGORY (CATEGORYID, CATEGORYNAME) VALUES (1, 'Components');"
      "INSERT OR IGNORE INTO CATALOG (CATALOGID, CATALOGNAME, ACTIVE) VALUES (1, 'Components', 1);"
      "INSERT OR IGNORE INTO CATALOGNODE (NODEID, CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 1, "
      "'Components', 1, 1);"
      "INSERT OR IGNORE INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) SELECT PRODUCTID, 1, PRODUCTID FROM "
      "PRODUCT;"
      "COMMIT");
  const BareStatement count = store.prepare("SELECT COUNT(*) FROM PRODUCTSBYCATEGORY");
  if (sqlite3_step(count.get()) != SQLITE_ROW || sqlite3_column_int(count.get(), 0) != kProducts)
    throw std::runtime_error("the store does not hold 100,000 products");
}

void report(const Medians& medians, Figures& figures) {
  const auto us = [&](const char* name) { return medians.processor_us(name); };
  std::printf("\n");
  figures.add("GetProductEx", us("product_by_class"), "us");
  figures.add("GetProductEx, on an object made for the call", us("product_by_class_and_object"), "us");
  figures.add("the product's row by hand, prepared, by key, all 37 columns read", us("product_by_hand"), "us");
  figures.add("GetProductEx : by hand", us("product_by_class") / us("product_by_hand"), "x", at_most(3));
  figures.add("getProductIDFromPartNum through 100,000 products without a hit", us("search_by_class") / 1000, "ms");
  figures.add("the scan by hand, the engine's own LIKE", us("search_by_hand") / 1000, "ms");
  figures.add("getProductIDFromPartNum : by hand", us("search_by_class") / us("search_by_hand"), "x");
  figures.add("a connection from the pool, opened and closed", us("connection_from_pool"), "us", at_most(2));
  figures.add("a short statement: built, checked, found prepared", us("short_statement"), "us", at_most(5));
  figures.add("the longest statement of Product: the same", us("long_statement"), "us", at_most(5));
  figures.add("a line through the gateway's session, more than the typed call",
              us("product_by_gateway") - us("product_by_class"), "us", at_most(150));
  figures.add("a line through `mercato rpc` and two pipes, by the clock, more than the typed call",
              medians.clock_us("product_by_process") - medians.clock_us("product_by_class"), "us");
}

void run(Figures& figures, const std::string& given_store) {
  const TemporaryFolder folder;
  store_file = given_store.empty() ? folder.path() / "store.db" : fs::path(given_store);
  if (given_store.empty()) make_store(store_file, folder.path());
  link_products(store_file);
  use_store(store_file, folder.path());

  measure("product_by_class", product_by_class);
  measure("product_by_class_and_object", product_by_class_and_object);
  measure("product_by_hand", product_by_hand);
  measure("search_by_class", search_by_class);
  measure("search_by_hand", search_by_hand);
  measure("connection_from_pool", connection_from_pool);
  measure("short_statement", [](benchmark::State& state) { statement_overhead(state, record_statement, "70001"); });
  measure("long_statement", [](benchmark::State& state) { statement_overhead(state, search_statement, "SN74HC04N"); });
  measure("product_by_gateway", product_by_gateway);
  measure("product_by_process", product_by_process);

  const Medians medians = measure_in_random_order("calls_bench");
  store::close_idle_sessions();
  report(medians, figures);
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 's',
                     [](const Arguments& arguments, Figures& figures) { run(figures, arguments.own); });
}
