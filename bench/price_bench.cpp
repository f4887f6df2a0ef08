// SPDX-License-Identifier: Apache-2.0
// price_bench [-f FIGURES]
//
// What the selection of a price costs, next to the bare query on the same store: 1,000 products with six price lines
// each. Every figure is the median of several turns, taken in random order.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/medians.h"
#include "bench/support/program.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

constexpr std::int32_t kProducts = 1'000;
constexpr double kBands[] = {10, 50, 100, 500, 1'000, 999'999'999};

std::filesystem::path store_file;
const Date kDate = Date::from_civil({2026, 7, 15});

// Products and quantities, the same sequence in every run.
class Questions {
 public:
  std::int32_t product() { return product_(numbers_); }
  double quantity() { return quantity_(numbers_); }

 private:
  std::mt19937 numbers_{20260701};
  std::uniform_int_distribution<std::int32_t> product_{1, kProducts};
  std::uniform_int_distribution<std::int32_t> quantity_{1, 2'000};
};

void price_by_class(benchmark::State& state, const std::string& currency) {
  const Root<Product> product;
  Questions questions;
  for (auto _ : state)
    benchmark::DoNotOptimize(
        product->getCatalogPriceAttributes(questions.product(), kDate, currency, questions.quantity()));
}

void price_by_hand(benchmark::State& state) {
  BareStore store(store_file);
  const BareStatement statement = store.prepare(
      "SELECT CURRENCYCODE, PRICE, DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST FROM "
      "CATALOGPRODUCTPRICE WHERE PRODUCTID=?1 AND PRICEEFFECTIVEDATE<=?2 AND (PRICEEXPIRYDATE>=?2 OR PRICEEXPIRYDATE "
      "IS NULL) AND QUANTITYTO>=?3 ORDER BY QUANTITYTO");
  const std::string date = kDate.iso_text();
  Questions questions;
  for (auto _ : state) {
    sqlite3_bind_int(statement.get(), 1, questions.product());
    sqlite3_bind_text(statement.get(), 2, date.data(), static_cast<int>(date.size()), SQLITE_STATIC);
    sqlite3_bind_double(statement.get(), 3, questions.quantity());
    if (sqlite3_step(statement.get()) != SQLITE_ROW) store.fail("reading a price");
    benchmark::DoNotOptimize(read_row(statement.get()));
    sqlite3_reset(statement.get());
  }
}

void fill_store() {
  Product product;  // without a transaction server
  const Date effective = Date::from_civil({2026, 7, 1});
  BareStore store(store_file);
  store.run(
      "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR'), ('USD');"
      "INSERT INTO EXCHANGERATE (SOURCECODE, TARGETCODE, EFFECTIVEDATE, RATE) VALUES ('EUR', 'USD', "
      "'2026-07-01T00:00:00', 1.25)");
  for (std::int32_t id = 1; id <= kProducts; ++id)
    for (const double band : kBands)
      product.InsertPrice(
          id, effective, band,
          {"CURRENCYCODE", "PRICE", "DISCOUNTPERC", "DISCOUNTAMOUNT", "PRICETAXPERCENTAGE", "FREIGHTCOST"},
          {"EUR", id + 0.25, 2.5, 0.5, 19, 3});
}

// That the store was filled with what is asked for.
void check() {
  const auto price = Root<Product>()->getCatalogPriceAttributes(7, kDate, "EUR", 60)->Item("PRICE");
  if (price != Variant(Currency::from_text("7.25"))) throw std::runtime_error("the store has other prices");
}

void run(Figures& figures) {
  const TemporaryFolder folder;
  store_file = folder.path() / "store.db";
  create_store(store_file);
  use_store(store_file, folder.path());
  fill_store();
  check();

  measure("price_by_class", [](benchmark::State& state) { price_by_class(state, "EUR"); });
  measure("price_by_class_converted", [](benchmark::State& state) { price_by_class(state, "USD"); });
  measure("price_by_hand", price_by_hand);
  const Medians medians = measure_in_random_order("price_bench");
  store::close_idle_sessions();

  const double by_class = medians.processor_us("price_by_class");
  const double by_hand = medians.processor_us("price_by_hand");
  std::printf("\n");
  figures.add("getCatalogPriceAttributes, six price lines", by_class, "us");
  figures.add("the same with a conversion at a rate", medians.processor_us("price_by_class_converted"), "us");
  figures.add("the price by hand, prepared, the first row read", by_hand, "us");
  figures.add("getCatalogPriceAttributes : by hand", by_class / by_hand, "x", at_most(4));
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) { return mercato::bench::run_program(argc, argv, mercato::bench::run); }
