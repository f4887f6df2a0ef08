// SPDX-License-Identifier: Apache-2.0
#include "frame/util.h"

#include "frame/lib_general.h"
#include "frame/method.h"

namespace mercato {

Variant DateFunctions::ParseDate(const Variant& iText, const Variant& iLocale) const {
  const auto date = Date::parse(iText.to_text(), iLocale.to_long());
  return date ? Variant(*date) : Variant(kNull);
}

DateFunctions& GetDataFunctions() {
  thread_local DateFunctions functions;
  return functions;
}

// The labels of this module have no full stop between the module and the name. GetDataFunctions cannot fail, so its
// label is never seen.

bool IsValidDate(const std::string& iDate, std::int32_t& iLocale) {
  return method([&] { return !GetDataFunctions().ParseDate(iDate, iLocale).is_null(); },
                Tail{"Mercato.UtilIsValidDate", no_steps});
}

bool IsValidUSDate(const std::string& iDate) {
  return method(
      [&] {
        std::int32_t locale = Date::kUsLocale;
        return IsValidDate(iDate, locale);
      },
      Tail{"Mercato.UtilIsValidUSDate", no_steps});
}

std::string SqlLiterals::TextToSql(std::string_view iText) const { return "'" + Gen_QuoteSql(iText) + "'"; }
std::string SqlLiterals::NameToSql(std::string_view iName) const { return TextToSql(iName); }
std::string SqlLiterals::DateTimeToSql(Date iDate) const { return "'" + iDate.iso_text() + "'"; }

SqlLiterals& GetSqlLiterals() {
  thread_local SqlLiterals literals;
  return literals;
}

}  // namespace mercato
