// SPDX-License-Identifier: Apache-2.0
// The price line behind an answer of Product::getCatalogPriceAttributes, for hosts that show it: found by the same
// statement. Casts no vote. Any thread.
#pragma once

#include <cstdint>

#include "mercato/date.h"
#include "mercato/dictionary.h"

namespace mercato::product {

// Every column of the line; null when no line holds. The quantity is above 0. Raises what the store raises.
DictionaryPtr line_that_holds(std::int32_t product_id, Date at, double quantity);

}  // namespace mercato::product
