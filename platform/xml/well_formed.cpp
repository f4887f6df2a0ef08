// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/well_formed.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/xml/characters.h"
#include "values/text.h"

namespace mercato::xml {
namespace {

// What an ASCII character may be. Characters beyond ASCII are decoded one by one.
enum Class : std::uint8_t {
  kNameStart = 1,
  kNameChar = 2,
  kSpace = 4,
  kPlainText = 8,    // needs no look in text
  kPlainValue = 16,  // needs no look in an attribute value
  kLegal = 32,
};

constexpr std::array<std::uint8_t, 256> kClasses = [] {
  std::array<std::uint8_t, 256> classes{};
  for (unsigned c = 0; c < 0x80; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    unsigned value = 0;
    if (letter || c == '_' || c == ':') value |= kNameStart | kNameChar;
    if ((c >= '0' && c <= '9') || c == '-' || c == '.') value |= kNameChar;
    if (space) value |= kSpace;
    if (space || c >= 0x20) {
      value |= kLegal;
      if (c != '<' && c != '&' && c != ']') value |= kPlainText;
      if (c != '<' && c != '&' && c != '"' && c != '\'') value |= kPlainValue;
    }
    classes[c] = static_cast<std::uint8_t>(value);
  }
  return classes;
}();

bool is(char c, unsigned wanted) { return (kClasses[static_cast<unsigned char>(c)] & wanted) != 0; }

struct Fault {
  const char* at;
  std::string reason;
};

[[noreturn]] void fail(const char* at, std::string reason) { throw Fault{at, std::move(reason)}; }

// A name of the document, cut to a length that suits a sentence.
std::string shown(std::string_view name) {
  constexpr std::size_t kLongest = 40;
  const std::string_view cut = text::left(name, kLongest);
  return std::string(cut) + (cut.size() < name.size() ? "..." : "");
}

// Every loop ends at the NUL behind the last byte of a std::string, because no NUL is legal in a document.
class Judge {
 public:
  Judge(const std::string& text, std::size_t max_depth, const EntityTexts* known, Judgement& judgement)
      : begin_(text.data()),
        p_(text.data()),
        end_(text.data() + text.size()),
        max_depth_(max_depth),
        judgement_(judgement),
        known_(known != nullptr ? *known : judgement.entities) {}

  void document() {
    if (p_ == end_) fail(p_, "the document is empty");
    if (at("<?xml") && is(p_[5], kSpace)) declaration();
    bool has_root = false;
    for (;;) {
      skip_space();
      if (p_ == end_) break;
      if (*p_ != '<') {
        if (!is(*p_, kLegal)) wide();  // its message says what is wrong with the character
        fail(p_, "text stands outside the root element");
      }
      if (at("<?")) {
        instruction();
      } else if (at("<!--")) {
        comment();
      } else if (at("<!DOCTYPE") && !has_root && !has_doctype_) {
        doctype();
      } else if (at("</")) {
        fail(p_, "an end tag stands without its start tag");
      } else if (has_root) {
        fail(p_, "something stands behind the root element");
      } else {
        root();
        has_root = true;
      }
    }
    if (!has_root) fail(p_, "there is no root element");
  }

 private:
  bool at(std::string_view token) const {
    return static_cast<std::size_t>(end_ - p_) >= token.size() && std::memcmp(p_, token.data(), token.size()) == 0;
  }

  bool skip_space() {
    const char* before = p_;
    while (is(*p_, kSpace)) ++p_;
    return p_ != before;
  }

  // The character beyond ASCII at p_ and its length in bytes.
  char32_t decode(int& length) const {
    const auto byte = [this](int index) { return static_cast<unsigned char>(p_[index]); };
    const unsigned lead = byte(0);
    length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4) fail(p_, "the bytes are not UTF-8");
    char32_t c = lead & (0xFFu >> (length + 1));
    for (int i = 1; i < length; ++i) {
      if ((byte(i) & 0xC0) != 0x80) fail(p_, "the bytes are not UTF-8");
      c = (c << 6) | (byte(i) & 0x3Fu);
    }
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    if (c < kSmallest[static_cast<std::size_t>(length)] || surrogate || c > 0x10FFFF)
      fail(p_, "the bytes are not UTF-8");
    if (!is_legal(c)) fail(p_, "a character that XML does not allow");
    return c;
  }

