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
                             << 20;  // of a server, which may send without an end; counts if it is less
  int timeout_seconds = 60;          // of the whole transfer, redirects included
  int max_redirects = 5;
};

struct FetchResult {
  bool ok = false;
  std::string body;  // empty when not ok
  std::string
      error;  // one sentence with the URL (less its user name, password and query) and the reason; empty when ok
};

// Never raises: whatever goes wrong stands in the result. Not ok are also: an answer other than 2xx (the status stands
// in the text), more bytes, time or redirects than the limits allow, and a redirect to anything but http and https.
// Of a file URL only an absolute path of this host is read.
FetchResult fetch(const std::string& url, const FetchLimits& limits = {});

}  // namespace mercato::files
