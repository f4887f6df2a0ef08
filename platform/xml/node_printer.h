// SPDX-License-Identifier: Apache-2.0
// Writes a subtree as text that is read back as the same subtree. Private to this folder.
// The parser's own output does not do that: it turns carriage returns that were references into line ends, and loses
// text that is white space alone.
#pragma once

#include <functional>
#include <pugixml.hpp>
#include <string_view>

namespace mercato::xml {

// Takes the text piece by piece, in order. May throw.
using Sink = std::function<void(std::string_view)>;

// Whether the node is text, in either of its two spellings.
inline bool is_text(pugi::xml_node node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }

// One node to a line, indented by two blanks for each level; within an element that has text all stays on its line.
void print(pugi::xml_node top, const Sink& sink);

}  // namespace mercato::xml
