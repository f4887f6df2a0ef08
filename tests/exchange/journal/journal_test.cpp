// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/journal.h"

#include <fstream>

#include "platform/store/unit_of_work.h"
#include "tests/exchange/journal/journal_fixture.h"
#include "tests/support/another_process.h"

namespace mercato::test {
namespace {

class Journals : public JournalTest {};

TEST_F(Journals, KeepTheRowsOfAnUploadAsTheyWereAndAsTheyBecame) {
  const std::int32_t id = upload({kUpdate, kInsert, kInsertValue, kDeleteValue});
  EXPECT_EQ(changes_of(id), (Left{"deleted PRODUCTPROPVALUE P-2", "inserted PRODUCT P-3",
                                  "inserted PRODUCTPROPVALUE P-3", "updated PRODUCT P-1"}));
  const auto rows = rows_of(id);
  const auto found = std::find_if(rows.begin(), rows.end(), [](const auto& row) { return row.record == "P-1"; });
  ASSERT_NE(found, rows.end());
  EXPECT_EQ(found->before,
            R"({"BUYFROMPARTNUMBER":"P-1","CONFIGURABLE":0,"DATEUPDATED":"2026-01-05T10:11:12","DISABLED":0,)"
            R"("MULTIPLEBUYER":0,"PARTNUMBER":"M-1","PRODUCTDESCRIPTION":"Paper","PRODUCTID":1,"SERVICEITEM":0,)"
            R"("STOCKITEM":0,"UNITCODE":"EA"})");
  const auto fields = exchange::changed_fields(found->before, found->after);
  ASSERT_EQ(fields.size(), 1u);
  EXPECT_EQ(fields[0].field + ": " + fields[0].before + " -> " + fields[0].after, "PRODUCTDESCRIPTION: Paper -> Card");
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM MERCATO_UPLOAD_PART").to_long(), 0);
}

TEST_F(Journals, SayWhoUploadedWhatAndWhatItCameTo) {
  const exchange::Upload done = kept(upload({kUpdate, kInsert, kInsertValue, kDeleteValue}));
  EXPECT_EQ(done.kind, "products");
  EXPECT_EQ(done.mode, "upload");
  EXPECT_EQ(done.state, "done");
  EXPECT_EQ(done.user, "ann");
  EXPECT_EQ(done.file, "f.xml");
  EXPECT_EQ(done.hash, "ab12");
  EXPECT_EQ(done.counts, (exchange::UploadCounts{3, 1, 2, 0, 0, 0}));
  EXPECT_FALSE(done.cut_short);
  EXPECT_EQ(done.undone_by, 0);
  EXPECT_NE(done.started, "");
  EXPECT_GE(done.ended, done.started);
}

TEST_F(Journals, LeaveOutRowsThatDidNotChangeAndMereStamps) {
  const std::int32_t id = upload({"UPDATE PRODUCT SET PRODUCTDESCRIPTION = 'Paper' WHERE PRODUCTID = 1",
                                  "UPDATE PRODUCT SET DATEUPDATED = '2026-02-02' WHERE PRODUCTID = 1"});
  EXPECT_EQ(changes_of(id), Left{});
  EXPECT_EQ(kept(id).counts, (exchange::UploadCounts{3, 0, 0, 0, 0, 0}));
}

TEST_F(Journals, CountPriceLinesByTheLine) {
  const std::int32_t id = upload(
      {"UPDATE CATALOGPRODUCTPRICE SET PRICE = 13 WHERE PRODUCTID = 1",
       "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, PRICE) VALUES (1, '2026-01-01', "
       "9, 5)",
       "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, PRICE) VALUES (2, '2026-01-01', "
       "9, 6)"},
      Kind::prices, {"P-1", "P-2"});
  EXPECT_EQ(kept(id).counts, (exchange::UploadCounts{3, 2, 1, 0, 0, 0}));
}

// A property that an upload creates is its own, once, whichever of its parts gave the first value.
TEST_F(Journals, KeepAPropertyThatTheUploadCreatedOnce) {
  exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", {}, {}});
  const std::vector<std::string> first = {"P-1"};
  const std::vector<std::string> second = {"P-2"};
  journal.before(Kind::products, first);
  execute({"INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES ('SIZE', 1)",
           "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 1, 'A4')"});
  journal.before(Kind::products, second);
  execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 2, 'XL')"});
  journal.end({}, {});
  EXPECT_EQ(changes_of(journal.id()),
            (Left{"inserted PRODUCTPROPVALUE P-1", "inserted PRODUCTPROPVALUE P-2", "inserted PROPERTY SIZE"}));
}

TEST_F(Journals, OfMoreRecordsThanOnePartHoldsKeepAll) {
  std::vector<std::string> numbers;
  for (int number = 1; number <= 1203; ++number) numbers.push_back("N" + std::to_string(number));
  exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", {}, {}});
  journal.before(Kind::products, numbers);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM MERCATO_UPLOAD_PART").to_long(), 3);
  insert_rows("PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER)", 1203,
              [](int number) { return "'M', 'many', 'N" + std::to_string(number) + "'"; });
  journal.end({}, {});
  EXPECT_EQ(journal.rows_inserted(), 1203);
  const store::PooledSession session = store::acquire_session(connection_string());
  const auto rows = exchange::journaled_rows(*session.get(), journal.id(), 0, 2000);
  ASSERT_EQ(rows.size(), 1203u);
  for (std::size_t number = 0; number < rows.size(); ++number) {
    ASSERT_EQ(rows[number].sequence, static_cast<std::int32_t>(number + 1));
    ASSERT_EQ(rows[number].record, exchange::value_in(rows[number].after, "BUYFROMPARTNUMBER"));
  }
  // Wherever one goes on reading, or stops.
  for (const auto& [beyond, most] : {std::pair{499, 3}, std::pair{500, 1}, std::pair{702, 600}, std::pair{1202, 5}}) {
    const auto some = exchange::journaled_rows(*session.get(), journal.id(), beyond, most);
    ASSERT_EQ(some.size(),
              std::min<std::size_t>(static_cast<std::size_t>(most), rows.size() - static_cast<std::size_t>(beyond)));
    EXPECT_EQ(some.front().sequence, beyond + 1);
    EXPECT_EQ(some.back().record, rows[static_cast<std::size_t>(some.back().sequence - 1)].record);
  }
  EXPECT_EQ(exchange::journaled_rows(*session.get(), journal.id(), 1203, 5).size(), 0u);
  EXPECT_EQ(undo(journal.id()).deleted, 1203u);
}

// A journal of an older release has a row for each row.
TEST_F(Journals, OfOlderReleasesAreReadAndTakenBackLikeOthers) {
  const auto before = contents();
  const std::int32_t id =
      upload({kUpdate, kInsert, kInsertValue, kDeleteValue,
              "UPDATE PRODUCT SET PRODUCTREMARK = N'tab\tand \"quotes\", 100 €' WHERE PRODUCTID = 2"});
  const auto rows = rows_of(id);
  ASSERT_EQ(rows.size(), 5u);
  const Left changes = changes_of(id);
  execute({"DELETE FROM MERCATO_UPLOAD_ROW"});
  const auto literal = [](const std::string& text) { return text.empty() ? std::string("NULL") : "N'" + text + "'"; };
  for (const exchange::JournaledRow& row : rows)
    execute(
        {"INSERT INTO MERCATO_UPLOAD_ROW (UPLOADID, SEQUENCE, TABLENAME, RECORD, BEFOREIMAGE, AFTERIMAGE) VALUES (" +
         std::to_string(id) + ", " + std::to_string(row.sequence) + ", '" + row.table + "', " + literal(row.record) +
         ", " + literal(row.before) + ", " + literal(row.after) + ")"});
  const auto read = rows_of(id);
  ASSERT_EQ(read.size(), rows.size());
  for (std::size_t place = 0; place < rows.size(); ++place) {
    EXPECT_EQ(read[place].sequence, rows[place].sequence);
    EXPECT_EQ(read[place].before, rows[place].before);
    EXPECT_EQ(read[place].after, rows[place].after);
  }
  EXPECT_EQ(changes_of(id), changes);
  EXPECT_EQ(undo(id).left.size(), 0u);
  EXPECT_EQ(contents(), before);
}

TEST_F(Journals, OfAPartNumberThatComesTwiceKeepItsRowsOnce) {
  std::vector<std::string> numbers(700, "P-1");
  numbers.emplace_back("p-1 ");
  const std::int32_t id = upload({kUpdate}, Kind::products, numbers);
  EXPECT_EQ(changes_of(id), Left{"updated PRODUCT P-1"});
  EXPECT_EQ(kept(id).counts, (exchange::UploadCounts{3, 0, 1, 0, 0, 0}));
}

TEST_F(Journals, OfGroupsKeepNodesAndTheirCategories) {
  execute({"INSERT INTO CATALOG (CATALOGNAME) VALUES ('House')",
           "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE) VALUES (1, 'Paper', 0)"});
  const auto before = contents();
  const std::int32_t id = upload(
      {"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Paper')",
       "UPDATE CATALOGNODE SET CATEGORYID = 1, NODETYPE = 1",
       "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('A4')",
       "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 1, 'A4', 1, 2)"},
      Kind::groups, {"1"});
  EXPECT_EQ(changes_of(id), (Left{"inserted CATALOGNODE A4", "inserted PRODUCTCATEGORY A4",
                                  "inserted PRODUCTCATEGORY Paper", "updated CATALOGNODE Paper"}));
  EXPECT_EQ(undo(id).left.size(), 0u);
  EXPECT_EQ(contents(), before);
}

TEST_F(Journals, OfCodesKeepCodesAndCommodities) {
  execute({"INSERT INTO UNSPSCCODES VALUES ('', '10', 1, 'Plants')"});
  const std::int32_t id = upload(
      {"UPDATE UNSPSCCODES SET DESCRIPTION = 'Live plants'", "INSERT INTO UNSPSCCODES VALUES ('10', '15', 2, 'Seeds')",
       "INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION) VALUES ('10150000', 'Seeds')"},
      Kind::codes, {});
  EXPECT_EQ(changes_of(id),
            (Left{"inserted COMMODITY 10150000", "inserted UNSPSCCODES 1015", "updated UNSPSCCODES 10"}));
  EXPECT_EQ(kept(id).counts, (exchange::UploadCounts{3, 1, 1, 0, 0, 0}));
}

// A catalogue is loaded whole or not at all, and so are its rows in the journal.
TEST_F(Journals, OfACatalogueStandOrFallWithItsTransaction) {
  exchange::Journal journal(connection_string(), {"catalog", "ann", "nodes.csv", {}, {}});
  const auto load = [&](bool commit) {
    store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
    const store::UnitOfWork::Current current(&unit);
    const auto connection = open_connection(connection_string());
    connection->Execute(Sql("INSERT INTO CATALOG (CATALOGNAME) VALUES ('House')"));
    const auto id = connection->Execute(Sql("SELECT MAX(CATALOGID) FROM CATALOG"))->rows().at(0).at(0).to_text();
    connection->Execute(Sql::verbatim("INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (" + id + ", 'root')"));
    connection->Close();
    journal.inserted({Kind::catalog, {id}});
    if (commit) unit.commit();
  };
  load(false);
  EXPECT_EQ(changes_of(journal.id()), Left{});
  load(true);
  journal.end({}, {});
  EXPECT_EQ(changes_of(journal.id()), (Left{"inserted CATALOG House", "inserted CATALOGNODE root"}));
  EXPECT_EQ(undo(journal.id()).deleted, 2u);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOGNODE").to_long(), 0);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOG").to_long(), 0);
}

