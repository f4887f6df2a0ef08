// SPDX-License-Identifier: Apache-2.0
// The dialect's reserved words: no name without quotes.
#pragma once

#include <string_view>

namespace mercato::store::dialect {

// In any case.
bool is_keyword(std::string_view word);

}  // namespace mercato::store::dialect
