// SPDX-License-Identifier: Apache-2.0
// The parameters of one request, by name. What is missing, of another type or unknown is refused with RpcError
// kInvalidParams. A view: the request has to outlive it. One thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/raised_error.h"
#include "tools/gateway/json_values.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {

class Params {
 public:
  // `names` are those that the method knows.
  Params(const JsonInput& json, const std::vector<std::string_view>& names);

  // Null when it was not given.
  const JsonInput* find(const char* name) const;
  const JsonInput& get(const char* name) const;
  std::string text(const char* name) const;
  std::string text_or(const char* name, const char* otherwise) const;
  std::int64_t integer(const char* name) const;
  std::int64_t integer_or(const char* name, std::int64_t otherwise) const;
  double number(const char* name) const;

  // The class that answers to the ProgID.
  const ClassTable& class_named(const char* name) const;
  const MethodInfo& method_named(const char* name, const ClassTable& table) const;
  // The arguments of a call, "args"; none when they were not given.
  const JsonInput& arguments() const;

  // The failure that "number", "source" and "description" describe. A number is signed, or the unsigned form of the same
  // 32 bits.
  RaisedError failure() const;
  // The same of a parameter that is an object with these members.
  RaisedError failure(const char* name) const;

 private:
  const JsonInput& json_;
};

}  // namespace mercato::gateway
