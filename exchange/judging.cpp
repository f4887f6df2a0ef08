// SPDX-License-Identifier: Apache-2.0
#include "exchange/judging.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <tuple>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "platform/xml/characters.h"
#include "records/product_row.h"
#include "upload/product_fields.h"
#include "values/edit_distance.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kNumberWidth = 100;  // of BUYFROMPARTNUMBER
constexpr std::size_t kGroupWidth = 50;    // of GROUPBY
constexpr std::size_t kMoneyDecimals = 4;
// A price without its first day was there before, and one without its last day never ends: the library asks for both,
// and always the same ones make a price that comes again the same price line.
constexpr const char* kNoFirstDay = "2000-01-01";
constexpr const char* kNoLastDay = "2099-12-31";

constexpr std::array kReasons = {
    ReasonWords{"missing", "a value is missing that a new product needs", "Give it with --set FIELD=VALUE.",
                Acceptance::dropped},
    ReasonWords{"number", "it is no number as the file writes them",
                "Correct it, or say the decimal sign with --decimal.", Acceptance::dropped},
    ReasonWords{"ambiguous-number", "it can be read as two numbers", "Say the decimal sign with --decimal.",
                Acceptance::never},
    ReasonWords{"date", "it is no date", "Write dates as 2026-04-03, or say their order with --dates.",
                Acceptance::dropped},
    ReasonWords{"ambiguous-date", "it can be read as two dates", "Say the order with --dates dmy or --dates mdy.",
                Acceptance::never},
    ReasonWords{"negative", "it is below zero", "Correct it.", Acceptance::dropped},
    ReasonWords{"zero-price", "a price has to be more than zero", "Correct it, or leave the price out.",
                Acceptance::dropped},
    ReasonWords{"price-decimals", "a price has four decimals at most", "Give it for more units, or accept rounding.",
                Acceptance::rounded},
    ReasonWords{"percentage", "a percentage is from 0 to 100", "Correct it.", Acceptance::dropped},
    ReasonWords{"end-before-start", "the last day is not after the first", "Correct one of them.", Acceptance::dropped},
    ReasonWords{"same-quantity", "two prices hold from the same quantity", "Leave one of them out.",
                Acceptance::dropped},
    ReasonWords{"flag", "it is neither 0 nor 1", "Write 0 or 1.", Acceptance::dropped},
    ReasonWords{"gtin", "its check digit is wrong", "Correct it.", Acceptance::kept},
    ReasonWords{"unit", "the store has no such unit", "Say what it is with --unit CODE=UNIT, or create it.",
                Acceptance::dropped},
    ReasonWords{"currency", "the store has no such currency", "Give another one.", Acceptance::dropped},
    ReasonWords{"apostrophe", "the library does not take a typewriter apostrophe here",
                "Accept it to have it replaced by a typographic one.", Acceptance::replaced},
    ReasonWords{"character", "it has a character that no document may hold", "Take it out.", Acceptance::replaced},
    ReasonWords{"too-long", "it is too long and would be cut", "Shorten it, or cut it with --cut.", Acceptance::cut},
    ReasonWords{"near-name", "it is nearly the name of a field and would become a property", "Correct the name.",
                Acceptance::kept},
    ReasonWords{"reserved-name", "a property cannot have the name of a field", "Give it another name.",
                Acceptance::dropped},
    ReasonWords{"element-name", "the name of a property has to be one that XML takes", "Give it another name.",
                Acceptance::dropped},
    ReasonWords{"twice", "the file has this part number before", "Leave one of them out.", Acceptance::kept},
    ReasonWords{"no-product", "no product has this part number", "Send it as a new product.", Acceptance::never},
    ReasonWords{"passed-over", "its name is in another case than that of a record, so an upload passes over it",
                "Write the name as the format does.", Acceptance::never},
    ReasonWords{"no-lower-bound", "the lowest price begins above one, and holds from one on",
                "Add a price for fewer, or require the quantity with MINORDERQTY.", Acceptance::kept},
    ReasonWords{"unreadable", "it cannot be read", "Correct the file there.", Acceptance::never},
};
static_assert(kReasons.size() == static_cast<std::size_t>(Reason::unreadable) + 1);

