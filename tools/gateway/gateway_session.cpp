// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/gateway_session.h"

#include <utility>
#include <variant>
#include <vector>

#include "frame/lib_sql.h"
#include "tools/gateway/observing.h"
#include "tools/gateway/request.h"

namespace mercato::gateway {
namespace {

using OfObjects = Json (ObjectCalls::*)(const Params&);
using OfScript = Json (Script::*)(const Params&);

struct Method {
  std::string_view name;
  std::variant<OfObjects, OfScript> run;
  std::vector<std::string_view> parameters;
  bool scripted = false;
};

const Method* find_method(std::string_view name) {
  static const std::vector<Method> methods = {
      {"create", &ObjectCalls::create, {"progId"}},
      {"call", &ObjectCalls::call, {"object", "method", "args"}},
      {"release", &ObjectCalls::release, {"object"}},
      {"execute", &ObjectCalls::execute, {"sql"}},
      {"function", &ObjectCalls::function, {"name", "args", "pending"}, true},
      {"stub", &Script::stub, {"progId", "method", "value", "values", "raise", "when"}, true},
      {"unstub", &Script::unstub, {"progId"}, true},
      {"calls", &Script::calls, {"progId"}, true},
      {"configure", &Script::configure, {"section", "name", "value", "webRoot", "installDir"}, true},
      {"fail", &Script::fail, {"text", "nth", "number", "source", "description"}, true},
      {"limit", &Script::limit, {"callSeconds"}, true},
      {"clock", &Script::clock, {"now", "step"}, true},
  };
  for (const Method& method : methods)
    if (method.name == name) return &method;
  return nullptr;
}

}  // namespace

Session::Session(Options options) : calls_(objects_, options.trace) {
  if (options.scripted) script_.emplace(objects_);
  forget_thread_state();
}

Session::~Session() {
  while (!objects_.objects().empty()) {
    const auto [handle, object] = *objects_.objects().begin();
    try {
      perform("release", {{"object", handle}});
    } catch (const std::exception&) {
      objects_.remove(handle);  // nobody is left to be told
    }
  }
  script_.reset();
  forget_thread_state();
}

std::string Session::answer_to_too_long_line() {
  const Json answer = {
      {"jsonrpc", "2.0"}, {"id", nullptr}, {"error", RpcError(kInvalidRequest, "The line is too long").to_json()}};
  return line_of(answer);
}

std::optional<std::string> Session::answer(std::string_view line) {
  LargeValue<Json> whole{Json{{"jsonrpc", "2.0"}, {"id", nullptr}}};
  Json& answer = whole.json;
  bool notification = false;
  try {
    Request request = read_request(line);
    notification = request.notification;
    answer["id"] = std::move(request.id);
    answer["result"] = perform(request.method, request.params);
  } catch (const RefusedLine& refused) {
    answer["id"] = refused.id;
    answer["error"] = refused.to_json();
  } catch (const RpcError& error) {
    answer["error"] = error.to_json();
  } catch (const std::bad_alloc&) {
    answer["error"] = RpcError(kInternalError, "Out of memory").to_json();
  } catch (const std::exception& failure) {
    answer["error"] = RpcError(kInternalError, failure.what()).to_json();
  }
  if (notification) return std::nullopt;
  return line_of(answer);
}

Json Session::perform(const std::string& name, const JsonInput& params) {
  const Method* method = find_method(name);
  if (!method) throw RpcError(kMethodNotFound, "There is no method '" + name + "'");
  if (method->scripted && !script_)
    throw RpcError(kMethodNotFound, "The method '" + name + "' is open with --scripted only");
  const Observing observing(script_ ? &*script_ : nullptr, script_ ? &*script_ : nullptr);
  const Params given(params, method->parameters);
  if (const auto* run = std::get_if<OfObjects>(&method->run)) return (calls_.**run)(given);
  return (*script_.*std::get<OfScript>(method->run))(given);
}

}  // namespace mercato::gateway
