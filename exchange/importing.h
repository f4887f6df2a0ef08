// SPDX-License-Identifier: Apache-2.0
// A supplier's file from its bytes to documents of the library's own: read, judged and written in parts of bounded size,
// with a report that adds up. What becomes of the documents is the caller's. One thread.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "exchange/formats/format.h"
#include "exchange/formats/mapping.h"
#include "exchange/judging.h"

namespace mercato::exchange {

struct ImportOptions {
  std::string file;    // a path, or "-"
  std::string format;  // empty: told by the content
  std::optional<Mapping> mapping;
  ReadingOptions reading;
  JudgingOptions judging;
  std::string supplier;          // the identification of a business partner; empty: none
  std::size_t most_in_part = 0;  // records of one part; 0: all are one
  std::string folder;            // for the documents; it is there
  std::string findings_file;     // a table of all findings; empty: none is written
  // Takes each item that is refused for its values: what is good of it, and its findings.
  std::function<void(const JudgedItem&, const std::vector<Finding>&)> take_refused = {};
  // Hears of each item's part number, good or refused; empty when none could be read.
  std::function<void(std::string_view)> take_number = {};
  // Hears of each group of the supplier, when all are known, and of each product that is in one: its number, and the id.
  std::function<void(const ItemCategory&)> take_category = {};
  std::function<void(std::string_view, std::string_view)> take_link = {};
};

// Documents that are finished. Either may be without records.
struct ImportedPart {
  std::string products;  // paths
  std::string prices;
  std::size_t product_count = 0;
  std::size_t price_count = 0;
  // Where each record stood in the supplier's file, in the order of the documents.
  std::vector<std::size_t> product_lines;
  std::vector<std::size_t> price_lines;
};

// Equal findings as one.
struct MergedFinding {
  Reason reason = Reason::unreadable;
  bool accepted = false;
  std::string field;
  std::size_t count = 0;
  std::vector<Finding> examples;  // the first ones
};

struct ImportReport {
  std::string format;                                          // its name
  std::vector<std::pair<std::string, std::string>> found_out;  // "encoding", "UTF-8"
  std::size_t read = 0;                                        // items
  std::size_t refused = 0;                                     // by their values
  std::size_t products = 0;                                    // records of products in the documents
  std::size_t unchanged = 0;                                   // products that the store has just so
  std::size_t without_record = 0;  // items that were taken and say nothing of the product itself
  std::size_t price_lines = 0;
  std::size_t unchanged_price_lines = 0;
  std::vector<MergedFinding> findings;
  std::map<std::string, std::size_t> left_out;  // by the file's own names
  Judge::UnknownCodes unknown_units;
  Judge::UnknownCodes unknown_currencies;
  std::size_t categories = 0;
  std::size_t links = 0;  // of products with categories
  std::string categories_file;
  std::string links_file;
  bool stopped = false;  // `take` did not want more
};

// Takes a part; answers whether to read on.
using PartTaker = std::function<bool(const ImportedPart&)>;

// Calls `take` with each part, in order. Raises what opening and reading the file raises, 5 for an unknown format or
// supplier, and what `take` raises. What was taken before stays taken.
ImportReport import_file(const ImportOptions& options, const PartTaker& take);

// A first mapping of a file of tables, as the text of a mapping file. Raises 5 for a file of another format.
std::string propose_mapping(const std::string& file, const std::string& encoding, const std::string& sheet);

}  // namespace mercato::exchange
