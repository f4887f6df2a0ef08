// SPDX-License-Identifier: Apache-2.0
// A currency number: fixed point with four decimals, exact. A value type. Any thread.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/export.h"

namespace mercato {

/// An amount with four decimals, exact: a whole number of ten-thousandths in 64 bits.
class MERCATO_API Currency {
 public:
  /// Parts of one unit.
  static constexpr std::int64_t kScale = 10000;

  /// 0.
  constexpr Currency() = default;
  /// From ten-thousandths: 123400 is 12.34.
  static constexpr Currency from_scaled(std::int64_t scaled) { return Currency(scaled); }
  /// Rounds half to even at four decimals. Raises 6 outside of the range of a 64-bit scaled number.
  static Currency from_double(double amount);
  /// Reads a decimal text such as "12.3400" exactly, half to even at four decimals. Other forms of a number are read
  /// as a double first. Raises 13 when the text is no number, 6 when it is too large.
  static Currency from_text(std::string_view text);

  /// Ten-thousandths.
  constexpr std::int64_t scaled() const { return scaled_; }
  /// The nearest double.
  double to_double() const { return static_cast<double>(scaled_) / static_cast<double>(kScale); }
  /// Without trailing zeros: "12.34", "5".
  std::string text() const;
  /// With all four decimals: "12.3400".
  std::string fixed_text() const;

  /// By amount.
  constexpr auto operator<=>(const Currency&) const = default;

 private:
  constexpr explicit Currency(std::int64_t scaled) : scaled_(scaled) {}
  std::int64_t scaled_ = 0;
};

}  // namespace mercato
