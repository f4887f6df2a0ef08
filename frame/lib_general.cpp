// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_general.h"

#include <limits>

#include "frame/method.h"
#include "mercato/object_context.h"
#include "values/decimal.h"
#include "values/text.h"

namespace mercato {
namespace {

// On the zero date the text form is a time alone, which a store reads as a time of its own zero date.
std::string date_with_its_day(Date date) {
  std::string text = date.text();
  if (text.find('/') != std::string::npos) return text;
  constexpr const char* kZeroDate = "12/30/1899";
  return text == Date().text() ? kZeroDate : kZeroDate + (" " + text);
}

}  // namespace

ComponentPtr Gen_GetComponent(std::string_view progId) {
  return method(
      [&]() -> ComponentPtr {
        ObjectContext* context = GetObjectContext();
        return context ? context->CreateInstance(progId) : create_plain(progId);
      },
      Tail{"Lib_General.Gen_GetComponent", [&]() -> Variant {
             const std::string name(progId);
             if (!GetObjectContext()) return "CreateObject(" + name + ") failed";
             return "CreateInstance(" + name +
                    ") failed.\r\nNote: Objects having 'Instancing=PublicNotCreatable' may only be instantiated with "
                    "'New', not with Gen_GetComponent()";
           }});
}

double Gen_NullToZero(const Variant& iValue) { return iValue.is_null() ? 0 : iValue.to_double(); }

Variant Gen_Lookup(std::string_view iName, const Array& iFields, const Array& iValues) {
  for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
    // The index is 16 bits wide.
    using Index = std::numeric_limits<std::int16_t>;
    if (index < Index::min() || index > Index::max()) raise(error_number::kOverflow);
    const Variant& field = iFields.at(index);
    if (field.is_text() && field.text_value() == iName) return iValues.at(index);
  }
  return kNull;
}

std::string Gen_SqlValue(const Variant& iValue) {
  switch (iValue.type()) {
    case Variant::Type::empty:
    case Variant::Type::null:
      return "null";
    case Variant::Type::date:
      return "'" + date_with_its_day(iValue.date_value()) + "'";
    case Variant::Type::text:
      return "'" + Gen_QuoteSql(iValue.text_value()) + "'";
    case Variant::Type::real:
      return plain_decimal_text(iValue.double_value());
    case Variant::Type::boolean:
      return iValue.boolean_value() ? "1" : "0";
    default:
      return iValue.to_text();
  }
}

std::string Gen_QuoteSql(std::string_view iText) { return text::replace_all(iText, "'", "''"); }

std::string Gen_EscapeLike(std::string_view iText) {
  // The brackets come first, since the later steps insert brackets.
  std::string escaped = text::replace_all(Gen_QuoteSql(iText), "[", "[[]");
  escaped = text::replace_all(escaped, "%", "[%]");
  return text::replace_all(escaped, "_", "[_]");
}

std::string Gen_LikePattern(std::string_view iText) {
  return "N'" + text::replace_all(Gen_EscapeLike(iText), "*", "%") + "'";
}

}  // namespace mercato
