// SPDX-License-Identifier: Apache-2.0
// Values and rows of the library as plain JSON, for `/api/v1`: texts, numbers, true and false, null; a date as
// "2026-07-01T08:30:00", an amount as a number. Pure functions.
#pragma once

#include <vector>

#include "mercato/dictionary.h"
#include "tools/gateway/json_values.h"

namespace mercato::host {

gateway::Json plain_json(const Variant& value);
// Column to value, in the row's order.
gateway::Json row_json(const Dictionary& row);
gateway::Json rows_json(const std::vector<DictionaryPtr>& rows);

}  // namespace mercato::host
