// SPDX-License-Identifier: Apache-2.0
// The headers of the tables that an export writes, and the mapping by which an import takes each of them for what it
// is. Pure; any thread.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/formats/mapping.h"
#include "exchange/stored/stored_products.h"

namespace mercato::exchange {

inline constexpr std::string_view kNumberHeader = "BUYFROMPARTNUMBER";
inline constexpr std::string_view kCategoriesHeader = "CATEGORIES";  // for people: an import does not read it
inline constexpr std::string_view kPropertyHeader = "PROPERTY:";     // before a property's name

struct PriceHeader {
  std::string_view name;
  std::string StoredPrice::*stored;
  ColumnReference Mapping::Price::*mapped;
  bool is_number = false;
};
inline constexpr auto kPriceHeaders = std::to_array<PriceHeader>({
    {"PRICE", &StoredPrice::amount, &Mapping::Price::amount, true},
    {"CURRENCYCODE", &StoredPrice::currency, &Mapping::Price::currency},
    {"QUANTITYTO", &StoredPrice::quantity_to, &Mapping::Price::to_quantity, true},
    {"PRICEEFFECTIVEDATE", &StoredPrice::from_day, &Mapping::Price::from_day},
    {"PRICEEXPIRYDATE", &StoredPrice::to_day, &Mapping::Price::to_day},
    {"GROUPBY", &StoredPrice::group, &Mapping::Price::group},
    {"PRICETAXPERCENTAGE", &StoredPrice::tax_percentage, &Mapping::Price::tax_percentage, true},
    {"DISCOUNTPERC", &StoredPrice::discount_percentage, &Mapping::Price::discount_percentage, true},
    {"DISCOUNTAMOUNT", &StoredPrice::discount_amount, &Mapping::Price::discount_amount, true},
    {"FREIGHTCOST", &StoredPrice::freight_cost, &Mapping::Price::freight_cost, true},
});

// Nothing when one of the headers, which may stand in any order, is none of an export's, or when there is no column of
// the suppliers' numbers.
std::optional<Mapping> own_mapping(const std::vector<std::string>& headers);

}  // namespace mercato::exchange
