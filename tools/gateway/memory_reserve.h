// SPDX-License-Identifier: Apache-2.0
// Memory that is kept for clearing away after an allocation failed. One for the process; one thread.
#pragma once

namespace mercato::gateway {

// Sets the reserve up, or fills it again after it was given up. The first allocation that fails gives it up, so that
// clearing away after the failure finds memory: destroying a JSON value needs some, and cannot fail.
void keep_memory_reserve();

}  // namespace mercato::gateway
