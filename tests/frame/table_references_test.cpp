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
  ASSERT_EQ(found[0].first.size(), 2u);
  EXPECT_EQ(found[0].first[1]->Keys(), (Array{{"NODEID", "CATALOGID"}}));
  EXPECT_EQ(found[0].first[1]->Items(), (Array{{4, 8}}));
  EXPECT_EQ(rows(found[0].query).size(), 2u);
  EXPECT_EQ(found[1].reference.column, "TARGETCODE");
  EXPECT_EQ(found[1].rows, 1);
  ASSERT_EQ(found[1].first.size(), 1u);
  EXPECT_EQ(found[1].first[0]->Keys(), (Array{{"TARGETCODE"}}));
  EXPECT_EQ(found[1].first[0]->Items(), (Array{{"XYZ"}}));
  EXPECT_EQ(found[1].query,
            "SELECT * FROM EXCHANGERATE R WHERE R.TARGETCODE <> '' AND NOT EXISTS (SELECT 1 FROM CURRENCY T WHERE "
            "T.CURRENCYCODE = R.TARGETCODE)");
}

// Each reference by a row of its own, made from the definition of its table.
TEST_F(TableReferences, EachIsFoundBroken) {
  for (const TableReference& reference : table_references()) {
    SCOPED_TRACE(std::string(reference.table) + "." + std::string(reference.column));
    const store::TableInfo table = *store::acquire_session(connection_string())->table(reference.table);
    std::string columns;
    std::string values;
    for (const store::Column& column : table.columns) {
      const bool refers = column.name == reference.column;
      if (column.assigned || (column.nullable && !refers)) continue;
      columns += (columns.empty() ? "\"" : ", \"") + column.name + "\"";
      values += std::string(values.empty() ? "" : ", ") + (column.type == store::ColumnType::date ? "'2031-05-06'"
                                                           : column.type == store::ColumnType::text
                                                               ? (refers ? "'nowhere'" : "'x'")
                                                           : refers ? "4711"
                                                                    : "0");
    }
    execute({"INSERT INTO " + table.name + " (" + columns + ") VALUES (" + values + ")"});
    const std::vector<DanglingRows> found = find_dangling_rows(connection_string());
    const auto own = std::ranges::find_if(found, [&](const DanglingRows& one) {
      return one.reference.table == reference.table && one.reference.column == reference.column;
    });
    if (own == found.end()) {
      ADD_FAILURE() << "was not found";
    } else {
      EXPECT_EQ(own->rows, 1);
      const Variant* lost = own->first.at(0)->find(reference.column);
      ASSERT_NE(lost, nullptr);
      EXPECT_EQ(lost->to_text(), reference.kind == ReferenceKind::text ? "nowhere" : "4711");
      EXPECT_EQ(rows(own->query).size(), 1u);
    }
    execute({"DELETE FROM " + table.name});
  }
}

}  // namespace
}  // namespace mercato::test
