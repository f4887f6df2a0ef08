// SPDX-License-Identifier: Apache-2.0
// What is wrong in a catalogue though nobody was refused: what a keeper should look at, and the command that mends it.
// Nothing is changed but text indexes that are wrong, which are made anew, and what mend_references says. Every
// function raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/store_check.h"

namespace mercato::keeping {

struct Finding {
  std::string name;  // for programs: "productsInNoCategory"
  std::string words;
  std::size_t count = 0;
  std::vector<std::string> examples;  // the first of them
  std::string mend;                   // a command, or what to do
};

// Within so many days prices end soon.
inline constexpr int kUsualDays = 30;

// All findings, those of the store first; of a store that cannot be asked for more only those.
std::vector<Finding> examine(int days);

// How rows with a reference that leads nowhere can be mended.
enum class ReferenceMend : std::uint8_t {
  delete_rows,  // a row means nothing without what it refers to
  clear,        // the reference is taken away
  none,         // what is missing has to be added
};
ReferenceMend mend_of(const TableReference& reference);
// Mends the rows of one reference, named "TABLE.COLUMN" in any case, within the caller's transaction. Returns their
// number. Raises 5 for a name that is no reference, and for one that cannot be mended so.
std::size_t mend_references(std::string_view table_and_column);

}  // namespace mercato::keeping
