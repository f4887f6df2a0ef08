// SPDX-License-Identifier: Apache-2.0
// Serves one client: a request or a batch on each line, an answer on each line, in order, flushed. Ends with the input,
// or when nobody reads the answers any more.
//
// All calls run on the thread that serves. A second one reads ahead, so that a request to cancel another one is answered
// while that one runs. It reads up to 64 lines and 1 MiB ahead; a longer line waits until nothing else does.
#pragma once

#include <functional>
#include <istream>
#include <ostream>

#include "tools/gateway/gateway_session.h"

namespace mercato::gateway {

// `stop_reading` lets the other thread find the end of the requests, when it may be waiting for more of them.
void serve(
    Session& session, std::istream& requests, std::ostream& answers, const std::function<void()>& stop_reading = [] {});

}  // namespace mercato::gateway
