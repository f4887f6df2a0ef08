// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/named_product.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "tools/cli/library.h"

namespace mercato::cli {
namespace {

std::optional<std::int32_t> supplier_of(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return keeping::supplier_named(connection_string(), text);
}

}  // namespace

void add_product(Command& command, ProductName& product) {
  command.add_option("PRODUCT", product.which, kProductHelp)->required()->check(is_no_blank());
  command.add_option("--supplier", product.supplier, kSupplierHelp)->type_name("PARTNER");
}

keeping::NamedProduct find_product(const ProductName& product) {
  return keeping::product_named(connection_string(), product.which, supplier_of(product.supplier));
}

std::int32_t find_product_id(const ProductName& product, bool force) {
  if (force) {
    std::string_view digits = product.which;
    if (digits.starts_with("id:")) digits.remove_prefix(3);
    std::int32_t id = 0;
    const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
    const bool is_id = !digits.empty() && fault == std::errc() && end == digits.data() + digits.size();
    if (is_id && keeping::products_named(connection_string(), product.which, supplier_of(product.supplier)).empty())
      return id;
  }
  return find_product(product).id;
}

std::vector<keeping::NamedProduct> find_products_named(const std::vector<std::string>& names,
                                                       const std::string& supplier) {
  const std::optional<std::int32_t> partner = supplier_of(supplier);
  std::vector<keeping::NamedProduct> products;
  for (const std::string& name : names) products.push_back(keeping::product_named(connection_string(), name, partner));
  return products;
}

}  // namespace mercato::cli
