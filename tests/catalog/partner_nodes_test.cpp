// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

const std::string kNewTies = "SELECT * FROM  CATALOGNODEBYBP WHERE 0=1";
const Level kInsertTies = {"Mercato.Catalog.InsertCatalogNodeByBP"};
const Level kUpdateTies = {"Mercato.Catalog.UpdateCatalogNodeByBP()"};

class PartnerNodes : public CatalogRightsTest {
 protected:
  // The node is written as in a statement.
  void tie(const std::string& node, int catalog, int partner) const {
    execute({"INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (" + node + ", " +
             std::to_string(catalog) + ", " + std::to_string(partner) + ")"});
  }
  // NODEID, CATALOGID, BUSINESSPARTNERID.
  Rows ties() const { return rows("SELECT * FROM CATALOGNODEBYBP ORDER BY CATALOGID, NODEID, BUSINESSPARTNERID"); }
  static std::vector<Variant> row(Variant node, std::int16_t catalog, std::int16_t partner) {
    if (!node.is_null()) node = node.to_short();
    return {node, catalog, partner};
  }
  std::string partners_of(std::int16_t node, std::int16_t catalog) {
    return catalog_->GetBPFromCatalogNodeByBP(node, catalog);
  }
  static std::string deleting(const std::string& node, const std::string& catalog) {
    return "DELETE CATALOGNODEBYBP WHERE NODEID = " + node + " AND CATALOGID = " + catalog;
  }
};

// Reading

