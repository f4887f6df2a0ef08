// SPDX-License-Identifier: Apache-2.0
// POST /rpc: JSON-RPC 2.0. Each request of a batch stands alone; no object outlives its request.
#include <utility>
#include <variant>

#include "host/host.h"
#include "mercato/registry.h"
#include "mercato/settings.h"
#include "platform/store/call_limit.h"
#include "tools/gateway/gateway_session.h"
#include "tools/gateway/request.h"

namespace mercato::host {
namespace {

constexpr int kRoleTooLow = -32001;

struct Method {
  std::string_view name;
  Role role;
};
// A reader may not invoke: what a method writes, or shows beyond his rights, its name does not tell.
constexpr Method kMethods[] = {{"invoke", Role::keeper}, {"execute", Role::admin}, {"describe", Role::reader}};

const Method* method_named(std::string_view name) {
  for (const Method& method : kMethods)
    if (method.name == name) return &method;
  return nullptr;
}

// Handles do not exist here, so none is told.
void forget_handles(Json& json) {
  if (json.is_object() && json.value("$", Json()) == "object") json.erase("id");
  if (json.is_structured())
    for (Json& inner : json) forget_handles(inner);
}

void count(Metrics& metrics, const gateway::JsonInput& params, const std::string& outcome) {
  const auto prog_id = params.find("progId");
  const ClassTable* table =
      prog_id != params.end() && prog_id->is_string() ? registered_class(prog_id->get<std::string>()) : nullptr;
  metrics.count_call(table ? std::string(table->prog_id()) : "unknown", outcome);
}

// In all texts but the caller's own.
void show_to_clients(Json& json) {
  if (json.is_string()) json = for_clients(json.get<std::string>());
  if (json.is_array())
    for (Json& item : json) show_to_clients(item);
  if (json.is_object())
    for (auto& [name, member] : json.items())
      if (name != "args") show_to_clients(member);
}

Json perform(Call& call, const gateway::Request& request) {
  const Method* method = method_named(request.method);
  if (!method) throw gateway::RpcError(gateway::kMethodNotFound, "There is no method '" + request.method + "' here");
  if (call.caller.role < method->role)
    throw gateway::RpcError(kRoleTooLow, "The role of this token does not allow it.");
  gateway::JsonInput params = request.params;
  bool trace = false;
  if (const auto given = params.find("trace"); params.is_object() && given != params.end()) {
    if (!given->is_boolean()) gateway::refuse("The parameter \"trace\" is true or false");
    trace = given->get<bool>();
    params.erase("trace");
  }
  if (params.is_object() && params.contains("rows")) gateway::refuse("There are no cursors here, and no \"rows\"");
  const store::CallLimit limit(collaborators::settings()->call_seconds);
  gateway::Session session({.trace = trace, .scripted = false});
  const bool invokes = request.method == "invoke";
  try {
    Json result = session.perform(request.method, params);
    if (invokes) {
      forget_handles(result);
      if (result.contains("log")) show_to_clients(result["log"]);
      count(call.host.metrics(), params, result.value("outcome", "none"));
    }
    return result;
  } catch (const gateway::RpcError& error) {
    if (invokes && error.code() == gateway::kCallFailed) count(call.host.metrics(), params, "failed");
    throw;
  }
}

Json error_of(const gateway::RpcError& error) {
  Json json = error.to_json();
  show_to_clients(json);
  return json;
}

// Nothing for a notification.
std::optional<Json> answer_to(Call& call, const std::variant<gateway::Request, gateway::RefusedLine>& asked) {
  if (const auto* refused = std::get_if<gateway::RefusedLine>(&asked))
    return Json{{"jsonrpc", "2.0"}, {"id", refused->id}, {"error", error_of(*refused)}};
  const auto& request = std::get<gateway::Request>(asked);
  Json answer = {{"jsonrpc", "2.0"}, {"id", request.id}};
  try {
    answer["result"] = perform(call, request);
  } catch (const gateway::RpcError& error) {
    answer["error"] = error_of(error);
  } catch (const std::exception&) {
    answer["error"] = gateway::RpcError(gateway::kInternalError, "The request failed inside of the host").to_json();
  }
  if (request.notification) return std::nullopt;
  return answer;
}

Response answer_rpc(Call& call) {
  try {
    const gateway::Asked asked = gateway::read_requests(call.body);
    if (!asked.batch) {
      const auto* request = std::get_if<gateway::Request>(&asked.requests.front());
      const Method* method = request ? method_named(request->method) : nullptr;
      if (method && call.caller.role < method->role) refuse(403, "The role of this token does not allow it.");
    }
    Json answers = Json::array();
    for (const auto& request : asked.requests)
      if (auto answer = answer_to(call, request)) answers.push_back(std::move(*answer));
    if (answers.empty()) return {.status = 204, .fields = {}, .body = {}, .events = {}};
    return json_response(asked.batch ? answers : answers.front());
  } catch (const gateway::RefusedLine& refused) {
    return json_response(Json{{"jsonrpc", "2.0"}, {"id", refused.id}, {"error", error_of(refused)}});
  }
}

}  // namespace

std::vector<Route> rpc_routes() {
  constexpr std::uint64_t kMostBytes = std::uint64_t{16} << 20;
  return {
      {.method = "POST",
       .path = "/rpc",
       .role = Role::reader,
       .summary = "JSON-RPC 2.0: `invoke` (keeper), `execute` (admin), `describe`; batches too",
       .parameters = {},
       .handler = answer_rpc,
       .answer = "RpcAnswer",
       .most_bytes = kMostBytes,
       .body =
           R"({"jsonrpc":"2.0","id":1,"method":"invoke","params":{"progId":"Mercato.Product","method":"GetMaxProductId","args":[]}})",
       .has_own_limits = true}};
}

}  // namespace mercato::host
