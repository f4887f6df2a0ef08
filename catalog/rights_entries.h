// SPDX-License-Identifier: Apache-2.0
// The entries that give a user or a profile his rights, for hosts that list and count them, and for what would keep
// TCatalog's PopulateUserNodes from laying out a user's nodes. Every function raises what the store raises; nothing is
// changed and nothing is logged. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalog/node_tree.h"
#include "mercato/recordset.h"

namespace mercato {

/// Whose entries. The id may have quotes; case and trailing blanks do not count.
struct RightsHolder {
  std::string id;
  bool is_profile = false;
};

/// CATALOGID, CATALOGNAME, NODEID, LEVEL, VIEWONLY of each entry, by catalogue, level and node, cut loose. The name of
/// a catalogue that is not there is Null.
RecordsetPtr entries_of(const RightsHolder& holder);
std::size_t count_entries(const RightsHolder& holder);

/// What is wrong above the nodes that a user has entries for.
struct WrongParents {
  struct Entry {
    std::int32_t node;
    std::optional<std::int32_t> catalog;  // of the entry
  };
  /// Nodes below a circle of parents: PopulateUserNodes does not come to an end.
  std::vector<std::int32_t> below_circles;
  /// Entries whose node, or one above it, is not in their catalogue: PopulateUserNodes fails when it walks up from one.
  std::vector<Entry> outside;
};
WrongParents wrong_parents(NodeTree& tree, const std::string& user);

struct LaidOutCounts {
  std::size_t rows = 0;
  std::size_t nodes = 0;  // fewer, when rights overlap
};
LaidOutCounts count_laid_out_nodes(const std::string& user);

}  // namespace mercato
