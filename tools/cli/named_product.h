// SPDX-License-Identifier: Apache-2.0
// Products as command lines name them: by part number, supplier's number, GTIN or id (keeping/product_resolver.h).
// Main thread.
#pragma once

#include <string>

#include "keeping/product_resolver.h"
#include "tools/cli/commands.h"
#include "tools/cli/menu.h"

namespace mercato::cli {

// Help texts say so of every option that names a product.
inline constexpr const char* kProductHelp =
    "Its part number, supplier's number, GTIN or id; part:, supplier:, gtin: or id: in front says which";
inline constexpr const char* kSupplierHelp = "The supplier whose product it is, by id or BUSINESSID";

// The argument PRODUCT, and --supplier.
void add_product(Command& command, ProductName& product);

// Raises 5, and lists the candidates when there are several.
keeping::NamedProduct find_product(const ProductName& product);
// With `force` also an id that no product has: another system will create it, or it is gone.
std::int32_t find_product_id(const ProductName& product, bool force);
// The same for several names, one supplier for all of them.
std::vector<keeping::NamedProduct> find_products_named(const std::vector<std::string>& names,
                                                       const std::string& supplier);

}  // namespace mercato::cli
