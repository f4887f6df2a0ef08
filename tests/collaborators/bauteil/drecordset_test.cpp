// SPDX-License-Identifier: Apache-2.0
#include "collaborators/bauteil/drecordset.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "mercato/object_context.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

using Texts = std::vector<std::string>;

class DRecordsetTest : public test::StoreTest {
 protected:
  static constexpr const char* kManufacturers = "SELECT MANUFACTURERID, MANUFACTURERNAME FROM MANUFACTURER";
  static constexpr const char* kCommodities = "SELECT * FROM COMMODITY";

  // M001, M002, ... with the names N001, N002, ...
  void add_manufacturers(int count) { add_manufacturers(1, count); }
  void add_manufacturers(int first, int last) {
    auto connection = open_connection(connection_string());
    for (int number = first; number <= last; ++number) {
      const std::string digits = std::to_string(1000 + number).substr(1);
      connection->Execute(Sql::verbatim("INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('M" +
                                        digits + "', 'N" + digits + "')"));
    }
    connection->Close();
  }
  void add_commodity(const std::string& code, const std::string& description, const std::string& group) {
    execute({"INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION, PROPERTYGROUPID) VALUES ('" + code + "', " +
             description + ", " + group + ")"});
  }
  std::shared_ptr<DRecordset> paged(std::int16_t size) const {
    auto rows = std::make_shared<DRecordset>();
    rows->SetConnectionString(connection_string());
    rows->SetPageSize(size);
    return rows;
  }
  std::shared_ptr<DRecordset> manufacturers(std::int16_t size = 10) const {
    auto rows = paged(size);
    rows->OpenQuery(kManufacturers, "MANUFACTURERID");
    return rows;
  }
  static Texts keys(DRecordset& rows) {
    Texts keys;
    const RecordsetPtr page = rows.PageRows();
    for (const auto& row : page->rows()) keys.push_back(row[0].to_text());
    return keys;
  }
  // All pages, from the current one on.
  static std::vector<Texts> walk(DRecordset& rows) {
    std::vector<Texts> pages{keys(rows)};
    while (rows.NextPage()) pages.push_back(keys(rows));
    return pages;
  }
  Texts sorted_by(const std::string& fields) {
    auto rows = paged(100);
    rows->SetSortFields(fields);
    rows->OpenQuery(kCommodities, "COMMODITYCODE");
    return keys(*rows);
  }
  static RaisedError refusal(const std::string& text) {
    return {error_number::kInvalidArgument, "Bauteil.DRecordset", text, "", 0};
  }
};

TEST_F(DRecordsetTest, PagesAreCountedFromOne) {
  const struct {
    int rows;
    int pages;
    std::vector<std::size_t> sizes;
  } cases[] = {{0, 0, {0}}, {1, 1, {1}}, {10, 1, {10}}, {11, 2, {10, 1}}, {20, 2, {10, 10}}, {21, 3, {10, 10, 1}}};
  int present = 0;
  for (const auto& row : cases) {
    add_manufacturers(present + 1, row.rows);
    present = row.rows;
    auto rows = manufacturers();
    EXPECT_EQ(rows->RowCount(), row.rows);
    EXPECT_EQ(rows->PageCount(), row.pages) << row.rows;
    EXPECT_EQ(rows->PageNumber(), 1) << row.rows;
    std::vector<std::size_t> sizes;
    for (const Texts& page : walk(*rows)) sizes.push_back(page.size());
    EXPECT_EQ(sizes, row.sizes) << row.rows;
  }
}

TEST_F(DRecordsetTest, MovesGoPageByPageAndStopAtBothEnds) {
  add_manufacturers(5);
  auto rows = manufacturers(2);
  EXPECT_FALSE(rows->PreviousPage());
  EXPECT_EQ(keys(*rows), (Texts{"M001", "M002"}));
  EXPECT_TRUE(rows->NextPage());
  EXPECT_EQ(keys(*rows), (Texts{"M003", "M004"}));
  EXPECT_TRUE(rows->NextPage());
  EXPECT_EQ(keys(*rows), (Texts{"M005"}));
  EXPECT_FALSE(rows->NextPage());
  EXPECT_EQ(rows->PageNumber(), 3);
  EXPECT_EQ(keys(*rows), (Texts{"M005"}));
  EXPECT_TRUE(rows->PreviousPage());
  EXPECT_EQ(keys(*rows), (Texts{"M003", "M004"}));
}

