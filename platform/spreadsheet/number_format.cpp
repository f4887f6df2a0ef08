#include "platform/spreadsheet/number_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

#include "values/text.h"

namespace mercato::spreadsheet {
namespace {

constexpr int kPrecision = 15;  // significant digits of a cell's number
constexpr const char* kNoDate = "########";

// A number as its decimal digits, of which a cell has 15: 0.d1d2d3... times ten to the power of `point`.
struct Decimal {
  std::string digits;  // the first one is not 0; empty for zero
  int point = 0;
};

Decimal decimal_of(double number) {
  std::array<char, 40> text = {};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(number),
                                 std::chars_format::scientific, kPrecision - 1);
  const std::string_view written(text.data(), static_cast<std::size_t>(end.ptr - text.data()));
  const std::size_t exponent = written.find('e');
  Decimal decimal;
  decimal.digits = std::string(1, written[0]) + std::string(written.substr(2, exponent - 2));
  const std::string_view power = written.substr(exponent + (written[exponent + 1] == '+' ? 2 : 1));
  std::from_chars(power.data(), power.data() + power.size(), decimal.point);
  ++decimal.point;
  decimal.digits.erase(decimal.digits.find_last_not_of('0') + 1);
  if (decimal.digits.empty()) decimal.point = 0;
  return decimal;
}

// Digits before and behind the point, rounded half away from zero; no leading zeros in front.
struct Fixed {
  std::string whole;
  std::string decimals;
  bool is_zero() const { return whole.empty() && decimals.find_first_not_of('0') == std::string::npos; }
};

Fixed fixed_of(const Decimal& decimal, int decimals) {
  // All digits as one whole number, shifted so that its last one is the last decimal.
  const int kept = decimal.point + decimals;
  std::string all;
  if (kept >= 0) {
    const auto wanted = static_cast<std::size_t>(kept);
    all = decimal.digits.substr(0, wanted);
    const bool up = decimal.digits.size() > wanted && decimal.digits[wanted] >= '5';
    all.append(wanted - all.size(), '0');
    if (up) {
      std::size_t at = all.size();
      while (at > 0 && all[at - 1] == '9') all[--at] = '0';
      if (at > 0)
        ++all[at - 1];
      else
        all.insert(all.begin(), '1');
    }
  }
  const auto behind = static_cast<std::size_t>(decimals);
  if (all.size() < behind) all.insert(0, behind - all.size(), '0');
  Fixed fixed{all.substr(0, all.size() - behind), all.substr(all.size() - behind)};
  fixed.whole.erase(0, std::min(fixed.whole.find_first_not_of('0'), fixed.whole.size()));
  return fixed;
}

std::string without_trailing_zeros(std::string decimals) {
  decimals.erase(decimals.find_last_not_of('0') + 1);
  return decimals;
}

std::string padded(long long number, std::size_t width) {
  std::string text = std::to_string(number);
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  return text;
}

constexpr std::array kMonths = {"January", "February", "March",     "April",   "May",      "June",
                                "July",    "August",   "September", "October", "November", "December"};
constexpr std::array kWeekdays = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

struct Day {
  int year;
  unsigned month;
  unsigned day;
  unsigned weekday;  // 0 is Sunday
};

// The first system counts a 29 February 1900 that never was, so days before it are off by one.
Day day_of(long long serial) {
  const auto weekday = static_cast<unsigned>((serial + 6) % 7);
  if (serial == 0) return {1900, 1, 0, weekday};
  if (serial == 60) return {1900, 2, 29, weekday};
  constexpr long long kSerialOf1970 = 25569;
  const std::chrono::sys_days date{std::chrono::days{serial - kSerialOf1970 + (serial < 60 ? 1 : 0)}};
  const std::chrono::year_month_day civil{date};
  return {static_cast<int>(civil.year()), static_cast<unsigned>(civil.month()), static_cast<unsigned>(civil.day()),
          weekday};
}

// The bytes of the character that begins the text.
std::size_t character_size(std::string_view text) { return text::left(text, 1).size(); }

bool begins_with_name(std::string_view text, std::string_view name) {
  return text.size() >= name.size() && text::equal_names(text.substr(0, name.size()), name);
}

}  // namespace

