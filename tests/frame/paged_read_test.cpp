// SPDX-License-Identifier: Apache-2.0
#include "frame/paged_read.h"

#include <gtest/gtest.h>

#include "frame/lib_sql.h"
#include "mercato/object_context.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using Calls = std::vector<ComponentCall>;

const std::string& never_asked() { raise(error_number::kInvalidArgument, "Test", "nobody should ask"); }

class PagedReadTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    for (int number = 1; number <= 25; ++number) {
      const std::string digits = std::to_string(100 + number).substr(1);
      execute({"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('M" + digits + "', 'N" +
               std::to_string(number % 3) + "')"});
    }
    page_ = create_plain("Bauteil.Page");
    shared_connection_string();  // looked up before anything is recorded
  }

  static PagedQuery manufacturers(std::optional<std::string> sort_fields = {}) {
    return {LiteralPiece("SELECT * FROM MANUFACTURER"), "MANUFACTURERID", std::move(sort_fields)};
  }
  static std::vector<std::string> ids(const ComponentPtr& list) {
    std::vector<std::string> ids;
    const RecordsetPtr page = invoke(list, "PageRows", {}).to<Recordset>();
    for (const auto& row : page->rows()) ids.push_back(row[0].to_text());
    return ids;
  }
  static Variant ask(const ComponentPtr& list, std::string_view method) { return invoke(list, method, {}); }

  ComponentPtr page_;
};

