#include "tools/gateway/gateway_session.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "frame/connection.h"
#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "frame/recordset.h"
#include "platform/automation/invoke.h"
#include "platform/automation/registry.h"
#include "platform/clock/clock.h"
#include "platform/store/call_limit.h"
#include "platform/store/statement_observer.h"
#include "platform/transactions/object_context.h"
#include "tools/gateway/frame_functions.h"
#include "tools/gateway/request.h"
#include "values/text.h"

namespace mercato::gateway {
namespace {

[[noreturn]] void refuse(std::string reason) { throw RpcError(kInvalidParams, std::move(reason)); }

std::string_view vote_name(Vote vote) {
  switch (vote) {
    case Vote::none:
      return "none";
    case Vote::commit:
      return "commit";
    case Vote::abort:
      return "abort";
  }
  return {};
}

std::string_view outcome_name(Outcome outcome) {
  switch (outcome) {
    case Outcome::none:
      return "none";
    case Outcome::open:
      return "open";
    case Outcome::committed:
      return "committed";
    case Outcome::rolledback:
      return "rolledback";
  }
  return {};
}

// Sets this thread's observers, and puts the earlier ones back.
class Watching {
 public:
  explicit Watching(Script& script)
      : call_observer_(set_call_observer(&script)), statement_observer_(store::set_statement_observer(&script)) {}
  ~Watching() {
    set_call_observer(call_observer_);
    store::set_statement_observer(statement_observer_);
  }
  Watching(const Watching&) = delete;
  Watching& operator=(const Watching&) = delete;

 private:
  CallObserver* call_observer_;
  store::StatementObserver* statement_observer_;
};

const ClassTable& class_named(const std::string& prog_id) {
  const ClassTable* table = registered_class(prog_id);
  if (!table) refuse("Nobody answers to '" + prog_id + "'");
  return *table;
}

const MethodInfo& method_named(const ClassTable& table, const std::string& name) {
  const MethodInfo* method = table.find(name);
  if (!method) refuse(table.prog_id() + " has no method '" + name + "'");
  return *method;
}

Json failure_data(const RaisedError& error) {
  return {{"number", error.Number},
          {"source", error.Source},
          {"description", error.Description},
          {"helpFile", error.HelpFile},
          {"helpContext", error.HelpContext}};
}

}  // namespace

// The parameters of one request, by name. What is missing, of another type or unknown is refused.
class Session::Params {
 public:
  Params(const JsonInput& json, const std::vector<std::string_view>& names) : json_(json) {
    if (!json.is_object()) refuse("The parameters are given by name");
    for (const auto& [name, value] : json.items())
      if (std::find(names.begin(), names.end(), name) == names.end()) refuse("There is no parameter \"" + name + "\"");
  }

  // Null when it was not given.
  const JsonInput* find(const char* name) const {
    const auto found = json_.find(name);
    return found == json_.end() ? nullptr : &*found;
  }
  const JsonInput& get(const char* name) const {
    const JsonInput* value = find(name);
    if (!value) refuse(std::string("The parameter \"") + name + "\" is missing");
    return *value;
  }
  std::string text(const char* name) const {
    const JsonInput& value = get(name);
    if (!value.is_string()) refuse(std::string("The parameter \"") + name + "\" is a string");
    return value.get<std::string>();
  }
  std::string text_or(const char* name, const char* otherwise) const { return find(name) ? text(name) : otherwise; }
  std::int64_t integer(const char* name) const {
    const JsonInput& value = get(name);
    if (!value.is_number_integer()) refuse(std::string("The parameter \"") + name + "\" is an integer");
    return value.get<std::int64_t>();
  }
  std::int64_t integer_or(const char* name, std::int64_t otherwise) const {
    return find(name) ? integer(name) : otherwise;
  }
  double number(const char* name) const {
    const JsonInput& value = get(name);
    if (!value.is_number()) refuse(std::string("The parameter \"") + name + "\" is a number");
    return value.get<double>();
  }

