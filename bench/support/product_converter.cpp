// SPDX-License-Identifier: Apache-2.0
#include "bench/support/product_converter.h"

#include <algorithm>
#include <unordered_set>

#include "bench/support/component_files.h"
#include "bench/support/document_text.h"

namespace mercato::bench {
namespace {

// What the upload cuts the name of a property to.
constexpr std::size_t kNameWidth = 30;

// Names of the document that are no properties.
bool is_field_of_product(std::string_view name) {
  static const std::unordered_set<std::string_view> kFields = {"UNIT",
                                                               "UNITCODE",
                                                               "PRODUCTDESCRIPTION",
                                                               "PARTNUMBER",
                                                               "COMMODITYCODE",
                                                               "CONTRACTCODE",
                                                               "NUMBER",
                                                               "BUSINESSID",
                                                               "BUYERID",
                                                               "MULTIPLEBUYER",
                                                               "MULTIPLEBUYERSEPARATOR",
                                                               "PRODUCTREMARK",
                                                               "IMAGEFILENAME",
                                                               "TECHNICALIMAGE",
                                                               "URL",
                                                               "PRODUCTXML",
                                                               "BUYFROMCONTACTINFO",
                                                               "BUYFROMCONTACTEMAIL",
                                                               "CLASSIFICATION",
                                                               "MFRPARTNUMBER",
                                                               "PRODUCTEFFECTIVITYDATE",
                                                               "PRODUCTEXPIRYDATE",
                                                               "MINORDERQTY",
                                                               "MULTIPLEOF",
                                                               "LOTSIZE",
                                                               "DELIVERYLEADTIME",
                                                               "GTIN",
                                                               "UNSPSCCODE",
                                                               "CLASSCODE",
                                                               "SERVICEITEM",
                                                               "DISABLED",
                                                               "USERID",
                                                               "BUSINESSPARTNERID"};
  return kFields.contains(name);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Writes the elements of one record and counts them.
class RecordWriter {
 public:
  RecordWriter(std::ostream& document, Converted& converted, const std::string& part_number)
      : document_(document), converted_(converted) {
    document_ << "  <Product buyfrompartnumber=\"" << escaped(part_number) << "\">\n";
    converted_.part_numbers.push_back(part_number);
  }
  ~RecordWriter() { document_ << "  </Product>\n"; }
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  void field(std::string_view name, std::string_view value) {
    if (value.empty()) return;
    document_ << "    <" << name << '>' << escaped(value) << "</" << name << ">\n";
    ++converted_.fields;
  }
  // The second property of a name would only overwrite the first one, so it gets a number.
  void property(const std::string& name, std::string_view value) {
    if (value.empty()) return;
    std::string unused = name;
    for (int number = 2; !properties_.insert(unused).second; ++number) {
      const std::string ending = "_" + std::to_string(number);
      unused = name.substr(0, kNameWidth - ending.size()) + ending;
    }
    field(unused, with_typographic_apostrophes(value));
    ++converted_.properties;
  }

 private:
  std::ostream& document_;
  Converted& converted_;
  std::unordered_set<std::string> properties_;
};

}  // namespace

Attributes read_attributes(const std::filesystem::path& csv) {
  CsvReader reader(csv);
  const std::size_t part_number = reader.column("part_number");
  const std::size_t attribute = reader.column("attribute");
  const std::size_t value = reader.column("value");
  Attributes attributes;
  std::vector<std::string> row;
  while (reader.next(row)) attributes[row[part_number]].emplace_back(property_name(row[attribute]), row[value]);
  return attributes;
}

std::string property_name(std::string_view attribute) {
  std::string name;
  for (const char c : attribute) {
    if (c >= 'a' && c <= 'z')
      name += static_cast<char>(c - 'a' + 'A');
    else if ((c >= 'A' && c <= 'Z') || is_digit(c))
      name += c;
    else if (!name.empty() && name.back() != '_')
      name += '_';
  }
  while (!name.empty() && name.back() == '_') name.pop_back();
  // Names that start with the letters XML belong to the XML standard.
  if (name.empty() || is_digit(name.front()) || name.starts_with("XML") || is_field_of_product(name))
    name = "P_" + name;
  return name.substr(0, kNameWidth);
}

Converted components_to_products(const std::filesystem::path& csv, std::size_t limit, std::ostream& document,
                                 const Attributes& attributes) {
  CsvReader reader(csv);
  const std::size_t part_number = reader.column("part_number");
  const std::size_t mfr_part_number = reader.column("mfr_part_number");
  const std::size_t manufacturer = reader.column("manufacturer");
  const std::size_t description = reader.column("description");
  const std::size_t category_path = reader.column("category_path");
  const std::size_t package = reader.column("package");
  const std::size_t moq = reader.column("moq");
  const std::size_t order_multiple = reader.column("order_multiple");
  const std::size_t packaging = reader.column("packaging");
  const std::size_t packaging_qty = reader.column("packaging_qty");
  const std::size_t stock_qty = reader.column("stock_qty");
  const std::size_t library_class = reader.column("library_class");
  const std::size_t rohs = reader.column("rohs");
  const std::size_t image_file = reader.column("image_file");

  constexpr std::string_view kBelow = " > ";
  Converted converted;
  document << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Products>\n";
  std::vector<std::string> row;
  while (converted.part_numbers.size() < limit && reader.next(row)) {
    const std::string& path = row[category_path];
    const std::size_t below = path.find(kBelow);
    const std::string_view broad = std::string_view(path).substr(0, below);
    const std::string_view narrow =
        below == std::string::npos ? "" : std::string_view(path).substr(below + kBelow.size());

    RecordWriter record(document, converted, with_typographic_apostrophes(row[part_number]));
    record.field("PARTNUMBER", with_typographic_apostrophes(row[mfr_part_number]));
    record.field("PRODUCTDESCRIPTION", row[description].empty()
                                           ? row[manufacturer] + " " + row[mfr_part_number] + " " + row[package]
                                           : row[description]);
    record.field("UNITCODE", kUnitCode);
    record.field("PRODUCTREMARK", path);
    record.field("CLASSIFICATION", broad);
    record.field("MFRPARTNUMBER", with_typographic_apostrophes(row[mfr_part_number]));
    record.field("IMAGEFILENAME", row[image_file]);
    record.field("MINORDERQTY", row[moq].empty() ? "1" : row[moq]);
    record.field("MULTIPLEOF", row[order_multiple].empty() ? "1" : row[order_multiple]);
    record.field("LOTSIZE", row[packaging_qty]);
    record.field("MULTIPLEBUYER", "0");
    record.field("SERVICEITEM", "0");
    record.field("DISABLED", "0");

    record.property("MANUFACTURER", row[manufacturer]);
    record.property("PACKAGE", row[package]);
    record.property("CATEGORY", narrow);
    record.property("LIBRARY_CLASS", row[library_class]);
    record.property("ROHS", row[rohs]);
    record.property("PACKAGING", row[packaging]);
    record.property("STOCK_QTY", row[stock_qty]);
    if (const auto found = attributes.find(row[part_number]); found != attributes.end())
      for (const auto& [name, value] : found->second) record.property(name, value);
  }
  document << "</Products>\n";
  return converted;
}

}  // namespace mercato::bench
