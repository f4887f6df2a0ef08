// SPDX-License-Identifier: Apache-2.0
// Everything that one product is: its record and the rows that hang on it. Reads only, casts no vote, logs nothing. Any
// thread. Every function raises what the store raises.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato::keeping {

struct ProductPage {
  DictionaryPtr record;                     // every column of PRODUCT
  std::vector<DictionaryPtr> properties;    // PROPERTYID, PROPERTYNAME, DATATYPE, VALUE, by name
  std::vector<DictionaryPtr> prices;        // every column of CATALOGPRODUCTPRICE, by day, quantity and group
  std::vector<DictionaryPtr> buyers;        // USERID, USERNAME (Null for one who is not there), by id
  std::vector<DictionaryPtr> categories;    // CATEGORYID, CATEGORYNAME, UNSPSCCODE, by name
  std::vector<DictionaryPtr> alternatives;  // PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, DISABLED, by part number
};

// Nothing when there is no such product.
std::optional<ProductPage> product_page(std::int32_t product);

}  // namespace mercato::keeping
