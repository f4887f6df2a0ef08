// SPDX-License-Identifier: Apache-2.0
// Components by ProgID, and values as SQL text. Any thread.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "mercato/component.h"
#include "mercato/variant.h"

namespace mercato {

// Creates a component: inside the current object's context, so that it joins the transaction, else plainly.
// Raises 429, source "Mercato", logged under "Lib_General.Gen_GetComponent", when nobody answers to the ProgID.
ComponentPtr Gen_GetComponent(std::string_view progId);

// 0 for Null, else the value as a double; raises 13 for a text that reads as no number.
double Gen_NullToZero(const Variant& iValue);

// The value at the first name that equals `iName` exactly, else Null. Raises 6 when the search meets an index below
// -32768 or beyond 32767, 9 when the arrays' bounds differ.
Variant Gen_Lookup(std::string_view iName, const Array& iFields, const Array& iValues);

// The literal of a value: null, '...' with its quotes doubled for texts and dates, 1 or 0 for Booleans, else its plain
// decimal form. A store reads it as that very value: a date has its day also where its text form is a time alone.
std::string Gen_SqlValue(const Variant& iValue);

// Quotes doubled, none put around. Null stays Null.
std::string Gen_QuoteSql(std::string_view iText);
Variant Gen_QuoteSql(const std::same_as<Variant> auto& iText) {
  return iText.is_null() ? iText : Variant(Gen_QuoteSql(std::string_view(iText.to_text())));
}

// Quotes doubled, then [ % _ made to stand for themselves in a LIKE pattern. Null stays Null.
std::string Gen_EscapeLike(std::string_view iText);
Variant Gen_EscapeLike(const std::same_as<Variant> auto& iText) {
  return iText.is_null() ? iText : Variant(Gen_EscapeLike(std::string_view(iText.to_text())));
}

// A whole N'...' literal of a LIKE pattern in which * is the only wildcard.
std::string Gen_LikePattern(std::string_view iText);

}  // namespace mercato