  // The failure that the parameters themselves describe. A number is signed, or the unsigned form of the same 32 bits.
  RaisedError failure() const {
    const std::int64_t given = integer("number");
    if (given < std::numeric_limits<std::int32_t>::min() || given > std::numeric_limits<std::uint32_t>::max())
      refuse("The parameter \"number\" has 32 bits");
    const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(given));
    return {number, text_or("source", ""), text_or("description", ""), {}, 0};
  }
  // The same of a parameter that is an object.
  RaisedError failure(const char* name) const {
    return Params(get(name), {"number", "source", "description"}).failure();
  }

 private:
  const JsonInput& json_;
};

struct Session::Method {
  std::string_view name;
  Json (Session::*run)(const Params&);
  bool scripted;
  std::vector<std::string_view> parameters;
};

const Session::Method* Session::find_method(std::string_view name) {
  static const std::vector<Method> methods = {
      {"create", &Session::create, false, {"progId"}},
      {"call", &Session::call, false, {"object", "method", "args"}},
      {"release", &Session::release, false, {"object"}},
      {"execute", &Session::execute, false, {"sql"}},
      {"stub", &Session::stub, true, {"progId", "method", "value", "values", "raise", "when"}},
      {"unstub", &Session::unstub, true, {"progId"}},
      {"calls", &Session::calls, true, {"progId"}},
      {"configure", &Session::configure, true, {"section", "name", "value", "webRoot", "installDir"}},
      {"fail", &Session::fail, true, {"text", "nth", "number", "source", "description"}},
      {"limit", &Session::limit, true, {"callSeconds"}},
      {"clock", &Session::clock, true, {"now", "step"}},
      {"function", &Session::function, true, {"name", "args", "pending"}},
  };
  for (const Method& method : methods)
    if (method.name == name) return &method;
  return nullptr;
}

Session::Session(Options options)
    : options_(options), script_(objects_, options.scripted), settings_before_(collaborators::settings()) {
  forget_thread_state();
}

Session::~Session() {
  while (!objects_.objects().empty()) {
    const auto [handle, object] = *objects_.objects().begin();
    try {
      perform("release", {{"object", handle}});
    } catch (const std::exception&) {
      objects_.remove(handle);  // nobody is left to hear of it
    }
  }
  if (options_.scripted) {
    clock::restore_clock();
    collaborators::restore_settings(settings_before_);
  }
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
  if (method->scripted && !options_.scripted)
    throw RpcError(kMethodNotFound, "The method '" + name + "' is open with --scripted only");
  Watching watching(script_);
  return (this->*method->run)(Params(params, method->parameters));
}

// Runs what belongs to no object's method; a failure has the form of a failed call.
template <class Work>
Json Session::watched(Work work) {
  script_.begin_watch(false);
  try {
    const store::CallLimit call_limit(collaborators::settings()->call_seconds);
    Json result = work();
    script_.end_watch();
    return result;
  } catch (const Raised& raised) {
    Watch watch = script_.end_watch();
    Json data = failure_data(raised.error());
    data["args"] = Json::array();
    data["vote"] = vote_name(Vote::none);
    data["outcome"] = outcome_name(Outcome::none);
    data["log"] = std::move(watch.log);
    if (options_.trace) data["statements"] = Json::array();
    throw RpcError(kCallFailed, raised.error().Description, std::move(data));
  } catch (...) {
    script_.end_watch();
    throw;
  }
}

Json Session::create(const Params& params) {
  const std::string prog_id = params.text("progId");
  return watched([&]() -> Json { return {{"object", objects_.handle_of(create_root(prog_id))}}; });
}

