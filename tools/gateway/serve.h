// SPDX-License-Identifier: Apache-2.0
// Serves one client: a request on each line, an answer on each line, in order, flushed. Ends with the input, or when
// nobody reads the answers any more.
#pragma once

#include <istream>
#include <ostream>

#include "tools/gateway/gateway_session.h"

namespace mercato::gateway {

void serve(Session& session, std::istream& requests, std::ostream& answers);

}  // namespace mercato::gateway