TEST_F(Journals, KnowAFileThatWasUploadedBeforeUnlessItWasTakenBack) {
  const std::int32_t first = upload({kUpdate});
  const auto earlier = [&] {
    std::vector<std::int32_t> ids;
    for (const exchange::Upload& one :
         exchange::uploads_of_file(*store::acquire_session(connection_string()).get(), "ab12"))
      ids.push_back(one.id);
    return ids;
  };
  EXPECT_EQ(earlier(), (std::vector<std::int32_t>{first}));
  const std::int32_t second = upload({kInsert});
  EXPECT_EQ(earlier(), (std::vector<std::int32_t>{second, first}));
  undo(second);
  EXPECT_EQ(earlier(), (std::vector<std::int32_t>{first}));
}

TEST_F(Journals, OfAnUploadThatFailsSaySo) {
  {
    exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", {}, {}});
    const std::vector<std::string> numbers = {"P-1"};
    journal.before(Kind::products, numbers);
    execute({kUpdate});
  }
  const exchange::Upload failed = kept(1);
  EXPECT_EQ(failed.state, "failed");
  EXPECT_EQ(failed.stopped_by, "The process that uploaded it ended before its time.");
  EXPECT_EQ(failed.counts, (exchange::UploadCounts{1, 0, 1, 0, 0, 0}));
  EXPECT_EQ(changes_of(1), Left{"updated PRODUCT P-1"});
}

