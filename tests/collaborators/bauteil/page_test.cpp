// SPDX-License-Identifier: Apache-2.0
#include "collaborators/bauteil/page.h"

#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "mercato/object_context.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

class PageTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    component_ = create_plain("Bauteil.Page");
    page_.emplace(component_);
  }
  ComponentPtr component_;
  std::optional<mercato::bauteil::Page> page_;
};

TEST_F(PageTest, ItsRecordsetReadsFromTheRegisteredConnection) {
  execute({"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('M1', 'One')"});
  page_->RegisterConnection("MercatoConnection");
  auto rows = page_->GetDRecordset();
  rows.OpenQuery("SELECT * FROM MANUFACTURER", "MANUFACTURERID");
  EXPECT_EQ(invoke(rows.component(), "RowCount", {}), Variant(std::int32_t{1}));
}

TEST_F(PageTest, OneListHasOneRecordsetAndTheNextListANewOne) {
  page_->RegisterConnection("MercatoConnection");
  const ComponentPtr first = page_->GetDRecordset().component();
  EXPECT_EQ(page_->GetDRecordset().component(), first);
  page_->RegisterConnection("MercatoConnection");
  EXPECT_NE(page_->GetDRecordset().component(), first);
}

TEST_F(PageTest, WithoutARegisteredConnectionThereIsNoRecordset) {
  EXPECT_EQ(
      raised_by([&] { page_->GetDRecordset(); }),
      (RaisedError{error_number::kObjectNotSet, "Bauteil.Page", "No connection is registered with the page", "", 0}));
}

TEST_F(PageTest, AConnectionThatNobodyKnowsIsAFailure) {
  EXPECT_EQ(raised_by([&] { page_->RegisterConnection("OtherConnection"); }).Description,
            "No connection is configured for the application 'Other'");
  EXPECT_EQ(raised_by([&] { page_->RegisterConnection("Mercato"); }).Description,
            "'Mercato' is no name of a connection: one ends in 'Connection'");
}

TEST_F(PageTest, ThereIsNoPositionUntilOneIsSaved) {
  std::string position = "before";
  bool flag = true;
  page_->GetSavedPosition(position, flag);
  EXPECT_EQ(position, "");
  EXPECT_FALSE(flag);

  invoke(component_, "SetSavedPosition", {"a position"});
  page_->GetSavedPosition(position, flag);
  EXPECT_EQ(position, "a position");
  EXPECT_TRUE(flag);

  invoke(component_, "SetSavedPosition", {""});
  page_->GetSavedPosition(position, flag);
  EXPECT_EQ(position, "");
  EXPECT_FALSE(flag);
}

TEST_F(PageTest, ASavedPositionLeadsBackToItsPage) {
  for (const char* code : {"A", "B", "C", "D", "E"})
    execute(
        {"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('" + std::string(code) + "', 'name')"});
  const auto read = [&] {
    page_->RegisterConnection("MercatoConnection");
    auto rows = page_->GetDRecordset();
    rows.SetPageSize(2);
    std::string position;
    bool flag = false;
    page_->GetSavedPosition(position, flag);
    if (flag) {
      rows.Reset();
      rows.RestoreState(-1, position);
    }
    rows.OpenQuery("SELECT * FROM MANUFACTURER", "MANUFACTURERID");
    return rows.component();
  };
  const ComponentPtr first = read();
  invoke(first, "NextPage", {});
  invoke(component_, "SetSavedPosition", {invoke(first, "PersistedState", {})});
  const ComponentPtr second = read();
  EXPECT_EQ(invoke(second, "PageNumber", {}), Variant(std::int32_t{2}));
  EXPECT_EQ(invoke(second, "PageRows", {}).to<Recordset>()->Value("MANUFACTURERID"), Variant("C"));
}

}  // namespace
}  // namespace mercato::collaborators
