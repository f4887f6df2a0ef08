// SPDX-License-Identifier: Apache-2.0
#include "keeping/group_loading.h"

#include <algorithm>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

#include "catalog/node_tree.h"
#include "frame/lib_general.h"
#include "frame/util.h"
#include "keeping/category_members.h"
#include "keeping/node_keeping.h"
#include "keeping/store_calls.h"
#include "mercato/catalog.h"
#include "mercato/raised_error.h"
#include "values/same_text.h"

namespace mercato::keeping {
namespace {

constexpr std::size_t kNumbersAtOnce = 100;

std::string key_of(std::string_view text) { return text::folded(text::without_trailing_blanks(text)); }

std::int32_t new_category(const std::string& name) {
  call_library("Mercato.TCatalog", "InsertProductCategory", {Array{"CATEGORYNAME"}, Array{name}});
  return ids_by(Sql("SELECT MAX(CATEGORYID) FROM PRODUCTCATEGORY WHERE CATEGORYNAME = N'")
                << value(Gen_QuoteSql(name)) << "'")
      .front();
}

// The products with these numbers, by the numbers' keys.
std::multimap<std::string, std::int32_t> products_numbered(std::span<const GroupMember> members) {
  std::multimap<std::string, std::int32_t> ids;
  for (std::size_t begin = 0; begin < members.size(); begin += kNumbersAtOnce) {
    Sql sql("SELECT PRODUCTID, BUYFROMPARTNUMBER FROM PRODUCT WHERE BUYFROMPARTNUMBER IN (");
    for (std::size_t place = 0; place < kNumbersAtOnce; ++place) {
      if (place > 0) sql << ",";
      sql << value(GetSqlLiterals().TextToSql(members[std::min(begin + place, members.size() - 1)].number));
    }
    for (const DictionaryPtr& row : rows_of(sql << ")"))
      ids.emplace(key_of(row->Item("BUYFROMPARTNUMBER").text_or_empty()), row->Item("PRODUCTID").to_long());
  }
  return ids;
}

// The tree of a catalogue while groups are added to it.
class GroupNodes {
 public:
  GroupNodes(const NamedCatalog& catalog, std::span<const SupplierGroup> groups, std::span<const GroupMember> members)
      : catalog_(catalog) {
    for (const SupplierGroup& group : groups) groups_.emplace(group.id, &group);
    for (const GroupMember& member : members) with_members_.insert(member.group);
    NodeTree tree;
    for (const CatalogNode* node : tree.nodes_of(catalog.id))
      nodes_.try_emplace({node->parent.value_or(0), key_of(node->name)}, Node{node->id, node->shown_category()});
  }

  // Of the group, which is made when it is not there: its node.
  struct Node {
    std::int32_t id = 0;
    std::optional<std::int32_t> category;
  };
  // Raises 5 with the reason when it can have none.
  Node node_of(const std::string& id, GroupCounts& counts) {
    if (const auto known = done_.find(id); known != done_.end()) {
      if (!known->second)
        raise(error_number::kInvalidArgument, {}, "It is above itself, or what is above it was refused");
      return *known->second;
    }
    done_[id];  // refused, unless it is done below
    const auto found = groups_.find(id);
    if (found == groups_.end()) raise(error_number::kInvalidArgument, {}, "The file does not have the group above it");
    const SupplierGroup& group = *found->second;
    const std::optional<std::int32_t> parent =
        group.parent.empty() ? std::nullopt : std::optional(node_of(group.parent, counts).id);
    const auto [place, is_new] = nodes_.try_emplace({parent.value_or(0), key_of(group.name)});
    Node& node = place->second;
    const bool needs_category = with_members_.contains(id) && (is_new || !node.category);
    try {
      if (is_new) node.id = new_node({catalog_, parent}, group.name, std::nullopt);
    } catch (const Raised&) {
      nodes_.erase(place);
      throw;
    }
    if (needs_category) {
      node.category = new_category(group.name);
      run_statement(Sql("UPDATE CATALOGNODE SET CATEGORYID = ")
                    << *node.category << ", NODETYPE = " << static_cast<std::int32_t>(NodeType::ProductCategory)
                    << " WHERE NODEID = " << node.id);
    }
    ++(is_new ? counts.added : counts.there);
    done_[id] = node;
    return node;
  }

 private:
  const NamedCatalog& catalog_;
  std::unordered_map<std::string, const SupplierGroup*> groups_;
  std::set<std::string> with_members_;
  std::map<std::pair<std::int32_t, std::string>, Node> nodes_;  // by the parent, 0 for none, and the name's key
  std::unordered_map<std::string, std::optional<Node>> done_;   // nothing: it was refused, or is being made
};

}  // namespace

std::size_t GroupCounts::refused() const {
  std::size_t all = 0;
  for (const auto& [reason, refusal] : refusals) all += refusal.count;
  return all;
}

void GroupCounts::refuse(const std::string& reason, const std::string& what) {
  Refusal& refusal = refusals[reason];
  if (refusal.count++ == 0) refusal.first = what;
}

void GroupCounts::take_back() {
  if (added > 0) refusals["All of the file or nothing was asked for"].count += std::exchange(added, 0);
}

void GroupLoading::load_groups(std::span<const SupplierGroup> groups, std::span<const GroupMember> members) {
  GroupNodes nodes(catalog_, groups, members);
  for (const SupplierGroup& group : groups) {
    try {
      if (const auto node = nodes.node_of(group.id, groups_); node.category) categories_[group.id] = *node.category;
    } catch (const Raised& raised) {
      if (raised.error().Number != error_number::kInvalidArgument) throw;
      groups_.refuse(raised.error().Description, group.id);
    }
  }
}

void GroupLoading::load_members(std::span<const GroupMember> members,
                                const std::function<bool(const std::string&)>& is_expected) {
  const std::multimap<std::string, std::int32_t> products = products_numbered(members);
  std::map<std::int32_t, std::vector<std::int32_t>> by_category;
  for (const GroupMember& member : members) {
    const auto category = categories_.find(member.group);
    const auto [first, last] = products.equal_range(key_of(member.number));
    const std::size_t count = std::min<std::size_t>(2, static_cast<std::size_t>(std::distance(first, last)));
    if (category == categories_.end())
      members_.refuse("Its group was refused", member.number);
    else if (count > 1)
      members_.refuse("Several products have this number", member.number);
    else if (count == 1)
      by_category[category->second].push_back(first->second);
    else if (is_expected(member.number))
      ++members_.added;
    else
      members_.refuse("No product has this number", member.number);
  }
  for (const auto& [category, ids] : by_category) {
    const std::size_t added = add_to_category(category, ids);
    members_.added += added;
    members_.there += ids.size() - added;
  }
}

}  // namespace mercato::keeping
