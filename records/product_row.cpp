// SPDX-License-Identifier: Apache-2.0
#include "records/product_row.h"

#include <unordered_map>

#include "frame/lib_error_handling.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "mercato/clock.h"
#include "mercato/invoke.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::size_t kGtinLength = 14;
constexpr std::size_t kLongestText = 255;

enum class Rule : std::uint8_t {
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
  gtin_within_length,    // the same, but a longer one is a failure
  quantity,              // 0 becomes 1
  buyers,                // remembered; the first of the list is written, nothing when there is none
  buyers_blank_to_null,  // the same, but a blank list counts as none
  never_written,
};
using enum Rule;

// Names are compared exactly: one in another case escapes its rule and still reaches its column.
// BYFROMCONTACTEMAIL is no column: the name that is one, BUYFROMCONTACTEMAIL, has no rule.
// clang-format off
struct FieldRules {
  std::string_view field;
  Rule insert, update, upload_insert, upload_update;
};
constexpr FieldRules kRules[] = {
    // field                   insert                update                upload_insert         upload_update
    {"UNITCODE",               blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"CLASSCODE",              blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"COMMODITYCODE",          blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"MANUFACTURERID",         blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"CONTRACTCODE",           blank_to_null,        as_given,             blank_to_null,        as_given},
    {"PRICINGMETHOD",          blank_to_null,        empty_to_null,        blank_to_null,        empty_to_null},
    {"NUMBER",                 minus_one_to_null,    minus_one_to_null,    minus_one_to_null,    minus_one_to_null},
    {"BUSINESSPARTNERID",      minus_one_to_null,    minus_one_to_null,    minus_one_to_null,    minus_one_to_null},
    {"USERID",                 blank_to_null,        as_given,             buyers_blank_to_null, buyers},
    {"PROPERTYGROUPID",        property_group,       property_group,       property_group,       property_group},
    {"PRODUCTDESCRIPTION",     required,             as_given,             required,             as_given},
    {"PARTNUMBER",             required,             as_given,             required,             as_given},
    {"PRODUCTREMARK",          limited_text,         as_given,             limited_text_quoted,  as_given},
    {"BUYFROMCONTACTINFO",     limited_text,         as_given,             limited_text,         as_given},
    {"IMAGEFILENAME",          blank_to_null,        as_given,             blank_to_null,        as_given},
    {"TECHNICALIMAGE",         blank_to_null,        as_given,             blank_to_null,        as_given},
    {"URL",                    blank_to_null,        as_given,             blank_to_null,        as_given},
    {"PRODUCTXML",             blank_to_null,        as_given,             blank_to_null,        as_given},
    {"PRODUCTEFFECTIVITYDATE", date,                 as_given,             date,                 as_given},
    {"PRODUCTEXPIRYDATE",      date,                 as_given,             date,                 as_given},
    {"DISABLED",               blank_to_null,        as_given,             blank_to_null,        as_given},
    {"CONFIGURABLE",           blank_to_null,        as_given,             blank_to_null,        as_given},
    {"BUYFROMPARTNUMBER",      blank_to_null,        as_given,             blank_to_null,        as_given},
    {"BYFROMCONTACTEMAIL",     blank_to_null,        as_given,             blank_to_null,        as_given},
    {"UNSPSCCODE",             unspsc_blank_to_null, unspsc_empty_to_null, unspsc_blank_to_null, unspsc_empty_to_null},
    {"GTIN",                   gtin,                 gtin_within_length,   gtin,                 gtin},
    {"MULTIPLEBUYER",          blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"MFRPARTNUMBER",          blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"LOTSIZE",                blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"DELIVERYLEADTIME",       blank_to_null,        blank_to_null,        blank_to_null,        blank_to_null},
    {"MINORDERQTY",            as_given,             as_given,             quantity,             quantity},
    {"MULTIPLEOF",             as_given,             as_given,             quantity,             quantity},
    {"PRODUCTID",              as_given,             never_written,        as_given,             never_written},
};
// clang-format on

// No column. The uploads know it, and recognise it in any case.
constexpr std::string_view kSeparatorField = "MULTIPLEBUYERSEPARATOR";

bool is_upload(ProductWritePolicy policy) {
  return policy == ProductWritePolicy::upload_insert || policy == ProductWritePolicy::upload_update;
}

Rule rule_of(ProductWritePolicy policy, std::string_view field) {
  static const auto by_name = [] {
    std::unordered_map<std::string_view, const FieldRules*> rules;
    for (const FieldRules& rule : kRules) rules.emplace(rule.field, &rule);
    return rules;
  }();
  if (is_upload(policy) && text::equal_names(field, kSeparatorField)) return never_written;
  const auto found = by_name.find(field);
  if (found == by_name.end()) return as_given;
  switch (policy) {
    case ProductWritePolicy::insert:
      return found->second->insert;
    case ProductWritePolicy::update:
      return found->second->update;
    case ProductWritePolicy::upload_insert:
      return found->second->upload_insert;
    case ProductWritePolicy::upload_update:
      return found->second->upload_update;
  }
  return as_given;
}

