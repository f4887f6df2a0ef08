// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/undo.h"
#include "tests/exchange/journal/journal_fixture.h"

namespace mercato::test {
namespace {

class Undos : public JournalTest {};

TEST_F(Undos, BringEveryRowBack) {
  const auto before = contents();
  const std::int32_t id = upload({kUpdate, kInsert, kInsertValue, kDeleteValue});
  const exchange::Undone done = undo(id);
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(done.upload, 2);
  EXPECT_EQ(done.restored, 1u);
  EXPECT_EQ(done.deleted, 2u);
  EXPECT_EQ(done.inserted, 1u);
  EXPECT_EQ(done.unchanged, 0u);
  EXPECT_EQ(left_of(done), Left{});
  EXPECT_EQ(kept(id).undone_by, 2);
  const exchange::Upload undo_of = kept(2);
  EXPECT_EQ(undo_of.kind, "undo");
  EXPECT_EQ(undo_of.undoes, id);
  EXPECT_EQ(undo_of.user, "bob");
  EXPECT_EQ(undo_of.counts, (exchange::UploadCounts{4, 1, 3, 0, 0, 0}));
}

TEST_F(Undos, AreUploadsThatCanBeUndone) {
  const auto before = contents();
  const std::int32_t id = upload({kUpdate, kInsert, kInsertValue, kDeleteValue});
  const auto after = contents();
  const exchange::Undone first = undo(id);
  const exchange::Undone second = undo(first.upload);
  EXPECT_EQ(contents(), after);
  EXPECT_EQ(left_of(second), Left{});
  EXPECT_EQ(kept(id).undone_by, 0) << "it stands again";
  EXPECT_EQ(kept(first.upload).undone_by, second.upload);
  EXPECT_EQ(left_of(undo(id)), Left{});
  EXPECT_EQ(contents(), before);
}

TEST_F(Undos, BringBackValuesOfEveryType) {
  execute(
      {"UPDATE PRODUCT SET PRODUCTXML = 'a <b/>' , PRODUCTEXPIRYDATE = '1899-12-29T06:00:00', LOTSIZE = 1e-7, "
       "BUSINESSPARTNERID = -5, NUMBER = 7 WHERE PRODUCTID = 1"});
  const auto before = contents();
  const std::int32_t products = upload(
      {"UPDATE PRODUCT SET PRODUCTXML = NULL, PRODUCTEXPIRYDATE = NULL, LOTSIZE = 3, BUSINESSPARTNERID = NULL, NUMBER "
       "= 8 WHERE PRODUCTID = 1"});
  const std::int32_t prices = upload({"DELETE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 1"}, Kind::prices, {"P-1"});
  EXPECT_EQ(undo(prices).inserted, 1u);
  EXPECT_EQ(undo(products).restored, 1u);
  EXPECT_EQ(contents(), before);
}

// Of a price line the group may be Null, which is part of its key.
TEST_F(Undos, FindPriceLinesByTheirWholeKey) {
  const auto before = contents();
  const std::int32_t id =
      upload({"UPDATE CATALOGPRODUCTPRICE SET PRICE = 13.5 WHERE PRODUCTID = 1",
              "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, PRICE) VALUES (1, "
              "'2026-01-01', 0.3333333333333333, NULL, 5)",
              "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, PRICE) VALUES (1, "
              "'2026-01-01', 999, 'it''s', 6)"},
             Kind::prices, {"P-1"});
  const exchange::Undone done = undo(id);
  EXPECT_EQ(done.restored, 1u);
  EXPECT_EQ(done.deleted, 2u);
  EXPECT_EQ(contents(), before);
}

TEST_F(Undos, LeaveWhatWasChangedSinceUnlessForced) {
  const auto before = contents();
  const std::int32_t id = upload({kUpdate, kInsert, kDeleteValue});
  execute({"UPDATE PRODUCT SET PRODUCTREMARK = 'dear' WHERE PRODUCTID = 1",
           "UPDATE PRODUCT SET PRODUCTREMARK = 'dear' WHERE PRODUCTID = 3",
           "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, 'green')"});
  const auto changed = contents();
  const exchange::Undone done = undo(id);
  EXPECT_EQ(left_of(done), (Left{"PRODUCT P-1: It was changed since.", "PRODUCT P-3: It was changed since.",
                                 "PRODUCTPROPVALUE P-2: It was changed since."}));
  EXPECT_EQ(contents(), changed);
  EXPECT_EQ(kept(done.upload).counts.left, 3);
  const exchange::Undone forced = undo(id, true);
  EXPECT_EQ(left_of(forced), Left{});
  EXPECT_EQ(contents(), before);
  undo(forced.upload);
  EXPECT_EQ(contents(), changed) << "what was forced can be undone, too";
}

TEST_F(Undos, LeaveARowThatIsGoneAndBringItBackWhenForced) {
  const auto before = contents();
  const std::int32_t id = upload({"UPDATE PRODUCTPROPVALUE SET VALUE = 'grey' WHERE PRODUCTID = 1"});
  execute({"DELETE FROM PRODUCTPROPVALUE WHERE PRODUCTID = 1"});
  EXPECT_EQ(left_of(undo(id)), Left{"PRODUCTPROPVALUE P-1: It is gone."});
  EXPECT_EQ(undo(id, true).inserted, 1u);
  EXPECT_EQ(contents(), before);
}

TEST_F(Undos, CountRowsThatAreAsBeforeAlready) {
  const std::int32_t id = upload({kUpdate, kInsert});
  execute({"UPDATE PRODUCT SET PRODUCTDESCRIPTION = 'Paper' WHERE PRODUCTID = 1",
           "DELETE FROM PRODUCT WHERE PRODUCTID = 3"});
  const exchange::Undone done = undo(id);
  EXPECT_EQ(done.unchanged, 2u);
  EXPECT_EQ(done.restored + done.deleted + done.inserted, 0u);
}

TEST_F(Undos, LeaveAProductThatSomethingNewerUsesWithAllThatIsItsOwn) {
  const std::int32_t id = upload({kUpdate, kInsert, kInsertValue});
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ANN', 3, 0, 1)"});
  for (const bool force : {false, true}) {
    const exchange::Undone done = undo(id, force);
    EXPECT_EQ(left_of(done), (Left{"PRODUCT P-3: It is used by 1 row of FAVORITES.",
                                   "PRODUCTPROPVALUE P-3: It belongs to a row of PRODUCT that stays."}));
    EXPECT_EQ(value_of("SELECT VALUE FROM PRODUCTPROPVALUE WHERE PRODUCTID = 3"), Variant("red"));
  }
  EXPECT_EQ(value_of("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = 1"), Variant("Paper"));
}

TEST_F(Undos, LeaveAPropertyThatOtherProductsHaveByNow) {
  const std::int32_t id = upload({"INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES ('SIZE', 1)",
                                  "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 1, 'A4')"});
  execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 2, 'XL')"});
  const exchange::Undone done = undo(id);
  EXPECT_EQ(left_of(done), (Left{"PRODUCTPROPVALUE P-1: It belongs to a row of PROPERTY that stays.",
                                 "PROPERTY SIZE: It is used by 1 row of PRODUCTPROPVALUE."}));
}

TEST_F(Undos, LeaveARowWhoseReferenceLeadsNowhereByNow) {
  const std::int32_t id = upload({"UPDATE PRODUCT SET UNITCODE = 'BX' WHERE PRODUCTID = 1"});
  execute({"UPDATE PRODUCT SET UNITCODE = 'BX' WHERE PRODUCTID = 2", "DELETE FROM UNIT WHERE UNITCODE = 'EA'"});
  for (const bool force : {false, true})
    EXPECT_EQ(left_of(undo(id, force)), Left{"PRODUCT P-1: Its UNITCODE EA is in no row of UNIT any more."});
}

// A row that one part deletes and a later one inserts again is the same row.
TEST_F(Undos, OfARowThatWentAndCameAgainRestoreIt) {
  const auto before = contents();
  exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", {}, {}});
  const std::vector<std::string> numbers = {"P-2"};
  journal.before(Kind::products, numbers);
  execute({kDeleteValue});
  journal.before(Kind::products, numbers);
  execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, 'black')"});
  journal.before(Kind::products, numbers);
  execute({"UPDATE PRODUCTPROPVALUE SET VALUE = 'pink' WHERE PRODUCTID = 2"});
  journal.end({}, {});
  const auto after = contents();
  const exchange::Undone done = undo(journal.id());
  EXPECT_EQ(left_of(done), Left{});
  EXPECT_EQ(contents(), before);
  undo(done.upload);
  EXPECT_EQ(contents(), after);
}

