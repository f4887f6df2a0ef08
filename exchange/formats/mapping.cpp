// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/mapping.h"

#include <algorithm>
#include <functional>

#include "mercato/raised_error.h"
#include "platform/files/toml_reader.h"
#include "platform/xml/characters.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

class Reader {
 public:
  explicit Reader(std::string_view name) : name_(name) {}

  [[noreturn]] void fail(const toml::node& node, const std::string& what) const {
    raise(error_number::kInvalidArgument, {},
          std::string(name_) + ", line " + std::to_string(node.source().begin.line) + ": " + what);
  }

  std::string text(const toml::node& node) const {
    if (const auto value = node.value<std::string>(); value && node.is_string()) return *value;
    if (const auto number = node.value<std::int64_t>(); number && node.is_integer()) return std::to_string(*number);
    fail(node, "a text in quotes belongs here.");
  }

  char sign(const toml::node& node) const {
    const std::string value = text(node);
    if (value.size() != 1) fail(node, "one character belongs here.");
    return value.front();
  }

  std::size_t count(const toml::node& node) const {
    const auto value = node.value<std::int64_t>();
    if (!node.is_integer() || *value < 0) fail(node, "a number from 0 on belongs here.");
    return static_cast<std::size_t>(*value);
  }

  const toml::table& table(const toml::node& node) const {
    if (const toml::table* found = node.as_table()) return *found;
    fail(node, "a table belongs here.");
  }

  // Calls the action of each key; a key without one is a fault.
  using Action = std::function<void(const toml::node&)>;
  void each(const toml::table& from, const std::map<std::string, Action, std::less<>>& actions) const {
    for (const auto& [key, node] : from) {
      const auto action = actions.find(key.str());
      if (action == actions.end()) {
        std::string known;
        for (const auto& entry : actions) known += (known.empty() ? "" : ", ") + entry.first;
        fail(node, "there is no \"" + std::string(key.str()) + "\" here; known are " + known + ".");
      }
      action->second(node);
    }
  }

  ColumnReference column(const toml::node& node) const {
    ColumnReference reference;
    if (node.is_string()) {
      reference.column = text(node);
    } else if (node.is_table()) {
      each(*node.as_table(), {{"column", [&](const toml::node& value) { reference.column = text(value); }},
                              {"split", [&](const toml::node& value) { reference.split = text(value); }},
                              {"part", [&](const toml::node& value) { reference.part = count(value); }}});
      if (reference.part == 0) fail(node, "parts are counted from 1.");
    }
    if (reference.column.empty()) fail(node, "the header of a column belongs here, or { column, split, part }.");
    return reference;
  }

  Action into(std::string& target) const {
    return [this, &target](const toml::node& node) { target = text(node); };
  }
  Action into(ColumnReference& target) const {
    return [this, &target](const toml::node& node) { target = column(node); };
  }
  Action into(std::vector<MappedField>& target) const {
    return [this, &target](const toml::node& node) {
      for (const auto& [name, value] : table(node)) {
        if (!value.is_array()) {
          target.push_back({std::string(name.str()), column(value)});
          continue;
        }
        for (const toml::node& one : *value.as_array()) target.push_back({std::string(name.str()), column(one)});
      }
    };
  }
  Action into(std::map<std::string, std::string>& target) const {
    return [this, &target](const toml::node& node) {
      for (const auto& [name, value] : table(node)) target[std::string(name.str())] = text(value);
    };
  }

  void read_price(const toml::node& node, Mapping::Price& price) const {
    each(table(node), {{"amount", into(price.amount)},
                       {"tiers", into(price.tiers)},
                       {"between", into(price.between_tiers)},
                       {"within", into(price.within_tier)},
                       {"for", into(price.amount_for)},
                       {"currency", into(price.currency)},
                       {"from_quantity", into(price.from_quantity)},
                       {"to_quantity", into(price.to_quantity)},
                       {"from", into(price.from_day)},
                       {"to", into(price.to_day)},
                       {"group", into(price.group)},
                       {"tax", into(price.tax_percentage)},
                       {"discount_percentage", into(price.discount_percentage)},
                       {"discount_amount", into(price.discount_amount)},
                       {"freight", into(price.freight_cost)}});
    if (price.amount.empty() == price.tiers.empty()) fail(node, "a price needs either \"amount\" or \"tiers\".");
    if (price.between_tiers.empty() || price.within_tier.empty())
      fail(node, "something has to stand between tiers, and within them.");
  }

