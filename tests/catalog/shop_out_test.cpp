// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>

#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

const std::string kAllFolders =
    "SELECT CN.NODEID as NODEID, CNBYBP.BUSINESSPARTNERID as BUSINESSPARTNERID FROM CATALOGNODE CN, CATALOGNODEBYBP "
    "CNBYBP WHERE CN.SHOPOUT = 1  AND CN.NODEID = CNBYBP.NODEID";
std::string details_of(const std::string& node) {
  return "SELECT CN.NODEID, CN.CATALOGID, CN.NODENAME, CN.NODEURL, CN.NODEDESCRIPTION, CNBYBP.BUSINESSPARTNERID FROM "
         "CATALOGNODE CN, CATALOGNODEBYBP CNBYBP WHERE CN.NODEID = " +
         node + " AND CN.SHOPOUT = 1 AND CN.NODEID = CNBYBP.NODEID";
}
std::string accounts_of(const std::string& user, const std::string& node) {
  return "SELECT SHAREDID, SHAREDPWD FROM CATALOGNODEBYUSER WHERE USERID = '" + user + "' AND NODEID = " + node;
}

class ShopOutFolders : public CatalogRightsTest {
 protected:
  // Node 1 has two partners, node 2 none, node 3 one but is no shop-out folder, node 4 one.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("Tools");
    for (const char* name : {"Shop", "Without a partner", "Plain", "Other shop"}) add_node(1, std::nullopt, name);
    execute({"UPDATE CATALOGNODE SET SHOPOUT = 1, NODEURL = 'https://shop.example/?a=1' WHERE NODEID = 1",
             "UPDATE CATALOGNODE SET SHOPOUT = 1, NODEDESCRIPTION = 'other' WHERE NODEID IN (2, 4)"});
    for (const auto& [node, partner] : {std::pair{"1", 7}, {"1", 8}, {"3", 7}, {"4", 9}, {"NULL", 7}})
      execute({std::string("INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (") + node +
               ", 1, " + std::to_string(partner) + ")"});
  }
  RecordsetPtr details(std::int16_t node) { return catalog_->GetShopOutFolderDetails(node); }
  RecordsetPtr accounts(std::string user, std::int16_t node) {
    return catalog_->GetFolderAuthenticationDetails(user, node);
  }
  static std::vector<std::string> columns(const Recordset& rows) {
    std::vector<std::string> names;
    for (std::size_t column = 0; column < rows.FieldCount(); ++column) names.push_back(rows.FieldName(column));
    return names;
  }
};

TEST_F(ShopOutFolders, AreListedOnceForEachPartner) {
  Recorder recorder;
  const Variant listed = catalog_->GetAllShopOutCatalogFolders();
  ASSERT_TRUE(listed.is_array());
  EXPECT_EQ(listed.to_array().lower, 0);
  std::vector<std::int16_t> ids;
  for (const Variant& id : listed.to_array().items) {
    EXPECT_EQ(id.type(), Variant(std::int16_t{1}).type());
    ids.push_back(id.to_short());
  }
  std::ranges::sort(ids);
  EXPECT_EQ(ids, (std::vector<std::int16_t>{1, 1, 4}));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kAllFolders}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ShopOutFolders, MayBeNone) {
  execute({"UPDATE CATALOGNODE SET SHOPOUT = 0 WHERE NODEID IN (1, 4)"});
  EXPECT_EQ(catalog_->GetAllShopOutCatalogFolders(), Variant(Array{}));
  execute({"UPDATE CATALOGNODE SET SHOPOUT = NULL"});
  EXPECT_EQ(catalog_->GetAllShopOutCatalogFolders(), Variant(Array{}));
}

TEST_F(ShopOutFolders, AreToldWithARowForEachPartner) {
  Recorder recorder;
  const RecordsetPtr shop = details(1);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, details_of("1")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
  EXPECT_EQ(shop->ActiveConnection(), nullptr);
  EXPECT_EQ(columns(*shop), (std::vector<std::string>{"NODEID", "CATALOGID", "NODENAME", "NODEURL", "NODEDESCRIPTION",
                                                      "BUSINESSPARTNERID"}));
  Rows rows = shop->rows();
  std::ranges::sort(rows, {}, [](const std::vector<Variant>& row) { return row.back().to_long(); });
  EXPECT_EQ(rows, (Rows{{1, 1, "Shop", "https://shop.example/?a=1", kNull, std::int16_t{7}},
                        {1, 1, "Shop", "https://shop.example/?a=1", kNull, std::int16_t{8}}}));
  EXPECT_EQ(details(4)->rows(), (Rows{{4, 1, "Other shop", kNull, "other", std::int16_t{9}}}));
}

TEST_F(ShopOutFolders, ThatAreNoneOrHaveNoPartnerGiveNoRow) {
  for (const std::int16_t node : {std::int16_t{2}, std::int16_t{3}, std::int16_t{99}, std::int16_t{0}}) {
    EXPECT_TRUE(details(node)->Eof()) << node;
    EXPECT_EQ(details(node)->FieldCount(), 6u);
  }
}

