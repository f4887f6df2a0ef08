// SPDX-License-Identifier: Apache-2.0
// Datanorm 4 and 5, the German trades' format of records: articles, price changes, discount groups, groups of goods,
// texts. docs/formats/datanorm.md says what becomes of each field.
#pragma once

#include <string_view>

#include "exchange/formats/format.h"

namespace mercato::exchange {

bool is_datanorm(std::string_view begin);
void read_datanorm(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

}  // namespace mercato::exchange
