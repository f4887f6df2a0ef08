// SPDX-License-Identifier: Apache-2.0
// The console as files in memory: what web/ builds, compiled into the program by cmake/console.cmake. Plain data, the same
// for all threads and for as long as the process lives.
#pragma once

#include <span>
#include <string_view>

namespace mercato::host {

struct ConsoleFile {
  std::string_view path;                // as a request names it: `/` for the page, `/assets/...` for what it loads
  std::string_view type;                // of the header Content-Type
  std::string_view etag;                // of the header ETag, in its quotes
  bool never_changes = false;           // the path has the hash of the content in it, so a copy may be kept for ever
  std::span<const unsigned char> gzip;  // the content, packed
};

// All files, the page first. None when the program was built without the console.
std::span<const ConsoleFile> console_files();

}  // namespace mercato::host