Json Session::call(const Params& params) {
  const std::int64_t handle = params.integer("object");
  const ObjectPtr object = objects_.find(handle);
  if (!object) refuse("There is no object " + std::to_string(handle));
  const auto component = std::dynamic_pointer_cast<Component>(object);
  if (!component) refuse("Object " + std::to_string(handle) + " has no methods");
  const MethodInfo& method = method_named(component->class_table(), params.text("method"));
  static const JsonInput no_arguments = JsonInput::array();
  const JsonInput* args = params.find("args");
  return call_method(component, method, arguments_of(method, args ? *args : no_arguments), {});
}

std::vector<Variant> Session::arguments_of(const MethodInfo& method, const JsonInput& args) {
  const std::size_t most = method.arguments.size();
  std::vector<Variant> values(most, kMissing);
  std::vector<bool> given(most, false);
  if (args.is_array()) {
    if (args.size() > most) refuse(method.name + " takes at most " + std::to_string(most) + " arguments");
    for (std::size_t position = 0; position < args.size(); ++position) {
      values[position] = from_json(args[position], objects_);
      given[position] = true;
    }
  } else if (args.is_object()) {
    for (const auto& [name, value] : args.items()) {
      std::size_t position = 0;
      while (position < most && !text::equal_names(method.arguments[position].name, name)) ++position;
      if (position == most) refuse(method.name + " has no argument '" + name + "'");
      if (given[position]) refuse("The argument '" + name + "' is given twice");
      values[position] = from_json(value, objects_);
      given[position] = true;
    }
  } else {
    refuse("The \"args\" are an array or an object");
  }
  for (std::size_t position = 0; position < most; ++position)
    if (!given[position] && !method.arguments[position].optional)
      refuse(method.name + ": the argument '" + method.arguments[position].name + "' is missing");
  return values;
}

Json Session::call_method(const ComponentPtr& target, const MethodInfo& method, std::vector<Variant> arguments,
                          const RaisedError& pending) {
  const auto& context = target->context();
  const bool was_open = context && context->outcome_of_last_call() == Outcome::open;
  const bool reads_property = method.property && arguments[0].is_missing();
  Watch watch;
  // What stands beside value or failure. Of a call that did not reach the object, the context knows nothing.
  const auto add_rest = [&](Json& json) {
    Json args = Json::array();
    for (const Variant& argument : arguments) args.push_back(to_json(argument, objects_));
    const bool asked = context && watch.entered;
    json["args"] = std::move(args);
    json["vote"] = vote_name(asked ? context->vote_of_last_call() : Vote::none);
    json["outcome"] = outcome_name(asked ? context->outcome_of_last_call() : was_open ? Outcome::open : Outcome::none);
    json["log"] = std::move(watch.log);
    if (options_.trace) json["statements"] = std::move(watch.statements);
  };

  Json result;
  script_.begin_watch(options_.trace);
  try {
    const store::CallLimit call_limit(collaborators::settings()->call_seconds);
    current_error() = pending;
    const Variant value = invoke(target, method.name, arguments);
    const bool has_result = method.property ? reads_property : !method.result.empty();
    result = {{"value", has_result ? to_json(value, objects_) : Json{{"$", "nothing"}}}};
  } catch (const Raised& raised) {
    watch = script_.end_watch();
    Json data = failure_data(raised.error());
    add_rest(data);
    throw RpcError(kCallFailed, raised.error().Description, std::move(data));
  } catch (...) {
    script_.end_watch();
    throw;
  }
  watch = script_.end_watch();
  add_rest(result);
  return result;
}

Json Session::release(const Params& params) {
  const std::int64_t handle = params.integer("object");
  const ObjectPtr object = objects_.find(handle);
  if (!object) refuse("There is no object " + std::to_string(handle));
  objects_.remove(handle);
  const auto* component = dynamic_cast<const Component*>(object.get());
  return watched([&]() -> Json {
    const Outcome outcome = component && component->context() ? component->context()->release() : Outcome::none;
    return {{"outcome", outcome_name(outcome)}};
  });
}

