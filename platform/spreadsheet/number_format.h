// SPDX-License-Identifier: Apache-2.0
// A number format code, such as `00000000`, `#,##0.00;[Red]-#,##0.00` or `yyyy-mm-dd`, and the texts that cells show
// under it, in the US locale and in a column that is wide enough. Immutable after construction; any thread.
//
// Understood: General; 0 # ? with decimal point, thousands, scaling commas and %; scientific; dates, times and elapsed
// times in both date systems; sections for positive, negative, zero and text, or under conditions; literal, quoted,
// escaped, padded and currency text. A fraction shows as General does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::spreadsheet {

// The day from which a workbook counts dates.
enum class DateSystem { from_1900, from_1904 };

class NumberFormat {
 public:
  NumberFormat() = default;  // General
  // A code of more than kLongest bytes is General: no program writes one.
  explicit NumberFormat(std::string_view code);
  // A format that workbooks name by a number and without a code. General for an unknown number.
  static NumberFormat built_in(int id);

  std::string text_of(double number, DateSystem dates) const;
  // Whether this number is shown as a day or a time.
  bool shows_date(double number) const;
  // The text that a cell with a text shows.
  std::string text_of(std::string_view text) const;

  static constexpr std::size_t kLongest = 1024;

 private:
  enum class Kind {
    literal,
    digit,     // 0 # ?
    point,     // of decimals
    exponent,  // E+ or E-
    general,
    text,  // @
    year,
    month,
    day,
    hour,
    minute,
    second,
    subsecond,
    half_day,  // AM/PM or A/P
    elapsed_hours,
    elapsed_minutes,
    elapsed_seconds,
  };
  struct Token {
    Kind kind;
    std::string text;       // of a literal; the placeholder, or the letters as written
    std::size_t count = 1;  // of letters
  };
  struct Condition {
    enum class Operator { less, at_most, more, at_least, equal, unequal } comparison;
    double limit;
    bool holds_for(double number) const;
  };
  struct Section {
    std::vector<Token> tokens;
    std::optional<Condition> condition;
    int percents = 0;
    int thousands_off = 0;  // scaling commas
    bool grouped = false;
    bool is_date = false;
    bool has_text = false;
    bool is_fraction = false;
  };
  class Reader;
  class NumberText;
  class DateText;

  const Section* section_for(double number, bool& shows_sign) const;
  static std::string number_text(const Section& section, double number, bool negative);
  static std::string date_text(const Section& section, double serial, DateSystem dates);

  std::vector<Section> sections_;  // none: General
};

// As a cell without a format shows it: at most 11 characters besides the sign, scientific beyond that.
std::string general_text(double number);

}  // namespace mercato::spreadsheet
