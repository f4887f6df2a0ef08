// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/json_values.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/collection.h"
#include "mercato/component.h"
#include "mercato/dictionary.h"
#include "mercato/raised_error.h"
#include "mercato/recordset.h"
#include "platform/store/row_layout.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {
namespace {

constexpr const char* kForm = "$";

Json form(const char* name) { return {{kForm, name}}; }

Json items_to_json(const std::vector<Variant>& items, ObjectTable& objects) {
  Json::array_t list;
  list.reserve(items.size());
  for (const Variant& item : items) list.push_back(to_json(item, objects));
  return list;
}

Json pair_to_json(Json key, Json value) {
  Json::array_t pair;
  pair.reserve(2);
  pair.push_back(std::move(key));
  pair.push_back(std::move(value));
  return pair;
}

Json array_to_json(const Array& array, ObjectTable& objects) {
  Json items = items_to_json(array.items, objects);
  if (array.lower == 0) return items;
  Json json = form("array");
  json["lower"] = array.lower;
  json["items"] = std::move(items);
  return json;
}

Json dictionary_to_json(const Dictionary& dictionary, ObjectTable& objects) {
  Json::array_t items;
  items.reserve(static_cast<std::size_t>(dictionary.Count()));
  dictionary.for_each([&](const Variant& key, const Variant& item) {
    items.push_back(pair_to_json(to_json(key, objects), to_json(item, objects)));
  });
  Json json = form("dictionary");
  json["items"] = std::move(items);
  return json;
}

Json collection_to_json(const Collection& collection, ObjectTable& objects) {
  Json::array_t items;
  items.reserve(static_cast<std::size_t>(collection.Count()));
  for (std::int32_t position = 1; position <= collection.Count(); ++position) {
    const std::optional<std::string>& key = collection.key_at(position);
    items.push_back(pair_to_json(key ? Json(*key) : Json(nullptr), to_json(collection.Item(position), objects)));
  }
  Json json = form("collection");
  json["items"] = std::move(items);
  return json;
}

Json recordset_to_json(Recordset& recordset, ObjectTable& objects) {
  Json json = form("recordset");
  json.update(rows_to_json(recordset, objects));
  return json;
}

Json object_to_json(const ObjectPtr& object, ObjectTable& objects) {
  if (!object) return form("nothing");
  if (const auto* dictionary = dynamic_cast<const Dictionary*>(object.get()))
    return dictionary_to_json(*dictionary, objects);
  if (const auto* collection = dynamic_cast<const Collection*>(object.get()))
    return collection_to_json(*collection, objects);
  if (auto* recordset = dynamic_cast<Recordset*>(object.get())) return recordset_to_json(*recordset, objects);
  const auto* component = dynamic_cast<const Component*>(object.get());
  Json json = form("object");
  json["id"] = objects.handle_of(object);
  json["progId"] = component ? component->class_table().prog_id() : std::string(object->type_name());
  return json;
}

const JsonInput& member(const JsonInput& json, const char* name) {
  const auto found = json.find(name);
  if (found == json.end()) refuse(std::string("A value of this form has a member \"") + name + "\"");
  return *found;
}

const std::string& text_member(const JsonInput& json, const char* name) {
  const JsonInput& value = member(json, name);
  if (!value.is_string()) refuse(std::string("The member \"") + name + "\" is a string");
  return value.get_ref<const std::string&>();
}

template <class Integer>
Integer integer_member(const JsonInput& json, const char* name) {
  const JsonInput& value = member(json, name);
  if (value.is_number_integer()) {
    const auto number = value.get<std::int64_t>();
    if (!(value.is_number_unsigned() && number < 0) && number >= std::numeric_limits<Integer>::min() &&
        number <= std::numeric_limits<Integer>::max())
      return static_cast<Integer>(number);
  }
  refuse(std::string("The member \"") + name + "\" is an integer that fits");
}

const JsonInput& list_member(const JsonInput& json, const char* name) {
  const JsonInput& value = member(json, name);
  if (!value.is_array()) refuse(std::string("The member \"") + name + "\" is an array");
  return value;
}

std::vector<Variant> list_from_json(const JsonInput& list, ObjectTable& objects) {
  std::vector<Variant> items;
  items.reserve(list.size());
  for (const JsonInput& item : list) items.push_back(from_json(item, objects));
  return items;
}

// The entries of a dictionary or collection: pairs of key and value.
template <class Visitor>
void for_each_pair(const JsonInput& json, Visitor visit) {
  for (const JsonInput& pair : list_member(json, "items")) {
    if (!pair.is_array() || pair.size() != 2) refuse("Each of the \"items\" is a pair of key and value");
    visit(pair[0], pair[1]);
  }
}

Date date_from_json(const std::string& text) {
  const std::optional<Date> date = Date::parse(text);
  if (!date) refuse("\"" + text + "\" is no date");
  return *date;
}

Currency currency_from_json(const std::string& text) {
  try {
    return Currency::from_text(text);
  } catch (const Raised&) {
    refuse("\"" + text + "\" is no amount");
  }
}

Variant recordset_from_json(const JsonInput& json, ObjectTable& objects) {
  std::vector<store::Column> columns;
  for (const JsonInput& field : list_member(json, "fields")) {
    if (!field.is_string()) refuse("Each of the \"fields\" is a string");
    store::Column column;
    column.name = field.get<std::string>();
    columns.push_back(std::move(column));
  }
  std::vector<std::vector<Variant>> rows;
  for (const JsonInput& row : list_member(json, "rows")) {
    if (!row.is_array() || row.size() != columns.size())
      refuse("Each of the \"rows\" is an array with one value for each field");
    rows.push_back(list_from_json(row, objects));
  }
  return Recordset::from_rows(std::make_shared<const store::RowLayout>(std::move(columns)), std::move(rows));
}

Variant form_from_json(const JsonInput& json, ObjectTable& objects) {
  const std::string& name = text_member(json, kForm);
  if (name == "empty") return {};
  if (name == "missing") return kMissing;
  if (name == "nothing") return ObjectPtr();
  if (name == "short") return integer_member<std::int16_t>(json, "value");
  if (name == "date") return date_from_json(text_member(json, "value"));
  if (name == "currency") return currency_from_json(text_member(json, "value"));
  if (name == "array") {
    const auto lower = json.contains("lower") ? integer_member<std::int32_t>(json, "lower") : 0;
    return Array(list_from_json(list_member(json, "items"), objects), lower);
  }
  if (name == "dictionary") {
    const auto dictionary = std::make_shared<Dictionary>();
    for_each_pair(json, [&](const JsonInput& key, const JsonInput& value) {
      dictionary->Set(from_json(key, objects), from_json(value, objects));
    });
    return dictionary;
  }
  if (name == "collection") {
    const auto collection = std::make_shared<Collection>();
    for_each_pair(json, [&](const JsonInput& key, const JsonInput& value) {
      if (key.is_null())
        collection->Add(from_json(value, objects));
      else if (key.is_string())
        collection->Add(from_json(value, objects), key.get<std::string>());
      else
        refuse("The key of a collection's item is a string or null");
    });
    return collection;
  }
  if (name == "recordset") return recordset_from_json(json, objects);
  if (name == "object") {
    const auto handle = integer_member<std::int64_t>(json, "id");
    const ObjectPtr object = objects.find(handle);
    if (!object) refuse("There is no object " + std::to_string(handle));
    return object;
  }
  refuse("There is no form \"" + name + "\" of a value");
}

}  // namespace

