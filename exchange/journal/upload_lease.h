// SPDX-License-Identifier: Apache-2.0
// Which process an upload runs in, and whether that one is still at it. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/variant.h"

namespace mercato::exchange {

// Longer than any part of an upload takes.
inline constexpr std::int64_t kLeaseSeconds = 15 * 60;

// The machine, the process, and when it began: another one may have its number later.
std::string this_process();
// A process of this machine can be asked for; of another one the lease says it.
bool is_gone(const std::string& owner, const Variant& lease);

}  // namespace mercato::exchange