TEST_F(PartnerNodes, GiveTheirPartnersInOneText) {
  tie("5", 1, 30);
  tie("5", 1, 7);
  tie("5", 2, 8);
  tie("6", 1, 9);
  tie("NULL", 1, 32767);
  tie("NULL", 1, 4);
  Recorder recorder;
  EXPECT_EQ(partners_of(5, 1), "30;7");
  EXPECT_EQ(partners_of(6, 1), "9");
  EXPECT_EQ(partners_of(7, 1), "");
  EXPECT_EQ(partners_of(0, 1), "32767;4");
  EXPECT_EQ(partners_of(-1, 1), "32767;4");
  EXPECT_EQ(partners_of(0, 2), "");
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID = 5 AND CATALOGID = 1",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID = 6 AND CATALOGID = 1",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID = 7 AND CATALOGID = 1",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 1",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 1",
                        "SELECT BUSINESSPARTNERID FROM CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 2"}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(PartnerNodes, GiveAsManyPartnersAsSixteenBitsCount) {
  insert_rows("CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID)", 32767, [](int) { return "5, 1, 2"; });
  EXPECT_EQ(partners_of(5, 1).size(), 32767u * 2 - 1);
  tie("5", 1, 2);
  Recorder recorder;
  const FailureTrail expected =
      trail({error_number::kOverflow, "Mercato", "Overflow", "", 0}, {{"Mercato.Catalog.GetBPFromCatalogNodeByBP()"}});
  EXPECT_EQ(raised_by([&] { partners_of(5, 1); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(PartnerNodes, ThatCannotBeReadAreLoggedAndRaisedWithoutAVote) {
  RefusingRecorder recorder(1);
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog.GetBPFromCatalogNodeByBP()"}});
  EXPECT_EQ(raised_by([&] { partners_of(5, 1); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(PartnerNodes, AreAskedForByIdsOfSixteenBits) {
  Recorder recorder;
  for (const auto& [node, catalog] : {std::pair{40000, 1}, std::pair{1, 40000}}) {
    EXPECT_EQ(raised_by([&, n = node, c = catalog] {
                invoke(catalog_.object(), "GetBPFromCatalogNodeByBP", {n, c});
              }).Number,
              error_number::kOverflow);
    for (const char* method : {"InsertCatalogNodeByBP", "UpdateCatalogNodeByBP"})
      EXPECT_EQ(raised_by([&, n = node, c = catalog] {
                  invoke(t_catalog_.object(), method, {n, c, "1"});
                }).Number,
                error_number::kOverflow);
    EXPECT_EQ(raised_by([&, n = node, c = catalog] {
                invoke(t_catalog_.object(), "DeleteCatalogNodeByBP", {n, c});
              }).Number,
              error_number::kOverflow);
  }
  EXPECT_TRUE(recorder.statements.empty());
}

// Inserting

class NewPartners : public PartnerNodes {
 protected:
  bool insert(std::int16_t node, std::int16_t catalog, Variant partners) {
    return t_catalog_->InsertCatalogNodeByBP(node, catalog, partners);
  }
};

TEST_F(NewPartners, AreTiedBesideThoseThatAre) {
  tie("5", 1, 2);
  Recorder recorder;
  EXPECT_TRUE(insert(5, 1, "2;30"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, Statements{kNewTies});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(ties(), (Rows{row(5, 1, 2), row(5, 1, 2), row(5, 1, 30)}));
}

TEST_F(NewPartners, OfNoNodeAreThoseOfTheWholeCatalogue) {
  EXPECT_TRUE(insert(0, 1, "2;3"));
  EXPECT_TRUE(insert(-1, 1, "4"));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 2), row(kNull, 1, 3), row(kNull, 1, 4)}));
}

TEST_F(NewPartners, MayBeNone) {
  Recorder recorder;
  EXPECT_TRUE(insert(5, 1, ""));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, Statements{kNewTies});
  EXPECT_TRUE(ties().empty());
}

TEST_F(NewPartners, TakeThePlaceOfTheirListInTheCallersVariable) {
  std::vector<Variant> arguments = {"5", 1, "2;30"};
  EXPECT_EQ(invoke(t_catalog_.object(), "InsertCatalogNodeByBP", arguments), Variant(true));
  EXPECT_EQ(arguments[0].to_long(), 5);
  EXPECT_EQ(arguments[1].to_long(), 1);
  EXPECT_EQ(arguments[2], Variant(Array{"2", "30"}));
  const auto before = all_rows();
  EXPECT_EQ(raised_by([&] { invoke(t_catalog_.object(), "InsertCatalogNodeByBP", arguments); }).Number,
            error_number::kTypeMismatch);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
  arguments[2] = "";
  EXPECT_EQ(invoke(t_catalog_.object(), "InsertCatalogNodeByBP", arguments), Variant(true));
  EXPECT_EQ(arguments[2], Variant(Array{}));
}

TEST_F(NewPartners, AreNotTiedWhenOneIsNoPartner) {
  const struct {
    Variant partners;
    std::int32_t number;
    std::size_t statements;
  } cases[] = {
      {"2;acme", error_number::kTypeMismatch, 1},  {"2;", error_number::kTypeMismatch, 1},
      {";", error_number::kTypeMismatch, 1},       {" ", error_number::kTypeMismatch, 1},
      {"2,3;", error_number::kTypeMismatch, 1},    {"2;40000", error_number::kOverflow, 1},
      {kNull, error_number::kInvalidUseOfNull, 0}, {Array{"2"}, error_number::kTypeMismatch, 0},
  };
  for (const auto& given : cases) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { insert(5, 1, given.partners); });
    EXPECT_EQ(raised.Number, given.number) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.InsertCatalogNodeByBP\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements.size(), given.statements);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
  }
  EXPECT_TRUE(ties().empty());
}

TEST_F(NewPartners, AreTiedAsAWholeOrNotAtAll) {
  const auto work = [&] { insert(5, 1, "1;2;3"); };
  for (const char* partner : {"1", "2", "3"})
    expect_nothing_left({"INSERT", "CATALOGNODEBYBP", "BUSINESSPARTNERID", partner}, work);
  expect_whole_or_nothing({kNewTies}, work, [](std::size_t) { return std::vector<Level>{kInsertTies}; });
}

// Updating

class ChangedPartners : public PartnerNodes {
 protected:
  void SetUp() override {
    PartnerNodes::SetUp();
    tie("5", 1, 10);
    tie("NULL", 1, 20);
    tie("5", 1, 11);
    tie("5", 2, 12);
  }
  // Nobody votes, so the change stands when its object goes.
  bool update(std::int16_t node, std::int16_t catalog, Variant partners) {
    Root<TCatalog> writer;
    const bool updated = writer->UpdateCatalogNodeByBP(node, catalog, partners);
    EXPECT_EQ(writer.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(writer.context().outcome_of_last_call(), Outcome::open);
    return updated;
  }
  static constexpr const char* kReading = "SELECT * FROM CATALOGNODEBYBP WHERE NODEID = 5 AND CATALOGID = 1";
};

TEST_F(ChangedPartners, AsManyAsBeforeTakeTheRowsPlaces) {
  Recorder recorder;
  EXPECT_TRUE(update(5, 1, "30;10"));
  EXPECT_EQ(recorder.statements, Statements{kReading});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 1, 10), row(5, 1, 30), row(5, 2, 12)}));
}

