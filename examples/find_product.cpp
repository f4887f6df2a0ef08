// SPDX-License-Identifier: Apache-2.0
// Opens a store and prints one product: a whole program against the installed library.
//
//   find_product STORE SUPPLIER_PART_NUMBER
#include <iostream>

#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/server.h"
#include "mercato/settings.h"

int main(int argument_count, char** arguments) {
  if (argument_count != 3) {
    std::cerr << "usage: find_product STORE SUPPLIER_PART_NUMBER\n";
    return 2;
  }
  try {
    mercato::collaborators::Settings settings;
    settings.connections["Mercato"] = "Provider=SQLite;Data Source=" + std::string(arguments[1]);
    mercato::collaborators::set_settings(settings);
    DllRegisterServer();

    // Each -> is one call in the object's own transaction.
    mercato::Root<mercato::Product> product;
    const std::int32_t id = product->GetProductIDFromSupplierPartNum(arguments[2]);
    if (id == -1) {
      std::cout << "no product has the supplier part number " << arguments[2] << "\n";
      return 1;
    }
    product->GetProductEx(id)->for_each([](const mercato::Variant& key, const mercato::Variant& value) {
      if (!value.is_null()) std::cout << key.to_text() << ": " << value.to_text() << "\n";
    });
    return 0;
  } catch (const mercato::Raised& failure) {
    std::cerr << failure.error().Source << ": " << failure.error().Description << "\n";
    return 1;
  }
}
