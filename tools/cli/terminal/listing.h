// SPDX-License-Identifier: Apache-2.0
// What the library lists and returns, on its way to a table or to JSON. Main thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/recordset.h"
#include "tools/cli/commands.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

using Rows = std::vector<DictionaryPtr>;  // column name to value

// Prints one line of JSON, or the words on a line. Returns kDone.
int answer(const OutputOptions& output, const gateway::Json& json, const std::string& words);
// Prints the list as the JSON member `name`, or else the table; `none` when the table is empty. Returns kDone.
int answer_list(const OutputOptions& output, const char* name, gateway::Json list, const Table& table,
                const std::string& none);

// Columns to values in the gateway's forms.
gateway::Json to_json(const Dictionary& row);
// "" for Null, "yes" and "no" for Booleans, dates as they were chosen (terminal.h).
std::string text_of(const Variant& value);
// The same; also "" for a column that is not there.
std::string text_of(const Dictionary& row, std::string_view column);

// Things that the library lists by pages.
struct Kind {
  const char* noun;
  const char* prog_id;
  const char* list_method;  // with the arguments page, state, page size and ids
  const char* id_column;
  const char* name_column;
};
inline constexpr Kind kProperties = {"property", "Mercato.Property", "GetPropertyData", "PROPERTYID", "PROPERTYNAME"};
inline constexpr Kind kPropertyGroups = {"property group", "Mercato.RPropertyGroup", "GetPropertyGroupData",
                                         "PROPERTYGROUPID", "PROPERTYGROUPNAME"};
inline constexpr Kind kCategories = {"category", "Mercato.Catalog", "GetProductCategoryData", "CATEGORYID",
                                     "CATEGORYNAME"};

// All of them, ordered by id, fetched page by page; or those with these ids, which are joined with commas.
Rows all_of(const Kind& kind, const std::string& ids = {});
// Raises 5, naming it, when there is none.
DictionaryPtr one_of(const Kind& kind, std::int32_t id);
// The text as an id, which is not looked up; or the id of the one thing that has the text as its name, in any case.
// Raises 5 when none or several have it.
std::int32_t id_of(const Kind& kind, const std::string& text);

}  // namespace mercato::cli