  // Passes a character that needs a closer look: one beyond ASCII, or an illegal one.
  void wide() {
    if (static_cast<unsigned char>(*p_) < 0x80) fail(p_, "a control character that XML does not allow");
    int length = 0;
    decode(length);
    p_ += length;
  }

  // Stops at the next `stop` or at the end.
  template <char kStop>
  void skip_to() {
    for (;;) {
      while (*p_ != kStop && is(*p_, kLegal)) ++p_;
      if (*p_ == kStop || p_ == end_) return;
      wide();
    }
  }

  std::string_view name(const char* what) {
    const char* begin = p_;
    int length = 0;
    if (is(*p_, kNameStart)) {
      ++p_;
    } else if (static_cast<unsigned char>(*p_) >= 0x80 && begins_name(decode(length))) {
      p_ += length;
    } else {
      fail(p_, std::string("no name can start here, and ") + what + " needs one");
    }
    for (;;) {
      while (is(*p_, kNameChar)) ++p_;
      if (static_cast<unsigned char>(*p_) < 0x80) break;
      const char32_t c = decode(length);
      if (!belongs_to_name(c)) break;
      p_ += length;
    }
    return {begin, static_cast<std::size_t>(p_ - begin)};
  }

  // The character of a reference "&#...;", which is passed.
  char32_t character_reference() {
    const char* begin = p_;
    p_ += 2;
    const bool hexadecimal = *p_ == 'x';
    if (hexadecimal) ++p_;
    const char* digits = p_;
    char32_t c = 0;
    for (;; ++p_) {
      const char lower = static_cast<char>(*p_ | 0x20);
      int digit = -1;
      if (*p_ >= '0' && *p_ <= '9') digit = *p_ - '0';
      if (hexadecimal && lower >= 'a' && lower <= 'f') digit = lower - 'a' + 10;
      if (digit < 0) break;
      // Beyond the last character any number does: it is refused below.
      c = std::min<char32_t>(c * (hexadecimal ? 16 : 10) + static_cast<char32_t>(digit), 0x110000);
    }
    if (p_ == digits || *p_ != ';') fail(begin, "a character reference is incomplete");
    if (!is_legal(c)) fail(begin, "a reference to a character that XML does not allow");
    ++p_;
    return c;
  }

  void reference(bool in_value) {
    if (p_[1] == '#') {
      character_reference();
      return;
    }
    const char* begin = p_++;
    if (!is(*p_, kNameStart) && static_cast<unsigned char>(*p_) < 0x80) fail(begin, "a stray &");
    const std::string_view entity = name("an entity reference");
    if (*p_ != ';') fail(begin, "a stray &");
    ++p_;
    constexpr std::string_view kPredefined[] = {"amp", "lt", "gt", "quot", "apos"};
    if (std::find(std::begin(kPredefined), std::end(kPredefined), entity) != std::end(kPredefined)) return;
    if (known_.find(entity) == known_.end()) fail(begin, "the entity &" + shown(entity) + "; is not expanded here");
    judgement_.references.push_back({position(begin), position(p_), in_value});
  }

  // Answers the value as written.
  std::string_view attribute() {
    const char* begin = p_;
    const std::string_view attribute_name = name("an attribute");
    skip_space();
    if (*p_ != '=') fail(p_, "the attribute " + shown(attribute_name) + " has no value");
    ++p_;
    skip_space();
    const char quote = *p_;
    if (quote != '"' && quote != '\'')
      fail(p_, "the value of the attribute " + shown(attribute_name) + " is not quoted");
    const char* value = ++p_;
    for (;;) {
      while (is(*p_, kPlainValue)) ++p_;
      if (*p_ == quote) break;
      if (p_ == end_) fail(begin, "the value of the attribute " + shown(attribute_name) + " never ends");
      if (*p_ == '<') fail(p_, "a < stands in the value of the attribute " + shown(attribute_name));
      if (*p_ == '&') {
        reference(true);
      } else if (*p_ == '"' || *p_ == '\'') {
        ++p_;
      } else {
        wide();
      }
    }
    if (attributes_.size() < kFewAttributes &&
        std::find(attributes_.begin(), attributes_.end(), attribute_name) != attributes_.end()) {
      fail(begin, "the attribute " + shown(attribute_name) + " is repeated");
    }
    attributes_.push_back(attribute_name);
    return {value, static_cast<std::size_t>(p_++ - value)};
  }

