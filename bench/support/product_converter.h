// SPDX-License-Identifier: Apache-2.0
// Turns the rows of a file of electronic components into a Product document. Pure but for the files that it reads; any
// thread.
//
// A row becomes one record, its distributor's number (part_number) the attribute "buyfrompartnumber":
//
//   PARTNUMBER, MFRPARTNUMBER   mfr_part_number
//   PRODUCTDESCRIPTION          description; where a row has none: manufacturer, number and package
//   UNITCODE                    PCE: the parts are sold by the piece
//   PRODUCTREMARK               category_path
//   CLASSIFICATION              the broad half of category_path
//   IMAGEFILENAME               image_file, when there is one
//   MINORDERQTY, MULTIPLEOF     moq and order_multiple, 1 when the row is silent
//   LOTSIZE                     packaging_qty, when there is one
//   MULTIPLEBUYER, SERVICEITEM, DISABLED  0
//
// and, as properties, those of MANUFACTURER, PACKAGE, CATEGORY (the narrow half), LIBRARY_CLASS, ROHS, PACKAGING and
// STOCK_QTY that the row has. That is some twelve fields and five properties.
//
// Property values go into statements as they stand, and part numbers into an XPath expression, so that a typewriter
// apostrophe in one of them ends an upload: each is replaced by the typographic one (U+2019) there.
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mercato::bench {

inline constexpr std::size_t kAllRecords = std::numeric_limits<std::size_t>::max();
inline constexpr std::string_view kUnitCode = "PCE";
inline constexpr std::string_view kUnitDescription = "piece";

// Further properties by part number, in the order of their file: element name and value.
using Attributes = std::map<std::string, std::vector<std::pair<std::string, std::string>>, std::less<>>;

// Reads a file of the columns part_number, attribute, value. Throws what CsvReader does.
Attributes read_attributes(const std::filesystem::path& csv);

// The upload's name for a property called so: upper-case letters, digits and underscores, at most 30 of them, fit for
// an XML element, and never the name of a field of the product itself.
std::string property_name(std::string_view attribute);

// What one converted document holds.
struct Converted {
  std::vector<std::string> part_numbers;  // in document order
  std::size_t fields = 0;                 // elements in all records
  std::size_t properties = 0;             // those that become property values
};

// Writes the document of the first `limit` rows. Throws what CsvReader does.
Converted components_to_products(const std::filesystem::path& csv, std::size_t limit, std::ostream& document,
                                 const Attributes& attributes = {});

}  // namespace mercato::bench
