// SPDX-License-Identifier: Apache-2.0
// Stands between the library and a PostgreSQL server, on a socket of its own, and writes down what is sent. It reads the
// engine's protocol, so what it records is what the server gets, whatever layer of the library made it.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include "bench/support/postgresql/server_tape.h"

namespace mercato::bench {

class ServerRecording {
 public:
  // `server` is a connection string whose Server is the folder of a socket. Throws std::runtime_error when there is none.
  explicit ServerRecording(const std::string& server);
  ~ServerRecording();
  ServerRecording(const ServerRecording&) = delete;
  ServerRecording& operator=(const ServerRecording&) = delete;

  // Leads to the same server through this object.
  const std::string& connection_string() const { return connection_string_; }
  // From now on; not called while a statement is under way.
  void start() { recording_ = true; }
  // What has been sent from `start` on. The connections through this object are closed.
  ServerTape finish();

 private:
  struct Session;
  class Relay;

  std::string connection_string_;
  std::filesystem::path folder_;
  std::atomic<bool> recording_ = false;
  ServerTape tape_;
  int listener_ = -1;
  int stop_[2] = {-1, -1};  // a pipe whose closing ends the thread
  std::thread thread_;
};

}  // namespace mercato::bench
