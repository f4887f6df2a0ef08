// SPDX-License-Identifier: Apache-2.0
#include "keeping/code_lists.h"

#include "frame/lib_general.h"
#include "frame/lib_sql.h"

namespace mercato::keeping {
namespace {

std::vector<DictionaryPtr> all_rows(const Sql& sql) {
  const RecordsetPtr records = open_read_only(sql, open_connection(shared_connection_string()));
  std::vector<DictionaryPtr> rows = rows_left(records);
  records->Close();
  return rows;
}

}  // namespace

std::vector<DictionaryPtr> all_properties() {
  return all_rows(LiteralPiece(
      "SELECT PROPERTYID, PROPERTYNAME, DATATYPE, \"EXTERNAL\", DEFAULTVALUE FROM PROPERTY ORDER BY PROPERTYNAME, "
      "PROPERTYID"));
}

std::vector<DictionaryPtr> all_property_groups() {
  return all_rows(LiteralPiece(
      "SELECT PROPERTYGROUPID, PROPERTYGROUPNAME FROM PROPERTYGROUP ORDER BY PROPERTYGROUPNAME, PROPERTYGROUPID"));
}

std::vector<DictionaryPtr> all_units() {
  return all_rows(LiteralPiece("SELECT UNITCODE, UNITDESCRIPTION FROM UNIT ORDER BY UNITCODE"));
}

std::vector<DictionaryPtr> unspsc_codes_with(const std::string& text, std::int32_t most) {
  return all_rows(
      Sql("SELECT TOP ") << most << " PARENTCODE, UNSPSCCODE, DESCRIPTION FROM UNSPSCCODES WHERE DESCRIPTION LIKE N'%"
                         << value(Gen_EscapeLike(text)) << "%' ORDER BY PARENTCODE, UNSPSCCODE");
}

std::map<std::string, std::int64_t> products_below_code(const std::string& parent) {
  const std::size_t digits = parent.size() + 2;
  std::map<std::string, std::int64_t> counts;
  for (const DictionaryPtr& row : all_rows(Sql("SELECT UNSPSCCODE, COUNT(*) AS N FROM PRODUCT WHERE UNSPSCCODE LIKE N'")
                                           << value(Gen_EscapeLike(parent)) << "%' GROUP BY UNSPSCCODE"))
    if (const std::string code = row->Item("UNSPSCCODE").to_text(); code.size() >= digits)
      counts[code.substr(0, digits)] += row->Item("N").to_long();
  return counts;
}

}  // namespace mercato::keeping
