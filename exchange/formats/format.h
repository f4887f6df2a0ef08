// SPDX-License-Identifier: Apache-2.0
// A format in which suppliers send their catalogues: how it is recognised, and how it is read. Readers stream: none
// keeps more of a file than one item and what the file itself makes it keep (a tree of groups).
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "exchange/input/bytes.h"
#include "exchange/item.h"

namespace mercato::exchange {

struct Mapping;

// What reading a file was asked for beyond its path.
struct ReadingOptions {
  std::string encoding;              // of a text that does not say its own; empty: found out
  const Mapping* mapping = nullptr;  // of tables: which column is what
  std::string sheet;       // of a workbook, by its name or its number from 1; empty: the mapping's, or the first
  std::string language;    // of texts that stand in several: "de"; empty: the file's own first one
  std::string territory;   // of prices; empty: all, each with its territory as the group
  std::string price_kind;  // empty: what the format's page calls the usual one
};

// Takes what a reader finds, in the order of the file.
class ItemSink {
 public:
  virtual ~ItemSink() = default;
  // The file's own default currency, supplier, validity and the like, before the first item; by the names of item.h and
  // of the product's columns ("CURRENCY", "SUPPLIER", "FROM", "TO", "LANGUAGE").
  virtual void header(const std::map<std::string, std::string>& values) = 0;
  // How the file writes numbers and dates, where its format leaves that open; before the first item.
  virtual void notation(const Notation& found) { static_cast<void>(found); }
  // Something that the reader had to find out, to be shown: "encoding", "windows-1252".
  virtual void found_out(std::string_view what, std::string_view value) {
    static_cast<void>(what);
    static_cast<void>(value);
  }
  virtual void item(Item item) = 0;
  virtual void category(ItemCategory category) = 0;
  // The product of that number is in that category. For formats that tell so behind their items, far from the product.
  virtual void link(std::string_view number, std::string_view category, Place place) = 0;
  // Something that has no place in a product, a price or a category: counted by its name, which is the file's own.
  virtual void left_out(std::string_view name, Place place) = 0;
  // A piece that cannot be read; the reader goes on behind it. The reason is a sentence that says what to do.
  virtual void flawed(std::string_view number, std::string_view reason, Place place) = 0;
};

struct Format {
  std::string_view name;   // as --format has it: "bmecat"
  std::string_view title;  // "BMEcat 1.2 and 2005"
  // How numbers and dates are written there; a format that leaves it open has its reader find out.
  Notation notation;
  // Whether a file that begins with these bytes (64 KB of it, or all) is one. Decoded from nothing: raw bytes.
  bool (*recognises)(std::string_view begin);
  // Reads to the end. Raises RaisedError, one sentence, when the file as a whole cannot be read.
  void (*read)(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);
};

// All formats, in the order in which they are asked.
std::span<const Format> formats();
// Null when there is none of that name.
const Format* format_named(std::string_view name);
// Null when none takes it for its own.
const Format* format_of(std::string_view begin);

}  // namespace mercato::exchange
