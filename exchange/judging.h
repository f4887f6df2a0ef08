// SPDX-License-Identifier: Apache-2.0
// Judges what a supplier's file says, one rule for all formats, before the library sees it: an item becomes a record
// whose values the library takes as they are meant, or it is refused with its reasons. What the store has just so is
// good, since nothing is done with it. Asks the store for units, currencies and products. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "exchange/item.h"
#include "exchange/read_values.h"
#include "exchange/stored/stored_products.h"
#include "frame/contracts.h"

namespace mercato::exchange {

// Why a value is refused. The names are what `--accept` takes; they never change.
enum class Reason : std::uint8_t {
  missing,
  number,
  ambiguous_number,
  date,
  ambiguous_date,
  negative,
  zero_price,
  price_decimals,
  percentage,
  end_before_start,
  same_quantity,
  flag,
  gtin,
  unit,
  currency,
  apostrophe,
  character,
  too_long,
  near_name,
  reserved_name,
  element_name,
  twice,
  no_product,
  passed_over,
  no_lower_bound,
  unreadable,
};

// What happens to a value whose reason is accepted.
enum class Acceptance : std::uint8_t {
  never,    // it cannot be
  kept,     // as it stands
  dropped,  // the record is taken without it
  cut,
  rounded,
  replaced,  // by what comes nearest to it
};

struct ReasonWords {
  std::string_view name;    // "too-long"
  std::string_view what;    // "the text is too long and would be cut"
  std::string_view advice;  // what to do about it
  Acceptance acceptance;
};
const ReasonWords& words_of(Reason reason);
// All names, in the order of the reasons.
std::vector<std::string> reason_names();
// The reasons of that list.
std::set<Reason> acceptable_reasons();
// Nothing for a name that no reason has.
std::optional<Reason> reason_named(std::string_view name);

struct Finding {
  Reason reason;
  std::string number;  // of the product
  std::string field;   // empty: the whole record
  std::string value;
  std::string detail;  // what the reason's words do not say; a sentence, or empty
  Place place;
  bool accepted = false;  // the record was taken all the same
};

struct JudgedPrice {
  std::string amount, currency, quantity_to, from_day, to_day, group, tax_percentage;
  std::string discount_percentage, discount_amount, freight_cost;
  Place place;
};

struct JudgedItem {
  std::string number;
  bool is_new = false;                                      // the store has no such product
  std::vector<std::pair<std::string, std::string>> fields;  // elements of a record, with their values
  std::vector<JudgedPrice> prices;
  std::vector<std::string> categories;
  Place place;
  // What the store has already just so is not among the fields and prices: its product as a whole, or a price line.
  bool is_unchanged = false;
  std::size_t unchanged_prices = 0;
};

struct JudgingOptions {
  std::set<Reason> accepted;
  std::optional<char> decimal_sign;             // of all numbers, whatever the file seems to have
  std::optional<Notation::Dates> dates;         // likewise
  std::map<std::string, std::string> units;     // the file's code to that of the store
  std::map<std::string, std::string> defaults;  // by a field's name, of products that have no value for it
};

// What both judges, of items and of documents, go by.
// The notation that was found, and what the options say in its place.
Notation notation_told(Notation found, const JudgingOptions& options);
// The field that a name in capitals is nearly that of; empty for none.
std::string_view field_nearly_named(std::string_view upper_name);
// Whether a finding with this field is about a price.
bool is_price_value(std::string_view field);
// Whether a name in capitals is that of a column that a document does not set, and that no property may have.
bool is_own_column(std::string_view upper_name);

class Judge {
 public:
  // Reads the store's units and currencies. Raises what that raises.
  explicit Judge(JudgingOptions options);

  void set_notation(const Notation& notation);
  // What the file says for all its items: "CURRENCY", "FROM", "TO", and fields.
  void set_header(const std::map<std::string, std::string>& values);

  // Nothing when the item is refused; the findings say why. Those of an item that is taken are accepted ones. What was
  // good of a refused one goes to `refused`.
  std::optional<JudgedItem> judge(const Item& item, std::vector<Finding>& findings, JudgedItem* refused = nullptr);

  // Codes that the store does not know, each with how often it was met and a proposal: a sentence.
  struct UnknownCode {
    std::size_t count = 0;
    std::string proposal;
  };
  using UnknownCodes = std::map<std::string, UnknownCode>;
  const UnknownCodes& unknown_units() const { return unknown_units_; }
  const UnknownCodes& unknown_currencies() const { return unknown_currencies_; }

 private:
  class Work;

  std::optional<std::string> unit_code(const std::string& text);
  std::string unit_proposal(const std::string& text) const;

  const JudgingOptions options_;
  Notation notation_;
  std::map<std::string, std::string> defaults_;
  std::map<std::string, std::string> units_;  // the store's codes by their folded text
  std::map<std::string, std::optional<std::string>> asked_units_;
  DictionaryPtr currencies_;
  ComponentPtr unit_;
  StoredProducts stored_;
  std::unordered_set<std::size_t> numbers_;  // hashes of the numbers so far
  UnknownCodes unknown_units_;
  UnknownCodes unknown_currencies_;
};

}  // namespace mercato::exchange
