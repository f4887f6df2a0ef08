// SPDX-License-Identifier: Apache-2.0
// functions.sql: what translated statements call on the server.
#pragma once

#include <string_view>

namespace mercato::store::postgres {

// Statements that may be run again at any time. {schema} stands for the quoted name of the schema.
std::string_view function_texts();

}  // namespace mercato::store::postgres
