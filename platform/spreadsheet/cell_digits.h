// SPDX-License-Identifier: Apache-2.0
// The decimal digits of a cell's number, rounded to what a format shows. Stateless functions; any thread.
#pragma once

#include <cstddef>
#include <string>

namespace mercato::spreadsheet {

// 0.d1d2d3... times ten to the power of `point`. A cell's number has 15 digits.
struct DecimalDigits {
  std::string digits;  // the first one is not 0; empty for zero
  int point = 0;
};
// Of the number without its sign.
DecimalDigits decimal_digits_of(double number);

// Digits before and behind the point; no leading zeros in front.
struct RoundedDigits {
  std::string whole;
  std::string decimals;
  bool is_zero() const { return whole.empty() && decimals.find_first_not_of('0') == std::string::npos; }
};
// Rounded half away from zero.
RoundedDigits rounded(const DecimalDigits& number, int decimals);

std::string without_trailing_zeros(std::string decimals);

// With zeros in front, up to this width.
std::string padded(long long number, std::size_t width);

}  // namespace mercato::spreadsheet
