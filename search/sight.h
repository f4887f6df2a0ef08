// SPDX-License-Identifier: Apache-2.0
// Which products a search may show: where it is to look, and what its user sees (mercato/search.h). What it has learnt
// of categories and rights it keeps, so one object serves one search. One thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "mercato/connection.h"
#include "mercato/search.h"

namespace mercato::search {

class Sight {
 public:
  Sight(ConnectionPtr connection, const ProductSearch& search);

  // Those of the products, in their order, that hang in a category that may be shown.
  std::vector<std::int32_t> shown(std::vector<std::int32_t> products);

 private:
  using Ids = std::vector<std::int32_t>;

  // Whether each of the categories may be shown. None of them is known.
  void learn(Ids categories);
  void learn_rights();

  ConnectionPtr connection_;
  const ProductSearch& search_;
  std::unordered_map<std::int32_t, bool> categories_;
  struct Rights {
    std::set<std::int32_t> active_catalogs;
    std::set<std::int32_t> whole_catalogs;  // that the user has, and that are active
  };
  std::optional<Rights> rights_;  // nothing before they are asked for
};

}  // namespace mercato::search
