// SPDX-License-Identifier: Apache-2.0
#include "collaborators/zentrik/currency_rates.h"

#include <optional>

#include "collaborators/query.h"
#include "frame/lib_general.h"
#include "frame/util.h"
#include "mercato/raised_error.h"
#include "values/decimal.h"
#include "values/same_text.h"

namespace mercato::collaborators {
namespace {

struct Rate {
  double number;
  bool reciprocal;
};

mercato::Currency converted(mercato::Currency amount, const Rate& rate) {
  constexpr int kDecimals = 4;
  const Decimal sum = Decimal::of_scaled(amount.scaled(), kDecimals);
  const Decimal factor = Decimal::of(rate.number);
  const Decimal result = rate.reciprocal ? quotient(sum, factor, kDecimals) : sum * factor;
  return mercato::Currency::from_scaled(result.to_scaled(kDecimals));
}

// Nothing when the pair has no rate at that date. Raises 5 when the latest one cannot be used; no older one takes its
// place.
std::optional<double> latest_rate(const std::string& source, const std::string& target, Date date) {
  const Sql sql = Sql("SELECT TOP 1 RATE FROM EXCHANGERATE WHERE SOURCECODE = N'")
                  << value(Gen_QuoteSql(source)) << "' AND TARGETCODE = N'" << value(Gen_QuoteSql(target))
                  << "' AND EFFECTIVEDATE <= " << value(GetSqlLiterals().DateTimeToSql(date))
                  << " ORDER BY EFFECTIVEDATE DESC";
  const Query rows(sql);
  if (rows->Eof()) return std::nullopt;
  const Variant& rate = rows->Value("RATE");
  if (rate.is_null() || rate.to_double() <= 0)
    raise(error_number::kInvalidArgument, "Zentrik.Currency",
          "The exchange rate from '" + source + "' to '" + target + "' at " + date.iso_text() +
              " cannot be used: it is " + (rate.is_null() ? "Null" : rate.to_text()));
  return rate.to_double();
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
          .never_waits()
          .method("ConvertAmount", &Currency::ConvertAmount, {"source", "target", "amount", "date"})
          .method("GetAllCurrencies", &Currency::GetAllCurrencies);
  return table;
}

mercato::Currency Currency::ConvertAmount(const std::string& source, const std::string& target,
                                          mercato::Currency amount, Date date) {
  if (text::same(source, target)) return amount;
  return converted(amount, rate_between(source, target, date));
}

DictionaryPtr Currency::GetAllCurrencies() {
  auto currencies = std::make_shared<Dictionary>();
  const Query rows{Sql("SELECT CURRENCYCODE, DESCRIPTION FROM CURRENCY ORDER BY CURRENCYCODE")};
  for (; !rows->Eof(); rows->MoveNext()) currencies->Add(rows->Value("CURRENCYCODE"), rows->Value("DESCRIPTION"));
  return currencies;
}

}  // namespace mercato::collaborators
