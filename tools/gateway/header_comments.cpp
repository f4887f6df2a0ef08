// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/header_comments.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

#include "values/text.h"

namespace mercato::gateway {
namespace {

bool is_letter(char character) { return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_'; }
bool is_capital(char character) { return std::isupper(static_cast<unsigned char>(character)) != 0; }
bool is_small(char character) { return std::islower(static_cast<unsigned char>(character)) != 0; }

// The identifier that ends where the text does.
std::string_view last_word(std::string_view text) {
  text = text::trim(text);
  std::size_t begin = text.size();
  while (begin > 0 && is_letter(text[begin - 1])) --begin;
  return text.substr(begin);
}

// Goes through a header line by line: a comment is about the declaration behind it.
class Reader {
 public:
  explicit Reader(ClassComments& comments) : comments_(comments) {}

  void read(std::string_view header) {
    while (!header.empty()) {
      const std::size_t end = std::min(header.find('\n'), header.size());
      read_line(text::trim(header.substr(0, end)));
      header.remove_prefix(std::min(end + 1, header.size()));
    }
  }

 private:
  void read_line(std::string_view line) {
    constexpr std::string_view kMark = "///";
    if (line.starts_with(kMark)) return read_comment(line.substr(kMark.size()));
    if (line.starts_with("template") || line.starts_with("//")) return;
    constexpr std::string_view kClass = "class MERCATO_API ";
    if (line.starts_with(kClass)) {
      line.remove_prefix(kClass.size());
      class_ = &comments_[std::string(line.substr(0, line.find_first_of(" :")))];
      class_->text = said_.text;
    } else if (const std::size_t bracket = line.find('('); bracket != std::string_view::npos && class_) {
      // Of several with one name the first one is described.
      class_->methods.try_emplace(text::to_lower(last_word(line.substr(0, bracket))), said_);
    }
    said_ = {};
    argument_.clear();
  }

  void read_comment(std::string_view line) {
    const std::string_view words = text::trim(line);
    constexpr std::string_view kArgument = "@param ";
    if (words.starts_with(kArgument)) {
      const std::string_view rest = text::trim(words.substr(kArgument.size()));
      const std::size_t end = std::min(rest.find(' '), rest.size());
      argument_ = rest.substr(0, end);
      said_.arguments[argument_] = text::trim(rest.substr(end));
      return;
    }
    if (words.empty()) argument_.clear();
    std::string& text = argument_.empty() ? said_.text : said_.arguments[argument_];
    const bool begins_anew = words.starts_with("- ") || ended_;
    if (!words.empty() && !text.empty()) text += begins_anew ? "\n" : " ";
    text += words;
    ended_ = words.empty();
  }

  ClassComments& comments_;
  ClassComment* class_ = nullptr;
  MethodComment said_;    // in front of the next declaration
  std::string argument_;  // whose words go on
  bool ended_ = false;    // the paragraph
};

std::vector<std::string> sentences_of(std::string_view text) {
  std::vector<std::string> sentences;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool is_end =
        text[at] == '\n' || at + 1 == text.size() || (text[at] == '.' && (text[at + 1] == ' ' || text[at + 1] == '\n'));
    if (!is_end) continue;
    std::string_view sentence = text::trim(text.substr(begin, at + 1 - begin));
    if (sentence.starts_with("- ")) sentence.remove_prefix(2);
    if (!sentence.empty()) sentences.emplace_back(sentence);
    begin = at + 1;
  }
  return sentences;
}

bool has_word(std::string_view text, std::string_view word) {
  for (std::size_t at = 0; (at = text.find(word, at)) != std::string_view::npos; at += word.size()) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !is_letter(text[at - 1])) && (end == text.size() || !is_letter(text[end]))) return true;
  }
  return false;
}

// "i_lMaxNumberOfRows" without the letters in front that say how it is passed and of what type it is.
std::string_view without_prefix(std::string_view name) {
  if (const std::size_t line = name.find('_'); line != std::string_view::npos && line < 3) name.remove_prefix(line + 1);
  const auto capital = std::ranges::find_if(name, is_capital);
  const auto letters = static_cast<std::size_t>(capital - name.begin());
  return capital != name.end() && letters <= 4 ? name.substr(letters) : name;
}

std::string in_words(std::string_view name) {
  std::string words;
  for (std::size_t at = 0; at < name.size(); ++at) {
    const bool begins =
        is_capital(name[at]) && at > 0 && (is_small(name[at - 1]) || (at + 1 < name.size() && is_small(name[at + 1])));
    const bool stays = is_capital(name[at]) &&
                       ((at + 1 < name.size() && is_capital(name[at + 1])) || (at > 0 && is_capital(name[at - 1])));
    if (begins) words += ' ';
    words += stays ? name[at] : static_cast<char>(std::tolower(static_cast<unsigned char>(name[at])));
  }
  return words;
}

}  // namespace

ClassComments read_comments(std::span<const std::string_view> headers) {
  ClassComments comments;
  for (const std::string_view header : headers) Reader(comments).read(header);
  return comments;
}

const ClassComments& class_comments() {
  static const ClassComments comments = read_comments(header_texts());
  return comments;
}

std::vector<std::string> failures_in(std::string_view text) {
  std::vector<std::string> failures;
  for (std::string& sentence : sentences_of(text))
    if (std::ranges::any_of(std::array{"raise", "raises", "Raises", "raised", "refused", "refuses"},
                            [&](const char* word) { return has_word(sentence, word); }))
      failures.push_back(std::move(sentence));
  return failures;
}

std::string description_of_argument(const MethodComment& method, std::string_view name) {
  if (const auto own = method.arguments.find(name); own != method.arguments.end()) return own->second;
  std::string description;
  for (const std::string& sentence : sentences_of(method.text))
    if (has_word(sentence, name)) description += (description.empty() ? "" : " ") + sentence;
  return description.empty() ? in_words(without_prefix(name)) : description;
}

}  // namespace mercato::gateway
