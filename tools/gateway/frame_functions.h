// SPDX-License-Identifier: Apache-2.0
// Functions of the frame as the methods of a component, so that a client can call them by name. One thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"

namespace mercato::gateway {

class FrameFunctions : public ComponentOf<FrameFunctions> {
 public:
  static const ClassTable& table();

  double Gen_NullToZero(const Variant& iValue);
  Variant Gen_Lookup(const std::string& iName, const Array& iFields, const Array& iValues);
  std::string Gen_SqlValue(const Variant& iValue);
  Variant Gen_QuoteSql(const Variant& iText);
  Variant Gen_EscapeLike(const Variant& iText);
  std::string Gen_LikePattern(const std::string& iText);
  bool IsValidUSDate(const std::string& iDate);
  bool IsValidDate(const std::string& iDate, std::int32_t& iLocale);
  std::string Err_FormatMessage(const std::string& iDescription, std::int32_t iNumber, const std::string& iMethod,
                                const Variant& iInfo);
  void Err_LogAndRaise(const std::string& iMethod, const Variant& iInfo);
  void Err_LogError(const std::string& iMethod, const Variant& iInfo);
  void Err_LogInfo(const std::string& iMethod, const Variant& iInfo);
};

}  // namespace mercato::gateway
