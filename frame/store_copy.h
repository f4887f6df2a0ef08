// SPDX-License-Identifier: Apache-2.0
// Everything of one store in another one, of whatever kind: the rows of the library's tables with their keys. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/store/driver.h"

namespace mercato {

// The table that a target has while a copy into it is unfinished. It is none of the schema's tables.
inline constexpr std::string_view kCopyTable = "MERCATO_COPY";

struct CopiedTable {
  std::string name;
  std::int64_t rows = 0;
  // Of all rows in whatever order, by the values as the library reads them: the same on every engine.
  std::uint64_t checksum = 0;
  bool operator==(const CopiedTable&) const = default;
};

struct StoreCopy {
  std::string from;  // what the two stores are, as their descriptions say
  std::string to;
  bool continued = false;  // an earlier copy was interrupted, and its whole tables stayed
  std::vector<CopiedTable> tables;
  std::vector<std::string> left;  // tables of the source that are not the library's
};

enum class CopyStep : std::uint8_t { copying, comparing };
using CopyObserver = std::function<void(CopyStep step, std::int64_t rows_done, std::int64_t rows_in_all)>;

// Creates the tables of the target where they are missing, copies table by table, each in one transaction, and reads both
// stores at the end: counts and checksums have to agree. A copy that was interrupted at any moment is gone on with by the
// next one of the same source; a table of which it had only a part is begun anew. Nobody should write to the source
// meanwhile. Raises kStoreFailure, and changes no row, when the source's tables are of another version or missing, when
// one of them has a column that the target has not, when both are the same store, and when the target has rows that are
// not the rest of a copy of this source. Raises it, too, when the two differ in the end: the next copy begins the
// tables anew that do. Else raises what the stores raise.
StoreCopy copy_store(const std::string& from, const std::string& to, const CopyObserver& observer = {});

// What the store is an unfinished copy of; nothing when it is none.
std::optional<std::string> source_of_unfinished_copy(store::Session& session);

// The tables that are not the library's, of these.
std::vector<std::string> foreign_tables(const std::vector<std::string>& tables);

}  // namespace mercato
