#include "frame/types/currency.h"

#include <cmath>
#include <cstdlib>
#include <string_view>

#include "frame/types/raised_error.h"
#include "frame/types/text.h"

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

// A plain decimal text ("-12.3400"), read digit by digit; false when it is of another form or too long to be exact.
bool read_plain_decimal(std::string_view text, std::int64_t& scaled) {
  text = text::trim(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  std::string_view decimals = point == std::string_view::npos ? std::string_view{} : text.substr(point + 1);
  if (whole.empty() || whole.size() > 14 || whole.find_first_not_of("0123456789") != whole.npos) return false;
  if (decimals.size() > 4 || decimals.find_first_not_of("0123456789") != decimals.npos) return false;
  std::int64_t magnitude = 0;
  for (char digit : whole) magnitude = magnitude * 10 + (digit - '0');
  for (std::size_t place = 0; place < 4; ++place)
    magnitude = magnitude * 10 + (place < decimals.size() ? decimals[place] - '0' : 0);
  scaled = negative ? -magnitude : magnitude;
  return true;
}

}  // namespace

Currency Currency::from_double(double amount) {
  const double scaled = std::nearbyint(amount * static_cast<double>(kScale));
  if (!(std::fabs(scaled) < 9.223372036854775e18)) raise(error_number::kOverflow);
  return Currency(static_cast<std::int64_t>(scaled));
}

Currency Currency::from_text(std::string_view text) {
  std::int64_t scaled = 0;
  if (read_plain_decimal(text, scaled)) return Currency(scaled);
  const auto number = text::parse_number(text);
  if (!number) raise(error_number::kTypeMismatch);
  return from_double(*number);
}

std::string Currency::text() const { return scaled_text(scaled_, false); }
std::string Currency::fixed_text() const { return scaled_text(scaled_, true); }

}  // namespace mercato
