// SPDX-License-Identifier: Apache-2.0
#include "frame/sentence.h"

#include <algorithm>

#include "frame/schema_versions.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::string_view kBegin = "\r\n DESC: ";
constexpr std::string_view kEnd = ".\r\n";

constexpr std::string_view kStoreSource = " store";  // ends the source of every failure that a driver reports
constexpr std::string_view kKeyIsTaken = "There is already a row with this key";
constexpr std::string_view kIsNull = " may not be Null";

// "(UNIQUE constraint failed: UNIT.UNITCODE)" keeps the column that the text does not name yet. Of other words in
// brackets those are cut that say once more what the library says.
void cut_words_of_constraint(std::string& text) {
  const std::size_t begin = text.find(" (");
  const std::size_t end = text.rfind(')');
  if (begin == std::string::npos || end == std::string::npos) return;
  constexpr std::string_view kFailed = " constraint failed: ";
  const std::size_t failed = text.find(kFailed, begin);
  if (failed == std::string::npos) {
    const std::string_view before = std::string_view(text).substr(0, begin);
    if (before.ends_with(kKeyIsTaken) || before.ends_with(kIsNull)) text.erase(begin, end + 1 - begin);
    return;
  }
  const std::string object = text.substr(failed + kFailed.size(), end - failed - kFailed.size());
  const bool is_told = object.starts_with("index ") || text.substr(0, begin).find(object) != std::string::npos;
  text.replace(begin, end + 1 - begin, is_told ? std::string() : " (" + object + ")");
}

// Behind these, the engine's words say what has happened.
constexpr std::string_view kUntold[] = {" reported a failure", "See what it says", "Give it the right to",
                                        "and at SSL Mode"};

// Where the brackets begin that end at that place.
std::size_t begin_of_brackets(std::string_view text, std::size_t end) {
  int open = 0;
  for (std::size_t at = end + 1; at-- > 0;) {
    if (text[at] == ')') ++open;
    if (text[at] == '(' && --open == 0) return at;
  }
  return std::string_view::npos;
}

// In "The store 'x' is read-only. ... (attempt to write a readonly database)" the words in brackets are the engine's.
// They are cut; only a reason that the system gave stays.
void cut_words_of_store(std::string& text) {
  const std::size_t end = text.rfind(").");
  if (end == std::string::npos) return;
  std::size_t begin = begin_of_brackets(text, end);
  if (begin == std::string::npos || begin == 0) return;
  --begin;  // the blank before them
  const std::string_view before = std::string_view(text).substr(0, begin);
  const std::string_view inside = std::string_view(text).substr(begin + 2, end - begin - 2);
  if (inside.starts_with("store version ")) return;  // the library's own words
  if (std::ranges::any_of(kUntold, [&](std::string_view words) { return before.ends_with(words); })) return;
  constexpr std::string_view kHeld = ", and did not let go of it in ";
  if (const std::size_t held = text.find(kHeld); held != std::string::npos && held < begin) {
    text.replace(held, end + 1 - held, ". Wait until it is done, then repeat the command");
    return;
  }
  const std::size_t colon = inside.rfind(": ");
  const bool has_reason = colon != std::string::npos && before.ends_with(" cannot be read or written");
  text.replace(begin, end + 1 - begin, has_reason ? " (" + std::string(inside.substr(colon + 2)) + ")" : "");
}

constexpr std::string_view kNoTable = "Invalid object name '";
constexpr std::string_view kNoColumn = "Invalid column name '";

// What to say of a failure about a statement of the library's. A script's own statements are told with their place.
std::string about_statement(std::string text) {
  const auto begins = [&](std::string_view words) { return text.starts_with(words); };
  if (begins("Unclosed quotation mark") || begins("Incorrect syntax near") || begins("Missing end comment mark") ||
      begins("More than one statement"))
    return "The library could not make a statement of these values: most often one of them has a quote ('), or one "
           "that belongs to another is missing.";
  if (begins(kNoTable)) {
    const std::size_t end = text.find('\'', kNoTable.size());
    return "The store has no table " + text.substr(kNoTable.size(), end - kNoTable.size()) +
           ": `mercato init` creates the tables that are missing.";
  }
  return text;
}

}  // namespace

std::string innermost_description(std::string_view description) {
  const std::size_t begin = description.rfind(kBegin);
  if (begin == std::string_view::npos) return std::string(description);
  std::string_view innermost = description.substr(begin + kBegin.size());
  // The description ends before the information of its own level, or else at the first end of a sentence.
  const std::size_t info = innermost.find(".\r\n INFO: ");
  const std::size_t end = info != std::string_view::npos ? info : innermost.find(kEnd);
  return std::string(innermost.substr(0, end));
}

RaisedError told_as(RaisedError error, const std::string& words) {
  error.Description += std::string(kBegin) + words + std::string(kEnd);
  return error;
}

bool says_key_is_taken(const RaisedError& error) {
  return error.Number == error_number::kConstraintViolated && own_sentence(error).starts_with(kKeyIsTaken);
}

bool says_store_failed(const RaisedError& error) {
  return error.Number == error_number::kStoreFailure && error.Source.ends_with(kStoreSource);
}

bool misses_a_definition(const RaisedError& error) {
  if (error.Number != error_number::kStatementRefused) return false;
  const std::string text = own_sentence(error);
  return text.starts_with(kNoTable) || text.starts_with(kNoColumn);
}

std::string own_sentence(const RaisedError& error) {
  std::string text(text::trim(innermost_description(error.Description)));
  // Some raises carry their sentence in the source.
  const bool says_nothing = text.empty() || text == error_number::default_description(error.Number);
  if (says_nothing && (text.empty() || error.Source.find(' ') != std::string::npos)) text = error.Source;
  if (!text.empty() && text.back() != '.') text += '.';
  return text;
}

std::string sentence(const RaisedError& error, std::optional<std::int32_t> schema_version) {
  if (schema_version) {
    // In older tables it is a column that is not there yet. A table that is not there has a sentence of its own.
    const bool is_newer = *schema_version > mercato::schema_version();
    if (is_newer || own_sentence(error).starts_with(kNoColumn))
      if (const auto fault = fault_of_schema_version(*schema_version)) return *fault + ".";
  }
  std::string text = own_sentence(error);
  if (error.Number == error_number::kStatementRefused) return about_statement(std::move(text));
  if (error.Number == error_number::kConstraintViolated)
    cut_words_of_constraint(text);
  else if (error.Source.ends_with(kStoreSource))
    cut_words_of_store(text);
  return text;
}

}  // namespace mercato
