// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/frame_functions.h"

#include "frame/lib_error_handling.h"
#include "frame/lib_general.h"
#include "frame/util.h"

namespace mercato::gateway {

const ClassTable& FrameFunctions::table() {
  static const ClassTable table =
      ClassTable::of<FrameFunctions>("Mercato.Frame", "", TransactionAttribute::none)
          .method("Gen_NullToZero", &FrameFunctions::Gen_NullToZero, {"iValue"})
          .method("Gen_Lookup", &FrameFunctions::Gen_Lookup, {"iName", "iFields", "iValues"})
          .method("Gen_SqlValue", &FrameFunctions::Gen_SqlValue, {"iValue"})
          .method("Gen_QuoteSql", &FrameFunctions::Gen_QuoteSql, {"iText"})
          .method("Gen_EscapeLike", &FrameFunctions::Gen_EscapeLike, {"iText"})
          .method("Gen_LikePattern", &FrameFunctions::Gen_LikePattern, {"iText"})
          .method("IsValidUSDate", &FrameFunctions::IsValidUSDate, {"iDate"})
          .method("IsValidDate", &FrameFunctions::IsValidDate, {"iDate", "iLocale"})
          .method("Err_FormatMessage", &FrameFunctions::Err_FormatMessage,
                  {"iDescription", "iNumber", "iMethod", optional("iInfo")})
          .method("Err_LogAndRaise", &FrameFunctions::Err_LogAndRaise, {"iMethod", optional("iInfo")})
          .method("Err_LogError", &FrameFunctions::Err_LogError, {"iMethod", optional("iInfo")})
          .method("Err_LogInfo", &FrameFunctions::Err_LogInfo, {"iMethod", optional("iInfo")});
  return table;
}

double FrameFunctions::Gen_NullToZero(const Variant& iValue) { return mercato::Gen_NullToZero(iValue); }

Variant FrameFunctions::Gen_Lookup(const std::string& iName, const Array& iFields, const Array& iValues) {
  return mercato::Gen_Lookup(iName, iFields, iValues);
}

std::string FrameFunctions::Gen_SqlValue(const Variant& iValue) { return mercato::Gen_SqlValue(iValue); }

Variant FrameFunctions::Gen_QuoteSql(const Variant& iText) { return mercato::Gen_QuoteSql(iText); }

Variant FrameFunctions::Gen_EscapeLike(const Variant& iText) { return mercato::Gen_EscapeLike(iText); }

std::string FrameFunctions::Gen_LikePattern(const std::string& iText) { return mercato::Gen_LikePattern(iText); }

bool FrameFunctions::IsValidUSDate(const std::string& iDate) { return mercato::IsValidUSDate(iDate); }

bool FrameFunctions::IsValidDate(const std::string& iDate, std::int32_t& iLocale) {
  return mercato::IsValidDate(iDate, iLocale);
}

std::string FrameFunctions::Err_FormatMessage(const std::string& iDescription, std::int32_t iNumber,
                                              const std::string& iMethod, const Variant& iInfo) {
  return mercato::Err_FormatMessage(iDescription, iNumber, iMethod, iInfo);
}

void FrameFunctions::Err_LogAndRaise(const std::string& iMethod, const Variant& iInfo) {
  mercato::Err_LogAndRaise(iMethod, iInfo);
}

void FrameFunctions::Err_LogError(const std::string& iMethod, const Variant& iInfo) {
  mercato::Err_LogError(iMethod, iInfo);
}

void FrameFunctions::Err_LogInfo(const std::string& iMethod, const Variant& iInfo) {
  mercato::Err_LogInfo(iMethod, iInfo);
}

}  // namespace mercato::gateway