// Columns of PRODUCT that a document does not set: under these names it would make properties of them.
constexpr std::array<std::string_view, 8> kOwnColumns = {"PRODUCTID",      "BUYFROMPARTNUMBER", "PROPERTYGROUPID",
                                                         "MANUFACTURERID", "CONFIGURABLE",      "STOCKITEM",
                                                         "PRICINGMETHOD",  "DATEUPDATED"};

// Codes and words for the same unit: those of UN/ECE recommendations 20 and 21, and what suppliers write for them.
constexpr std::array kSameUnits = {
    std::string_view(
        " EA C62 H87 PCE PC PCS ST STK STCK STÜCK STUECK PIECE PIECES EACH UNIT UNITS U PIÈCE PZA PZ UNIDAD "),
    std::string_view(" PR PAAR PAIR NPR "),
    std::string_view(" PK PAK PACK PAKET PACKUNG PACKAGE XPK PA NMP "),
    std::string_view(" BX BOX KARTON CT CTN CARTON XBX XCT KT "),
    std::string_view(" RL RO ROLLE ROLL XRO "),
    std::string_view(" KGM KG KILO KILOGRAM KILOGRAMM "),
    std::string_view(" GRM G GR GRAM GRAMM "),
    std::string_view(" LTR L LITRE LITER "),
    std::string_view(" MLT ML MILLILITRE MILLILITER "),
    std::string_view(" MTR M METRE METER LFM "),
    std::string_view(" MTK M2 QM SQM "),
    std::string_view(" MTQ M3 CBM "),
    std::string_view(" SET SATZ SA "),
    std::string_view(" HUR H HR STD STUNDE HOUR "),
    std::string_view(" DAY TAG T "),
    std::string_view(" BO BT FL FLASCHE BOTTLE XBO "),
    std::string_view(" PF PAL PALETTE PALLET PL XPX "),
    std::string_view(" RM REAM RIES "),
    std::string_view(" CN CA DOSE CAN KANISTER XCA XCI "),
    std::string_view(" TU TB TUBE XTU "),
};

std::string without_illegal(std::string_view text) {
  std::string clean;
  for (std::size_t bad = xml::first_illegal(text); bad != std::string_view::npos; bad = xml::first_illegal(text)) {
    clean.append(text.substr(0, bad)).append(" ");
    text.remove_prefix(bad + 1);
  }
  return clean.append(text);
}

// With four decimals at most, halves to the even digit.
struct Money {
  std::string text;
  bool exact = true;
};
Money money_of(double amount) {
  constexpr double kScale = 10'000;
  constexpr double kNothing = 1e-6;
  const double scaled = std::nearbyint(amount * kScale);
  std::array<char, 64> digits{};
  std::snprintf(digits.data(), digits.size(), "%.4f", scaled / kScale);
  std::string text = digits.data();
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return {text, std::abs(amount * kScale - scaled) <= kNothing * std::max(1.0, std::abs(scaled))};
}

// Days of the store are ISO.
bool same_day(const std::string& judged, const std::string& stored) { return read_day(stored, {}).day.iso() == judged; }

// Whether the field of a document is what the store has.
bool same_value(std::string_view name, const std::string& judged, std::string_view stored) {
  using upload::FieldKind;
  if (name == "GTIN") return full_length_gtin(judged) == full_length_gtin(stored);
  switch (upload::rule_of(name).kind) {
    case FieldKind::date:
      return same_day(judged, std::string(stored));
    case FieldKind::partner:
      return text::equal_names(judged, stored);
    default:
      return trimmed(judged) == trimmed(stored);
  }
}

// What a price leaves out stays as it is, but for the discount's amount, which the library clears.
bool same_price(const JudgedPrice& judged, const StoredPrice& stored) {
  const auto same_or_left_out = [](const std::string& given, const std::string& there) {
    return given.empty() || given == there;
  };
  return judged.amount == stored.amount && judged.currency == text::to_upper(stored.currency) &&
         (judged.quantity_to.empty() ? "999999999" : judged.quantity_to) == stored.quantity_to &&
         same_day(judged.from_day, stored.from_day) &&
         same_day(judged.to_day, stored.to_day.empty() ? kNoLastDay : stored.to_day) &&
         judged.group == trimmed(stored.group) && same_or_left_out(judged.tax_percentage, stored.tax_percentage) &&
         same_or_left_out(judged.discount_percentage, stored.discount_percentage) &&
         judged.discount_amount == stored.discount_amount && same_or_left_out(judged.freight_cost, stored.freight_cost);
}

