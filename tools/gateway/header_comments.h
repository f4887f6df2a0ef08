// SPDX-License-Identifier: Apache-2.0
// What the public headers say of the classes and their methods, for clients that see no header. Read from the texts of
// the headers, which the build puts into the program. Pure functions; any thread.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::gateway {

// The texts of the headers that declare classes.
std::span<const std::string_view> header_texts();

struct MethodComment {
  std::string text;                                           // paragraphs and points stand on lines of their own
  std::map<std::string, std::string, std::less<>> arguments;  // those with words of their own
};
struct ClassComment {
  std::string text;
  std::map<std::string, MethodComment, std::less<>> methods;  // by name in lower case
};
// By the class's name, such as "Product".
using ClassComments = std::map<std::string, ClassComment, std::less<>>;

ClassComments read_comments(std::span<const std::string_view> headers);
// Those of the library.
const ClassComments& class_comments();

// Sentences that say what is raised or refused.
std::vector<std::string> failures_in(std::string_view text);
// What an argument is: its own words, else the sentences that name it, else its name in words: "product ID" for
// "i_lProductID".
std::string description_of_argument(const MethodComment& method, std::string_view name);

}  // namespace mercato::gateway
