// SPDX-License-Identifier: Apache-2.0
// The products that fit, read from the store. All that is found goes through here, so nothing is told or counted that
// the search may not show. One object serves one search. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "search/candidates.h"
#include "search/looked_for.h"
#include "search/sight.h"

namespace mercato::search {

// The rows of products that the search may show.
class Products {
 public:
  Products(ConnectionPtr connection, const ProductSearch& search);

  // Those of the products that may be shown, by id.
  std::vector<FoundProduct> shown(std::vector<std::int32_t> ids);
  const ConnectionPtr& connection() const { return connection_; }
  const ProductSearch& search() const { return search_; }

 private:
  ConnectionPtr connection_;
  const ProductSearch& search_;
  Sight sight_;
};

// A product, and how it fits.
struct Hit {
  FoundProduct product;
  bool other_spelling = false;
};

// What fits, by id.
class Hits {
 public:
  Hits(Products& products, const LookedFor& looked_for, std::int32_t after = 0);

  // Nothing at the end.
  std::optional<Hit> next();

 private:
  Products& products_;
  const LookedFor& looked_for_;
  Candidates candidates_;
  std::deque<Hit> ready_;
};

}  // namespace mercato::search
