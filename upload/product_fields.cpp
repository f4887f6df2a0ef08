// SPDX-License-Identifier: Apache-2.0
#include "upload/product_fields.h"

#include <array>
#include <unordered_map>
#include <unordered_set>

namespace mercato::upload {
namespace {

constexpr std::size_t kOtherWidth = 30;

const std::unordered_map<std::string_view, FieldRule>& field_rules() {
  static const std::unordered_map<std::string_view, FieldRule> rules = {
      {"BUYERID", {FieldKind::buyers}},
      {"COMMODITYCODE", {FieldKind::commodity}},
      {"UNITCODE", {FieldKind::unit}},
      {"CONTRACTCODE", {FieldKind::contract}},
      {"NUMBER", {FieldKind::contract_number}},
      {"BUSINESSID", {FieldKind::partner}},
      {"PRODUCTEFFECTIVITYDATE", {FieldKind::date}},
      {"PRODUCTEXPIRYDATE", {FieldKind::date}},
      {"MINORDERQTY", {FieldKind::number}},
      {"MULTIPLEOF", {FieldKind::number}},
      {"GTIN", {FieldKind::number}},
      {"LOTSIZE", {FieldKind::number}},
      {"DELIVERYLEADTIME", {FieldKind::number}},
      {"MULTIPLEBUYER", {FieldKind::flag}},
      {"SERVICEITEM", {FieldKind::flag_only_judged, kOtherWidth}},
      {kSeparatorKey, {FieldKind::separator}},
      {"UNSPSCCODE", {FieldKind::unspsc_code}},
      {"CLASSCODE", {FieldKind::hazardous_class}},
      {"PARTNUMBER", {FieldKind::text, 50}},
      {"MFRPARTNUMBER", {FieldKind::text, 50}},
      {"PRODUCTDESCRIPTION", {FieldKind::text, 255}},
      {"PRODUCTREMARK", {FieldKind::text, 255}},
      {"IMAGEFILENAME", {FieldKind::text, 255}},
      {"TECHNICALIMAGE", {FieldKind::text, 255}},
      {"URL", {FieldKind::text, 255}},
      {"PRODUCTXML", {FieldKind::text, 255}},
      {"BUYFROMCONTACTINFO", {FieldKind::text, 255}},
      {"BUYFROMCONTACTEMAIL", {FieldKind::text, 30}},
      {"CLASSIFICATION", {FieldKind::text, 32}},
  };
  return rules;
}

// clang-format off
constexpr std::array<std::string_view, kFieldsOfProduct> kNames = {
    "COMMODITYCODE", "UNITCODE", "CONTRACTCODE", "NUMBER", "BUSINESSPARTNERID", "PRODUCTDESCRIPTION", "PRODUCTREMARK",
    "IMAGEFILENAME", "TECHNICALIMAGE", "URL", "PRODUCTXML", "BUYFROMCONTACTEMAIL", "PRODUCTEFFECTIVITYDATE",
    "PRODUCTEXPIRYDATE", "BUYFROMCONTACTINFO", "CLASSIFICATION", "MULTIPLEOF", "MINORDERQTY", "USERID", "PARTNUMBER",
    "UNSPSCCODE", "GTIN", "DISABLED", "MULTIPLEBUYER", "MFRPARTNUMBER", "LOTSIZE", "DELIVERYLEADTIME", "CLASSCODE",
    "SERVICEITEM"};
// clang-format on

}  // namespace

FieldRule rule_of(std::string_view upper_key) {
  const auto found = field_rules().find(upper_key);
  return found == field_rules().end() ? FieldRule{FieldKind::other, kOtherWidth} : found->second;
}

bool goes_to_product(std::string_view upper_key) {
  static const std::unordered_set<std::string_view> fields(kNames.begin(), kNames.end());
  return fields.contains(upper_key);
}

const std::vector<std::string_view>& field_names() {
  static const std::vector<std::string_view> names = [] {
    std::unordered_set<std::string_view> all(kNames.begin(), kNames.end());
    for (const auto& [name, rule] : field_rules()) all.insert(name);
    all.insert("UNIT");  // another name of UNITCODE
    return std::vector<std::string_view>(all.begin(), all.end());
  }();
  return names;
}

std::string_view partner_of(FieldKind kind) {
  switch (kind) {
    case FieldKind::contract:
      return "NUMBER";
    case FieldKind::contract_number:
      return "CONTRACTCODE";
    default:
      return {};
  }
}

}  // namespace mercato::upload
