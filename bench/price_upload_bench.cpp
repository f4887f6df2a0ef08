// SPDX-License-Identifier: Apache-2.0
// price_upload_bench [-f FIGURES] [LINES...]
//
// Uploads documents of 10,000 and 100,000 real price lines (or of the sizes named), and plays the same statements by
// hand on the bare engine. Each measurement has a process and a fresh store of its own; of several the median counts.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/compared_upload.h"
#include "bench/support/data_folder.h"
#include "bench/support/measured_upload.h"
#include "bench/support/price_converter.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

struct Document {
  std::size_t lines = 0;
  std::size_t part_numbers = 0;
  double bytes = 0;
};

Rows lines_of(const fs::path& store) {
  return rows_of(store, {"SELECT * FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO"});
}

class PriceUploadBench {
 public:
  PriceUploadBench(fs::path csv, Figures& figures) : csv_(std::move(csv)), figures_(figures) {}

  void run(std::size_t limit) {
    const Document document = in_child_process([&] { return convert(limit); });
    in_child_process([&] {
      make_products();
      return true;
    });
    const std::size_t rounds = std::clamp<std::size_t>(60'000 / document.lines, 3, 7);
    const auto [recorded, whole, bare_each, bare_once] =
        ComparedUpload<Rows>(files_, upload_all_prices, lines_of).run(rounds);
    if (recorded.contents.count != static_cast<std::int64_t>(document.lines))
      throw std::runtime_error("the store does not hold what the document does");

    const auto count = static_cast<double>(document.lines);
    const double cpu_per_line = 1e6 * whole.cpu_seconds / count;
    if (!smallest_) smallest_ = cpu_per_line;

    const std::string label = std::to_string(limit) + " price lines: ";
    std::printf("\n%zu lines of %zu part numbers, %.1f MB; median of %zu\n", document.lines, document.part_numbers,
                document.bytes / 1e6, rounds);
    figures_.add(label + "upload", whole.seconds, "s");
    figures_.add(label + "lines per second", count / whole.seconds, "1/s");
    figures_.add(label + "cost of a line, processor time", cpu_per_line, "us");
    figures_.add(label + "cost of a line, processor time, against the smallest document", cpu_per_line / *smallest_,
                 "x", at_most(1.2));
    figures_.add(label + "by hand, a transaction per statement, unflushed", bare_each.seconds, "s");
    figures_.add(label + "by hand, one transaction", bare_once.seconds, "s");
    figures_.add(label + "upload : by hand, a transaction per statement", whole.seconds / bare_each.seconds, "x",
                 at_most(3));
    figures_.add(label + "upload : by hand, a transaction per statement, processor time",
                 whole.cpu_seconds / bare_each.cpu_seconds, "x");
    figures_.add(label + "upload : by hand, one transaction", whole.seconds / bare_once.seconds, "x");
    figures_.add(label + "upload : by hand, one transaction, processor time", whole.cpu_seconds / bare_once.cpu_seconds,
                 "x");
    figures_.add(label + "peak memory", whole.peak_bytes / 1e6, "MB");
  }

 private:
  Document convert(std::size_t limit) const {
    std::ofstream document(files_.document);
    const ConvertedPrices converted = components_to_prices(csv_, limit, document);
    document.close();
    if (!document) throw std::runtime_error("the document cannot be written");
    files_.write_part_numbers(converted.part_numbers);
    return {converted.lines, converted.part_numbers.size(), static_cast<double>(fs::file_size(files_.document))};
  }

  // A store with the products that the document prices.
  void make_products() const {
    fs::remove(files_.first_store);
    create_store(files_.first_store);
    BareStore store(files_.first_store);
    store.run("INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR'), ('USD'); BEGIN");
    const BareStatement insert = store.prepare(
        "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MULTIPLEBUYER) VALUES (?1, ?1, ?1, "
        "0)");
    for (const std::string& part_number : files_.read_part_numbers()) {
      sqlite3_bind_text(insert.get(), 1, part_number.data(), static_cast<int>(part_number.size()), SQLITE_STATIC);
      if (sqlite3_step(insert.get()) != SQLITE_DONE) store.fail("inserting a product");
      sqlite3_reset(insert.get());
    }
    store.run("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
  }

  TemporaryFolder folder_;
  UploadFiles files_{folder_.path()};
  fs::path csv_;
  Figures& figures_;
  std::optional<double> smallest_;  // microseconds of a line of the smallest document
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, '\0', [](const Arguments& arguments, Figures& figures) {
    PriceUploadBench bench(components_file(), figures);
    for (const std::size_t lines : arguments.sizes_or({10'000, 100'000})) bench.run(lines);
  });
}
