// SPDX-License-Identifier: Apache-2.0
// search_bench [-f FIGURES] [-s STORE] [TERMS]
//
// Searches for 1,000 terms, or so many, among a million products, next to reading the table; what the text index costs an upload, how
// large it is and how long it takes to build. STORE is made when it is not there, and kept.
#include <time.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <optional>
#include <random>
#include <stdexcept>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/component_files.h"
#include "bench/support/cost.h"
#include "bench/support/data_folder.h"
#include "bench/support/measured_upload.h"
#include "bench/support/million_products.h"
#include "bench/support/product_converter.h"
#include "bench/support/program.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "values/same_text.h"
#include "values/squeezed_text.h"
#include "values/text.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;

double seconds_of_thread() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
double cost_of(Work work) {
  const double before = seconds_of_thread();
  work();
  return seconds_of_thread() - before;
}

double by_clock(const std::function<void()>& work) {
  const auto before = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
}

void execute(store::Session& session, const std::string& statement) { session.execute(Sql::verbatim(statement)); }

// Pieces of the numbers and descriptions in the store, and a few that are in none.
std::vector<std::string> random_terms(const fs::path& path, std::size_t count) {
  BareStore store(path);
  const BareStatement product =
      store.prepare("SELECT PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = ?1");
  std::mt19937 numbers(20260721);
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(numbers() % limit); };
  std::vector<std::string> terms;
  while (terms.size() < count) {
    sqlite3_bind_int(product.get(), 1, static_cast<int>(1 + below(kMillion)));
    if (sqlite3_step(product.get()) != SQLITE_ROW) store.fail("reading a product");
    // Half of them out of a description.
    const int column = static_cast<int>(std::min<std::size_t>(below(4), 2));
    const auto* const bytes = reinterpret_cast<const char*>(sqlite3_column_text(product.get(), column));
    const std::string text = bytes ? bytes : "";
    sqlite3_reset(product.get());
    const std::size_t longest = 3 + below(12), length = text::length(text);
    if (length < 3) continue;
    const std::string_view rest = std::string_view(text).substr(text::left(text, below(length - 2)).size());
    std::string term(text::left(rest, longest));
    if (below(20) == 0) std::ranges::reverse(term);
    // Others are answered by reading.
    if (text::Trigrams(text::folded(term)).next().empty()) continue;
    if (!text::is_valid(term) || term.find_first_of("'%_[]!") != std::string::npos) continue;
    terms.push_back(std::move(term));
  }
  return terms;
}

class SearchBench {
 public:
  SearchBench(fs::path store, std::size_t terms, Figures& figures)
      : store_(std::move(store)), terms_(terms), figures_(figures) {}

  void run() {
    if (!fs::exists(store_)) in_child_process([&] { return MillionProducts().fill(store_), true; });
    build();
    in_child_process([&] { return search(), true; });
    upkeep();
  }

 private:
  void build() {
    struct Built {
      double seconds;
      double cpu_seconds;
    };
    const Built built = in_child_process([&] {
      const auto session = store::driver_for(connection_string(store_)).open(connection_string(store_));
      if (session->table("PRODUCT")->has_text_index()) execute(*session, MillionProducts::kIndexDrop);
      Built cost{};
      const double before = cpu_seconds();
      cost.seconds = by_clock([&] { execute(*session, MillionProducts::kIndexDefinition); });
      cost.cpu_seconds = cpu_seconds() - before;
      return cost;
    });
    figures_.add("a million products: text index built", built.seconds, "s", at_most(60));
    figures_.add("a million products: text index built, processor time", built.cpu_seconds, "s");
    const auto number = [&](const char* query) {
      BareStore bare(store_);
      const BareStatement statement = bare.prepare(query);
      if (sqlite3_step(statement.get()) != SQLITE_ROW) bare.fail("reading a number");
      return sqlite3_column_double(statement.get(), 0);
    };
    const double texts = number(
        "SELECT sum(length(CAST(PARTNUMBER AS BLOB)) + length(CAST(PRODUCTDESCRIPTION AS BLOB)) + "
        "ifnull(length(CAST(BUYFROMPARTNUMBER AS BLOB)), 0) + ifnull(length(CAST(MFRPARTNUMBER AS BLOB)), 0)) FROM "
        "PRODUCT");
    const double index = number("SELECT sum(length(block)) FROM \"text index of PRODUCT_data\"");
    figures_.add("a million products: text index : texts", index / texts, "x", at_most(1.5));
  }

  void search() {
    use_store(store_, fs::temp_directory_path());
    const Root<Product> product;
    const std::vector<std::string> terms = random_terms(store_, terms_);
    for (std::size_t i = 0; i < std::min<std::size_t>(terms.size(), 20); ++i) look_for(product, terms[i]);  // warm
    const double memory = memory_bytes("VmRSS");
    std::vector<Found> found;
    for (const std::string& term : terms) found.push_back(look_for(product, term));
    figures_.add("search: memory beyond what the process had", (memory_bytes("VmHWM") - memory) / 1e6, "MB",
                 at_most(64));
    report("search, at most 1,000 hits: ", found, true);
    report("search, all terms: ", found, false);
    compare_with_reading(product, terms, found);
    store::close_idle_sessions();
  }

  struct Found {
    std::int32_t hits = 0;  // in the catalogue
    double count = 0;       // seconds
    double first = 0;
  };

  static Found look_for(const Root<Product>& product, const std::string& term) {
    Found found;
    found.count = cost_of([&] { found.hits = product->countProductIDsFromPartNum(term, "-1"); });
    found.first = cost_of([&] { product->getProductIDFromPartNum(term, "-1"); });
    return found;
  }

