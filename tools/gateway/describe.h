// SPDX-License-Identifier: Apache-2.0
// The classes as JSON, from their own tables. Any thread.
#pragma once

#include <string_view>

#include "tools/gateway/json_values.h"

namespace mercato::gateway {

// How much is said: the tables of the classes, or also what their headers say.
enum class Detail { tables, whole };

// {"classes": [...]}: all public classes of the library, or the one with this ProgID, which may be a collaborating
// component's too. Throws RpcError kInvalidParams when nobody answers to it.
Json describe(std::string_view prog_id = {}, Detail detail = Detail::tables);

}  // namespace mercato::gateway
