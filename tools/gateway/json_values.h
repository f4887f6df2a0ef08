// SPDX-License-Identifier: Apache-2.0
// Values of the interface as JSON and back. Stateless functions over the session's object table; one thread at a time.
//
// Null, texts, Booleans and arrays have JSON's own forms. Short and long are integers; a double always has a decimal
// point or an exponent. Everything else is an object with the member "$": empty, missing, nothing, short, date,
// currency, array (with another lower bound than 0), dictionary, collection, recordset, object.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "mercato/recordset.h"
#include "mercato/variant.h"
#include "tools/gateway/object_table.h"

namespace mercato::gateway {

using Json = nlohmann::ordered_json;  // what is written: members stay in the order in which they were added
using JsonInput = nlohmann::json;     // what was read: finding a member is fast, however many there are

// Objects that have no form of their own get a handle. Raises what fetching a recordset's rows raises.
Json to_json(const Variant& value, ObjectTable& objects);

// The members "fields" and "rows" of an open recordset. Raises what fetching its rows raises.
Json rows_to_json(Recordset& recordset, ObjectTable& objects);
// The names of its columns.
Json fields_to_json(const Recordset& recordset);
// The next rows, so many at most. The recordset then stands behind them. Raises what fetching its rows raises.
Json next_rows_to_json(Recordset& recordset, std::size_t most, ObjectTable& objects);

// Throws RpcError kInvalidParams for a form that is none, and for a handle that nobody has. A whole number beyond 32
// bits is a double. Raises 457 for a Collection that repeats a key.
Variant from_json(const JsonInput& json, ObjectTable& objects);

// Takes a value apart from the inside, so that it can be destroyed without memory. A JSON value that is destroyed as a
// whole asks for as much memory as its members take, and ends the process when there is none.
template <class Value>
void take_apart(Value& json) noexcept {
  if (json.is_array()) {
    auto& items = json.template get_ref<typename Value::array_t&>();
    for (Value& item : items) take_apart(item);
    items.clear();
  } else if (json.is_object()) {
    auto& members = json.template get_ref<typename Value::object_t&>();
    for (auto& member : members) take_apart(member.second);
    members.clear();
  }
}
// A value of any size that is destroyed in this way.
template <class Value>
struct LargeValue {
  Value json;
  ~LargeValue() { take_apart(json); }
};

// The text of a JSON value on one line. Bytes that are no UTF-8 are replaced.
std::string line_of(const Json& json);

}  // namespace mercato::gateway