void null_when_empty(Variant& value) {
  if (!value.is_null() && value.to_text().empty()) value = kNull;
}

bool equals_number(const Variant& value, double number) { return value.is_numeric() && value.to_double() == number; }

std::optional<ProductFieldFault> fault_of(Rule rule, const Variant& value) {
  using Kind = ProductFieldFault::Kind;
  if (value.is_null()) return std::nullopt;
  switch (rule) {
    case required:
      if (value.to_text().empty()) return ProductFieldFault{Kind::empty};
      return std::nullopt;
    case limited_text:
    case limited_text_quoted:
      if (text::length(value.to_text()) > kLongestText) return ProductFieldFault{Kind::too_long, kLongestText};
      return std::nullopt;
    case date:
      if (value.to_text() == "-1") return ProductFieldFault{Kind::no_date};
      return std::nullopt;
    case gtin_within_length: {
      const std::string gtin = value.to_text();
      const bool is_blank = text::trim(gtin).empty();
      if (!is_blank && text::length(gtin) > kGtinLength) return ProductFieldFault{Kind::too_long, kGtinLength};
      return std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

enum class Verdict { write, skip, stop };

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
  if (fault_of(rule, value)) {
    if (rule == gtin_within_length) raise(error_number::kInvalidArgument);
    return Verdict::stop;
  }
  switch (rule) {
    case as_given:
    case required:
      return Verdict::write;
    case blank_to_null:
      EmptyToNull(value);
      return Verdict::write;
    case empty_to_null:
    case limited_text:
    case date:
      null_when_empty(value);
      return Verdict::write;
    case limited_text_quoted:
      null_when_empty(value);
      value = Gen_QuoteSql(value);
      return Verdict::write;
    case property_group:
      written.has_property_group = true;
      written.property_group = value.to_long();
      value = written.property_group;
      [[fallthrough]];
    case minus_one_to_null:
      if (equals_number(value, -1)) value = kNull;
      return Verdict::write;
    case unspsc_blank_to_null:
      EmptyToNull(value);
      written.unspsc_code = value.text_or_empty();
      return Verdict::write;
    case unspsc_empty_to_null:
      null_when_empty(value);
      written.unspsc_code = value.text_or_empty();
      return Verdict::write;
    case gtin_within_length:
    case gtin:
      EmptyToNull(value);
      if (!value.is_null()) value = full_length_gtin(value.to_text());
      return Verdict::write;
    case quantity:
      if (equals_number(value, 0)) value = std::int32_t{1};
      return Verdict::write;
    case buyers_blank_to_null:
      EmptyToNull(value);
      [[fallthrough]];
    case buyers:
      return take_buyers(value, written, separator);
    case never_written:
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

std::optional<ProductFieldFault> product_field_fault(ProductWritePolicy policy, std::string_view field,
                                                     const Variant& value) {
  return fault_of(rule_of(policy, field), value);
}

Variant no_value_of(std::string_view field) {
  return rule_of(ProductWritePolicy::update, field) == property_group ? Variant(-1) : Variant(kNull);
}

RecordsetPtr new_product_row(const ConnectionPtr& connection) {
  RecordsetPtr row = open_updatable(LiteralPiece("SELECT * FROM PRODUCT WHERE 0=1"), connection, CursorType::keyset);
  row->AddNew();
  return row;
}

RecordsetPtr open_product_row(std::int32_t product_id, const ConnectionPtr& connection) {
  RecordsetPtr row =
      open_updatable(Sql("SELECT * FROM PRODUCT WHERE PRODUCTID=") << product_id, connection, CursorType::fixed);
  if (row->Eof()) raise(eProductNotFound, "Mercato.Product.Update", "Product not present");
  return row;
}

void stamp_product_row(Recordset& row) { row.SetValue("DATEUPDATED", clock::now()); }

FormerProduct former_product(const Recordset& row) {
  const Variant& group = row.Value("PROPERTYGROUPID");
  return {group.is_null() ? 0 : group.to_long(), row.Value("UNSPSCCODE").text_or_empty()};
}

void create_group_values(const Recordset& row, const WrittenProductFields& written, std::int32_t product_id) {
  if (!row.Value("PROPERTYGROUPID").is_null()) update_group_change(written.property_group, product_id);
}

void follow_group_change(const Recordset& row, const WrittenProductFields& written, std::int32_t old_group,
                         std::int32_t product_id, Connection& connection) {
  if (!written.has_property_group || written.property_group == old_group) return;
  if (row.Value("PROPERTYGROUPID").is_null()) {
    connection.Execute(Sql("DELETE FROM productpropvalue WHERE productid=") << product_id);
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
