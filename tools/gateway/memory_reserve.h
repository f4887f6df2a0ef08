// Memory that is kept for the end of whatever found none. One for the process; one thread.
#pragma once

namespace mercato::gateway {

// Sets the reserve up, or fills it again after it was given up. The first allocation that fails gives it up, so that
// what has to be cleared away behind the failure finds memory for that: taking a JSON value apart needs some, and has
// no way to fail.
void keep_memory_reserve();

}  // namespace mercato::gateway