// The same of a price as an export writes it.
bool same_price(const ItemPrice& given, const StoredPrice& stored) {
  return given.amount == stored.amount && given.amount_for.empty() && given.factor.empty() &&
         given.from_quantity.empty() && given.currency == stored.currency && given.to_quantity == stored.quantity_to &&
         given.from_day == stored.from_day && given.to_day == stored.to_day &&
         trimmed(given.group) == trimmed(stored.group) && given.tax_percentage == stored.tax_percentage &&
         given.discount_percentage == stored.discount_percentage && given.discount_amount == stored.discount_amount &&
         given.freight_cost == stored.freight_cost;
}

double value_of(const ReadNumber& number) { return std::strtod(number.text.c_str(), nullptr); }

}  // namespace

Notation notation_told(Notation found, const JudgingOptions& options) {
  if (options.decimal_sign) {
    found.decimal_sign = *options.decimal_sign;
    found.thousands_sign = found.decimal_sign == ',' ? '.' : ',';
  }
  if (options.dates) found.dates = *options.dates;
  return found;
}

// Short names are near to each other without being meant.
std::string_view field_nearly_named(std::string_view upper_name) {
  constexpr std::size_t kShort = 6;
  constexpr std::size_t kLong = 10;
  if (upper_name.size() < kShort) return {};
  const std::size_t most = upper_name.size() >= kLong ? 2 : 1;
  const text::Characters characters = text::characters_of(upper_name);
  for (const std::string_view field : upload::field_names())
    if (field.size() >= kShort && text::edit_distance(characters, text::characters_of(field), most) <= most)
      return field;
  return {};
}

bool is_price_value(std::string_view field) {
  constexpr std::array<std::string_view, 8> kValues = {"PRICE", "PRICE QUANTITY", "CURRENCY", "QUANTITY",
                                                       "TAX",   "GROUP",          "FROM",     "TO"};
  return std::ranges::find(kValues, field) != kValues.end();
}

bool is_own_column(std::string_view upper_name) {
  return std::ranges::find(kOwnColumns, upper_name) != kOwnColumns.end();
}

const ReasonWords& words_of(Reason reason) { return kReasons[static_cast<std::size_t>(reason)]; }

std::set<Reason> acceptable_reasons() {
  std::set<Reason> reasons;
  for (const std::string& name : reason_names()) reasons.insert(*reason_named(name));
  return reasons;
}

std::vector<std::string> reason_names() {
  std::vector<std::string> names;
  for (const ReasonWords& words : kReasons) names.emplace_back(words.name);
  return names;
}

std::optional<Reason> reason_named(std::string_view name) {
  const auto* const found = std::ranges::find(kReasons, name, &ReasonWords::name);
  if (found == kReasons.end()) return std::nullopt;
  return static_cast<Reason>(found - kReasons.begin());
}

// One item.
class Judge::Work {
 public:
  Work(Judge& judge, const Item& item, std::vector<Finding>& findings)
      : judge_(judge), item_(item), findings_(findings) {}

  // Whether the item is taken.
  bool run() {
    result_.number = trimmed(item_.number);
    result_.place = item_.place;
    result_.categories = item_.categories;
    judge_number();
    if (refused_) return false;
    find_stored();
    result_.is_new = stored_.empty();
    if (result_.is_new && item_.action != Item::Action::put) find(Reason::no_product, {}, {}, {}, item_.place);
    if (item_.action == Item::Action::remove) {
      result_.fields.emplace_back("DISABLED", "1");
    } else {
      for (const ItemField& field : item_.fields) judge_unless_stored(field);
      if (result_.is_new) complete();
      judge_prices();
    }
    if (refused_) return false;
    take_out_what_is_stored();
    if (std::ranges::any_of(result_.fields, [](const auto& entry) {
          return entry.first == "BUYERID" && entry.second.find(kBuyerSeparator) != std::string::npos;
        }))
      result_.fields.emplace_back(upload::kSeparatorKey, kBuyerSeparator);
    return true;
  }
  JudgedItem take_result() { return std::move(result_); }

