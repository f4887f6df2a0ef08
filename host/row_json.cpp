// SPDX-License-Identifier: Apache-2.0
#include "host/row_json.h"

namespace mercato::host {

using gateway::Json;

Json plain_json(const Variant& value) {
  switch (value.type()) {
    case Variant::Type::boolean:
      return value.boolean_value();
    case Variant::Type::short_integer:
      return value.short_value();
    case Variant::Type::long_integer:
      return value.long_value();
    case Variant::Type::real:
      return value.double_value();
    case Variant::Type::currency:
      return value.currency_value().to_double();
    case Variant::Type::date:
      return value.date_value().iso_text();
    case Variant::Type::text:
      return value.text_value();
    default:
      return nullptr;
  }
}

Json row_json(const Dictionary& row) {
  Json json = Json::object();
  row.for_each([&](const Variant& column, const Variant& value) { json[column.text_value()] = plain_json(value); });
  return json;
}

Json rows_json(const std::vector<DictionaryPtr>& rows) {
  Json json = Json::array();
  for (const DictionaryPtr& row : rows) json.push_back(row_json(*row));
  return json;
}

}  // namespace mercato::host