TEST_F(DRecordsetTest, ThePageIsADisconnectedRecordset) {
  add_manufacturers(3);
  auto rows = manufacturers(2);
  const RecordsetPtr page = rows->PageRows();
  rows->NextPage();
  EXPECT_EQ(page->ActiveConnection(), nullptr);
  ASSERT_EQ(page->FieldCount(), 2u);
  EXPECT_EQ(page->FieldName(0), "MANUFACTURERID");
  EXPECT_EQ(page->FieldName(1), "MANUFACTURERNAME");
  EXPECT_EQ(page->rows(), (std::vector<std::vector<Variant>>{{"M001", "N001"}, {"M002", "N002"}}));
}

TEST_F(DRecordsetTest, AnEmptyPageStillHasItsFields) { EXPECT_EQ(manufacturers()->PageRows()->FieldCount(), 2u); }

TEST_F(DRecordsetTest, ASizeBelowOneLeavesTheSizeAsItIs) {
  add_manufacturers(11);
  EXPECT_EQ(keys(*manufacturers(0)).size(), 10u);
  EXPECT_EQ(keys(*manufacturers(-1)).size(), 10u);
}

TEST_F(DRecordsetTest, TwoSortFieldsOrderNullsFirstAndTiesByTheKey) {
  add_commodity("A", "'beta'", "2");
  add_commodity("B", "NULL", "1");
  add_commodity("C", "'alpha'", "NULL");
  add_commodity("E", "NULL", "NULL");
  add_commodity("D", "'Beta'", "2");
  add_commodity("F", "NULL", "1");
  const struct {
    const char* fields;
    Texts order;
  } cases[] = {
      {"", {"A", "B", "C", "D", "E", "F"}},
      {"PROPERTYGROUPID, DESCRIPTION", {"E", "C", "B", "F", "A", "D"}},
      {"propertygroupid DESC,description", {"A", "D", "B", "F", "E", "C"}},
      {"DESCRIPTION asc, PROPERTYGROUPID desc", {"B", "F", "E", "C", "A", "D"}},
      {"COMMODITYCODE DESC", {"F", "E", "D", "C", "B", "A"}},
      {"PROPERTYGROUPID, PROPERTYGROUPID DESC", {"C", "E", "B", "F", "A", "D"}},
  };
  for (const auto& row : cases) EXPECT_EQ(sorted_by(row.fields), row.order) << row.fields;
}

TEST_F(DRecordsetTest, SortFieldsThatAreNoColumnsOfTheResultAreRefused) {
  add_commodity("A", "'a'", "1");
  const struct {
    const char* fields;
    const char* named;
  } cases[] = {
      {"NOBODY", "NOBODY"},
      {"DESCRIPTION,", ""},
      {"1", "1"},
      {"DESCRIPTION; DROP TABLE COMMODITY", "DESCRIPTION; DROP TABLE COMMODITY"},
      {"DESCRIPTION DESC; DROP TABLE COMMODITY", "DESCRIPTION DESC; DROP TABLE COMMODITY"},
      {"DESCRIPTION -- ", "DESCRIPTION --"},
      {"(SELECT USERID FROM USERS)", "(SELECT USERID FROM USERS)"},
      {"[DESCRIPTION", "[DESCRIPTION"},
      {"DESCRIPTION.", "DESCRIPTION."},
      {"COMMODITY.DESCRIPTION, [NOBODY] DESC", "[NOBODY] DESC"},
      {"/**/DESCRIPTION", "/**/DESCRIPTION"},
      {"DESCRIPTION UP", "DESCRIPTION UP"},
  };
  for (const auto& row : cases)
    EXPECT_EQ(raised_by([&] { sorted_by(row.fields); }),
              refusal("'" + std::string(row.named) +
                      "' is no sort field: a column of the result is expected, perhaps with ASC or DESC"));
  EXPECT_EQ(value_of("SELECT COMMODITYCODE FROM COMMODITY"), Variant("A"));
}

