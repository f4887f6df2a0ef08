// SPDX-License-Identifier: Apache-2.0
// A server, as a driver reaches it: for statements of the store's own, which no statement of the library is. One thread
// at a time.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/text_values.h"

namespace mercato::store::postgres {

class PostgresServer {
 public:
  virtual ~PostgresServer() = default;
  // All rows of a query; a value that is not there is Null. Parameters are $1, $2 ..., each once and in their order. A
  // failure leaves the transaction as it was, and is raised.
  virtual std::vector<SentValues> rows(const std::string& query, const SentValues& values = {}) = 0;
  // A statement of whose answer nothing but its failure is wanted.
  virtual void control(const std::string& statement) = 0;
  // Several statements in one text.
  virtual void run_script(const std::string& script) = 0;
  virtual std::string_view failure_source() const = 0;
  // For messages: "the server 'db.example.com' (database 'mercato')".
  virtual const std::string& label() const = 0;
};

}  // namespace mercato::store::postgres