TEST_F(ChangedPartners, MoreOrFewerReplaceTheRows) {
  Recorder recorder;
  EXPECT_TRUE(update(5, 1, "10;11;13"));
  EXPECT_EQ(recorder.statements, (Statements{kReading, deleting("5", "1")}));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 1, 10), row(5, 1, 11), row(5, 1, 13), row(5, 2, 12)}));
  recorder.statements.clear();
  EXPECT_TRUE(update(5, 1, "11"));
  EXPECT_EQ(recorder.statements, (Statements{kReading, deleting("5", "1")}));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 1, 11), row(5, 2, 12)}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ChangedPartners, OfANodeWithoutAnyAreAdded) {
  Recorder recorder;
  EXPECT_TRUE(update(6, 1, "1"));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM CATALOGNODEBYBP WHERE NODEID = 6 AND CATALOGID = 1", deleting("6", "1")}));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 1, 10), row(5, 1, 11), row(6, 1, 1), row(5, 2, 12)}));
}

TEST_F(ChangedPartners, OfNoNodeAreThoseOfTheWholeCatalogue) {
  const std::string reading = "SELECT * FROM CATALOGNODEBYBP WHERE NODEID IS NULL  AND CATALOGID = 1";
  Recorder recorder;
  EXPECT_TRUE(update(0, 1, "21"));
  EXPECT_EQ(recorder.statements, Statements{reading});
  EXPECT_TRUE(update(-1, 1, "22;23"));
  EXPECT_EQ(recorder.statements,
            (Statements{reading, reading, "DELETE CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 1"}));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 22), row(kNull, 1, 23), row(5, 1, 10), row(5, 1, 11), row(5, 2, 12)}));
}

TEST_F(ChangedPartners, MayBeNone) {
  Recorder recorder;
  EXPECT_TRUE(update(5, 1, ""));
  EXPECT_EQ(recorder.statements, (Statements{kReading, deleting("5", "1")}));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 2, 12)}));
  recorder.statements.clear();
  EXPECT_TRUE(update(5, 1, ""));
  EXPECT_EQ(recorder.statements, Statements{kReading});
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 2, 12)}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ChangedPartners, TakeThePlaceOfTheirListInTheCallersVariable) {
  std::vector<Variant> arguments = {5, 1, "2;30"};
  EXPECT_EQ(invoke(t_catalog_.object(), "UpdateCatalogNodeByBP", arguments), Variant(true));
  EXPECT_EQ(arguments[2], Variant(Array{"2", "30"}));
  const RaisedError raised = raised_by([&] { invoke(t_catalog_.object(), "UpdateCatalogNodeByBP", arguments); });
  EXPECT_EQ(raised.Number, error_number::kTypeMismatch);
  EXPECT_EQ(vote(), Vote::abort);
}

// The delete within an update fails without a word, and the update goes on.
class PartnersThatCannotBeDeleted : public ChangedPartners {
 protected:
  PartnersThatCannotBeDeleted() { recorder_.fail_on = "DELETE CATALOGNODEBYBP"; }
  Recorder recorder_;
};

TEST_F(PartnersThatCannotBeDeleted, StayWhenTheListIsEmpty) {
  const auto before = all_rows();
  EXPECT_TRUE(update(5, 1, ""));
  EXPECT_EQ(recorder_.statements, (Statements{kReading, deleting("5", "1")}));
  EXPECT_TRUE(recorder_.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PartnersThatCannotBeDeleted, AreOverwrittenAsFarAsTheListGoes) {
  EXPECT_TRUE(update(5, 1, "30"));
  EXPECT_TRUE(recorder_.log.empty());
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 1, 11), row(5, 1, 30), row(5, 2, 12)}));
}

