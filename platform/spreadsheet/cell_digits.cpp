// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/cell_digits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace mercato::spreadsheet {

DecimalDigits decimal_digits_of(double number) {
  constexpr int kPrecision = 15;  // significant digits of a cell's number
  std::array<char, 40> text = {};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(number),
                                 std::chars_format::scientific, kPrecision - 1);
  const std::string_view written(text.data(), static_cast<std::size_t>(end.ptr - text.data()));
  const std::size_t exponent = written.find('e');
  DecimalDigits decimal;
  decimal.digits = std::string(1, written[0]) + std::string(written.substr(2, exponent - 2));
  const std::string_view power = written.substr(exponent + (written[exponent + 1] == '+' ? 2 : 1));
  std::from_chars(power.data(), power.data() + power.size(), decimal.point);
  ++decimal.point;
  decimal.digits.erase(decimal.digits.find_last_not_of('0') + 1);
  if (decimal.digits.empty()) decimal.point = 0;
  return decimal;
}

RoundedDigits rounded(const DecimalDigits& number, int decimals) {
  // All digits as one whole number, shifted so that its last digit is the last decimal.
  const int kept = number.point + decimals;
  std::string all;
  if (kept >= 0) {
    const auto wanted = static_cast<std::size_t>(kept);
    all = number.digits.substr(0, wanted);
    const bool up = number.digits.size() > wanted && number.digits[wanted] >= '5';
    all.append(wanted - all.size(), '0');
    if (up) {
      std::size_t at = all.size();
      while (at > 0 && all[at - 1] == '9') all[--at] = '0';
      if (at > 0)
        ++all[at - 1];
      else
        all.insert(all.begin(), '1');
    }
  }
  const auto behind = static_cast<std::size_t>(decimals);
  if (all.size() < behind) all.insert(0, behind - all.size(), '0');
  RoundedDigits fixed{all.substr(0, all.size() - behind), all.substr(all.size() - behind)};
  fixed.whole.erase(0, std::min(fixed.whole.find_first_not_of('0'), fixed.whole.size()));
  return fixed;
}

std::string without_trailing_zeros(std::string decimals) {
  decimals.erase(decimals.find_last_not_of('0') + 1);
  return decimals;
}

std::string padded(long long number, std::size_t width) {
  std::string text = std::to_string(number);
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  return text;
}

}  // namespace mercato::spreadsheet
