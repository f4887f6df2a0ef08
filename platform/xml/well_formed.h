// SPDX-License-Identifier: Apache-2.0
// Judges whether a text is well-formed XML, in one pass and without building anything. The parser that builds the tree
// trusts its input, which makes it fast, so the input is judged here first. Private to this folder. Any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::xml {

// What the entities of an internal subset stand for, by their names.
using EntityTexts = std::map<std::string, std::string, std::less<>>;

// A reference to one of them, "&" and ";" included.
struct Reference {
  std::size_t begin;
  std::size_t end;
  bool in_value;  // of an attribute
};

struct Judgement {
  // Empty when the text is well-formed, else a sentence such as
  // "Line 2, column 7: the end tag </b> does not match the start tag <a>".
  std::string fault;
  // Where the internal subset of the DOCTYPE stands, brackets included; both 0 without one.
  std::size_t subset_begin = 0;
  std::size_t subset_end = 0;
  EntityTexts entities;               // that the subset declares
  std::vector<Reference> references;  // to them, in their order
};

// Checks: UTF-8 and legal characters; names; one root and nothing but comments and instructions beside it; start
// and end tags that match; attributes quoted, separated, not repeated, without "<"; references only to the five
// predefined entities, to those of the internal subset and to legal characters; comments, CDATA, instructions and the
// DOCTYPE closed. Elements nested deeper than `max_depth` are a fault too. Not checked: what else stands in an internal
// subset, other than that it ends; what an entity stands for; namespaces. `known`: entities of the document around the
// text.
Judgement judge(const std::string& text, std::size_t max_depth, const EntityTexts* known = nullptr);

// A fault's sentence for that position.
std::string fault_at(std::string_view text, std::size_t position, const std::string& reason);

}  // namespace mercato::xml
