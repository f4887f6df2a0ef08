// SPDX-License-Identifier: Apache-2.0
// journal_bench [-f FIGURES] [-o CASE] [RECORDS...]
//
// What the journal adds to an upload of real records, as `mercato upload` makes it: 20,000 products, or so many,
// inserted and changed, and as many price lines added and changed. Uploads with and without a journal take turns, each
// in a process and on a fresh copy of a store of its own; the least processor time of each counts. CASE is one of
// them: insert, change, add-prices, change-prices.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/bench_store.h"
#include "bench/support/data_folder.h"
#include "bench/support/price_converter.h"
#include "bench/support/product_converter.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"
#include "exchange/document_judging.h"
#include "exchange/uploading/price_document.h"
#include "exchange/uploading/product_document.h"
#include "frame/lib_sql.h"
#include "mercato/clock.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRounds = 5;

struct Case {
  const char* name;
  const char* told;
  const char* document;
  const char* store;  // what is there before
  bool of_prices;
};

constexpr Case kCases[] = {
    {"insert", "products inserted", "products.xml", "empty.db", false},
    {"change", "products changed", "changed-products.xml", "products.db", false},
    {"add-prices", "price lines added", "prices.xml", "products.db", true},
    {"change-prices", "price lines changed", "changed-prices.xml", "prices.db", true},
};

std::string with_addition(std::string_view text, std::string_view place, std::string_view addition) {
  std::string written;
  for (std::size_t at; (at = text.find(place)) != std::string_view::npos; text.remove_prefix(at + place.size()))
    written.append(text.substr(0, at + place.size())).append(addition);
  return written.append(text);
}

void write(const fs::path& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  if (!file.flush()) throw std::runtime_error("a document cannot be written");
}

class JournalBench {
 public:
  JournalBench(Figures& figures, std::size_t records) : figures_(figures), records_(records) {
    in_child_process([&] {
      write_documents();
      create_store(folder_.path() / "empty.db");
      BareStore(folder_.path() / "empty.db")
          .run("INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR'), ('USD'); PRAGMA wal_checkpoint(TRUNCATE)");
      return true;
    });
    keep(kCases[0], "products.db");
    keep(kCases[2], "prices.db");
  }

  void run(const Case& one) {
    std::vector<Cost<Rows>> without, with;
    for (std::size_t round = 0; round < kRounds; ++round) {
      without.push_back(cost(one, false));
      with.push_back(cost(one, true));
      if (with.back().contents != without.back().contents)
        throw std::runtime_error("an upload with a journal leaves other rows than one without");
    }
    const auto least = [](const std::vector<Cost<Rows>>& costs) {
      return std::ranges::min(costs, {}, &Cost<Rows>::cpu_seconds).cpu_seconds;
    };
    const std::string label = std::to_string(records_) + " " + one.told + ": ";
    figures_.add(label + "without a journal, processor time", least(without), "s");
    figures_.add(label + "with a journal, processor time", least(with), "s");
    figures_.add(label + "the journal's share of the upload", 100 * (least(with) / least(without) - 1), "%",
                 at_most(25));
  }

 private:
  void write_documents() const {
    const fs::path csv = components_file();
    std::ostringstream products, prices;
    components_to_products(csv, records_, products);
    components_to_prices(csv, records_, prices);
    write(folder_.path() / "products.xml", products.str());
    write(folder_.path() / "changed-products.xml", with_addition(products.str(), "<PRODUCTDESCRIPTION>", "2: "));
    // Only lines of the empty group can be changed.
    const std::string lines = with_addition(prices.str(), "</PriceExpiryDate>", "<GROUPBY/>");
    write(folder_.path() / "prices.xml", lines);
    write(folder_.path() / "changed-prices.xml", with_addition(lines, "<Price>", "1"));
  }

  static void upload(const Case& one, const fs::path& store, bool journaled) {
    const fs::path folder = store.parent_path();
    use_store(store, folder / "web");
    clock::script_clock(Date::from_civil({2026, 7, 1, 8, 30, 0}), 0);
    {
      const std::string document = (folder / one.document).string();
      std::optional<exchange::Journal> journal;
      if (journaled) {
        exchange::NewUpload upload;
        upload.kind = one.of_prices ? "prices" : "products";
        upload.file = document;
        upload.hash = exchange::sha256_of_file(document);
        journal.emplace(shared_connection_string(), upload);
      }
      exchange::JudgingOptions judging;
      judging.accepted = exchange::acceptable_reasons();
      judging.dates = exchange::Notation::Dates::month_first;
      const exchange::UploadSource source{.document = document,
                                          .file_key = "bench",
                                          .web_root = (folder / "web").string(),
                                          .judging = judging,
                                          .journal = journal ? &*journal : nullptr};
      const exchange::UploadReport report =
          one.of_prices ? exchange::PriceUpload(source).run() : exchange::ProductUpload(source).run();
      if (report.applied() == 0 || report.applied() != report.read)
        throw std::runtime_error("the document was not uploaded whole");
      const bool changes = journal && journal->records_changed() == report.read;
      if (journaled && !changes) throw std::runtime_error("the journal does not hold what was uploaded");
      if (journal) journal->end({}, {});
    }
    store::close_idle_sessions();
  }

  Cost<Rows> cost(const Case& one, bool journaled) const {
    return measure_on_copy(folder_.path() / one.store, kContents,
                           [&](const fs::path& store) { upload(one, store, journaled); });
  }
  // What the case leaves is where another one begins.
  void keep(const Case& one, const char* name) const {
    in_child_process([&] {
      const fs::path store = folder_.path() / name;
      copy_store(folder_.path() / one.store, store);
      upload(one, store, false);
      BareStore(store).run("PRAGMA wal_checkpoint(TRUNCATE)");
      return true;
    });
  }

  static inline const std::vector<std::string> kContents = {
      "SELECT * FROM PRODUCT ORDER BY PRODUCTID", "SELECT * FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID",
      "SELECT * FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO"};

  const TemporaryFolder folder_;
  Figures& figures_;
  const std::size_t records_;
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 'o', [](const Arguments& arguments, Figures& figures) {
    for (const std::size_t records : arguments.sizes_or({20'000})) {
      JournalBench bench(figures, records);
      for (const Case& one : kCases)
        if (arguments.own.empty() || arguments.own == one.name) bench.run(one);
    }
  });
}
