// SPDX-License-Identifier: Apache-2.0
// What every read of class Product hands to the store, how it votes, and what becomes of a failure.
#include <gtest/gtest.h>

#include "tests/product/product_fixture.h"

namespace mercato::test {
namespace {

enum class FailureForm {
  own_tail,  // logged and wrapped once under the label, abort vote
  no_vote,   // the same without a vote
  raw,       // passes as it is: no log entry, no vote
  factory,   // wrapped by the recordset factory first
};

struct CallCase {
  std::string method;
  std::vector<Variant> arguments;
  Statements statements;
  Vote vote;
  std::string label;
  FailureForm failure = FailureForm::own_tail;
};

std::string joins(const std::string& dbo) {
  return " INNER JOIN " + dbo + "PRODUCT ON " + dbo + "PRODUCTSBYCATEGORY.PRODUCTID = " + dbo +
         "PRODUCT.PRODUCTID "
         " INNER JOIN " +
         dbo + "PRODUCTCATEGORY ON " + dbo + "PRODUCTSBYCATEGORY.CATEGORYID = " + dbo +
         "PRODUCTCATEGORY.CATEGORYID "
         " INNER JOIN " +
         dbo + "CATALOGNODE ON " + dbo + "PRODUCTCATEGORY.CATEGORYID = " + dbo + "CATALOGNODE.CATEGORYID ";
}

const std::vector<CallCase>& call_cases() {
  static const std::vector<CallCase> cases = {
      {"GetProductEx",
       {1},
       {kIsolation, "SELECT * FROM PRODUCT WHERE PRODUCTID=1", kIsolation,
        "SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='C''1'"},
       Vote::commit,
       "",
       FailureForm::raw},
      {"GetProduct",
       {1},
       {kIsolation, "SELECT * FROM PRODUCT WHERE PRODUCTID=1", kIsolation,
        "SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='C''1'"},
       Vote::commit,  // that of GetProductEx
       "Mercato.Product.getProduct"},
      {"getManufacturerID",
       {1},
       {kIsolation, "SELECT * FROM PRODUCT WHERE PRODUCTID=1", kIsolation,
        "SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='C''1'"},
       Vote::commit,
       "Mercato.Product.getProduct"},
      {"GetProductFields",
       {Array{"PARTNUMBER"}, 1, "x"},
       {kIsolation, "SELECT * FROM PRODUCT WHERE PRODUCTID = 1"},
       Vote::commit,
       "Mercato.Product.getProductFields"},
      {"GetProductFields",
       {Array{"PARTNUMBER"}, -1, "O'N"},
       {kIsolation, "SELECT * FROM PRODUCT WHERE GTIN = 'O''N'"},
       Vote::commit,
       "Mercato.Product.getProductFields"},
      {"GetProductDescription",
       {1},
       {kIsolation, "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = '1'"},
       Vote::commit,
       "Mercato.Product.GetProductDescription"},
      {"GetGTIN",
       {1},
       {kIsolation, "SELECT GTIN FROM PRODUCT WHERE PRODUCTID =1"},
       Vote::commit,
       "Mercato.Product.getGTIN"},
      {"GetCategoryName",
       {1},
       {kIsolation, "SELECT CATEGORYNAME FROM PRODUCTCATEGORY WHERE CATEGORYID=1"},
       Vote::commit,
       "Mercato.Product.GetCategoryName"},
      {"GetDefaultBuyer",
       {"C'1"},
       {kIsolation, "SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='C''1'"},
       Vote::commit,
       "Mercato.Product.getDefaultBuyer"},
      {"GetMaxProductId",
       {},
       {kIsolation, "SELECT TOP 1 PRODUCTID FROM PRODUCT ORDER BY PRODUCTID DESC"},
       Vote::none,
       "Mercato.Product.GetMaxProductId",
       FailureForm::no_vote},
      {"getProductIDFromPartNum",
       {"a'b%c_[d"},
       {kIsolation,
        "SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID  FROM PRODUCTSBYCATEGORY " + joins("") +
            " WHERE (PRODUCTDESCRIPTION LIKE '%a''''b[[][%]]c[_][[]d%' OR PARTNUMBER LIKE '%a''''b[[][%]]c[_][[]d%' OR "
            "BUYFROMPARTNUMBER LIKE '%a''''b[[][%]]c[_][[]d%')  AND (PRODUCT.DISABLED = 0)"},
       Vote::commit,
       "Mercato.Product.getProductIDFromPartNum"},
      {"getProductIDFromPartNum",
       {"x", "(1,2)"},
       {kIsolation,
        "SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID  FROM PRODUCTSBYCATEGORY " + joins("") +
            " WHERE (PRODUCTDESCRIPTION LIKE '%x%' OR PARTNUMBER LIKE '%x%' OR BUYFROMPARTNUMBER LIKE '%x%')  AND "
            "(PRODUCT.DISABLED = 0) AND CATALOGNODE.CATALOGID IN (1,2)"},
       Vote::commit,
       "Mercato.Product.getProductIDFromPartNum"},
      {"countProductIDsFromPartNum",
       {"a'b%c_[d"},
       {kIsolation, "SELECT COUNT(DISTINCT dbo.PRODUCTSBYCATEGORY.PRODUCTID) As CNT  FROM dbo.PRODUCTSBYCATEGORY " +
                        joins("dbo.") +
                        " WHERE (PRODUCTDESCRIPTION LIKE '%a''b[%]c[_][[]d%' OR PARTNUMBER LIKE '%a''b[%]c[_][[]d%' OR "
                        "BUYFROMPARTNUMBER LIKE '%a''b[%]c[_][[]d%')  AND (DISABLED = 0)"},
       Vote::commit,
       "Mercato.Product.countProductIDsFromPartNum"},
      {"countProductIDsFromPartNum",
       {"x", "(1,2)"},
       {kIsolation, "SELECT COUNT(DISTINCT dbo.PRODUCTSBYCATEGORY.PRODUCTID) As CNT  FROM dbo.PRODUCTSBYCATEGORY " +
                        joins("dbo.") +
                        " WHERE (PRODUCTDESCRIPTION LIKE '%x%' OR PARTNUMBER LIKE '%x%' OR BUYFROMPARTNUMBER LIKE "
                        "'%x%')  AND (DISABLED = 0) "
                        "AND dbo.CATALOGNODE.CATALOGID IN (1,2)"},
       Vote::commit,
       "Mercato.Product.countProductIDsFromPartNum"},
      {"countStockProductIDsFromPartNum",
       {"a'b%c"},
       {kIsolation,
        "SELECT COUNT(DISTINCT PRODUCTID) As CNT FROM PRODUCT WHERE (PRODUCTDESCRIPTION LIKE '%a''''b[[][%]]c%' OR  "
        "PARTNUMBER LIKE "
        "'%a''''b[[][%]]c%' OR  BUYFROMPARTNUMBER LIKE '%a''''b[[][%]]c%') AND DISABLED = 0 AND STOCKITEM = 1"},
       Vote::commit,
       "Mercato.Product.countStockProductIDsFromPartNum"},
      {"GetCatalogProductsByPartNumber",
       {"O'N%", 5, false},
       {kIsolation,
        "SELECT DISTINCT TOP 6 PRODUCTSBYCATEGORY.PRODUCTID, PRODUCT.PARTNUMBER, PRODUCT.PRODUCTDESCRIPTION FROM "
        "PRODUCTSBYCATEGORY "
        "INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID INNER JOIN PRODUCTCATEGORY ON "
        "PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID INNER JOIN CATALOGNODE ON "
        "PRODUCTCATEGORY.CATEGORYID = "
        "CATALOGNODE.CATEGORYID WHERE PARTNUMBER LIKE 'O''N%' AND PRODUCT.DISABLED = 0"},
       Vote::commit,
       "Mercato.Product.GetCatalogProductsByPartNumber"},
      {"GetCatalogProductsByPartNumber",
       {"P%", 0, false, "(3)"},
       {kIsolation,
        "SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID, PRODUCT.PARTNUMBER, PRODUCT.PRODUCTDESCRIPTION FROM "
        "PRODUCTSBYCATEGORY "
        "INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID INNER JOIN PRODUCTCATEGORY ON "
        "PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID INNER JOIN CATALOGNODE ON "
        "PRODUCTCATEGORY.CATEGORYID = "
        "CATALOGNODE.CATEGORYID WHERE PARTNUMBER LIKE 'P%' AND PRODUCT.DISABLED = 0 AND CATALOGNODE.CATALOGID IN (3)"},
       Vote::commit,
       "Mercato.Product.GetCatalogProductsByPartNumber"},
      {"GetProductIDFromSupplierPartNum",
       {"O'N"},
       {kIsolation, "SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='O''N'"},
       Vote::commit,
       "Mercato.Product.GetProductIDFromSupplierPartNum"},
      {"GetProductIdFromPartNumSource",
       {"O'N%"},
       {kIsolation, "SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE PARTNUMBER = 'O''N[%]'"},
       Vote::commit,
       "Mercato.Product.GetProductIdFromPartNumSource"},
      {"GetProductIdFromPartNumSource",
       {"P", 1, 0},
       {kIsolation, "SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE PARTNUMBER = 'P' AND STOCKITEM = 1 AND DISABLED = 0"},
       Vote::commit,
       "Mercato.Product.GetProductIdFromPartNumSource"},
      {"GetProductIdFromPartNumSource",
       {"P", -1, 1},
       {kIsolation, "SELECT TOP 1 PRODUCTID FROM PRODUCT WHERE PARTNUMBER = 'P' AND DISABLED = 1"},
       Vote::commit,
       "Mercato.Product.GetProductIdFromPartNumSource"},
      {"GetProductsByCriteria",
       {0},
       {kIsolation, "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE STOCKITEM = 0"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {2},
       {kIsolation, "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {2, 7},
       {kIsolation, "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE BUSINESSPARTNERID = 7"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {1, 7, "C'1"},
       {kIsolation,
        "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE STOCKITEM = 1 AND BUSINESSPARTNERID = 7 AND "
        "COMMODITYCODE = 'C''1'"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {2, kMissing, "C'1"},
       {kIsolation, "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE COMMODITYCODE = 'C''1'"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {2, kMissing, kNull},  // asks for the empty code
       {kIsolation, "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE COMMODITYCODE = ''"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByCriteria",
       {2, 7, "C"},
       {kIsolation,
        "SELECT PRODUCTID,PRODUCTDESCRIPTION,PARTNUMBER FROM PRODUCT WHERE BUSINESSPARTNERID = 7 AND COMMODITYCODE = "
        "'C'"},
       Vote::commit,
       "Mercato.Product.GetProductsByCriteria"},
      {"GetProductsByBuyer",
       {"O'N"},
       {kIsolation, "SELECT PRODUCTID, PARTNUMBER FROM PRODUCT WHERE USERID ='O''N'",
        "SELECT DISTINCT P.PRODUCTID, P.PARTNUMBER FROM PRODUCT P, PRODUCTBUYER PB WHERE PB.USERID ='O''N' and "
        "PB.PRODUCTID = "
        "P.PRODUCTID"},
       Vote::commit,
       "Mercato.Product.GetProductByBuyer"},
      {"GetProductsByPartNumber",
       {"O'N"},
       {kIsolation, "SELECT PRODUCTID, PRODUCTDESCRIPTION FROM PRODUCT WHERE PARTNUMBER = 'O''N'"},
       Vote::commit,
       "Mercato.Product.GetProductsByPartNumber"},
      {"GetProductsBySupplier",
       {"7"},
       {kIsolation, "SELECT PRODUCTID, PARTNUMBER, BUYFROMPARTNUMBER FROM PRODUCT WHERE BUSINESSPARTNERID = 7"},
       Vote::commit,
       "Mercato.Product.GetProductsBySupplier"},
      {"GetPartNumbersForProducts",
       {},
       {kIsolation, "SELECT PRODUCTID,PARTNUMBER FROM PRODUCT"},
       Vote::commit,
       "Mercato.Product.GetPartNumbersForProducts"},
      {"GetPartNumbersForProducts",
       {Array(std::vector<Variant>{1, "2", 3.0}, 1)},
       {kIsolation, "SELECT PRODUCTID,PARTNUMBER FROM PRODUCT WHERE PRODUCTID IN (1, 2, 3)"},
       Vote::commit,
       "Mercato.Product.GetPartNumbersForProducts"},
      {"GetProductsByProductCategory",
       {4},
       {kIsolation,
        "SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON "
        "P.PRODUCTID = "
        "C.PRODUCTID WHERE C.CATEGORYID = 4 ORDER BY P.PRODUCTDESCRIPTION"},
       Vote::none,
       "Mercato.Product.GetProductsByProductCategory",
       FailureForm::factory},
      {"GetProductsByProductCategory",
       {0},
       {kIsolation,
        "SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON "
        "P.PRODUCTID = "
        "C.PRODUCTID ORDER BY P.PRODUCTDESCRIPTION"},
       Vote::none,
       "Mercato.Product.GetProductsByProductCategory",
       FailureForm::factory},
      {"GetAlternativeProducts",
       {1},
       {kIsolation,
        "SELECT ALTERNATIVEPRODUCTS.*, PRODUCT.IMAGEFILENAME, PRODUCT.TECHNICALIMAGE, PRODUCT.PRODUCTDESCRIPTION FROM "
        "ALTERNATIVEPRODUCTS INNER JOIN PRODUCT ON ALTERNATIVEPRODUCTS.ALTERNATIVEPRODUCT = PRODUCT.PRODUCTID WHERE "
        "ALTERNATIVEPRODUCTS.ORIGINALPRODUCT = 1"},
       Vote::commit,
       "Mercato.Product.GetAlternativeProducts",
       FailureForm::factory},
      {"GetAlternativeProducts",
       {1, 0},
       {kIsolation,
        "SELECT ALTERNATIVEPRODUCTS.*, PRODUCT.IMAGEFILENAME, PRODUCT.TECHNICALIMAGE, PRODUCT.PRODUCTDESCRIPTION FROM "
        "ALTERNATIVEPRODUCTS INNER JOIN PRODUCT ON ALTERNATIVEPRODUCTS.ALTERNATIVEPRODUCT = PRODUCT.PRODUCTID WHERE "
        "ALTERNATIVEPRODUCTS.ORIGINALPRODUCT = 1 AND PRODUCT.STOCKITEM = 0"},
       Vote::commit,
       "Mercato.Product.GetAlternativeProducts",
       FailureForm::factory},
      {"ValidateProductAgainstUserCatalogs",
       {"1", Array{5, "6"}},
       {kIsolation,
        "SELECT DISTINCT P.PRODUCTID FROM PRODUCT P, PRODUCTSBYCATEGORY PBC, CATALOGNODE CN WHERE P.PRODUCTID = 1 AND "
        "(P.PRODUCTEFFECTIVITYDATE <= '2026-07-01T08:30:00' OR P.PRODUCTEFFECTIVITYDATE IS NULL) AND P.DISABLED = 0 "
        "AND "
        "PBC.PRODUCTID = P.PRODUCTID AND CN.CATEGORYID = PBC.CATEGORYID AND (CN.CATALOGID = 5 OR CN.CATALOGID = 6)"},
       Vote::commit,
       "Mercato.Product.ValidateProductAgainstUserCatalogs"},
  };
  return cases;
}

class ProductCalls : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    clock::script_clock(Date::from_civil({2026, 7, 1, 8, 30, 0}), 0);
    execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID, CHARGETYPECODE) VALUES ('C''1', 'buyer', 'CT')",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('category')"});
    add_product("P", "product", "COMMODITYCODE, USERID, GTIN", "'C''1', 'user', '00000000000017'");
  }

  Variant call(const CallCase& expected) {
    std::vector<Variant> arguments = expected.arguments;
    return invoke(product_.object(), expected.method, arguments);
  }
};

TEST_F(ProductCalls, HandTheirStatementsToTheStoreAndVoteWhenTheySucceed) {
  for (const CallCase& expected : call_cases()) {
    SCOPED_TRACE(expected.method + " " + expected.statements.back());
    Root<Product> fresh;
    Recorder recorder;
    std::vector<Variant> arguments = expected.arguments;
    invoke(fresh.object(), expected.method, arguments);
    EXPECT_EQ(recorder.statements, expected.statements);
    EXPECT_EQ(fresh.context().vote_of_last_call(), expected.vote);
    EXPECT_TRUE(recorder.log.empty());
  }
}

TEST_F(ProductCalls, WhoseStatementIsRefusedCloseVoteLogAndRaise) {
  for (const CallCase& expected : call_cases()) {
    for (const std::string& refused_statement : expected.statements) {
      SCOPED_TRACE(expected.method + " " + refused_statement);
      Root<Product> fresh;
      Recorder recorder;
      recorder.fail_on = refused_statement;
      std::vector<Variant> arguments = expected.arguments;
      const RaisedError raised = raised_by([&] { invoke(fresh.object(), expected.method, arguments); });

      std::string text = "refused on request";
      std::vector<LogEntry> log;
      if (expected.failure == FailureForm::factory) {
        // A refused isolation statement is the first connection's error, a refused query that of the connection nobody
        // sees.
        const std::string info =
            (refused_statement == kIsolation ? "Error(s) from connection object:  (1)refused on request[-2147217900]"
                                             : "") +
            std::string(" executing: '") + expected.statements.back() + "'";
        text = message("80040E14", "Lib_SQL.Sql_GetDisconnectedRecordset", text, info);
        log.push_back({"Test", message("80040E14", "Lib_SQL.Sql_GetDisconnectedRecordset", text, info), 0});
      }
      if (expected.failure != FailureForm::raw) {
        text = message("80040E14", expected.label, text);
        log.push_back({"Test", message("80040E14", expected.label, text), 0});
      }
      EXPECT_EQ(raised, (RaisedError{error_number::kStatementRefused, "Test", text, "", 0}));
      EXPECT_EQ(recorder.log, log);
      const bool votes = expected.failure == FailureForm::own_tail || expected.failure == FailureForm::factory;
      EXPECT_EQ(fresh.context().vote_of_last_call(), votes ? Vote::abort : Vote::none);
    }
  }
}

TEST_F(ProductCalls, ChangeNothing) {
  const auto before = all_rows();
  for (const CallCase& expected : call_cases()) call(expected);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductCalls, WorkWithoutATransactionServerToo) {
  Product product;
  EXPECT_EQ(product.GetMaxProductId(), 1);
  EXPECT_EQ(product.GetProductDescription(1), "product");
  EXPECT_EQ(raised_by([&] { product.GetGTIN(9); }).Source, "Mercato.Product.GetGTIN");
}

}  // namespace
}  // namespace mercato::test
