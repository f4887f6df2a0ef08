// SPDX-License-Identifier: Apache-2.0
// The order of what is found, and the part of it that is told.
//
//   ordered     the first kCountedProducts by id that fit, and where there are more of them, those that begin with the
//               text: sorted by how well they fit
//   following   all others, by id; there are none as a rule
#include "mercato/search.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <thread>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "frame/lib_general.h"
#include "mercato/raised_error.h"
#include "search/hits.h"
#include "search/id_list.h"
#include "search/suggestions.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato {
namespace search {
namespace {

// Where a product stands among all that are found.
struct Position {
  bool follows = false;
  Fit fit = Fit::listed;
  bool other_spelling = false;
  std::string part_number;  // folded
  std::int32_t id = 0;

  auto operator<=>(const Position&) const = default;  // NOLINT(modernize-use-nullptr): takes its 0 for a pointer
};

Position position_of(const Hit& hit, bool follows) {
  if (follows) return {true, Fit::listed, false, {}, hit.product.id};
  return {false, hit.product.fit, hit.other_spelling, text::folded(hit.product.part_number), hit.product.id};
}

// As `next` and `after` have it: four numbers and the part number, with dots between them.
std::string text_of(const Position& position) {
  return std::to_string(position.follows) + "." + std::to_string(static_cast<int>(position.fit)) + "." +
         std::to_string(position.other_spelling) + "." + std::to_string(position.id) + "." + position.part_number;
}

[[noreturn]] void refuse(const char* reason) { raise(error_number::kInvalidArgument, "Mercato.Search", reason); }

Position position_from(std::string_view text) {
  std::array<std::int32_t, 4> numbers{};
  for (std::int32_t& number : numbers) {
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (problem != std::errc{} || number < 0 || end == text.data() + text.size() || *end != '.')
      refuse("The place to begin behind is none that an answer told");
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
  }
  return {numbers[0] != 0, static_cast<Fit>(numbers[1]), numbers[2] != 0, std::string(text), numbers[3]};
}

struct PlacedHit {
  Position position;
  Hit hit;
};

class Search {
 public:
  explicit Search(const ProductSearch& search)
      : search_(search),
        looked_for_(search.text),
        products_(open_connection(shared_connection_string()), search),
        after_(search.after.empty() ? std::nullopt : std::optional(position_from(search.after))) {}

  FoundProducts run() {
    FoundProducts found;
    if (looked_for_.is_nothing()) {
      found.total = 0;
      return found;
    }
    Hits hits(products_, looked_for_, begins_among_following() ? after_->id : 0);
    std::optional<Hit> following = order(hits, found);
    if (search_.after.empty() && search_.offset == 0 && is_next_to_nothing(found))
      found.suggestions = suggestions(products_, looked_for_);

    auto ordered = ordered_.begin();
    std::int32_t passed = 0;
    Position last;
    while (std::optional<PlacedHit> next = next_of(ordered, following, hits)) {
      if (passed++ < search_.offset) continue;
      if (found.products.size() == static_cast<std::size_t>(search_.limit)) {
        found.more = true;
        found.next = text_of(last);
        break;
      }
      last = std::move(next->position);
      next->hit.product.places = looked_for_.places_in(next->hit.product);
      found.products.push_back(std::move(next->hit.product));
    }
    return found;
  }

 private:
  bool begins_among_following() const { return after_ && after_->follows; }

  // Fills `ordered_`, and sets the total. Returns the first product that follows, if it was read.
  std::optional<Hit> order(Hits& hits, FoundProducts& found) {
    const bool in_order_of_ids = looked_for_.is_everything();
    std::optional<Hit> following;
    if (!begins_among_following()) {
      while (ordered_.size() < kCountedProducts && (following = hits.next()))
        add(std::move(*following), in_order_of_ids);
      following = ordered_.size() < kCountedProducts ? std::nullopt : hits.next();
    }
    const bool has_all = !begins_among_following() && !following;
    if (!in_order_of_ids) {
      add_by_gtin();
      if (!has_all) add_by_begin();
    }
    if (has_all) found.total = static_cast<std::int32_t>(ordered_.size());
    if (after_) std::erase_if(ordered_, [&](const PlacedHit& placed) { return placed.position <= *after_; });
    // The page, and one more product.
    const std::int64_t wanted = std::int64_t{search_.offset} + search_.limit + 1;
    const auto middle = ordered_.begin() + std::min(wanted, static_cast<std::int64_t>(ordered_.size()));
    std::ranges::partial_sort(ordered_, middle, {}, &PlacedHit::position);
    return following;
  }

