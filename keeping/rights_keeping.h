// SPDX-License-Identifier: Apache-2.0
// Single entries of rights, on a catalogue or on one of its nodes: no call of the library writes those on nodes. What
// is written belongs to the caller's transaction. Every function raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "catalog/rights_entries.h"
#include "keeping/catalog_resolver.h"

namespace mercato::keeping {

enum class Granted : std::uint8_t { added, changed, same };
// The holder may order there, or only view. An entry that is there is changed. Raises 5 for a node whose way up does not
// end at a root of its catalogue.
Granted grant(const RightsHolder& holder, const CatalogPlace& place, bool view_only);
// The number of entries that are gone; those on nodes below stay.
std::size_t revoke(const RightsHolder& holder, const CatalogPlace& place);

// The users, no profiles, that have an entry in the catalogue, by id.
std::vector<std::string> users_with_rights(std::int32_t catalog);

}  // namespace mercato::keeping