std::string general_text(double number) {
  if (!std::isfinite(number)) return "#NUM!";
  const Decimal decimal = decimal_of(number);
  if (decimal.digits.empty()) return "0";
  const std::string sign = number < 0 ? "-" : "";
  constexpr int kWidth = 11;
  const auto digits = static_cast<int>(decimal.digits.size());
  const int whole = std::max(decimal.point, 1);
  if (whole <= kWidth) {
    const int room = std::max(kWidth - 1 - whole, 0);  // the point takes one
    // Below 0.0001 only what fits without loss stands in full.
    if (decimal.point > -4 || digits - decimal.point <= room) {
      const Fixed fixed = fixed_of(decimal, room);
      const std::string decimals = without_trailing_zeros(fixed.decimals);
      const std::string text =
          (fixed.whole.empty() ? "0" : fixed.whole) + (decimals.empty() ? std::string() : "." + decimals);
      if (text.size() <= static_cast<std::size_t>(kWidth)) return sign + text;
    }
  }
  int power = decimal.point - 1;
  Fixed mantissa = fixed_of({decimal.digits, 1}, 5);
  if (mantissa.whole.size() > 1) {  // 9.999996 became 10.00000
    mantissa = {"1", ""};
    ++power;
  }
  const std::string decimals = without_trailing_zeros(mantissa.decimals);
  return sign + mantissa.whole + (decimals.empty() ? "" : "." + decimals) + (power < 0 ? "E-" : "E+") +
         padded(std::abs(power), 2);
}