TEST_F(Journals, OfAProcessThatIsGoneAreToldApartByTheNextOne) {
  const auto before = contents();
  in_another_process([&] {
    exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", {}, {}});
    const std::vector<std::string> numbers = {"P-1", "P-3"};
    journal.before(Kind::products, numbers);
    execute({kUpdate, kInsert});
    ::_exit(0);
  });
  EXPECT_EQ(kept(1).state, "running");
  EXPECT_TRUE(kept(1).cut_short);
  EXPECT_EQ(changes_of(1), Left{});
  const exchange::Undone done = undo(1);
  EXPECT_EQ(done.restored, 1u);
  EXPECT_EQ(done.deleted, 1u);
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(kept(1).state, "failed");
  EXPECT_EQ(kept(1).counts, (exchange::UploadCounts{2, 1, 1, 0, 0, 0}));
}

TEST_F(Journals, AreForgottenFromBeforeADay) {
  const std::int32_t old = upload({kUpdate});
  const std::int32_t young = upload({kInsert});
  execute({"UPDATE MERCATO_UPLOAD SET ENDED = '2020-05-05' WHERE UPLOADID = " + std::to_string(old)});
  const store::PooledSession session = store::acquire_session(connection_string());
  EXPECT_EQ(exchange::forget_uploads(*session.get(), "2020-05-05T00:00:00"), 0u);
  EXPECT_EQ(exchange::forget_uploads(*session.get(), "2020-05-06T00:00:00"), 1u);
  EXPECT_EQ(changes_of(young), Left{"inserted PRODUCT P-3"});
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM MERCATO_UPLOAD_ROW").to_long(), 1);
  EXPECT_EQ(raised_by([&] { kept(old); }).Description,
            "There is no upload 1; `mercato uploads list` shows those that are kept");
}