  // An element with many attributes has them sorted first; those with few are compared one by one.
  void check_many_attributes(const char* tag) {
    if (attributes_.size() < kFewAttributes) return;
    std::sort(attributes_.begin(), attributes_.end());
    const auto repeated = std::adjacent_find(attributes_.begin(), attributes_.end());
    if (repeated != attributes_.end()) fail(tag, "the attribute " + shown(*repeated) + " is repeated");
  }

  void start_tag() {
    const char* begin = p_++;
    const std::string_view element = name("a tag");
    if (open_.size() >= max_depth_) fail(begin, "elements are nested deeper than " + std::to_string(max_depth_));
    attributes_.clear();
    for (;;) {
      const bool spaced = skip_space();
      if (*p_ == '>') {
        ++p_;
        open_.push_back(element);
        break;
      }
      if (*p_ == '/' && p_[1] == '>') {
        p_ += 2;
        break;
      }
      if (p_ == end_) fail(begin, "the tag <" + shown(element) + "> never ends");
      if (!spaced) fail(p_, "the tag <" + shown(element) + "> is not well-formed");
      attribute();
    }
    check_many_attributes(begin);
  }

  void end_tag() {
    const char* begin = p_;
    p_ += 2;
    const std::string_view expected = open_.back();
    if (at(expected) && !is(p_[expected.size()], kNameChar) && static_cast<unsigned char>(p_[expected.size()]) < 0x80) {
      p_ += expected.size();
    } else {
      const std::string_view found = name("a tag");
      // It may be the same name all the same, with a character behind it that belongs to no name and is not ASCII.
      if (found != expected) {
        fail(begin, "the end tag </" + shown(found) + "> does not match the start tag <" + shown(expected) + ">");
      }
    }
    skip_space();
    if (*p_ != '>') fail(begin, "the end tag </" + shown(expected) + "> is not well-formed");
    ++p_;
    open_.pop_back();
  }

  void root() {
    start_tag();
    while (!open_.empty()) {
      characters();
      if (p_ == end_) fail(p_, "the element <" + shown(open_.back()) + "> is never closed");
      if (p_[1] == '/') {
        end_tag();
      } else if (p_[1] == '?') {
        instruction();
      } else if (at("<!--")) {
        comment();
      } else if (at("<![CDATA[")) {
        cdata();
      } else {
        start_tag();
      }
    }
  }

  // Text up to the next tag or the end.
  void characters() {
    for (;;) {
      while (is(*p_, kPlainText)) ++p_;
      if (*p_ == '<' || p_ == end_) return;
      if (*p_ == '&') {
        reference(false);
      } else if (*p_ == ']') {
        if (at("]]>")) fail(p_, "]]> stands in text");
        ++p_;
      } else {
        wide();
      }
    }
  }

  void comment() {
    const char* begin = p_;
    p_ += 4;
    for (;;) {
      skip_to<'-'>();
      if (p_ == end_) fail(begin, "the comment never ends");
      if (at("-->")) break;
      if (at("--")) fail(p_, "-- stands in a comment");
      ++p_;
    }
    p_ += 3;
  }

  void cdata() {
    const char* begin = p_;
    p_ += 9;
    for (;;) {
      skip_to<']'>();
      if (p_ == end_) fail(begin, "the CDATA section never ends");
      if (at("]]>")) break;
      ++p_;
    }
    p_ += 3;
  }

  void instruction() {
    const char* begin = p_;
    p_ += 2;
    const std::string_view target = name("a processing instruction");
    if (text::equal_names(target, "xml")) fail(begin, "the XML declaration does not stand at the start");
    if (!at("?>") && !is(*p_, kSpace)) fail(begin, "the processing instruction is not well-formed");
    for (;;) {
      skip_to<'?'>();
      if (p_ == end_) fail(begin, "the processing instruction never ends");
      if (at("?>")) break;
      ++p_;
    }
    p_ += 2;
  }

  void declaration() {
    const char* begin = p_;
    p_ += 5;
    attributes_.clear();
    std::size_t next = 0;  // of the three, in their order
    while (skip_space() && !at("?>")) {
      const std::string_view value = attribute();
      constexpr std::string_view kOrder[] = {"version", "encoding", "standalone"};
      const auto* found = std::find(std::begin(kOrder) + next, std::end(kOrder), attributes_.back());
      const bool plain = std::all_of(value.begin(), value.end(), [](char c) { return is(c, kNameChar); });
      if (found == std::end(kOrder) || !plain || value.empty() ||
          (next == 0 && (found != kOrder || !value.starts_with("1.")))) {
        fail(begin, "the XML declaration is not well-formed");
      }
      next = static_cast<std::size_t>(found - kOrder) + 1;
    }
    if (next == 0 || !at("?>")) fail(begin, "the XML declaration is not well-formed");
    p_ += 2;
  }