bool NumberFormat::Condition::holds_for(double number) const {
  switch (comparison) {
    case Operator::less:
      return number < limit;
    case Operator::at_most:
      return number <= limit;
    case Operator::more:
      return number > limit;
    case Operator::at_least:
      return number >= limit;
    case Operator::equal:
      return number == limit;
    case Operator::unequal:
      return number != limit;
  }
  return false;
}

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
    while (!rest_.empty() && rest_.front() != ';') {
      const char next = rest_.front();
      if (next == '"') {
        rest_.remove_prefix(1);
        const std::size_t end = std::min(rest_.find('"'), rest_.size());
        add_literal(section, rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
      } else if (next == '\\' || next == '!') {
        rest_.remove_prefix(1);
        add_literal(section, take_characters(1));
      } else if (next == '_') {  // as wide as the next character
        rest_.remove_prefix(1);
        take_characters(1);
        add_literal(section, " ");
      } else if (next == '*') {  // as often as the column is wide
        rest_.remove_prefix(1);
        take_characters(1);
      } else if (next == '[') {
        bracket(section);
      } else if (take("General")) {
        section.tokens.push_back({Kind::general, {}});
      } else if (take("AM/PM")) {
        add_date(section, Kind::half_day, "AM/PM", 5);
      } else if (take("A/P")) {
        add_date(section, Kind::half_day, "A/P", 3);
      } else if (next == '0' || next == '#' || next == '?') {
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
      } else if (!letters(section)) {
        // A / between placeholders of digits makes a fraction; between those of dates it is a literal.
        if (next == '/' && !section.tokens.empty() && section.tokens.back().kind == Kind::digit)
          section.is_fraction = true;
        add_literal(section, rest_.substr(0, character_size(rest_)));
        rest_.remove_prefix(character_size(rest_));
      }
    }
    settle_minutes(section);
    return section;
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

  // Between placeholders they group, behind the last one they scale, elsewhere they are commas.
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
    // Anything else is a colour, or a way to write digits.
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

const NumberFormat::Section* NumberFormat::section_for(double number, bool& shows_sign) const {
  // The last of four is for texts.
  const std::size_t count = std::min<std::size_t>(sections_.size(), 3);
  shows_sign = true;
  if (std::any_of(sections_.begin(), sections_.end(), [](const Section& section) { return section.condition; })) {
    for (std::size_t at = 0; at < count; ++at) {
      const auto& condition = sections_[at].condition;
      if (condition ? condition->holds_for(number) : at + 1 == count || (at == 1 && number < 0)) {
        using enum Condition::Operator;
        if (condition && condition->limit <= 0 && (condition->comparison == less || condition->comparison == at_most))
          shows_sign = false;
        return &sections_[at];
      }
    }
    return nullptr;
  }
  std::size_t which = 0;
  if (number < 0 && count > 1)
    which = 1;
  else if (number == 0 && count > 2)
    which = 2;
  shows_sign = which == 0;
  return &sections_[which];
}

std::string NumberFormat::text_of(double number, DateSystem dates) const {
  if (!std::isfinite(number)) return "#NUM!";
  if (sections_.empty()) return general_text(number);
  bool shows_sign = true;
  const Section* const section = section_for(number, shows_sign);
  if (!section) return "########";  // no condition holds
  if (section->is_date) return date_text(*section, number, dates);
  return number_text(*section, shows_sign ? number : std::fabs(number), number < 0 && shows_sign);
}

std::string NumberFormat::text_of(std::string_view text) const {
  const Section* section = nullptr;
  if (sections_.size() == 4)
    section = &sections_[3];
  else if (!sections_.empty() && sections_.back().has_text)
    section = &sections_.back();
  if (!section) return std::string(text);
  std::string shown;
  for (const Token& token : section->tokens) {
    if (token.kind == Kind::text || token.kind == Kind::general) shown += text;
    if (token.kind == Kind::literal) shown += token.text;
  }
  return shown;
}

std::string NumberFormat::number_text(const Section& section, double number, bool negative) {
  const auto& tokens = section.tokens;
  const bool is_general =
      section.is_fraction || section.has_text ||
      std::any_of(tokens.begin(), tokens.end(), [](const Token& token) { return token.kind == Kind::general; });
  if (is_general) {
    std::string shown;
    bool told = false;
    for (const Token& token : tokens) {
      if (token.kind == Kind::literal && !section.is_fraction) shown += token.text;
      if ((token.kind == Kind::general || token.kind == Kind::text || token.kind == Kind::digit) && !told) {
        shown += general_text(number);
        told = true;
      }
    }
    return shown;
  }

  // How many placeholders stand before the point, behind it, and behind the exponent.
  enum Place { whole, decimals, exponent };
  std::array<int, 3> places = {};
  Place place = whole;
  for (const Token& token : tokens) {
    if (token.kind == Kind::point) place = decimals;
    if (token.kind == Kind::exponent) place = exponent;
    if (token.kind == Kind::digit) ++places[place];
  }
  const bool scientific = place == exponent;

  Decimal decimal = decimal_of(number);
  if (!decimal.digits.empty()) decimal.point += 2 * section.percents - 3 * section.thousands_off;
  int power = 0;
  Fixed fixed;
  if (scientific) {
    const int step = std::max(places[whole], 1);
    const auto split = [&](int shift) {
      const int first = decimal.digits.empty() ? 0 : decimal.point - 1 + shift;
      power = step == 1 ? first : static_cast<int>(std::floor(static_cast<double>(first) / step)) * step;
      fixed = fixed_of({decimal.digits, decimal.point - power}, places[decimals]);
    };
    split(0);
    if (static_cast<int>(fixed.whole.size()) > step) split(1);  // rounded up into one more digit
  } else {
    fixed = fixed_of(decimal, places[decimals]);
  }

  std::string shown;
  if (negative && !fixed.is_zero()) shown += "-";
  const std::size_t significant = without_trailing_zeros(fixed.decimals).size();
  const std::string power_digits = padded(std::abs(power), static_cast<std::size_t>(std::max(places[exponent], 1)));
  std::size_t whole_left = static_cast<std::size_t>(places[whole]);  // placeholders before the point still to come
  std::size_t behind = 0;
  bool began_whole = false;
  bool told_power = false;
  place = whole;

  // The digits from the position `from`, counted from the point, down to `to`, grouped.
  const auto put_whole = [&](std::size_t from, std::size_t to) {
    for (std::size_t position = from; position > to; --position) {
      shown += position <= fixed.whole.size() ? fixed.whole[fixed.whole.size() - position] : '0';
      if (section.grouped && position > 1 && (position - 1) % 3 == 0) shown += ',';
    }
  };
  for (const Token& token : tokens) {
    switch (token.kind) {
      case Kind::literal:
        shown += token.text;
        break;
      case Kind::point:
        if (places[whole] == 0) put_whole(fixed.whole.size(), 0);
        place = decimals;
        shown += '.';
        break;
      case Kind::exponent:
        place = exponent;
        shown += power < 0 ? "E-" : token.text == "+" ? "E+" : "E";
        break;
      case Kind::digit: {
        const char placeholder = token.text[0];
        if (place == whole) {
          // The first placeholder takes all digits for which there is none.
          if (!began_whole && fixed.whole.size() > whole_left) put_whole(fixed.whole.size(), whole_left);
          began_whole = true;
          if (whole_left <= fixed.whole.size() || placeholder == '0')
            put_whole(whole_left, whole_left - 1);
          else if (placeholder == '?')
            shown += ' ';
          --whole_left;
        } else if (place == decimals) {
          if (behind < significant || placeholder == '0')
            shown += fixed.decimals[behind];
          else if (placeholder == '?')
            shown += ' ';
          ++behind;
        } else if (!told_power) {
          shown += power_digits;
          told_power = true;
        }
        break;
      }
      default:
        break;
    }
  }
  return shown;
}

std::string NumberFormat::date_text(const Section& section, double serial, DateSystem dates) {
  constexpr double kSystemsApart = 1462;
  constexpr double kBehindTheLast = 2958466;  // the first day of the year 10000
  if (dates == DateSystem::from_1904) serial += kSystemsApart;
  if (!(serial >= 0 && serial < kBehindTheLast)) return kNoDate;

  std::size_t subseconds = 0;
  bool halves = false;
  for (const Token& token : section.tokens) {
    if (token.kind == Kind::subsecond) subseconds = std::max(subseconds, token.count);
    if (token.kind == Kind::half_day) halves = true;
  }
  // Rounded once, to the smallest part that is shown, so that no field shows 60.
  const double unit = std::pow(10.0, static_cast<double>(subseconds));
  const auto ticks = std::llround(serial * 86400 * unit);
  const auto ticks_of_second = static_cast<long long>(unit);
  const long long seconds = ticks / ticks_of_second;
  const long long of_day = seconds % 86400;
  const Day day = day_of(seconds / 86400);
  const long long hour = of_day / 3600;

  std::string shown;
  for (const Token& token : section.tokens) {
    const std::size_t two = std::min<std::size_t>(token.count, 2);
    switch (token.kind) {
      case Kind::literal:
        shown += token.text;
        break;
      case Kind::year:
        shown += token.count <= 2 ? padded(day.year % 100, 2) : padded(day.year, 4);
        break;
      case Kind::month: {
        const std::string_view name = kMonths[day.month - 1];
        if (token.count <= 2)
          shown += padded(day.month, token.count);
        else
          shown += token.count == 3 ? name.substr(0, 3) : token.count == 5 ? name.substr(0, 1) : name;
        break;
      }
      case Kind::day: {
        const std::string_view name = kWeekdays[day.weekday];
        if (token.count <= 2)
          shown += padded(day.day, token.count);
        else
          shown += token.count == 3 ? name.substr(0, 3) : name;
        break;
      }
      case Kind::hour:
        shown += padded(halves ? (hour + 11) % 12 + 1 : hour, two);
        break;
      case Kind::minute:
        shown += padded(of_day / 60 % 60, two);
        break;
      case Kind::second:
        shown += padded(of_day % 60, two);
        break;
      case Kind::subsecond: {
        const auto scale = static_cast<long long>(std::pow(10.0, static_cast<double>(subseconds - token.count)));
        shown += "." + padded(ticks % ticks_of_second / scale, token.count);
        break;
      }
      case Kind::half_day:
        shown += token.text == "A/P" ? (hour < 12 ? "A" : "P") : (hour < 12 ? "AM" : "PM");
        break;
      case Kind::elapsed_hours:
        shown += padded(seconds / 3600, token.count);
        break;
      case Kind::elapsed_minutes:
        shown += padded(seconds / 60, token.count);
        break;
      case Kind::elapsed_seconds:
        shown += padded(seconds, token.count);
        break;
      default:
        break;
    }
  }
  return shown;
}

}  // namespace mercato::spreadsheet