TEST(RowImages, AreTheSameAgainFromWhatTheyDifferIn) {
  const std::string one = R"({"A":1,"B":"x, \"y\\","D":2.5,"F":"2026-01-05T10:11:12"})";
  const struct {
    std::string after, differences;
  } cases[] = {{one, "{}"},
               {R"({"A":2,"B":"x, \"y\\","D":2.5,"F":"2026-01-05T10:11:12"})", R"({"A":2})"},
               {R"({"B":"}","C":true,"D":2.5})", R"({"A":null,"B":"}","C":true,"F":null})"},
               {R"({"AA":"","G":-1})", R"({"A":null,"AA":"","B":null,"D":null,"F":null,"G":-1})"}};
  for (const auto& [after, differences] : cases) {
    EXPECT_EQ(exchange::differences(one, after), differences);
    EXPECT_EQ(exchange::with_differences(one, differences), after);
  }
}

TEST_F(Journals, KnowAFileByItsSha256) {
  std::ofstream(folder() / "abc.txt") << "abc";
  EXPECT_EQ(exchange::sha256_of_file((folder() / "abc.txt").string()),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(exchange::sha256_of_file((folder() / "none.txt").string()), "");
  EXPECT_EQ(exchange::sha256_of_file(folder().string()), "");
}

}  // namespace
}  // namespace mercato::test
