// SPDX-License-Identifier: Apache-2.0
// The front: sockets, TLS and the parsing of HTTP/1.1. One thread serves all connections and never waits; whatever may
// wait is given to the workers. Reading, writing and idling are bounded in time and size, connections in number, so that
// slow or silent clients keep nobody from being served.
//
// Its source is the only one that includes the library for HTTP, which takes long to compile.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/message.h"
#include "host/workers.h"

namespace mercato::host {

struct FrontOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;       // 0: any free one
  std::string tls_certificate;  // PEM files; empty: no TLS
  std::string tls_key;
  std::size_t most_connections = 4096;
  std::size_t most_head_bytes = 16384;
  std::chrono::milliseconds head_time{10'000};   // from the connection, or the first byte of a further request
  std::chrono::milliseconds idle_time{60'000};   // between two requests
  std::chrono::milliseconds body_time{30'000};   // for each piece of 64 kB of a body
  std::chrono::milliseconds write_time{30'000};  // for an answer
  std::chrono::milliseconds end_time{300'000};   // for what runs when the end is asked for
};

class FrontInside;

class Front {
 public:
  // Listens when it returns. Raises 75 with a sentence when it cannot.
  Front(FrontOptions options, Service& service, Workers& workers);
  ~Front();
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  std::uint16_t port() const;
  std::size_t connections() const;  // that are open; any thread
  // Has SIGTERM and SIGINT ask for the end; a second signal ends the process.
  void end_on_signals();
  // Serves until the end was asked for and what ran is answered.
  void run();
  // Asks for the end: no new connections; what runs is finished. Any thread.
  void end();

 private:
  std::unique_ptr<FrontInside> inside_;
};

}  // namespace mercato::host
