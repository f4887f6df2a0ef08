// SPDX-License-Identifier: Apache-2.0
// XML documents: load, find, read, remove, save.
// A Document and all nodes and lists that came from it belong to one thread at a time; different documents are
// independent. Nodes and lists share ownership of the tree they came from: they stay readable when the Document is gone
// or has loaded something else, and a removed node stays readable as long as anything holds it.
//
// What is read: well-formed XML 1.x in UTF-8, or from files and URLs also in UTF-16 and UTF-32 with a byte order mark
// and in any encoding that they declare and ICU knows. Nothing outside the document is ever loaded: no DTD, no external
// entity. A DOCTYPE is accepted. Of its internal subset only the internal entities are read; their texts replace the
// references to them, within bounds. A document that refers to any other entity is not loaded. Namespaces are not
// resolved: a name is what is written, prefix included. White space alone between tags is no node.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::xml {

class Tree;  // the parsed document behind the handles
class NodeList;

struct Limits {
  std::size_t max_bytes = std::size_t{1} << 30;  // of the document, before and after conversion to UTF-8
  std::size_t max_depth = 1000;                  // of elements in elements
  int fetch_seconds = 60;                        // for a URL, redirects included
  bool keeps_lines = false;                      // whether nodes tell their lines
};

// The numbers are the customary ones of document nodes.
enum class NodeType {
  kElement = 1,
  kAttribute = 2,
  kText = 3,
  kCData = 4,
  kProcessingInstruction = 7,  // also the declaration at the top of a document
  kComment = 8,
  kDocument = 9,
  kDocumentType = 10,
};

// One node, or none: a null node. Every call on a null node but is_null raises 91.
class Node {
 public:
  Node() = default;

  bool is_null() const { return node_ == nullptr; }
  NodeType type() const;
  // The name as written, prefix included; the target of a processing instruction; empty for nodes without a name.
  std::string_view name() const;
  // The value of the attribute of exactly this name; nothing when there is none or the node is not an element.
  std::optional<std::string> attribute(std::string_view name) const;
  // An element's text: all text and CDATA below it, joined in document order, not trimmed. The content of any other
  // node.
  std::string typed_value() const;

  bool has_children() const;
  // Elements, text, comments and so on, in document order; attributes are no children.
  NodeList children() const;
  // Null for a document, and for a node that was itself removed. The parent of an attribute is its element.
  Node parent() const;
  // The line of the document, from 1, on which the element begins; 0 when the document keeps no lines. Texts of internal
  // entities count with the lines that they have.
  std::size_t line() const;
  // All elements of exactly this name below this node, at any depth, in document order; the node itself is not among
  // them.
  NodeList elements_by_tag_name(std::string_view name) const;

  // The element and all below it as Document::save_text writes them: a document of its own. Raises 5 for anything but
  // an element.
  std::string save_text() const;

  // Takes the node and all below it out of the document. Lists made before keep it, later ones don't have it.
  // Raises 91 when the node has no parent (already removed), 5 for an attribute or a document.
  void remove() const;

  // Whether both denote the same node.
  bool operator==(const Node& other) const { return node_ == other.node_ && attribute_ == other.attribute_; }

 private:
  friend class NodeList;
  friend class Tree;
  Node(std::shared_ptr<Tree> tree, void* node, void* attribute = nullptr)
      : tree_(std::move(tree)), node_(node), attribute_(attribute) {}

  std::shared_ptr<Tree> tree_;
  void* node_ = nullptr;
  void* attribute_ = nullptr;  // set for an attribute node; node_ is its element then
};

// A snapshot of a selection: never changed by what happens to the document afterwards. Cheap to copy.
class NodeList {
 public:
  class Iterator;

  NodeList() = default;

  std::size_t size() const { return entries_ ? entries_->size() : 0; }
  bool empty() const { return size() == 0; }
  // Counted from 0. A null node when there is no such item.
  Node item(std::size_t index) const;

  Iterator begin() const;
  Iterator end() const;

 private:
  friend class Tree;
  struct Entry {
    void* node = nullptr;
    void* attribute = nullptr;
  };
  using Entries = std::vector<Entry>;
  NodeList(std::shared_ptr<Tree> tree, std::shared_ptr<const Entries> entries)
      : tree_(std::move(tree)), entries_(std::move(entries)) {}

  std::shared_ptr<Tree> tree_;
  std::shared_ptr<const Entries> entries_;
};

class NodeList::Iterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = Node;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = Node;

  Iterator(const NodeList* list, std::size_t index) : list_(list), index_(index) {}
  Node operator*() const { return list_->item(index_); }
  Iterator& operator++() {
    ++index_;
    return *this;
  }
  Iterator operator++(int) {
    Iterator before = *this;
    ++index_;
    return before;
  }
  bool operator==(const Iterator& other) const { return index_ == other.index_; }

 private:
  const NodeList* list_;
  std::size_t index_;
};

inline NodeList::Iterator NodeList::begin() const { return {this, 0}; }
inline NodeList::Iterator NodeList::end() const { return {this, size()}; }

class Document {
 public:
  Document() : Document(Limits{}) {}  // an empty document
  explicit Document(const Limits& limits);
  ~Document();
  Document(Document&&);
  Document& operator=(Document&&) noexcept;

  // Both replace the content and answer whether the document was loaded; when not, the document is empty and `error`
  // has the reason as one sentence. No input makes them raise. Text is UTF-8, whatever encoding its declaration names.
  bool load_text(std::string_view text);
  // A file path, in the interface's or the host's form, or a URL of the scheme http, https or file.
  bool load(std::string_view file_or_url);
  // Whether `load` takes the text for a URL: one with a scheme of more than one letter (a single one is a drive).
  static bool is_url(std::string_view file_or_url);
  // Empty after a successful load.
  const std::string& error() const { return error_; }

  Node document_element() const;  // null when the document is empty

  // All elements of exactly this name at any depth, in document order.
  NodeList elements_by_tag_name(std::string_view name) const;

  // XPath 1.0, from the document element. Raises 0x80004005 with the expression and the reason when it is malformed or
  // does not give nodes.
  // "//NAME[@ATTRIBUTE = 'VALUE']", spelled just so, costs constant time however large the document is, also after
  // removals; the first such call for a NAME and ATTRIBUTE walks the document once. VALUE stands in the expression as
  // it is, so an apostrophe in it makes the expression malformed. "//NAME" is answered from the latest walk when
  // nothing of that name was removed since. All other expressions are evaluated in full; the first one
  // after a removal costs a copy of what is left of the document.
  NodeList select(std::string_view xpath) const;
  // The first of the selection in document order, a null node when it is empty. Failures as select.
  Node select_first(std::string_view xpath) const;

  // Writes what is left of the document as UTF-8, one element to a line. The file is written beside and renamed.
  // Raises 76 when the folder is missing, 70 without permission, else 75, each with the path.
  void save(const std::string& path) const;
  std::string save_text() const;

 private:
  bool take(std::string bytes, std::string_view what, bool decode);

  Limits limits_;
  std::string error_;
  std::shared_ptr<Tree> tree_;
};

}  // namespace mercato::xml