 private:
  // The product that the library takes for the one of this number.
  void find_stored() {
    stored_ = judge_.stored_.products(Sql("SELECT ")
                                      << StoredProducts::columns() << " FROM PRODUCT P WHERE P.BUYFROMPARTNUMBER = '"
                                      << value(Gen_QuoteSql(result_.number)) << "'");
    if (stored_.size() > 1) stored_.resize(1);
    if (stored_.empty()) return;
    const auto goes_to_property = [](const ItemField& field) { return field.is_property || !is_field(field.name); };
    if (std::ranges::any_of(item_.fields, goes_to_property)) judge_.stored_.add_properties(stored_);
    if (!item_.prices.empty()) judge_.stored_.add_prices(stored_);
  }

  static bool is_field(std::string_view name) {
    const std::string upper = text::to_upper(trimmed(name));
    return upper == "UNIT" || upper == "BUYERID" || upper == "BUSINESSID" || upload::goes_to_product(upper);
  }

  bool is_stored(std::string_view called, const std::string& value, bool is_property) const {
    if (stored_.empty()) return false;
    const StoredProduct& product = stored_.front();
    const std::string name = text::to_upper(trimmed(called));
    if (!is_property && is_field(name)) {
      const std::string_view there = product.field(name == "UNIT" ? "UNITCODE" : name);
      return !there.empty() && same_value(name, value, there);
    }
    return std::ranges::any_of(product.properties, [&](const StoredProperty& property) {
      return text::folded(property.name) == text::folded(name) && property.value &&
             trimmed(*property.value) == trimmed(value);
    });
  }

  // A value that would be refused, but that the store has, is passed over: nothing becomes of it.
  void judge_unless_stored(const ItemField& field) {
    const std::size_t findings = findings_.size();
    const std::size_t fields = result_.fields.size();
    const bool was_refused = refused_;
    judge_field(field);
    if (findings_.size() == findings || !is_stored(field.name, field.value, field.is_property)) return;
    findings_.resize(findings);
    result_.fields.resize(fields);
    refused_ = was_refused;
  }

  void take_out_what_is_stored() {
    if (stored_.empty()) return;
    // All or none: the library takes what a record leaves out for a reason to clear the buyers.
    result_.is_unchanged = !item_.fields.empty() && std::ranges::all_of(result_.fields, [this](const auto& entry) {
      return is_stored(entry.first, entry.second, false);
    });
    if (result_.is_unchanged) result_.fields.clear();
    result_.unchanged_prices += std::erase_if(result_.prices, [this](const JudgedPrice& price) {
      return std::ranges::any_of(stored_.front().prices,
                                 [&price](const StoredPrice& there) { return same_price(price, there); });
    });
  }

  // Whether the reason is accepted; else the item is refused.
  bool find(Reason reason, std::string_view field, std::string_view value, std::string detail, Place place) {
    const bool accepted = words_of(reason).acceptance != Acceptance::never && judge_.options_.accepted.contains(reason);
    refused_ = refused_ || !accepted;
    findings_.push_back(
        {reason, result_.number, std::string(field), std::string(value), std::move(detail), place, accepted});
    return accepted;
  }

  // The key cannot be accepted with a fault: one that is changed is another product's.
  void refuse_number(Reason reason, std::string detail) {
    find(reason, "part number", result_.number, std::move(detail), item_.place);
    findings_.back().accepted = false;
    refused_ = true;
  }

  void judge_number() {
    const std::string& number = result_.number;
    if (number.empty()) return refuse_number(Reason::missing, {});
    if (number.find('\'') != std::string::npos) refuse_number(Reason::apostrophe, {});
    if (text::length(number) > kNumberWidth) refuse_number(Reason::too_long, most(kNumberWidth));
    if (xml::first_illegal(number) != std::string::npos) refuse_number(Reason::character, {});
    const bool first = judge_.numbers_.insert(std::hash<std::string>()(text::folded(number))).second;
    if (!first) find(Reason::twice, {}, {}, {}, item_.place);
  }

  static std::string most(std::size_t width) { return "It may have " + std::to_string(width) + " characters."; }

  void judge_field(const ItemField& field) {
    std::string name = text::to_upper(trimmed(field.name));
    std::string value(trimmed(field.value));
    if (name == "UNIT" && !field.is_property) name = "UNITCODE";
    if (!is_field(name) || field.is_property) {
      if (!judge_property_name(field, name)) return;
      if (judge_text(field, name, value, true)) result_.fields.emplace_back(name, value);
      return;
    }
    if (value.empty()) return;  // it clears nothing: files leave out what they do not know
    if (judge_value(field, name, value)) result_.fields.emplace_back(name, value);
  }