TEST_F(ShopOutFolders, GiveTheAccountsOfAUserAndOfAProfileOfHisName) {
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  entitle_to_node("bob", 1, 1, std::nullopt, 1);
  entitle("ann", 1);
  Recorder recorder;
  const RecordsetPtr own = accounts("ann", 1);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, accounts_of("ann", "1")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
  EXPECT_EQ(own->ActiveConnection(), nullptr);
  EXPECT_EQ(columns(*own), (std::vector<std::string>{"SHAREDID", "SHAREDPWD"}));
  EXPECT_EQ(own->rows(), (Rows{{"shared", "secret"}}));
  entitle_to_node("ann", 1, 1, std::nullopt, 1, false, true);
  EXPECT_EQ(accounts("ann", 1)->rows(), (Rows{{"shared", "secret"}, {"shared", "secret"}}));
}

TEST_F(ShopOutFolders, GiveNoAccountWithoutAnEntryForThem) {
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  entitle("bob", 1);
  EXPECT_TRUE(accounts("ann", 4)->Eof());
  EXPECT_TRUE(accounts("bob", 1)->Eof());
  EXPECT_TRUE(accounts("nobody", 1)->Eof());
  execute({"UPDATE CATALOGNODEBYUSER SET SHAREDID = NULL, SHAREDPWD = NULL"});
  EXPECT_EQ(accounts("ann", 1)->rows(), (Rows{{kNull, kNull}}));
}

TEST_F(ShopOutFolders, TakeAUserAsHeStands) {
  entitle_to_node("O'Neil", 1, 1, std::nullopt, 1);
  EXPECT_EQ(raised_by([&] { accounts("O'Neil", 1); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(accounts("O''Neil", 1)->rows(), (Rows{{"shared", "secret"}}));
}

TEST_F(ShopOutFolders, LeaveTheirArgumentsAsTheyWere) {
  std::vector<Variant> arguments = {"ann", "1"};
  invoke(catalog_.object(), "GetFolderAuthenticationDetails", arguments);
  EXPECT_EQ(arguments[0], Variant("ann"));
  EXPECT_EQ(arguments[1].to_long(), 1);
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), "GetShopOutFolderDetails", {40000}); }).Number,
            error_number::kOverflow);
  EXPECT_EQ(raised_by([&] {
              invoke(catalog_.object(), "GetFolderAuthenticationDetails", {"ann", 40000});
            }).Number,
            error_number::kOverflow);
  EXPECT_TRUE(recorder.statements.empty());
}

// Calls, their statements and their labels.
struct Reading {
  std::string method;
  std::vector<Variant> arguments;
  std::string statement;
};
const std::vector<Reading>& readings() {
  static const std::vector<Reading> all = {
      {"GetAllShopOutCatalogFolders", {}, kAllFolders},
      {"GetShopOutFolderDetails", {1}, details_of("1")},
      {"GetFolderAuthenticationDetails", {"ann", 1}, accounts_of("ann", "1")},
  };
  return all;
}

TEST_F(ShopOutFolders, ThatCannotBeReadAreLoggedByTheFactoryToo) {
  for (const Reading& reading : readings()) {
    SCOPED_TRACE(reading.method);
    const std::vector<Level> own = {{"Mercato.Catalog." + reading.method + "()"}};
    for (const std::size_t number : {1u, 2u}) {
      std::vector<Variant> arguments = reading.arguments;
      RefusingRecorder recorder(number);
      const FailureTrail expected = trail(refused_on_request(), number == 1 ? isolation_refused(reading.statement, own)
                                                                            : read_refused(reading.statement, own));
      EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), reading.method, arguments); }), expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_EQ(recorder.statements, first_of({kIsolation, reading.statement}, number));
      EXPECT_EQ(read_vote(), Vote::none);
    }
  }
}

TEST_F(ShopOutFolders, AreNotAskedForInAStoreThatCannotBeNamed) {
  // The connection whose string is used fails first, outside of the factory.
  for (const Reading& reading : readings()) {
    SCOPED_TRACE(reading.method);
    collaborators::Settings settings = *collaborators::settings();
    settings.connections["Mercato"] = "Provider=Nobody";
    collaborators::set_settings(settings);
    forget_thread_state();
    std::vector<Variant> arguments = reading.arguments;
    Recorder recorder;
    raised_by([&] { invoke(catalog_.object(), reading.method, arguments); });
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog." + reading.method + "()\r\n"), std::string::npos);
    EXPECT_TRUE(recorder.statements.empty());
  }
}

TEST_F(ShopOutFolders, HaveIdsOfSixteenBits) {
  MERCATO_ONLY_ON_SQLITE(store(), "the engine takes a row that the checks of its tables refuse");
  execute({"INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME, SHOPOUT) VALUES (70000, 1, 'far', 1)"});
  sqlite3* engine = nullptr;
  ASSERT_EQ(sqlite3_open(store_path().c_str(), &engine), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(engine,
                         "PRAGMA ignore_check_constraints = 1; "
                         "INSERT INTO CATALOGNODEBYBP (NODEID, CATALOGID, BUSINESSPARTNERID) VALUES (70000, 1, 7)",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(engine);
  EXPECT_EQ(raised_by([&] { catalog_->GetAllShopOutCatalogFolders(); }).Number, error_number::kOverflow);
}

}  // namespace
}  // namespace mercato::test
