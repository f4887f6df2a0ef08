// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/document_tree.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "mercato/raised_error.h"

namespace mercato::xml {
namespace {

[[noreturn]] void refuse_expression(std::string_view xpath, std::string_view reason) {
  raise(error_number::kStoreFailure, {},
        "The expression \"" + std::string(xpath) + "\" cannot be evaluated: " + std::string(reason));
}

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_name_char(char c) { return is_letter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Takes a name without prefix, of ASCII characters, from the front; empty when there is none.
std::string_view take_name(std::string_view& rest) {
  if (rest.empty() || !is_letter(rest.front())) return {};
  const auto length = static_cast<std::size_t>(std::find_if_not(rest.begin(), rest.end(), is_name_char) - rest.begin());
  const std::string_view name = rest.substr(0, length);
  rest.remove_prefix(length);
  return name;
}

bool take(std::string_view& rest, std::string_view token) {
  if (!rest.starts_with(token)) return false;
  rest.remove_prefix(token.size());
  return true;
}

}  // namespace

std::string Tree::parse(std::string text, bool keeps_lines) {
  buffer_ = std::move(text);
  keeps_lines_ = keeps_lines;
  if (keeps_lines)
    for (std::size_t end = buffer_.find('\n'); end != std::string::npos; end = buffer_.find('\n', end + 1))
      line_ends_.push_back(end);
  const auto result =
      document_.load_buffer_inplace(buffer_.data(), buffer_.size(), pugi::parse_full, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) raise(error_number::kOutOfMemory);
  if (!result) return "Byte " + std::to_string(result.offset) + ": " + result.description();
  // What is saved is UTF-8, whatever was read.
  if (auto encoding = document_.first_child().attribute("encoding");
      encoding && document_.first_child().type() == pugi::node_declaration) {
    encoding.set_value("UTF-8");
  }
  return {};
}

std::size_t Tree::line_of(pugi::xml_node element) const {
  const std::ptrdiff_t place = element.offset_debug();
  if (!keeps_lines_ || place < 0) return 0;
  const auto line_end = std::ranges::lower_bound(line_ends_, static_cast<std::size_t>(place));
  return static_cast<std::size_t>(line_end - line_ends_.begin()) + 1;
}

pugi::xml_node Tree::following(pugi::xml_node node, pugi::xml_node top) const {
  pugi::xml_node next = node.first_child();
  while (!next || is_bin(next)) {
    if (node == top) return {};
    next = node.next_sibling();
    node = node.parent();
  }
  return next;
}

pugi::xml_node Tree::document_element() const {
  // The bin stands behind the root.
  const pugi::xml_node element = document_.document_element();
  return is_bin(element) ? pugi::xml_node() : element;
}

Node Tree::node(pugi::xml_node node, pugi::xml_attribute attribute) {
  if (!node) return {};
  const auto entry = Tree::entry(node, attribute);
  return {shared_from_this(), entry.node, entry.attribute};
}

NodeList Tree::list(Entries entries) {
  return {shared_from_this(), std::make_shared<const Entries>(std::move(entries))};
}

NodeList Tree::elements(std::string_view name) { return {shared_from_this(), all(name)}; }

NodeList Tree::select(std::string_view xpath) {
  const Lookup lookup = recognise(xpath);
  if (lookup.name.empty()) return list(evaluate(xpath));
  if (lookup.attribute.empty()) return elements(lookup.name);
  Entries found;
  walk_chain(lookup, [&](void* node) {
    found.push_back({node, nullptr});
    return true;
  });
  return list(std::move(found));
}

Node Tree::select_first(std::string_view xpath) {
  const Lookup lookup = recognise(xpath);
  if (lookup.attribute.empty()) return select(xpath).item(0);
  Node first;
  walk_chain(lookup, [&](void* node) {
    first = this->node(raw_node(node));
    return false;
  });
  return first;
}

Tree::Lookup Tree::recognise(std::string_view xpath) {
  Lookup lookup;
  std::string_view rest = xpath;
  if (!take(rest, "//")) return {};
  lookup.name = take_name(rest);
  if (lookup.name.empty() || rest.empty()) return rest.empty() ? lookup : Lookup{};
  if (!take(rest, "[@")) return {};
  lookup.attribute = take_name(rest);
  // Declarations of namespaces are no attributes to an expression.
  if (lookup.attribute.empty() || lookup.attribute == "xmlns" || !take(rest, " = '")) return {};
  // The first apostrophe ends the value, and only the bracket may follow it. A NUL would end the expression itself.
  lookup.value = rest.substr(0, rest.find_first_of(std::string_view("'\0", 2)));
  rest.remove_prefix(lookup.value.size());
  return rest == "']" ? lookup : Lookup{};
}

Tree::NameIndex& Tree::name_index(std::string_view name) {
  const auto known = names_.find(name);
  return known != names_.end() ? known->second : names_[std::string(name)];
}

const std::shared_ptr<const Tree::Entries>& Tree::all(std::string_view name) {
  NameIndex& index = name_index(name);
  if (index.all) return index.all;
  Entries found;
  for (pugi::xml_node node = document_; node; node = following(node, document_)) {
    if (node.type() == pugi::node_element && name == node.name()) found.push_back(entry(node));
  }
  found.shrink_to_fit();
  return index.all = std::make_shared<const Entries>(std::move(found));
}

Tree::KeyIndex& Tree::key_index(std::string_view name, std::string_view attribute) {
  NameIndex& names = name_index(name);
  const auto known = std::find_if(names.keys.begin(), names.keys.end(),
                                  [&](const KeyIndex& candidate) { return candidate.attribute == attribute; });
  if (known != names.keys.end()) return *known;

  KeyIndex index;
  index.attribute = attribute;
  const auto elements = all(name);
  index.records.reserve(elements->size());
  index.first.reserve(elements->size());
  // From the last element to the first: a chain grows at its front.
  for (auto element = elements->rbegin(); element != elements->rend(); ++element) {
    const auto key = raw_node(element->node).attribute(index.attribute.c_str());
    if (!key) continue;
    const auto position = static_cast<std::uint32_t>(index.records.size());
    const auto [place, is_new] = index.first.try_emplace(key.value(), position);
    index.records.push_back({element->node, is_new ? KeyIndex::kEnd : std::exchange(place->second, position)});
  }
  names.keys.push_back(std::move(index));
  return names.keys.back();
}

template <typename Visit>
void Tree::walk_chain(const Lookup& lookup, const Visit& visit) {
  const KeyIndex& index = key_index(lookup.name, lookup.attribute);
  const auto place = index.first.find(lookup.value);
  std::uint32_t at = place == index.first.end() ? KeyIndex::kEnd : place->second;
  while (at != KeyIndex::kEnd && visit(index.records[at].node)) at = index.records[at].next;
}

// Has to run before the subtree is moved.
void Tree::forget(pugi::xml_node subtree) {
  for (pugi::xml_node node = subtree; node; node = following(node, subtree)) {
    if (node.type() != pugi::node_element) continue;
    const auto known = names_.find(std::string_view(node.name()));
    if (known == names_.end()) continue;
    known->second.all.reset();
    for (KeyIndex& index : known->second.keys) {
      const auto key = node.attribute(index.attribute.c_str());
      const auto place = key ? index.first.find(key.value()) : index.first.end();
      if (place == index.first.end()) continue;
      std::uint32_t* link = &place->second;
      while (*link != KeyIndex::kEnd && index.records[*link].node != node.internal_object()) {
        link = &index.records[*link].next;
      }
      // It is not in its chain when it was removed before, together with an element above it.
      if (*link != KeyIndex::kEnd) *link = index.records[*link].next;
    }
  }
}

void Tree::remove(pugi::xml_node node) {
  if (!bin_) {
    bin_ = document_.append_child(pugi::node_element);
    if (!bin_) raise(error_number::kOutOfMemory);
    bin_.set_name("removed");
  }
  forget(node);
  copy_.reset();
  bin_.append_move(node);
}

Tree::Entries Tree::evaluate(std::string_view xpath) {
  if (xpath.find('\0') != std::string_view::npos)
    refuse_expression(xpath.substr(0, xpath.find('\0')), "It contains a NUL");
  try {
    const pugi::xpath_query query(std::string(xpath).c_str());
    const pugi::xml_document& document = bin_ ? copy_without_bin() : document_;
    const pugi::xml_node element = document.document_element();
    pugi::xpath_node_set nodes = query.evaluate_node_set(element ? element : static_cast<pugi::xml_node>(document));
    nodes.sort();
    Entries found;
    found.reserve(nodes.size());
    for (const pugi::xpath_node& node : nodes) {
      found.push_back(node.attribute() ? entry(node.parent(), node.attribute()) : entry(node.node()));
    }
    if (bin_) map_back(found);
    return found;
  } catch (const pugi::xpath_exception& failure) {
    refuse_expression(xpath, failure.what());
  }
}

const pugi::xml_document& Tree::copy_without_bin() {
  if (!copy_) {
    auto copy = std::make_unique<pugi::xml_document>();
    for (const pugi::xml_node child : document_.children()) {
      if (!is_bin(child)) copy->append_copy(child);
    }
    copy_ = std::move(copy);
  }
  return *copy_;
}

// Replaces nodes of the copy by those that they were copied from.
void Tree::map_back(Entries& found) const {
  std::unordered_map<void*, pugi::xml_node> originals;
  for (const Entry& entry : found) originals.emplace(entry.node, pugi::xml_node());
  // Both trees have the same shape, so both walks come to the same node at the same time.
  pugi::xml_node original = document_;
  for (pugi::xml_node copied = *copy_; copied; copied = following(copied, *copy_)) {
    if (const auto wanted = originals.find(copied.internal_object()); wanted != originals.end())
      wanted->second = original;
    original = following(original, document_);
  }
  for (Entry& entry : found) {
    const pugi::xml_attribute copied(static_cast<pugi::xml_attribute_struct*>(entry.attribute));
    const pugi::xml_node node = originals[entry.node];
    entry = Tree::entry(node, copied ? node.attribute(copied.name()) : pugi::xml_attribute());
  }
}

void Tree::print(const Sink& sink) const {
  for (const pugi::xml_node child : document_.children()) {
    if (!is_bin(child)) xml::print(child, sink);
  }
}

}  // namespace mercato::xml
