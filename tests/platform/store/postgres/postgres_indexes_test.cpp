// SPDX-License-Identifier: Apache-2.0
// What the library asks of key columns is answered by indexes: the server's way for each of its statements, on tables of
// some thousand rows, is one over an index, or the statement stands here with the reason why not.
#include <map>

#include "mercato/table_creation.h"
#include "tests/platform/store/library_statements.h"
#include "tests/platform/store/postgres/dialect_on_server.h"
#include "tests/platform/store/postgres/own_cluster.h"

namespace mercato::store::postgres::test {
namespace {

// Rows in every table: each column has another value in each row, but those that a few characters or a flag hold.
constexpr const char* kFill = R"sql(
DO $$
DECLARE
  filled record;
BEGIN
  FOR filled IN
    SELECT c.oid::regclass AS name, string_agg(quote_ident(a.attname), ', ' ORDER BY a.attnum) AS columns,
           string_agg(CASE
             WHEN EXISTS (SELECT FROM pg_constraint r WHERE r.conrelid = c.oid AND r.conname = 'range of ' || a.attname)
               THEN 'i % 2'
             WHEN t.typname = 'text' THEN format('left(%L || i, %s)', left(a.attname, 1),
               coalesce((SELECT substring(pg_get_constraintdef(w.oid) FROM '<= ([0-9]+)') FROM pg_constraint w
                         WHERE w.conrelid = c.oid AND w.conname = 'width of ' || a.attname), '40'))
             WHEN t.typname = 'timestamp' THEN 'timestamp ''2026-01-01'' + i * interval ''1 hour''' ELSE 'i' END, ', ' ORDER BY a.attnum)
             AS values
    FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND a.attidentity <> 'a'
    JOIN pg_type t ON t.oid = a.atttypid
    WHERE c.relkind = 'r' AND c.relnamespace = 'public'::regnamespace AND c.relname !~ '^mercato|SCHEMA|VERSION'
    GROUP BY c.oid
  LOOP
    EXECUTE format('INSERT INTO %s (%s) SELECT %s FROM generate_series(1, 5000) AS i ON CONFLICT DO NOTHING', filled.name,
                   filled.columns, filled.values);
  END LOOP;
END $$;
ANALYZE;
)sql";

class PostgresIndexes : public OwnClusterTest {
 protected:
  void SetUp() override {
    OwnClusterTest::SetUp();
    if (IsSkipped()) return;
    create_tables(store());
    as_owner(kFill);
    server_.emplace(store());
  }
  // The first line of the way that has this word, from it on; the whole way when none has.
  std::string step(const std::string& statement, const std::string& word, const std::string& settings = {}) {
    const std::string plan = server_->plan_of(statement, settings);
    const std::size_t at = plan.find(word);
    if (at == std::string::npos) return plan;
    return plan.substr(at, plan.find('\n', at) - at);
  }

