// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "exchange/formats/bmecat.h"
#include "exchange/formats/cif.h"
#include "exchange/formats/csv_format.h"
#include "exchange/formats/cxml.h"
#include "exchange/formats/datanorm.h"
#include "exchange/formats/format.h"
#include "exchange/formats/ubl.h"
#include "exchange/formats/xlsx_format.h"
#include "exchange/input/source.h"

namespace mercato::exchange {

std::span<const Format> formats() {
  static constexpr auto kFormats = std::to_array<Format>({
      {"bmecat", "BMEcat 1.01, 1.2 and 2005", {}, is_bmecat, read_bmecat},
      {"datanorm", "Datanorm 4 and 5", {}, is_datanorm, read_datanorm},
      {"cxml", "cXML index", {}, is_cxml, read_cxml},
      {"cif", "CIF 2.1 and 3.0", {}, is_cif, read_cif},
      {"ubl", "UBL 2.1 catalogue, as of Peppol", {}, is_ubl, read_ubl},
      {"xlsx", "workbook", {0, 0, Notation::Dates::unknown}, is_workbook, read_xlsx},
      // The last one, for it takes what is left.
      {"csv", "comma-separated text", {0, 0, Notation::Dates::unknown}, is_csv, read_csv},
  });
  return kFormats;
}

const Format* format_named(std::string_view name) {
  const auto found = std::ranges::find(formats(), name, &Format::name);
  return found == formats().end() ? nullptr : &*found;
}

const Format* format_of(std::string_view begin) {
  const auto found =
      std::ranges::find_if(formats(), [begin](const Format& format) { return format.recognises(begin); });
  return found == formats().end() ? nullptr : &*found;
}

}  // namespace mercato::exchange
