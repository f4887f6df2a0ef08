// SPDX-License-Identifier: Apache-2.0
// Which rows a part of an upload can touch, before anybody knows which of them it will. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/journal/row_images.h"

namespace mercato::exchange {

struct Reach {
  enum class Kind : std::uint8_t {
    products,  // of these part numbers: the products and what hangs on them
    prices,    // of these part numbers: the price lines
    codes,     // all UNSPSC codes and commodities
    catalog,   // the catalogue of this id, with its nodes
    groups,    // the nodes of the catalogue of this id, and the categories that they show
  };
  Kind kind = Kind::products;
  std::vector<std::string> keys;
  // Properties with larger ids are the upload's own, when its products have values of them.
  std::int32_t properties_above = 0;
};

struct ReachedRow {
  ImagedRow row;
  std::string record;  // what people know it by
};
// Of all tables together, those of each in no order.
std::vector<ReachedRow> rows_within(store::Session& session, const Reach& reach);
std::int32_t largest_property(store::Session& session);

std::string text_of(const Reach& reach);
Reach reach_of(std::string_view text);

}  // namespace mercato::exchange
