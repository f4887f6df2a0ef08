// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/node_printer.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>

#include "values/text.h"

namespace mercato::xml {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

class Printer {
 public:
  explicit Printer(const Sink& sink) : sink_(sink) {}

  // A loop and no recursion: a deep document must not use up the stack.
  void print(pugi::xml_node top) {
    pugi::xml_node node = top;
    for (;;) {
      begin(node);
      if (node.first_child()) {
        node = node.first_child();
        ++depth_;
        continue;
      }
      while (node != top && !node.next_sibling()) {
        node = node.parent();
        --depth_;
        end(node);
      }
      if (node == top) break;
      node = node.next_sibling();
    }
    flush();
  }

 private:
  bool within_line() const { return depth_ >= line_depth_; }

  void begin(pugi::xml_node node) {
    if (!within_line()) out_.append(2 * depth_, ' ');
    switch (node.type()) {
      case pugi::node_element:
        start_tag(node);
        break;
      case pugi::node_pcdata:
        text(node.value());
        break;
      case pugi::node_cdata:
        put({"<![CDATA[", node.value(), "]]>"});
        break;
      case pugi::node_comment:
        put({"<!--", node.value(), "-->"});
        break;
      case pugi::node_pi:
        put({"<?", node.name(), *node.value() == '\0' ? "" : " ", node.value(), "?>"});
        break;
      case pugi::node_declaration:
        put({"<?", node.name()});
        attributes(node);
        put({"?>"});
        break;
      default:  // the DOCTYPE; its internal subset is blanks by now
        put({"<!DOCTYPE ", text::trim(node.value()), ">"});
        break;
    }
    if (node.type() != pugi::node_element || !node.first_child()) end_line();
  }

  void start_tag(pugi::xml_node element) {
    put({"<", element.name()});
    attributes(element);
    if (!element.first_child()) {
      put({"/>"});
      return;
    }
    put({">"});
    const auto children = element.children();
    if (!within_line() && std::any_of(children.begin(), children.end(), is_text)) line_depth_ = depth_ + 1;
    if (depth_ + 1 < line_depth_) put({"\n"});
  }

  void end(pugi::xml_node element) {
    if (depth_ + 1 < line_depth_) out_.append(2 * depth_, ' ');
    if (depth_ + 1 == line_depth_) line_depth_ = kNever;
    put({"</", element.name(), ">"});
    end_line();
  }

  void end_line() {
    if (!within_line()) put({"\n"});
  }

  void attributes(pugi::xml_node node) {
    for (const auto attribute : node.attributes()) {
      put({" ", attribute.name(), "=\""});
      escape(attribute.value(), "&<\"\t\n\r");
      put({"\""});
    }
  }

  void text(std::string_view value) {
    // A reader takes white space alone for indentation, unless it begins with a reference.
    if (value.find_first_not_of(kWhiteSpace) == std::string_view::npos && !value.empty()) {
      out_ += "&#" + std::to_string(static_cast<int>(value.front())) + ";";
      value.remove_prefix(1);
    }
    escape(value, "&<>\r");
  }

  // `special` are the characters that cannot stand as they are.
  void escape(std::string_view value, std::string_view special) {
    std::size_t plain = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
      // Almost every character is a blank or above all special ones. Only the others are searched for.
      if (value[i] > '>' || value[i] == ' ' || special.find(value[i]) == std::string_view::npos) continue;
      put({value.substr(plain, i - plain), "&"});
      plain = i + 1;
      switch (value[i]) {
        case '&':
          put({"amp;"});
          break;
        case '<':
          put({"lt;"});
          break;
        case '>':
          put({"gt;"});
          break;
        case '"':
          put({"quot;"});
          break;
        default:
          put({"#", std::to_string(static_cast<int>(value[i])), ";"});
          break;
      }
    }
    put({value.substr(plain)});
  }

  void put(std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces) out_ += piece;
    if (out_.size() >= kBlock) flush();
  }

  void flush() {
    sink_(out_);
    out_.clear();
  }

  static constexpr std::size_t kBlock = std::size_t{64} * 1024;
  static constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

  const Sink& sink_;
  std::string out_;
  std::size_t depth_ = 0;
  std::size_t line_depth_ = kNever;  // from this depth on all stands on one line
};

}  // namespace

void print(pugi::xml_node top, const Sink& sink) { Printer(sink).print(top); }

}  // namespace mercato::xml
