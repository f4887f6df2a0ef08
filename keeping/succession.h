// SPDX-License-Identifier: Apache-2.0
// The end of a catalogue that has a successor: what other active catalogues show stays enabled. The library's own call
// ExpireCatalog disables it, too. What is written belongs to the caller's transaction. Raises what the store and the
// library raise. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mercato::keeping {

struct Expiry {
  std::vector<std::int32_t> disabled;  // enabled products that no other active catalogue shows
  std::size_t shared = 0;              // enabled ones that another shows
};
// What expire_keeping_shared would do now. Nothing is changed.
Expiry plan_expiry(std::int32_t catalog);
// Makes the catalogue inactive and disables the products of its nodes that no other active catalogue shows.
Expiry expire_keeping_shared(std::int32_t catalog);

}  // namespace mercato::keeping