  void report(const std::string& label, std::vector<Found> found, bool only_few_hits) {
    if (only_few_hits) std::erase_if(found, [](const Found& each) { return each.hits > 1'000; });
    figures_.add(label + "terms", static_cast<double>(found.size()), "");
    for (const auto& kind : {std::pair{"count", &Found::count}, std::pair{"first", &Found::first}}) {
      const std::string name = kind.first;
      const auto figure = kind.second;
      std::ranges::sort(found, {}, figure);
      const auto at = [&](double share) {
        return 1e3 * found[static_cast<std::size_t>(share * static_cast<double>(found.size() - 1))].*figure;
      };
      figures_.add(label + name + ", median", at(0.5), "ms");
      figures_.add(label + name + ", 99 of 100", at(0.99), "ms",
                   only_few_hits ? std::optional(at_most(5)) : std::nullopt);
      figures_.add(label + name + ", worst", at(1), "ms");
    }
  }

  // The terms with the most hits are those that an index could make slower.
  void compare_with_reading(const Root<Product>& product, const std::vector<std::string>& terms,
                            const std::vector<Found>& found) {
    const std::size_t compared = std::min<std::size_t>(terms.size(), 20);
    std::vector<std::size_t> places(terms.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    std::ranges::sort(places, std::greater<>(), [&](std::size_t place) { return found[place].hits; });
    double worst = 0, reading = 0;
    for (std::size_t i = 0; i < compared; ++i) {
      const std::string& term = terms[places[i]];
      const double read = std::min(read_count(term), read_count(term));
      const double searched = std::min(look_for(product, term).count, look_for(product, term).count);
      worst = std::max(worst, searched / read);
      reading += read;
    }
    figures_.add("search, most hits: count : by reading, worst", worst, "x", at_most(1.1));
    figures_.add("search, most hits: count by reading, mean", 1e3 * reading / static_cast<double>(compared), "ms");
  }

  // The statement of the count as the engine reads it without a text index.
  double read_count(const std::string& term) {
    if (!bare_) bare_.emplace(store_);
    const BareStatement statement = bare_->prepare(
        "SELECT count(DISTINCT PRODUCTSBYCATEGORY.PRODUCTID) FROM PRODUCTSBYCATEGORY "
        "INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
        "INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
        "INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
        "WHERE (mercato_like(?1, PRODUCTDESCRIPTION) OR mercato_like(?1, PARTNUMBER) OR "
        "mercato_like(?1, BUYFROMPARTNUMBER)) AND DISABLED = 0");
    const std::string pattern = "%" + term + "%";
    sqlite3_bind_text(statement.get(), 1, pattern.data(), static_cast<int>(pattern.size()), SQLITE_STATIC);
    return cost_of([&] {
      if (sqlite3_step(statement.get()) != SQLITE_ROW) bare_->fail("counting");
    });
  }

  // The same upload into stores with and without text indexes, in turn.
  void upkeep() {
    constexpr std::size_t kRecords = 20'000;
    constexpr std::size_t kRounds = 5;
    const TemporaryFolder folder;
    const fs::path document = folder.path() / "document.xml", store = folder.path() / "store.db",
                   web_root = folder.path() / "web";
    const std::vector<std::string> part_numbers = [&] {
      std::ofstream out(document);
      return components_to_products(components_file(), kRecords, out).part_numbers;
    }();
    struct Upload {
      double seconds;
      double cpu_seconds;
    };
    const auto upload = [&](bool with_index) {
      for (const char* const end : {"", "-wal", "-shm", "-owner"}) fs::remove(store.string() + end);
      fs::remove_all(web_root);
      fs::create_directories(web_root);
      return in_child_process([&] {
        create_store(store);
        if (!with_index) {
          const auto session = store::driver_for(connection_string(store)).open(connection_string(store));
          for (const char* const table : {"PRODUCT", "PROPERTY"})
            execute(*session, std::string("DROP FULLTEXT INDEX ON ") + table);
        }
        use_store(store, web_root);
        Upload cost{};
        const double before = cpu_seconds();
        cost.seconds = by_clock([&] {
          upload_all(document, web_root, part_numbers);
          store::close_idle_sessions();
        });
        cost.cpu_seconds = cpu_seconds() - before;
        return cost;
      });
    };
    std::vector<Upload> with, without;
    for (std::size_t i = 0; i < kRounds; ++i) {
      without.push_back(upload(false));
      with.push_back(upload(true));
    }
    const std::string label = std::to_string(kRecords) + " records uploaded: ";
    figures_.add(label + "without text index", median(without, &Upload::seconds), "s");
    figures_.add(label + "with : without text index",
                 median(with, &Upload::seconds) / median(without, &Upload::seconds), "x", at_most(1.2));
    figures_.add(label + "with : without text index, processor time",
                 median(with, &Upload::cpu_seconds) / median(without, &Upload::cpu_seconds), "x", at_most(1.2));
  }

  const fs::path store_;
  const std::size_t terms_;
  Figures& figures_;
  std::optional<BareStore> bare_;
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 's', [](const Arguments& arguments, Figures& figures) {
    const TemporaryFolder folder;
    const std::filesystem::path store =
        arguments.own.empty() ? folder.path() / "store.db" : std::filesystem::path(arguments.own);
    SearchBench(store, arguments.sizes_or({1'000}).front(), figures).run();
  });
}
