// SPDX-License-Identifier: Apache-2.0
// A store with a few products, and an object of class Product under the transaction server.
#pragma once

#include <string>
#include <vector>

#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

// What a failure says that was raised without a text.
inline constexpr const char* kNoText = "Application-defined or object-defined error";

class ProductTest : public StoreTest {
 protected:
  // Adds a product with these further columns and values, all as they stand in the statement; its id is the number of
  // products so far.
  void add_product(const std::string& part_number, const std::string& description, const std::string& columns = "",
                   const std::string& values = "") const {
    execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION" + (columns.empty() ? "" : ", " + columns) +
             ") VALUES ('" + part_number + "', '" + description + "'" + (values.empty() ? "" : ", " + values) + ")"});
  }
  // Hangs a product into a category (made when it is new) that stands in a catalogue.
  void offer(int product, int category, int catalog) const {
    while (value_of("SELECT COUNT(*) FROM PRODUCTCATEGORY").to_long() < category)
      execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('category')"});
    execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (" + std::to_string(product) + ", " +
                 std::to_string(category) + ")",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, CATEGORYID) VALUES (" + std::to_string(catalog) +
                 ", 'node', " + std::to_string(category) + ")"});
  }

  Vote vote() const { return product_.context().vote_of_last_call(); }

  Root<Product> product_;
};

}  // namespace mercato::test
