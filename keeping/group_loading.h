// SPDX-License-Identifier: Apache-2.0
// The groups of a supplier as nodes of a catalogue, and his products in their categories. What is there stays: a node of
// the name below the same parent is the group's. What is written belongs to the caller's transaction. Every function
// raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "keeping/catalog_resolver.h"

namespace mercato::keeping {

struct SupplierGroup {
  std::string id;
  std::string parent;  // empty: a root
  std::string name;
};
struct GroupMember {
  std::string number;  // the supplier's, of a product
  std::string group;
};

// What was read is added, there already, or refused.
struct GroupCounts {
  struct Refusal {
    std::size_t count = 0;
    std::string first;  // the group, or the number
  };
  std::size_t added = 0;
  std::size_t there = 0;
  std::map<std::string, Refusal> refusals;  // by reason

  std::size_t refused() const;
  void refuse(const std::string& reason, const std::string& what);
  // What was added is not, since all of the file or nothing was asked for.
  void take_back();
};

class GroupLoading {
 public:
  explicit GroupLoading(NamedCatalog catalog) : catalog_(std::move(catalog)) {}

  // Writes the nodes that are not there. One whose group has members shows a category of its own.
  void load_groups(std::span<const SupplierGroup> groups, std::span<const GroupMember> members);
  // Puts the products into the categories of these groups, at their ends. `is_expected` says of a number that no product
  // has whether one will: so a trial counts what would be added.
  void load_members(
      std::span<const GroupMember> members,
      const std::function<bool(const std::string&)>& is_expected = [](const std::string&) { return false; });

  // The caller's transaction was not kept.
  void take_back() {
    groups_.take_back();
    members_.take_back();
  }

  const GroupCounts& groups() const { return groups_; }
  const GroupCounts& members() const { return members_; }

 private:
  const NamedCatalog catalog_;
  std::map<std::string, std::int32_t> categories_;  // by the ids of the groups that have members
  GroupCounts groups_;
  GroupCounts members_;
};

}  // namespace mercato::keeping
