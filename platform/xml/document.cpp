// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/document.h"

#include <algorithm>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/files/fetch.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/xml/document_tree.h"
#include "platform/xml/encoding.h"
#include "platform/xml/entities.h"
#include "platform/xml/well_formed.h"

namespace mercato::xml {
namespace {

pugi::xml_node required(const Node& node) {
  if (node.is_null()) raise(error_number::kObjectNotSet);
  return Tree::raw_node(node);
}

NodeType type_of(pugi::xml_node node) {
  switch (node.type()) {
    case pugi::node_document:
      return NodeType::kDocument;
    case pugi::node_pcdata:
      return NodeType::kText;
    case pugi::node_cdata:
      return NodeType::kCData;
    case pugi::node_comment:
      return NodeType::kComment;
    case pugi::node_pi:
    case pugi::node_declaration:
      return NodeType::kProcessingInstruction;
    case pugi::node_doctype:
      return NodeType::kDocumentType;
    default:
      return NodeType::kElement;
  }
}

}  // namespace

NodeType Node::type() const {
  const auto node = required(*this);
  return attribute_ != nullptr ? NodeType::kAttribute : type_of(node);
}

std::string_view Node::name() const {
  const auto node = required(*this);
  return attribute_ != nullptr ? Tree::raw_attribute(*this).name() : node.name();
}

std::optional<std::string> Node::attribute(std::string_view name) const {
  const auto node = required(*this);
  if (attribute_ != nullptr || node.type() != pugi::node_element) return std::nullopt;
  for (const auto candidate : node.attributes()) {
    if (name == candidate.name()) return candidate.value();
  }
  return std::nullopt;
}

std::string Node::typed_value() const {
  const auto node = required(*this);
  if (attribute_ != nullptr) return Tree::raw_attribute(*this).value();
  if (node.type() != pugi::node_element && node.type() != pugi::node_document) return node.value();
  std::string text;
  for (auto below = node; below; below = Tree::of(*this).following(below, node)) {
    if (is_text(below)) text += below.value();
  }
  return text;
}

bool Node::has_children() const {
  const auto child = required(*this).first_child();
  return attribute_ == nullptr && child && !Tree::of(*this).is_bin(child);
}

NodeList Node::children() const {
  const auto node = required(*this);
  Tree::Entries entries;
  if (attribute_ == nullptr) {
    for (const auto child : node.children()) {
      if (!Tree::of(*this).is_bin(child)) entries.push_back(Tree::entry(child));
    }
  }
  return Tree::of(*this).list(std::move(entries));
}

Node Node::parent() const {
  const auto node = required(*this);
  Tree& tree = Tree::of(*this);
  if (attribute_ != nullptr) return tree.node(node);
  return tree.is_bin(node.parent()) ? Node() : tree.node(node.parent());
}

std::size_t Node::line() const { return Tree::of(*this).line_of(required(*this)); }

NodeList Node::elements_by_tag_name(std::string_view name) const {
  const auto node = required(*this);
  Tree& tree = Tree::of(*this);
  Tree::Entries entries;
  if (attribute_ == nullptr) {
    for (auto below = tree.following(node, node); below; below = tree.following(below, node)) {
      if (below.type() == pugi::node_element && name == below.name()) entries.push_back(Tree::entry(below));
    }
  }
  return tree.list(std::move(entries));
}

std::string Node::save_text() const {
  const auto node = required(*this);
  if (attribute_ != nullptr || node.type() != pugi::node_element)
    raise(error_number::kInvalidArgument, {}, "Only an element can stand alone as a document");
  std::string text;
  print(node, [&text](std::string_view piece) { text += piece; });
  return text;
}

void Node::remove() const {
  const auto node = required(*this);
  if (attribute_ != nullptr || node.type() == pugi::node_document) {
    raise(error_number::kInvalidArgument, {}, "Only a child node can be removed from a document");
  }
  if (parent().is_null()) raise(error_number::kObjectNotSet);
  Tree::of(*this).remove(node);
}

Node NodeList::item(std::size_t index) const {
  if (index >= size()) return {};
  const Entry& entry = (*entries_)[index];
  return {tree_, entry.node, entry.attribute};
}

Document::Document(const Limits& limits) : limits_(limits), tree_(std::make_shared<Tree>()) {}
Document::~Document() = default;

// A document that was moved from is an empty one.
Document::Document(Document&& other) : Document(other.limits_) {
  std::swap(error_, other.error_);
  std::swap(tree_, other.tree_);
}

Document& Document::operator=(Document&& other) noexcept {
  std::swap(limits_, other.limits_);
  std::swap(error_, other.error_);
  std::swap(tree_, other.tree_);
  return *this;
}

bool Document::load_text(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (text.starts_with(kMark)) text.remove_prefix(kMark.size());
  if (text.size() > limits_.max_bytes) {
    tree_ = std::make_shared<Tree>();
    error_ = "The text has more than " + std::to_string(limits_.max_bytes) + " bytes.";
    return false;
  }
  return take(std::string(text), "The text", false);
}

bool Document::load(std::string_view file_or_url) {
  tree_ = std::make_shared<Tree>();  // first, so that the old document and the new one are never in memory together
  const std::string what = "\"" + std::string(file_or_url) + "\"";
  if (is_url(file_or_url)) {
    files::FetchLimits fetch_limits;
    fetch_limits.max_bytes = limits_.max_bytes;
    fetch_limits.timeout_seconds = limits_.fetch_seconds;
    auto fetched = files::fetch(std::string(file_or_url), fetch_limits);
    if (fetched.ok) return take(std::move(fetched.body), "The document of the URL", true);
    error_ = std::move(fetched.error);
    return false;
  }
  std::string bytes;
  try {
    bytes = files::read_file(files::host_path(file_or_url), limits_.max_bytes);
  } catch (const Raised& failure) {
    error_ = failure.error().Description + ".";
    return false;
  }
  return take(std::move(bytes), "The document " + what, true);
}

bool Document::is_url(std::string_view file_or_url) {
  const auto scheme = file_or_url.substr(0, file_or_url.find("://"));
  return scheme.size() > 1 && scheme.size() < file_or_url.size() &&
         scheme.find_first_of("/\\") == std::string_view::npos;
}

bool Document::take(std::string bytes, std::string_view what, bool decode) {
  tree_ = std::make_shared<Tree>();
  error_ = decode ? to_utf8(bytes, limits_.max_bytes) : std::string();
  if (error_.empty()) {
    const Judgement judgement = judge(bytes, limits_.max_depth);
    error_ = judgement.fault;
    const auto subset = bytes.begin() + static_cast<std::ptrdiff_t>(judgement.subset_begin);
    std::fill_n(subset, judgement.subset_end - judgement.subset_begin, ' ');
    if (error_.empty() && !judgement.references.empty()) {
      error_ = expand_entities(bytes, judgement, limits_.max_depth);
      if (error_.empty() && bytes.size() > limits_.max_bytes)
        error_ = "it has more than " + std::to_string(limits_.max_bytes) + " bytes";
      if (error_.empty()) error_ = judge(bytes, limits_.max_depth).fault;
    }
  }
  if (error_.empty()) {
    auto tree = std::make_shared<Tree>();
    error_ = tree->parse(std::move(bytes), limits_.keeps_lines);
    if (error_.empty()) tree_ = std::move(tree);
  }
  if (!error_.empty()) error_ = std::string(what) + " cannot be loaded: " + error_ + ".";
  return error_.empty();
}

Node Document::document_element() const { return tree_->node(tree_->document_element()); }

NodeList Document::elements_by_tag_name(std::string_view name) const { return tree_->elements(name); }

NodeList Document::select(std::string_view xpath) const { return tree_->select(xpath); }

Node Document::select_first(std::string_view xpath) const { return tree_->select_first(xpath); }

void Document::save(const std::string& path) const {
  files::AtomicFile file(path);
  tree_->print([&file](std::string_view piece) { file.write(piece); });
  file.commit();
}

std::string Document::save_text() const {
  std::string text;
  tree_->print([&text](std::string_view piece) { text += piece; });
  return text;
}

}  // namespace mercato::xml
