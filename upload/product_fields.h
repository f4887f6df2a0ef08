// SPDX-License-Identifier: Apache-2.0
// The fields of a product document, and what a value of each has to be. The judge and the repairer apply different
// rules to several of them on purpose; this table is the one place that says which field is what. Pure; any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace mercato::upload {

inline constexpr std::string_view kSeparatorKey = "MULTIPLEBUYERSEPARATOR";

enum class FieldKind {
  buyers,
  commodity,
  unit,
  contract,
  contract_number,
  partner,
  date,
  number,
  flag,
  flag_only_judged,  // the repair takes it for any other field
  separator,
  unspsc_code,
  hazardous_class,
  text,   // only repaired: cut to its width
  other,  // only repaired: name and value cut to 30
};

struct FieldRule {
  FieldKind kind;
  std::size_t width = 0;
};

// The rule of a field by its name in capitals.
FieldRule rule_of(std::string_view upper_key);

// How many fields go to PRODUCT.
inline constexpr std::size_t kFieldsOfProduct = 29;
// Whether a field, by its name in capitals, goes to PRODUCT; every other one is a property.
bool goes_to_product(std::string_view upper_key);

// The names of all fields that mean something of their own in a document, in capitals, in no order.
const std::vector<std::string_view>& field_names();

// The other half of a contract line, beside which a CONTRACTCODE or a NUMBER is looked up; empty for other fields.
std::string_view partner_of(FieldKind kind);

}  // namespace mercato::upload
