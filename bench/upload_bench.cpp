// upload_bench [-f FIGURES] [-k STORE] [RECORDS...]
//
// Uploads documents of 1,000, 20,000 and 100,000 real records (or of the sizes named), and plays the same statements by
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
#include "bench/support/components_to_products.h"
#include "bench/support/cost.h"
#include "bench/support/data_folder.h"
#include "bench/support/figures.h"
#include "bench/support/upload.h"
#include "frame/types/raised_error.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

// What an upload leaves in the store. The moment at which a product was written differs from run to run.
struct Contents {
  std::int64_t products = 0;
  std::int64_t properties = 0;
  std::int64_t values = 0;
  std::uint64_t hash = 0;
  bool operator==(const Contents&) const = default;
};

using UploadCost = Cost<Contents>;

struct Document {
  std::size_t records = 0;
  double bytes = 0;
  std::size_t properties = 0;
};

Contents contents_of(const fs::path& path) {
  BareStore store(path);
  Contents contents;
  const auto walk = [&](const char* query) {
    const BareStatement statement = store.prepare(query);
    std::int64_t rows = 0;
    for (; sqlite3_step(statement.get()) == SQLITE_ROW; ++rows) {
      for (int column = 0; column < sqlite3_column_count(statement.get()); ++column) {
        if (std::string_view(sqlite3_column_name(statement.get(), column)) == "DATEUPDATED") continue;
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), column));
        const std::string_view value = text ? text : "\x01";
        contents.hash = contents.hash * 0x100000001B3u + std::hash<std::string_view>()(value);
      }
    }
    return rows;
  };
  contents.products = walk("SELECT * FROM PRODUCT ORDER BY PRODUCTID");
  contents.properties = walk("SELECT * FROM PROPERTY ORDER BY PROPERTYID");
  contents.values = walk("SELECT * FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID");
  walk("SELECT * FROM PRODUCTBUYER ORDER BY PRODUCTID, USERID");
  return contents;
}

class UploadBench {
 public:
  UploadBench(const fs::path& csv, Figures& figures, std::string kept_store)
      : csv_(csv), figures_(figures), kept_store_(std::move(kept_store)) {
    in_child_process([&] {
      create_store(empty_store_);
      return true;
    });
  }

