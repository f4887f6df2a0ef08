// SPDX-License-Identifier: Apache-2.0
// From a format code to sections of tokens.
#include <algorithm>
#include <array>

#include "platform/spreadsheet/number_format.h"
#include "values/text.h"

namespace mercato::spreadsheet {
namespace {

// The bytes of the character that begins the text.
std::size_t character_size(std::string_view text) { return text::left(text, 1).size(); }

bool begins_with_name(std::string_view text, std::string_view name) {
  return text.size() >= name.size() && text::equal_names(text.substr(0, name.size()), name);
}

}  // namespace

// Cuts a code into sections of tokens.
class NumberFormat::Reader {
 public:
  explicit Reader(std::string_view code) : rest_(code) {}

  std::vector<Section> read() {
    std::vector<Section> sections;
    do {
      sections.push_back(section());
    } while (take(";") && sections.size() < 4);
    return sections;
  }

 private:
  bool take(std::string_view what) {
    if (!begins_with_name(rest_, what)) return false;
    rest_.remove_prefix(what.size());
    return true;
  }
  std::string_view take_characters(std::size_t characters) {
    const std::string_view taken = text::left(rest_, characters);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  static void add_literal(Section& section, std::string_view text) {
    if (!section.tokens.empty() && section.tokens.back().kind == Kind::literal)
      section.tokens.back().text += text;
    else if (!text.empty())
      section.tokens.push_back({Kind::literal, std::string(text)});
  }
  static void add_date(Section& section, Kind kind, std::string text, std::size_t count) {
    section.is_date = true;
    section.tokens.push_back({kind, std::move(text), count});
  }

  Section section() {
    Section section;
    bool behind_point = false;
    while (!rest_.empty() && rest_.front() != ';')
      if (!literal(section) && !word(section) && !placeholder(section, behind_point) && !letters(section))
        other_character(section);
    settle_minutes(section);
    return section;
  }

  // Text that the format marks as such.
  bool literal(Section& section) {
    switch (rest_.front()) {
      case '"': {
        rest_.remove_prefix(1);
        const std::size_t end = std::min(rest_.find('"'), rest_.size());
        add_literal(section, rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return true;
      }
      case '\\':
      case '!':
        rest_.remove_prefix(1);
        add_literal(section, take_characters(1));
        return true;
      case '_':  // a blank as wide as the next character
        rest_.remove_prefix(1);
        take_characters(1);
        add_literal(section, " ");
        return true;
      case '*':  // repeats the next character to fill the column: not shown
        rest_.remove_prefix(1);
        take_characters(1);
        return true;
      default:
        return false;
    }
  }

  bool word(Section& section) {
    if (rest_.front() == '[')
      bracket(section);
    else if (take("General"))
      section.tokens.push_back({Kind::general, {}});
    else if (take("AM/PM"))
      add_date(section, Kind::half_day, "AM/PM", 5);
    else if (take("A/P"))
      add_date(section, Kind::half_day, "A/P", 3);
    else
      return false;
    return true;
  }

  // What stands for a number or a text, or says how a number is written.
  bool placeholder(Section& section, bool& behind_point) {
    const char next = rest_.front();
    if (next == '0' || next == '#' || next == '?') {
      rest_.remove_prefix(1);
      section.tokens.push_back({Kind::digit, std::string(1, next)});
    } else if (next == '.') {
      point(section, behind_point);
    } else if (next == ',') {
      commas(section, behind_point);
    } else if (next == '%') {
      rest_.remove_prefix(1);
      ++section.percents;
      add_literal(section, "%");
    } else if ((next == 'E' || next == 'e') && rest_.size() > 1 && (rest_[1] == '+' || rest_[1] == '-')) {
      section.tokens.push_back({Kind::exponent, std::string(1, rest_[1])});
      rest_.remove_prefix(2);
    } else if (next == '@') {
      rest_.remove_prefix(1);
      section.has_text = true;
      section.tokens.push_back({Kind::text, {}});
    } else {
      return false;
    }
    return true;
  }

  void other_character(Section& section) {
    // A / behind a placeholder of digits makes a fraction; behind one of a date it is a literal.
    if (rest_.front() == '/' && !section.tokens.empty() && section.tokens.back().kind == Kind::digit)
      section.is_fraction = true;
    add_literal(section, rest_.substr(0, character_size(rest_)));
    rest_.remove_prefix(character_size(rest_));
  }

  void point(Section& section, bool& behind_point) {
    rest_.remove_prefix(1);
    std::size_t zeros = 0;
    while (zeros < rest_.size() && rest_[zeros] == '0') ++zeros;
    const bool behind_seconds = !section.tokens.empty() && (section.tokens.back().kind == Kind::second ||
                                                            section.tokens.back().kind == Kind::elapsed_seconds);
    if (behind_seconds && zeros > 0) {
      section.tokens.push_back({Kind::subsecond, {}, std::min<std::size_t>(zeros, 3)});
      rest_.remove_prefix(zeros);
    } else if (section.is_date || behind_point) {
      add_literal(section, ".");
    } else {
      behind_point = true;
      section.tokens.push_back({Kind::point, {}});
    }
  }

  // Between placeholders commas group the digits, behind the last one they scale, elsewhere they are text.
  void commas(Section& section, bool behind_point) {
    const std::size_t count = std::min(rest_.find_first_not_of(','), rest_.size());
    rest_.remove_prefix(count);
    const bool behind_digit = !section.tokens.empty() && section.tokens.back().kind == Kind::digit;
    const bool before_digit = !rest_.empty() && (rest_[0] == '0' || rest_[0] == '#' || rest_[0] == '?');
    if (!behind_digit)
      add_literal(section, std::string(count, ','));
    else if (before_digit && !behind_point)
      section.grouped = true;
    else
      section.thousands_off += static_cast<int>(count);
  }

  bool letters(Section& section) {
    constexpr std::string_view kLetters = "ymdhs";
    const std::string letter = text::to_lower(rest_.substr(0, 1));
    const std::size_t which = kLetters.find(letter[0]);
    if (which == std::string_view::npos) return false;
    std::size_t count = 1;
    while (count < rest_.size() && text::to_lower(rest_.substr(count, 1)) == letter) ++count;
    constexpr std::array kKinds = {Kind::year, Kind::month, Kind::day, Kind::hour, Kind::second};
    add_date(section, kKinds[which], {}, count);
    rest_.remove_prefix(count);
    return true;
  }

  void bracket(Section& section) {
    const std::size_t end = rest_.find(']');
    const std::string_view inside = rest_.substr(1, end == std::string_view::npos ? end : end - 1);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    if (inside.empty()) return;
    const std::string lower = text::to_lower(inside);
    if (lower.find_first_not_of(lower[0]) == std::string::npos &&
        (lower[0] == 'h' || lower[0] == 'm' || lower[0] == 's')) {
      add_date(section,
               lower[0] == 'h'   ? Kind::elapsed_hours
               : lower[0] == 'm' ? Kind::elapsed_minutes
                                 : Kind::elapsed_seconds,
               {}, lower.size());
    } else if (inside[0] == '$') {  // a currency and the number of its locale
      add_literal(section, inside.substr(1, std::min(inside.find('-'), inside.size()) - 1));
    } else if (inside[0] == '<' || inside[0] == '>' || inside[0] == '=') {
      section.condition = condition(inside);
    }
    // Anything else is a colour or a script of digits, and is passed over.
  }

  static std::optional<Condition> condition(std::string_view text) {
    using enum Condition::Operator;
    struct Spelling {
      std::string_view text;
      Condition::Operator comparison;
    };
    constexpr std::array kSpellings = {Spelling{"<=", at_most}, Spelling{">=", at_least}, Spelling{"<>", unequal},
                                       Spelling{"<", less},     Spelling{">", more},      Spelling{"=", equal}};
    for (const Spelling& spelling : kSpellings) {
      if (!text.starts_with(spelling.text)) continue;
      const std::optional<double> limit = text::parse_number(text.substr(spelling.text.size()));
      if (limit) return Condition{spelling.comparison, *limit};
      break;
    }
    return std::nullopt;
  }

  // An m behind an hour or before a second is a minute.
  static void settle_minutes(Section& section) {
    std::vector<Token*> dates;
    for (Token& token : section.tokens)
      if (token.kind >= Kind::year && token.kind != Kind::half_day && token.kind != Kind::subsecond)
        dates.push_back(&token);
    for (std::size_t at = 0; at < dates.size(); ++at) {
      if (dates[at]->kind != Kind::month || dates[at]->count > 2) continue;
      const bool behind_hour =
          at > 0 && (dates[at - 1]->kind == Kind::hour || dates[at - 1]->kind == Kind::elapsed_hours);
      const bool before_second = at + 1 < dates.size() &&
                                 (dates[at + 1]->kind == Kind::second || dates[at + 1]->kind == Kind::elapsed_seconds);
      if (behind_hour || before_second) dates[at]->kind = Kind::minute;
    }
  }

  std::string_view rest_;
};

NumberFormat::NumberFormat(std::string_view code) {
  if (code.size() <= kLongest) sections_ = Reader(code).read();
}

NumberFormat NumberFormat::built_in(int id) {
  struct Known {
    int id;
    const char* code;
  };
  constexpr std::array kKnown = {
      Known{1, "0"},
      Known{2, "0.00"},
      Known{3, "#,##0"},
      Known{4, "#,##0.00"},
      Known{5, "$#,##0_);($#,##0)"},
      Known{6, "$#,##0_);[Red]($#,##0)"},
      Known{7, "$#,##0.00_);($#,##0.00)"},
      Known{8, "$#,##0.00_);[Red]($#,##0.00)"},
      Known{9, "0%"},
      Known{10, "0.00%"},
      Known{11, "0.00E+00"},
      Known{12, "# ?/?"},
      Known{13, "# ?\?/?\?"},
      Known{14, "m/d/yyyy"},
      Known{15, "d-mmm-yy"},
      Known{16, "d-mmm"},
      Known{17, "mmm-yy"},
      Known{18, "h:mm AM/PM"},
      Known{19, "h:mm:ss AM/PM"},
      Known{20, "h:mm"},
      Known{21, "h:mm:ss"},
      Known{22, "m/d/yyyy h:mm"},
      Known{37, "#,##0_);(#,##0)"},
      Known{38, "#,##0_);[Red](#,##0)"},
      Known{39, "#,##0.00_);(#,##0.00)"},
      Known{40, "#,##0.00_);[Red](#,##0.00)"},
      Known{41, "_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)"},
      Known{42, "_($* #,##0_);_($* (#,##0);_($* \"-\"_);_(@_)"},
      Known{43, "_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)"},
      Known{44, "_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"?\?_);_(@_)"},
      Known{45, "mm:ss"},
      Known{46, "[h]:mm:ss"},
      Known{47, "mm:ss.0"},
      Known{48, "##0.0E+0"},
      Known{49, "@"},
  };
  for (const Known& known : kKnown)
    if (known.id == id) return NumberFormat(known.code);
  return {};
}

}  // namespace mercato::spreadsheet
