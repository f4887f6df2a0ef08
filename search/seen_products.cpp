// SPDX-License-Identifier: Apache-2.0
#include "search/seen_products.h"

#include "frame/lib_sql.h"
#include "search/hits.h"

namespace mercato {

std::vector<std::int32_t> seen_products(const std::string& user, std::vector<std::int32_t> products,
                                        std::optional<std::int32_t> category) {
  ProductSearch search;
  search.user = user;
  search.category = category;
  search::Products seen(open_connection(shared_connection_string()), search);
  std::vector<std::int32_t> ids;
  for (const FoundProduct& product : seen.shown(std::move(products))) ids.push_back(product.id);
  return ids;
}

}  // namespace mercato
