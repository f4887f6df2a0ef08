// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/number_format.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/spreadsheet/cell_digits.h"

namespace mercato::spreadsheet {

std::string general_text(double number) {
  if (!std::isfinite(number)) return "#NUM!";
  const DecimalDigits decimal = decimal_digits_of(number);
  if (decimal.digits.empty()) return "0";
  const std::string sign = number < 0 ? "-" : "";
  constexpr int kWidth = 11;
  const auto digits = static_cast<int>(decimal.digits.size());
  const int whole = std::max(decimal.point, 1);
  if (whole <= kWidth) {
    const int room = std::max(kWidth - 1 - whole, 0);  // the point takes one
    // Below 0.0001 only what fits without loss stands in full.
    if (decimal.point > -4 || digits - decimal.point <= room) {
      const RoundedDigits fixed = rounded(decimal, room);
      const std::string decimals = without_trailing_zeros(fixed.decimals);
      const std::string text =
          (fixed.whole.empty() ? "0" : fixed.whole) + (decimals.empty() ? std::string() : "." + decimals);
      if (text.size() <= static_cast<std::size_t>(kWidth)) return sign + text;
    }
  }
  int power = decimal.point - 1;
  RoundedDigits mantissa = rounded({decimal.digits, 1}, 5);
  if (mantissa.whole.size() > 1) {  // 9.999996 became 10.00000
    mantissa = {"1", ""};
    ++power;
  }
  const std::string decimals = without_trailing_zeros(mantissa.decimals);
  return sign + mantissa.whole + (decimals.empty() ? "" : "." + decimals) + (power < 0 ? "E-" : "E+") +
         padded(std::abs(power), 2);
}

bool NumberFormat::Condition::holds_for(double number) const {
  switch (comparison) {
    case Operator::less:
      return number < limit;
    case Operator::at_most:
      return number <= limit;
    case Operator::more:
      return number > limit;
    case Operator::at_least:
      return number >= limit;
    case Operator::equal:
      return number == limit;
    case Operator::unequal:
      return number != limit;
  }
  return false;
}

const NumberFormat::Section* NumberFormat::section_for(double number, bool& shows_sign) const {
  // The fourth section is for texts.
  const std::size_t count = std::min<std::size_t>(sections_.size(), 3);
  shows_sign = true;
  if (std::any_of(sections_.begin(), sections_.end(), [](const Section& section) { return section.condition; })) {
    for (std::size_t at = 0; at < count; ++at) {
      const auto& condition = sections_[at].condition;
      if (condition ? condition->holds_for(number) : at + 1 == count || (at == 1 && number < 0)) {
        using enum Condition::Operator;
        if (condition && condition->limit <= 0 && (condition->comparison == less || condition->comparison == at_most))
          shows_sign = false;
        return &sections_[at];
      }
    }
    return nullptr;
  }
  std::size_t which = 0;
  if (number < 0 && count > 1)
    which = 1;
  else if (number == 0 && count > 2)
    which = 2;
  shows_sign = which == 0;
  return &sections_[which];
}

std::string NumberFormat::text_of(double number, DateSystem dates) const {
  if (!std::isfinite(number)) return "#NUM!";
  if (sections_.empty()) return general_text(number);
  bool shows_sign = true;
  const Section* const section = section_for(number, shows_sign);
  if (!section) return "########";  // no condition holds
  if (section->is_date) return date_text(*section, number, dates);
  return number_text(*section, shows_sign ? number : std::fabs(number), number < 0 && shows_sign);
}

bool NumberFormat::shows_date(double number) const {
  bool shows_sign = true;
  const Section* const section = sections_.empty() ? nullptr : section_for(number, shows_sign);
  return section != nullptr && section->is_date;
}

std::string NumberFormat::text_of(std::string_view text) const {
  const Section* section = nullptr;
  if (sections_.size() == 4)
    section = &sections_[3];
  else if (!sections_.empty() && sections_.back().has_text)
    section = &sections_.back();
  if (!section) return std::string(text);
  std::string shown;
  for (const Token& token : section->tokens) {
    if (token.kind == Kind::text || token.kind == Kind::general) shown += text;
    if (token.kind == Kind::literal) shown += token.text;
  }
  return shown;
}

// What a section shows of a number, without dates.
class NumberFormat::NumberText {
 public:
  NumberText(const Section& section, double number) : section_(section) {
    count_placeholders();
    round(number);
    whole_left_ = placeholders(Place::whole);
    significant_ = without_trailing_zeros(fixed_.decimals).size();
  }

  std::string shown(bool negative) {
    if (negative && !fixed_.is_zero()) shown_ += "-";
    for (const Token& token : section_.tokens) put(token);
    return shown_;
  }

  // With General, with @ or with a fraction a section shows the number as General does, once.
  static bool shows_general(const Section& section) {
    return section.is_fraction || section.has_text ||
           std::any_of(section.tokens.begin(), section.tokens.end(),
                       [](const Token& token) { return token.kind == Kind::general; });
  }
  static std::string general_shown(const Section& section, double number) {
    std::string shown;
    bool told = false;
    for (const Token& token : section.tokens) {
      if (token.kind == Kind::literal && !section.is_fraction) shown += token.text;
      if ((token.kind == Kind::general || token.kind == Kind::text || token.kind == Kind::digit) && !told) {
        shown += general_text(number);
        told = true;
      }
    }
    return shown;
  }

