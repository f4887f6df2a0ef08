// SPDX-License-Identifier: Apache-2.0
// The parsed document behind Document, Node and NodeList. Private to this folder. One thread at a time.
//
// A removed subtree is moved below an element of our own, the bin, so that nodes and lists which hold it stay readable.
// The bin is the last child of the parser's document node; every walk from there passes it over.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/xml/document.h"
#include "platform/xml/node_printer.h"

namespace mercato::xml {

class Tree : public std::enable_shared_from_this<Tree> {
 public:
  using Entry = NodeList::Entry;
  using Entries = NodeList::Entries;

  // Parses well-formed UTF-8 (see well_formed.h) within the buffer, which it keeps. Returns why it could not.
  std::string parse(std::string text, bool keeps_lines);
  // From 1; 0 when no lines are kept.
  std::size_t line_of(pugi::xml_node element) const;

  pugi::xml_node document_element() const;
  bool is_bin(pugi::xml_node node) const { return bin_ && node == bin_; }
  // The next node in document order among `top` and the nodes below it, without the bin; null behind the last.
  pugi::xml_node following(pugi::xml_node node, pugi::xml_node top) const;

  NodeList select(std::string_view xpath);
  Node select_first(std::string_view xpath);
  NodeList elements(std::string_view name);
  void remove(pugi::xml_node node);
  void print(const Sink& sink) const;

  Node node(pugi::xml_node node, pugi::xml_attribute attribute = {});
  NodeList list(Entries entries);

  static Entry entry(pugi::xml_node node, pugi::xml_attribute attribute = {}) {
    return {node.internal_object(), attribute.internal_object()};
  }
  static pugi::xml_node raw_node(const Node& node) { return raw_node(node.node_); }
  static pugi::xml_node raw_node(void* node) { return pugi::xml_node(static_cast<pugi::xml_node_struct*>(node)); }
  static pugi::xml_attribute raw_attribute(const Node& node) {
    return pugi::xml_attribute(static_cast<pugi::xml_attribute_struct*>(node.attribute_));
  }
  static Tree& of(const Node& node) { return *node.tree_; }

 private:
  // Elements of one name by the value of one attribute. The elements of one value form a chain in document order.
  struct KeyIndex {
    static constexpr std::uint32_t kEnd = UINT32_MAX;
    struct Record {
      void* node;
      std::uint32_t next;
    };
    std::string attribute;
    std::vector<Record> records;
    std::unordered_map<std::string_view, std::uint32_t> first;  // the values live in the buffer
  };
  // What is known of the elements of one name.
  struct NameIndex {
    std::shared_ptr<const Entries> all;  // null once one was removed
    std::vector<KeyIndex> keys;
  };
  // "//NAME" or "//NAME[@ATTRIBUTE = 'VALUE']"; the name is empty when the expression is anything else.
  struct Lookup {
    std::string_view name;
    std::string_view attribute;
    std::string_view value;
  };

  static Lookup recognise(std::string_view xpath);
  NameIndex& name_index(std::string_view name);
  const std::shared_ptr<const Entries>& all(std::string_view name);
  KeyIndex& key_index(std::string_view name, std::string_view attribute);
  // Calls `visit` with the elements of the chain in document order until it answers false.
  template <typename Visit>
  void walk_chain(const Lookup& lookup, const Visit& visit);
  void forget(pugi::xml_node subtree);

  Entries evaluate(std::string_view xpath);
  const pugi::xml_document& copy_without_bin();
  void map_back(Entries& found) const;

  std::string buffer_;
  std::vector<std::size_t> line_ends_;  // where they were: parsing changes the buffer
  bool keeps_lines_ = false;
  pugi::xml_document document_;
  pugi::xml_node bin_;
  std::map<std::string, NameIndex, std::less<>> names_;  // only names that were asked for
  std::unique_ptr<pugi::xml_document> copy_;  // for expressions, once there is a bin; dropped at the next removal
};

}  // namespace mercato::xml