  void add(Hit hit, bool follows = false) {
    if (!known_.insert(hit.product.id).second) return;
    Position position = position_of(hit, follows);
    ordered_.push_back({std::move(position), std::move(hit)});
  }

  // The first products of a statement that fit. The text index knows nothing of them, or too many others.
  void add_first(const Sql& sql) {
    constexpr std::size_t kMost = 100;
    // On a connection of its own: others run statements while it is read.
    const RecordsetPtr rows = open_read_only(sql, open_connection(products_.connection()->connection_string()));
    for (std::size_t count = 0; count < kMost && !rows->Eof();) {
      std::vector<std::int32_t> ids;
      for (; ids.size() < kMost && !rows->Eof(); rows->MoveNext()) ids.push_back(rows->Value(0).to_long());
      for (FoundProduct& product : products_.shown(std::move(ids)))
        if (const std::optional<Standing> standing = looked_for_.standing_of(product)) {
          product.fit = standing->fit;
          add({std::move(product), standing->other_spelling});
          ++count;
        }
    }
  }

  void add_by_gtin() {
    Sql sql("SELECT PRODUCTID FROM PRODUCT WHERE GTIN IN (");
    const char* separator = "";
    for (const std::string& gtin : looked_for_.gtins()) {
      sql << clause(separator) << "N'" << value(Gen_QuoteSql(gtin)) << "'";
      separator = ", ";
    }
    add_first(sql << ") ORDER BY PRODUCTID");
  }

  void add_by_begin() {
    const std::string begin = Gen_EscapeLike(looked_for_.text());
    add_first(Sql("SELECT PRODUCTID FROM PRODUCT WHERE PARTNUMBER LIKE N'")
              << value(begin) << "%' ORDER BY PARTNUMBER, PRODUCTID");
    add_first(Sql("SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE N'")
              << value(begin) << "%' ORDER BY BUYFROMPARTNUMBER, PRODUCTID");
  }

  bool is_next_to_nothing(const FoundProducts& found) const {
    return found.total && ordered_.size() <= kFewProducts && !looked_for_.is_everything() &&
           std::ranges::none_of(ordered_,
                                [](const PlacedHit& placed) { return placed.position.fit < Fit::number_holds; });
  }

  std::optional<PlacedHit> next_of(std::vector<PlacedHit>::iterator& ordered, std::optional<Hit>& following,
                                   Hits& hits) {
    if (ordered != ordered_.end()) return std::move(*ordered++);
    for (;;) {
      std::optional<Hit> hit = following ? std::exchange(following, std::nullopt) : hits.next();
      if (!hit) return std::nullopt;
      if (known_.contains(hit->product.id)) continue;
      Position position = position_of(*hit, true);
      return PlacedHit{std::move(position), std::move(*hit)};
    }
  }

  const ProductSearch& search_;
  const LookedFor looked_for_;
  Products products_;
  std::optional<Position> after_;
  std::vector<PlacedHit> ordered_;
  std::unordered_set<std::int32_t> known_;  // the ids of all that were ordered
};

// The time of an answer is one of few, so that it does not tell how much was looked at that is not shown.
void wait_for_next_step(std::chrono::steady_clock::time_point begin) {
  std::chrono::milliseconds step(8);
  while (std::chrono::steady_clock::now() > begin + step) step *= 2;
  std::this_thread::sleep_until(begin + step);
}

}  // namespace
}  // namespace search

FoundProducts find_products(const ProductSearch& search) {
  if (search.limit < 1) search::refuse("A search tells at least one product");
  if (search.offset < 0) search::refuse("A search passes over no fewer than no products");
  const auto begin = std::chrono::steady_clock::now();
  FoundProducts found = search::Search(search).run();
  if (search.user) search::wait_for_next_step(begin);
  return found;
}

}  // namespace mercato
