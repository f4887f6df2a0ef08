// SPDX-License-Identifier: Apache-2.0
// Fetches a document by URL: http, https and file. Any thread, any number at once.
// Proxies are those of the environment. Certificates are checked. Nothing is decompressed.
#pragma once

#include <cstddef>
#include <string>

#include "platform/files/files.h"

namespace mercato::files {

struct FetchLimits {
  std::size_t max_bytes = kDefaultMaxBytes;
  std::size_t max_received = std::size_t{256}
                             << 20;  // from a server, which could send without end; the lower of the two counts
  int timeout_seconds = 60;          // of the whole transfer, redirects included
  int max_redirects = 5;
};

struct FetchResult {
  bool ok = false;
  std::string body;  // empty when not ok
  std::string
      error;  // one sentence with the URL (less its user name, password and query) and the reason; empty when ok
};

// Never raises: the result tells what went wrong. It is also not ok after an answer other than 2xx (the error names the
// status), after more bytes, time or redirects than the limits allow, and after a redirect to anything but http and
// https. A file URL has to name an absolute path of this host.
FetchResult fetch(const std::string& url, const FetchLimits& limits = {});

}  // namespace mercato::files
