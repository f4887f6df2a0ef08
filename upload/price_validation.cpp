// Judging a price: a line passes all rules or is not written. The rules that name a field in any case, kRules, see it
// as it is written; the comparisons look a field up by its one spelling, and one that is missing counts as 0 or as the
// zero date, and is a field of the price from then on.
#include <unordered_map>

#include "frame/util.h"
#include "upload/price_xml_internal.h"
#include "values/collection.h"
#include "values/text.h"

namespace mercato {
namespace {

enum class PriceRule {
  none,
  compared_number,  // one that is none leaves out the comparison of price and discount
  number,
  percentage,
  date,
};

// More records do not fit the counter.
constexpr std::size_t kMostRecords = 32767;

PriceRule price_rule_of(std::string_view upper_field) {
  static const std::unordered_map<std::string_view, PriceRule> kRules = {
      {"DISCOUNTAMOUNT", PriceRule::compared_number}, {"PRICE", PriceRule::compared_number},
      {"QUANTITYTO", PriceRule::compared_number},     {"FREIGHTCOST", PriceRule::number},
      {"DISCOUNTPERC", PriceRule::percentage},        {"PRICETAXPERCENTAGE", PriceRule::percentage},
      {"PRICEEFFECTIVEDATE", PriceRule::date},        {"PRICEEXPIRYDATE", PriceRule::date},
  };
  const auto found = kRules.find(upper_field);
  return found == kRules.end() ? PriceRule::none : found->second;
}

bool is_percentage(double number) { return number >= 0 && number <= 100; }

struct CheckedPrice {
  std::string part_number;
  std::string product_name;
  bool valid = false;
};

// One entry for each part number, at the place of its last line.
DictionaryPtr by_part_number(const std::vector<CheckedPrice>& prices) {
  auto list = std::make_shared<Dictionary>();
  for (const CheckedPrice& price : prices) {
    if (price.part_number.empty()) continue;
    bool valid = price.valid;
    if (list->Exists(price.part_number)) {
      valid = list->Item(price.part_number).to<Collection>()->Item(3).to_boolean() && valid;
      list->Remove(price.part_number);
    }
    auto entry = std::make_shared<Collection>();
    entry->Add(price.part_number);
    entry->Add(price.product_name);
    entry->Add(valid);
    list->Add(price.part_number, entry);
  }
  return list;
}

}  // namespace

DictionaryPtr PriceXML::GetErrorsInPriceValues(const std::string& iStringOrUrl, bool iIsUrl,
                                               const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        const Array prices = readProductPriceFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr)->Items();
        for (std::size_t index = 0; index < prices.items.size(); ++index)
          errors->Add(upload::price_key(index + 1), getErrorFields(*prices.items[index].to<Dictionary>()));
        return errors;
      },
      Tail{"Mercato.PriceXML.GetErrorsInPriceValues", no_steps});
}

// A record whose product is unknown keeps its place in the list only until the next one takes it.
DictionaryPtr PriceXML::GetCheckedPriceList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method(
      [&] {
        const xml::NodeList records = getPriceNodeList(iStringOrUrl, iIsUrl);
        if (records.empty()) return std::make_shared<Dictionary>();
        if (records.size() > kMostRecords) raise(error_number::kOverflow);
        mCurrencies = zentrik::Currency().GetAllCurrencies();

        std::vector<CheckedPrice> prices(records.size());
        std::size_t place = 0;
        for (const xml::Node record : records) {
          if (!upload::has_content(record)) continue;
          CheckedPrice& price = prices[place];
          price.part_number = upload::part_number_of(record);
          price.product_name = getProductNameOrID(price.part_number, Wanted::name).to_text();
          if (price.product_name.empty()) continue;
          price.valid = isValidPrice(*upload::price_of(record.children()));
          ++place;
        }
        return by_part_number(prices);
      },
      Tail{"Mercato.PriceXML.GetCheckedPriceList", no_steps});
}