  void read(const toml::table& document, Mapping& mapping) const {
    each(document,
         {{"encoding", into(mapping.encoding)},
          {"separator", into(mapping.separator)},
          {"quote", [&](const toml::node& node) { mapping.quote = text(node); }},
          {"header_row", [&](const toml::node& node) { mapping.header_row = count(node); }},
          {"sheet", into(mapping.sheet)},
          {"decimal", [&](const toml::node& node) { mapping.decimal_sign = sign(node); }},
          {"thousands", [&](const toml::node& node) { mapping.thousands_sign = sign(node); }},
          {"dates", [&](const toml::node& node) { read_dates(node, mapping); }},
          {"number", into(mapping.number)},
          {"action", [&](const toml::node& node) { read_action(node, mapping); }},
          {"fields", into(mapping.fields)},
          {"constants", into(mapping.constants)},
          {"units", into(mapping.units)},
          {"price", [&](const toml::node& node) { read_prices(node, mapping); }},
          {"category",
           [&](const toml::node& node) {
             each(table(node),
                  {{"column", into(mapping.category.column)}, {"separator", into(mapping.category_separator)}});
           }},
          {"properties", into(mapping.properties)},
          {"other_columns", [&](const toml::node& node) { read_others(node, mapping); }},
          {"property_rows",
           [&](const toml::node& node) {
             each(table(node), {{"name", into(mapping.property_name)}, {"value", into(mapping.property_value)}});
             if (mapping.property_name.empty() || mapping.property_value.empty())
               fail(node, "it needs the columns \"name\" and \"value\".");
           }},
          {"ignored", [&](const toml::node& node) {
             if (!node.is_array()) fail(node, "a list of headers belongs here.");
             for (const toml::node& one : *node.as_array()) mapping.ignored.push_back(text(one));
           }}});
    if (mapping.separator.size() > 1) fail(*document.get("separator"), "one character belongs here.");
    if (mapping.quote && mapping.quote->size() > 1) fail(*document.get("quote"), "one character belongs here.");
    if (mapping.number.empty())
      fail(document, "it does not say which column holds the supplier's part number: number = \"HEADER\".");
  }

 private:
  void read_dates(const toml::node& node, Mapping& mapping) const {
    const std::string value = text(node);
    if (value == "iso" || value == "ymd")
      mapping.dates = Notation::Dates::iso;
    else if (value == "dmy")
      mapping.dates = Notation::Dates::day_first;
    else if (value == "mdy")
      mapping.dates = Notation::Dates::month_first;
    else
      fail(node, "\"iso\", \"dmy\" or \"mdy\" belongs here.");
  }

  void read_action(const toml::node& node, Mapping& mapping) const {
    const std::string value = text(node);
    if (value == "update")
      mapping.action = Item::Action::update;
    else if (value == "remove")
      mapping.action = Item::Action::remove;
    else if (value != "put")
      fail(node, "\"put\", \"update\" or \"remove\" belongs here.");
  }

  void read_prices(const toml::node& node, Mapping& mapping) const {
    if (const toml::array* list = node.as_array())
      for (const toml::node& one : *list) read_price(one, mapping.prices.emplace_back());
    else
      read_price(node, mapping.prices.emplace_back());
  }

  void read_others(const toml::node& node, Mapping& mapping) const {
    const std::string value = text(node);
    if (value == "properties")
      mapping.other_columns_are_properties = true;
    else if (value != "left out")
      fail(node, "\"properties\" or \"left out\" belongs here.");
  }

  std::string_view name_;
};

}  // namespace

Mapping read_mapping(std::string_view text, std::string_view name) {
  Mapping mapping;
  try {
    Reader(name).read(toml::parse(text), mapping);
  } catch (const toml::parse_error& error) {
    raise(error_number::kInvalidArgument, {},
          std::string(name) + ", line " + std::to_string(error.source().begin.line) + ": " +
              std::string(error.description()) + ".");
  }
  return mapping;
}

std::string property_name_of(std::string_view header) {
  const std::string characters = xml::as_name_characters(text::to_upper(text::trim(header)));
  std::string name;
  for (const char byte : characters) {
    const char kept = byte == ':' || byte == '.' || byte == '-' ? '_' : byte;
    if (kept != '_' || (!name.empty() && name.back() != '_')) name += kept;
  }
  while (!name.empty() && name.back() == '_') name.pop_back();
  return name.empty() || xml::is_name(name) ? name : "_" + name;
}

}  // namespace mercato::exchange
