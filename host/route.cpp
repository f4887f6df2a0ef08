// SPDX-License-Identifier: Apache-2.0
#include "host/route.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "mercato/date.h"
#include "values/text.h"

namespace mercato::host {
namespace {

std::vector<std::string_view> parts_of(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

int digit_of(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

// Nothing for a text that is wrongly written, no UTF-8, or holds a NUL.
std::optional<std::string> decoded(std::string_view text, bool plus_is_blank) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char character = text[at];
    if (character == '%') {
      if (at + 2 >= text.size()) return std::nullopt;
      const int high = digit_of(text[at + 1]);
      const int low = digit_of(text[at + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      character = static_cast<char>(high * 16 + low);
      at += 2;
    } else if (character == '+' && plus_is_blank) {
      character = ' ';
    }
    if (character == '\0') return std::nullopt;
    out += character;
  }
  if (!text::is_valid(out)) return std::nullopt;
  return out;
}

std::optional<std::int64_t> whole_number(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (problem != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// What is wrong with a value; empty when nothing is.
std::string fault_of(const Parameter& parameter, const std::string& value) {
  const std::string name = std::string("'") + parameter.name + "'";
  switch (parameter.kind) {
    case Parameter::Kind::text:
      return value.size() > 2000 ? name + " is too long" : std::string();
    case Parameter::Kind::integer: {
      const auto number = whole_number(value);
      if (number && *number >= parameter.least && *number <= parameter.most) return {};
      return name + " is a whole number from " + std::to_string(parameter.least) + " to " +
             std::to_string(parameter.most);
    }
    case Parameter::Kind::number: {
      const auto number = text::parse_number(value);
      return number && *number > 0 ? std::string() : name + " is a number above 0";
    }
    case Parameter::Kind::day:
      return is_day(value) ? std::string() : name + " is a day such as 2026-07-01";
    case Parameter::Kind::choice:
      for (const std::string_view choice : parts_of(parameter.choices, '|'))
        if (choice == value) return {};
      return name + " is one of " + parameter.choices;
  }
  return {};
}

const Parameter* parameter_named(const Route& route, std::string_view name) {
  const auto found =
      std::ranges::find(route.parameters, name, [](const Parameter& one) { return std::string_view(one.name); });
  return found == route.parameters.end() ? nullptr : &*found;
}

}  // namespace

const std::string& Call::text(std::string_view name) const {
  static const std::string none;
  const auto found = values.find(name);
  return found == values.end() ? none : found->second;
}
std::int32_t Call::integer(std::string_view name) const { return static_cast<std::int32_t>(*whole_number(text(name))); }
std::optional<std::int32_t> Call::integer_if_given(std::string_view name) const {
  return has(name) ? std::optional(integer(name)) : std::nullopt;
}
double Call::number(std::string_view name) const { return *text::parse_number(text(name)); }
std::optional<std::string> Call::sight() const {
  if (caller.user) return caller.user;
  return has("user") ? std::optional(text("user")) : std::nullopt;
}

const std::vector<Route>& routes() {
  static const std::vector<Route> table = [] {
    std::vector<Route> all;
    for (auto theme :
         {product_routes, catalog_routes, list_routes, upload_routes, rpc_routes, session_routes, process_routes})
      for (Route& route : theme()) all.push_back(std::move(route));
    return all;
  }();
  return table;
}

void refuse(int status, std::string detail) { throw Refused{status, std::move(detail)}; }

Found find_route(std::string_view method, std::string_view path) {
  Found found;
  const auto given = parts_of(path, '/');
  for (const Route& route : routes()) {
    const auto wanted = parts_of(route.path, '/');
    if (wanted.size() != given.size()) continue;
    std::map<std::string, std::string, std::less<>> values;
    bool fits = true;
    for (std::size_t part = 0; part < wanted.size() && fits; ++part) {
      if (wanted[part].starts_with('{'))
        values.emplace(wanted[part].substr(1, wanted[part].size() - 2), given[part]);
      else
        fits = wanted[part] == given[part];
    }
    if (!fits) continue;
    found.allowed += (found.allowed.empty() ? "" : ", ") + std::string(route.method);
    if (method == route.method || (method == "HEAD" && std::string_view(route.method) == "GET")) {
      found.route = &route;
      found.values = std::move(values);
      return found;
    }
    found.other_method = true;
  }
  return found;
}

Target target_of(std::string_view text) {
  if (!text.starts_with('/')) refuse(400, "The target of a request is a path.");
  const std::size_t question = text.find('?');
  const auto path = decoded(text.substr(0, question), false);
  if (!path) refuse(400, "The path is wrongly written.");
  return {*path, question == std::string_view::npos ? std::string() : std::string(text.substr(question + 1))};
}

void take_query(const Route& route, std::string_view query, std::map<std::string, std::string, std::less<>>& values) {
  for (const std::string_view part : parts_of(query, '&')) {
    if (part.empty()) continue;
    const std::size_t equals = part.find('=');
    const auto name = decoded(part.substr(0, equals), true);
    const auto value = equals == std::string_view::npos ? std::string() : decoded(part.substr(equals + 1), true);
    if (!name || !value) refuse(400, "The query is wrongly written.");
    const Parameter* parameter = parameter_named(route, *name);
    if (!parameter || std::string_view(route.path).find("{" + *name + "}") != std::string_view::npos)
      refuse(400, "There is no parameter of that name here.");
    // An empty one was left empty by a form: it is as if it were not there.
    if (value->empty()) continue;
    if (const std::string fault = fault_of(*parameter, *value); !fault.empty())
      refuse(400, "The parameter " + fault + ".");
    if (!values.emplace(*name, *value).second) refuse(400, "The parameter '" + *name + "' is given twice.");
  }
  for (const Parameter& parameter : route.parameters)
    if (parameter.required && !values.contains(parameter.name))
      refuse(400, std::string("The parameter '") + parameter.name + "' is missing.");
}

void check_path_values(const Route& route, const std::map<std::string, std::string, std::less<>>& values) {
  for (const auto& [name, value] : values)
    if (const Parameter* parameter = parameter_named(route, name); parameter && !fault_of(*parameter, value).empty())
      refuse(404, "There is nothing at this address.");
}

Response json_response(const Json& json, int status) {
  Response response;
  response.status = status;
  response.fields.emplace_back("Content-Type", "application/json");
  response.body = gateway::line_of(json);
  return response;
}

Response record_response(const Call& call, const Json& json) {
  Response response = json_response(json);
  std::array<unsigned char, 16> hash{};
  ::crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(response.body.data()),
                       response.body.size(), nullptr, 0);
  std::string tag(hash.size() * 2 + 1, '\0');
  ::sodium_bin2hex(tag.data(), tag.size(), hash.data(), hash.size());
  tag.pop_back();
  tag = "\"" + tag + "\"";
  const std::string_view known = call.head.field("if-none-match");
  const auto tags = parts_of(known, ',');
  const bool has_it = std::ranges::any_of(tags, [&](std::string_view one) {
    one = text::trim(one);
    if (one.starts_with("W/")) one.remove_prefix(2);
    return one == tag || one == "*";
  });
  if (has_it) {
    response.status = 304;
    response.body.clear();
    response.fields.clear();
  }
  response.fields.emplace_back("ETag", tag);
  return response;
}

Response problem_response(int status, std::string_view detail) {
  Response response = json_response(
      Json{{"type", "about:blank"}, {"title", reason_of(status)}, {"status", status}, {"detail", detail}}, status);
  response.fields.front().second = "application/problem+json";
  return response;
}

}  // namespace mercato::host
