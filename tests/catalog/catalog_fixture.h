// SPDX-License-Identifier: Apache-2.0
// A store, and objects of both catalogue classes under the transaction server.
#pragma once

#include <string>
#include <vector>

#include "mercato/catalog.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/settings.h"
#include "mercato/t_catalog.h"
#include "tests/support/failure_trail.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

using Rows = std::vector<std::vector<Variant>>;

class CatalogTest : public StoreTest {
 protected:
  // Ids are given out from 1. The code is written as in a statement.
  void add_category(const std::string& name, const std::string& code = "NULL") const {
    execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('" + name + "', " + code + ")"});
  }
  void add_product(const std::string& code) const {
    execute(
        {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('P', 'product', '" + code + "')"});
  }
  void link(int product, int category, int sequence) const {
    execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (" + std::to_string(product) +
             ", " + std::to_string(category) + ", " + std::to_string(sequence) + ")"});
  }
  Rows categories() const { return rows("SELECT * FROM PRODUCTCATEGORY ORDER BY CATEGORYID"); }
  Rows links() const { return rows("SELECT * FROM PRODUCTSBYCATEGORY ORDER BY CATEGORYID, PRODUCTID"); }

  static void implement_unspsc(const Variant& setting) {
    collaborators::Settings settings = *collaborators::settings();
    settings.parameters["COMMONPARAMETERS"]["UNSPSCIMPLEMENTED"] = setting;
    collaborators::set_settings(settings);
  }

  Vote read_vote() const { return catalog_.context().vote_of_last_call(); }
  Vote vote() const { return t_catalog_.context().vote_of_last_call(); }
  Outcome outcome() const { return t_catalog_.context().outcome_of_last_call(); }

  Root<Catalog> catalog_;
  Root<TCatalog> t_catalog_;
};

}  // namespace mercato::test
