#include "collaborators/zentrik/currency.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

#include "collaborators/query.h"
#include "frame/lib_general.h"
#include "frame/types/raised_error.h"
#include "frame/types/text.h"
#include "frame/util.h"

namespace mercato::collaborators {
namespace {

__extension__ typedef unsigned __int128 Wide;

// Multiplies by a power of ten; false when the product needs more than 128 bits.
bool scale(Wide& number, int exponent) {
  for (; exponent > 0; --exponent) {
    if (number > ~Wide{0} / 10) return false;
    number *= 10;
  }
  return true;
}

// A positive decimal number: digits * 10^exponent, at most 15 digits.
struct Decimal {
  std::uint64_t digits;
  int exponent;
};

// The number that was entered: a double keeps 15 decimal digits.
Decimal decimal_of(double number) {
  constexpr int kDigits = 15;
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::scientific, kDigits - 1).ptr;
  Decimal decimal{0, 0};
  const char* next = text;
  for (; *next != 'e'; ++next)
    if (*next != '.') decimal.digits = decimal.digits * 10 + static_cast<std::uint64_t>(*next - '0');
  const char* exponent = next + (next[1] == '+' ? 2 : 1);
  std::from_chars(exponent, end, decimal.exponent);
  decimal.exponent -= kDigits - 1;
  for (; decimal.digits % 10 == 0; ++decimal.exponent) decimal.digits /= 10;
  return decimal;
}

// numerator / denominator, half to even.
Wide quotient(Wide numerator, Wide denominator) {
  Wide whole = numerator / denominator;
  const Wide rest = numerator % denominator;
  const Wide missing = denominator - rest;
  if (rest > missing || (rest == missing && whole % 2 != 0)) ++whole;
  return whole;
}

struct Rate {
  double number;
  bool reciprocal;
};

// A rate has 15 digits at most. So the unscaled product fits in 128 bits; a numerator that outgrows them means a result
// beyond the range of amounts, and a denominator that does means one that rounds to nothing.
mercato::Currency converted(mercato::Currency amount, const Rate& rate) {
  if (!std::isfinite(rate.number)) raise(error_number::kOverflow);
  const Decimal decimal = decimal_of(rate.number);
  const bool negative = amount.scaled() < 0;
  const auto scaled = static_cast<std::uint64_t>(amount.scaled());
  const std::uint64_t size = negative ? 0 - scaled : scaled;

  Wide numerator = rate.reciprocal ? Wide{size} : Wide{size} * decimal.digits;
  Wide denominator = rate.reciprocal ? decimal.digits : 1;
  const int exponent = rate.reciprocal ? -decimal.exponent : decimal.exponent;
  if (!scale(numerator, exponent)) raise(error_number::kOverflow);
  if (!scale(denominator, -exponent)) return {};
  const Wide result = quotient(numerator, denominator);
  if (result > Wide{INT64_MAX}) raise(error_number::kOverflow);
  const auto units = static_cast<std::int64_t>(result);
  return mercato::Currency::from_scaled(negative ? -units : units);
}

std::optional<double> latest_rate(const std::string& source, const std::string& target, Date date) {
  Sql sql;
  sql << "SELECT TOP 1 RATE FROM EXCHANGERATE WHERE SOURCECODE = N'" << value(Gen_QuoteSql(source))
      << "' AND TARGETCODE = N'" << value(Gen_QuoteSql(target))
      << "' AND EFFECTIVEDATE <= " << value(GetSqlLiterals().DateTimeToSql(date))
      << " AND RATE > 0 ORDER BY EFFECTIVEDATE DESC";
  const Query rate(sql);
  if (rate->Eof()) return std::nullopt;
  return rate->Value("RATE").to_double();
}

Rate rate_between(const std::string& source, const std::string& target, Date date) {
  if (const auto rate = latest_rate(source, target, date)) return {*rate, false};
  if (const auto opposite = latest_rate(target, source, date)) return {*opposite, true};
  raise(error_number::kInvalidArgument, "Zentrik.Currency",
        "There is no exchange rate from '" + source + "' to '" + target + "' at " + date.iso_text());
}

}  // namespace

const ClassTable& Currency::table() {
  static const ClassTable table =
      ClassTable::of<Currency>("Zentrik.Currency", "{47B0F8C9-13E5-4D6A-95C2-E8A4D07B6F1E}",
                               TransactionAttribute::undeclared)
          .collaborator()
          .method("ConvertAmount", &Currency::ConvertAmount, {"source", "target", "amount", "date"})
          .method("GetAllCurrencies", &Currency::GetAllCurrencies);
  return table;
}

mercato::Currency Currency::ConvertAmount(const std::string& source, const std::string& target,
                                          mercato::Currency amount, Date date) {
  if (text::equal_names(source, target)) return amount;
  return converted(amount, rate_between(source, target, date));
}

DictionaryPtr Currency::GetAllCurrencies() {
  auto currencies = std::make_shared<Dictionary>();
  const Query rows{Sql("SELECT CURRENCYCODE, DESCRIPTION FROM CURRENCY ORDER BY CURRENCYCODE")};
  for (; !rows->Eof(); rows->MoveNext()) currencies->Add(rows->Value("CURRENCYCODE"), rows->Value("DESCRIPTION"));
  return currencies;
}

}  // namespace mercato::collaborators
