// SPDX-License-Identifier: Apache-2.0
#include "mercato/currency.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato {
namespace {

std::string scaled_text(std::int64_t scaled, bool all_decimals) {
  const auto magnitude = scaled < 0 ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
  std::string decimals = std::to_string(magnitude % Currency::kScale);
  decimals.insert(0, 4 - decimals.size(), '0');
  if (!all_decimals) decimals.erase(decimals.find_last_not_of('0') + 1);
  std::string result = scaled < 0 ? "-" : "";
  result += std::to_string(magnitude / Currency::kScale);
  if (!decimals.empty()) result += "." + decimals;
  return result;
}

// A plain decimal text ("-12.3400"), read digit by digit, half to even at four decimals. Nothing when it is of another
// form. Raises 6 when it is too large.
std::optional<std::int64_t> read_plain_decimal(std::string_view text) {
  text = text::trim(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  const std::string_view decimals = point == std::string_view::npos ? std::string_view{} : text.substr(point + 1);
  constexpr std::string_view kDigits = "0123456789";
  if (whole.empty() || whole.find_first_not_of(kDigits) != whole.npos) return std::nullopt;
  if (decimals.find_first_not_of(kDigits) != decimals.npos) return std::nullopt;

  // Counts downwards: the lowest number is one further from zero than the highest.
  std::int64_t scaled = 0;
  const auto append = [&scaled](int digit) {
    if (__builtin_mul_overflow(scaled, 10, &scaled) || __builtin_sub_overflow(scaled, digit, &scaled))
      raise(error_number::kOverflow);
  };
  for (char digit : whole) append(digit - '0');
  for (std::size_t place = 0; place < 4; ++place) append(place < decimals.size() ? decimals[place] - '0' : 0);

  const std::string_view rest = decimals.substr(std::min<std::size_t>(4, decimals.size()));
  const bool beyond_half =
      !rest.empty() && (rest[0] > '5' || (rest[0] == '5' && rest.find_first_not_of('0', 1) != rest.npos));
  const bool half = !rest.empty() && rest[0] == '5' && !beyond_half;
  if ((beyond_half || (half && scaled % 2 != 0)) && __builtin_sub_overflow(scaled, 1, &scaled))
    raise(error_number::kOverflow);
  if (!negative && __builtin_sub_overflow(std::int64_t{0}, scaled, &scaled)) raise(error_number::kOverflow);
  return scaled;
}

}  // namespace

Currency Currency::from_double(double amount) {
  const double scaled = std::nearbyint(amount * static_cast<double>(kScale));
  if (!(std::fabs(scaled) < 9.223372036854775e18)) raise(error_number::kOverflow);
  return Currency(static_cast<std::int64_t>(scaled));
}

Currency Currency::from_text(std::string_view text) {
  if (const auto scaled = read_plain_decimal(text)) return Currency(*scaled);
  const auto number = text::parse_number(text);
  if (!number) raise(error_number::kTypeMismatch);
  return from_double(*number);
}

std::string Currency::text() const { return scaled_text(scaled_, false); }
std::string Currency::fixed_text() const { return scaled_text(scaled_, true); }

}  // namespace mercato
