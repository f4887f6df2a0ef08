// SPDX-License-Identifier: Apache-2.0
#include "upload/reference_data.h"

#include "frame/lib_general.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "frame/util.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

// UNSPSCIMPLEMENTED as it is kept: upper-cased.
constexpr std::string_view kUnspscInUse = "YES";
// Never equal to the setting as it is kept, so that the category links are never brought in step.
constexpr std::string_view kUnspscLinksWanted = "Yes";

bool is_flag(const Variant& value) { return value.is_numeric() && (value.to_double() == 1 || value.to_double() == 0); }

}  // namespace

Variant ReferenceData::getProductName(const std::string& iBuyFromPartNr) {
  RecordsetPtr rows;
  return method(
      [&]() -> Variant {
        rows = read_connection_.get()->Execute(Sql("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='")
                                               << value(Gen_QuoteSql(iBuyFromPartNr)) << "'");
        Variant product_name = rows->Eof() ? Variant(kNull) : rows->Value("PRODUCTDESCRIPTION");
        Sql_CloseRecordset(rows);
        return product_name;
      },
      Tail{"Mercato.ProductXML.getProductName", closing(rows)});
}

bool ReferenceData::is_good(FieldKind kind, const std::string& field, const Variant& value, const Variant& partner) {
  switch (kind) {
    case FieldKind::commodity:
      return Exists("COMMODITY", {{field, value, Quoting::text}});
    case FieldKind::contract:
      return Exists("CONTRACTLINES", {{field, value, Quoting::text}, {"NUMBER", partner, Quoting::none}});
    case FieldKind::contract_number:
      return Exists("CONTRACTLINES", {{field, value, Quoting::none}, {"CONTRACTCODE", partner, Quoting::text}});
    case FieldKind::date:
      return IsValidUSDate(value.to_text());
    case FieldKind::number:
      return value.is_numeric();
    case FieldKind::flag:
      return is_flag(value);
    case FieldKind::unspsc_code:
      return !unspsc_in_use() || unspsc_code_exists(value.to_text());
    default:
      return true;
  }
}

bool ReferenceData::is_unit(const Variant& value) {
  return Exists("UNIT", {{"UNITDESCRIPTION", value, Quoting::text}}) ||
         Exists("UNIT", {{"UNITCODE", value, Quoting::text}});
}

bool ReferenceData::is_hazardous_class(const Variant& value) {
  return Exists("HAZARDOUSCLASS", {{"CLASSCODE", value, Quoting::text}});
}

bool ReferenceData::Exists(std::string_view table, std::initializer_list<Comparison> comparisons) {
  Opened opened;
  return method(
      [&] {
        opened.connection = open_connection(shared_connection_string(), Isolation::read_committed);
        Sql sql("SELECT ");
        sql << name(comparisons.begin()->field) << " FROM " << name(table) << " WHERE ";
        for (const Comparison& comparison : comparisons) {
          if (&comparison != comparisons.begin()) sql << " AND ";
          if (comparison.quoting == Quoting::text)
            sql << name(comparison.field) << "='" << value(Gen_QuoteSql(comparison.value.to_text())) << "'";
          else
            sql << name(comparison.field) << "=" << value(comparison.value.to_text());
        }
        opened.rows = open_read_only(sql, opened.connection);
        const bool found = !opened.rows->Eof();
        opened.close();
        return found;
      },
      Tail{"Mercato.ProductXML.Exists", closing(opened)});
}

// The last two characters are the code, what stands before them its parent.
bool ReferenceData::unspsc_code_exists(const std::string& whole_code) {
  const std::string_view code = text::trim(whole_code);
  if (text::length(code) < 2) raise(error_number::kInvalidArgument);
  return Exists("UNSPSCCODES", {{"PARENTCODE", text::without_last(code, 2), Quoting::text},
                                {"UNSPSCCODE", Variant(text::right(code, 2)).to_short(), Quoting::none}});
}

void ReferenceData::read_unspsc_setting() {
  if (!mUNSPSCImplemented.is_empty()) return;
  grundwerk::Configuration configuration;
  configuration.PrepareParameters(false);
  const Variant setting = configuration.GetParameter("COMMONPARAMETERS", "UNSPSCIMPLEMENTED");
  mUNSPSCImplemented = setting.is_null() ? setting : Variant(text::to_upper(setting.to_text()));
}

bool ReferenceData::unspsc_in_use() const { return mUNSPSCImplemented == Variant(kUnspscInUse); }

bool ReferenceData::unspsc_links_wanted() const { return mUNSPSCImplemented == Variant(kUnspscLinksWanted); }

}  // namespace mercato::upload
