// SPDX-License-Identifier: Apache-2.0
// Date checks, and the objects without a ProgID that the base library gives to each thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/variant.h"

namespace mercato {

// The date-functions object.
class DateFunctions {
 public:
  // The date, or Null when the text is none in that locale.
  Variant ParseDate(const Variant& iText, const Variant& iLocale) const;
};
DateFunctions& GetDataFunctions();

// Whether the text is a date. Failures are logged under "Mercato.UtilIsValidDate" and "Mercato.UtilIsValidUSDate".
bool IsValidDate(const std::string& iDate, std::int32_t& iLocale);
bool IsValidUSDate(const std::string& iDate);

// Whole literals, quotes included.
class SqlLiterals {
 public:
  std::string TextToSql(std::string_view iText) const;
  std::string NameToSql(std::string_view iName) const;
  std::string DateTimeToSql(Date iDate) const;
};
SqlLiterals& GetSqlLiterals();

}  // namespace mercato
