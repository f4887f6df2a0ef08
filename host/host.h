// SPDX-License-Identifier: Apache-2.0
// Mercato over HTTP: who asks, what he may, which route answers, and what is told of it. Behind the front (front.h),
// which is the only one that knows sockets. `begin` on the front's thread, handlers on workers' threads.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/message.h"
#include "host/metrics.h"
#include "host/route.h"
#include "host/tokens.h"
#include "host/upload_runner.h"

namespace mercato::host {

struct HostOptions {
  std::vector<std::string> trusted_proxies;  // addresses whose X-Forwarded-For and X-Forwarded-Proto are believed
  bool on_loopback = true;                   // listens there only
  bool runs_uploads = true;                  // else another process of the store does
  std::ostream* log = nullptr;               // a line for each request; null: none
};

class Host : public Service {
 public:
  // The settings in force name the store. They stay as they are while the host lives.
  Host(HostOptions options, KnownTokens tokens);
  ~Host() override;

  std::unique_ptr<Exchange> begin(Head head) override;
  Response problem(int status, std::string_view detail) override;

  Metrics& metrics() { return metrics_; }
  // Null when this host runs none.
  UploadRunner* uploads() { return uploads_.get(); }
  // Ends the upload that runs, which has failed then. Before the host ends.
  void end_uploads() { uploads_.reset(); }
  bool on_loopback() const { return options_.on_loopback; }
  // Set by whoever owns the front: how many connections are open.
  std::function<std::size_t()> open_connections;

 private:
  friend class HandledExchange;
  struct Identified;
  Identified identify(const Head& head);

  const HostOptions options_;
  KnownTokens tokens_;
  WrongTokens wrong_tokens_;
  Metrics metrics_;
  std::unique_ptr<UploadRunner> uploads_;
};

// What clients may read of a failure: no password, and no folder of this machine.
std::string for_clients(const std::string& description);
// The failure of the library as an answer.
Response failure_response(const RaisedError& error);

}  // namespace mercato::host
