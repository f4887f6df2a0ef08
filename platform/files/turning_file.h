// A file to which several processes append records, and which turns over: before a record that would make it larger
// than it may be, NAME.log becomes NAME.1.log, that one NAME.2.log, and so on; the oldest goes. Nothing is kept between
// two records, so that a file that somebody else turned over, moved or deleted is missed by nobody. Any thread.
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

// Appends the record whole, and answers whether it could. A missing folder is created. Never raises, and never waits
// longer than a tenth of a second: while somebody stands still with the file locked, records go on into it.
bool append_record(const TurningFile& file, std::string_view record) noexcept;

}  // namespace mercato::files
