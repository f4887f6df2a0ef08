// SPDX-License-Identifier: Apache-2.0
// One line of a client as a JSON-RPC 2.0 request, or as a batch of them. Pure function; any thread.
//
// Beyond what JSON asks, a line is refused that nests deeper than 200 levels or holds more than 8 million values, so
// that no line can cost memory or stack out of all proportion.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tools/gateway/json_values.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {

inline constexpr std::size_t kMaxDepth = 200;
inline constexpr std::size_t kMaxValues = 8'000'000;

struct Request {
  Request() = default;
  Request(Request&&) = default;
  Request& operator=(Request&&) = default;
  ~Request() { take_apart(params); }

  bool notification = false;  // without an id: nobody waits for an answer
  Json id;
  std::string method;
  JsonInput params = JsonInput::object();
};

// The error under which a line is refused, and the id to answer it to: null when it could not be read.
class RefusedLine : public RpcError {
 public:
  RefusedLine(int code, std::string message, Json request_id)
      : RpcError(code, std::move(message)), id(std::move(request_id)) {}
  Json id;
};

// What a line asks for: one request, or those of a batch in order, each of which may be refused by itself.
struct Asked {
  bool batch = false;
  std::vector<std::variant<Request, RefusedLine>> requests;
};

// Throws RefusedLine for the line as a whole: kParseError for what is no JSON or beyond the bounds, kInvalidRequest for
// a batch without a request.
Asked read_requests(std::string_view line);

}  // namespace mercato::gateway
