// SPDX-License-Identifier: Apache-2.0
// One client of the gateway: its objects, and the JSON-RPC methods by which it creates, calls and releases them.
// Everything happens on the thread that made the session, which serves nobody else meanwhile: the session has the
// connection string that the library keeps for the thread, and with `scripted` the settings and the clock of the
// process. They are put back when it ends. The classes have to be registered before.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "tools/gateway/json_values.h"
#include "tools/gateway/object_calls.h"
#include "tools/gateway/object_table.h"
#include "tools/gateway/request.h"
#include "tools/gateway/requests_under_way.h"
#include "tools/gateway/rpc_error.h"
#include "tools/gateway/script.h"

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

  // The answer to one line, without a line end; nothing for a notification. Throws nothing but std::bad_alloc, when
  // there is no memory even for the answer that there is none.
  std::optional<std::string> answer(std::string_view line);
  // The same for a line that was read before. Its requests wait for their turn already (`under_way`), unless it is a
  // cancellation.
  std::optional<std::string> answer(const Asked& asked);
  // The answer to what is no request.
  static std::string answer_to(const RefusedLine& refused);

  // Whether the line asks for nothing but to cancel a request. Such a line is answered on any thread, at any time.
  bool is_cancellation(const Asked& asked) const;
  RequestsUnderWay& under_way() { return under_way_; }

  // Runs one method and returns its result. Throws RpcError.
  Json perform(const std::string& method, const JsonInput& params);

 private:
  // Nothing for a notification.
  std::optional<Json> answer(const std::variant<Request, RefusedLine>& asked);

  RequestsUnderWay under_way_;
  ObjectTable objects_;
  ObjectCalls calls_;
  std::optional<Script> script_;  // when scripted
};

}  // namespace mercato::gateway
