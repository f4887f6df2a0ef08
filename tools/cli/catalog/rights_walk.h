// Which entry decides what a user may do with a node: the rules of Mercato.Catalog, with the steps on the way kept.
// Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/catalog/catalog_tree.h"

namespace mercato::cli {

struct RightsWalk {
  enum class Entry { none, order, view_only };
  enum class Place { catalog, node, ancestor };
  struct Step {
    Place place;
    std::int32_t id;
    std::string name;
    Entry entry;
  };
  // nowhere: the node is not laid out for the user, and he does not have its catalogue as a whole.
  enum class Seen { nowhere, laid_out, whole_catalog };

  const CatalogNode* node = nullptr;    // null: there is none, and no steps
  std::vector<Step> steps;              // as far as they were gone; none without a catalogue
  std::optional<std::size_t> decisive;  // the step whose entry decides; nothing when none does
  // Set when the library would not come to an end: no restriction before the parents go in a circle.
  std::optional<std::string> endless;
  // Nothing when the library cannot answer: neither laid out nor of a catalogue.
  std::optional<Seen> seen;

  bool is_view_only() const { return decisive && steps[*decisive].entry == Entry::view_only; }
  bool may_order() const { return decisive && steps[*decisive].entry == Entry::order; }
};

// The user's id goes into the statements as it stands, as the library puts it there: the store refuses one with a
// quote. Raises 94 for an entry that says neither, and what the store raises.
RightsWalk walk_rights(NodeTree& tree, const std::string& user, std::int32_t node);

// For failures of questions about this user: that his id cannot be asked for.
std::vector<std::string> reasons_against_user(const std::string& user);

}  // namespace mercato::cli
