// SPDX-License-Identifier: Apache-2.0
#include "exchange/category_tree.h"

#include <algorithm>

namespace mercato::exchange {
namespace {

constexpr std::string_view kBetween = " > ";

std::string row(std::initializer_list<std::string_view> cells) {
  std::string text;
  for (const std::string_view cell : cells) {
    append_cell(text, cell);
    text += ',';
  }
  text.back() = '\n';
  return text;
}

}  // namespace

void CategoryTree::add(const ItemCategory& category) { nodes_[category.id] = {category.parent, category.name}; }

// The path itself is the id of its group.
void CategoryTree::add_path(std::string_view path) {
  for (;;) {
    const std::size_t last = path.rfind(kBetween);
    const bool is_root = last == std::string_view::npos;
    const std::string_view parent = is_root ? std::string_view() : path.substr(0, last);
    const std::string_view name = is_root ? path : path.substr(last + kBetween.size());
    const bool is_new = nodes_.try_emplace(std::string(path), Node{std::string(parent), std::string(name)}).second;
    if (!is_new || is_root) return;
    path = parent;
  }
}

void CategoryTree::link(std::string_view number, std::string_view category) {
  if (!nodes_.contains(std::string(category))) add_path(category);
  if (!link_rows_) {
    link_rows_ = std::make_unique<WrittenFile>(links_file_);
    link_rows_->write("part_number,category\n");
  }
  link_rows_->write(row({number, category}));
  ++links_;
}

std::vector<const std::pair<const std::string, CategoryTree::Node>*> CategoryTree::sorted() const {
  std::vector<const std::pair<const std::string, Node>*> sorted;
  sorted.reserve(nodes_.size());
  for (const auto& node : nodes_) sorted.push_back(&node);
  std::ranges::sort(sorted, {}, [](const auto* node) -> const std::string& { return node->first; });
  return sorted;
}

void CategoryTree::for_each(const std::function<void(const ItemCategory&)>& take) const {
  for (const auto* node : sorted()) take({node->first, node->second.parent, node->second.name, {}});
}

void CategoryTree::finish() {
  if (link_rows_) link_rows_->finish();
  if (nodes_.empty()) return;
  WrittenFile file(tree_file_);
  file.write("id,parent,name\n");
  for (const auto* node : sorted()) file.write(row({node->first, node->second.parent, node->second.name}));
  file.finish();
}

}  // namespace mercato::exchange
