// Judges whether a text is well-formed XML, in one pass and without building anything. The parser behind the tree is
// fast because it trusts its input; this is what it trusts. Private to this folder. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mercato::xml {

struct Judgement {
  // Empty when the text is well-formed, else a sentence such as
  // "Line 2, column 7: the end tag </b> does not match the start tag <a>".
  std::string fault;
  // Where the internal subset of the DOCTYPE stands, brackets included; both 0 without one.
  std::size_t subset_begin = 0;
  std::size_t subset_end = 0;
};

// Checks: UTF-8 and legal characters; names; one root and nothing but comments and instructions beside it; start
// and end tags that match; attributes quoted, separated, not repeated, without "<"; references only to the five
// predefined entities and to legal characters; comments, CDATA, instructions and the DOCTYPE closed. Elements
// nested deeper than `max_depth` are a fault too. Not checked: what stands in an internal subset, other than that it
// ends; namespaces.
Judgement judge(const std::string& text, std::size_t max_depth);

}  // namespace mercato::xml
