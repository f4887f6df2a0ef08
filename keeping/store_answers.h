// SPDX-License-Identifier: Apache-2.0
// Whether the store of the settings answers and has the library's tables. Any thread.
#pragma once

namespace mercato::keeping {

// Raises what the store raises when it does not.
void require_store();

}  // namespace mercato::keeping