  std::optional<DialectOnServer> server_;
};

TEST_F(PostgresIndexes, ServeEveryStatementOfTheLibraryButThoseThatReadEverything) {
  constexpr const char* kNoCondition = "it has no condition";
  constexpr const char* kNeverTrue = "its condition is never true, and the server reads nothing";
  constexpr const char* kNoIndex =
      "the schema has no index of the column: it is asked for when something is deleted, or rarely";
  constexpr const char* kFlag = "a flag tells too few rows apart";
  constexpr const char* kAnywhere = "a pattern of fewer than three characters is looked for in every row";
  const std::map<std::string, std::string> reads_everything = {
      {"SELECT FAQCATEGORYID, FAQCATEGORYDESCRIPTION FROM FAQCATEGORY", kNoCondition},
      {"SELECT * FROM PRODUCT WHERE 0=1", kNeverTrue},
      {"SELECT * FROM  CATALOGNODEBYBP WHERE 0=1", kNeverTrue},
      {"SELECT * FROM FAQISSUE WHERE 1=0", kNeverTrue},
      {"SELECT DISTINCT VBC.CATEGORYID, PC.CATEGORYNAME FROM VISIBILITIESBYCATEGORY VBC INNER JOIN PRODUCTCATEGORY PC "
       "ON "
       "VBC.CATEGORYID = PC.CATEGORYID WHERE 1=0 ORDER BY CATEGORYNAME",
       kNeverTrue},
      {"SELECT OFFICEDESCRIPTION FROM CONTRACTLINES WHERE OFFICEDESCRIPTION = 'x'", kNoIndex},
      {"SELECT CLASSCODE FROM HAZARDOUSCLASS WHERE CLASSDESCRIPTION = N'x'", kNoIndex},
      {"SELECT propertyid FROM property WHERE external=1", kFlag},
      {"SELECT CN.NODEID as NODEID, CNBYBP.BUSINESSPARTNERID as BUSINESSPARTNERID FROM CATALOGNODE CN, "
       "CATALOGNODEBYBP CNBYBP WHERE CN.SHOPOUT = 1  AND CN.NODEID = CNBYBP.NODEID",
       kFlag},
      {"SELECT COUNT(DISTINCT PRODUCTID) As CNT FROM PRODUCT WHERE (PRODUCTDESCRIPTION LIKE '%x%' OR  PARTNUMBER LIKE "
       "'%x%' OR  BUYFROMPARTNUMBER LIKE '%x%') AND DISABLED = 0 AND STOCKITEM = 1",
       kAnywhere},
  };
  for (const char* const statement : dialect::test::kLibraryStatements) {
    const std::string plan = server_->plan_of(statement);
    EXPECT_EQ(plan.find("ERROR"), std::string::npos) << statement << "\n" << plan;
    const bool scans = plan.find("Seq Scan") != std::string::npos;
    EXPECT_EQ(scans, reads_everything.contains(statement)) << statement << "\n" << plan;
  }
}

TEST_F(PostgresIndexes, ServeTextsHoweverTheyAreAskedFor) {
  const std::string select = "SELECT PRODUCTID FROM PRODUCT ";
  const std::string over = "Index Scan using \"IX_PRODUCT_PARTNUMBER\" on \"PRODUCT\"";
  EXPECT_EQ(step(select + "WHERE PARTNUMBER = 'x'", "Index Scan"), over);
  EXPECT_EQ(step(select + "WHERE PARTNUMBER IN ('x', 'y')", "Index Scan"), over);
  EXPECT_EQ(step(select + "WHERE PARTNUMBER = 'x' OR PARTNUMBER = 'y'", "Index Scan"), over);
  EXPECT_EQ(step("SELECT TOP 5 PRODUCTID FROM PRODUCT ORDER BY PARTNUMBER", "Index Scan"), over);
  EXPECT_EQ(step("SELECT TOP 5 PRODUCTID FROM PRODUCT ORDER BY PARTNUMBER DESC", "Index Scan"),
            "Index Scan Backward using \"IX_PRODUCT_PARTNUMBER\" on \"PRODUCT\"");
  EXPECT_EQ(step("SELECT TOP 5 PRODUCTID FROM PRODUCT WHERE PARTNUMBER > 'x' ORDER BY PARTNUMBER", "Index Scan"), over);
  EXPECT_EQ(step(select + "WHERE PARTNUMBER LIKE 'abc%'", "Bitmap Index Scan"),
            "Bitmap Index Scan on \"IX_PRODUCT_PARTNUMBER\"");
  // Of all rows the planner may find sorting cheaper, so it is told that it is not.
  const std::string no_sorting = "SET enable_seqscan = off; SET enable_sort = off; SET enable_hashagg = off";
  EXPECT_EQ(step("SELECT DISTINCT PARTNUMBER FROM PRODUCT", "Index Scan", no_sorting), over);
  EXPECT_EQ(step("SELECT PARTNUMBER, COUNT(*) FROM PRODUCT GROUP BY PARTNUMBER", "Index Scan", no_sorting), over);
}

constexpr const char* kPatterns =
    " WHERE (PRODUCTDESCRIPTION LIKE '%321%' OR PARTNUMBER LIKE '%321%' OR BUYFROMPARTNUMBER LIKE '%321%') AND ";
constexpr const char* kJoined =
    "FROM PRODUCTSBYCATEGORY INNER JOIN PRODUCT ON PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID INNER JOIN "
    "PRODUCTCATEGORY ON PRODUCTSBYCATEGORY.CATEGORYID = PRODUCTCATEGORY.CATEGORYID INNER JOIN CATALOGNODE ON "
    "PRODUCTCATEGORY.CATEGORYID = CATALOGNODE.CATEGORYID";

TEST_F(PostgresIndexes, ProposeTheRowsThatASearchBeginsWith) {
  const std::string patterns = std::string(kPatterns) + "PRODUCT.DISABLED = 0";
  for (const std::string& statement :
       {"SELECT DISTINCT TOP 1 PRODUCTSBYCATEGORY.PRODUCTID " + std::string(kJoined) + patterns,
        "SELECT COUNT(DISTINCT PRODUCTSBYCATEGORY.PRODUCTID) As CNT " + std::string(kJoined) + patterns,
        "SELECT DISTINCT TOP 20 PRODUCTSBYCATEGORY.PRODUCTID, PARTNUMBER " + std::string(kJoined) +
            " WHERE PARTNUMBER LIKE '%321%' AND PRODUCT.DISABLED = 0",
        "SELECT COUNT(DISTINCT PRODUCTID) As CNT FROM PRODUCT" + std::string(kPatterns) + "STOCKITEM = 1"}) {
    const std::string plan = server_->plan_of(statement);
    EXPECT_NE(plan.find("Bitmap Index Scan on \"text index of PRODUCT\""), std::string::npos) << statement << "\n"
                                                                                              << plan;
    EXPECT_NE(plan.find("Tid Scan on \"PRODUCT\""), std::string::npos) << statement << "\n" << plan;
    EXPECT_EQ(plan.find("Seq Scan on \"PRODUCT\""), std::string::npos) << statement << "\n" << plan;
    EXPECT_EQ(plan.find("Seq Scan on \"PRODUCTSBYCATEGORY\""), std::string::npos) << statement << "\n" << plan;
    EXPECT_EQ(plan.find("Gather"), std::string::npos) << statement << "\n" << plan;
  }
}

// Every second description holds a word.
TEST_F(PostgresIndexes, ProposeNothingWhereReadingIsFaster) {
  as_owner("UPDATE \"PRODUCT\" SET \"PRODUCTDESCRIPTION\" = 'steel' WHERE \"PRODUCTID\" % 2 = 0; ANALYZE \"PRODUCT\";");
  const auto asks = [this](const std::string& statement) { return server_->proposals_for(statement).used != 0; };
  const std::string select = "SELECT PRODUCTID FROM PRODUCT WHERE PRODUCTDESCRIPTION LIKE ";
  EXPECT_TRUE(asks(select + "'%copper%'"));
  EXPECT_FALSE(asks(select + "'%steel%'"));
  EXPECT_TRUE(asks(select + "'%steel%copper%'"));
  EXPECT_TRUE(asks(select + "'%steel%' AND PARTNUMBER LIKE '%copper%'"));
  EXPECT_FALSE(asks(select + "'%steel%' OR PARTNUMBER LIKE '%copper%'"));
  EXPECT_FALSE(asks(select + "'%co%'"));
  EXPECT_FALSE(asks(select + "'copper%'"));
  EXPECT_FALSE(asks(select + "'%copper%' AND PRODUCTID = 5"));
}

}  // namespace
}  // namespace mercato::store::postgres::test
