// SPDX-License-Identifier: Apache-2.0
// A house with two catalogues, their trees, a few products and users; and work in one transaction.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/store/unit_of_work.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

using Ids = std::vector<std::int32_t>;
using Table = std::vector<std::vector<Variant>>;

class KeepingTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    // Catalogue 1 House: Office (1) > Paper (2) > Copies (3), Garden (4). Catalogue 2 Next: Office (5).
    // Category 1 is shown by nodes 2 and 5, category 2 by node 4. Products 1 to 3: in 1, in 1 and 2, in 2.
    execute({"INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES (N'House', 1)",
             "INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES (N'Next', 0)",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES (N'Paper')",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES (N'Tools')",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE) VALUES (1, N'Office', 1, 0)",
             "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) VALUES "
             "(1, 1, N'Paper', 1, 1, 1)",
             "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE) VALUES "
             "(1, 2, N'Copies', 1, 0)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) VALUES "
             "(1, N'Garden', 2, 1, 2)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) VALUES "
             "(2, N'Office', 1, 1, 1)",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES (N'ACME')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUSINESSPARTNERID, UNSPSCCODE) VALUES "
             "(N'P-1', N'Paper', 1, N'14111507')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES (N'P-2', N'Card', N'14111500')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUSINESSPARTNERID) VALUES (N'T-3', N'Spade', 1)",
             "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 1, 1), (2, 1, 7), (2, 2, 1), "
             "(3, 2, 2)",
             "INSERT INTO USERS (USERID, ISACTIVE) VALUES (N'ann', 1), (N'bob', 1)"});
  }
  // All rows of a query; numbers of 16 bits as whole numbers like others.
  Table plain_rows(const std::string& query) const {
    Table table = rows(query);
    for (std::vector<Variant>& row : table)
      for (Variant& cell : row)
        if (cell.type() == Variant::Type::short_integer) cell = cell.to_long();
    return table;
  }
  // Keeps what the work has written.
  template <class Work>
  static auto kept(Work work) {
    store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
    std::optional<store::UnitOfWork::Current> current;
    current.emplace(&unit);
    auto result = work();
    current.reset();
    unit.commit();
    return result;
  }
  // What the refused work says; nothing of it is kept.
  template <class Work>
  std::string refusal_of(Work work) const {
    const auto before = all_rows();
    const RaisedError error = raised_by([&] { kept([&] { return work(), 0; }); });
    EXPECT_EQ(error.Number, error_number::kInvalidArgument) << error.Description;
    EXPECT_EQ(all_rows(), before);
    return error.Description;
  }
};

}  // namespace mercato::test
