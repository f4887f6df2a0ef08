// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/row_images.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "frame/util.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

using Json = nlohmann::json;  // its members are sorted by their names

// Every list of values is as long, so that the store prepares one statement for all of them.
constexpr std::size_t kValuesAtOnce = 100;
constexpr std::size_t kMostReserved = 2000;  // bytes of an image
constexpr std::string_view kStamp = "DATEUPDATED";

std::string text_of(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

// Empty for Null.
std::string text_in(const Json& image, std::string_view column) {
  const auto found = image.find(column);
  return found == image.end() ? std::string() : text_of(*found);
}

std::string written(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

template <class Number>
void append_number(std::string& json, Number number) {
  std::array<char, 24> digits;
  json.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

// A value as JSON has it.
void append_value(std::string& json, const Variant& value) {
  if (value.is_text()) return append_json_text(json, value.text_value());
  switch (value.type()) {
    case Variant::Type::null:
      json += "null";
      return;
    case Variant::Type::boolean:
      json += value.boolean_value() ? "true" : "false";
      return;
    case Variant::Type::real:
      // Quantities are whole nearly all of them.
      if (const double number = value.double_value();
          !std::signbit(number) && number < 1e15 && number == std::floor(number)) {
        append_number(json, static_cast<std::int64_t>(number));
        json += ".0";
      } else {
        json += written(Json(number));
      }
      return;
    case Variant::Type::currency:
      json.append("\"").append(value.currency_value().fixed_text()).append("\"");
      return;
    case Variant::Type::date:
      json.append("\"").append(value.date_value().iso_text()).append("\"");
      return;
    case Variant::Type::short_integer:
    case Variant::Type::long_integer:
      append_number(json, value.to_long());
      return;
    default:
      append_json_text(json, value.to_text());
  }
}

std::string key_in(const JournaledTable& table, const Json& image) {
  Json key = Json::array();
  for (const std::string_view column : table.key) {
    const auto found = image.find(column);
    key.push_back(found == image.end() ? Json() : *found);
  }
  return written(key);
}

// "2026-07-01T08:30:00".
Date date_of(std::string_view text) {
  const auto number = [&](std::size_t position, std::size_t length) {
    int parsed = 0;
    if (position + length <= text.size())
      std::from_chars(text.data() + position, text.data() + position + length, parsed);
    return parsed;
  };
  return Date::from_civil({number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)});
}

Variant value_of(const Json& value, store::ColumnType type) {
  using enum store::ColumnType;
  switch (type) {
    case boolean:
      return value.get<bool>();
    case short_integer:
      return value.get<std::int16_t>();
    case long_integer:
      return value.get<std::int32_t>();
    case real:
      return value.get<double>();
    case money:
      return Currency::from_text(value.get<std::string>());
    case date:
      return date_of(value.get<std::string>());
    default:
      return value.get<std::string>();
  }
}

// Calls `take` with so many values at a time.
template <class Take>
void in_lists(std::span<const std::string> values, const Take& take) {
  for (std::size_t begin = 0; begin < values.size(); begin += kValuesAtOnce)
    take(values.subspan(begin, std::min(kValuesAtOnce, values.size() - begin)));
}

Sql where_in(std::string_view column, bool is_text, std::span<const std::string> values) {
  Sql sql = Sql(" WHERE ") << name(column) << " IN (";
  for (std::size_t position = 0; position < kValuesAtOnce; ++position) {
    const std::string& one = values[std::min(position, values.size() - 1)];
    if (position > 0) sql << ",";
    if (is_text)
      sql << value(GetSqlLiterals().TextToSql(one));
    else
      sql << value(one);
  }
  return sql << ")";
}

Sql query_of(const RowsAskedFor& asked, std::span<const std::string> values) {
  Sql sql = Sql("SELECT * FROM ") << name(asked.table);
  if (!asked.column.empty()) sql << where_in(asked.column, asked.is_text, values);
  return sql;
}

std::size_t position_of(const store::RowLayout& layout, std::string_view column) {
  if (const auto position = layout.find(column)) return *position;
  raise(error_number::kNoSuchField, {}, "No column " + std::string(column));
}

void append(std::vector<ImagedRow>& rows, store::Session& session, const RowsAskedFor& asked,
            std::span<const std::string> values) {
  const JournaledTable& table = journaled_table(asked.table);
  const store::Execution query = session.execute(query_of(asked, values), {.identified = asked.identified});
  const store::RowLayout& layout = *query.cursor->layout();
  std::vector<std::size_t> key;
  for (const std::string_view column : table.key) key.push_back(position_of(layout, column));
  std::vector<std::optional<std::size_t>> noted;
  for (const std::string_view column : asked.note) noted.push_back(layout.find(column));
  struct Member {
    std::string name;  // with what stands between it and its value
    std::size_t position;
  };
  std::vector<Member> members;
  for (std::size_t position = 0; position < layout.size(); ++position)
    members.push_back({'"' + std::string(layout.columns()[position].name) + "\":", position});
  std::ranges::sort(members, {}, &Member::name);
  std::size_t longest_key = 0, longest_image = 0;
  std::vector<Variant> row;
  while (query.cursor->next()) {
    query.cursor->read(row);
    ImagedRow& added = rows.emplace_back();
    added.table = &table;
    // A row is about as long as those before it.
    added.key.reserve(longest_key);
    added.image.reserve(longest_image);
    for (const std::size_t position : key) {
      added.key += added.key.empty() ? '[' : ',';
      append_value(added.key, row[position]);
    }
    added.key += ']';
    for (const Member& member : members) {
      if (row[member.position].is_null()) continue;
      added.image += added.image.empty() ? '{' : ',';
      added.image += member.name;
      append_value(added.image, row[member.position]);
    }
    added.image += '}';
    longest_key = std::max(longest_key, added.key.size());
    longest_image = std::min(std::max(longest_image, added.image.size()), kMostReserved);
    for (const std::optional<std::size_t>& position : noted)
      added.noted.push_back(position ? row[*position].text_or_empty() : std::string());
    if (asked.identified) added.identity = query.cursor->identity();
  }
}

// What stands before the member of the stamp and behind it. It holds no character that a text would write otherwise.
std::pair<std::string_view, std::string_view> around_stamp(std::string_view image) {
  static const std::string kMember = "\"" + std::string(kStamp) + "\":\"";
  const std::size_t begin = image.find(kMember);
  if (begin == std::string_view::npos) return {image, {}};
  std::size_t end = image.find('"', begin + kMember.size()) + 1;
  if (image.substr(end).starts_with(',')) ++end;
  return {image.substr(0, begin), image.substr(end)};
}

// The members of an image, one after the other. Names are those of columns, and no value has members of its own.
class Members {
 public:
  explicit Members(std::string_view image) : rest_(image) { next(); }
  bool has_one() const { return !whole_.empty(); }
  std::string_view name() const { return name_; }
  std::string_view whole() const { return whole_; }  // with its value
  std::string_view value() const { return whole_.substr(name_.size() + 3); }

  void next() {
    whole_ = {};
    if (rest_.size() < 3) return;  // "}", or "{}"
    rest_.remove_prefix(1);        // '{' or ','
    name_ = rest_.substr(1, rest_.find('"', 1) - 1);
    std::size_t end = name_.size() + 3;
    if (rest_[end] == '"')
      for (++end; rest_[end] != '"'; ++end)
        if (rest_[end] == '\\') ++end;
    while (rest_[end] != ',' && rest_[end] != '}') ++end;
    whole_ = rest_.substr(0, end);
    rest_.remove_prefix(end);
  }

 private:
  std::string_view rest_, name_, whole_;
};

void append_member(std::string& image, std::string_view member) {
  image.append(image.empty() ? "{" : ",").append(member);
}

}  // namespace

std::string differences(std::string_view before, std::string_view after) {
  std::string text;
  Members old(before), now(after);
  while (old.has_one() || now.has_one()) {
    const bool is_gone = old.has_one() && (!now.has_one() || old.name() < now.name());
    const bool is_new = !is_gone && (!old.has_one() || now.name() < old.name());
    if (is_gone)
      append_member(text, '"' + std::string(old.name()) + "\":null");
    else if (is_new || old.whole() != now.whole())
      append_member(text, now.whole());
    if (!is_new) old.next();
    if (!is_gone) now.next();
  }
  return text.append(text.empty() ? "{}" : "}");
}

std::string with_differences(std::string_view before, std::string_view differences) {
  std::string text;
  Members old(before), other(differences);
  while (old.has_one() || other.has_one()) {
    if (old.has_one() && (!other.has_one() || old.name() < other.name())) {
      append_member(text, old.whole());
      old.next();
      continue;
    }
    if (other.value() != "null") append_member(text, other.whole());
    if (old.has_one() && old.name() == other.name()) old.next();
    other.next();
  }
  return text.append(text.empty() ? "{}" : "}");
}

std::span<const JournaledTable> journaled_tables() {
  static const auto kTables = std::to_array<JournaledTable>({
      {"PRODUCTPROPVALUE", {"PROPERTYID", "PRODUCTID"}, "PRODUCTID"},
      {"PRODUCTSBYCATEGORY", {"PRODUCTID", "CATEGORYID"}, "PRODUCTID"},
      {"PRODUCTBUYER", {"PRODUCTID", "USERID"}, "PRODUCTID"},
      {"CATALOGPRODUCTPRICE", {"PRODUCTID", "PRICEEFFECTIVEDATE", "QUANTITYTO", "GROUPBY"}, "PRODUCTID"},
      {"PRODUCT", {"PRODUCTID"}, "PRODUCTID"},
      {"PROPERTY", {"PROPERTYID"}, "PROPERTYID"},
      {"COMMODITY", {"COMMODITYCODE"}, "COMMODITYCODE", true},
      {"UNSPSCCODES", {"PARENTCODE", "UNSPSCCODE"}, "PARENTCODE", true},
      {"CATALOGNODE", {"NODEID"}, "NODEID"},
      {"PRODUCTCATEGORY", {"CATEGORYID"}, "CATEGORYID"},
      {"CATALOG", {"CATALOGID"}, "CATALOGID"},
  });
  return kTables;
}

const JournaledTable& journaled_table(std::string_view name) {
  const auto tables = journaled_tables();
  const auto found = std::ranges::find(tables, name, &JournaledTable::name);
  if (found == tables.end())
    raise(error_number::kInvalidArgument, {}, "No upload of this release writes to the table " + std::string(name));
  return *found;
}

std::vector<ImagedRow> imaged_rows(store::Session& session, const RowsAskedFor& asked,
                                   std::span<const std::string> values) {
  std::vector<ImagedRow> rows;
  if (asked.column.empty()) {
    append(rows, session, asked, values);
    return rows;
  }
  in_lists(values, [&](std::span<const std::string> some) { append(rows, session, asked, some); });
  return rows;
}

std::vector<std::pair<std::string, std::string>> product_ids(store::Session& session,
                                                             std::span<const std::string> part_numbers) {
  std::vector<std::pair<std::string, std::string>> ids;
  in_lists(part_numbers, [&](std::span<const std::string> some) {
    const store::Execution query = session.execute(Sql("SELECT PRODUCTID, BUYFROMPARTNUMBER FROM PRODUCT")
                                                   << where_in("BUYFROMPARTNUMBER", true, some));
    std::vector<Variant> row;
    while (query.cursor->next()) {
      query.cursor->read(row);
      ids.emplace_back(row[0].to_text(), row[1].text_or_empty());
    }
  });
  return ids;
}

std::vector<ImagedRow> identified_rows(store::Session& session, const JournaledTable& table,
                                       std::span<const std::string> values) {
  return imaged_rows(
      session,
      {.table = table.name, .column = table.looked_up_by, .is_text = table.looked_up_by_text, .identified = true},
      values);
}

// Nearly all texts are plain.
void append_json_text(std::string& json, const std::string& text) {
  bool is_plain = true;
  for (const char character : text)
    is_plain &= character >= ' ' && character <= '~' && character != '"' && character != '\\';
  if (is_plain)
    json.append("\"").append(text).append("\"");
  else
    json += written(Json(text));
}

std::string text_of_json(std::string_view json) {
  if (json.find('\\') == std::string_view::npos) return std::string(json.substr(1, json.size() - 2));
  return Json::parse(json).get<std::string>();
}

std::string value_in(std::string_view image, std::string_view column) { return text_in(Json::parse(image), column); }

std::string key_of(const JournaledTable& table, std::string_view image) { return key_in(table, Json::parse(image)); }

std::vector<Variant> row_of(const store::TableInfo& table, std::string_view image) {
  const Json json = Json::parse(image);
  std::vector<Variant> row;
  row.reserve(table.columns.size());
  for (const store::Column& column : table.columns) {
    const auto found = json.find(column.name);
    row.push_back(found == json.end() ? Variant(kNull) : value_of(*found, column.type));
  }
  return row;
}

bool are_same(std::string_view one, std::string_view other) {
  if (one == other) return true;
  const auto [head, tail] = around_stamp(one);
  const auto [other_head, other_tail] = around_stamp(other);
  if (head.size() == other_head.size()) return head == other_head && tail == other_tail;
  return std::string(head).append(tail) == std::string(other_head).append(other_tail);
}

std::vector<ChangedField> changed_fields(std::string_view before, std::string_view after) {
  const Json old_values = before.empty() ? Json::object() : Json::parse(before);
  const Json new_values = after.empty() ? Json::object() : Json::parse(after);
  std::vector<ChangedField> fields;
  for (const auto& [column, value] : old_values.items()) {
    const auto found = new_values.find(column);
    if (column == kStamp) continue;
    if (found == new_values.end())
      fields.push_back({column, text_of(value), {}});
    else if (*found != value)
      fields.push_back({column, text_of(value), text_of(*found)});
  }
  for (const auto& [column, value] : new_values.items())
    if (column != kStamp && !old_values.contains(column)) fields.push_back({column, {}, text_of(value)});
  std::ranges::sort(fields, {}, &ChangedField::field);
  return fields;
}

Sql condition_of(const JournaledTable& table, const store::TableInfo& info, std::string_view image) {
  const Json json = Json::parse(image);
  Sql sql;
  for (const std::string_view column : table.key) {
    if (column != table.key.front()) sql << " AND ";
    sql << name(column);
    const auto found = json.find(column);
    if (found == json.end()) {
      sql << " IS NULL";
      continue;
    }
    const Variant key = value_of(*found, info.columns[*info.find(column)].type);
    sql << " = ";
    if (key.type() == Variant::Type::date)
      sql << value(GetSqlLiterals().DateTimeToSql(key.date_value()));
    else if (key.is_text())
      sql << value(GetSqlLiterals().TextToSql(key.text_value()));
    else if (key.type() == Variant::Type::real)
      sql << key.double_value();
    else
      sql << key.to_long();
  }
  return sql;
}

}  // namespace mercato::exchange