TEST_F(PagedReadTest, WithoutAPageANewRecordsetGetsConnectionAndState) {
  Recorder recorder;
  const ComponentPtr list = PagedRead(manufacturers("MANUFACTURERNAME"), {nullptr, "", 10}, shared_connection_string);
  EXPECT_EQ(recorder.calls,
            (Calls{{"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                   {"Bauteil.DRecordset.SetPersistedState", {""}},
                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{10}}},
                   {"Bauteil.DRecordset.SetSortFields", {"MANUFACTURERNAME"}},
                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM MANUFACTURER", "MANUFACTURERID"}}}));
  EXPECT_TRUE(recorder.statements.empty());  // the recordset's own are not the library's
  EXPECT_EQ(list->class_table().prog_id(), "Bauteil.DRecordset");
}

TEST_F(PagedReadTest, WithAPageItsRecordsetIsTakenAndThePositionAskedFor) {
  Recorder recorder;
  PagedRead(manufacturers(), {page_, "not looked at", 10}, never_asked);
  EXPECT_EQ(recorder.calls,
            (Calls{{"Bauteil.Page.RegisterConnection", {"MercatoConnection"}},
                   {"Bauteil.Page.GetDRecordset", {}},
                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{10}}},
                   {"Bauteil.Page.GetSavedPosition", {"", false}},
                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM MANUFACTURER", "MANUFACTURERID"}}}));
}

TEST_F(PagedReadTest, ASavedPositionIsRestoredBeforeTheQueryIsOpened) {
  const ComponentPtr left = PagedRead(manufacturers(), {page_, "", 10}, never_asked);
  EXPECT_EQ(ask(left, "NextPage"), Variant(true));
  const std::string state = ask(left, "PersistedState").to_text();
  invoke(page_, "SetSavedPosition", {state});
  Recorder recorder;
  const ComponentPtr list = PagedRead(manufacturers(""), {page_, "", 10}, never_asked);
  EXPECT_EQ(recorder.calls,
            (Calls{{"Bauteil.Page.RegisterConnection", {"MercatoConnection"}},
                   {"Bauteil.Page.GetDRecordset", {}},
                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{10}}},
                   {"Bauteil.DRecordset.SetSortFields", {""}},
                   {"Bauteil.Page.GetSavedPosition", {"", false}},
                   {"Bauteil.DRecordset.Reset", {}},
                   {"Bauteil.DRecordset.RestoreState", {std::int16_t{-1}, state}},
                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM MANUFACTURER", "MANUFACTURERID"}}}));
  EXPECT_EQ(ask(list, "PageNumber"), Variant(2));
  EXPECT_EQ(ids(list).front(), "M11");
}

TEST_F(PagedReadTest, ThePersistedStateBringsBackPositionSizeAndOrder) {
  const ComponentPtr left =
      PagedRead(manufacturers("MANUFACTURERNAME DESC"), {nullptr, "", 4}, shared_connection_string);
  EXPECT_EQ(ids(left), (std::vector<std::string>{"M02", "M05", "M08", "M11"}));
  EXPECT_EQ(ask(left, "NextPage"), Variant(true));
  const std::string state = ask(left, "PersistedState").to_text();
  const ComponentPtr list = PagedRead(manufacturers(), {nullptr, state, 0}, shared_connection_string);
  EXPECT_EQ(ids(list), (std::vector<std::string>{"M14", "M17", "M20", "M23"}));
  EXPECT_EQ(ask(list, "RowCount"), Variant(25));
  EXPECT_EQ(ask(list, "PageCount"), Variant(7));
}

TEST_F(PagedReadTest, APageSizeBeyondSixteenBitsFails) {
  for (const std::int32_t size : {32768, -32769, 2147483647}) {
    for (const ComponentPtr& page : {ComponentPtr(), page_}) {
      Recorder recorder;
      EXPECT_EQ(raised_by([&] {
                  PagedRead(manufacturers(""), {page, "", size}, shared_connection_string);
                }).Number,
                error_number::kOverflow);
      EXPECT_EQ(recorder.calls.size(), 2u);  // where to read, and no more
    }
  }
  const ComponentPtr list = PagedRead(manufacturers(), {nullptr, "", 32767}, shared_connection_string);
  EXPECT_EQ(ids(list).size(), 25u);
}

TEST_F(PagedReadTest, AClauseThatIsMoreThanAClauseNeverReachesTheRecordset) {
  for (const std::string text : {"1=1; DELETE FROM MANUFACTURER", "1=1 -- ", "1=1) OR (1=1", "'", "1=1 /* "}) {
    SCOPED_TRACE(text);
    PagedQuery query = manufacturers();
    query.statement << " WHERE (" << clause(text) << ")";
    Recorder recorder;
    EXPECT_EQ(raised_by([&] {
                PagedRead(query, {nullptr, "", 10}, shared_connection_string);
              }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(recorder.calls.back().method, "Bauteil.DRecordset.SetPageSize");
  }
}

TEST_F(PagedReadTest, AStatementThatTheStoreRefusesFailsWhenItIsOpened) {
  EXPECT_EQ(raised_by([&] {
              PagedRead({LiteralPiece("SELECT * FROM NOTHING"), "X"}, {nullptr, "", 10}, shared_connection_string);
            }).Number,
            error_number::kStatementRefused);
}

TEST_F(PagedReadTest, APageThatFailsEndsTheRead) {
  Recorder recorder;
  recorder.failures["Bauteil.Page.GetDRecordset"] = {91, "Page", "no list", "", 0};
  EXPECT_EQ(raised_by([&] {
              PagedRead(manufacturers(), {page_, "", 10}, never_asked);
            }),
            (RaisedError{91, "Page", "no list", "", 0}));
}

TEST_F(PagedReadTest, APageThatIsNoneHasNoSuchMethod) {
  EXPECT_EQ(raised_by([&] {
              PagedRead(manufacturers(), {create_plain("Bauteil.DRecordset"), "", 10}, never_asked);
            }).Number,
            error_number::kNoSuchMethod);
}

TEST_F(PagedReadTest, IdsAreJoinedWithABlank) {
  const struct {
    Variant ids;
    std::string condition;
  } cases[] = {
      {kMissing, ""},
      {Array{5}, " WHERE (ID IN (5))"},
      {Array{5, "6"}, " WHERE (ID IN (5 6))"},
      {Array{"5,", 6}, " WHERE (ID IN (5, 6))"},
      {Array{"5,6,7"}, " WHERE (ID IN (5,6,7))"},
      {Array(std::vector<Variant>{1, 2}, -3), " WHERE (ID IN (1 2))"},
      {Array{}, " WHERE (ID IN ())"},
  };
  for (const auto& row : cases)
    EXPECT_EQ(with_ids(LiteralPiece("SELECT * FROM T"), "ID", row.ids).text(), "SELECT * FROM T" + row.condition);
  EXPECT_EQ(with_ids(LiteralPiece("SELECT * FROM T WHERE 1=1"), "ID", Array{5}).text(),
            "SELECT * FROM T WHERE 1=1 AND (ID IN (5))");
}

TEST_F(PagedReadTest, IdsThatAreNoArrayFail) {
  for (const Variant& ids : {Variant(), Variant(kNull), Variant(5), Variant("5")})
    EXPECT_EQ(raised_by([&] { with_ids(LiteralPiece("SELECT * FROM T"), "ID", ids); }).Number,
              error_number::kTypeMismatch);
  EXPECT_EQ(raised_by([] { with_ids(LiteralPiece("SELECT * FROM T"), "ID", Array{kNull}); }).Number,
            error_number::kInvalidUseOfNull);
}

TEST_F(PagedReadTest, SortFieldsAreHandedOverUnlessEmpty) {
  EXPECT_EQ(unless_empty(""), std::nullopt);
  EXPECT_EQ(unless_empty(" "), " ");
  EXPECT_EQ(unless_empty("A DESC"), "A DESC");
}

}  // namespace
}  // namespace mercato::test