// "COMMODITY.DESCRIPTION" and "[DESCRIPTION]" used to be refused, as was a column that is not in the result.
TEST_F(DRecordsetTest, SortFieldsAreColumnsOfTheTableAsAStatementSpellsThem) {
  add_commodity("A", "'y'", "1");
  add_commodity("B", "'x'", "1");
  add_commodity("C", "'z'", "2");
  const auto order = [&](const std::string& statement, const std::string& fields) {
    auto rows = paged(10);
    rows->SetSortFields(fields);
    rows->OpenQuery(statement, "COMMODITYCODE");
    return keys(*rows);
  };
  const struct {
    const char* statement;
    const char* fields;
    Texts keys;
  } cases[] = {
      {kCommodities, "[DESCRIPTION]", {"B", "A", "C"}},
      {kCommodities, "\"DESCRIPTION\" DESC", {"C", "A", "B"}},
      {kCommodities, "COMMODITY.DESCRIPTION", {"B", "A", "C"}},
      {kCommodities, "dbo.COMMODITY.DESCRIPTION DESC", {"C", "A", "B"}},
      {kCommodities, " [commodity] . [PropertyGroupID] desc , Description asc", {"C", "B", "A"}},
      {"SELECT COMMODITYCODE FROM COMMODITY", "DESCRIPTION", {"B", "A", "C"}},
      {"SELECT COMMODITYCODE FROM COMMODITY", "[DESCRIPTION] DESC", {"C", "A", "B"}},
      {"SELECT COMMODITYCODE FROM COMMODITY WHERE PROPERTYGROUPID = 1", "COMMODITY.DESCRIPTION", {"B", "A"}},
      {"SELECT C.COMMODITYCODE FROM COMMODITY C", "C.DESCRIPTION", {"B", "A", "C"}},
      {"SELECT C.COMMODITYCODE FROM COMMODITY C, COMMODITY D WHERE C.COMMODITYCODE = D.COMMODITYCODE",
       "D.DESCRIPTION",
       {"B", "A", "C"}},
  };
  for (const auto& row : cases)
    EXPECT_EQ(order(row.statement, row.fields), row.keys) << row.statement << " by " << row.fields;
}

