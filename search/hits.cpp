// SPDX-License-Identifier: Apache-2.0
#include "search/hits.h"

#include <algorithm>
#include <utility>

#include "search/id_list.h"

namespace mercato::search {

Products::Products(ConnectionPtr connection, const ProductSearch& search)
    : connection_(std::move(connection)), search_(search), sight_(connection_, search) {}

std::vector<FoundProduct> Products::shown(std::vector<std::int32_t> ids) {
  std::vector<FoundProduct> products;
  for_each_row(
      connection_, sight_.shown(std::move(ids)),
      [&](const Sql& list) {
        Sql sql = Sql("SELECT PRODUCTID, PARTNUMBER, BUYFROMPARTNUMBER, MFRPARTNUMBER, PRODUCTDESCRIPTION, GTIN, "
                      "UNITCODE, BUSINESSPARTNERID, DISABLED FROM PRODUCT WHERE PRODUCTID IN ")
                  << list;
        if (search_.user) sql << " AND DISABLED = 0";
        if (search_.supplier) sql << " AND BUSINESSPARTNERID = " << *search_.supplier;
        return sql;
      },
      [&](const Recordset& row) {
        FoundProduct& product = products.emplace_back();
        product.id = row.Value(0).to_long();
        product.part_number = row.Value(1).text_or_empty();
        product.supplier_part_number = row.Value(2).text_or_empty();
        product.manufacturer_part_number = row.Value(3).text_or_empty();
        product.description = row.Value(4).text_or_empty();
        product.gtin = row.Value(5).text_or_empty();
        product.unit = row.Value(6).text_or_empty();
        if (const Variant& supplier = row.Value(7); !supplier.is_null()) product.supplier = supplier.to_long();
        const Variant& disabled = row.Value(8);
        product.disabled = !disabled.is_null() && disabled.to_long() != 0;
      });
  std::ranges::sort(products, {}, &FoundProduct::id);
  return products;
}

Hits::Hits(Products& products, const LookedFor& looked_for, std::int32_t after)
    : products_(products),
      looked_for_(looked_for),
      candidates_(products.connection(), looked_for.words(), products.search(), after) {}

std::optional<Hit> Hits::next() {
  while (ready_.empty()) {
    std::vector<std::int32_t> ids = candidates_.next(kLongList);
    if (ids.empty()) return std::nullopt;
    for (FoundProduct& product : products_.shown(std::move(ids)))
      if (const std::optional<Standing> standing = looked_for_.standing_of(product)) {
        product.fit = standing->fit;
        ready_.push_back({std::move(product), standing->other_spelling});
      }
  }
  Hit hit = std::move(ready_.front());
  ready_.pop_front();
  return hit;
}

}  // namespace mercato::search
