// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <bit>
#include <cstring>

#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/dialect/refusal.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

enum class CharKind : std::uint8_t { refused, blank, letter, digit, quote, open_name, symbol };

constexpr std::array<CharKind, 256> make_kinds() {
  std::array<CharKind, 256> kinds{};
  for (std::size_t c = 0; c < kinds.size(); ++c) {
    if (c == ' ' || (c >= '\t' && c <= '\r'))
      kinds[c] = CharKind::blank;
    else if (c < ' ' || c == 0x7F)
      kinds[c] = CharKind::refused;
    else if (c >= '0' && c <= '9')
      kinds[c] = CharKind::digit;
    else if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '#' || c == '@' || c >= 0x80)
      kinds[c] = CharKind::letter;
    else if (c == '\'')
      kinds[c] = CharKind::quote;
    else if (c == '"' || c == '[')
      kinds[c] = CharKind::open_name;
    else
      kinds[c] = CharKind::symbol;
  }
  return kinds;
}
constexpr auto kKinds = make_kinds();

CharKind kind_of(char c) { return kKinds[static_cast<unsigned char>(c)]; }
bool is_digit(char c) { return kind_of(c) == CharKind::digit; }

constexpr std::array<bool, 256> make_word_parts() {
  std::array<bool, 256> parts{};
  for (std::size_t c = 0; c < parts.size(); ++c)
    parts[c] = kKinds[c] == CharKind::letter || kKinds[c] == CharKind::digit || c == '$';
  return parts;
}
constexpr auto kWordParts = make_word_parts();
bool is_word_part(char c) { return kWordParts[static_cast<unsigned char>(c)]; }

// What stands in a shape for a literal. A statement cannot hold these characters itself outside of its texts and
// names, so that no statement has the shape of another that is not its like.
constexpr char kWholeNumberMark = '\x01';
constexpr char kFractionMark = '\x02';
constexpr char kTextMark = '\x03';
constexpr char kNationalTextMark = '\x04';
constexpr char kPrefixPatternMark = '\x05';  // a text behind LIKE that says how matching texts begin

std::uint64_t hash_of(std::string_view text) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = text.size() * kFactor;
  const auto mix = [&hash](std::uint64_t word) { hash = std::rotl((hash ^ word) * kFactor, 29); };
  std::uint64_t word = 0;
  while (text.size() >= sizeof word) {
    std::memcpy(&word, text.data(), sizeof word);
    mix(word);
    text.remove_prefix(sizeof word);
  }
  word = 0;
  std::memcpy(&word, text.data(), text.size());
  mix(word);
  return hash ^ (hash >> 32);
}

class Lexer {
 public:
  Lexer(std::string_view text, LexedStatement& out) : text_(text), out_(out) {
    constexpr std::size_t kLongest = std::size_t{1} << 30;  // positions are 32 bits wide, and so is the store's limit
    if (text.size() > kLongest) refuse("The statement is too long");
    out.text = text;
    out.tokens.clear();
    out.literals.clear();
    out.shape.clear();
    out.comment = LexedStatement::kNoComment;
  }

  void run() {
    while (position_ < text_.size()) step();
    add(TokenKind::end, text_.size(), text_.size());
    out_.shape.append(text_, copied_);
    out_.shape_hash = hash_of(out_.shape);
  }

  // The same, in which the text from the first fault on is one token.
  void run_over_a_fault() {
    try {
      run();
    } catch (const Raised& fault) {
      if (fault.error().Number != error_number::kStatementRefused) throw;
      add(TokenKind::word, position_, text_.size());
      add(TokenKind::end, text_.size(), text_.size());
    }
  }

 private:
  char at(std::size_t position) const { return position < text_.size() ? text_[position] : ' '; }

