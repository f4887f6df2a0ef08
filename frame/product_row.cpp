#include "frame/product_row.h"

#include <unordered_map>

#include "frame/lib_general.h"
#include "frame/types/text.h"
#include "platform/automation/invoke.h"

namespace mercato {
namespace {

constexpr std::size_t kGtinLength = 14;
constexpr std::size_t kLongestText = 255;

enum class Rule {
  as_given,
  blank_to_null,
  empty_to_null,
  minus_one_to_null,
  property_group,        // remembered, then minus_one_to_null
  required,              // empty: quiet stop
  limited_text,          // empty_to_null; too long: quiet stop
  limited_text_quoted,   // the same, but apostrophes reach the column doubled
  date,                  // empty_to_null; "-1": quiet stop
  unspsc_blank_to_null,  // then remembered
  unspsc_empty_to_null,  // then remembered
  gtin,                  // blank_to_null, else filled up with zeros
  quantity,              // 0 becomes 1
  buyers,                // remembered; the first of the list is written, nothing when there is none
  buyers_blank_to_null,  // the same, but a blank list counts as none
  never_written,
};

struct FieldRules {
  std::string_view field;
  Rule upload_insert;
  Rule upload_update;
};

// Names are compared exactly: one in another case escapes its rule and still reaches its column.
// BYFROMCONTACTEMAIL is no column: the name that is one, BUYFROMCONTACTEMAIL, has no rule.
// clang-format off
constexpr FieldRules kRules[] = {
    // field                   upload_insert               upload_update
    {"UNITCODE",               Rule::blank_to_null,        Rule::blank_to_null},
    {"CLASSCODE",              Rule::blank_to_null,        Rule::blank_to_null},
    {"COMMODITYCODE",          Rule::blank_to_null,        Rule::blank_to_null},
    {"MANUFACTURERID",         Rule::blank_to_null,        Rule::blank_to_null},
    {"CONTRACTCODE",           Rule::blank_to_null,        Rule::as_given},
    {"PRICINGMETHOD",          Rule::blank_to_null,        Rule::empty_to_null},
    {"NUMBER",                 Rule::minus_one_to_null,    Rule::minus_one_to_null},
    {"BUSINESSPARTNERID",      Rule::minus_one_to_null,    Rule::minus_one_to_null},
    {"USERID",                 Rule::buyers_blank_to_null, Rule::buyers},
    {"PROPERTYGROUPID",        Rule::property_group,       Rule::property_group},
    {"PRODUCTDESCRIPTION",     Rule::required,             Rule::as_given},
    {"PARTNUMBER",             Rule::required,             Rule::as_given},
    {"PRODUCTREMARK",          Rule::limited_text_quoted,  Rule::as_given},
    {"BUYFROMCONTACTINFO",     Rule::limited_text,         Rule::as_given},
    {"IMAGEFILENAME",          Rule::blank_to_null,        Rule::as_given},
    {"TECHNICALIMAGE",         Rule::blank_to_null,        Rule::as_given},
    {"URL",                    Rule::blank_to_null,        Rule::as_given},
    {"PRODUCTXML",             Rule::blank_to_null,        Rule::as_given},
    {"PRODUCTEFFECTIVITYDATE", Rule::date,                 Rule::as_given},
    {"PRODUCTEXPIRYDATE",      Rule::date,                 Rule::as_given},
    {"DISABLED",               Rule::blank_to_null,        Rule::as_given},
    {"CONFIGURABLE",           Rule::blank_to_null,        Rule::as_given},
    {"BUYFROMPARTNUMBER",      Rule::blank_to_null,        Rule::as_given},
    {"BYFROMCONTACTEMAIL",     Rule::blank_to_null,        Rule::as_given},
    {"UNSPSCCODE",             Rule::unspsc_blank_to_null, Rule::unspsc_empty_to_null},
    {"GTIN",                   Rule::gtin,                 Rule::gtin},
    {"MULTIPLEBUYER",          Rule::blank_to_null,        Rule::blank_to_null},
    {"MFRPARTNUMBER",          Rule::blank_to_null,        Rule::blank_to_null},
    {"LOTSIZE",                Rule::blank_to_null,        Rule::blank_to_null},
    {"DELIVERYLEADTIME",       Rule::blank_to_null,        Rule::blank_to_null},
    {"MINORDERQTY",            Rule::quantity,             Rule::quantity},
    {"MULTIPLEOF",             Rule::quantity,             Rule::quantity},
    {"PRODUCTID",              Rule::as_given,             Rule::never_written},
};
// clang-format on

// No column. The one name that is recognised in any case.
constexpr std::string_view kSeparatorField = "MULTIPLEBUYERSEPARATOR";

Rule rule_of(ProductWritePolicy policy, std::string_view field) {
  static const auto by_name = [] {
    std::unordered_map<std::string_view, const FieldRules*> rules;
    for (const FieldRules& rule : kRules) rules.emplace(rule.field, &rule);
    return rules;
  }();
  if (text::equal_names(field, kSeparatorField)) return Rule::never_written;
  const auto found = by_name.find(field);
  if (found == by_name.end()) return Rule::as_given;
  return policy == ProductWritePolicy::upload_insert ? found->second->upload_insert : found->second->upload_update;
}

bool is_empty_text(const Variant& value) { return !value.is_null() && value.to_text().empty(); }

void empty_to_null(Variant& value) {
  if (is_empty_text(value)) value = kNull;
}

bool equals_number(const Variant& value, double number) { return value.is_numeric() && value.to_double() == number; }

enum class Verdict { write, skip, stop };

Verdict apply_limit(Variant& value) {
  empty_to_null(value);
  return !value.is_null() && text::length(value.to_text()) > kLongestText ? Verdict::stop : Verdict::write;
}

// The first buyer goes into the row, the list is kept for the buyer rows.
Verdict take_buyers(Variant& value, WrittenProductFields& written, BuyerSeparator& separator) {
  if (value.is_null()) return Verdict::skip;
  written.buyers = value.to_text();
  for (std::string& buyer : text::split(written.buyers, separator.or_default())) {
    if (buyer.empty()) continue;
    value = std::move(buyer);
    return Verdict::write;
  }
  return Verdict::skip;
}

Verdict apply(Rule rule, Variant& value, WrittenProductFields& written, BuyerSeparator& separator) {
  switch (rule) {
    case Rule::as_given:
      return Verdict::write;
    case Rule::blank_to_null:
      EmptyToNull(value);
      return Verdict::write;
    case Rule::empty_to_null:
      empty_to_null(value);
      return Verdict::write;
    case Rule::property_group:
      written.has_property_group = true;
      written.property_group = value.to_long();
      [[fallthrough]];
    case Rule::minus_one_to_null:
      if (equals_number(value, -1)) value = kNull;
      return Verdict::write;
    case Rule::required:
      return is_empty_text(value) ? Verdict::stop : Verdict::write;
    case Rule::limited_text:
      return apply_limit(value);
    case Rule::limited_text_quoted: {
      const Verdict verdict = apply_limit(value);
      value = Gen_QuoteSql(value);
      return verdict;
    }
    case Rule::date:
      empty_to_null(value);
      return !value.is_null() && value.to_text() == "-1" ? Verdict::stop : Verdict::write;
    case Rule::unspsc_blank_to_null:
      EmptyToNull(value);
      written.unspsc_code = value;
      return Verdict::write;
    case Rule::unspsc_empty_to_null:
      empty_to_null(value);
      written.unspsc_code = value;
      return Verdict::write;
    case Rule::gtin:
      EmptyToNull(value);
      if (!value.is_null()) value = full_length_gtin(value.to_text());
      return Verdict::write;
    case Rule::quantity:
      if (equals_number(value, 0)) value = std::int32_t{1};
      return Verdict::write;
    case Rule::buyers_blank_to_null:
      EmptyToNull(value);
      [[fallthrough]];
    case Rule::buyers:
      return take_buyers(value, written, separator);
    case Rule::never_written:
      return Verdict::skip;
  }
  return Verdict::write;
}

void update_group_change(std::int32_t group, std::int32_t product_id) {
  invoke(Gen_GetComponent("Mercato.PropertyGroup"), "UpdateGroupChange", {group, product_id});
}

}  // namespace

std::optional<WrittenProductFields> write_product_fields(ProductWritePolicy policy, Recordset& row, const Array& fields,
                                                         const Array& values, BuyerSeparator& separator) {
  WrittenProductFields written;
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
    const std::string field = fields.at(index).to_text();
    Variant value = values.at(index);
    switch (apply(rule_of(policy, field), value, written, separator)) {
      case Verdict::write:
        row.SetValue(field, value);
        break;
      case Verdict::skip:
        break;
      case Verdict::stop:
        return std::nullopt;
    }
  }
  return written;
}

void create_group_values(const Recordset& row, const WrittenProductFields& written, std::int32_t product_id) {
  if (!row.Value("PROPERTYGROUPID").is_null()) update_group_change(written.property_group, product_id);
}

void follow_group_change(const Recordset& row, const WrittenProductFields& written, std::int32_t old_group,
                         std::int32_t product_id, Connection& connection) {
  if (!written.has_property_group || written.property_group == old_group) return;
  if (row.Value("PROPERTYGROUPID").is_null()) {
    Sql sql;
    sql << "DELETE FROM productpropvalue WHERE productid=" << product_id;
    connection.Execute(sql);
  } else {
    update_group_change(written.property_group, product_id);
  }
}

void EmptyToNull(Variant& value) {
  if (!value.is_null() && text::trim(value.to_text()).empty()) value = kNull;
}

std::string full_length_gtin(std::string_view gtin) {
  const std::size_t length = text::length(gtin);
  std::string full(length < kGtinLength ? kGtinLength - length : 0, '0');
  return full.append(gtin);
}

}  // namespace mercato
