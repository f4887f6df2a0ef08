// SPDX-License-Identifier: Apache-2.0
// What an upload has left whose process was killed: its journal knows what was changed, its last word how far it was. Any
// thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "exchange/journal/upload_records.h"

namespace mercato::exchange {

struct CutShort {
  std::string kind;      // products, prices
  std::string document;  // a file
  // By its last word, which may be some records old.
  std::int32_t applied = 0;
  std::vector<KeptFinding> findings;
  // Rows that the journal says were changed, by part number: of price lines when the kind is prices.
  std::map<std::string, std::int32_t> changed;
};

// Writes what was not applied for certain into a document of the same kind, with its reasons. So it may have a record
// that was applied as the last one; that one is unchanged the next time. How many records the document had, and how many
// of them the rest has. Raises what reading and writing the files raises.
struct RestCounts {
  std::int32_t read = 0;
  std::int32_t in_rest = 0;
};
RestCounts write_rest(const CutShort& upload, const std::string& rest_file);

}  // namespace mercato::exchange
