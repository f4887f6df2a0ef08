// SPDX-License-Identifier: Apache-2.0
// An exact decimal number. It serves rules that people state in decimal numbers: by the binary form of a double such a
// rule would decide otherwise than a person does. A value type. Any thread.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace mercato {

class Decimal {
 public:
  Decimal() = default;  // 0
  // The number that somebody entered: a whole number up to 2^53 is taken exactly, any other as its text form shows it,
  // with at most 15 significant digits. Raises 6 when it is not finite.
  static Decimal of(double number);
  // units / 10^decimals.
  static Decimal of_scaled(std::int64_t units, int decimals) { return {units, -decimals}; }

  // The nearest double.
  double to_double() const;
  // The number times 10^decimals, halves to the even digit. Raises 6 when it does not fit.
  std::int64_t to_scaled(int decimals) const;
  // With that many decimals, halves to the even digit.
  Decimal rounded(int decimals) const;

  // Raises 6 when the product has more than 38 digits.
  friend Decimal operator*(const Decimal& left, const Decimal& right);
  // With that many decimals, halves to the even digit. The divisor is not 0. Raises 6 when numbers of more than 38
  // digits are needed.
  friend Decimal quotient(const Decimal& dividend, const Decimal& divisor, int decimals);
  bool operator==(const Decimal&) const = default;
  std::strong_ordering operator<=>(const Decimal& other) const;

 private:
  __extension__ typedef __int128 Digits;

  Decimal(Digits digits, int exponent);
  Digits size() const { return digits_ < 0 ? -digits_ : digits_; }

  // digits_ * 10^exponent_; the digits end in no zero, so that each number has one form.
  Digits digits_ = 0;
  int exponent_ = 0;
};

// Halves to the even digit, decided on the decimal number: 12.345 gives 12.34, 12.355 gives 12.36. A whole number stays
// as it is. Raises 6 when it is not finite.
double round_half_to_even(double number, int decimals);

// The shortest text without an exponent that reads back as the same number, such as 0.30000000000000004. Numbers stand
// in statements in this form; callers see that of text::number_text.
std::string plain_decimal_text(double number);

}  // namespace mercato
