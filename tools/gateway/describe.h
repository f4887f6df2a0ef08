// SPDX-License-Identifier: Apache-2.0
// The classes as JSON, from their own tables. Any thread.
#pragma once

#include <string_view>

#include "tools/gateway/json_values.h"

namespace mercato::gateway {

// {"classes": [...]}: all public classes of the library, or the one with this ProgID, which may be a collaborating
// component's too. Throws RpcError kInvalidParams when nobody answers to it.
Json describe(std::string_view prog_id = {});

}  // namespace mercato::gateway