 private:
  enum class Place { whole, decimals, exponent };

  std::size_t placeholders(Place place) const { return placeholders_[static_cast<std::size_t>(place)]; }

  void count_placeholders() {
    Place place = Place::whole;
    for (const Token& token : section_.tokens) {
      if (token.kind == Kind::point) place = Place::decimals;
      if (token.kind == Kind::exponent) place = Place::exponent;
      if (token.kind == Kind::digit) ++placeholders_[static_cast<std::size_t>(place)];
    }
    scientific_ = place == Place::exponent;
  }

  // Rounds to as many digits as there are placeholders for.
  void round(double number) {
    DecimalDigits decimal = decimal_digits_of(number);
    if (!decimal.digits.empty()) decimal.point += 2 * section_.percents - 3 * section_.thousands_off;
    if (!scientific_) {
      fixed_ = rounded(decimal, static_cast<int>(placeholders(Place::decimals)));
      return;
    }
    round_scientific(decimal, 0);
    if (fixed_.whole.size() > power_step()) round_scientific(decimal, 1);  // rounded up into one more digit
  }
  // The power is a multiple of the number of placeholders before the point.
  std::size_t power_step() const { return std::max<std::size_t>(placeholders(Place::whole), 1); }
  void round_scientific(const DecimalDigits& decimal, int shift) {
    const int first = decimal.digits.empty() ? 0 : decimal.point - 1 + shift;
    const auto step = static_cast<int>(power_step());
    power_ = step == 1 ? first : static_cast<int>(std::floor(static_cast<double>(first) / step)) * step;
    fixed_ = rounded({decimal.digits, decimal.point - power_}, static_cast<int>(placeholders(Place::decimals)));
  }

  void put(const Token& token) {
    switch (token.kind) {
      case Kind::literal:
        shown_ += token.text;
        break;
      case Kind::point:
        if (placeholders(Place::whole) == 0) put_whole(fixed_.whole.size(), 0);
        place_ = Place::decimals;
        shown_ += '.';
        break;
      case Kind::exponent:
        place_ = Place::exponent;
        shown_ += power_ < 0 ? "E-" : token.text == "+" ? "E+" : "E";
        break;
      case Kind::digit:
        put_digit(token.text[0]);
        break;
      default:
        break;
    }
  }

  void put_digit(char placeholder) {
    switch (place_) {
      case Place::whole:
        put_whole_digit(placeholder);
        break;
      case Place::decimals:
        put_or_fill(placeholder, behind_ < significant_, [this] { shown_ += fixed_.decimals[behind_]; });
        ++behind_;
        break;
      case Place::exponent:  // the first placeholder takes all digits of the power
        if (!told_power_) shown_ += padded(std::abs(power_), placeholders(Place::exponent));
        told_power_ = true;
        break;
    }
  }
  void put_whole_digit(char placeholder) {
    // The first placeholder takes all digits for which there is none.
    if (!began_whole_ && fixed_.whole.size() > whole_left_) put_whole(fixed_.whole.size(), whole_left_);
    began_whole_ = true;
    put_or_fill(placeholder, whole_left_ <= fixed_.whole.size(), [this] { put_whole(whole_left_, whole_left_ - 1); });
    --whole_left_;
  }
  // Without a digit that counts, 0 shows a zero, ? a blank as wide as a digit, and # nothing.
  template <class Put>
  void put_or_fill(char placeholder, bool counts, Put put) {
    if (counts || placeholder == '0')
      put();
    else if (placeholder == '?')
      shown_ += ' ';
  }
  // The digits from the position `from`, counted from the point, down to `to`, grouped.
  void put_whole(std::size_t from, std::size_t to) {
    for (std::size_t position = from; position > to; --position) {
      shown_ += position <= fixed_.whole.size() ? fixed_.whole[fixed_.whole.size() - position] : '0';
      if (section_.grouped && position > 1 && (position - 1) % 3 == 0) shown_ += ',';
    }
  }

  const Section& section_;
  std::array<std::size_t, 3> placeholders_ = {};  // by place
  bool scientific_ = false;
  RoundedDigits fixed_;
  int power_ = 0;
  std::size_t significant_ = 0;  // decimals before the last zeros

  std::string shown_;
  Place place_ = Place::whole;
  std::size_t whole_left_ = 0;  // placeholders before the point still to come
  std::size_t behind_ = 0;      // placeholders behind the point that are done
  bool began_whole_ = false;
  bool told_power_ = false;
};

std::string NumberFormat::number_text(const Section& section, double number, bool negative) {
  if (NumberText::shows_general(section)) return NumberText::general_shown(section, number);
  return NumberText(section, number).shown(negative);
}

}  // namespace mercato::spreadsheet
