// SPDX-License-Identifier: Apache-2.0
// Catalogues with their trees, and rights on them.
#pragma once

#include <optional>
#include <string>

#include "platform/store/call_limit.h"
#include "tests/catalog/catalog_fixture.h"
#include "tests/support/refusing_recorder.h"
#include "values/text.h"

namespace mercato::test {

// Flags and levels are 16 bits wide in the store.
inline const Variant kZero = std::int16_t{0};
inline const Variant kOne = std::int16_t{1};

class CatalogRightsTest : public CatalogTest {
 protected:
  static constexpr int kFolder = 0;
  static constexpr int kCategoryNode = 1;

  // Ids of catalogues and nodes are given out from 1.
  void add_catalog(const std::string& name, bool active = true) const {
    execute({"INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES (" + literal(name) + ", " + (active ? "1" : "0") + ")"});
  }
  void add_node(int catalog, std::optional<int> parent, const std::string& name, int type = kFolder,
                std::optional<int> category = std::nullopt) const {
    execute({"INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID) VALUES (" +
             std::to_string(catalog) + ", " + literal(parent) + ", " + literal(name) + ", " + std::to_string(type) +
             ", " + literal(category) + ")"});
  }
  // A product in a category of its own on a node of its own; all three get the same id.
  void offer(const std::string& part_number, int catalog, int type = kCategoryNode) const {
    add_category("category");
    const int id = value_of("SELECT MAX(CATEGORYID) FROM PRODUCTCATEGORY").to_long();
    execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (" + literal(part_number) + ", 'product')"});
    link(id, id, 1);
    add_node(catalog, std::nullopt, "node", type, id);
  }
  // A right on the whole catalogue.
  void entitle(const std::string& user, int catalog, bool view_only = false, bool is_profile = false) const {
    execute({"INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, VIEWONLY) VALUES (" + literal(user) + ", " +
             (is_profile ? "1" : "0") + ", " + std::to_string(catalog) + ", " + (view_only ? "1" : "0") + ")"});
  }
  // A right on a node at that level.
  void entitle_to_node(const std::string& user, int catalog, int node, std::optional<int> parent, int level,
                       bool view_only = false, bool is_profile = false) const {
    execute(
        {"INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, PARENTNODEID, LEVEL, VIEWONLY, "
         "SHAREDID, SHAREDPWD) VALUES (" +
         literal(user) + ", " + (is_profile ? "1" : "0") + ", " + std::to_string(catalog) + ", " +
         std::to_string(node) + ", " + literal(parent) + ", " + std::to_string(level) + ", " + (view_only ? "1" : "0") +
         ", 'shared', 'secret')"});
  }
  // USERID, ISPROFILE, CATALOGID, NODEID, PARENTNODEID, LEVEL, VIEWONLY, SHAREDID, SHAREDPWD
  Rows rights() const { return rows("SELECT * FROM CATALOGNODEBYUSER ORDER BY USERID, ISPROFILE, CATALOGID, NODEID"); }
  Rows catalogs() const { return rows("SELECT * FROM CATALOG ORDER BY CATALOGID"); }
  // NODEID, CATALOGID, PARENTNODEID, NODENAME, NODEDESCRIPTION, SEQUENCE, NODETYPE, CATEGORYID, NODEURL, ICONID,
  // SHOPOUT
  Rows nodes_of(int catalog) const {
    return rows("SELECT * FROM CATALOGNODE WHERE CATALOGID = " + std::to_string(catalog) + " ORDER BY NODEID");
  }

  static std::string literal(const std::string& text) { return "'" + text::replace_all(text, "'", "''") + "'"; }
  static std::string literal(std::optional<int> number) { return number ? std::to_string(*number) : "NULL"; }

  // The work is refused at each of its statements in turn. It stops there, the failure passes the tails that
  // `levels_at` names for that statement, the vote is abort, and no table has changed.
  template <class Work, class LevelsAt>
  void expect_whole_or_nothing(const Statements& statements, Work work, LevelsAt levels_at) {
    const auto before = all_rows();
    for (std::size_t number = 1; number <= statements.size(); ++number) {
      SCOPED_TRACE(std::to_string(number) + ": " + statements[number - 1]);
      RefusingRecorder recorder(number);
      const FailureTrail expected = trail(refused_on_request(), levels_at(number));
      EXPECT_EQ(raised_by(work), expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_EQ(recorder.statements, first_of(statements, number));
      EXPECT_EQ(vote(), Vote::abort);
      EXPECT_EQ(outcome(), Outcome::rolledback);
      EXPECT_EQ(all_rows(), before);
      store().forget_lost_numbers();
    }
    Recorder recorder;
    work();
    EXPECT_EQ(recorder.statements, statements);
  }
  // Only the end of the call's time ends the work, and nothing of it stays. Returns the statements that it ran.
  template <class Work>
  Statements expect_no_end(Work work) {
    const auto before = all_rows();
    Statements statements;
    {
      Recorder recorder;
      const store::CallLimit limit(0.2);
      EXPECT_EQ(raised_by(work).Number, error_number::kTimeout);
      statements = recorder.statements;
    }
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
    return statements;
  }
  // A row that the store refuses stops the work likewise.
  template <class Work>
  void expect_nothing_left(const Refusal& refusal, Work work) {
    SCOPED_TRACE(refusal.operation + " " + refusal.table + " when " + refusal.column + " is " + refusal.value);
    MERCATO_ONLY_WITH_REFUSALS(store());
    const auto before = all_rows();
    {
      const RefusedRows refused(store(), refusal);
      EXPECT_EQ(raised_by(work).Number, error_number::kConstraintViolated);
    }
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
};

// The tails that a refused read without a connection passes: that of the factory, then those of the methods above it.
// The read runs on another connection than the factory's, so the factory's tail has nothing to report of it.
inline std::vector<Level> read_refused(const std::string& statement, std::vector<Level> above) {
  above.insert(above.begin(), Level{"Lib_SQL.Sql_GetDisconnectedRecordset", " executing: '" + statement + "'"});
  return above;
}
inline std::vector<Level> isolation_refused(const std::string& statement, std::vector<Level> above) {
  above.insert(above.begin(), Level{"Lib_SQL.Sql_GetDisconnectedRecordset", refused_while_executing(statement)});
  return above;
}

}  // namespace mercato::test
