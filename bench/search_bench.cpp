// SPDX-License-Identifier: Apache-2.0
// search_bench [-f FIGURES] [-s STORE] [TERMS]
//
// Searches for 1,000 terms, or so many, among a million products, next to reading the table; what the text index costs an upload, how
// large it is and how long it takes to build. STORE is a file, or a connection string with a database; it is made when it
// is not there, and kept.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <optional>
#include <random>
#include <stdexcept>

#include "bench/support/any_store.h"
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

double by_clock(const std::function<void()>& work) {
  const auto before = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
}

void execute(store::Session& session, const std::string& statement) { session.execute(Sql::verbatim(statement)); }

// Pieces of the products' numbers and descriptions, and a few that are in none.
std::vector<std::string> random_terms(const MillionProducts& products, std::size_t count) {
  std::mt19937 numbers(20260721);
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(numbers() % limit); };
  std::vector<std::string> terms;
  while (terms.size() < count) {
    const MillionProducts::Product product = products.product(static_cast<std::int32_t>(1 + below(kMillion)));
    // Half of them out of a description.
    const std::string* const columns[] = {&product.part_number, &product.supplier_number, &product.description};
    const std::string& text = *columns[std::min<std::size_t>(below(4), 2)];
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
  SearchBench(const std::string& store, std::size_t terms, Figures& figures)
      : place_(store), store_(store), terms_(terms), figures_(figures) {}

  void run() {
    if (!store_.exists())
      in_child_process([&] {
        store_.make_empty();
        return products_.fill(store_), true;
      });
    build();
    in_child_process([&] { return search(), true; });
    upkeep();
  }

 private:
  std::unique_ptr<store::Session> open() const {
    return store::driver_for(store_.connection_string()).open(store_.connection_string());
  }

  void build() {
    struct Built {
      double seconds;
      double cpu_seconds;
      double texts;
    };
    const Built built = in_child_process([&] {
      Built cost{};
      const auto session = open();
      if (session->table("PRODUCT")->has_text_index()) execute(*session, MillionProducts::kIndexDrop);
      const double before = store_.seconds();
      cost.seconds = by_clock([&] { execute(*session, MillionProducts::kIndexDefinition); });
      cost.cpu_seconds = store_.seconds() - before;
      for (std::int32_t id = 1; id <= kMillion; ++id) {
        const MillionProducts::Product product = products_.product(id);
        cost.texts += static_cast<double>(2 * product.part_number.size() + product.description.size() +
                                          product.supplier_number.size());
      }
      return cost;
    });
    figures_.add("a million products: text index built", built.seconds, "s", at_most(60));
    figures_.add("a million products: text index built, processor time", built.cpu_seconds, "s");
    figures_.add("a million products: text index : texts", store_.text_index_bytes("PRODUCT") / built.texts, "x",
                 at_most(1.5));
  }

  void search() {
    use_store(store_.connection_string(), fs::temp_directory_path());
    const Root<Product> product;
    const std::vector<std::string> terms = random_terms(products_, terms_);
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

  Found look_for(const Root<Product>& product, const std::string& term) {
    Found found;
    found.count = cost_of([&] { found.hits = product->countProductIDsFromPartNum(term, "-1"); });
    found.first = cost_of([&] { product->getProductIDFromPartNum(term, "-1"); });
    return found;
  }

  template <class Work>
  double cost_of(Work work) {
    const double before = store_.seconds();
    work();
    return store_.seconds() - before;
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
    places.resize(compared);
    std::vector<double> read;
    {
      const auto session = open();
      session->start_transaction();
      execute(*session, MillionProducts::kIndexDrop);
      for (const std::size_t place : places) {
        const auto count = [&] { return read_count(*session, terms[place], found[place].hits); };
        read.push_back(std::min(count(), count()));
      }
      session->rollback();
    }
    double worst = 0;
    for (std::size_t i = 0; i < compared; ++i) {
      const auto count = [&] { return look_for(product, terms[places[i]]).count; };
      worst = std::max(worst, std::min(count(), count()) / read[i]);
    }
    figures_.add("search, most hits: count : by reading, worst", worst, "x", at_most(1.1));
    figures_.add("search, most hits: count by reading, mean",
                 1e3 * std::accumulate(read.begin(), read.end(), 0.0) / static_cast<double>(compared), "ms");
  }

  // What the count of the interface asks.
  double read_count(store::Session& session, const std::string& term, std::int32_t hits) {
    const std::string like = " LIKE '%" + term + "%'";
    std::vector<Variant> row;
    const double cost = cost_of([&] {
      const auto cursor =
          session
              .execute(Sql::verbatim(
                  "SELECT COUNT(DISTINCT PRODUCTSBYCATEGORY.PRODUCTID) FROM PRODUCTSBYCATEGORY "
                  "INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
                  "INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
                  "INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
                  "WHERE (PRODUCTDESCRIPTION" +
                  like + " OR PARTNUMBER" + like + " OR BUYFROMPARTNUMBER" + like + ") AND DISABLED = 0"))
              .cursor;
      if (cursor->next()) cursor->read(row);
    });
    if (row.empty() || row.front().to_double() != hits) throw std::runtime_error("reading finds others for " + term);
    return cost;
  }

  // The same upload into stores with and without text indexes, in turn.
  void upkeep() {
    constexpr std::size_t kRecords = 20'000;
    constexpr std::size_t kRounds = 5;
    const TemporaryFolder folder;
    const fs::path document = folder.path() / "document.xml", web_root = folder.path() / "web";
    AnyStore store(store_.is_on_server() ? place_ + "_upload" : (folder.path() / "store.db").string());
    const std::vector<std::string> part_numbers = [&] {
      std::ofstream out(document);
      return components_to_products(components_file(), kRecords, out).part_numbers;
    }();
    struct Upload {
      double seconds;
      double cpu_seconds;
    };
    const auto upload = [&](bool with_index) {
      fs::remove_all(web_root);
      fs::create_directories(web_root);
      return in_child_process([&] {
        store.make_empty();
        create_store(store.connection_string());
        if (!with_index) {
          const auto session = store::driver_for(store.connection_string()).open(store.connection_string());
          for (const char* const table : {"PRODUCT", "PROPERTY"})
            execute(*session, std::string("DROP FULLTEXT INDEX ON ") + table);
        }
        use_store(store.connection_string(), web_root);
        Upload cost{};
        const double before = store.seconds();
        cost.seconds = by_clock([&] { upload_all(document, web_root, part_numbers); });
        cost.cpu_seconds = store.seconds() - before;
        store::close_idle_sessions();
        return cost;
      });
    };
    std::vector<Upload> with, without;
    for (std::size_t i = 0; i < kRounds; ++i) {
      without.push_back(upload(false));
      with.push_back(upload(true));
    }
    store.remove();
    const std::string label = std::to_string(kRecords) + " records uploaded: ";
    figures_.add(label + "without text index", median(without, &Upload::seconds), "s");
    figures_.add(label + "with : without text index",
                 median(with, &Upload::seconds) / median(without, &Upload::seconds), "x", at_most(1.2));
    figures_.add(label + "with : without text index, processor time",
                 median(with, &Upload::cpu_seconds) / median(without, &Upload::cpu_seconds), "x", at_most(1.2));
  }

  const std::string place_;
  AnyStore store_;
  const MillionProducts products_;
  const std::size_t terms_;
  Figures& figures_;
};

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, 's', [](const Arguments& arguments, Figures& figures) {
    const TemporaryFolder folder;
    const std::string store = arguments.own.empty() ? (folder.path() / "store.db").string() : arguments.own;
    SearchBench(store, arguments.sizes_or({1'000}).front(), figures).run();
  });
}
