// SPDX-License-Identifier: Apache-2.0
// Any bytes as a document: as a text and as a file's bytes, then read, searched, judged by a schema, thinned out and
// written. Whatever was
// loaded must keep the promises of platform/xml/document.h.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/files/files.h"
#include "platform/xml/document.h"
#include "platform/xml/schema.h"

namespace {

using mercato::xml::Document;
using mercato::xml::Limits;
using mercato::xml::Node;
using mercato::xml::NodeList;
using mercato::xml::NodeType;

constexpr std::size_t kDepth = 20;

void require(bool promise) {
  if (!promise) std::abort();
}

std::size_t depth(Node node) {
  std::size_t levels = 0;
  for (; node.type() == NodeType::kElement; node = node.parent()) ++levels;
  return levels;
}

bool same(const NodeList& left, const NodeList& right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (!(left.item(i) == right.item(i))) return false;
  }
  return true;
}

// Compares the quick way to records with the full evaluation.
void compare_selections(const Document& document, const std::string& name, const std::string& value) {
  require(same(document.select("//" + name), document.select("// " + name)));
  require(same(document.select("//" + name + "[@k = '" + value + "']"),
               document.select("//" + name + "[@k= '" + value + "']")));
}

// Elements P below R, with a number in the attribute k.
void judge(const Document& document) {
  static const mercato::xml::Schema& schema = []() -> mercato::xml::Schema& {
    static mercato::xml::Schema loaded;
    const std::string path =
        (std::filesystem::temp_directory_path() / ("document_fuzz-" + std::to_string(::getpid()) + ".xsd")).string();
    std::ofstream(path) << "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='R'><s:complexType>"
                           "<s:sequence><s:element name='P' minOccurs='0' maxOccurs='9'><s:complexType mixed='true'>"
                           "<s:attribute name='k' type='s:int'/></s:complexType></s:element></s:sequence>"
                           "</s:complexType></s:element></s:schema>";
    require(loaded.load(path));
    mercato::files::delete_file(path);
    return loaded;
  }();
  const std::string fault = schema.fault_of(document);
  if (fault.empty()) require(document.document_element().name() == "R");
  require(fault == schema.fault_of(document));
}

void exercise(const Document& document) {
  judge(document);
  const Node root = document.document_element();
  require(!root.is_null());
  const NodeList top = root.parent().children();
  std::size_t roots = 0;
  for (const Node node : top) roots += node.type() == NodeType::kElement;
  require(roots == 1);

  const NodeList elements = document.select("//*");
  for (const Node element : elements) {
    require(depth(element) <= kDepth);
    require(element.has_children() == !element.children().empty());
    require(element.typed_value().size() <= root.typed_value().size());
  }

  // What is written reads back as the same document, and is written the same again.
  const std::string text = document.save_text();
  Document again(Limits{.max_depth = kDepth});
  require(again.load_text(text));
  require(again.save_text() == text);
  require(again.document_element().typed_value() == root.typed_value());

  compare_selections(document, "P", "v");
  if (elements.size() > 1) elements.item(elements.size() / 2).remove();
  compare_selections(document, "P", "v");
  if (const Node first = document.select_first("//P[@k = 'v']"); !first.is_null()) first.remove();
  compare_selections(document, "P", "v");
  document.save_text();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Document text(Limits{.max_depth = kDepth});
  if (text.load_text(bytes)) exercise(text);

  // Files go through the encodings too. One file for each process that fuzzes.
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("document_fuzz-" + std::to_string(::getpid()))).string();
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") || bytes.starts_with("<?xml")) {
    std::ofstream(path, std::ios::binary) << bytes;  // AtomicFile would wait for the disk
    Document file(Limits{.max_depth = kDepth});
    if (file.load(path)) exercise(file);
    mercato::files::delete_file(path);
  }
  return 0;
}