TEST_F(PartnersThatCannotBeDeleted, EndTheCallWhenTheListIsLonger) {
  const auto before = all_rows();
  const RaisedError no_row = {error_number::kNoCurrentRow, "Mercato",
                              std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0};
  const FailureTrail expected = trail(no_row, {kUpdateTies});
  std::int16_t node = 5, catalog = 1;
  Variant partners = "30;31;32";
  EXPECT_EQ(raised_by([&] { t_catalog_->UpdateCatalogNodeByBP(node, catalog, partners); }), expected.raised);
  EXPECT_EQ(recorder_.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ChangedPartners, StayAsTheyWereWhenAnythingFails) {
  const auto change = [&](const std::string& list) {
    std::int16_t node = 5, catalog = 1;
    Variant partners = list;
    t_catalog_->UpdateCatalogNodeByBP(node, catalog, partners);
  };
  expect_nothing_left({"UPDATE", "CATALOGNODEBYBP", "BUSINESSPARTNERID", "31"}, [&] { change("30;31"); });
  for (const char* partner : {"30", "32"})
    expect_nothing_left({"INSERT", "CATALOGNODEBYBP", "BUSINESSPARTNERID", partner}, [&] { change("30;31;32"); });
  const auto before = all_rows();
  for (const auto& [list, number] :
       {std::pair{"30;acme", error_number::kTypeMismatch}, std::pair{"30;31;40000", error_number::kOverflow}}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&, text = std::string(list)] { change(text); }).Number, number);
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.UpdateCatalogNodeByBP()\r\n"), std::string::npos);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ChangedPartners, ThatCannotBeReadAreLoggedByTheFactoryToo) {
  const auto before = all_rows();
  RefusingRecorder recorder(1);
  const FailureTrail expected = trail(
      refused_on_request(), {{"Lib_SQL.SQL_GetWritableRecordset", refused_while_executing(kReading)}, kUpdateTies});
  std::int16_t node = 5, catalog = 1;
  Variant partners = "30;31";
  EXPECT_EQ(raised_by([&] { t_catalog_->UpdateCatalogNodeByBP(node, catalog, partners); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(partners, Variant("30;31"));
  EXPECT_EQ(all_rows(), before);
}

// Deleting

class DeletedPartners : public ChangedPartners {
 protected:
  bool remove(std::int16_t node, std::int16_t catalog) {
    Root<TCatalog> writer;
    const bool deleted = writer->DeleteCatalogNodeByBP(node, catalog);
    EXPECT_EQ(writer.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(writer.context().outcome_of_last_call(), Outcome::open);
    return deleted;
  }
};

TEST_F(DeletedPartners, AreThoseOfTheNodeOrOfTheWholeCatalogue) {
  Recorder recorder;
  EXPECT_TRUE(remove(5, 1));
  EXPECT_EQ(ties(), (Rows{row(kNull, 1, 20), row(5, 2, 12)}));
  EXPECT_TRUE(remove(0, 1));
  EXPECT_TRUE(remove(-1, 2));
  EXPECT_EQ(ties(), (Rows{row(5, 2, 12)}));
  EXPECT_EQ(recorder.statements,
            (Statements{deleting("5", "1"), "DELETE CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 1",
                        "DELETE CATALOGNODEBYBP WHERE NODEID IS NULL AND CATALOGID = 2"}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(DeletedPartners, ThatCannotBeDeletedStayWithoutAWord) {
  MERCATO_ONLY_WITH_REFUSALS(store());
  const auto before = all_rows();
  {
    RefusingRecorder recorder(1);
    EXPECT_FALSE(remove(5, 1));
    EXPECT_TRUE(recorder.log.empty());
  }
  {
    const RefusedRows refused(store(), {"DELETE", "CATALOGNODEBYBP", "BUSINESSPARTNERID", "11"});
    EXPECT_FALSE(remove(5, 1));
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
