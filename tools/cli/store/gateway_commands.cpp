// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "platform/store/hidden_passwords.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/gateway/describe.h"
#include "tools/gateway/gateway_session.h"
#include "tools/gateway/openrpc.h"
#include "tools/gateway/serve.h"
#include "tools/gateway/stoppable_input.h"

namespace mercato::cli {
namespace {

gateway::JsonInput argument_from(const std::string& text) {
  try {
    return gateway::JsonInput::parse(text);
  } catch (const gateway::JsonInput::exception&) {
    return text;
  }
}

int report(const gateway::RpcError& error) {
  gateway::Json told = error.to_json();
  told["message"] = store::without_passwords(told.at("message").get<std::string>());
  std::cerr << gateway::line_of(told) << '\n';
  return kFailed;
}

}  // namespace

int serve_rpc(bool trace, bool scripted) {
  // Ctrl-C ends the session at once: nobody is there to read a summary.
  if (std::signal(SIGINT, SIG_DFL) == SIG_IGN) std::signal(SIGINT, SIG_IGN);
  // The second thread needs next to nothing, which would be lost in a heap of its own.
  ::mallopt(M_ARENA_MAX, 1);
  std::ios::sync_with_stdio(false);
  gateway::StoppableInput input(STDIN_FILENO);
  gateway::Session session({.trace = trace, .scripted = scripted});
  gateway::serve(session, input.stream(), std::cout, [&] { input.stop(); });
  return kDone;
}

int call_once(const std::string& prog_id, const std::string& method, const std::vector<std::string>& arguments,
              bool trace) {
  gateway::JsonInput args = gateway::JsonInput::array();
  for (const std::string& argument : arguments) args.push_back(argument_from(argument));
  try {
    gateway::Session session({.trace = trace, .scripted = false});
    const gateway::JsonInput object = session.perform("create", {{"progId", prog_id}}).at("object").get<std::int64_t>();
    const gateway::Json result = session.perform("call", {{"object", object}, {"method", method}, {"args", args}});
    session.perform("release", {{"object", object}});
    std::cout << gateway::line_of(result) << '\n';
    return kDone;
  } catch (const gateway::RpcError& error) {
    return report(error);
  }
}

int describe_classes(const std::string& prog_id) {
  try {
    std::cout << gateway::describe(prog_id).dump(2) << '\n';
    return kDone;
  } catch (const gateway::RpcError& error) {
    return report(error);
  }
}

int describe_gateway(const std::string& version) {
  std::cout << gateway::openrpc(version).dump(2) << '\n';
  return kDone;
}

}  // namespace mercato::cli
