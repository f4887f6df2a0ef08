// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/listing.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <iterator>

#include "frame/lib_sql.h"
#include "mercato/object_context.h"
#include "mercato/recordset.h"
#include "tools/cli/library.h"
#include "values/same_text.h"

namespace mercato::cli {

int answer(const OutputOptions& output, const gateway::Json& json, const std::string& words) {
  std::cout << (output.json ? gateway::line_of(json) : words) << '\n';
  return kDone;
}

int answer_list(const OutputOptions& output, const char* name, gateway::Json list, const Table& table,
                const std::string& none) {
  if (output.json)
    std::cout << gateway::line_of(gateway::Json{{name, std::move(list)}}) << '\n';
  else if (table.empty())
    std::cout << none << '\n';
  else
    table.print(std::cout);
  return kDone;
}

gateway::Json to_json(const Dictionary& row) {
  gateway::ObjectTable no_objects;
  gateway::Json json = gateway::Json::object();
  row.for_each([&](const Variant& column, const Variant& value) {
    json[column.to_text()] = gateway::to_json(value, no_objects);
  });
  return json;
}

std::string text_of(const Variant& value) {
  if (value.is_null()) return {};
  if (value.type() == Variant::Type::boolean) return value.boolean_value() ? "yes" : "no";
  if (value.type() == Variant::Type::date) return date_text(value.to_date());
  return value.to_text();
}

std::string text_of(const Dictionary& row, std::string_view column) {
  const Variant* value = row.find(column);
  return value ? text_of(*value) : std::string();
}

Rows all_of(const Kind& kind, const std::string& ids) {
  constexpr std::int32_t kPageSize = 100;
  const Variant no_page = ObjectPtr();
  const Variant wanted = ids.empty() ? Variant(kMissing) : Variant(Array{ids});
  const ComponentPtr list =
      call(create_root(kind.prog_id), kind.list_method, {no_page, "", kPageSize, wanted}).to<Component>();
  Rows rows;
  do {
    std::ranges::move(rows_left(call(list, "PageRows", {}).to<Recordset>()), std::back_inserter(rows));
  } while (call(list, "NextPage", {}).to_boolean());
  return rows;
}

DictionaryPtr one_of(const Kind& kind, std::int32_t id) {
  const Rows rows = all_of(kind, std::to_string(id));
  if (rows.empty())
    raise(error_number::kInvalidArgument, {}, std::string("There is no ") + kind.noun + " " + std::to_string(id));
  return rows.front();
}

std::int32_t id_of(const Kind& kind, const std::string& text) {
  std::int32_t id = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (problem == std::errc() && end == text.data() + text.size()) return id;

  std::size_t found = 0;
  for (const DictionaryPtr& row : all_of(kind)) {
    if (!text::same(text_of(*row, kind.name_column), text)) continue;
    id = row->Item(kind.id_column).to_long();
    ++found;
  }
  if (found == 0) raise(error_number::kInvalidArgument, {}, std::string("There is no ") + kind.noun + " " + text);
  if (found > 1)
    raise(error_number::kInvalidArgument, {},
          "The name " + text + " stands for more than one " + kind.noun + ": use the id");
  return id;
}

}  // namespace mercato::cli
