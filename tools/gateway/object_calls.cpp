// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/object_calls.h"

#include <cstdint>
#include <utility>

#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "mercato/connection.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/recordset.h"
#include "mercato/settings.h"
#include "platform/store/call_limit.h"
#include "tools/gateway/call_watch.h"
#include "tools/gateway/frame_functions.h"
#include "values/text.h"

namespace mercato::gateway {
namespace {

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

Json failure_data(const RaisedError& error) {
  return {{"number", error.Number},
          {"source", error.Source},
          {"description", error.Description},
          {"helpFile", error.HelpFile},
          {"helpContext", error.HelpContext}};
}

// How many rows a page has at most.
std::size_t rows_of(const Params& params, std::int64_t otherwise) {
  const std::int64_t rows = params.integer_or("rows", otherwise);
  if (params.find("rows") && rows < 1) refuse("The parameter \"rows\" is 1 or more");
  return static_cast<std::size_t>(rows);
}

[[noreturn]] void refuse_cursor(const Params& params) {
  refuse("There is no cursor " + std::to_string(params.integer("cursor")));
}

store::CallLimit call_limit_in_force() { return store::CallLimit(collaborators::settings()->call_seconds); }

}  // namespace

template <class Work>
Json ObjectCalls::watched(Work work) {
  CallRecord record;
  try {
    const CallWatch watch(record, objects_, false);
    const store::CallLimit call_limit = call_limit_in_force();
    return work();
  } catch (const Raised& raised) {
    Json data = failure_data(raised.error());
    data["args"] = Json::array();
    data["vote"] = vote_name(Vote::none);
    data["outcome"] = outcome_name(Outcome::none);
    data["log"] = std::move(record.log);
    if (traces_) data["statements"] = Json::array();
    throw RpcError(kCallFailed, raised.error().Description, std::move(data));
  }
}

Json ObjectCalls::create(const Params& params) {
  const std::string prog_id = params.text("progId");
  return watched([&]() -> Json { return {{"object", objects_.handle_of(create_root(prog_id))}}; });
}

ObjectPtr ObjectCalls::object_of(const Params& params) const {
  const std::int64_t handle = params.integer("object");
  ObjectPtr object = objects_.find(handle);
  if (!object) refuse("There is no object " + std::to_string(handle));
  return object;
}

Json ObjectCalls::call(const Params& params) {
  const auto component = std::dynamic_pointer_cast<Component>(object_of(params));
  if (!component) refuse("Object " + std::to_string(params.integer("object")) + " has no methods");
  const MethodInfo& method = params.method_named("method", component->class_table());
  return call_method(component, method, arguments_of(method, params.arguments()), {});
}

std::vector<Variant> ObjectCalls::arguments_of(const MethodInfo& method, const JsonInput& args) {
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

Json ObjectCalls::call_method(const ComponentPtr& target, const MethodInfo& method, std::vector<Variant> arguments,
                              const RaisedError& pending) {
  const auto& context = target->context();
  const bool was_open = context && context->outcome_of_last_call() == Outcome::open;
  const bool reads_property = method.property && arguments[0].is_missing();
  CallRecord record;
  // What stands beside value or failure. Of a call that did not reach the object, the context knows nothing.
  const auto add_rest = [&](Json& json) {
    Json args = Json::array();
    for (const Variant& argument : arguments) args.push_back(to_json(argument, objects_));
    const bool asked = context && record.entered;
    json["args"] = std::move(args);
    json["vote"] = vote_name(asked ? context->vote_of_last_call() : Vote::none);
    json["outcome"] = outcome_name(asked ? context->outcome_of_last_call() : was_open ? Outcome::open : Outcome::none);
    json["log"] = std::move(record.log);
    if (traces_) json["statements"] = std::move(record.statements);
  };

  Json result;
  try {
    const CallWatch watch(record, objects_, traces_);
    const store::CallLimit call_limit = call_limit_in_force();
    current_error() = pending;
    const Variant value = mercato::invoke(target, method.name, arguments);
    const bool has_result = method.property ? reads_property : !method.result.empty();
    result = {{"value", has_result ? to_json(value, objects_) : Json{{"$", "nothing"}}}};
  } catch (const Raised& raised) {
    Json data = failure_data(raised.error());
    add_rest(data);
    throw RpcError(kCallFailed, raised.error().Description, std::move(data));
  }
  add_rest(result);
  return result;
}

Json ObjectCalls::release(const Params& params) {
  if (params.find("cursor") && !params.find("object")) {
    if (cursors_.erase(params.integer("cursor")) == 0) refuse_cursor(params);
    return {{"outcome", outcome_name(Outcome::none)}};
  }
  const ObjectPtr object = object_of(params);
  objects_.remove(params.integer("object"));
  const auto* component = dynamic_cast<const Component*>(object.get());
  return watched([&]() -> Json {
    const Outcome outcome = component && component->context() ? component->context()->release() : Outcome::none;
    return {{"outcome", outcome_name(outcome)}};
  });
}

Json ObjectCalls::invoke(const Params& params) {
  const JsonInput created(create(params));
  const JsonInput object = {{"object", created.at("object")}};
  // What the call leaves open is settled with the object, and told in the place of what it was before.
  const auto settle = [&](Json& told) {
    const Json released = release(Params(object, {"object"}));
    if (told.at("outcome") == outcome_name(Outcome::open)) told["outcome"] = released.at("outcome");
  };
  Json result;
  try {
    const auto component = std::dynamic_pointer_cast<Component>(object_of(Params(object, {"object"})));
    const MethodInfo& method = params.method_named("method", component->class_table());
    result = call_method(component, method, arguments_of(method, params.arguments()), {});
  } catch (const RpcError& error) {
    Json data = error.data();
    if (data.is_null())
      release(Params(object, {"object"}));
    else
      settle(data);
    throw RpcError(error.code(), error.message(), std::move(data));
  }
  settle(result);
  return result;
}

Json ObjectCalls::execute(const Params& params) {
  const Sql statement = Sql::verbatim(params.text("sql"));
  const bool by_pages = params.find("rows");
  const std::size_t most = rows_of(params, 0);
  if (by_pages && cursors_.size() >= kMostCursors)
    refuse("There are " + std::to_string(kMostCursors) + " cursors: fetch the rest of one, or release it");
  return watched([&] {
    const auto connection = Connection::create();
    connection->Open(collaborators::connection_string_of("Mercato"), "", "", -1);
    std::int64_t affected = 0;
    const RecordsetPtr recordset = connection->ExecuteAffecting(statement, affected);
    Json result = {{"affected", affected}, {"fields", Json::array()}, {"rows", Json::array()}};
    if (recordset->State() == 1 && !by_pages) result.update(rows_to_json(*recordset, objects_));
    if (recordset->State() == 1 && by_pages) {
      result["fields"] = fields_to_json(*recordset);
      result["rows"] = next_rows_to_json(*recordset, most, objects_);
      cursors_[++last_cursor_] = recordset;
      add_cursor(result, last_cursor_);
    }
    return result;
  });
}

Json ObjectCalls::fetch(const Params& params) {
  const std::int64_t cursor = params.integer("cursor");
  const auto found = cursors_.find(cursor);
  if (found == cursors_.end()) refuse_cursor(params);
  const std::size_t most = rows_of(params, 1000);
  try {
    return watched([&] {
      Json page = {{"rows", next_rows_to_json(*found->second, most, objects_)}};
      add_cursor(page, cursor);
      return page;
    });
  } catch (const RpcError&) {
    cursors_.erase(cursor);  // nobody knows which rows would be next
    throw;
  }
}

void ObjectCalls::add_cursor(Json& page, std::int64_t cursor) {
  const bool is_at_end = cursors_.at(cursor)->Eof();
  if (is_at_end) cursors_.erase(cursor);
  page["cursor"] = is_at_end ? Json(nullptr) : Json(cursor);
}

void ObjectCalls::raise_cancelled() {
  watched([]() -> Json {
    store::check_call_limit_now();
    return nullptr;
  });
  throw RpcError(kInternalError, "The request was not cancelled");
}

Json ObjectCalls::function(const Params& params) {
  const MethodInfo& method = params.method_named("name", FrameFunctions::table());
  RaisedError pending = params.find("pending") ? params.failure("pending") : RaisedError{};
  if (pending.Number != 0) pending = completed(std::move(pending));
  return call_method(FrameFunctions::table().create(), method, arguments_of(method, params.arguments()), pending);
}

}  // namespace mercato::gateway