  void literal() {
    const char* begin = p_;
    if (*p_++ == '"') {
      skip_to<'"'>();
    } else {
      skip_to<'\''>();
    }
    if (p_ == end_) fail(begin, "a literal in the DOCTYPE never ends");
    ++p_;
  }

  void doctype() {
    const char* begin = p_;
    has_doctype_ = true;
    p_ += 9;
    if (!skip_space()) fail(begin, "the DOCTYPE is not well-formed");
    name("the DOCTYPE");
    while (*p_ != '>') {
      if (p_ == end_) fail(begin, "the DOCTYPE never ends");
      if (*p_ == '"' || *p_ == '\'') {
        literal();
      } else if (*p_ == '[' && judgement_.subset_end == 0) {
        internal_subset();
      } else if (is(*p_, kNameChar | kSpace)) {
        ++p_;
      } else {
        fail(p_, "the DOCTYPE is not well-formed");
      }
    }
    ++p_;
  }

  void internal_subset() {
    const char* begin = p_++;
    while (*p_ != ']') {
      if (p_ == end_) fail(begin, "the DOCTYPE never ends");
      if (at("<!--")) {
        comment();
      } else if (at("<?")) {
        instruction();
      } else if (at("<!ENTITY")) {
        entity_declaration();
      } else if (*p_ == '%' && !is(p_[1], kSpace)) {
        // Parameter entities are not read. One could bring declarations that count before those that follow it here.
        declares_ = false;
        ++p_;
      } else if (*p_ == '"' || *p_ == '\'') {
        literal();
      } else if (is(*p_, kLegal)) {
        ++p_;
      } else {
        wide();
      }
    }
    ++p_;
    judgement_.subset_begin = position(begin);
    judgement_.subset_end = position(p_);
  }

  // Keeps an internal entity. Of any other declaration only the beginning is passed; the caller passes the rest.
  void entity_declaration() {
    p_ += 8;
    if (!skip_space() || *p_ == '%') return;
    const std::string entity(name("an entity"));
    skip_space();
    const char quote = *p_;
    if (quote != '"' && quote != '\'') return;
    const char* begin = p_++;
    std::string text;
    while (*p_ != quote) {
      if (p_ == end_) fail(begin, "a literal in the DOCTYPE never ends");
      const char* piece = p_;
      if (*p_ == '&' && p_[1] == '#') {
        text::append(text, character_reference());
        continue;
      }
      if (is(*p_, kLegal)) {
        ++p_;
      } else {
        wide();
      }
      text.append(piece, p_);
    }
    ++p_;
    // The first declaration of a name counts.
    if (declares_) judgement_.entities.emplace(entity, std::move(text));
  }

  std::size_t position(const char* at) const { return static_cast<std::size_t>(at - begin_); }

  static constexpr std::size_t kFewAttributes = 16;

  const char* begin_;
  const char* p_;
  const char* end_;
  std::size_t max_depth_;
  Judgement& judgement_;
  const EntityTexts& known_;
  std::vector<std::string_view> open_;
  std::vector<std::string_view> attributes_;  // of the tag at hand
  bool has_doctype_ = false;
  bool declares_ = true;  // what stands in the internal subset counts
};

}  // namespace

std::string fault_at(std::string_view text, std::size_t position, const std::string& reason) {
  const std::string_view before = text.substr(0, position);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto line_begin = before.rfind('\n') + 1;  // npos + 1 is 0
  const std::size_t column = text::length(before.substr(line_begin)) + 1;
  return "Line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + reason;
}

Judgement judge(const std::string& text, std::size_t max_depth, const EntityTexts* known) {
  Judgement judgement;
  try {
    Judge(text, max_depth, known, judgement).document();
  } catch (const Fault& fault) {
    judgement.fault = fault_at(text, static_cast<std::size_t>(fault.at - text.data()), fault.reason);
  }
  return judgement;
}

}  // namespace mercato::xml
