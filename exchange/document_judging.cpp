// SPDX-License-Identifier: Apache-2.0
#include "exchange/document_judging.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "exchange/item_documents.h"
#include "mercato/date.h"
#include "upload/product_fields.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

enum class ValueKind : std::uint8_t { other, number, money, day };

ValueKind kind_of_price_field(std::string_view upper_name) {
  static const std::map<std::string_view, ValueKind> kinds = {
      {"PRICE", ValueKind::money},
      {"DISCOUNTAMOUNT", ValueKind::money},
      {"FREIGHTCOST", ValueKind::money},
      {"QUANTITYTO", ValueKind::number},
      {"DISCOUNTPERC", ValueKind::number},
      {"PRICETAXPERCENTAGE", ValueKind::number},
      {"PRICEEFFECTIVEDATE", ValueKind::day},
      {"PRICEEXPIRYDATE", ValueKind::day},
  };
  const auto found = kinds.find(upper_name);
  return found == kinds.end() ? ValueKind::other : found->second;
}

bool has_letter(std::string_view text) {
  return std::ranges::any_of(text,
                             [](char byte) { return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z'); });
}

}  // namespace

// One record.
class DocumentJudge::Work {
 public:
  using Value = std::optional<std::string>;  // nothing: the field is left out

  Work(DocumentJudge& judge, std::string number) : judge_(judge), number_(std::move(number)) {}

  JudgedRecord run_on(const std::string& field, const std::string& text) {
    Value value = text;
    judge_field(field, value);
    return std::move(result_);
  }

  JudgedRecord run(const xml::Node& record) {
    std::string text = "<" + std::string(record.name());
    if (const auto key = record.attribute("buyfrompartnumber")) {
      text += " buyfrompartnumber=\"";
      append_escaped(text, *key);
      text += "\"";
    }
    text += ">";
    for (const xml::Node& field : record.children()) {
      if (field.type() != xml::NodeType::kElement) continue;
      Value value = field.typed_value();
      const std::string name(field.name());
      line_ = field.line();
      judge_field(name, value);
      if (!value) continue;
      text.append("<").append(name).append(">");
      append_escaped(text, *value);
      text.append("</").append(name).append(">");
    }
    if (result_.rewritten && !result_.refused) result_.text = text + "</" + std::string(record.name()) + ">";
    return std::move(result_);
  }

 private:
  // Whether the reason is accepted; else the record is refused.
  bool find(Reason reason, std::string_view value, std::string detail = {}) {
    const bool accepted = words_of(reason).acceptance != Acceptance::never && judge_.options_.accepted.contains(reason);
    result_.refused = result_.refused || !accepted;
    result_.findings.push_back({reason, number_, name_, std::string(value), std::move(detail), Place{line_}, accepted});
    return accepted;
  }
  void rewrite(Value& value, std::string text) {
    if (value == text) return;
    value = std::move(text);
    result_.rewritten = true;
  }
  // An accepted finding that the record is taken without.
  void leave_out(Reason reason, Value& value) {
    if (!find(reason, *value)) return;
    value.reset();
    result_.rewritten = true;
  }

  void judge_field(const std::string& name, Value& value) {
    name_ = name;
    const std::string upper = text::to_upper(name);
    if (judge_.of_prices_) return judge_price_field(kind_of_price_field(upper), value);
    if (upper == upload::kSeparatorKey) judge_.has_separator_ = true;
    const KnownName& known = judge_.known(upper);
    if (known.is_field) return judge_product_field(upper, value);
    judge_property(known, name, value);
  }

  void judge_price_field(ValueKind kind, Value& value) {
    switch (kind) {
      case ValueKind::other:
        return;
      case ValueKind::day:
        return judge_day(value);
      case ValueKind::number:
      case ValueKind::money:
        return judge_number(kind == ValueKind::money, value);
    }
  }

  void judge_product_field(const std::string& upper, Value& value) {
    using upload::FieldKind;
    const upload::FieldRule rule = upload::rule_of(upper);
    constexpr std::size_t kBuyersWidth = 30;
    switch (rule.kind) {
      case FieldKind::number:
        if (upper != "GTIN") judge_number(false, value);
        return;
      case FieldKind::date:
        return judge_day(value);
      case FieldKind::text:
      case FieldKind::other:
        // An insert doubles the apostrophes of a remark.
        return judge_text(rule.width, upper == "PRODUCTREMARK", value);
      case FieldKind::buyers:
        // Without a separator the list is cut as a whole.
        if (!judge_.has_separator_) judge_width(kBuyersWidth, *value);
        return;
      default:
        return;  // the store is asked by the upload
    }
  }

  void judge_property(const KnownName& known, const std::string& name, Value& value) {
    if (known.is_own_column) return leave_out(Reason::reserved_name, value);
    if (!known.near.empty()) find(Reason::near_name, *value, "Perhaps " + std::string(known.near) + " is meant.");
    const std::size_t width = upload::rule_of({}).width;
    if (text::length(name) > width)
      find(Reason::too_long, name, "The name of a property may have " + std::to_string(width) + " characters.");
    judge_text(width, true, value);
  }

  void judge_text(std::size_t width, bool no_apostrophe, Value& value) {
    if (no_apostrophe && value->find('\'') != std::string::npos && find(Reason::apostrophe, *value))
      rewrite(value, text::replace_all(*value, "'", "’"));
    judge_width(width, *value);
  }

  // The upload cuts it, and says so.
  void judge_width(std::size_t width, const std::string& value) {
    if (width > 0 && text::length(value) > width)
      find(Reason::too_long, value, "It may have " + std::to_string(width) + " characters.");
  }

  void judge_number(bool is_money, Value& value) {
    constexpr std::size_t kDecimalsOfMoney = 4;
    const ReadNumber number = read_number(*value, judge_.notation_);
    switch (number.reading) {
      case Reading::none:
        // What the library takes for no number it refuses by itself.
        if (Variant(*value).is_numeric()) leave_out(Reason::number, value);
        return;
      case Reading::ambiguous:
        find(Reason::ambiguous_number, *value);
        return;
      case Reading::good:
        break;
    }
    if (number.negative()) return leave_out(Reason::negative, value);
    if (is_money && number.decimals() > kDecimalsOfMoney) find(Reason::price_decimals, *value);
    const Variant of_library(*value);
    if (!of_library.is_numeric() || of_library.to_double() != Variant(number.text).to_double())
      rewrite(value, number.text);
  }

  void judge_day(Value& value) {
    const ReadDay read = read_day(*value, judge_.notation_);
    const std::optional<Date> of_library = Date::parse(*value);
    switch (read.reading) {
      case Reading::none:
        // What the library takes for no date it refuses by itself; a month that is named can be read one way only.
        if (of_library && !has_letter(*value)) leave_out(Reason::date, value);
        return;
      case Reading::ambiguous:
        find(Reason::ambiguous_date, *value);
        return;
      case Reading::good:
        break;
    }
    const std::string iso = read.day.iso();
    if (!of_library || !of_library->iso_text().starts_with(iso)) rewrite(value, iso);
  }

  DocumentJudge& judge_;
  const std::string number_;
  std::string name_;  // of the field under way
  std::uint64_t line_ = 0;
  JudgedRecord result_;
};

DocumentJudge::DocumentJudge(const upload::DocumentKind& kind, const JudgingOptions& options)
    : of_prices_(kind.record == upload::kPriceDocument.record),
      options_(options),
      notation_{'.', 0, Notation::Dates::unknown} {
  notation_ = notation_told(notation_, options_);
}

const DocumentJudge::KnownName& DocumentJudge::known(const std::string& upper_name) {
  const auto [entry, is_new] = names_.try_emplace(upper_name);
  if (is_new) {
    const auto& fields = upload::field_names();
    entry->second = {std::ranges::find(fields, upper_name) != fields.end(), is_own_column(upper_name),
                     field_nearly_named(upper_name)};
  }
  return entry->second;
}

JudgedRecord DocumentJudge::judge_value(const std::string& field, const std::string& value) {
  return Work(*this, {}).run_on(field, value);
}

JudgedRecord DocumentJudge::judge(const xml::Node& record) {
  return Work(*this, record.attribute("buyfrompartnumber").value_or("")).run(record);
}

std::vector<xml::Node> passed_over(const xml::Document& document, const upload::DocumentKind& kind) {
  std::vector<xml::Node> found;
  const xml::Node root = document.document_element();
  if (root.is_null()) return found;
  const std::string record = text::to_upper(kind.record);
  for (const xml::Node& element : root.children())
    if (element.type() == xml::NodeType::kElement && element.name() != kind.record &&
        text::to_upper(element.name()) == record)
      found.push_back(element);
  return found;
}

Finding of_passed_over(const xml::Node& element) {
  return {
      Reason::passed_over,  element.attribute("buyfrompartnumber").value_or(""), std::string(element.name()), {}, {},
      Place{element.line()}};
}

std::string sentence_of(const Finding& finding) {
  const ReasonWords& words = words_of(finding.reason);
  std::string text(words.what);
  text.append(". ");
  if (!finding.detail.empty()) text.append(finding.detail).append(" ");
  return text.append(words.advice);
}

}  // namespace mercato::exchange
