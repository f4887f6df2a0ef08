// SPDX-License-Identifier: Apache-2.0
// No text that a caller passes makes a writing call touch anything but the row that the call names.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/product/product_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

using Rows = std::vector<std::vector<Variant>>;
using Tables = std::map<std::string, Rows>;

// A call that takes a text, and what of the store it names.
struct WritingCall {
  std::string method;
  std::function<std::vector<Variant>(const std::string&)> arguments;
  std::string table;  // the one table that it may change; "" for none
  // The changed row's column, and the id that tells the row from the others; "" for a deletion.
  std::string column;
  std::string row;
  // What the column may hold afterwards.
  std::function<std::string(const std::string&)> stored = [](const std::string& text) { return text; };
};

std::string undoubled(const std::string& text) { return text::replace_all(text, "''", "'"); }

std::vector<WritingCall> writing_calls() {
  const auto insert_with = [](const std::string& field) {
    return [field](const std::string& text) {
      std::vector<Variant> fields = {"PARTNUMBER", "PRODUCTDESCRIPTION"};
      std::vector<Variant> values = {"new", "new"};
      fields.emplace_back(field);
      values.emplace_back(text);
      return std::vector<Variant>{Array(fields), Array(values)};
    };
  };
  const auto update_with = [](const std::string& field) {
    return [field](const std::string& text) { return std::vector<Variant>{1, Array{field}, Array{text}}; };
  };
  const auto old_signature = [](std::size_t position, bool with_id) {
    return [position, with_id](const std::string& text) {
      std::vector<Variant> arguments = {"EA", -1, "M", "P", "D", "0", "R", "I", "U"};
      arguments[position] = text;
      if (with_id) arguments.insert(arguments.begin(), 1);
      return arguments;
    };
  };
  const std::string new_row = "PARTNUMBER = 'new'";
  const std::string first = "PRODUCTID = 1";
  std::vector<WritingCall> calls = {
      {"InsertProductPropertyValue",
       [](const std::string& text) {
         return std::vector<Variant>{1, 9, text};
       },
       "PRODUCTPROPVALUE", "VALUE", "PROPERTYID = 9"},
      {"UpdateProductPropertyValue",
       [](const std::string& text) {
         return std::vector<Variant>{1, 1, text};
       },
       "PRODUCTPROPVALUE", "VALUE", "PRODUCTID = 1 AND PROPERTYID = 1", undoubled},
      {"CreateFavorite",
       [](const std::string& text) {
         return std::vector<Variant>{text, 77};
       },
       "FAVORITES", "USERID", "PRODUCTID = 77"},
      {"CreateFavoriteEx",
       [](const std::string& text) {
         return std::vector<Variant>{text, 77, 1, 3};
       },
       "FAVORITES", "USERID", "PRODUCTID = 77"},
      {"DeleteFavorite",
       [](const std::string& text) {
         return std::vector<Variant>{text, 1};
       },
       "", "", ""},
      {"DeleteFavoriteEx",
       [](const std::string& text) {
         return std::vector<Variant>{text, 1, 0, 0};
       },
       "", "", ""},
      {"IReferentialIntegrity_BeforeDelete",
       [](const std::string& text) {
         return std::vector<Variant>{Variant(), Array{"USERID"}, Array{text}};
       },
       "", "", ""},
      {"IReferentialIntegrity_BeforeDelete",
       [](const std::string& text) {
         return std::vector<Variant>{Variant(), Array{text}, Array{"user"}};
       },
       "", "", ""},
      {"InsertMultipleBuyers",
       [](const std::string& text) {
         return std::vector<Variant>{Array{text}, Array{1}};
       },
       "", "", ""},
      {"InsertMultipleBuyers",
       [](const std::string& text) {
         return std::vector<Variant>{Array{"PRODUCTID", "USERID"}, Array{text, "user"}};
       },
       "", "", ""},
      {"InsertMultipleBuyers",
       [](const std::string& text) {
         return std::vector<Variant>{Array{"PRODUCTID", "USERID"}, Array{2, text}};
       },
       "", "", ""},
      {"Insert20",
       [](const std::string& text) {
         return std::vector<Variant>{Array{text}, Array{"x"}};
       },
       "", "", ""},
      {"Update20",
       [](const std::string& text) {
         return std::vector<Variant>{1, Array{text}, Array{"x"}};
       },
       "", "", ""},
  };
  for (const char* field : {"UNITCODE", "MANUFACTURERID", "PRODUCTREMARK", "PRODUCTXML", "BUYFROMPARTNUMBER",
                            "BUYFROMCONTACTEMAIL", "COMMODITYCODE", "CLASSIFICATION", "UNSPSCCODE"}) {
    calls.push_back({"Insert20", insert_with(field), "PRODUCT", field, new_row});
    calls.push_back({"Update20", update_with(field), "PRODUCT", field, first});
  }
  // Columns that take no such text, or refer to somebody who does not exist.
  for (const char* field : {"USERID", "NUMBER", "PROPERTYGROUPID", "LOTSIZE", "PRODUCTEXPIRYDATE", "MULTIPLEBUYER"}) {
    calls.push_back({"Insert20", insert_with(field), "", "", ""});
    calls.push_back({"Update20", update_with(field), "", "", ""});
  }
  for (std::size_t position = 0; position < 9; ++position) {
    calls.push_back({"Insert", old_signature(position, false), "", "", ""});
    calls.push_back({"Update", old_signature(position, true), "", "", ""});
  }
  return calls;
}

