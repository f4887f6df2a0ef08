// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/gateway_session.h"

#include <utility>
#include <variant>
#include <vector>

#include "frame/lib_sql.h"
#include "mercato/registry.h"
#include "platform/store/call_limit.h"
#include "tools/gateway/describe.h"
#include "tools/gateway/observing.h"

namespace mercato::gateway {
namespace {

using OfObjects = Json (ObjectCalls::*)(const Params&);
using OfScript = Json (Script::*)(const Params&);

constexpr std::string_view kCancel = "cancel";

Json described(const Params& params) { return describe(params.text_or("progId", ""), Detail::whole); }

struct Method {
  std::string_view name;
  std::variant<OfObjects, OfScript, Json (*)(const Params&)> run;
  std::vector<std::string_view> parameters;
  bool scripted = false;
};

const Method* find_method(std::string_view name) {
  static const std::vector<Method> methods = {
      {"create", &ObjectCalls::create, {"progId"}},
      {"call", &ObjectCalls::call, {"object", "method", "args"}},
      {"release", &ObjectCalls::release, {"object", "cursor"}},
      {"invoke", &ObjectCalls::invoke, {"progId", "method", "args"}},
      {"execute", &ObjectCalls::execute, {"sql", "rows"}},
      {"fetch", &ObjectCalls::fetch, {"cursor", "rows"}},
      {"describe", &described, {"progId"}},
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

std::string Session::answer_to(const RefusedLine& refused) {
  return line_of({{"jsonrpc", "2.0"}, {"id", refused.id}, {"error", refused.to_json()}});
}

bool Session::is_cancellation(const Asked& asked) const {
  if (asked.batch) return false;
  const auto* request = std::get_if<Request>(&asked.requests.front());
  return request && request->method == kCancel;
}

std::optional<std::string> Session::answer(std::string_view line) {
  try {
    const Asked asked = read_requests(line);
    if (!is_cancellation(asked)) under_way_.wait_for_turn(asked);
    return answer(asked);
  } catch (const RefusedLine& refused) {
    return answer_to(refused);
  } catch (const std::bad_alloc&) {
    return answer_to({kInternalError, "Out of memory", nullptr});
  }
}

std::optional<std::string> Session::answer(const Asked& asked) {
  if (is_cancellation(asked)) {
    const auto answered = answer(asked.requests.front());
    return answered ? std::optional(line_of(*answered)) : std::nullopt;
  }
  // Each takes its turn, also when there is no memory for the answers.
  struct Turns {
    RequestsUnderWay& under_way;
    std::size_t left;
    void next() {
      under_way.end();
      --left;
    }
    ~Turns() {
      for (; left > 0; --left) under_way.end();
    }
  } turns{under_way_, asked.requests.size()};
  LargeValue<Json> answers{Json::array()};
  for (const auto& request : asked.requests) {
    under_way_.begin();
    const store::Cancellable cancellable(under_way_.cancelled());
    if (auto answered = answer(request)) answers.json.push_back(std::move(*answered));
    turns.next();
  }
  if (answers.json.empty()) return std::nullopt;
  return line_of(asked.batch ? answers.json : answers.json.front());
}

std::optional<Json> Session::answer(const std::variant<Request, RefusedLine>& asked) {
  Json answer = {{"jsonrpc", "2.0"}, {"id", nullptr}};
  const auto* request = std::get_if<Request>(&asked);
  try {
    if (!request) {
      const auto& refused = std::get<RefusedLine>(asked);
      answer["id"] = refused.id;
      throw refused;
    }
    answer["id"] = request->id;
    if (under_way_.cancelled()) calls_.raise_cancelled();
    answer["result"] = perform(request->method, request->params);
  } catch (const RpcError& error) {
    answer["error"] = error.to_json();
  } catch (const std::bad_alloc&) {
    answer["error"] = RpcError(kInternalError, "Out of memory").to_json();
  } catch (const std::exception& failure) {
    answer["error"] = RpcError(kInternalError, failure.what()).to_json();
  }
  if (request && request->notification) return std::nullopt;
  return answer;
}

Json Session::perform(const std::string& name, const JsonInput& params) {
  if (name == kCancel) {
    const Params given(params, {"id"});
    return under_way_.cancel(Json(given.get("id")));
  }
  // A class's method, under its full name.
  if (const std::size_t stop = name.rfind('.'); stop != std::string::npos && registered_class(name.substr(0, stop))) {
    const Observing observing(script_ ? &*script_ : nullptr, script_ ? &*script_ : nullptr);
    return calls_.invoke(Params({{"progId", name.substr(0, stop)}, {"method", name.substr(stop + 1)}, {"args", params}},
                                {"progId", "method", "args"}));
  }
  const Method* method = find_method(name);
  if (!method) throw RpcError(kMethodNotFound, "There is no method '" + name + "'");
  if (method->scripted && !script_)
    throw RpcError(kMethodNotFound, "The method '" + name + "' is open with --scripted only");
  const Observing observing(script_ ? &*script_ : nullptr, script_ ? &*script_ : nullptr);
  const Params given(params, method->parameters);
  if (const auto* run = std::get_if<OfObjects>(&method->run)) return (calls_.**run)(given);
  if (const auto* run = std::get_if<Json (*)(const Params&)>(&method->run)) return (**run)(given);
  return (*script_.*std::get<OfScript>(method->run))(given);
}

}  // namespace mercato::gateway
