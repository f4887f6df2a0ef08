// SPDX-License-Identifier: Apache-2.0
// What a driver made of a statement, found again by the statement's shape: the latest used ones. For drivers that
// translate; one whose engine takes the text as it is needs none. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/store/dialect/dialect.h"

namespace mercato::store {

// What a kept statement answers to. A driver adds what it needs to run it.
struct ShapedStatement {
  std::uint64_t hash = 0;
  std::string shape;  // or the whole text, when it holds for these literals only
  bool for_these_literals = false;
  bool identified = false;
  std::uint32_t variant = 0;  // of drivers that have several translations for one shape
};

template <class Statement>
class ShapeCache {
 public:
  using StatementPtr = std::shared_ptr<Statement>;

  // Null when there is none.
  StatementPtr find(const dialect::LexedStatement& lexed, bool identified, std::uint32_t variant = 0) {
    const auto [first, last] = by_hash_.equal_range(lexed.shape_hash);
    for (auto candidate = first; candidate != last; ++candidate) {
      const Use use = candidate->second;
      if ((*use)->variant != variant || !answers(**use, lexed, identified)) continue;
      uses_.splice(uses_.begin(), uses_, use);
      return *use;
    }
    return nullptr;
  }

  // `for_these_literals`: another statement of the shape needs another one.
  void insert(StatementPtr statement, const dialect::LexedStatement& lexed, bool identified, bool for_these_literals,
              std::uint32_t variant = 0) {
    statement->hash = lexed.shape_hash;
    statement->shape = for_these_literals ? std::string(lexed.text) : lexed.shape;
    statement->for_these_literals = for_these_literals;
    statement->identified = identified;
    statement->variant = variant;
    if (uses_.size() == kMost) forget_oldest();
    uses_.push_front(std::move(statement));
    by_hash_.emplace(lexed.shape_hash, uses_.begin());
  }

  void clear() {
    by_hash_.clear();
    uses_.clear();
  }

 private:
  static constexpr std::size_t kMost = 256;
  using Uses = std::list<StatementPtr>;
  using Use = typename Uses::iterator;

  static bool answers(const ShapedStatement& statement, const dialect::LexedStatement& lexed, bool identified) {
    return statement.identified == identified &&
           (statement.for_these_literals ? statement.shape == lexed.text : statement.shape == lexed.shape);
  }

  void forget_oldest() {
    const Use oldest = std::prev(uses_.end());
    const auto [first, last] = by_hash_.equal_range((*oldest)->hash);
    for (auto candidate = first; candidate != last; ++candidate) {
      if (candidate->second != oldest) continue;
      by_hash_.erase(candidate);
      break;
    }
    uses_.erase(oldest);
  }

  Uses uses_;  // the latest first
  std::unordered_multimap<std::uint64_t, Use> by_hash_;
};

}  // namespace mercato::store