  void add(TokenKind kind, std::size_t begin, std::size_t end) {
    out_.tokens.push_back({kind, static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end)});
    position_ = end;
  }

  void add_literal(TokenKind kind, std::size_t begin, std::size_t end, char mark) {
    out_.shape.append(text_, copied_, begin - copied_);
    out_.shape.push_back(mark);
    copied_ = end;
    out_.literals.push_back(static_cast<std::uint32_t>(out_.tokens.size()));
    add(kind, begin, end);
  }

  void step() {
    check_call_limit();
    const char c = text_[position_];
    switch (kind_of(c)) {
      case CharKind::blank:
        ++position_;
        return;
      case CharKind::letter:
        if ((c == 'N' || c == 'n') && at(position_ + 1) == '\'') return text_literal(TokenKind::national_text, 1);
        return word();
      case CharKind::digit:
        return number();
      case CharKind::quote:
        return text_literal(TokenKind::text, 0);
      case CharKind::open_name:
        return quoted_name(c == '[' ? ']' : '"');
      case CharKind::symbol:
        if (c == '.' && is_digit(at(position_ + 1))) return number();
        if ((c == '-' && at(position_ + 1) == '-') || (c == '/' && at(position_ + 1) == '*')) return comment(c);
        return add(TokenKind::symbol, position_, position_ + 1);
      case CharKind::refused:
        refuse_syntax(text_, position_, position_ + 1);
    }
  }

  void word() {
    std::size_t end = position_ + 1;
    while (end < text_.size() && is_word_part(text_[end])) ++end;
    add(TokenKind::word, position_, end);
  }

  // A number ends where it can: a word may follow at once, as in `=5AND`.
  void number() {
    std::size_t end = position_;
    bool whole = true;
    while (is_digit(at(end))) ++end;
    if (at(end) == '.') {
      whole = false;
      ++end;
      while (is_digit(at(end))) ++end;
    }
    if (at(end) == 'e' || at(end) == 'E') {
      const std::size_t digits = end + (at(end + 1) == '+' || at(end + 1) == '-' ? 2 : 1);
      if (is_digit(at(digits))) {
        whole = false;
        end = digits;
        while (is_digit(at(end))) ++end;
      }
    }
    add_literal(TokenKind::number, position_, end, whole ? kWholeNumberMark : kFractionMark);
  }

  // One past the closing character of what begins at `open`, doubled ones skipped.
  std::size_t closing(std::size_t open, char close) const {
    for (std::size_t end = open + 1;; end += 2) {
      end = text_.find(close, end);
      if (end == std::string_view::npos) {
        refuse("Unclosed quotation mark after the character string '" +
               std::string(text::left(text_.substr(open + 1), 40)) + "'" + place_text(text_, open));
      }
      if (at(end + 1) != close) return end + 1;
    }
  }

  void text_literal(TokenKind kind, std::size_t prefix) {
    const std::size_t begin = position_ + prefix + 1;
    const bool is_prefix = !like_prefix(text_.substr(begin, 1)).empty() && follows_like();
    const char mark = is_prefix ? kPrefixPatternMark : kind == TokenKind::text ? kTextMark : kNationalTextMark;
    add_literal(kind, position_, closing(begin - 1, '\''), mark);
  }

  bool follows_like() const {
    if (out_.tokens.empty() || out_.tokens.back().kind != TokenKind::word) return false;
    const Token& last = out_.tokens.back();
    return text::equal_names(text_.substr(last.begin, last.end - last.begin), "LIKE");
  }

  void quoted_name(char close) { add(TokenKind::quoted_name, position_, closing(position_, close)); }

  void comment(char c) {
    const std::size_t begin = position_;
    if (out_.comment == LexedStatement::kNoComment) out_.comment = static_cast<std::uint32_t>(begin);
    if (c == '-') {
      position_ = std::min(text_.find('\n', begin), text_.size());
      return;
    }
    std::size_t end = begin;
    int depth = 0;  // these comments nest
    do {
      check_call_limit();
      if (end + 1 >= text_.size()) refuse("Missing end comment mark '*/'" + place_text(text_, begin));
      const char first = text_[end], second = text_[end + 1];
      const bool opens = first == '/' && second == '*', closes = first == '*' && second == '/';
      depth += opens ? 1 : closes ? -1 : 0;
      end += opens || closes ? 2 : 1;
    } while (depth > 0);
    position_ = end;
  }

  std::string_view text_;
  LexedStatement& out_;
  std::size_t position_ = 0;
  std::size_t copied_ = 0;  // up to here the text stands in the shape
};

}  // namespace

void lex(std::string_view text, LexedStatement& out) { Lexer(text, out).run(); }

std::vector<std::string_view> split_script(std::string_view script) {
  LexedStatement lexed;
  Lexer(script, lexed).run_over_a_fault();
  std::vector<std::string_view> statements;
  std::uint32_t first = 0;
  for (std::uint32_t i = 0; i < lexed.tokens.size(); ++i) {
    const Token& token = lexed.tokens[i];
    const bool separator = token.kind == TokenKind::symbol && script[token.begin] == ';';
    if (!separator && token.kind != TokenKind::end) continue;
    if (i > first) {
      const std::uint32_t begin = lexed.tokens[first].begin;
      statements.push_back(script.substr(begin, lexed.tokens[i - 1].end - begin));
    }
    first = i + 1;
  }
  return statements;
}

}  // namespace mercato::store::dialect
