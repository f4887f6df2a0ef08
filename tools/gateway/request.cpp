// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/request.h"

#include <utility>

namespace mercato::gateway {
namespace {

// Looks at brackets and commas only; whether the text is JSON is the parser's question.
void check_bounds(std::string_view line) {
  std::size_t depth = 0;
  std::size_t values = 1;
  bool in_text = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char character = line[at];
    if (in_text) {
      if (character == '\\')
        ++at;
      else if (character == '"')
        in_text = false;
      continue;
    }
    switch (character) {
      case '"':
        in_text = true;
        break;
      case '[':
      case '{':
        ++values;
        if (++depth > kMaxDepth)
          throw RefusedLine(kParseError, "The line nests deeper than " + std::to_string(kMaxDepth) + " levels",
                            nullptr);
        break;
      case ']':
      case '}':
        if (depth > 0) --depth;
        break;
      case ',':
        ++values;
        break;
      default:
        break;
    }
  }
  if (values > kMaxValues)
    throw RefusedLine(kParseError, "The line holds more than " + std::to_string(kMaxValues) + " values", nullptr);
}

void parse(std::string_view line, JsonInput& json) {
  check_bounds(line);
  try {
    nlohmann::detail::json_sax_dom_parser<JsonInput> builder(json);
    JsonInput::sax_parse(line.begin(), line.end(), &builder);
  } catch (const JsonInput::exception& failure) {
    // "[json.exception.parse_error.101] parse error at line 1, column 2: ...": the reader's own words begin behind the
    // name.
    const std::string words = failure.what();
    const std::size_t end = words.find("] ");
    throw RefusedLine(kParseError, "No JSON: " + (end == std::string::npos ? words : words.substr(end + 2)), nullptr);
  }
}

// The id as it goes back. Nothing but a text, a number or null is one.
bool read_id(const JsonInput& id, Json& out) {
  if (id.is_string())
    out = id.get_ref<const std::string&>();
  else if (id.is_number_unsigned())
    out = id.get<std::uint64_t>();
  else if (id.is_number_integer())
    out = id.get<std::int64_t>();
  else if (id.is_number_float())
    out = id.get<double>();
  else if (!id.is_null())
    return false;
  return true;
}

std::variant<Request, RefusedLine> request_of(JsonInput& json) {
  Request request;
  const auto refused = [&](const char* reason) { return RefusedLine(kInvalidRequest, reason, request.id); };
  if (!json.is_object()) return refused("A request is an object");

  const auto id = json.find("id");
  request.notification = id == json.end();
  if (!request.notification && !read_id(*id, request.id)) return refused("The \"id\" is a string, a number or null");
  const auto version = json.find("jsonrpc");
  if (version == json.end() || *version != "2.0") return refused("The member \"jsonrpc\" is \"2.0\"");
  const auto method = json.find("method");
  if (method == json.end() || !method->is_string()) return refused("The member \"method\" is a string");
  request.method = method->get<std::string>();
  if (const auto params = json.find("params"); params != json.end()) {
    if (!params->is_structured()) return refused("The \"params\" are an object or an array");
    request.params = std::move(*params);
  }
  return request;
}

}  // namespace

Asked read_requests(std::string_view line) {
  LargeValue<JsonInput> read;
  parse(line, read.json);
  Asked asked;
  asked.batch = read.json.is_array();
  if (!asked.batch) {
    asked.requests.push_back(request_of(read.json));
    return asked;
  }
  if (read.json.empty()) throw RefusedLine(kInvalidRequest, "A batch has at least one request", nullptr);
  asked.requests.reserve(read.json.size());
  for (JsonInput& json : read.json) asked.requests.push_back(request_of(json));
  return asked;
}

}  // namespace mercato::gateway
