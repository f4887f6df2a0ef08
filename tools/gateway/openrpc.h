// SPDX-License-Identifier: Apache-2.0
// The gateway as an OpenRPC document, from which clients can be generated. Any thread.
#pragma once

#include <string_view>

#include "tools/gateway/json_values.h"

namespace mercato::gateway {

// The gateway's own methods, and each method of a class under its full name ("Mercato.Product.GetGTIN"), with schemas
// of what they take and answer.
Json openrpc(std::string_view version);

}  // namespace mercato::gateway