DictionaryPtr PriceXML::getErrorFields(Dictionary& price) {
  return method(
      [&] {
        const DictionaryPtr errors = GetPriceRuleErrors(price);
        getTypeAndRangeErrors(price)->for_each([&](const Variant& field, const Variant& value) {
          if (!errors->Exists(field)) errors->Add(field, value);
        });
        return errors;
      },
      Tail{"Mercato.PriceXML.getErrorFields", no_steps});
}

bool PriceXML::isValidPrice(Dictionary& price) {
  const std::int32_t errors = getTypeAndRangeErrors(price)->Count();
  return errors + GetPriceRuleErrors(price)->Count() < 1;
}

DictionaryPtr PriceXML::getTypeAndRangeErrors(Dictionary& price) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        const auto bad = [&](const Variant& field, const Variant& value, const char* reason) {
          errors->Add(field, value);
          note_bad(field, value, reason);
        };
        bool numbers_good = true;
        bool dates_good = true;
        price.for_each([&](const Variant& field, const Variant& value) {
          const PriceRule rule = price_rule_of(text::to_upper(field.to_text()));
          switch (rule) {
            case PriceRule::none:
              break;
            case PriceRule::compared_number:
            case PriceRule::number:
              if (value.is_numeric()) break;
              bad(field, value, "not a number");
              if (rule == PriceRule::compared_number) numbers_good = false;
              break;
            case PriceRule::percentage:  // what is no number fails here
              if (!is_percentage(value.to_double())) bad(field, value, "not from 0 to 100");
              break;
            case PriceRule::date:
              if (IsValidUSDate(value.to_text())) break;
              bad(field, value, "not a date");
              dates_good = false;
              break;
          }
        });
        if (dates_good) {
          const Variant expiry = price.Item("PriceExpiryDate");
          const Variant effective = price.Item("PriceEffectiveDate");
          // By the calendar: before the zero date a later time of a day is a smaller number.
          if (expiry.to_date().iso_text() <= effective.to_date().iso_text()) {
            bad("PriceEffectiveDate", effective, "not before the expiry date");
            bad("PriceExpiryDate", expiry, "not after the effective date");
          }
        }
        if (numbers_good) {
          const Variant amount = price.Item("Price");
          const Variant discount = price.Item("DiscountAmount");
          if (amount.to_double() <= discount.to_double()) {
            bad("DiscountAmount", discount, "not below the price");
            bad("Price", amount, "not above the discount");
          }
        }
        return errors;
      },
      Tail{"Mercato.PriceXML.getTypeAndRangeErrors", no_steps});
}

DictionaryPtr PriceXML::GetPriceRuleErrors(Dictionary& price) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        const std::string currency = price.Item("CurrencyCode").to_text();
        if (!mCurrencies) raise(error_number::kObjectNotSet);
        if (!mCurrencies->Exists(currency)) {
          errors->Add("CurrencyCode", currency);
          note_bad("CurrencyCode", currency, "no such currency");
        }
        return errors;
      },
      Tail{"Mercato.PriceXML.GetPriceRuleErrors", no_steps});
}

Variant PriceXML::getProductNameOrID(const std::string& iBuyFromPartNr, Wanted wanted) {
  RecordsetPtr rows;
  return method(
      [&]() -> Variant {
        Sql sql;
        if (wanted == Wanted::name)
          sql << "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='"
              << value(Gen_QuoteSql(iBuyFromPartNr)) << "'";
        else
          sql << "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='" << value(Gen_QuoteSql(iBuyFromPartNr))
              << "'";
        rows = read_connection()->Execute(sql);
        Variant found = wanted == Wanted::name ? Variant("") : Variant(kNull);
        if (!rows->Eof()) found = rows->Value(0).to_text();
        Sql_CloseRecordset(rows);
        return found;
      },
      Tail{"Mercato.PriceXML.getProductNameOrID", [&] { Sql_CloseRecordset(rows); }});
}

void PriceXML::note_bad(const Variant& field, const Variant& value, const char* reason) {
  if (line_) line_->bad.push_back({field.to_text(), value.to_text(), reason});
}

}  // namespace mercato
