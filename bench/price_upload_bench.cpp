// price_upload_bench [-f FIGURES] [LINES...]
//
// Uploads documents of 10,000 and 100,000 real price lines (or of the sizes named), and plays the same statements by
// hand on the bare engine. Each measurement has a process and a fresh store of its own; of several the median counts.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/by_hand.h"
#include "bench/support/child_process.h"
#include "bench/support/components_to_prices.h"
#include "bench/support/cost.h"
#include "bench/support/data_folder.h"
#include "bench/support/figures.h"
#include "bench/support/upload.h"
#include "frame/types/raised_error.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

// What an upload leaves in the store.
struct Contents {
  std::int64_t lines = 0;
  std::uint64_t hash = 0;
  bool operator==(const Contents&) const = default;
};
using UploadCost = Cost<Contents>;

struct Document {
  std::size_t lines = 0;
  std::size_t part_numbers = 0;
  double bytes = 0;
};

Contents contents_of(const fs::path& path) {
  BareStore store(path);
  const BareStatement statement = store.prepare("SELECT * FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO");
  Contents contents;
  for (; sqlite3_step(statement.get()) == SQLITE_ROW; ++contents.lines)
    contents.hash = contents.hash * 0x100000001B3u + read_row(statement.get());
  return contents;
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
    const UploadCost recorded = in_child_process([&] { return upload(true); });
    std::vector<UploadCost> library, each_statement, once;
    for (std::size_t round = 0; round < rounds; ++round) {
      library.push_back(in_child_process([&] { return upload(false); }));
      each_statement.push_back(in_child_process([&] { return by_hand(Committing::each_statement); }));
      once.push_back(in_child_process([&] { return by_hand(Committing::once); }));
      for (const auto* costs : {&library, &each_statement, &once})
        if (costs->back().contents != recorded.contents)
          throw std::runtime_error("the runs left different stores behind");
    }
    if (recorded.contents.lines != static_cast<std::int64_t>(document.lines))
      throw std::runtime_error("the store does not hold what the document does");

    const UploadCost whole = median(library);
    const UploadCost bare_each = median(each_statement);
    const UploadCost bare_once = median(once);
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
  static UploadCost median(std::vector<UploadCost> costs) {
    std::ranges::sort(costs, {}, &UploadCost::seconds);
    return costs[costs.size() / 2];
  }

  Document convert(std::size_t limit) const {
    std::ofstream document(document_);
    const ConvertedPrices converted = components_to_prices(csv_, limit, document);
    document.close();
    std::ofstream part_numbers(part_numbers_);
    for (const std::string& part_number : converted.part_numbers) part_numbers << part_number << '\n';
    if (!document || !part_numbers.flush()) throw std::runtime_error("the document cannot be written");
    return {converted.lines, converted.part_numbers.size(), static_cast<double>(fs::file_size(document_))};
  }

  std::vector<std::string> part_numbers() const {
    std::vector<std::string> all;
    std::ifstream list(part_numbers_);
    for (std::string line; std::getline(list, line);) all.push_back(line);
    return all;
  }

  // A store with the products that the document prices.
  void make_products() const {
    fs::remove(store_with_products_);
    create_store(store_with_products_);
    BareStore store(store_with_products_);
    store.run("INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR'), ('USD'); BEGIN");
    const BareStatement insert = store.prepare(
        "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MULTIPLEBUYER) VALUES (?1, ?1, ?1, "
        "0)");
    for (const std::string& part_number : part_numbers()) {
      sqlite3_bind_text(insert.get(), 1, part_number.data(), static_cast<int>(part_number.size()), SQLITE_STATIC);
      if (sqlite3_step(insert.get()) != SQLITE_DONE) store.fail("inserting a product");
      sqlite3_reset(insert.get());
    }
    store.run("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
  }

  void fresh_store() const {
    for (const char* ending : {"-wal", "-shm"}) fs::remove(store_.string() + ending);
    fs::copy_file(store_with_products_, store_, fs::copy_options::overwrite_existing);
  }

  UploadCost upload(bool recording) const try {
    fresh_store();
    std::vector<std::string> wanted = part_numbers();
    fs::create_directories(web_root_);
    use_store(store_, web_root_);
    UploadCost cost;
    if (recording) {
      const Recording recorded;
      upload_all_prices(document_, web_root_, wanted);
      save_tape(recorded.tape(), tape_);
    } else {
      cost = measure<Contents>([&](UploadCost& measured) {
        measured.calls = static_cast<double>(upload_all_prices(document_, web_root_, std::move(wanted)));
      });
    }
    store::close_idle_sessions();
    cost.contents = contents_of(store_);
    return cost;
  } catch (const Raised& failure) {
    throw std::runtime_error(failure.error().Source + ": " + failure.error().Description);
  }

  UploadCost by_hand(Committing committing) const {
    fresh_store();
    const Tape tape = load_tape(tape_);
    UploadCost cost = measure<Contents>([&](UploadCost&) { play(tape, store_, committing); });
    cost.contents = contents_of(store_);
    return cost;
  }

  TemporaryFolder folder_;
  fs::path csv_;
  Figures& figures_;
  fs::path store_with_products_ = folder_.path() / "products.db";
  fs::path store_ = folder_.path() / "store.db";
  fs::path web_root_ = folder_.path() / "web";
  fs::path document_ = folder_.path() / "prices.xml";
  fs::path part_numbers_ = folder_.path() / "part_numbers.txt";
  fs::path tape_ = folder_.path() / "tape";
  std::optional<double> smallest_;  // microseconds of a line of the smallest document
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) try {
  std::string figures_file;
  for (int option; (option = getopt(argc, argv, "f:")) != -1;) {
    if (option != 'f') return EXIT_FAILURE;
    figures_file = optarg;
  }
  std::vector<std::size_t> sizes;
  for (; optind < argc; ++optind) sizes.push_back(std::stoull(argv[optind]));
  if (sizes.empty()) sizes = {10'000, 100'000};

  mercato::bench::Figures figures(figures_file);
  mercato::bench::PriceUploadBench bench(mercato::bench::components_file(), figures);
  for (const std::size_t lines : sizes) bench.run(lines);
  return EXIT_SUCCESS;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "price_upload_bench: %s\n", failure.what());
  return EXIT_FAILURE;
}
