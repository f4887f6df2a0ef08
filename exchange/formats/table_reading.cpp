// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/table_reading.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include "exchange/formats/proposal.h"
#include "exchange/read_values.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

// A column reference with its place in the rows.
struct Column {
  std::size_t place = 0;
  const ColumnReference* reference = nullptr;  // null: the mapping does not name it
  explicit operator bool() const { return reference != nullptr; }
};

struct PriceColumns {
  Column amount, tiers, amount_for, currency, from_quantity, to_quantity, from_day, to_day, group, tax_percentage,
      discount_percentage, discount_amount, freight_cost;
  const Mapping::Price* price;
};

struct FieldColumn {
  const std::string* name;
  Column column;
  bool is_property;
};

class TableReading {
 public:
  TableReading(SampledTable& table, const Mapping& mapping, ItemSink& sink, char decimal_sign)
      : table_(table), mapping_(mapping), sink_(sink), decimal_sign_(decimal_sign) {}

  void run() {
    find_header();
    find_columns();
    tell();
    TableRow row;
    for (std::size_t passed = 0; passed < rows_before_data_; ++passed) table_.next(row);
    while (table_.next(row)) take(row);
    if (item_) sink_.item(std::move(*item_));
  }

 private:
  void find_header() {
    std::size_t position = header_position(table_.sample());
    if (mapping_.header_row) {
      const auto found = std::ranges::find(table_.sample(), *mapping_.header_row, &TableRow::line);
      if (*mapping_.header_row == 0) {
        headers_.resize(table_.sample().front().cells.size());
        return;
      }
      if (found == table_.sample().end())
        raise(error_number::kInvalidArgument, {},
              "The mapping says that the headers stand on line " + std::to_string(*mapping_.header_row) +
                  ", which has none.");
      position = static_cast<std::size_t>(found - table_.sample().begin());
    }
    rows_before_data_ = position + 1;
    header_line_ = table_.sample()[position].line;
    for (const std::string& header : table_.sample()[position].cells) headers_.emplace_back(trimmed(header));
    while (!headers_.empty() && headers_.back().empty()) headers_.pop_back();
  }

  Column find(const ColumnReference& reference) {
    if (reference.empty()) return {};
    std::size_t place = 0;
    if (reference.column.front() == '#') {
      const char* const end = reference.column.data() + reference.column.size();
      const auto [behind, error] = std::from_chars(reference.column.data() + 1, end, place);
      if (error == std::errc() && behind == end && place >= 1 && place <= headers_.size()) {
        used_[place - 1] = true;
        return {place - 1, &reference};
      }
    }
    const auto is_it = [&](const std::string& header) { return text::equal_names(header, trimmed(reference.column)); };
    const auto found = std::ranges::find_if(headers_, is_it);
    if (found == headers_.end()) {
      std::string known;
      for (const std::string& header : headers_) known += (known.empty() ? "\"" : ", \"") + header + "\"";
      constexpr std::size_t kShown = 500;
      raise(error_number::kInvalidArgument, {},
            "The mapping names the column \"" + reference.column + "\", which the file has not. It has " +
                std::string(text::left(known, kShown)) + ".");
    }
    if (std::ranges::count_if(headers_, is_it) > 1)
      raise(error_number::kInvalidArgument, {},
            "Several columns have the header \"" + reference.column +
                "\". Name the one that is meant by its place: \"#" + std::to_string(found - headers_.begin() + 1) +
                "\".");
    place = static_cast<std::size_t>(found - headers_.begin());
    used_[place] = true;
    return {place, &reference};
  }

  void find_columns() {
    used_.assign(headers_.size(), false);
    number_ = find(mapping_.number);
    for (const MappedField& field : mapping_.fields) fields_.push_back({&field.name, find(field.from), false});
    for (const MappedField& field : mapping_.properties) fields_.push_back({&field.name, find(field.from), true});
    for (const Mapping::Price& price : mapping_.prices)
      prices_.push_back({find(price.amount), find(price.tiers), find(price.amount_for), find(price.currency),
                         find(price.from_quantity), find(price.to_quantity), find(price.from_day), find(price.to_day),
                         find(price.group), find(price.tax_percentage), find(price.discount_percentage),
                         find(price.discount_amount), find(price.freight_cost), &price});
    category_ = find(mapping_.category);
    property_name_ = find(mapping_.property_name);
    property_value_ = find(mapping_.property_value);
    for (const std::string& header : mapping_.ignored) find({header, {}, 1});
    if (mapping_.other_columns_are_properties) {
      other_names_.reserve(headers_.size());
      other_references_.reserve(headers_.size());
    }
    for (std::size_t place = 0; place < headers_.size(); ++place) {
      if (used_[place]) continue;
      if (headers_[place].empty()) headers_[place] = "#" + std::to_string(place + 1);
      if (!mapping_.other_columns_are_properties || property_name_of(headers_[place]).empty()) {
        left_out_.push_back(place);
        continue;
      }
      other_names_.push_back(property_name_of(headers_[place]));
      other_references_.push_back({headers_[place], {}, 1});
      fields_.push_back({&other_names_.back(), {place, &other_references_.back()}, true});
    }
  }