  void run(std::size_t records) {
    const std::string label = std::to_string(records) + " records: ";
    const Document document = in_child_process([&] { return convert(records); });
    // Short runs are repeated, and those by hand stand between them, so that a busy machine disturbs both alike.
    const std::size_t rounds = std::clamp<std::size_t>(20'000 / document.records, 1, 7);
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
    if (recorded.contents.products != static_cast<std::int64_t>(document.records) ||
        recorded.contents.values != static_cast<std::int64_t>(document.properties))
      throw std::runtime_error("the store does not hold what the document does");

    const UploadCost whole = median(library);
    const UploadCost bare_each = median(each_statement);
    const UploadCost bare_once = median(once);
    const double count = static_cast<double>(document.records);
    const double per_record = 1e6 * whole.seconds / count;
    const double cpu_per_record = 1e6 * whole.cpu_seconds / count;
    if (!smallest_) smallest_ = PerRecord{per_record, cpu_per_record};
    const bool is_large = document.records >= 100'000;

    std::printf("\n%zu records, %.1f MB, %zu property values; median of %zu\n", document.records, document.bytes / 1e6,
                document.properties, rounds);
    report_statements(recorded);
    figures_.add(label + "upload", whole.seconds, "s");
    figures_.add(label + "calls that it took", whole.calls, "");
    figures_.add(label + "records per second", count / whole.seconds, "1/s", at_least(3000));
    figures_.add(label + "cost of a record", per_record, "us");
    figures_.add(label + "cost of a record, against the smallest document", per_record / smallest_->by_clock, "x",
                 at_most(1.2));
    figures_.add(label + "cost of a record, processor time", cpu_per_record, "us");
    figures_.add(label + "cost of a record, processor time, against the smallest document",
                 cpu_per_record / smallest_->by_processor, "x");
    figures_.add(label + "by hand, a transaction per statement, unflushed", bare_each.seconds, "s");
    figures_.add(label + "by hand, one transaction", bare_once.seconds, "s");
    figures_.add(label + "upload : by hand, a transaction per statement", whole.seconds / bare_each.seconds, "x",
                 at_most(2.5));
    figures_.add(label + "upload : by hand, a transaction per statement, processor time",
                 whole.cpu_seconds / bare_each.cpu_seconds, "x");
    figures_.add(label + "upload : by hand, one transaction", whole.seconds / bare_once.seconds, "x", at_most(2.5));
    figures_.add(label + "upload : by hand, one transaction, processor time", whole.cpu_seconds / bare_once.cpu_seconds,
                 "x");
    figures_.add(label + "peak memory", whole.peak_bytes / 1e6, "MB");
    figures_.add(label + "memory before the upload", whole.start_bytes / 1e6, "MB");
    // What the process needs for itself hides what a small document needs.
    figures_.add(label + "peak memory : document", whole.peak_bytes / document.bytes, "x",
                 is_large ? std::optional(at_most(7)) : std::nullopt);
  }

 private:
  static UploadCost median(std::vector<UploadCost> costs) {
    std::ranges::sort(costs, {}, &UploadCost::seconds);
    return costs[costs.size() / 2];
  }

  Document convert(std::size_t records) const {
    std::ofstream document(document_);
    const Converted converted = components_to_products(csv_, records, document);
    document.close();
    std::ofstream part_numbers(part_numbers_);
    for (const std::string& part_number : converted.part_numbers) part_numbers << part_number << '\n';
    if (!document || !part_numbers.flush()) throw std::runtime_error("the document cannot be written");
    return {converted.part_numbers.size(), static_cast<double>(fs::file_size(document_)), converted.properties};
  }

  void fresh_store() const {
    for (const char* ending : {"-wal", "-shm"}) fs::remove(store_.string() + ending);
    fs::copy_file(empty_store_, store_, fs::copy_options::overwrite_existing);
  }

  UploadCost upload(bool recording) const try {
    fresh_store();
    std::vector<std::string> part_numbers;
    std::ifstream list(part_numbers_);
    for (std::string line; std::getline(list, line);) part_numbers.push_back(line);
    fs::create_directories(web_root_);
    use_store(store_, web_root_);
    UploadCost cost;
    if (recording) {
      const Recording recorded;
      upload_all(document_, web_root_, part_numbers);
      save_tape(recorded.tape(), tape_);
    } else {
      cost = measure<Contents>([&](UploadCost& measured) {
        measured.calls = static_cast<double>(upload_all(document_, web_root_, std::move(part_numbers)));
      });
      if (!kept_store_.empty()) keep_store();
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

  void keep_store() const {
    store::close_idle_sessions();
    fs::copy_file(store_, kept_store_, fs::copy_options::overwrite_existing);
  }

  // What is compared, by statement.
  void report_statements(const UploadCost& recorded) const {
    const Tape tape = load_tape(tape_);
    const auto count = static_cast<double>(recorded.contents.products);
    std::printf("  statements per record: %.2f (and %.2f settings that cost the engine nothing)\n",
                static_cast<double>(tape.runs()) / count, static_cast<double>(tape.settings) / count);
    std::vector<Tape::Statement> statements = tape.statements;
    std::ranges::sort(statements, std::greater<>(), &Tape::Statement::runs);
    for (const Tape::Statement& statement : statements)
      std::printf("  %9llu  %.100s\n", static_cast<unsigned long long>(statement.runs), statement.sql.c_str());
  }

  TemporaryFolder folder_;
  fs::path csv_;
  Figures& figures_;
  fs::path kept_store_;
  fs::path empty_store_ = folder_.path() / "empty.db";
  fs::path store_ = folder_.path() / "store.db";
  fs::path web_root_ = folder_.path() / "web";
  fs::path document_ = folder_.path() / "products.xml";
  fs::path part_numbers_ = folder_.path() / "part_numbers.txt";
  fs::path tape_ = folder_.path() / "tape";
  // Of one record of the smallest document, in microseconds.
  struct PerRecord {
    double by_clock;
    double by_processor;
  };
  std::optional<PerRecord> smallest_;
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) try {
  std::string figures_file;
  std::string kept_store;
  for (int option; (option = getopt(argc, argv, "f:k:")) != -1;) {
    if (option == 'f')
      figures_file = optarg;
    else if (option == 'k')
      kept_store = optarg;
    else
      return EXIT_FAILURE;
  }
  std::vector<std::size_t> sizes;
  for (; optind < argc; ++optind) sizes.push_back(std::stoull(argv[optind]));
  if (sizes.empty()) sizes = {1'000, 20'000, 100'000};

  mercato::bench::Figures figures(figures_file);
  mercato::bench::UploadBench bench(mercato::bench::components_file(), figures, kept_store);
  for (const std::size_t records : sizes) bench.run(records);
  return EXIT_SUCCESS;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "upload_bench: %s\n", failure.what());
  return EXIT_FAILURE;
}
