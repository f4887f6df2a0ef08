// SPDX-License-Identifier: Apache-2.0
#include "upload/product_validation.h"

#include <algorithm>

#include "frame/method.h"
#include "upload/upload_documents.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

constexpr std::int32_t kNoPartner = -1;
constexpr std::string_view kSeparators[] = {"\\", "/", "\"", ";", ","};
constexpr const char* kRequiredFields[] = {"PRODUCTDESCRIPTION", "PARTNUMBER", "UNITCODE"};

bool is_separator(std::string_view text) {
  return std::find(std::begin(kSeparators), std::end(kSeparators), text) != std::end(kSeparators);
}

}  // namespace

DictionaryPtr ProductJudge::getErrorFields(const Dictionary& values) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        known_.read_unspsc_setting();
        values.for_each([&](const Variant& key, const Variant& value) {
          if (is_bad_field(values, key.to_text(), value)) errors->Add(key, value);
        });
        for (const char* field : kRequiredFields)
          if (value_of(values, field).to_text().empty()) errors->Add(field, "");
        return errors;
      },
      Tail{"Mercato.ProductXML.getErrorFields", no_steps});
}

bool ProductJudge::is_bad_field(const Dictionary& values, const std::string& field, const Variant& value) {
  const FieldKind kind = rule_of(text::to_upper(field)).kind;
  switch (kind) {
    case FieldKind::buyers:
      return !all_are_buyers(value.to_text());
    case FieldKind::unit:
      return !ReferenceData::is_unit(value);
    case FieldKind::partner:
      return known_.partner_id(value.to_text()).to_double() == kNoPartner;
    case FieldKind::separator:
      separator_.set(value.to_text());
      return !is_separator(separator_.text());
    case FieldKind::hazardous_class:
      return !ReferenceData::is_hazardous_class(value);
    case FieldKind::flag_only_judged:
      return !known_.is_good(FieldKind::flag, field, value, {});
    case FieldKind::commodity:
    case FieldKind::contract:
    case FieldKind::contract_number:
    case FieldKind::date:
    case FieldKind::number:
    case FieldKind::flag:
    case FieldKind::unspsc_code:
      return !known_.is_good(kind, field, value, value_of(values, partner_of(kind)));
    case FieldKind::text:
    case FieldKind::other:
      return false;
  }
  return false;
}

// Both questions about each buyer, until the first no.
bool ProductJudge::all_are_buyers(const std::string& list) {
  mUser.create();
  for (const std::string& part : text::split(list, separator_.or_default())) {
    if (part.empty()) continue;
    const std::string user(text::trim(part));
    if (!mUser.BuyerCheckFirst(user) || !mUser.BuyerCheckSecond(user, user)) return false;
  }
  return true;
}

}  // namespace mercato::upload
