// SPDX-License-Identifier: Apache-2.0
// Classification and units: UNSPSC codes a level at a time or by words, properties and their groups.
#include <algorithm>
#include <map>

#include "classification/group_members.h"
#include "classification/unspsc_code.h"
#include "frame/lib_sql.h"
#include "host/host.h"
#include "host/row_json.h"
#include "keeping/code_lists.h"
#include "mercato/object_context.h"
#include "mercato/property.h"
#include "mercato/unspsc.h"

namespace mercato::host {
namespace {

bool is_code(const std::string& text) {
  return text.size() % 2 == 0 && std::ranges::all_of(text, [](char digit) { return digit >= '0' && digit <= '9'; });
}

Json code_json(const Root<UNSPSC>& codes, const std::string& code, const Variant& description) {
  return {
      {"code", code}, {"description", description.text_or_empty()}, {"hasChildren", codes->CheckifChildExists(code)}};
}

Response list_codes(Call& call) {
  constexpr std::int32_t kMost = 200;
  const Root<UNSPSC> codes;
  Json items = Json::array();
  if (call.has("query")) {
    for (const DictionaryPtr& row : keeping::unspsc_codes_with(call.text("query"), kMost))
      items.push_back(code_json(codes, row->Item("PARENTCODE").text_or_empty() + row->Item("UNSPSCCODE").to_text(),
                                row->Item("DESCRIPTION")));
    return json_response({{"items", std::move(items)}});
  }
  const std::string parent = unspsc::without_zero_pairs(call.text("parent"));
  if (!is_code(parent)) refuse(400, "The parameter 'parent' is a code: pairs of digits.");
  // All products count, so who sees only some is told nothing of it.
  const bool counts = call.has("with") && !call.caller.user;
  const auto products = counts ? keeping::products_below_code(parent) : std::map<std::string, std::int64_t>();
  codes->GetAllUNSPSCCodes(unspsc::level_below(parent), parent)
      ->for_each([&](const Variant& code, const Variant& description) {
        Json item = code_json(codes, code.to_text(), description);
        if (counts) {
          const auto found = products.find(code.to_text());
          item["products"] = found == products.end() ? 0 : found->second;
        }
        items.push_back(std::move(item));
      });
  return json_response({{"items", std::move(items)}});
}

Response list_properties(Call&) {
  const Root<Property> properties;
  Json items = Json::array();
  for (const DictionaryPtr& row : keeping::all_properties()) {
    Json item = row_json(*row);
    item["CHOICES"] = Json::array();
    if (const Variant& type = row->Item("DATATYPE"); !type.is_null() && type.to_long() == ENUMPROPERTYTYPE)
      properties->getPropertyEnums(row->Item("PROPERTYID").to_long())
          ->for_each([&](const Variant&, const Variant& choice) { item["CHOICES"].push_back(choice.to_text()); });
    items.push_back(std::move(item));
  }
  return json_response({{"items", std::move(items)}});
}

Response list_groups(Call&) {
  std::map<std::int32_t, Json> members;
  for (const DictionaryPtr& row : classification::members_of_all_groups(shared_connection_string())) {
    Json member = row_json(*row);
    const std::int32_t group = member.at("PROPERTYGROUPID").get<std::int32_t>();
    member.erase("PROPERTYGROUPID");
    members[group].push_back(std::move(member));
  }
  Json items = Json::array();
  for (const DictionaryPtr& row : keeping::all_property_groups()) {
    Json item = row_json(*row);
    const auto found = members.find(row->Item("PROPERTYGROUPID").to_long());
    item["properties"] = found == members.end() ? Json::array() : found->second;
    items.push_back(std::move(item));
  }
  return json_response({{"items", std::move(items)}});
}

Response list_units(Call&) { return json_response({{"items", rows_json(keeping::all_units())}}); }

}  // namespace

std::vector<Route> list_routes() {
  const auto list = [](const char* path, const char* summary, Handler handler, std::vector<Parameter> parameters = {}) {
    return Route{.method = "GET",
                 .path = path,
                 .role = Role::reader,
                 .summary = summary,
                 .parameters = std::move(parameters),
                 .handler = handler,
                 .answer = "List"};
  };
  return {
      list("/api/v1/unspsc", "UNSPSC codes right below a code, or with words in their description", list_codes,
           {{.name = "parent", .description = "The code above; without it the segments", .example = "14"},
            {.name = "with",
             .kind = Parameter::Kind::choice,
             .description =
                 "How many products each code right below has, itself or further down; not for a user's sight",
             .choices = "products"},
            {.name = "query", .description = "Codes of any level with this text in their description, at most 200"}}),
      list("/api/v1/properties", "The properties, by name", list_properties),
      list("/api/v1/property-groups", "The property groups with their properties, by name", list_groups),
      list("/api/v1/units", "The units of measure, by code", list_units)};
}

}  // namespace mercato::host
