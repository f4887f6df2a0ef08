// SPDX-License-Identifier: Apache-2.0
// A store for measuring that is a file or a database of a server: what the work on it costs, and what is asked of the
// engine itself. One thread at a time.
#pragma once

#include <memory>
#include <string>

namespace mercato::bench {

class AnyStore {
 public:
  // A file, or a connection string with a database, of a role that may create it.
  explicit AnyStore(const std::string& place);
  ~AnyStore();
  AnyStore(const AnyStore&) = delete;
  AnyStore& operator=(const AnyStore&) = delete;

  const std::string& connection_string() const { return connection_string_; }
  bool is_on_server() const { return server_ != nullptr; }
  bool exists() const;
  // Nobody may have it open.
  void remove();
  // Without any tables, whatever was there before.
  void make_empty();
  // So that plans do not depend on when a server cleans up by itself.
  void settle() const;
  double text_index_bytes(const std::string& table) const;
  // The processor time of this thread, and of the server's connections to the store, as long as they are open.
  double seconds();

 private:
  class Engine;

  const std::string connection_string_;
  const std::string file_;                // none on a server
  const std::unique_ptr<Engine> server_;  // of a store on one
};

}  // namespace mercato::bench
