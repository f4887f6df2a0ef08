// SPDX-License-Identifier: Apache-2.0
#include "search/suggestions.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "search/id_list.h"
#include "values/edit_distance.h"
#include "values/same_text.h"
#include "values/squeezed_text.h"
#include "values/text.h"

namespace mercato::search {
namespace {

constexpr std::size_t kMostSuggestions = 3;
constexpr std::size_t kShortestWord = 4;       // a shorter one is like too many
constexpr std::size_t kLongWord = 6;           // may have two faults
constexpr std::size_t kProductsOfPiece = 256;  // so many are read for their words
constexpr std::size_t kMostMisspelt = 3;

using text::Characters;
using text::characters_of;

// Pieces of a word of which one is whole in it although it is misspelt, the longest ones first.
std::vector<std::string> pieces_of(const Characters& word) {
  constexpr std::size_t kShortest = 3;  // what the index knows
  std::vector<std::string> pieces;
  for (const std::size_t parts : {std::size_t{2}, std::size_t{3}}) {
    const std::size_t length = std::max(kShortest, word.size() / parts);
    for (const std::size_t begin : {std::size_t{0}, word.size() - length, (word.size() - length) / 2}) {
      std::string piece;
      for (std::size_t place = begin; place < begin + length; ++place) piece += word[place];
      if (std::ranges::find(pieces, piece) == pieces.end()) pieces.push_back(std::move(piece));
    }
  }
  return pieces;
}

// Words like one word, as they were met.
class SimilarWords {
 public:
  explicit SimilarWords(const std::string& word)
      : word_(characters_of(word)), most_(word_.size() < kLongWord ? 1 : 2) {}

  void look_at(const FoundProduct& product) {
    for (const std::string_view word : words_of(product.description)) {
      const auto counts = [](char byte) { return !text::is_squeezed_out(byte); };
      const auto begin = std::ranges::find_if(word, counts);
      const auto end = std::find_if(word.rbegin(), word.rend(), counts).base();
      look_at(std::string_view(begin, end));
      // What a sign divides may be meant alone.
      for (auto part = begin; part < end;) {
        const auto part_end = std::find_if_not(part, end, counts);
        if (part != begin || part_end != end) look_at(std::string_view(part, part_end));
        part = std::find_if(part_end, end, counts);
      }
    }
    look_at(product.part_number);
    look_at(product.supplier_part_number);
    look_at(product.manufacturer_part_number);
  }

  // The nearest first, of these the most frequent.
  std::vector<std::string> best() const {
    std::vector<const Met*> sorted;
    for (const auto& [squeezed, met] : met_)
      if (met.distance > 0 && met.distance <= most_) sorted.push_back(&met);
    std::ranges::stable_sort(sorted, [](const Met* left, const Met* right) {
      return std::tuple(left->distance, right->times) < std::tuple(right->distance, left->times);
    });
    if (sorted.size() > kMostSuggestions) sorted.resize(kMostSuggestions);
    std::vector<std::string> words;
    for (const Met* met : sorted) words.push_back(met->spelling);
    return words;
  }

 private:
  struct Met {
    std::string spelling;
    std::size_t distance;
    std::size_t times;
  };

  void look_at(std::string_view spelling) {
    const std::string word = text::squeezed(text::folded(spelling));
    const std::size_t length = text::length(word);
    if (length + most_ < word_.size() || length > word_.size() + most_) return;  // most words are
    const auto [met, is_new] = met_.try_emplace(word, Met{std::string(spelling), 0, 0});
    if (is_new) met->second.distance = text::edit_distance(word_, characters_of(word), most_);
    ++met->second.times;
  }

  const Characters word_;
  std::size_t most_;
  std::map<std::string, Met> met_;  // by the squeezed word
};

std::vector<std::string> words_like(const std::string& word, Products& products) {
  SimilarWords similar(word);
  for (std::string& piece : pieces_of(characters_of(word))) {
    Candidates candidates(products.connection(), {std::move(piece)}, products.search());
    for (std::size_t looked_at = 0; looked_at < kProductsOfPiece;) {
      std::vector<std::int32_t> ids = candidates.next(kLongList);
      if (ids.empty()) break;
      const std::vector<FoundProduct> shown = products.shown(std::move(ids));
      for (const FoundProduct& product : shown) similar.look_at(product);
      looked_at += shown.size();
    }
    if (std::vector<std::string> best = similar.best(); !best.empty()) return best;
  }
  return {};
}

bool finds_more_than(std::size_t few, std::string_view text, Products& products) {
  const LookedFor looked_for(text);
  Hits hits(products, looked_for);
  for (std::size_t count = 0; count <= few; ++count)
    if (!hits.next()) return false;
  return true;
}

}  // namespace

std::vector<std::string> suggestions(Products& products, const LookedFor& looked_for) {
  struct Replacement {
    std::string_view word;
    std::vector<std::string> likes;
  };
  std::vector<Replacement> words;
  std::size_t misspelt = 0;
  for (const std::string_view word : words_of(looked_for.text())) {
    words.push_back({word, {}});
    const std::string squeezed = text::squeezed(text::folded(word));
    if (text::length(squeezed) < kShortestWord || finds_more_than(kFewProducts, word, products)) continue;
    words.back().likes = words_like(squeezed, products);
    if (words.back().likes.empty() || ++misspelt > kMostMisspelt) return {};
  }
  if (misspelt == 0) return {};

  std::vector<std::string> texts;
  for (std::size_t rank = 0; rank < (misspelt == 1 ? kMostSuggestions : 1); ++rank) {
    std::string text;
    bool has_rank = true;
    for (const auto& [word, likes] : words) {
      if (!text.empty()) text += ' ';
      has_rank = has_rank && (likes.empty() || rank < likes.size());
      text += likes.empty() ? std::string(word) : likes[std::min(rank, likes.size() - 1)];
    }
    if (has_rank && finds_more_than(0, text, products)) texts.push_back(std::move(text));
  }
  return texts;
}

}  // namespace mercato::search
