// SPDX-License-Identifier: Apache-2.0
// Zentrik.Currency: the currencies of table CURRENCY and the rates of table EXCHANGERATE. Raises what the store raises.
#pragma once

#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"

namespace mercato::collaborators {

class Currency : public ComponentOf<Currency> {
 public:
  static const ClassTable& table();

  // The amount in the target currency. When both codes are the same (in any case), the amount itself, also for an
  // unknown code. Else the latest rate of the pair that is not after the date counts, and without one the reciprocal of
  // the opposite pair's. Exact: the rate counts as the decimal number of 15 digits that was entered, and the one
  // rounding is that of the result, to four decimals, half to even. Raises 5, source "Zentrik.Currency", naming both
  // codes and the date, when there is no rate, and when the one that counts is Null or not above 0; 6 for a result that
  // is too large.
  mercato::Currency ConvertAmount(const std::string& source, const std::string& target, mercato::Currency amount,
                                  Date date);
  // Currency code to description, which may be Null, in the order of the codes.
  DictionaryPtr GetAllCurrencies();
};

}  // namespace mercato::collaborators