class ProductHostileWriting : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    add_product("P-1", "first", "USERID, MULTIPLEBUYER", "'user', 1");
    add_product("P-2", "second", "MULTIPLEBUYER", "1");
    offer(1, 1, 5);
    execute({"INSERT INTO USERS (USERID) VALUES ('user')",
             "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'user')",
             "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, 'one')",
             "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, 'two')",
             "INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('user', 1, 0, 1)",
             "INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('C1', 'user')"});
  }

  // The rows of the call's table that the call does not name.
  Rows others_of(const WritingCall& call) const {
    return call.table.empty() ? Rows{} : rows("SELECT * FROM " + call.table + " WHERE NOT (" + call.row + ")");
  }
  // All tables but that one.
  static Tables beside(const WritingCall& call, Tables tables) {
    tables.erase(call.table);
    return tables;
  }
  Rows rows_named_by(const WritingCall& call) const {
    return call.table.empty() ? Rows{} : rows("SELECT " + call.column + " FROM " + call.table + " WHERE " + call.row);
  }
  bool succeeds(const WritingCall& call, const std::string& text) const {
    const Root<Product> fresh;
    std::vector<Variant> arguments = call.arguments(text);
    try {
      invoke(fresh.object(), call.method, arguments);
      return true;
    } catch (const Raised&) {
      return false;
    }
  }
};

TEST_F(ProductHostileWriting, ChangesTheNamedRowToExactlyThisTextOrNothing) {
  for (const WritingCall& call : writing_calls()) {
    const bool adds_a_row = rows_named_by(call).empty();
    const Rows others = others_of(call);
    Tables before = all_rows();
    int written = 0;
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(call.method + " " + call.column + " " + text.substr(0, 40));
      const bool succeeded = succeeds(call, text);
      Tables after = all_rows();
      if (!succeeded || call.table.empty()) {
        ASSERT_EQ(after, before);
        continue;
      }
      ASSERT_EQ(beside(call, after), beside(call, before));
      ASSERT_EQ(others_of(call), others);
      const Rows named = rows_named_by(call);
      if (named.empty()) {
        // A value that is rejected stops an insert quietly.
        ASSERT_EQ(call.method, "Insert20");
        continue;
      }
      ASSERT_EQ(named.size(), 1u);
      const std::string stored = named[0][0].is_null() ? "" : named[0][0].to_text();
      ASSERT_TRUE(stored == call.stored(text)) << stored.substr(0, 40);
      ++written;
      if (adds_a_row)
        execute({"DELETE FROM " + call.table + " WHERE " + call.row});
      else
        before = std::move(after);
    }
    EXPECT_TRUE(call.table.empty() || written > 5) << call.method << " " << call.column;
  }
}

}  // namespace
}  // namespace mercato::test
