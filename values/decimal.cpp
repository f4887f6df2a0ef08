// SPDX-License-Identifier: Apache-2.0
#include "values/decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato {
namespace {

__extension__ typedef __int128 Wide;

constexpr int kMostDigits = 38;
constexpr double kLastExactWhole = 9007199254740992;  // 2^53

// `exponent` from 0 to 38.
constexpr Wide power_of_ten(int exponent) {
  Wide power = 1;
  for (; exponent > 0; --exponent) power *= 10;
  return power;
}

// numerator / denominator, halves to the even digit; both are positive.
Wide divided(Wide numerator, Wide denominator) {
  Wide whole = numerator / denominator;
  const Wide rest = numerator % denominator;
  const Wide missing = denominator - rest;
  if (rest > missing || (rest == missing && whole % 2 != 0)) ++whole;
  return whole;
}

int count_digits(Wide size) {
  int count = 0;
  for (; size > 0; size /= 10) ++count;
  return count;
}

bool is_whole(double number) { return number == std::trunc(number); }

}  // namespace

Decimal::Decimal(Digits digits, int exponent) : digits_(digits), exponent_(digits == 0 ? 0 : exponent) {
  for (; digits_ != 0 && digits_ % 10 == 0; ++exponent_) digits_ /= 10;
}

Decimal Decimal::of(double number) {
  if (!std::isfinite(number)) raise(error_number::kOverflow);
  if (is_whole(number) && std::fabs(number) <= kLastExactWhole) return {static_cast<std::int64_t>(number), 0};

  const std::string text = text::number_text(number);
  const std::size_t mark = std::min(text.find('E'), text.size());
  Digits digits = 0;
  int exponent = 0;
  bool behind_point = false;
  for (const char character : text.substr(0, mark)) {
    if (character == '.') {
      behind_point = true;
    } else if (character != '-') {
      digits = digits * 10 + (character - '0');
      if (behind_point) --exponent;
    }
  }
  if (mark < text.size()) exponent += std::stoi(text.substr(mark + 1));
  return {number < 0 ? -digits : digits, exponent};
}

double Decimal::to_double() const {
  std::string text = digits_ == 0 ? "0" : "";
  for (Digits rest = size(); rest > 0; rest /= 10) text.insert(text.begin(), static_cast<char>('0' + rest % 10));
  text += 'e';
  text += std::to_string(exponent_);
  double number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return digits_ < 0 ? -number : number;
}

Decimal Decimal::rounded(int decimals) const {
  const int dropped = -exponent_ - decimals;
  if (dropped <= 0) return *this;
  if (dropped > kMostDigits) return {};
  const Digits kept = divided(size(), power_of_ten(dropped));
  return {digits_ < 0 ? -kept : kept, -decimals};
}

std::int64_t Decimal::to_scaled(int decimals) const {
  const Decimal kept = rounded(decimals);
  std::int64_t units = 0;
  const int missing = kept.exponent_ + decimals;
  if (count_digits(kept.size()) + missing > kMostDigits ||
      __builtin_mul_overflow(kept.digits_, power_of_ten(missing), &units))
    raise(error_number::kOverflow);
  return units;
}

Decimal operator*(const Decimal& left, const Decimal& right) {
  Decimal::Digits product = 0;
  if (__builtin_mul_overflow(left.digits_, right.digits_, &product)) raise(error_number::kOverflow);
  const Decimal result(product, left.exponent_ + right.exponent_);
  if (count_digits(result.size()) > kMostDigits) raise(error_number::kOverflow);
  return result;
}

Decimal quotient(const Decimal& dividend, const Decimal& divisor, int decimals) {
  const int shift = dividend.exponent_ - divisor.exponent_ + decimals;
  const int dividend_digits = count_digits(dividend.size()) + std::max(shift, 0);
  const int divisor_digits = count_digits(divisor.size()) + std::max(-shift, 0);
  // Less than a tenth of the last decimal.
  if (dividend.digits_ == 0 || dividend_digits + 1 < divisor_digits) return {};
  if (std::max(dividend_digits, divisor_digits) > kMostDigits) raise(error_number::kOverflow);
  const Decimal::Digits whole =
      divided(dividend.size() * power_of_ten(std::max(shift, 0)), divisor.size() * power_of_ten(std::max(-shift, 0)));
  return {(dividend.digits_ < 0) != (divisor.digits_ < 0) ? -whole : whole, -decimals};
}

std::strong_ordering Decimal::operator<=>(const Decimal& other) const {
  if (digits_ == 0 || other.digits_ == 0 || (digits_ < 0) != (other.digits_ < 0)) return digits_ <=> other.digits_;
  const int places = count_digits(size()) + exponent_;
  const int other_places = count_digits(other.size()) + other.exponent_;
  if (places != other_places) return digits_ < 0 ? other_places <=> places : places <=> other_places;
  // Both have as many digits before the point, so that with the same exponent neither has more than 38.
  const int exponent = std::min(exponent_, other.exponent_);
  return digits_ * power_of_ten(exponent_ - exponent) <=> other.digits_ * power_of_ten(other.exponent_ - exponent);
}

double round_half_to_even(double number, int decimals) {
  const Decimal decimal = Decimal::of(number);
  return is_whole(number) ? number : decimal.rounded(decimals).to_double();
}

std::string plain_decimal_text(double number) {
  char digits[400];  // the smallest numbers have some 340 places
  // A zero has no sign in a statement.
  const auto result = std::to_chars(digits, digits + sizeof digits, number + 0.0, std::chars_format::fixed);
  return {digits, result.ptr};
}

}  // namespace mercato
