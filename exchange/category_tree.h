// SPDX-License-Identifier: Apache-2.0
// The groups of a supplier's file as the tree that `mercato catalog load` reads, and which products are in them. It
// keeps the groups in memory, and the products in a file. One thread.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "exchange/item.h"
#include "exchange/item_documents.h"

namespace mercato::exchange {

class CategoryTree {
 public:
  // Both files are written as comma-separated text, and only when there is something to write.
  CategoryTree(std::string tree_file, std::string links_file)
      : tree_file_(std::move(tree_file)), links_file_(std::move(links_file)) {}

  void add(const ItemCategory& category);
  // `category`: the id of a group, or a whole path "Tools > Drills", whose groups are added.
  void link(std::string_view number, std::string_view category);
  void finish();
  // In the order of their ids.
  void for_each(const std::function<void(const ItemCategory&)>& take) const;

  std::size_t categories() const { return nodes_.size(); }
  std::size_t links() const { return links_; }

 private:
  struct Node {
    std::string parent, name;
  };
  void add_path(std::string_view path);
  std::vector<const std::pair<const std::string, Node>*> sorted() const;

  const std::string tree_file_;
  const std::string links_file_;
  std::unordered_map<std::string, Node> nodes_;
  std::unique_ptr<WrittenFile> link_rows_;
  std::size_t links_ = 0;
};

}  // namespace mercato::exchange