TEST_F(DRecordsetTest, AQualifiedSortFieldThatTheStatementDoesNotKnowIsRefusedByTheStore) {
  add_commodity("A", "'a'", "1");
  EXPECT_EQ(raised_by([&] { sorted_by("UNIT.UNITCODE"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(raised_by([&] { sorted_by("COMMODITY.[x\"; DROP TABLE COMMODITY]"); }).Number,
            error_number::kStatementRefused);
  EXPECT_EQ(value_of("SELECT COMMODITYCODE FROM COMMODITY"), Variant("A"));
}

TEST_F(DRecordsetTest, AColumnNamedLikeAKeywordCanBeSortedBy) {
  execute({"INSERT INTO FAQISSUE (DESCRIPTION, \"DATE\") VALUES ('late', '2026-07-02')",
           "INSERT INTO FAQISSUE (DESCRIPTION, \"DATE\") VALUES ('early', '2026-07-01')"});
  auto rows = paged(10);
  rows->SetSortFields("DATE");
  rows->OpenQuery("SELECT DESCRIPTION, \"DATE\" FROM FAQISSUE", "");
  EXPECT_EQ(keys(*rows), (Texts{"early", "late"}));
}

TEST_F(DRecordsetTest, KeyFieldsThatAreNotInTheResultDoNotMatter) {
  add_manufacturers(3);
  auto rows = paged(2);
  rows->OpenQuery("SELECT MANUFACTURERNAME FROM MANUFACTURER", "MANUFACTURERID, NOBODY; DROP TABLE MANUFACTURER");
  EXPECT_EQ(rows->RowCount(), 3);
  EXPECT_EQ(rows->PageCount(), 2);
}

TEST_F(DRecordsetTest, AnOrderOfTheStatementCountsUnlessThereAreSortFields) {
  add_manufacturers(3);
  const std::string statement = std::string(kManufacturers) +
                                " WHERE MANUFACTURERID IN (SELECT MANUFACTURERID FROM "
                                "MANUFACTURER) ORDER BY MANUFACTURERNAME DESC";
  auto rows = paged(2);
  rows->OpenQuery(statement, "MANUFACTURERID");
  EXPECT_EQ(walk(*rows), (std::vector<Texts>{{"M003", "M002"}, {"M001"}}));
  rows = paged(2);
  rows->SetSortFields("MANUFACTURERID");
  rows->OpenQuery(statement, "MANUFACTURERID");
  EXPECT_EQ(walk(*rows), (std::vector<Texts>{{"M001", "M002"}, {"M003"}}));
}

TEST_F(DRecordsetTest, TheStateBringsANewObjectBackToItsPage) {
  add_manufacturers(25);
  auto first = paged(4);
  first->SetSortFields("MANUFACTURERNAME DESC");
  first->OpenQuery(kManufacturers, "MANUFACTURERID");
  first->NextPage();
  first->NextPage();
  const Texts page = keys(*first);

  DRecordset second;
  second.SetConnectionString(connection_string());
  second.SetPersistedState(first->PersistedState());
  second.OpenQuery(kManufacturers, "MANUFACTURERID");
  EXPECT_EQ(second.PageNumber(), 3);
  EXPECT_EQ(keys(second), page);
  EXPECT_EQ(keys(second), (Texts{"M017", "M016", "M015", "M014"}));
  EXPECT_EQ(second.PersistedState(), first->PersistedState());
}

TEST_F(DRecordsetTest, WhatIsSetAfterTheStateWins) {
  add_manufacturers(25);
  auto first = manufacturers(5);
  first->NextPage();
  first->NextPage();  // M011 is the first row

  auto second = paged(1);
  second->SetPersistedState(first->PersistedState());
  second->SetPageSize(4);
  second->OpenQuery(kManufacturers, "MANUFACTURERID");
  EXPECT_EQ(second->PageNumber(), 3);
  EXPECT_EQ(keys(*second), (Texts{"M009", "M010", "M011", "M012"}));
}

TEST_F(DRecordsetTest, AnEmptyStateIsNone) {
  add_manufacturers(3);
  auto rows = paged(2);
  rows->SetPersistedState("");
  rows->OpenQuery(kManufacturers, "MANUFACTURERID");
  rows->NextPage();
  rows->RestoreState(-1, "");
  EXPECT_EQ(rows->PageNumber(), 2);
}

TEST_F(DRecordsetTest, RestoringAndResettingMoveBeforeAndAfterTheQueryIsOpened) {
  add_manufacturers(9);
  auto first = manufacturers(2);
  first->NextPage();
  const std::string state = first->PersistedState();

  auto before = paged(2);
  before->Reset();
  before->RestoreState(-1, state);
  before->OpenQuery(kManufacturers, "MANUFACTURERID");
  EXPECT_EQ(keys(*before), (Texts{"M003", "M004"}));

  auto after = manufacturers(2);
  after->RestoreState(-1, state);
  EXPECT_EQ(keys(*after), (Texts{"M003", "M004"}));
  after->RestoreState(4, "");
  EXPECT_EQ(keys(*after), (Texts{"M007", "M008"}));
  after->Reset();
  EXPECT_EQ(keys(*after), (Texts{"M001", "M002"}));
}

TEST_F(DRecordsetTest, WhatIsNoStateIsRefusedAndChangesNothing) {
  add_manufacturers(3);
  auto rows = manufacturers(2);
  const auto state = nlohmann::json::parse(rows->PersistedState());
  Texts foreign = {"{", "null", "[]", "{}", "17", "SELECT * FROM USERS", R"({"statement":"DELETE FROM USERS"})"};
  const auto changed = [&](const char* member, const nlohmann::json& value) {
    auto copy = state;
    copy[member] = value;
    foreign.push_back(copy.dump());
  };
  changed("version", 2);
  changed("row", -1);
  changed("row", 1.5);
  changed("row", "3");
  changed("row", 4294967296);
  changed("pageSize", 0);
  changed("pageSize", 32768);
  changed("sortFields", 5);
  changed("statement", "DELETE FROM USERS");
  for (const std::string& text : foreign) {
    EXPECT_EQ(raised_by([&] { rows->SetPersistedState(text); }),
              refusal("The persisted state is not one that a DRecordset wrote"))
        << text;
    EXPECT_EQ(raised_by([&] { rows->RestoreState(-1, text); }),
              refusal("The persisted state is not one that a DRecordset wrote"))
        << text;
  }
  EXPECT_EQ(raised_by([&] { rows->RestoreState(0, ""); }), refusal("There is no page 0"));
  EXPECT_EQ(nlohmann::json::parse(rows->PersistedState()), state);
}

TEST_F(DRecordsetTest, AHostileSortFieldInTheStateIsRefusedWhenTheQueryIsOpened) {
  add_manufacturers(1);
  auto state = nlohmann::json::parse(manufacturers()->PersistedState());
  state["sortFields"] = "MANUFACTURERID; DROP TABLE MANUFACTURER";
  auto rows = paged(2);
  rows->SetPersistedState(state.dump());
  EXPECT_EQ(raised_by([&] { rows->OpenQuery(kManufacturers, "MANUFACTURERID"); }).Number,
            error_number::kInvalidArgument);
  EXPECT_EQ(value_of("SELECT MANUFACTURERID FROM MANUFACTURER"), Variant("M001"));
}

TEST_F(DRecordsetTest, APositionBehindTheEndBecomesTheLastPage) {
  add_manufacturers(9);
  auto first = manufacturers(2);
  while (first->NextPage()) {
  }
  const std::string state = first->PersistedState();
  ASSERT_EQ(first->PageNumber(), 5);
  execute({"DELETE FROM MANUFACTURER WHERE MANUFACTURERID > 'M005'"});

  auto second = paged(2);
  second->SetPersistedState(state);
  second->OpenQuery(kManufacturers, "MANUFACTURERID");
  EXPECT_EQ(second->PageNumber(), 3);
  EXPECT_EQ(keys(*second), (Texts{"M005"}));

  execute({"DELETE FROM MANUFACTURER"});
  auto third = paged(2);
  third->SetPersistedState(state);
  third->OpenQuery(kManufacturers, "MANUFACTURERID");
  EXPECT_EQ(third->PageNumber(), 1);
  EXPECT_EQ(third->PageCount(), 0);
  EXPECT_EQ(keys(*third), Texts());
}

TEST_F(DRecordsetTest, EachMoveSeesTheRowsAsTheyAreThen) {
  add_manufacturers(4);
  auto rows = manufacturers(2);
  add_manufacturers(5, 5);
  EXPECT_EQ(rows->RowCount(), 4);
  EXPECT_TRUE(rows->NextPage());
  EXPECT_EQ(rows->RowCount(), 5);
  EXPECT_EQ(rows->PageCount(), 3);
}

TEST_F(DRecordsetTest, AStatementThatTheStoreRefusesFailsWhenTheQueryIsOpened) {
  auto rows = paged(2);
  EXPECT_EQ(
      raised_by([&] { rows->OpenQuery("SELECT * FROM PROPERTY WHERE (PROPERTYID IN (1 2))", "PROPERTYID"); }).Number,
      error_number::kStatementRefused);
  EXPECT_EQ(raised_by([&] { rows->PageRows(); }).Number, error_number::kObjectClosed);
}

TEST_F(DRecordsetTest, AStatementWithoutRowsIsNoQuery) {
  auto rows = paged(2);
  EXPECT_EQ(raised_by([&] { rows->OpenQuery("DELETE FROM MANUFACTURER", ""); }).Number,
            error_number::kStatementRefused);
}

TEST_F(DRecordsetTest, APageIsAskedForOnlyOfAnOpenQuery) {
  DRecordset rows;
  const RaisedError closed{error_number::kObjectClosed, "Bauteil.DRecordset", "No query is open: OpenQuery comes first",
                           "", 0};
  EXPECT_EQ(raised_by([&] { rows.PageRows(); }), closed);
  EXPECT_EQ(raised_by([&] { rows.NextPage(); }), closed);
  EXPECT_EQ(raised_by([&] { rows.PreviousPage(); }), closed);
  EXPECT_EQ(raised_by([&] { rows.PageNumber(); }), closed);
  EXPECT_EQ(raised_by([&] { rows.PageCount(); }), closed);
  EXPECT_EQ(raised_by([&] { rows.RowCount(); }), closed);
}

TEST_F(DRecordsetTest, AllOperationsAreReachedByName) {
  add_manufacturers(3);
  const ComponentPtr rows = create_plain("Bauteil.DRecordset");
  invoke(rows, "SetConnectionString", {connection_string()});
  invoke(rows, "SetPersistedState", {""});
  invoke(rows, "SetPageSize", {std::int16_t{2}});
  invoke(rows, "SetSortFields", {"MANUFACTURERID DESC"});
  invoke(rows, "Reset", {});
  invoke(rows, "RestoreState", {std::int16_t{-1}, ""});
  invoke(rows, "OpenQuery", {kManufacturers, "MANUFACTURERID"});
  EXPECT_EQ(invoke(rows, "NextPage", {}), Variant(true));
  EXPECT_EQ(invoke(rows, "PageRows", {}).to<Recordset>()->Value("MANUFACTURERID"), Variant("M001"));
  EXPECT_EQ(invoke(rows, "PageNumber", {}), Variant(std::int32_t{2}));
  EXPECT_EQ(invoke(rows, "PreviousPage", {}), Variant(true));
  EXPECT_EQ(invoke(rows, "PageCount", {}), Variant(std::int32_t{2}));
  EXPECT_EQ(invoke(rows, "RowCount", {}), Variant(std::int32_t{3}));
  EXPECT_EQ(invoke(rows, "PersistedState", {}),
            Variant(R"({"pageSize":2,"row":0,"sortFields":"MANUFACTURERID DESC","version":1})"));
}

}  // namespace
}  // namespace mercato::collaborators
