// SPDX-License-Identifier: Apache-2.0
// A store with products, categories, catalogues and rights, each by one line; and what a search finds in it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mercato/search.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

using Numbers = std::vector<std::string>;

class SearchTest : public StoreTest {
 protected:
  // Further columns and their values as they stand in the statement. Returns the id.
  std::int32_t add_product(const std::string& part_number, const std::string& description,
                           const std::string& columns = "", const std::string& values = "") {
    execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION" + (columns.empty() ? "" : ", " + columns) +
             ") VALUES (N'" + part_number + "', N'" + description + "'" + (values.empty() ? "" : ", " + values) + ")"});
    return ++products_;
  }
  // A catalogue, or a node of a catalogue; the ids count from 1. A node shows its category, a new one.
  std::int32_t add_catalog(bool active = true) {
    execute({"INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES (N'catalogue', " + std::to_string(int{active}) + ")"});
    return ++catalogs_;
  }
  struct Node {
    std::int32_t id;
    std::int32_t category;
  };
  Node add_node(std::int32_t catalog, int type = 1) {
    execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES (N'category')"});
    ++nodes_;
    execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (" + std::to_string(catalog) +
             ", N'node', " + std::to_string(type) + ", " + std::to_string(nodes_) + ")"});
    return {nodes_, nodes_};
  }
  void hang(std::int32_t product, const Node& node) {
    execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (" + std::to_string(product) + ", " +
             std::to_string(node.category) + ")"});
  }
  void give_catalog(const std::string& user, std::int32_t catalog, int view_only = 0, int is_profile = 0) {
    execute({"INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, LEVEL, VIEWONLY) VALUES (N'" + user + "', " +
             std::to_string(is_profile) + ", " + std::to_string(catalog) + ", 0, " + std::to_string(view_only) + ")"});
  }
  void lay_out(const std::string& user, std::int32_t catalog, const Node& node) {
    execute({"INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES (N'" + user + "', " + std::to_string(catalog) +
             ", " + std::to_string(node.id) + ")"});
  }
  // From now on everything is found by reading.
  void drop_text_index() { execute({"DROP FULLTEXT INDEX ON PRODUCT"}); }

  static FoundProducts find(const std::string& text, const std::optional<std::string>& user = std::nullopt) {
    ProductSearch search;
    search.text = text;
    search.user = user;
    return find_products(search);
  }
  // The part numbers of what is found, in order.
  static Numbers found(const std::string& text, const std::optional<std::string>& user = std::nullopt) {
    return numbers_of(find(text, user));
  }
  static Numbers numbers_of(const FoundProducts& found) {
    Numbers numbers;
    for (const FoundProduct& product : found.products) numbers.push_back(product.part_number);
    return numbers;
  }

 private:
  std::int32_t products_ = 0, catalogs_ = 0, nodes_ = 0;
};

}  // namespace mercato::test