  bool judge_property_name(const ItemField& field, std::string& name) {
    if (!xml::is_name(name) || name.find(':') != std::string::npos) {
      find(Reason::element_name, field.name, field.value, {}, field.place);
      return false;
    }
    const auto& fields = upload::field_names();
    if (std::ranges::find(fields, name) != fields.end() || is_own_column(name)) {
      find(Reason::reserved_name, name, field.value, {}, field.place);
      return false;
    }
    if (const std::string_view near = field_nearly_named(name); !near.empty())
      return find(Reason::near_name, name, field.value, "Perhaps " + std::string(near) + " is meant.", field.place);
    const std::size_t width = upload::rule_of(name).width;
    if (text::length(name) <= width) return true;
    if (!find(Reason::too_long, name, name, "The name of a property may have " + std::to_string(width) + " characters.",
              field.place))
      return false;
    name = text::left(name, width);
    return true;
  }

  // Of texts: cut, and without what a document or the library does not take.
  bool judge_text(const ItemField& field, const std::string& name, std::string& value, bool no_apostrophe) {
    if (xml::first_illegal(value) != std::string::npos) {
      if (!find(Reason::character, name, value, {}, field.place)) return false;
      value = without_illegal(value);
    }
    if (no_apostrophe && value.find('\'') != std::string::npos) {
      if (!find(Reason::apostrophe, name, value, {}, field.place)) return false;
      value = text::replace_all(value, "'", "’");
    }
    const std::size_t width = upload::rule_of(name).width;
    if (width == 0 || text::length(value) <= width) return true;
    if (!find(Reason::too_long, name, value, most(width), field.place)) return false;
    value = text::left(value, width);
    return true;
  }

  bool judge_value(const ItemField& field, const std::string& name, std::string& value) {
    using upload::FieldKind;
    switch (upload::rule_of(name).kind) {
      case FieldKind::unit:
        return judge_unit(field, value);
      case FieldKind::date: {
        const std::optional<Day> day = judge_day(name, value, field.place);
        if (day) value = day->iso();
        return day.has_value();
      }
      case FieldKind::number:
        if (name == "GTIN") return judge_gtin(field, value);
        return judge_number_field(field, name, value);
      case FieldKind::flag:
      case FieldKind::flag_only_judged:
        if (value == "0" || value == "1") return true;
        find(Reason::flag, name, value, {}, field.place);
        return false;
      case FieldKind::text:
      case FieldKind::other:
        // An insert doubles the apostrophes of a remark.
        return judge_text(field, name, value, name == "PRODUCTREMARK" && result_.is_new);
      default:
        return judge_text(field, name, value, false);  // what the store is asked about by the upload
    }
  }

  bool judge_unit(const ItemField& field, std::string& value) {
    if (const std::optional<std::string> code = judge_.unit_code(value)) {
      value = *code;
      return true;
    }
    UnknownCode& unknown = judge_.unknown_units_[value];
    if (unknown.count++ == 0) unknown.proposal = judge_.unit_proposal(value);
    find(Reason::unit, "UNITCODE", value, {}, field.place);
    return false;
  }

  bool judge_gtin(const ItemField& field, std::string& value) {
    std::erase_if(value, [](char byte) { return byte == ' ' || byte == '-'; });
    if (is_gtin(value)) return true;
    const bool digits = value.find_first_not_of("0123456789") == std::string::npos;
    if (digits) return find(Reason::gtin, "GTIN", value, {}, field.place);
    find(Reason::number, "GTIN", value, {}, field.place);
    return false;
  }

  bool judge_number_field(const ItemField& field, const std::string& name, std::string& value) {
    const std::optional<ReadNumber> number = judge_number_text(name, value, field.place);
    if (number) value = number->text;
    return number.has_value();
  }

