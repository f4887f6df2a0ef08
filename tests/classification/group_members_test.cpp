// SPDX-License-Identifier: Apache-2.0
#include "classification/group_members.h"

#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using GroupMembers = StoreTest;

TEST_F(GroupMembers, AreListedByTheNamesOfTheirProperties) {
  EXPECT_TRUE(classification::members_of_all_groups(connection_string()).empty());
  execute(
      {"INSERT INTO PROPERTY (PROPERTYNAME) VALUES ('SHEETS')", "INSERT INTO PROPERTY (PROPERTYNAME) VALUES ('COLOUR')",
       "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID, MANDATORY, SHOWINPRODUCTSHEET) VALUES (5, 1, 1, 0)",
       "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID, MANDATORY, SHOWINPRODUCTSHEET) VALUES (6, 2, 0, 1)",
       "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (6, 77)"});
  std::vector<std::vector<Variant>> listed;
  for (const DictionaryPtr& row : classification::members_of_all_groups(connection_string()))
    listed.push_back({row->Item("PROPERTYGROUPID"), row->Item("PROPERTYID"), row->Item("PROPERTYNAME"),
                      row->Item("MANDATORY"), row->Item("SHOWINPRODUCTSHEET")});
  EXPECT_EQ(listed, (std::vector<std::vector<Variant>>{{6, 2, "COLOUR", false, true}, {5, 1, "SHEETS", true, false}}));
}

}  // namespace
}  // namespace mercato::test
