// SPDX-License-Identifier: Apache-2.0
// A request that gets an error for an answer: the code, the message and the data of JSON-RPC. A value type.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "tools/gateway/json_values.h"

namespace mercato::gateway {

inline constexpr int kParseError = -32700;
inline constexpr int kInvalidRequest = -32600;
inline constexpr int kMethodNotFound = -32601;
inline constexpr int kInvalidParams = -32602;
inline constexpr int kInternalError = -32603;
inline constexpr int kCallFailed = -32000;  // the library or the store raised; `data` has the failure

class RpcError : public std::exception {
 public:
  RpcError(int code, std::string message, Json data = nullptr)
      : code_(code), message_(std::move(message)), data_(std::move(data)) {}

  int code() const { return code_; }
  const std::string& message() const { return message_; }
  // Null when there is none.
  const Json& data() const { return data_; }
  const char* what() const noexcept override { return message_.c_str(); }
  // {"code", "message", "data"}, the last one when there is any.
  Json to_json() const;

 private:
  int code_;
  std::string message_;
  Json data_;
};

// The parameters of a request are no good: throws kInvalidParams.
[[noreturn]] void refuse(std::string reason);

}  // namespace mercato::gateway