  std::optional<ReadNumber> judge_number_text(std::string_view name, std::string_view value, Place place) {
    ReadNumber number = read_number(value, judge_.notation_);
    switch (number.reading) {
      case Reading::none:
        find(Reason::number, name, value, {}, place);
        return std::nullopt;
      case Reading::ambiguous:
        find(Reason::ambiguous_number, name, value, {}, place);
        return std::nullopt;
      case Reading::good:
        break;
    }
    if (!number.negative()) return number;
    find(Reason::negative, name, value, {}, place);
    return std::nullopt;
  }

  std::optional<Day> judge_day(std::string_view name, std::string_view value, Place place) {
    const ReadDay read = read_day(value, judge_.notation_);
    if (read.reading == Reading::good) return read.day;
    find(read.reading == Reading::none ? Reason::date : Reason::ambiguous_date, name, value, {}, place);
    return std::nullopt;
  }

  bool has(std::string_view name) const {
    return std::ranges::any_of(result_.fields, [name](const auto& field) { return field.first == name; });
  }

  // What a new product needs, from the defaults where the file has none.
  void complete() {
    for (const auto& [name, value] : judge_.defaults_)
      if (name != "CURRENCY" && name != "FROM" && name != "TO" && !has(name)) judge_field({name, value, item_.place});
    if (!has("PARTNUMBER")) judge_field({"PARTNUMBER", result_.number, item_.place});
    if (!has("MULTIPLEBUYER")) result_.fields.emplace_back("MULTIPLEBUYER", "0");
    for (const char* name : {"PRODUCTDESCRIPTION", "UNITCODE"}) {
      const auto is_it = [name](const Finding& finding) { return finding.field == name; };
      if (has(name) || std::ranges::any_of(findings_, is_it)) continue;
      find(Reason::missing, name, {}, {}, item_.place);
      if (std::string_view(name) == "UNITCODE") continue;
      findings_.back().accepted = false;  // the store takes no product without a description
      refused_ = true;
    }
  }

  struct Tier {
    JudgedPrice price;
    double from = 0;
    std::size_t decimals = 0;  // of the quantity
  };

  void judge_prices() {
    std::vector<Tier> tiers;
    for (const ItemPrice& price : item_.prices) {
      if (is_stored(price)) {
        ++result_.unchanged_prices;
        continue;
      }
      std::optional<Tier> tier = judge_price(price);
      if (!tier) continue;
      if (price.to_quantity.empty())
        tiers.push_back(std::move(*tier));
      else
        result_.prices.push_back(std::move(tier->price));
    }
    set_upper_ends(tiers);
    tell_lower_bounds(tiers);
    for (Tier& tier : tiers) result_.prices.push_back(std::move(tier.price));
  }

  bool is_stored(const ItemPrice& price) const {
    return !stored_.empty() && std::ranges::any_of(stored_.front().prices, [&price](const StoredPrice& there) {
      return same_price(price, there);
    });
  }

  std::optional<Tier> judge_price(const ItemPrice& given) {
    Tier tier;
    JudgedPrice& price = tier.price;
    price.place = given.place;
    bool good = judge_amount(given, price);
    good = judge_currency(given, price) && good;
    if (!given.from_quantity.empty()) {
      const std::optional<ReadNumber> from = judge_number_text("QUANTITY", given.from_quantity, given.place);
      good = good && from;
      if (from) {
        tier.from = value_of(*from);
        tier.decimals = from->decimals();
      }
    }
    if (!given.to_quantity.empty()) {
      const std::optional<ReadNumber> to = judge_number_text("QUANTITY", given.to_quantity, given.place);
      good = good && to;
      if (to) price.quantity_to = to->text;
    }
    good = judge_extras(given, price) && good;
    judge_validity(given, price);
    price.group = trimmed(given.group);
    if (xml::first_illegal(price.group) != std::string::npos) {
      find(Reason::character, "GROUP", price.group, {}, given.place);
      price.group = without_illegal(price.group);
    }
    if (text::length(price.group) > kGroupWidth) {
      find(Reason::too_long, "GROUP", price.group, most(kGroupWidth), given.place);
      price.group = text::left(price.group, kGroupWidth);
    }
    judge_percentage("TAX", given.tax_percentage, given.place, price.tax_percentage);
    if (!good) return std::nullopt;
    return tier;
  }

