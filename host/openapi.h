// SPDX-License-Identifier: Apache-2.0
// The description of the interface in OpenAPI 3.1, made from the table of routes. Any thread.
#pragma once

#include "tools/gateway/json_values.h"

namespace mercato::host {

gateway::Json openapi();

}  // namespace mercato::host