TEST_F(Undos, OnTrialChangeNothing) {
  const std::int32_t id = upload({kUpdate, kInsert});
  const auto before = all_rows();
  const exchange::Undone done = undo(id, false, true);
  EXPECT_EQ(done.upload, 0);
  EXPECT_EQ(done.restored, 1u);
  EXPECT_EQ(done.deleted, 1u);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(Undos, AreRefusedInWords) {
  EXPECT_EQ(raised_by([&] { undo(7); }).Description,
            "There is no upload 7; `mercato uploads list` shows those that are kept");
  const std::int32_t id = upload({kUpdate});
  undo(id);
  EXPECT_EQ(raised_by([&] { undo(id); }).Description,
            "Upload 1 was taken back already, by upload 2. Undo that one to bring it back, or use --force for the rows "
            "that were left");
  const exchange::Journal running(connection_string(), {"products", "ann", "f.xml", {}, {}});
  const RaisedError refused = raised_by([&] { undo(3); });
  EXPECT_EQ(refused.Number, error_number::kInvalidArgument);
  EXPECT_EQ(refused.Description, "Upload 3 is not over yet. Wait until it has ended");
  execute({"DELETE FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = 2"});
  EXPECT_EQ(raised_by([&] { undo(2); }).Description,
            "Upload 2 has changed records, but none of its rows were kept. So there is nothing to take it back by");
}

// Backwards, the latest upload first, any number of them ends where it began.
TEST_F(Undos, OfSeveralUploadsOneAfterTheOtherLeadBack) {
  const auto before = contents();
  const std::int32_t first = upload({kUpdate, kInsert, kInsertValue});
  const std::int32_t second = upload({"UPDATE PRODUCT SET PRODUCTDESCRIPTION = 'Board' WHERE PRODUCTID = 1",
                                      "UPDATE PRODUCTPROPVALUE SET VALUE = 'teal' WHERE PRODUCTID = 3", kDeleteValue});
  EXPECT_EQ(left_of(undo(first, false, true)),
            (Left{"PRODUCT P-1: It was changed since.", "PRODUCT P-3: It is used by 1 row of PRODUCTPROPVALUE.",
                  "PRODUCTPROPVALUE P-3: It was changed since."}));
  undo(second);
  EXPECT_EQ(left_of(undo(first)), Left{});
  EXPECT_EQ(contents(), before);
}

}  // namespace
}  // namespace mercato::test
