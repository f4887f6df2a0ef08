// SPDX-License-Identifier: Apache-2.0
// Tables into items, by a mapping. One thread.
#pragma once

#include "exchange/formats/format.h"
#include "exchange/formats/mapping.h"
#include "exchange/formats/table.h"

namespace mercato::exchange {

// Reads to the end. Without a mapping the proposal is used if it is certain; else this raises 5 and says what to do.
// `decimal_sign`: of numbers that do not tell it; 0: there is none to rely on.
void read_table(Table& table, const ReadingOptions& options, ItemSink& sink, char decimal_sign = 0);

}  // namespace mercato::exchange
