// SPDX-License-Identifier: Apache-2.0
#include "upload/product_fields.h"

#include <unordered_map>

namespace mercato::upload {

FieldRule rule_of(std::string_view upper_key) {
  constexpr std::size_t kOtherWidth = 30;
  static const std::unordered_map<std::string_view, FieldRule> kFieldRules = {
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
  const auto found = kFieldRules.find(upper_key);
  return found == kFieldRules.end() ? FieldRule{FieldKind::other, kOtherWidth} : found->second;
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
