// SPDX-License-Identifier: Apache-2.0
// Any bytes as the requests of a session of the gateway. Whatever they are, each line that is no notification gets one
// answer, which is one line of JSON-RPC, and the session goes on.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <variant>

#include "mercato/server.h"
#include "tools/gateway/request.h"
#include "tools/gateway/serve.h"

namespace {

using namespace mercato::gateway;

bool has_answer(const std::string& line) {
  try {
    return std::ranges::any_of(read_requests(line).requests, [](const auto& one) {
      const auto* request = std::get_if<Request>(&one);
      return !request || !request->notification;
    });
  } catch (const RefusedLine&) {
    return true;
  }
}

void require(bool promise) {
  if (!promise) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool registered = DllRegisterServer() == mercato::kOk;
  require(registered);
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  std::size_t expected = 0;
  std::istringstream lines(bytes);
  for (std::string line; std::getline(lines, line);)
    if (has_answer(line)) ++expected;

  // The store does not exist: what reaches it fails, and that is an answer too.
  Session session({.trace = true, .scripted = true});
  std::istringstream requests(bytes);
  std::ostringstream answers;
  serve(session, requests, answers);

  std::istringstream written(answers.str());
  std::size_t count = 0;
  for (std::string line; std::getline(written, line); ++count) {
    const JsonInput told = JsonInput::parse(line);
    for (const JsonInput& answer : told.is_array() ? told : JsonInput::array({told}))
      require(answer.at("jsonrpc") == "2.0" && answer.contains("id") &&
              answer.contains("result") != answer.contains("error"));
  }
  require(count == expected);
  return 0;
}