Json to_json(const Variant& value, ObjectTable& objects) {
  using Type = Variant::Type;
  switch (value.type()) {
    case Type::empty:
      return form("empty");
    case Type::null:
      return nullptr;
    case Type::missing:
      return form("missing");
    case Type::boolean:
      return value.boolean_value();
    case Type::short_integer:
      return value.short_value();
    case Type::long_integer:
      return value.long_value();
    case Type::real:
      return value.double_value();
    case Type::currency: {
      Json json = form("currency");
      json["value"] = value.currency_value().fixed_text();
      return json;
    }
    case Type::date: {
      Json json = form("date");
      json["value"] = value.date_value().iso_text();
      return json;
    }
    case Type::text:
      return value.text_value();
    case Type::array:
      return array_to_json(value.array_value(), objects);
    case Type::object:
      return object_to_json(value.object_value(), objects);
  }
  return nullptr;
}

Json rows_to_json(Recordset& recordset, ObjectTable& objects) {
  Json::array_t rows;
  rows.reserve(recordset.rows().size());
  for (const std::vector<Variant>& row : recordset.rows()) rows.push_back(items_to_json(row, objects));
  return {{"fields", fields_to_json(recordset)}, {"rows", std::move(rows)}};
}

Json fields_to_json(const Recordset& recordset) {
  Json fields = Json::array();
  for (std::size_t position = 0; position < recordset.FieldCount(); ++position)
    fields.push_back(recordset.FieldName(position));
  return fields;
}

Json next_rows_to_json(Recordset& recordset, std::size_t most, ObjectTable& objects) {
  Json::array_t rows;
  for (; rows.size() < most && !recordset.Eof(); recordset.MoveNext()) {
    Json row = Json::array();
    for (std::size_t position = 0; position < recordset.FieldCount(); ++position)
      row.push_back(to_json(recordset.Value(position), objects));
    rows.push_back(std::move(row));
  }
  return rows;
}

Variant from_json(const JsonInput& json, ObjectTable& objects) {
  switch (json.type()) {
    case JsonInput::value_t::null:
      return kNull;
    case JsonInput::value_t::boolean:
      return json.get<bool>();
    case JsonInput::value_t::string:
      return json.get_ref<const std::string&>();
    case JsonInput::value_t::number_integer:
      return Variant::from_integer(json.get<std::int64_t>());
    case JsonInput::value_t::number_unsigned:
      if (json.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
        return json.get<double>();
      return json.get<std::int32_t>();
    case JsonInput::value_t::number_float:
      return json.get<double>();
    case JsonInput::value_t::array:
      return Array(list_from_json(json, objects));
    default:
      return form_from_json(json, objects);
  }
}

std::string line_of(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace mercato::gateway
