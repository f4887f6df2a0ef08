// One client of the gateway: its objects, and the JSON-RPC methods by which it creates, calls and releases them.
// Everything happens on the thread that made the session, which serves nobody else meanwhile: the connection string
// that the library keeps for the thread, and with `scripted` the settings and the clock of the process, are the
// session's. They are put back when it ends. The classes have to be registered before.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "collaborators/grundwerk/settings.h"
#include "platform/automation/component.h"
#include "tools/gateway/json_values.h"
#include "tools/gateway/object_table.h"
#include "tools/gateway/rpc_error.h"
#include "tools/gateway/script.h"
#include "values/raised_error.h"

namespace mercato::gateway {

class Session {
 public:
  struct Options {
    bool trace = false;     // results carry the statements
    bool scripted = false;  // opens the methods that script the collaborators and the clock
  };

  explicit Session(Options options);
  // Releases every object.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The answer to one line, without a line end; nothing for a notification. Throws std::bad_alloc alone,
  // when there is no memory even to say so.
  std::optional<std::string> answer(std::string_view line);
  // The answer to a line that was too long to be read.
  static std::string answer_to_too_long_line();

  // Runs one method and returns its result. Throws RpcError.
  Json perform(const std::string& method, const JsonInput& params);

 private:
  class Params;
  struct Method;
  static const Method* find_method(std::string_view name);

  Json create(const Params& params);
  Json call(const Params& params);
  Json release(const Params& params);
  Json execute(const Params& params);
  Json stub(const Params& params);
  Json unstub(const Params& params);
  Json calls(const Params& params);
  Json configure(const Params& params);
  Json fail(const Params& params);
  Json limit(const Params& params);
  Json clock(const Params& params);
  Json function(const Params& params);

  Json call_method(const ComponentPtr& target, const MethodInfo& method, std::vector<Variant> arguments,
                   const RaisedError& pending);
  template <class Work>
  Json watched(Work work);
  std::vector<Variant> arguments_of(const MethodInfo& method, const JsonInput& args);

  Options options_;
  ObjectTable objects_;
  Script script_;
  std::shared_ptr<const collaborators::Settings> settings_before_;
};

}  // namespace mercato::gateway
