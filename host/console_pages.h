// SPDX-License-Identifier: Apache-2.0
// The console's files as answers. Only those that were compiled in are served; no file of the machine is. Any thread.
#pragma once

#include <optional>
#include <string_view>

#include "host/message.h"

namespace mercato::host {

// Nothing for a path that is no page and no file. Every view has an address of its own, so an address that is no file's
// and looks like no file's is the page's.
std::optional<Response> console_page(const Head& head, std::string_view path);

}  // namespace mercato::host
