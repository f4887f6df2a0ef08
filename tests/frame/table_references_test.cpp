// SPDX-License-Identifier: Apache-2.0
#include "frame/table_references.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "mercato/reference_rules.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

class TableReferences : public StoreTest {};

TEST_F(TableReferences, NameTablesAndColumnsThatAreThere) {
  const store::PooledSession session = store::acquire_session(connection_string());
  for (const TableReference& reference : table_references()) {
    for (const auto& [table, column] :
         {std::pair(reference.table, reference.column), std::pair(reference.to_table, reference.to_column)}) {
      const store::TableInfo* info = session->table(table);
      ASSERT_NE(info, nullptr) << table;
      EXPECT_TRUE(info->find(column)) << table << "." << column;
    }
  }
}

TEST_F(TableReferences, HoldWhateverIsCheckedBeforeAWriteOrADelete) {
  for (const collaborators::Reference& rule : collaborators::default_reference_rules().references) {
    if (rule.to_table == "UNSPSCCODES") continue;  // codes may be there before their tree is
    EXPECT_TRUE(std::ranges::any_of(table_references(),
                                    [&](const TableReference& reference) {
                                      return reference.table == rule.from_table &&
                                             reference.column == rule.from_column &&
                                             reference.to_table == rule.to_table &&
                                             reference.to_column == rule.to_column;
                                    }))
        << rule.from_table << "." << rule.from_column;
  }
}

TEST_F(TableReferences, RowsThatLeadNowhereAreCountedWithAnExample) {
  EXPECT_TRUE(find_dangling_rows(connection_string()).empty());
  execute({"INSERT INTO CATALOG (CATALOGNAME) VALUES ('C')"});
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, 'root')"});
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, PARENTNODEID) VALUES (1, 'child', 1)"});
  execute({"INSERT INTO FAVORITES (USERID, FOLDERID) VALUES ('ann', 0)"});
  EXPECT_TRUE(find_dangling_rows(connection_string()).empty());
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, PARENTNODEID) VALUES (7, 'lost', 1)"});
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, PARENTNODEID) VALUES (8, 'lost', 1)"});
  execute({"INSERT INTO EXCHANGERATE (SOURCECODE, TARGETCODE) VALUES ('', 'XYZ')"});
  const std::vector<DanglingRows> found = find_dangling_rows(connection_string());
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].reference.table, "CATALOGNODE");
  EXPECT_EQ(found[0].reference.column, "CATALOGID");
  EXPECT_EQ(found[0].rows, 2);
  EXPECT_EQ(found[0].example, "7");
  EXPECT_EQ(found[1].reference.column, "TARGETCODE");
  EXPECT_EQ(found[1].rows, 1);
  EXPECT_EQ(found[1].example, "XYZ");
}

}  // namespace
}  // namespace mercato::test
