// SPDX-License-Identifier: Apache-2.0
// A store with properties, groups and products with values, and what calls and failures of the property classes have in
// common.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "frame/lib_error_handling.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "tests/support/failure_trail.h"
#include "tests/support/messages.h"
#include "tests/support/refusing_recorder.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

using Calls = std::vector<ComponentCall>;
using Log = std::vector<LogEntry>;
using Rows = std::vector<std::vector<Variant>>;

inline const std::string kCheckBeforeDelete = "Grundwerk.ReferentialChecker.CheckBeforeDelete";
// What the first connection of a thread asks.
inline const Calls kConnectionStringCalls = {{"Grundwerk.Configuration.PrepareConnections", {false}},
                                             {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}}};

inline Calls operator+(Calls left, const Calls& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class PropertyStoreTest : public StoreTest {
 protected:
  // Values of columns stand as they do in a statement.
  void add_property(int id, const std::string& name, int type = 1, const std::string& default_value = "NULL",
                    bool external = false) const {
    execute({"INSERT INTO PROPERTY (PROPERTYID, PROPERTYNAME, DATATYPE, DEFAULTVALUE, EXTERNAL) VALUES (" +
             std::to_string(id) + ", '" + name + "', " + std::to_string(type) + ", " + default_value + ", " +
             (external ? "1" : "0") + ")"});
  }
  void add_enum(int property, int sequence, const std::string& text) const {
    execute({"INSERT INTO PROPERTYENUM (PROPERTYID, SEQUENCEID, VALUE) VALUES (" + std::to_string(property) + ", " +
             std::to_string(sequence) + ", " + text + ")"});
  }
  void add_group(int id, const std::string& name, std::initializer_list<int> properties = {}) const {
    execute({"INSERT INTO PROPERTYGROUP (PROPERTYGROUPID, PROPERTYGROUPNAME) VALUES (" + std::to_string(id) + ", '" +
             name + "')"});
    for (const int property : properties)
      execute({"INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (" + std::to_string(id) + ", " +
               std::to_string(property) + ")"});
  }
  void add_product(int id, int group) const {
    execute({"INSERT INTO PRODUCT (PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID) VALUES (" +
             std::to_string(id) + ", 'P', 'product', " + std::to_string(group) + ")"});
  }
  void add_value(int property, int product, const std::string& text) const {
    execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (" + std::to_string(property) + ", " +
             std::to_string(product) + ", '" + text + "')"});
  }
  // All values: product, property, text.
  Rows values() const {
    return rows("SELECT PRODUCTID, PROPERTYID, VALUE FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID");
  }

  // The failure that the store makes of a statement refused on request, through the tails with these labels.
  static FailureTrail refusal_under(const std::vector<Level>& labels) { return trail(refused_on_request(), labels); }
  // A failure with its number's customary text.
  static FailureTrail customary_failure_under(std::int32_t number, const std::vector<Level>& labels) {
    return trail({number, "Mercato", std::string(error_number::default_description(number)), "", 0}, labels);
  }

  template <class Work>
  static FailureTrail failure_of(Recorder& recorder, Work work) {
    recorder.log.clear();
    const RaisedError raised = raised_by(work);
    return {raised, recorder.log};
  }
};

}  // namespace mercato::test
