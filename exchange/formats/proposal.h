// SPDX-License-Identifier: Apache-2.0
// A first mapping of a table, from its headers and its first rows. Pure; any thread.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/formats/mapping.h"
#include "exchange/formats/table.h"

namespace mercato::exchange {

struct Proposal {
  Mapping mapping;                   // the number's column is empty when none was found
  std::size_t header = 0;            // its place among the rows
  std::vector<std::string> headers;  // by the place of their column
  std::vector<std::string> remarks;  // what was found out and what is doubtful, each a sentence
  std::vector<std::string> empty_columns;
  // Exactly one column is called as part numbers are, and holds one in each row.
  bool certain = false;
};

Proposal propose(const std::deque<TableRow>& sample);

// Where the headers stand among the first rows, counted from 0: the first row that is as wide as the others, and has
// texts only, each another one.
std::size_t header_position(const std::deque<TableRow>& sample);

// The mapping as a file, with the remarks and some of the columns' values as comments.
std::string mapping_text(const Proposal& proposal, const std::deque<TableRow>& sample, std::string_view file);

}  // namespace mercato::exchange
