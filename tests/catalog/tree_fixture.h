// SPDX-License-Identifier: Apache-2.0
// Catalogues, their nodes, and entries of users for them.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/store/call_limit.h"
#include "tests/catalog/catalog_fixture.h"

namespace mercato::test {

// The ids and names in a Dictionary, in its order.
using Names = std::vector<std::pair<std::int32_t, std::string>>;

class CatalogTreeTest : public CatalogTest {
 protected:
  static constexpr std::int32_t kWhole = 0;  // in place of a node: the whole catalogue
  static constexpr std::int32_t kNone = 0;   // in place of a parent or a catalogue: Null

  void add_catalog(std::int32_t id, const std::string& name, int active = 1) const {
    execute({"INSERT INTO CATALOG (CATALOGID, CATALOGNAME, ACTIVE) VALUES (" + std::to_string(id) + ", '" + name +
             "', " + std::to_string(active) + ")"});
  }
  void add_node(std::int32_t id, std::int32_t catalog, std::int32_t parent, const std::string& name = "node",
                const std::string& sequence = "NULL") const {
    execute({"INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE) VALUES (" +
             std::to_string(id) + ", " + or_null(catalog) + ", " + or_null(parent) + ", '" + name + "', " + sequence +
             ")"});
  }
  // The user's id is written as in a statement, with its quotes doubled.
  void enter(const std::string& user, std::int32_t catalog, std::int32_t node, int level, int view_only,
             int is_profile = 0) const {
    execute({"INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('" + user +
             "', " + std::to_string(is_profile) + ", " + std::to_string(catalog) + ", " + or_null(node) + ", " +
             std::to_string(level) + ", " + std::to_string(view_only) + ")"});
  }
  void lay_out(const std::string& user, std::int32_t catalog, std::int32_t node) const {
    execute({"INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('" + user + "', " + std::to_string(catalog) +
             ", " + std::to_string(node) + ")"});
  }
  // The first node is a root, each other one is below the one before it.
  void add_chain(std::int32_t catalog, std::int32_t first, std::int32_t last) const {
    for (std::int32_t id = first; id <= last; ++id) add_node(id, catalog, id == first ? kNone : id - 1);
  }

  static Names names(const DictionaryPtr& dictionary) {
    Names names;
    dictionary->for_each(
        [&](const Variant& key, const Variant& item) { names.emplace_back(key.to_long(), item.to_text()); });
    return names;
  }

  // Refuses the statement that contains this text, and shows that the failure passes these tails and casts no vote.
  template <class Work>
  void expect_refusal(const std::string& statement, const std::vector<Level>& levels, Work work) const {
    SCOPED_TRACE(statement);
    Recorder recorder;
    recorder.fail_on = statement;
    const FailureTrail expected = trail(refused_on_request(), levels);
    EXPECT_EQ(raised_by(work), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
  }
  // Shows that only the end of the call's time ends the work.
  template <class Work>
  static RaisedError timeout_of(Work work) {
    const store::CallLimit limit(0.2);
    const RaisedError raised = raised_by(work);
    EXPECT_EQ(raised.Number, error_number::kTimeout);
    EXPECT_NE(raised.Description.find("Timeout expired: the call ran longer than its limit of 0.2 seconds"),
              std::string::npos);
    return raised;
  }

 private:
  static std::string or_null(std::int32_t id) { return id == 0 ? "NULL" : std::to_string(id); }
};

}  // namespace mercato::test
