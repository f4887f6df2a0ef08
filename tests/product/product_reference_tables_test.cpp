// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/product/product_fixture.h"
#include "tests/support/failure_trail.h"

namespace mercato::test {
namespace {

using Texts = std::vector<std::string>;

class ProductReferenceTables : public ProductTest {
 protected:
  void add_commodity(const std::string& code, const std::string& columns = "", const std::string& values = "") const {
    execute({"INSERT INTO COMMODITY (COMMODITYCODE" + (columns.empty() ? "" : ", " + columns) + ") VALUES ('" + code +
             "'" + (values.empty() ? "" : ", " + values) + ")"});
  }
  Outcome outcome() const { return product_.context().outcome_of_last_call(); }
  void expect_raised(const RaisedError& raised, const Recorder& recorder, const FailureTrail& expected) const {
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
  }
};

// Commodities

TEST_F(ProductReferenceTables, FullReadsAreRefusedWithTheNameOfTheirSuccessor) {
  const struct {
    std::string method;
    std::string text;
  } cases[] = {
      {"GetAllCommodities",
       "Function GetAllCommodities() is a 'full table scan' function and is not supported anymore.\r\n"
       "Use new function GetCommodityData() that supports paging (=based on DRecordset component)."},
      {"GetAllManufacturers",
       "Function GetAllManufacturers() is a 'full table scan' function and is not supported anymore.\r\n"
       "Use new function GetManufacturerData() that supports paging (=based on DRecordset component)."},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { invoke(product_.object(), row.method, {}); });
    expect_raised(raised, recorder,
                  trail({-1, "Mercato", "Application-defined or object-defined error", "", 0}, {{row.text}}));
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
  }
}

TEST_F(ProductReferenceTables, AnUnusedCommodityIsDeleted) {
  add_commodity("C''1");
  add_commodity("C2");
  Recorder recorder;
  EXPECT_TRUE(product_->DeleteCommodity("C'1"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, Statements{"DELETE FROM COMMODITY WHERE COMMODITYCODE = 'C''1'"});
  EXPECT_EQ(recorder.calls.front(), (ComponentCall{"Grundwerk.ReferentialChecker.CheckBeforeDelete",
                                                   {"Mercato", "COMMODITY", Array{"COMMODITYCODE"}, Array{"C'1"}}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(rows("SELECT COMMODITYCODE FROM COMMODITY"), (std::vector<std::vector<Variant>>{{"C2"}}));
}

TEST_F(ProductReferenceTables, AReferencedCommodityIsNotDeletedAndNothingIsRaisedOrLogged) {
  add_commodity("C1");
  add_product("P", "product", "COMMODITYCODE", "'C1'");
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(product_->DeleteCommodity("C1"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductReferenceTables, AnUnknownCommodityIsRaisedWithItsCode) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->DeleteCommodity("O'N"); });
  expect_raised(raised, recorder,
                trail({eCommodityNotFound, "Mercato.Commodity.Delete", "Commodity O'N not present", "", 0},
                      {{"Mercato.Product.DeleteCommodity", "Commoditycode: O'N"}}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductReferenceTables, ADeleteOfACommodityThatFailsIsLoggedWithTheCode) {
  add_commodity("C1");
  Recorder recorder;
  recorder.fail_on = "DELETE FROM COMMODITY";
  const RaisedError raised = raised_by([&] { product_->DeleteCommodity("C1"); });
  expect_raised(raised, recorder,
                trail(refused_on_request(), {{"Mercato.Product.DeleteCommodity", "Commoditycode: C1"}}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM COMMODITY"), Variant(1));
}

TEST_F(ProductReferenceTables, ACheckerThatFailsIsTheFailureOfTheDelete) {
  Recorder recorder;
  recorder.failures["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = {70, "Checker", "not now", "", 0};
  const RaisedError raised = raised_by([&] { product_->DeleteCommodity("C1"); });
  expect_raised(raised, recorder,
                trail({70, "Checker", "not now", "", 0}, {{"Mercato.Product.DeleteCommodity", "Commoditycode: C1"}}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductReferenceTables, TheChargeTypeOfACommodityIsEmptyWithoutOneAndWithoutACommodity) {
  add_commodity("C''1", "CHARGETYPECODE", "'CT'");
  add_commodity("C2");
  EXPECT_EQ(product_->GetChargeType("C'1"), "CT");
  EXPECT_EQ(product_->GetChargeType("C2"), "");
  EXPECT_EQ(product_->GetChargeType("unknown"), "");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductReferenceTables, TheItemCodeOfACommodityIsEmptyForNull) {
  add_commodity("C1", "BISITEMCODE", "'B7'");
  add_commodity("C2");
  EXPECT_EQ(product_->GetBisItemCode("C1"), "B7");
  EXPECT_EQ(product_->GetBisItemCode("C2"), "");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductReferenceTables, TheItemCodeOfAnUnknownCommodityIsRaisedUnloggedWithAnAbortVote) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetBisItemCode("unknown"); }),
            (RaisedError{eCommodityNotFound, "Mercato.Product.GetBisItemCode", "CommodityCode is Not found", "", 0}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, "SELECT BISITEMCODE FROM COMMODITY WHERE COMMODITYCODE = 'unknown'"}));
}

TEST_F(ProductReferenceTables, AnItemCodeIsLookedUpAsItStandsSoAQuoteIsRefused) {
  add_commodity("C''1", "BISITEMCODE", "'B7'");
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->GetBisItemCode("C'1"); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(product_->GetBisItemCode("C''1"), "B7");  // a caller who doubles the quote finds it
}

// Tax codes

TEST_F(ProductReferenceTables, TheTaxCodeOfACommodityIsOneRowWithItsColumnsAsKeys) {
  add_commodity("C''1", "TAXCODE", "'T1'");
  add_commodity("C2", "TAXCODE", "'T9'");
  add_commodity("C3");
  execute({"INSERT INTO TAXCODES (TAXCODE, DESCRIPTION, LEDGERACCOUNT) VALUES ('T1', 'high', '4711')",
           "INSERT INTO TAXCODES (TAXCODE) VALUES ('T2')"});
  const DictionaryPtr found = product_->GetTaxcodeInformation("C'1");
  EXPECT_EQ(found->Keys(), (Array{"TAXCODE", "DESCRIPTION", "LEDGERACCOUNT"}));
  EXPECT_EQ(found->Items(), (Array{"T1", "high", "4711"}));
  EXPECT_EQ(vote(), Vote::commit);
  for (const char* code : {"C2", "C3", "unknown"}) EXPECT_EQ(product_->GetTaxcodeInformation(code)->Count(), 0) << code;
}

TEST_F(ProductReferenceTables, AllTaxCodesLeadToTheirDescriptions) {
  EXPECT_EQ(product_->GetAllTaxCodes()->Count(), 0);
  execute({"INSERT INTO TAXCODES (TAXCODE, DESCRIPTION) VALUES ('T1', 'high')",
           "INSERT INTO TAXCODES (TAXCODE) VALUES ('T2')"});
  const DictionaryPtr all = product_->GetAllTaxCodes();
  EXPECT_EQ(all->Keys(), (Array{"T1", "T2"}));
  EXPECT_EQ(all->Items(), (Array{"high", kNull}));
  EXPECT_EQ(vote(), Vote::commit);
}

// Manufacturers

TEST_F(ProductReferenceTables, AManufacturerIsInsertedAsItStands) {
  Recorder recorder;
  product_->InsertManufacturer("M1", "Doubled''s");
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements,
            Statements{"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES('M1', 'Doubled''s')"});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(rows("SELECT * FROM MANUFACTURER"), (std::vector<std::vector<Variant>>{{"M1", "Doubled's"}}));
}

TEST_F(ProductReferenceTables, AManufacturerWithAQuoteIsRefusedByTheStore) {
  for (const auto& [code, name] : std::vector<std::pair<std::string, std::string>>{{"M1", "O'Neil"}, {"O'N", "x"}}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&, &code = code, &name = name] { product_->InsertManufacturer(code, name); }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM MANUFACTURER"), Variant(0));
}

TEST_F(ProductReferenceTables, AManufacturerThatExistsIsRefusedByTheTablesKey) {
  product_->InsertManufacturer("M1", "first");
  EXPECT_EQ(raised_by([&] { product_->InsertManufacturer("M1", "second"); }).Number, error_number::kConstraintViolated);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(value_of("SELECT MANUFACTURERNAME FROM MANUFACTURER"), Variant("first"));
}

TEST_F(ProductReferenceTables, AManufacturersNameThatIsTooLongIsRefused) {
  EXPECT_EQ(raised_by([&] { product_->InsertManufacturer("M1", std::string(256, 'x')); }).Number,
            error_number::kValueTooLong);
  EXPECT_EQ(vote(), Vote::abort);
}

// Service products

TEST_F(ProductReferenceTables, AllServiceProductsAreAnArrayOfIds) {
  add_product("A", "a", "SERVICEITEM", "1");
  add_product("B", "b", "SERVICEITEM", "0");
  add_product("C", "c", "SERVICEITEM", "NULL");
  add_product("D", "d", "SERVICEITEM, DISABLED", "1, 1");
  EXPECT_EQ(product_->getAllServiceProducts(), Variant(Array{1, 4}));
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(ProductReferenceTables, NoServiceProductsAreNull) {
  EXPECT_TRUE(product_->getAllServiceProducts().is_null());
  add_product("B", "b");
  EXPECT_TRUE(product_->getAllServiceProducts().is_null());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(ProductReferenceTables, AServiceProductIsOneWhoseFlagIsTrue) {
  add_product("A", "a", "SERVICEITEM", "1");
  add_product("B", "b", "SERVICEITEM", "0");
  add_product("C", "c", "SERVICEITEM", "NULL");
  EXPECT_TRUE(product_->IsServiceProduct(1));
  EXPECT_FALSE(product_->IsServiceProduct(2));
  EXPECT_FALSE(product_->IsServiceProduct(3));
  for (const std::int32_t unknown : {0, -1, 4, 2147483647}) EXPECT_FALSE(product_->IsServiceProduct(unknown));
  EXPECT_EQ(vote(), Vote::none);
}

// What the plain calls hand to the store, how they vote, and what becomes of a failure.

enum class Tails { aborting, not_voting };

struct PlainCall {
  std::string method;
  std::vector<Variant> arguments;
  Statements statements;
  Vote vote;
  std::string label;
  Tails tails = Tails::aborting;
  // Information of the method's own tail when a statement fails on its connection.
  std::optional<std::string> info = {};
  // The factory through which the statement runs, by its label.
  std::string factory = {};
};

const std::vector<PlainCall>& plain_calls() {
  static const std::string tax_code =
      "SELECT COMMODITY.TAXCODE, TAXCODES.DESCRIPTION, TAXCODES.LEDGERACCOUNT FROM COMMODITY, TAXCODES WHERE "
      "COMMODITY.TAXCODE = TAXCODES.TAXCODE AND COMMODITY.COMMODITYCODE='C''1'";
  static const std::string all_tax_codes = "SELECT TAXCODE, DESCRIPTION FROM TAXCODES";
  static const std::vector<PlainCall> calls = {
      {"GetChargeType",
       {"C'1"},
       {kIsolation, "SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='C''1'"},
       Vote::commit,
       "Mercato.Product.getChargetype"},
      {"GetBisItemCode",
       {"C1"},
       {kIsolation, "SELECT BISITEMCODE FROM COMMODITY WHERE COMMODITYCODE = 'C1'"},
       Vote::commit,
       "Mercato.Product.GetBisItemCode"},
      {"GetTaxcodeInformation",
       {"C'1"},
       {kIsolation, tax_code},
       Vote::commit,
       "Product.GetTaxcodeInformation",
       Tails::aborting,
       "Error(s) from connection object:  (1)refused on request[-2147217900]"},
      {"GetAllTaxCodes",
       {},
       {all_tax_codes},
       Vote::commit,
       "Product.GetAllTaxCodes",
       Tails::aborting,
       {},
       "Lib_SQL.Sql_GetRecordsAsDictionary. SQL: '" + all_tax_codes + "'"},
      {"getAllServiceProducts",
       {},
       {"SELECT PRODUCTID FROM PRODUCT WHERE SERVICEITEM = 1"},
       Vote::none,
       "Mercato.Product.getAllServiceProducts",
       Tails::not_voting},
      {"IsServiceProduct",
       {1},
       {"SELECT SERVICEITEM FROM PRODUCT WHERE PRODUCTID =1"},
       Vote::none,
       "Mercato.Product.IsServiceProduct",
       Tails::not_voting},
      {"InsertManufacturer",
       {"M", "N"},
       {"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES('M', 'N')"},
       Vote::commit,
       "Mercato.Manufacturer.InsertManufacturer"},
  };
  return calls;
}

class ProductReferenceCalls : public ProductReferenceTables {
 protected:
  void SetUp() override {
    ProductReferenceTables::SetUp();
    add_commodity("C1");
  }
};

TEST_F(ProductReferenceCalls, HandTheirStatementsToTheStoreAndVoteWhenTheySucceed) {
  for (const PlainCall& expected : plain_calls()) {
    SCOPED_TRACE(expected.method);
    Root<Product> fresh;
    Recorder recorder;
    std::vector<Variant> arguments = expected.arguments;
    invoke(fresh.object(), expected.method, arguments);
    EXPECT_EQ(recorder.statements, expected.statements);
    EXPECT_EQ(fresh.context().vote_of_last_call(), expected.vote);
    EXPECT_TRUE(recorder.log.empty());
  }
}

TEST_F(ProductReferenceCalls, WhoseStatementIsRefusedCloseVoteLogAndRaise) {
  const auto before = all_rows();
  for (const PlainCall& expected : plain_calls()) {
    for (const std::string& refused_statement : expected.statements) {
      SCOPED_TRACE(expected.method + " " + refused_statement);
      Root<Product> fresh;
      Recorder recorder;
      recorder.fail_on = refused_statement;
      std::vector<Variant> arguments = expected.arguments;
      const RaisedError raised = raised_by([&] { invoke(fresh.object(), expected.method, arguments); });
      std::vector<Level> levels;
      if (!expected.factory.empty()) levels.push_back({expected.factory});
      // A connection whose isolation statement is refused never gets as far as the method.
      levels.push_back({expected.label, expected.info && refused_statement == kIsolation ? "" : expected.info});
      expect_raised(raised, recorder, trail(refused_on_request(), levels));
      EXPECT_EQ(fresh.context().vote_of_last_call(), expected.tails == Tails::aborting ? Vote::abort : Vote::none);
    }
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductReferenceCalls, WorkWithoutATransactionServerToo) {
  Product product;
  EXPECT_EQ(product.GetChargeType("C1"), "");
  EXPECT_TRUE(product.DeleteCommodity("C1"));
  EXPECT_EQ(raised_by([&] { product.GetBisItemCode("C1"); }).Source, "Mercato.Product.GetBisItemCode");
}

// Paged lists

class ProductPagedLists : public ProductReferenceTables {
 protected:
  void SetUp() override {
    ProductReferenceTables::SetUp();
    for (int number = 1; number <= 12; ++number) {
      const std::string digits = std::to_string(100 + number).substr(1);
      add_product("P" + digits, "product " + std::to_string(number % 2));
      add_commodity("C" + digits, "DESCRIPTION", "'commodity " + std::to_string(number % 2) + "'");
      execute({"INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('M" + digits + "', 'maker " +
               std::to_string(number % 2) + "')"});
    }
    page_ = create_plain("Bauteil.Page");
    product_->GetMaxProductId();  // the connection string is looked up before anything is recorded
  }

  ComponentPtr products(std::int32_t page_size, const std::string& where = "", const std::string& sort = "",
                        const std::string& fields = "*") {
    return product_->GetProductsAsDRecordSet(nullptr, "", page_size, fields, sort, "PRODUCTID", where);
  }
  static Texts column(const ComponentPtr& list, std::size_t position = 0) {
    Texts values;
    const RecordsetPtr page = invoke(list, "PageRows", {}).to<Recordset>();
    for (const auto& row : page->rows()) values.push_back(row[position].to_text());
    return values;
  }
  static Variant ask(const ComponentPtr& list, std::string_view method) { return invoke(list, method, {}); }
  // The arguments of the only call of an operation, nothing when it was not called.
  static std::vector<Variant> arguments_of(const Recorder& recorder, const std::string& operation) {
    std::vector<std::vector<Variant>> found;
    for (const ComponentCall& call : recorder.calls)
      if (call.method == "Bauteil.DRecordset." + operation) found.push_back(call.arguments);
    EXPECT_LE(found.size(), 1u);
    return found.empty() ? std::vector<Variant>{} : found.front();
  }
  static bool was_called(const Recorder& recorder, const std::string& operation) {
    return std::any_of(recorder.calls.begin(), recorder.calls.end(),
                       [&](const ComponentCall& call) { return call.method == "Bauteil.DRecordset." + operation; });
  }

  ComponentPtr page_;
};

TEST_F(ProductPagedLists, ProductsComeInPagesOfTheCallersFields) {
  Recorder recorder;
  const ComponentPtr list =
      product_->GetProductsAsDRecordSet(nullptr, "", 5, "PRODUCTID, PARTNUMBER", "PARTNUMBER DESC", "PRODUCTID",
                                        "PRODUCTDESCRIPTION = 'product 0' AND DISABLED = 0");
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(recorder.calls,
            (std::vector<ComponentCall>{
                {"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                {"Bauteil.DRecordset.SetPersistedState", {""}},
                {"Bauteil.DRecordset.SetPageSize", {std::int16_t{5}}},
                {"Bauteil.DRecordset.SetSortFields", {"PARTNUMBER DESC"}},
                {"Bauteil.DRecordset.OpenQuery",
                 {"SELECT PRODUCTID, PARTNUMBER FROM PRODUCT WHERE PRODUCTDESCRIPTION = 'product 0' AND DISABLED = 0",
                  "PRODUCTID"}}}));
  EXPECT_EQ(column(list, 1), (Texts{"P12", "P10", "P08", "P06", "P04"}));
  EXPECT_EQ(ask(list, "NextPage"), Variant(true));
  EXPECT_EQ(column(list, 1), Texts{"P02"});
  EXPECT_EQ(ask(list, "NextPage"), Variant(false));
  EXPECT_EQ(ask(list, "RowCount"), Variant(6));
  EXPECT_EQ(ask(list, "PageCount"), Variant(2));
}

TEST_F(ProductPagedLists, ProductsWithPageSizeZeroComeInTens) {
  Recorder recorder;
  const ComponentPtr list = products(0);
  EXPECT_EQ(arguments_of(recorder, "SetPageSize"), std::vector<Variant>{std::int16_t{10}});
  EXPECT_EQ(arguments_of(recorder, "OpenQuery"), (std::vector<Variant>{"SELECT * FROM PRODUCT", "PRODUCTID"}));
  EXPECT_FALSE(was_called(recorder, "SetSortFields"));
  EXPECT_EQ(column(list).size(), 10u);
  EXPECT_EQ(ask(list, "PageCount"), Variant(2));
}

TEST_F(ProductPagedLists, ProductsOfAPageStandWhereTheListWasLeft) {
  const auto read = [&] { return product_->GetProductsAsDRecordSet(page_, "", 5, "*", "PARTNUMBER", "PRODUCTID", ""); };
  const ComponentPtr left = read();
  EXPECT_EQ(ask(left, "NextPage"), Variant(true));
  invoke(page_, "SetSavedPosition", {ask(left, "PersistedState")});
  Recorder recorder;
  const ComponentPtr list = read();
  EXPECT_EQ(recorder.calls.front(), (ComponentCall{"Bauteil.Page.RegisterConnection", {"MercatoConnection"}}));
  EXPECT_FALSE(was_called(recorder, "SetConnectionString"));
  EXPECT_EQ(ask(list, "PageNumber"), Variant(2));
  EXPECT_EQ(column(list, 0).front(), "6");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductPagedLists, ProductsBeyondThePageSizesWidthFailWithAnAbortVote) {
  for (const std::int32_t size : {32768, -32769}) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { products(size); });
    expect_raised(
        raised, recorder,
        trail({error_number::kOverflow, "Mercato", "Overflow", "", 0}, {{"Mercato.Product.GetProductsAsDRecordSet"}}));
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_EQ(column(products(32767)).size(), 12u);
}

TEST_F(ProductPagedLists, ProductsWithWhatIsNoColumnAreRefusedWhenTheListIsOpened) {
  const struct {
    std::string fields, sort, where;
    std::int32_t number;
  } cases[] = {
      {"NOCOLUMN", "", "", error_number::kStatementRefused},
      {"", "", "", error_number::kStatementRefused},
      {"*", "", "NOCOLUMN = 1", error_number::kStatementRefused},
      {"*", "NOCOLUMN", "", error_number::kInvalidArgument},
      {"*", "PARTNUMBER; DELETE", "", error_number::kInvalidArgument},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { products(10, row.where, row.sort, row.fields); });
    EXPECT_EQ(raised.Number, row.number) << row.fields << row.sort << row.where;
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(ProductPagedLists, ProductsWithoutKeyFieldsKeepTheStoresOrder) {
  const ComponentPtr list = product_->GetProductsAsDRecordSet(nullptr, "", 3, "PRODUCTID", "", "", "");
  EXPECT_EQ(column(list).size(), 3u);
  EXPECT_EQ(ask(list, "RowCount"), Variant(12));
}

TEST_F(ProductPagedLists, CommoditiesComeByCodeWithoutAVote) {
  Recorder recorder;
  const ComponentPtr list = product_->GetCommodityData(nullptr, "", 5);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                                {"Bauteil.DRecordset.SetPersistedState", {""}},
                                {"Bauteil.DRecordset.SetPageSize", {std::int16_t{5}}},
                                {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM COMMODITY", "COMMODITYCODE"}}}));
  EXPECT_EQ(column(list), (Texts{"C01", "C02", "C03", "C04", "C05"}));
  EXPECT_EQ(ask(list, "PageCount"), Variant(3));
}

TEST_F(ProductPagedLists, CommoditiesHaveNoPageSizeOfTheirOwnForZero) {
  Recorder recorder;
  product_->GetCommodityData(nullptr, "", 0);
  EXPECT_EQ(arguments_of(recorder, "SetPageSize"), std::vector<Variant>{std::int16_t{0}});
}

TEST_F(ProductPagedLists, CommoditiesAreRestrictedToQuotedCodes) {
  add_commodity("O''N");
  Recorder recorder;
  const ComponentPtr list =
      product_->GetCommodityData(nullptr, "", 5, Array(std::vector<Variant>{"C03", "O'N", 7}, 1), "COMMODITYCODE DESC");
  EXPECT_EQ(
      arguments_of(recorder, "OpenQuery"),
      (std::vector<Variant>{"SELECT * FROM COMMODITY WHERE (COMMODITYCODE IN ('C03','O''N','7'))", "COMMODITYCODE"}));
  EXPECT_EQ(arguments_of(recorder, "SetSortFields"), std::vector<Variant>{"COMMODITYCODE DESC"});
  EXPECT_EQ(column(list), (Texts{"O'N", "C03"}));
}

TEST_F(ProductPagedLists, ManufacturersAlwaysGetTheirSortFields) {
  Recorder recorder;
  const ComponentPtr list = product_->GetManufacturerData(nullptr, "", 5);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                                {"Bauteil.DRecordset.SetPersistedState", {""}},
                                {"Bauteil.DRecordset.SetPageSize", {std::int16_t{5}}},
                                {"Bauteil.DRecordset.SetSortFields", {""}},
                                {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM MANUFACTURER", "MANUFACTURERID"}}}));
  EXPECT_EQ(column(list), (Texts{"M01", "M02", "M03", "M04", "M05"}));
}

TEST_F(ProductPagedLists, AnEmptyOrderTakesTheManufacturersOrderAwayButNotTheCommodities) {
  const auto state =
      ask(product_->GetManufacturerData(nullptr, "", 5, kMissing, "MANUFACTURERNAME DESC"), "PersistedState").to_text();
  EXPECT_EQ(column(product_->GetManufacturerData(nullptr, state, 5)).front(), "M01");
  const auto commodities =
      ask(product_->GetCommodityData(nullptr, "", 5, kMissing, "DESCRIPTION DESC"), "PersistedState").to_text();
  EXPECT_EQ(column(product_->GetCommodityData(nullptr, commodities, 5)), (Texts{"C01", "C03", "C05", "C07", "C09"}));
}

TEST_F(ProductPagedLists, ManufacturersAreRestrictedToQuotedIds) {
  Recorder recorder;
  const ComponentPtr list =
      product_->GetManufacturerData(nullptr, "", 5, Array{"M02", "O'N", "M04"}, "MANUFACTURERID DESC");
  EXPECT_EQ(arguments_of(recorder, "OpenQuery"),
            (std::vector<Variant>{"SELECT * FROM MANUFACTURER WHERE (MANUFACTURERID IN ('M02','O''N','M04'))",
                                  "MANUFACTURERID"}));
  EXPECT_EQ(column(list), (Texts{"M04", "M02"}));
}

TEST_F(ProductPagedLists, BothListsOfAPageStandWhereTheyWereLeft) {
  for (const std::string method : {"GetCommodityData", "GetManufacturerData"}) {
    SCOPED_TRACE(method);
    const ComponentPtr page = create_plain("Bauteil.Page");
    const auto read = [&] { return invoke(product_.object(), method, {page, "", 5}).to<Component>(); };
    const ComponentPtr left = read();
    EXPECT_EQ(ask(left, "NextPage"), Variant(true));
    EXPECT_EQ(ask(left, "NextPage"), Variant(true));
    invoke(page, "SetSavedPosition", {ask(left, "PersistedState")});
    const ComponentPtr list = read();
    EXPECT_EQ(ask(list, "PageNumber"), Variant(3));
    EXPECT_EQ(column(list).size(), 2u);
    EXPECT_EQ(ask(list, "PreviousPage"), Variant(true));
    EXPECT_EQ(column(list).size(), 5u);
  }
}

TEST_F(ProductPagedLists, BothListsLogAndRaiseWithoutAVote) {
  for (const std::string method : {"GetCommodityData", "GetManufacturerData"}) {
    const struct {
      std::vector<Variant> arguments;
      RaisedError failure;
    } cases[] = {
        {{Variant(), "", 32768}, {error_number::kOverflow, "Mercato", "Overflow", "", 0}},
        {{Variant(), "", 5, "C01"}, {error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}},
        {{Variant(), "", 5, Variant()}, {error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}},
        {{Variant(), "no state", 5},
         {5, "Bauteil.DRecordset", "The persisted state is not one that a DRecordset wrote", "", 0}},
    };
    for (const auto& row : cases) {
      SCOPED_TRACE(method + ": " + row.failure.Description);
      Root<Product> fresh;
      Recorder recorder;
      std::vector<Variant> arguments = row.arguments;
      const RaisedError raised = raised_by([&] { invoke(fresh.object(), method, arguments); });
      expect_raised(raised, recorder, trail(row.failure, {{"Mercato.Product." + method}}));
      EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    }
    // No code at all is a statement that the store refuses.
    EXPECT_EQ(raised_by([&] {
                invoke(product_.object(), method, {Variant(), "", 5, Array{}});
              }).Number,
              error_number::kStatementRefused);
  }
}

}  // namespace
}  // namespace mercato::test
