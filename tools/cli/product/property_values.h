// SPDX-License-Identifier: Apache-2.0
// The property values of a product as `show` and `product properties` print them. Main thread.
#pragma once

#include <cstdint>

#include "mercato/component.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {

// PROPERTYID, PROPERTYNAME, DATATYPE and VALUE of each, by the names of the properties.
Rows property_values(const ComponentPtr& products, std::int32_t product_id);

}  // namespace mercato::cli
