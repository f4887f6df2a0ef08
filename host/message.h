// SPDX-License-Identifier: Apache-2.0
// Requests and answers of HTTP as plain values, and the two faces between the front, which knows sockets, and what
// stands behind it, which knows none. Values: one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mercato::host {

// Everything of a request but its body.
struct Head {
  std::string method;
  std::string target;                                       // path and query, as they were sent
  std::string address;                                      // of the client, as far as it is known
  bool secure = false;                                      // came by TLS
  std::vector<std::pair<std::string, std::string>> fields;  // names in small letters

  // The value of the first field of this name; empty when there is none.
  std::string_view field(std::string_view name) const;
  std::size_t count(std::string_view name) const;
};

// Text that comes piece by piece for as long as somebody listens.
class EventSource {
 public:
  virtual ~EventSource() = default;
  // What has happened since the last time, as text of server-sent events; nothing when it has ended. May wait, on a
  // worker's thread.
  virtual std::optional<std::string> next() = 0;
};

struct Response {
  int status = 200;
  std::vector<std::pair<std::string, std::string>> fields;
  std::string body;
  std::shared_ptr<EventSource> events;  // when set, what it tells follows in place of a body
};

// The reason phrase of a status; "Status" for one that the host never sends.
std::string_view reason_of(int status);

// One request on its way to its answer. `take` and `finish` are called on the front's thread and never wait; `answer`
// on a worker's. They do not overlap.
class Exchange {
 public:
  virtual ~Exchange() = default;
  // The answer when the head alone decides; the body is not read then.
  virtual std::optional<Response> refusal() = 0;
  virtual std::uint64_t most_bytes() const = 0;
  // A piece of the body. The answer when it cannot be taken.
  virtual std::optional<Response> take(std::string_view piece) = 0;
  // Never throws.
  virtual Response answer() = 0;
  // The last word on every answer, also on one that the front gives: adds what all of them have, counts and tells it.
  virtual void finish(Response& response) = 0;
};

// Makes the exchanges. On the front's thread.
class Service {
 public:
  virtual ~Service() = default;
  virtual std::unique_ptr<Exchange> begin(Head head) = 0;
  // An answer without a body of its own making: for what the front refuses.
  virtual Response problem(int status, std::string_view detail) = 0;
};

}  // namespace mercato::host