  // How the first rows write their numbers and dates, where the mapping leaves that open.
  void tell() {
    std::vector<std::string> numbers;
    std::vector<std::string> days;
    const auto add = [](std::vector<std::string>& to, const Column& column, const TableRow& row) {
      if (column && column.place < row.cells.size()) to.emplace_back(trimmed(row.cells[column.place]));
    };
    std::size_t position = 0;
    for (const TableRow& row : table_.sample()) {
      if (position++ < rows_before_data_) continue;
      for (const PriceColumns& price : prices_) {
        for (const Column* column : {&price.amount, &price.amount_for, &price.from_quantity, &price.tax_percentage})
          add(numbers, *column, row);
        if (price.tiers && price.tiers.place < row.cells.size())
          for (const std::string& tier : text::split(row.cells[price.tiers.place], price.price->between_tiers))
            for (const std::string& half : text::split(tier, price.price->within_tier)) numbers.push_back(half);
        add(days, price.from_day, row);
        add(days, price.to_day, row);
      }
      for (const FieldColumn& field : fields_)
        if (*field.name == "MINORDERQTY" || *field.name == "MULTIPLEOF" || *field.name == "LOTSIZE" ||
            *field.name == "DELIVERYLEADTIME")
          add(numbers, field.column, row);
        else if (*field.name == "PRODUCTEFFECTIVITYDATE" || *field.name == "PRODUCTEXPIRYDATE")
          add(days, field.column, row);
    }
    Notation notation = notation_of(numbers, days);
    if (notation.decimal_sign == 0) notation.decimal_sign = decimal_sign_;
    if (mapping_.decimal_sign) {
      notation.decimal_sign = *mapping_.decimal_sign;
      notation.thousands_sign = notation.decimal_sign == ',' ? '.' : ',';
    }
    if (mapping_.thousands_sign) notation.thousands_sign = *mapping_.thousands_sign;
    if (mapping_.dates) notation.dates = *mapping_.dates;
    sink_.found_out("headers", header_line_ == 0 ? "none" : "line " + std::to_string(header_line_));
    sink_.notation(notation);
    sink_.header(mapping_.constants);
  }

  static std::string_view cell(const Column& column, const TableRow& row) {
    if (!column || column.place >= row.cells.size()) return {};
    const std::string_view whole = trimmed(row.cells[column.place]);
    if (column.reference->split.empty()) return whole;
    std::size_t begin = 0;
    for (std::size_t part = 1; part < column.reference->part; ++part) {
      const std::size_t separator = whole.find(column.reference->split, begin);
      if (separator == std::string_view::npos) return {};
      begin = separator + column.reference->split.size();
    }
    return trimmed(whole.substr(begin, whole.find(column.reference->split, begin) - begin));
  }

  void take(const TableRow& row) {
    const std::string_view number = cell(number_, row);
    if (!row.fault.empty()) return sink_.flawed(number, row.fault, {row.line});
    if (row.cells.size() < headers_.size() ||
        std::any_of(row.cells.begin() + static_cast<std::ptrdiff_t>(headers_.size()), row.cells.end(),
                    [](const std::string& one) { return !trimmed(one).empty(); }))
      return sink_.flawed(number,
                          "The row has " + std::to_string(row.cells.size()) + " cells, and there are " +
                              std::to_string(headers_.size()) +
                              " headers. Put texts that hold the separator in quotes.",
                          {row.line});
    Item item = item_of(number, row);
    if (item_ && !goes_on_with(item)) {
      sink_.item(std::move(*item_));
      item_.reset();
    }
    if (!item_) item_ = std::move(item);
    take_prices(row);
    const std::string_view property = cell(property_name_, row);
    const std::string_view value = cell(property_value_, row);
    if (!property.empty() && !value.empty())
      item_->fields.push_back({property_name_of(property), std::string(value), {row.line}, true});
    for (const std::size_t place : left_out_)
      if (!trimmed(row.cells[place]).empty()) sink_.left_out(headers_[place], {row.line});
  }

