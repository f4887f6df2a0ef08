// SPDX-License-Identifier: Apache-2.0
// The host whole: front, workers and what stands behind them. One thread makes it, runs it and ends it; `end` from any.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/front.h"
#include "host/host.h"
#include "host/workers.h"

namespace mercato::host {

struct ServingOptions {
  FrontOptions front;
  HostOptions host;
  std::size_t workers = 8;
  std::size_t most_waiting = 256;  // requests that no worker has taken
};

class Serving {
 public:
  // Listens when it returns. Raises what Front raises.
  Serving(const ServingOptions& options, KnownTokens tokens)
      : host_(options.host, std::move(tokens)),
        workers_(options.workers, options.most_waiting),
        front_(options.front, host_, workers_) {
    host_.open_connections = [this] { return front_.connections(); };
  }

  std::uint16_t port() const { return front_.port(); }
  void end_on_signals() { front_.end_on_signals(); }
  // Until the end was asked for and what ran is answered.
  void run() {
    front_.run();
    host_.end_uploads();
    workers_.finish();
  }
  void end() { front_.end(); }

 private:
  Host host_;
  Workers workers_;
  Front front_;
};

}  // namespace mercato::host
