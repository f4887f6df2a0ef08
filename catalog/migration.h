// SPDX-License-Identifier: Apache-2.0
// What would become of the rights and favourites of a catalogue if TCatalog's ChangeAuthorizationsForUser and
// ChangeFavorites moved them to its successor: for hosts that show it first, and refuse what the library would not come
// to an end with. The statements and comparisons are those of the two calls. Nothing is changed and nothing is logged;
// every function raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalog/node_tree.h"
#include "mercato/variant.h"

namespace mercato {

/// The rights on one node, and where they would go.
struct RightsMove {
  enum class Twin {
    none,       // the rights are lost
    same_path,  // the rights go to the twin
    // The first node of the name stands elsewhere, and no other is looked at: the call ends with its time.
    other_path,
    // Above the node or its twin the parents go in a circle, or one is missing: the call ends with its time, or fails.
    no_path,
  };

  std::int32_t node = 0;
  Twin twin = Twin::none;
  std::int32_t twin_node = 0;  // the first node of the same name in the other catalogue; 0 when there is none
  std::size_t lost = 0;        // the number of rights, of users and profiles, when there is no twin
};

/// A move for each node of the catalogue on which somebody has a right.
std::vector<RightsMove> plan_rights(NodeTree& tree, std::int32_t from, std::int32_t to);

/// The number of rights on a catalogue and its nodes, of users and profiles.
std::size_t count_rights(std::int32_t catalog);

/// A product that a user has marked, once or several times.
struct MarkedProduct {
  std::string user;  // "" for a Null, at which the call fails
  std::int32_t product = 0;
  std::string part_number;
};

/// The products that somebody has marked and the catalogue shows, by user and product.
std::vector<MarkedProduct> marked_products(std::int32_t catalog);

/// How often the user has marked the product.
std::size_t count_marks(const MarkedProduct& marked);
/// The number of favourites that the catalogue shows, and that of all.
std::size_t count_favorites(std::int32_t catalog);
std::size_t count_all_favorites();

/// A product that a marked one may go to, and the node that shows it.
struct Offer {
  Variant product;
  Variant node;
};
/// By part number, compared exactly, in the order of the rows.
using Offers = std::unordered_map<std::string, std::vector<Offer>>;

/// What the new catalogue has of the parts that are marked in the old one.
Offers offers_for(std::int32_t from, std::int32_t to);

struct FavoriteFate {
  enum class Kind {
    moved,
    no_such_part,  // the new catalogue has no product with this part number
    view_only,     // the user may see a product with it, but not order it
    no_right,
    endless,  // above the node that is asked about the parents go in a circle: the call ends with its time
  };
  Kind kind;
  std::int32_t node = 0;  // the one below the circle
};

/// What becomes of a favourite. This asks for the user's rights in the new catalogue: move them first. His id goes into
/// the statements as it stands, so that the store refuses one with a quote. Raises what trace_rights raises.
FavoriteFate fate_of(const MarkedProduct& marked, const Offers& offers, NodeTree& tree);

}  // namespace mercato
