// SPDX-License-Identifier: Apache-2.0
// Any bytes as a file of comma-separated values with the nodes of a catalogue. As values: what is read is the same when
// it is written and read again. As nodes: the catalogue is loaded whole, or nothing of it is.
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/formats/whole_table.h"
#include "fuzz/fuzz_store.h"
#include "mercato/raised_error.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/library.h"
#include "values/text.h"

namespace {

using namespace mercato;

void require(bool promise) {
  if (!promise) std::abort();
}

std::string in_quotes(const std::string& field) {
  std::string text = "\"";
  for (const char character : field) text += character == '"' ? std::string("\"\"") : std::string(1, character);
  return text + '"';
}

void check_values(std::string_view bytes) {
  std::vector<exchange::TableRow> rows;
  try {
    rows = exchange::whole_table(bytes);
  } catch (const Raised& refused) {
    require(refused.error().Number == error_number::kInvalidArgument);
    return;
  }
  std::string written;
  for (const exchange::TableRow& row : rows) {
    require(row.cells.size() == rows.front().cells.size());
    for (std::size_t i = 0; i < row.cells.size(); ++i) written += (i == 0 ? "" : ",") + in_quotes(row.cells[i]);
    written += "\r\n";
  }
  if (written.find('\0') != std::string::npos) return;  // may be taken for an encoding of two bytes a character
  const std::vector<exchange::TableRow> again = exchange::whole_table(written);
  require(again.size() == rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) require(again[i].cells == rows[i].cells);
}

// While it lives, what the command says goes nowhere.
class Silence {
 public:
  Silence() : out_(std::cout.rdbuf(nowhere_.rdbuf())), errors_(std::cerr.rdbuf(nowhere_.rdbuf())) {}
  ~Silence() {
    std::cout.rdbuf(out_);
    std::cerr.rdbuf(errors_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  std::ostringstream nowhere_;
  std::streambuf* out_;
  std::streambuf* errors_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::FuzzStore store;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  check_values(bytes);

  // The fuzzer need not find the header.
  const std::string path = store.file("nodes.csv");
  std::ofstream(path, std::ios::binary) << "id,parent,name,category\n" << bytes;
  const std::int32_t catalogs = store.number_of("SELECT COUNT(*) FROM CATALOG");
  const std::int32_t nodes = store.number_of("SELECT COUNT(*) FROM CATALOGNODE");
  bool loaded = false;
  try {
    const Silence silence;
    cli::LoadedCatalog given;
    given.file = path;
    given.name = "Fuzz";
    loaded = cli::load_catalog(given, {}) == cli::kDone;
  } catch (const Raised&) {
  }
  const std::int32_t new_nodes = store.number_of("SELECT COUNT(*) FROM CATALOGNODE") - nodes;
  require(store.number_of("SELECT COUNT(*) FROM CATALOG") - catalogs == (loaded ? 1 : 0));
  require(loaded ? new_nodes > 0 : new_nodes == 0);
  return 0;
}
