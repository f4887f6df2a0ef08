// SPDX-License-Identifier: Apache-2.0
#include "upload/price_validation.h"

#include <unordered_map>
#include <unordered_set>

#include "frame/contracts.h"
#include "frame/method.h"
#include "frame/util.h"
#include "mercato/date.h"
#include "upload/upload_documents.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

enum class PriceRule {
  none,
  compared_number,  // one that is none leaves out the comparison of price and discount
  number,
  percentage,
  date,  // one that is none leaves out the comparison of the dates
};

PriceRule price_rule_of(std::string_view field) {
  static const std::unordered_map<std::string_view, PriceRule> kRules = {
      {"DISCOUNTAMOUNT", PriceRule::compared_number}, {"PRICE", PriceRule::compared_number},
      {"QUANTITYTO", PriceRule::compared_number},     {"FREIGHTCOST", PriceRule::number},
      {"DISCOUNTPERC", PriceRule::percentage},        {"PRICETAXPERCENTAGE", PriceRule::percentage},
      {"PRICEEFFECTIVEDATE", PriceRule::date},        {"PRICEEXPIRYDATE", PriceRule::date},
  };
  const std::string upper = text::to_upper(field);
  const auto found = kRules.find(upper);
  return found == kRules.end() ? PriceRule::none : found->second;
}

bool is_percentage(double number) { return number >= 0 && number <= 100; }

}  // namespace

// The bad fields of one price, in the order in which they are found.
class PriceJudge::Errors {
 public:
  explicit Errors(Findings* findings) : findings_(findings) {}
  void add(const Variant& field, const Variant& value, const char* reason) {
    fields_->Add(field, value);
    if (findings_) findings_->push_back({field.to_text(), value.to_text(), reason});
  }
  DictionaryPtr take() { return std::move(fields_); }

 private:
  DictionaryPtr fields_ = std::make_shared<Dictionary>();
  Findings* const findings_;
};

void PriceJudge::load_currencies() { mCurrencies = zentrik::Currency().GetAllCurrencies(); }

DictionaryPtr PriceJudge::getErrorFields(const Dictionary& price) const {
  return method(
      [&] {
        const DictionaryPtr errors = GetPriceRuleErrors(price, nullptr);
        getTypeAndRangeErrors(price, nullptr)->for_each([&](const Variant& field, const Variant& value) {
          if (!errors->Exists(field)) errors->Add(field, value);
        });
        return errors;
      },
      Tail{"Mercato.PriceXML.getErrorFields", no_steps});
}

bool PriceJudge::isValidPrice(const Dictionary& price, Findings* findings) const {
  const std::int32_t errors = getTypeAndRangeErrors(price, findings)->Count();
  return errors + GetPriceRuleErrors(price, findings)->Count() < 1;
}

DictionaryPtr PriceJudge::getTypeAndRangeErrors(const Dictionary& price, Findings* findings) {
  return method(
      [&] {
        Errors errors(findings);
        bool numbers_good = true;
        bool dates_good = true;
        price.for_each([&](const Variant& field, const Variant& value) {
          switch (const PriceRule rule = price_rule_of(field.to_text())) {
            case PriceRule::none:
              break;
            case PriceRule::compared_number:
            case PriceRule::number:
              if (value.is_numeric()) break;
              errors.add(field, value, "not a number");
              if (rule == PriceRule::compared_number) numbers_good = false;
              break;
            case PriceRule::percentage:  // what is no number fails here
              if (!is_percentage(value.to_double())) errors.add(field, value, "not from 0 to 100");
              break;
            case PriceRule::date:
              if (IsValidUSDate(value.to_text())) break;
              errors.add(field, value, "not a date");
              dates_good = false;
              break;
          }
        });
        if (dates_good) {
          const Variant expiry = value_of(price, "PriceExpiryDate");
          const Variant effective = value_of(price, "PriceEffectiveDate");
          if (expiry.to_date() <= effective.to_date()) {
            errors.add("PriceEffectiveDate", effective, "not before the expiry date");
            errors.add("PriceExpiryDate", expiry, "not after the effective date");
          }
        }
        if (numbers_good) {
          const Variant amount = value_of(price, "Price");
          const Variant discount = value_of(price, "DiscountAmount");
          if (amount.to_double() <= discount.to_double()) {
            errors.add("DiscountAmount", discount, "not below the price");
            errors.add("Price", amount, "not above the discount");
          }
        }
        return errors.take();
      },
      Tail{"Mercato.PriceXML.getTypeAndRangeErrors", no_steps});
}

DictionaryPtr PriceJudge::GetPriceRuleErrors(const Dictionary& price, Findings* findings) const {
  return method(
      [&] {
        Errors errors(findings);
        const std::string currency = value_of(price, "CurrencyCode").to_text();
        if (!mCurrencies) raise(error_number::kObjectNotSet);
        if (!mCurrencies->Exists(currency)) errors.add("CurrencyCode", currency, "no such currency");
        return errors.take();
      },
      Tail{"Mercato.PriceXML.GetPriceRuleErrors", no_steps});
}

void add_compared_fields(Dictionary& price) {
  for (const char* field : {"PriceExpiryDate", "PriceEffectiveDate", "Price", "DiscountAmount", "CurrencyCode"})
    price.Item(field);
}

std::optional<UploadField> reason_not_judged(const xml::Node& record) {
  for (xml::Node around = record.parent(); !around.is_null(); around = around.parent())
    if (around.name() == kPriceDocument.record) return UploadField{{}, {}, "it stands within another price line"};
  std::unordered_set<std::string> names;
  for (const xml::Node field : record.children()) {
    if (field.type() != xml::NodeType::kElement) continue;
    const std::string name(field.name());
    if (!names.insert(name).second) return UploadField{name, field.typed_value(), "the field stands twice"};
    if (price_rule_of(name) == PriceRule::percentage && !Variant(field.typed_value()).is_numeric())
      return UploadField{name, field.typed_value(), "not a number"};
  }
  return std::nullopt;
}

}  // namespace mercato::upload