  // Whether it is good; one that is not given is.
  bool judge_percentage(const char* name, const std::string& given, Place place, std::string& percentage) {
    constexpr double kWhole = 100;
    if (given.empty()) return true;
    const std::optional<ReadNumber> number = judge_number_text(name, given, place);
    if (!number) return false;
    if (value_of(*number) > kWhole) {
      find(Reason::percentage, name, given, {}, place);
      return false;
    }
    percentage = number->text;
    return true;
  }

  bool judge_extras(const ItemPrice& given, JudgedPrice& price) {
    bool good = judge_percentage("DISCOUNT", given.discount_percentage, given.place, price.discount_percentage);
    for (const auto& [name, text, judged] : {std::tuple("DISCOUNT", &given.discount_amount, &price.discount_amount),
                                             std::tuple("FREIGHT", &given.freight_cost, &price.freight_cost)}) {
      if (text->empty()) continue;
      const std::optional<ReadNumber> number = judge_number_text(name, *text, given.place);
      good = good && number;
      if (number) *judged = number->text;
    }
    return good;
  }

  bool judge_amount(const ItemPrice& given, JudgedPrice& price) {
    const std::optional<ReadNumber> amount = judge_number_text("PRICE", given.amount, given.place);
    if (!amount) return false;
    price.amount = amount->text;
    bool exact = amount->decimals() <= kMoneyDecimals;
    const bool computed = !given.factor.empty() || !given.amount_for.empty();
    if (computed || !exact) {
      double value = value_of(*amount);
      if (!given.factor.empty()) {
        const std::optional<ReadNumber> factor = judge_number_text("PRICE", given.factor, given.place);
        if (!factor) return false;
        value *= value_of(*factor);
      }
      if (!given.amount_for.empty()) {
        const std::optional<ReadNumber> units = judge_number_text("PRICE QUANTITY", given.amount_for, given.place);
        if (!units) return false;
        if (units->zero()) {
          find(Reason::number, "PRICE QUANTITY", given.amount_for, "A price is for one unit or more.", given.place);
          return false;
        }
        value /= value_of(*units);
      }
      const Money money = money_of(value);
      price.amount = money.text;
      exact = money.exact || !given.factor.empty();  // a discount leaves decimals that nobody pays
    }
    if (!exact && !find(Reason::price_decimals, "PRICE", given.amount, {}, given.place)) return false;
    if (price.amount != "0") return true;
    find(Reason::zero_price, "PRICE", given.amount, {}, given.place);
    return false;
  }

  bool judge_currency(const ItemPrice& given, JudgedPrice& price) {
    price.currency = text::to_upper(trimmed(given.currency));
    if (price.currency.empty())
      if (const auto found = judge_.defaults_.find("CURRENCY"); found != judge_.defaults_.end())
        price.currency = text::to_upper(trimmed(found->second));
    if (price.currency.empty()) {
      find(Reason::missing, "CURRENCY", {}, {}, given.place);
      return false;
    }
    if (judge_.currencies_->Exists(price.currency)) return true;
    UnknownCode& unknown = judge_.unknown_currencies_[price.currency];
    if (unknown.count++ == 0) {
      const bool is_code = price.currency.size() == 3 &&
                           std::ranges::all_of(price.currency, [](char byte) { return byte >= 'A' && byte <= 'Z'; });
      unknown.proposal =
          is_code ? "Add it to the store's currencies." : "A currency is a code of three letters, such as EUR.";
    }
    find(Reason::currency, "CURRENCY", price.currency, {}, given.place);
    return false;
  }

  void judge_validity(const ItemPrice& given, JudgedPrice& price) {
    const auto day_of = [&](const char* name, const std::string& text, const char* otherwise) {
      if (!trimmed(text).empty())
        if (const std::optional<Day> day = judge_day(name, text, given.place)) return *day;
      if (const auto found = judge_.defaults_.find(name); found != judge_.defaults_.end())
        if (const std::optional<Day> day = judge_day(name, found->second, given.place)) return *day;
      return read_day(otherwise, {}).day;
    };
    const Day from = day_of("FROM", given.from_day, kNoFirstDay);
    Day to = day_of("TO", given.to_day, kNoLastDay);
    if (!(from < to)) {
      find(Reason::end_before_start, "TO", to.iso(), "The first day is " + from.iso() + ".", given.place);
      to = read_day(kNoLastDay, {}).day;
    }
    price.from_day = from.iso();
    price.to_day = to.iso();
  }

