// SPDX-License-Identifier: Apache-2.0
#include "keeping/property_keeping.h"

#include "frame/lib_general.h"
#include "keeping/store_calls.h"

namespace mercato::keeping {
namespace {

Sql of_choice(std::int32_t property, const std::string& choice) {
  return Sql(" FROM PROPERTYENUM WHERE PROPERTYID = ")
         << property << " AND VALUE = N'" << value(Gen_QuoteSql(choice)) << "'";
}

}  // namespace

std::vector<std::string> choices_of(std::int32_t property) {
  std::vector<std::string> choices;
  for (const DictionaryPtr& row : rows_of(Sql("SELECT VALUE, SEQUENCEID FROM PROPERTYENUM WHERE PROPERTYID = ")
                                          << property << " ORDER BY SEQUENCEID"))
    choices.push_back(row->Item("VALUE").text_or_empty());
  return choices;
}

bool add_choice(std::int32_t property, const std::string& choice) {
  if (count_by(Sql("SELECT COUNT(*) AS N") << of_choice(property, choice)) > 0) return false;
  const std::vector<DictionaryPtr> last =
      rows_of(Sql("SELECT MAX(SEQUENCEID) AS PLACE FROM PROPERTYENUM WHERE PROPERTYID = ") << property);
  const Variant& place = last.front()->Item("PLACE");
  const std::int32_t next = place.is_null() ? 1 : place.to_long() + 1;
  run_statement(Sql("INSERT INTO PROPERTYENUM (PROPERTYID, SEQUENCEID, VALUE) VALUES (")
                << property << ", " << next << ", N'" << value(Gen_QuoteSql(choice)) << "')");
  return true;
}

bool remove_choice(std::int32_t property, const std::string& choice) {
  return run_statement(Sql("DELETE") << of_choice(property, choice)) > 0;
}

std::size_t count_values(std::int32_t property, const std::string& value_text) {
  return count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCTPROPVALUE WHERE PROPERTYID = ")
                  << property << " AND VALUE = N'" << value(Gen_QuoteSql(value_text)) << "'");
}

bool remove_from_group(std::int32_t group, std::int32_t property) {
  return run_statement(Sql("DELETE FROM PROPSBYPROPGROUP WHERE PROPERTYGROUPID = ")
                       << group << " AND PROPERTYID = " << property) > 0;
}

GroupAlignment plan_alignment(std::int32_t group) {
  GroupAlignment plan;
  plan.products = count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCT WHERE PROPERTYGROUPID = ") << group);
  for (const DictionaryPtr& row : rows_of(
           Sql("SELECT V.PROPERTYID, Q.PROPERTYNAME, COUNT(*) AS HELD FROM PRODUCTPROPVALUE V INNER JOIN PRODUCT P ON "
               "P.PRODUCTID = V.PRODUCTID LEFT JOIN PROPERTY Q ON Q.PROPERTYID = V.PROPERTYID WHERE P.PROPERTYGROUPID "
               "= ")
           << group
           << " AND (Q.EXTERNAL = 0 OR Q.EXTERNAL IS NULL) AND NOT EXISTS (SELECT 1 FROM PROPSBYPROPGROUP M WHERE "
              "M.PROPERTYGROUPID = "
           << group
           << " AND M.PROPERTYID = V.PROPERTYID) GROUP BY V.PROPERTYID, Q.PROPERTYNAME ORDER BY COUNT(*) DESC, "
              "V.PROPERTYID")) {
    GroupAlignment::Loss& loss = plan.losses.emplace_back();
    loss.property = row->Item("PROPERTYID").to_long();
    loss.name = row->Item("PROPERTYNAME").text_or_empty();
    loss.values = static_cast<std::size_t>(row->Item("HELD").to_long());
    plan.removed += loss.values;
  }
  // A member that is no property is not added.
  const std::size_t members = count_by(
      Sql("SELECT COUNT(*) AS N FROM PROPSBYPROPGROUP M INNER JOIN PROPERTY Q ON Q.PROPERTYID = M.PROPERTYID WHERE "
          "M.PROPERTYGROUPID = ")
      << group);
  const std::size_t held = count_by(
      Sql("SELECT COUNT(*) AS N FROM PRODUCTPROPVALUE V INNER JOIN PRODUCT P ON P.PRODUCTID = V.PRODUCTID INNER JOIN "
          "PROPSBYPROPGROUP M ON M.PROPERTYID = V.PROPERTYID AND M.PROPERTYGROUPID = ")
      << group << " INNER JOIN PROPERTY Q ON Q.PROPERTYID = M.PROPERTYID WHERE P.PROPERTYGROUPID = " << group);
  plan.added = plan.products * members - held;
  return plan;
}

}  // namespace mercato::keeping