  // Whether it is the next row of the product at hand, for its next tier or property: what it says of the product, the
  // product has already.
  bool goes_on_with(const Item& item) const {
    if (item.number.empty() || item.number != item_->number || (prices_.empty() && !property_name_)) return false;
    return std::ranges::all_of(item.fields, [this](const ItemField& field) {
      return std::ranges::any_of(item_->fields, [&field](const ItemField& known) {
        return known.name == field.name && known.value == field.value;
      });
    });
  }

  // Without prices, and without what the row has for one property.
  Item item_of(std::string_view number, const TableRow& row) const {
    Item item;
    item.number = number;
    item.action = mapping_.action;
    item.place = {row.line};
    for (const FieldColumn& field : fields_) {
      const std::string_view value = cell(field.column, row);
      if (value.empty() || (!item.fields.empty() && item.fields.back().name == *field.name)) continue;
      ItemField& added =
          item.fields.emplace_back(ItemField{*field.name, std::string(value), {row.line}, field.is_property});
      if (added.name != "UNITCODE") continue;
      if (const auto unit = mapping_.units.find(added.value); unit != mapping_.units.end()) added.value = unit->second;
    }
    if (const std::string_view path = cell(category_, row); !path.empty()) item.categories.push_back(joined(path));
    return item;
  }

  // The path with the separator that all formats have.
  std::string joined(std::string_view path) const {
    std::string all;
    for (const std::string& name : text::split(path, mapping_.category_separator))
      if (const std::string_view part = trimmed(name); !part.empty()) all.append(all.empty() ? "" : " > ").append(part);
    return all;
  }

  void take_prices(const TableRow& row) {
    for (const PriceColumns& columns : prices_) {
      ItemPrice price;
      price.place = {row.line};
      price.amount_for = cell(columns.amount_for, row);
      price.currency = cell(columns.currency, row);
      price.from_day = cell(columns.from_day, row);
      price.to_day = cell(columns.to_day, row);
      price.group = cell(columns.group, row);
      price.tax_percentage = cell(columns.tax_percentage, row);
      price.to_quantity = cell(columns.to_quantity, row);
      price.discount_percentage = cell(columns.discount_percentage, row);
      price.discount_amount = cell(columns.discount_amount, row);
      price.freight_cost = cell(columns.freight_cost, row);
      if (columns.tiers) {
        for (const std::string& tier : text::split(cell(columns.tiers, row), columns.price->between_tiers)) {
          const std::size_t within = tier.find(columns.price->within_tier);
          price.from_quantity =
              within == std::string::npos ? std::string() : std::string(trimmed(tier.substr(0, within)));
          price.amount = trimmed(std::string_view(tier).substr(
              within == std::string::npos ? 0 : within + columns.price->within_tier.size()));
          if (!trimmed(tier).empty()) item_->prices.push_back(price);
        }
        continue;
      }
      price.amount = cell(columns.amount, row);
      price.from_quantity = cell(columns.from_quantity, row);
      if (!price.amount.empty()) item_->prices.push_back(std::move(price));
    }
  }

  SampledTable& table_;
  const Mapping& mapping_;
  ItemSink& sink_;
  const char decimal_sign_;
  std::vector<std::string> headers_;
  std::size_t rows_before_data_ = 0;
  std::uint64_t header_line_ = 0;
  std::vector<bool> used_;
  Column number_, category_, property_name_, property_value_;
  std::vector<FieldColumn> fields_;
  std::vector<PriceColumns> prices_;
  std::vector<std::string> other_names_;
  std::vector<ColumnReference> other_references_;
  std::vector<std::size_t> left_out_;
  std::optional<Item> item_;  // the next rows may go on with it
};

}  // namespace

void read_table(Table& table, const ReadingOptions& options, ItemSink& sink, char decimal_sign) {
  SampledTable sampled(table);
  if (sampled.sample().empty()) raise(error_number::kInvalidArgument, {}, "The file has no rows.");
  if (options.mapping) return TableReading(sampled, *options.mapping, sink, decimal_sign).run();
  const Proposal proposal = propose(sampled.sample());
  if (!proposal.certain)
    raise(error_number::kInvalidArgument, {},
          "It is not certain which column holds the supplier's part number. Write a first mapping with "
          "`mercato import --propose FILE > mapping.toml`, mend it, and import with --mapping mapping.toml.");
  TableReading(sampled, proposal.mapping, sink, decimal_sign).run();
}

}  // namespace mercato::exchange