  // A line of the price table holds up to a quantity: to where the next one begins. Lines of one group and validity
  // belong together.
  void set_upper_ends(std::vector<Tier>& tiers) {
    std::ranges::stable_sort(tiers, [](const Tier& left, const Tier& right) {
      return std::tie(left.price.group, left.price.from_day, left.price.to_day, left.price.currency, left.from) <
             std::tie(right.price.group, right.price.from_day, right.price.to_day, right.price.currency, right.from);
    });
    for (std::size_t place = 0; place + 1 < tiers.size();) {
      Tier& tier = tiers[place];
      const Tier& next = tiers[place + 1];
      if (std::tie(tier.price.group, tier.price.from_day, tier.price.to_day) !=
          std::tie(next.price.group, next.price.from_day, next.price.to_day)) {
        ++place;
        continue;
      }
      if (tier.from == next.from || tier.price.currency != next.price.currency) {
        find(Reason::same_quantity, "PRICE", next.price.amount, {}, next.price.place);
        tiers.erase(tiers.begin() + static_cast<std::ptrdiff_t>(place) + 1);
        continue;
      }
      const double step = std::pow(10.0, -static_cast<double>(std::max(tier.decimals, next.decimals)));
      tier.price.quantity_to = text::number_text(next.from - step);
      ++place;
    }
  }

  // The price table has no lower bound. Nothing is lost by it, so it is told and refuses nothing.
  void tell_lower_bounds(const std::vector<Tier>& tiers) {
    for (std::size_t place = 0; place < tiers.size(); ++place) {
      const auto validity = [](const Tier& tier) {
        return std::tie(tier.price.group, tier.price.from_day, tier.price.to_day);
      };
      const bool is_lowest = place == 0 || validity(tiers[place - 1]) != validity(tiers[place]);
      if (!is_lowest || tiers[place].from <= 1) continue;
      findings_.push_back({Reason::no_lower_bound,
                           result_.number,
                           "QUANTITY",
                           text::number_text(tiers[place].from),
                           {},
                           tiers[place].price.place,
                           true});
    }
  }

  Judge& judge_;
  const Item& item_;
  std::vector<Finding>& findings_;
  std::vector<StoredProduct> stored_;  // one, or none
  JudgedItem result_;
  bool refused_ = false;
};

Judge::Judge(JudgingOptions options)
    : options_(std::move(options)),
      defaults_(options_.defaults),
      currencies_(zentrik::Currency().GetAllCurrencies()),
      unit_(create_root("Mercato.Unit")),
      stored_(shared_connection_string()) {
  invoke(unit_, "GetAllUnits", {}).to<Dictionary>()->for_each([this](const Variant& code, const Variant&) {
    units_.emplace(text::folded(code.to_text()), code.to_text());
  });
  set_notation({});
}

void Judge::set_notation(const Notation& notation) { notation_ = notation_told(notation, options_); }

void Judge::set_header(const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values)
    if (name != "LANGUAGE" && name != "SUPPLIER") defaults_.emplace(name, value);  // what was told wins
}

std::optional<JudgedItem> Judge::judge(const Item& item, std::vector<Finding>& findings, JudgedItem* refused) {
  Work work(*this, item, findings);
  if (work.run()) return work.take_result();
  if (refused) *refused = work.take_result();
  return std::nullopt;
}

std::optional<std::string> Judge::unit_code(const std::string& text) {
  const auto [entry, is_new] = asked_units_.try_emplace(text);
  if (!is_new) return entry->second;
  const auto told = options_.units.find(text);
  const std::string& code = told == options_.units.end() ? text : told->second;
  const std::string found = invoke(unit_, "getUnitCodeFromDescription", {code}).to_text();
  if (!found.empty()) entry->second = found;
  return entry->second;
}

std::string Judge::unit_proposal(const std::string& text) const {
  const std::string upper = text::to_upper(text::replace_all(text, ".", ""));
  for (const std::string_view same : kSameUnits) {
    if (same.find(" " + upper + " ") == std::string_view::npos) continue;
    for (const auto& [folded, code] : units_)
      if (same.find(" " + text::to_upper(code) + " ") != std::string_view::npos)
        return "--unit '" + text + "=" + code + "' takes it for that unit.";
  }
  return "Create it, or say with --unit '" + text + "=CODE' which one it is.";
}

}  // namespace mercato::exchange
