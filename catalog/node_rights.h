// SPDX-License-Identifier: Apache-2.0
// Why a user may do with a node what he may: the entries that the library looks at on the way, and the one that
// decides. For hosts that explain a right. The answers are those of Mercato.Catalog's IsAuthorizedCatalogNode,
// IsViewOnlyCatalogNodeEx and IsOrderCatalogNodeEx, which go by the same code. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mercato {

/// What the entries of a user on one thing say.
enum class Right { none, order, view_only };

/// Where an entry stands, seen from the node that is asked about.
enum class EntryPlace { catalog, node, ancestor };

/// How a user sees a node: it was laid out for him, or he has the whole of its catalogue.
/// no_catalog: neither laid out nor of a catalogue, so that the library raises 94.
enum class Sight { nowhere, laid_out, whole_catalog, no_node, no_catalog };

struct RightsTrace {
  struct Step {
    EntryPlace place;
    std::int32_t id;  // of the catalogue or the node
    Right entry;
  };

  /// The catalogue, the node and its ancestors upwards, as far as they were looked at. None for a node that is not
  /// there or has no catalogue.
  std::vector<Step> steps;
  /// The step whose entry decides; nothing when none does.
  std::optional<std::size_t> decisive;
  /// Whether the parents go in a circle and nothing before it restricts: the library would ask until its time is up.
  bool endless = false;
  Sight sight = Sight::nowhere;

  bool is_view_only() const { return decisive && steps[*decisive].entry == Right::view_only; }
  bool may_order() const { return decisive && steps[*decisive].entry == Right::order; }
};

/// The walk of the library, with its steps kept, which ends at a circle. The user's id goes into the statements as it
/// stands. Raises what the store raises, for an id with a quote too, and 94 for an entry that says neither and is
/// beside no restriction. Nothing is logged.
RightsTrace trace_rights(const std::string& user, std::int32_t node);

}  // namespace mercato
