// SPDX-License-Identifier: Apache-2.0
// upload_bench [-f FIGURES] [-k STORE] [RECORDS...]
//
// Uploads documents of 1,000, 20,000 and 100,000 real records (or of the sizes named), and plays the same statements by
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
#include "bench/support/product_converter.h"
#include "bench/support/program.h"

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
  UploadBench(fs::path csv, Figures& figures, std::string kept_store)
      : csv_(std::move(csv)), figures_(figures), kept_store_(std::move(kept_store)) {
    in_child_process([&] {
      create_store(files_.first_store);
      return true;
    });
  }

  void run(std::size_t records) {
    const std::string label = std::to_string(records) + " records: ";
    const Document document = in_child_process([&] { return convert(records); });
    const std::size_t rounds = std::clamp<std::size_t>(20'000 / document.records, 1, 7);
    const auto [recorded, whole, bare_each, bare_once] =
        ComparedUpload<Contents>(files_, upload_all, contents_of).run(rounds);
    if (!kept_store_.empty()) fs::copy_file(files_.store, kept_store_, fs::copy_options::overwrite_existing);
    if (recorded.contents.products != static_cast<std::int64_t>(document.records) ||
        recorded.contents.values != static_cast<std::int64_t>(document.properties))
      throw std::runtime_error("the store does not hold what the document does");

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
  Document convert(std::size_t records) const {
    std::ofstream document(files_.document);
    const Converted converted = components_to_products(csv_, records, document);
    document.close();
    if (!document) throw std::runtime_error("the document cannot be written");
    files_.write_part_numbers(converted.part_numbers);
    return {converted.part_numbers.size(), static_cast<double>(fs::file_size(files_.document)), converted.properties};
  }

  // What is compared, by statement.
  void report_statements(const Cost<Contents>& recorded) const {
    const Tape tape = load_tape(files_.tape);
    const auto count = static_cast<double>(recorded.contents.products);
    std::printf("  statements per record: %.2f (and %.2f settings that cost the engine nothing)\n",
                static_cast<double>(tape.runs()) / count, static_cast<double>(tape.settings) / count);
    std::vector<Tape::Statement> statements = tape.statements;
    std::ranges::sort(statements, std::greater<>(), &Tape::Statement::runs);
    for (const Tape::Statement& statement : statements)
      std::printf("  %9llu  %.100s\n", static_cast<unsigned long long>(statement.runs), statement.sql.c_str());
  }

  TemporaryFolder folder_;
  UploadFiles files_{folder_.path()};
  fs::path csv_;
  Figures& figures_;
  std::string kept_store_;
  // Of one record of the smallest document, in microseconds.
  struct PerRecord {
    double by_clock;
    double by_processor;
  };
  std::optional<PerRecord> smallest_;
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 'k', [](const Arguments& arguments, Figures& figures) {
    UploadBench bench(components_file(), figures, arguments.own);
    for (const std::size_t records : arguments.sizes_or({1'000, 20'000, 100'000})) bench.run(records);
  });
}
