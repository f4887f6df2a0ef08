// SPDX-License-Identifier: Apache-2.0
// find_bench [-f FIGURES] [-s STORE]
//
// What the search for products costs among a million: 1,000 terms out of the products' own texts, for somebody who sees
// all, for a user who has the whole catalogue, and for one for whom a tenth of its nodes is laid out. STORE is a
// file, or a connection string with a database; it is made when it is not there, and kept.
#include <algorithm>
#include <cctype>
#include <chrono>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/support/any_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/cost.h"
#include "bench/support/million_products.h"
#include "bench/support/program.h"
#include "frame/lib_sql.h"
#include "mercato/search.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {
namespace {

constexpr std::size_t kTerms = 1'000;
constexpr std::int32_t kPage = 20;
constexpr std::int32_t kTenth = 10;  // of the nodes one is laid out
const std::string kEverywhere = "EVERYWHERE", kInATenth = "IN A TENTH";

// Rights on the catalogue of all products. A store that is kept may have them.
void give_rights() {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  for (const std::string& statement :
       {"DELETE FROM CATALOGNODEBYUSER WHERE USERID = '" + kEverywhere + "'",
        "DELETE FROM USERNODE WHERE USERID = '" + kInATenth + "'",
        "INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, LEVEL, VIEWONLY) VALUES ('" + kEverywhere +
            "', 0, 1, 0, 0)",
        "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) SELECT '" + kInATenth +
            "', 1, NODEID FROM CATALOGNODE WHERE NODEID <= " + std::to_string(kCategoriesOfMillion / kTenth)})
    connection->Execute(Sql::verbatim(statement));
}

bool is_plain(const std::string& text) {
  return std::ranges::all_of(text, [](char byte) { return std::isalnum(static_cast<unsigned char>(byte)); });
}

// A sixth each: whole numbers, parts of numbers, words, parts of words, two words, numbers and words that are misspelt.
// Each has three letters or digits in a row.
std::vector<std::string> make_terms(const MillionProducts& products) {
  std::mt19937 random(20260701);
  const auto below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
  constexpr std::size_t kShortest = 3;
  const auto part_of = [&](const std::string& text) {
    const std::size_t length = std::min(text.size(), kShortest + below(5));
    return text.substr(below(text.size() - length + 1), length);
  };
  std::vector<std::string> terms;
  while (terms.size() < kTerms) {
    const MillionProducts::Product product = products.product(static_cast<std::int32_t>(1 + below(kMillion)));
    std::string number = product.part_number;
    std::erase_if(number, [](char byte) { return byte == '-' || byte == '.' || byte == '/'; });
    std::vector<std::string> words;
    std::istringstream description(product.description);
    for (std::string word; description >> word;)
      if (word.size() >= kShortest && is_plain(word)) words.push_back(word);
    if (words.empty() || number.size() < kShortest || !is_plain(number)) continue;
    const auto any_word = [&] { return words[below(words.size())]; };
    switch (terms.size() % 6) {
      case 0:
        terms.push_back(product.part_number);
        break;
      case 1:
        terms.push_back(part_of(number));
        break;
      case 2:
        terms.push_back(any_word());
        break;
      case 3:
        terms.push_back(part_of(any_word()));
        break;
      case 4:
        terms.push_back(any_word() + " " + any_word());
        break;
      default:
        terms.push_back(below(2) == 0 ? number : any_word());
        terms.back()[below(terms.back().size())] = 'q';
    }
  }
  return terms;
}

struct Times {
  double median_ms = 0, p99_ms = 0, worst_ms = 0;
  double processor_median_ms = 0, processor_p99_ms = 0, processor_worst_ms = 0;
  double added_bytes = 0;  // to the peak of memory
  double found = 0;        // terms with hits
};

Times measure(AnyStore& store, const std::optional<std::string>& user, const std::vector<std::string>& terms) {
  std::vector<double> clock, processor;
  Times times;
  ProductSearch search;
  search.user = user;
  search.limit = kPage;
  for (const bool warm : {false, true})
    for (const std::string& term : terms) {
      search.text = term;
      const double processor_begin = store.seconds();
      const auto begin = std::chrono::steady_clock::now();
      const FoundProducts found = find_products(search);
      const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
      if (!warm) {
        if (times.added_bytes == 0) times.added_bytes = -memory_bytes("VmHWM");
        continue;
      }
      processor.push_back(1e3 * (store.seconds() - processor_begin));
      clock.push_back(passed.count());
      if (!found.products.empty()) ++times.found;
    }
  const auto at = [&](std::vector<double>& sorted, double share) {
    std::ranges::sort(sorted);
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
  };
  times.median_ms = at(clock, 0.5);
  times.p99_ms = at(clock, 0.99);
  times.worst_ms = at(clock, 1);
  times.processor_median_ms = at(processor, 0.5);
  times.processor_p99_ms = at(processor, 0.99);
  times.processor_worst_ms = at(processor, 1);
  times.added_bytes += memory_bytes("VmHWM");
  return times;
}

void run(const Arguments& arguments, Figures& figures) {
  const TemporaryFolder folder;
  AnyStore store(arguments.own.empty() ? (folder.path() / "store.db").string() : arguments.own);
  const MillionProducts products;
  if (!store.exists())
    in_child_process([&] {
      store.make_empty();
      return products.fill(store), true;
    });
  use_store(store.connection_string(), folder.path());
  give_rights();
  store::close_idle_sessions();
  const std::vector<std::string> terms = make_terms(products);

  const auto compare = [&](const std::string& who, const std::optional<std::string>& user) {
    const Times times = in_child_process([&] { return measure(store, user, terms); });
    const std::string name = "find, a million products, " + who;
    figures.add(name + ", median", times.median_ms, "ms");
    figures.add(name + ", p99", times.p99_ms, "ms", at_most(10));
    figures.add(name + ", worst", times.worst_ms, "ms");
    figures.add(name + ", processor time, median", times.processor_median_ms, "ms");
    figures.add(name + ", processor time, p99", times.processor_p99_ms, "ms");
    figures.add(name + ", processor time, worst", times.processor_worst_ms, "ms");
    figures.add(name + ", added to the peak of memory", times.added_bytes / (1 << 20), "MB", at_most(64));
    figures.add(name + ", terms with hits", times.found, "");
  };
  compare("no user", std::nullopt);
  compare("a user with all of them", kEverywhere);
  compare("a user with a tenth", kInATenth);
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) { return mercato::bench::run_program(argc, argv, 's', mercato::bench::run); }
