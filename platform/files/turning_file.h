// SPDX-License-Identifier: Apache-2.0
// A file to which several processes append records, and which turns over: before a record that would make it too large,
// NAME.log becomes NAME.1.log, that one NAME.2.log, and so on; the oldest is dropped. Each record opens the file anew,
// so anybody may turn it over, move or delete it in between. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mercato::files {

struct TurningFile {
  std::string path;
  std::size_t largest;  // bytes; a record that is longer has a file of its own
  int older;            // how many files stay beside it
};

// Appends the whole record, and answers whether it could. A missing folder is created. Never raises, and never waits
// longer than a tenth of a second: when somebody holds the lock longer, the record is written without it.
bool append_record(const TurningFile& file, std::string_view record) noexcept;

}  // namespace mercato::files
