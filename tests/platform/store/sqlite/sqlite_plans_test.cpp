// SPDX-License-Identifier: Apache-2.0
// What the engine reads for the library's statements. It counts no rows, so it plans by what the tables' creation has
// told it to expect: these are the ways in a store of any size.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "frame/schema_definitions.h"
#include "tests/platform/store/dialect_store.h"
#include "tests/platform/store/library_statements.h"

namespace mercato::store::sqlite::test {
namespace {

class SqlitePlans : public testing::Test {
 protected:
  SqlitePlans() {
    for (const SchemaDefinition& definition : schema_definitions()) store_.run(definition.statement);
    store_.run_as_they_stand(statistics_sql(expected_rows()));
  }
  // The tables and indexes that a statement reads, in their order.
  std::vector<std::string> way(const std::string& statement) {
    std::vector<std::string> steps = store_.steps(statement);
    std::erase_if(steps,
                  [](const std::string& step) { return !step.starts_with("SCAN") && !step.starts_with("SEARCH"); });
    return steps;
  }

  dialect::test::DialectStore store_;
};

TEST_F(SqlitePlans, NoStatementReadsAWholeTableWithoutAReason) {
  constexpr const char* kNoCondition = "it has no condition";
  constexpr const char* kNeverTrue = "its condition is never true, and the engine finds that out before it reads";
  constexpr const char* kFirstRow = "it ends with the first row";
  constexpr const char* kSmall = "the table stays small, or it is asked for when something is deleted";
  constexpr const char* kAnywhere = "a pattern of fewer than three characters is looked for in every row";
  constexpr const char* kFewest = "it begins with the table that has the fewest rows for it";
  const std::map<std::string, std::string> reads_everything = {
      {"SELECT FAQCATEGORYID, FAQCATEGORYDESCRIPTION FROM FAQCATEGORY", kNoCondition},
      {"SELECT * FROM PRODUCT WHERE 0=1", kNeverTrue},
      {"SELECT * FROM  CATALOGNODEBYBP WHERE 0=1", kNeverTrue},
      {"SELECT * FROM FAQISSUE WHERE 1=0", kNeverTrue},
      {"SELECT DISTINCT VBC.CATEGORYID, PC.CATEGORYNAME FROM VISIBILITIESBYCATEGORY VBC INNER JOIN PRODUCTCATEGORY PC "
       "ON "
       "VBC.CATEGORYID = PC.CATEGORYID WHERE 1=0 ORDER BY CATEGORYNAME",
       kNeverTrue},
      {"SELECT TOP 1 PRODUCTID FROM PRODUCT ORDER BY PRODUCTID DESC", kFirstRow},
      {"SELECT OFFICEDESCRIPTION FROM CONTRACTLINES WHERE OFFICEDESCRIPTION = 'x'", kSmall},
      {"SELECT CLASSCODE FROM HAZARDOUSCLASS WHERE CLASSDESCRIPTION = N'x'", kSmall},
      {"SELECT propertyid FROM property WHERE external=1", kSmall},
      {"SELECT COUNT(DISTINCT PRODUCTID) As CNT FROM PRODUCT WHERE (PRODUCTDESCRIPTION LIKE '%x%' OR  PARTNUMBER LIKE "
       "'%x%' OR  BUYFROMPARTNUMBER LIKE '%x%') AND DISABLED = 0 AND STOCKITEM = 1",
       kAnywhere},
      {" SELECT distinct P.PRODUCTID, P.PARTNUMBER, F.USERID FROM  FAVORITES F, PRODUCT P  INNER JOIN "
       "PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID  INNER JOIN CATALOGNODE N ON N.CATALOGID = 5 AND "
       "N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1  WHERE P.PRODUCTID = F.PRODUCTID ORDER BY F.USERID",
       kFewest},
      {" SELECT P.PRODUCTID, P.PARTNUMBER, N.NODEID FROM  CATALOGNODE N ,PRODUCT P  INNER JOIN PRODUCTSBYCATEGORY C ON "
       "P.PRODUCTID = C.PRODUCTID  Where N.CATEGORYID = C.CATEGORYID And N.CatalogID = 5 AND P.PARTNUMBER IN (SELECT "
       "distinct P1.PARTNUMBER FROM  FAVORITES F1, PRODUCT P1   INNER JOIN PRODUCTSBYCATEGORY C1 ON P1.PRODUCTID = "
       "C1.PRODUCTID  INNER JOIN CATALOGNODE N1 ON N1.CATALOGID = 6 AND N1.CATEGORYID = C1.CATEGORYID AND  "
       "N1.NODETYPE = 1  WHERE P1.PRODUCTID = F1.PRODUCTID )",
       kFewest},
      {"SELECT CN.NODEID as NODEID, CNBYBP.BUSINESSPARTNERID as BUSINESSPARTNERID FROM CATALOGNODE CN, "
       "CATALOGNODEBYBP CNBYBP WHERE CN.SHOPOUT = 1  AND CN.NODEID = CNBYBP.NODEID",
       kFewest},
  };
  for (const char* const statement : dialect::test::kLibraryStatements) {
    const std::vector<std::string> steps = way(statement);
    const bool scans = std::ranges::any_of(steps, [](const std::string& step) { return step.starts_with("SCAN"); });
    EXPECT_EQ(scans, reads_everything.contains(statement)) << statement << "\n" << testing::PrintToString(steps);
  }
}

// A catalogue has thousands of nodes and a category many products, so both come after the product that is asked for.
TEST_F(SqlitePlans, JoinsBeginWithTheProductsThatAreAskedFor) {
  using Way = std::vector<std::string>;
  const std::string links = "USING COVERING INDEX sqlite_autoindex_PRODUCTSBYCATEGORY_1 (PRODUCTID=?)";
  const std::string nodes = "USING COVERING INDEX IX_CATALOGNODE_CATEGORYID (CATEGORYID=? AND CATALOGID=?)";
  for (const std::string catalogs : {"5", "5, 6"}) {
    EXPECT_EQ(way("SELECT DISTINCT CATALOGNODE.CATALOGID AS CATALOGID FROM PRODUCTSBYCATEGORY,CATALOGNODE WHERE  "
                  "PRODUCTSBYCATEGORY.PRODUCTID = 5 AND PRODUCTSBYCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID AND "
                  "CATALOGNODE.CATALOGID IN (" +
                  catalogs + ") "),
              (Way{"SEARCH PRODUCTSBYCATEGORY " + links, "SEARCH CATALOGNODE " + nodes}));
    EXPECT_EQ(way("SELECT DISTINCT TOP 21 PRODUCTSBYCATEGORY.PRODUCTID, PRODUCT.PARTNUMBER, PRODUCT.PRODUCTDESCRIPTION "
                  "FROM PRODUCTSBYCATEGORY INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID "
                  "INNER JOIN PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID "
                  "INNER JOIN CATALOGNODE ON PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID "
                  "WHERE PARTNUMBER LIKE 'abc%' AND PRODUCT.DISABLED = 0 AND CATALOGNODE.CATALOGID IN (" +
                  catalogs + ")"),
              (Way{"SEARCH PRODUCT USING INDEX IX_PRODUCT_PARTNUMBER (PARTNUMBER>? AND PARTNUMBER<?)",
                   "SEARCH PRODUCTSBYCATEGORY " + links, "SEARCH PRODUCTCATEGORY USING INTEGER PRIMARY KEY (rowid=?)",
                   "SEARCH CATALOGNODE " + nodes}));
  }
  EXPECT_EQ(way("SELECT DISTINCT P.PRODUCTID FROM PRODUCT P, PRODUCTSBYCATEGORY PBC, CATALOGNODE CN WHERE P.PRODUCTID "
                "= 5 AND P.DISABLED = 0 AND PBC.PRODUCTID = P.PRODUCTID AND CN.CATEGORYID = PBC.CATEGORYID AND "
                "(CN.CATALOGID = 1)"),
            (Way{"SEARCH P USING INTEGER PRIMARY KEY (rowid=?)", "SEARCH PBC " + links, "SEARCH CN " + nodes}));
}

TEST_F(SqlitePlans, TheProductsOfACatalogueAreReadFromItsNodes) {
  EXPECT_EQ(way("SELECT DISTINCT P.PRODUCTID, P.DISABLED FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID "
                "= C.PRODUCTID  INNER JOIN CATALOGNODE N ON N.CATALOGID = 5 AND N.CATEGORYID = C.CATEGORYID AND "
                "N.NODETYPE = 1"),
            (std::vector<std::string>{"SEARCH N USING INDEX IX_CATALOGNODE_CATALOGID (CATALOGID=?)",
                                      "SEARCH C USING INDEX IX_PRODUCTSBYCATEGORY_CATEGORYID (CATEGORYID=?)",
                                      "SEARCH P USING INTEGER PRIMARY KEY (rowid=?)"}));
}

}  // namespace
}  // namespace mercato::store::sqlite::test