Json Session::execute(const Params& params) {
  const Sql statement = Sql::verbatim(params.text("sql"));
  return watched([&] {
    const auto connection = Connection::create();
    connection->Open(collaborators::connection_string_of("Mercato"), "", "", -1);
    std::int64_t affected = 0;
    const RecordsetPtr recordset = connection->ExecuteAffecting(statement, affected);
    Json result = {{"affected", affected}, {"fields", Json::array()}, {"rows", Json::array()}};
    if (recordset->State() == 1) result.update(rows_to_json(*recordset, objects_));
    return result;
  });
}

Json Session::stub(const Params& params) {
  const ClassTable& table = class_named(params.text("progId"));
  const MethodInfo& method = method_named(table, params.text("method"));
  const JsonInput* value = params.find("value");
  const JsonInput* values = params.find("values");
  const JsonInput* raise = params.find("raise");
  if ((value != nullptr) + (values != nullptr) + (raise != nullptr) != 1)
    refuse("A stub has one of \"value\", \"values\" and \"raise\"");

  Stub stub;
  if (const JsonInput* when = params.find("when")) {
    if (!when->is_array()) refuse("\"when\" is an array of leading arguments");
    stub.when = to_json(from_json(*when, objects_), objects_);
  }
  if (value) stub.values.push_back(from_json(*value, objects_));
  if (values) {
    if (!values->is_array() || values->empty()) refuse("\"values\" is an array with at least one value");
    for (const JsonInput& one : *values) stub.values.push_back(from_json(one, objects_));
  }
  if (raise) {
    stub.failure = params.failure("raise");
    if (stub.failure.Number == 0) refuse("A failure's number is not 0");
  }
  script_.stub(method, std::move(stub));
  return Json::object();
}

Json Session::unstub(const Params& params) {
  if (params.find("progId"))
    script_.unstub(class_named(params.text("progId")));
  else
    script_.unstub_all();
  return Json::object();
}

Json Session::calls(const Params& params) { return script_.take_calls(class_named(params.text("progId"))); }

Json Session::configure(const Params& params) {
  collaborators::Settings changed = *collaborators::settings();
  if (params.find("section") || params.find("name") || params.find("value"))
    changed.parameters[params.text("section")][params.text("name")] = from_json(params.get("value"), objects_);
  if (params.find("webRoot")) changed.web_root = params.text("webRoot");
  if (params.find("installDir")) changed.install_dir = params.text("installDir");
  collaborators::set_settings(std::move(changed));
  return Json::object();
}

Json Session::fail(const Params& params) {
  if (params.get("text").is_null()) {
    script_.forget_failures();
    return Json::object();
  }
  const std::int64_t nth = params.integer_or("nth", 1);
  if (nth < 1) refuse("\"nth\" counts from 1");
  script_.fail(params.text("text"), nth, params.failure());
  return Json::object();
}

Json Session::limit(const Params& params) {
  collaborators::Settings changed = *collaborators::settings();
  changed.call_seconds = params.number("callSeconds");
  collaborators::set_settings(std::move(changed));
  return Json::object();
}

Json Session::clock(const Params& params) {
  if (params.get("now").is_null()) {
    clock::restore_clock();
    return Json::object();
  }
  const std::optional<Date> now = Date::parse(params.text("now"));
  if (!now) refuse("\"now\" is no date");
  clock::script_clock(*now, params.find("step") ? params.number("step") : 0);
  return Json::object();
}

Json Session::function(const Params& params) {
  const MethodInfo& method = method_named(FrameFunctions::table(), params.text("name"));
  static const JsonInput no_arguments = JsonInput::array();
  const JsonInput* args = params.find("args");
  RaisedError pending = params.find("pending") ? params.failure("pending") : RaisedError{};
  if (pending.Number != 0) pending = completed(std::move(pending));
  return call_method(FrameFunctions::table().create(), method, arguments_of(method, args ? *args : no_arguments),
                     pending);
}

}  // namespace mercato::gateway
