// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/cif.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "exchange/formats/csv_table.h"
#include "exchange/formats/item_building.h"
#include "exchange/input/decoded.h"
#include "exchange/read_values.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kSignature = "CIF_I_V";
constexpr std::string_view kMark = "\xEF\xBB\xBF";

// "Supplier Part ID" and "SupplierPartId" are one field.
std::string field_key(std::string_view name) {
  std::string key = text::to_lower(name);
  std::erase_if(key, [](char c) { return c == ' ' || c == '_' || c == '-'; });
  return key;
}

bool is_true(std::string_view text) {
  constexpr auto kWords = std::to_array<std::string_view>({"t", "true", "y", "yes", "1"});
  return std::ranges::find(kWords, text::to_lower(text)) != kWords.end();
}

bool is_unspsc(std::string_view scheme) {
  const std::string capitals = text::to_upper(scheme);
  return capitals.starts_with("UNSPSC") || capitals == "SPSC";
}

// "{a=1;b=2}", also without the braces. What has no name is a value of the name that is given.
template <class Take>
void each_value(std::string_view text, std::string_view name, const Take& take) {
  if (text.starts_with('{') && text.ends_with('}')) text = text.substr(1, text.size() - 2);
  for (const std::string& part : text::split(text, ";")) {
    const std::size_t sign = part.find('=');
    if (sign == part.npos)
      take(name, trimmed(part));
    else
      take(trimmed(std::string_view(part).substr(0, sign)), trimmed(std::string_view(part).substr(sign + 1)));
  }
}

// The encoding that the header names. It stands in the first lines, in letters that all encodings of it share.
std::string charset_of(std::string_view begin) {
  begin = begin.substr(0, begin.find("\nDATA"));
  const std::size_t at = begin.find("\nCHARSET:");
  if (at == begin.npos || begin.starts_with(kMark)) return {};
  begin.remove_prefix(at + std::string_view("\nCHARSET:").size());
  begin = begin.substr(0, begin.find_first_of("\r\n"));
  const std::size_t first = begin.find_first_not_of(" \t,\"");
  if (first == begin.npos) return {};
  return std::string(begin.substr(first, begin.find_last_not_of(" \t,\"") - first + 1));
}

class CifReader {
 public:
  CifReader(Bytes& bytes, const ReadingOptions& options, ItemSink& sink)
      : options_(options),
        sink_(sink),
        text_(bytes, options.encoding.empty() ? charset_of(bytes.peek()) : options.encoding),
        table_(text_, ',', '"') {}

  void read() {
    header();
    while (next()) {
      if (is_word("ENDOFDATA")) return end();
      ++items_;
      if (!row_.fault.empty()) {
        sink_.flawed({}, row_.fault, here());
        continue;
      }
      item();
    }
    raise(error_number::kInvalidArgument, {}, "The file ends without ENDOFDATA; it was cut off");
  }

 private:
  Place here() const { return {row_.line}; }

  bool next() {
    if (!table_.next(row_)) return false;
    for (std::string& cell : row_.cells) cell = trimmed(cell);
    return true;
  }

  // Whether the row says that word alone; a table that was saved by a spreadsheet has empty cells behind it.
  bool is_word(std::string_view word) const {
    return row_.fault.empty() && row_.cells.front() == word &&
           std::all_of(row_.cells.begin() + 1, row_.cells.end(), [](const std::string& cell) { return cell.empty(); });
  }

  void header() {
    if (!next() || !row_.cells.front().starts_with(kSignature))
      raise(error_number::kInvalidArgument, {}, "This is no CIF: it does not begin with CIF_I_V3.0");
    fields_ = {"Supplier ID",       "Supplier Part ID", "Manufacturer Part ID", "Item Description",
               "SPSC Code",         "Unit Price",       "Units of Measure",     "Lead Time",
               "Manufacturer Name", "Supplier URL",     "Manufacturer URL",     "Market Price"};
    while (next()) {
      if (is_word("DATA")) return begin_items();
      const std::string& first = row_.cells.front();
      const std::size_t colon = first.find(':');
      if (colon == first.npos) {
        sink_.flawed({}, "the header has a line without a name and a colon", here());
        continue;
      }
      const std::string name = text::to_upper(first.substr(0, colon));
      row_.cells.front() = trimmed(std::string_view(first).substr(colon + 1));
      if (row_.cells.front().empty()) row_.cells.erase(row_.cells.begin());
      if (name == "FIELDNAMES")
        fields_ = row_.cells;
      else if (!row_.cells.empty())
        header_[name] = row_.cells.front();
    }
    raise(error_number::kInvalidArgument, {}, "The file has a header and no DATA");
  }

  void begin_items() {
    while (!fields_.empty() && fields_.back().empty()) fields_.pop_back();
    for (const std::string& name : fields_) keys_.push_back(field_key(name));
    is_full_ = text::to_upper(header_["LOADMODE"]).starts_with('F');
  }

  // The first item knows the supplier of all.
  void tell_header(std::string_view supplier) {
    if (is_header_told_) return;
    is_header_told_ = true;
    supplier_ = supplier;
    FileHeader told;
    told.set("SUPPLIER", supplier);
    told.set("CURRENCY", header_["CURRENCY"]);
    told.show("load mode", header_["LOADMODE"]);
    told.tell(sink_);
  }

  std::string_view value(std::string_view key) const {
    const auto at = std::ranges::find(keys_, key);
    const auto index = static_cast<std::size_t>(at - keys_.begin());
    return at == keys_.end() || index >= row_.cells.size() ? std::string_view() : row_.cells[index];
  }

  void left_out(std::string_view name) { sink_.left_out(name, here()); }

  void item() {
    tell_header(value("supplierid"));
    const std::string_view number = value("supplierpartid");
    const auto flawed = [&](const std::string& reason) { sink_.flawed(number, reason, here()); };
    for (std::size_t i = fields_.size(); i < row_.cells.size(); ++i)
      if (!row_.cells[i].empty())
        return flawed("it has " + std::to_string(row_.cells.size()) + " values, and there are " +
                      std::to_string(fields_.size()) + " fields");
    if (number.empty()) return flawed("it has no Supplier Part ID");
    if (value("supplierid") != supplier_)
      return flawed("it is of the supplier '" + std::string(value("supplierid")) + "', and the file is one of '" +
                    supplier_ + "'");
    if (is_true(value("punchoutenabled"))) return left_out("PunchOut Enabled");
    const std::string_view language = value("language");
    if (!options_.language.empty() && !language.empty() && !same_language(language, options_.language))
      return left_out(with("Language", language));

    ItemBuilder built;
    built.item.number = number;
    built.item.place = here();
    const bool is_deleted = is_true(value("delete"));
    if (is_deleted && is_full_) left_out("Delete in a full catalogue");
    if (is_deleted && !is_full_) {
      built.item.action = Item::Action::remove;
      return sink_.item(std::move(built.item));
    }
    const std::string_view short_name = value("shortname");
    built.field("PRODUCTDESCRIPTION", short_name.empty() ? value("itemdescription") : short_name, here());
    if (!short_name.empty()) built.field("PRODUCTREMARK", value("itemdescription"), here());
    for (std::size_t i = 0; i < fields_.size() && i < row_.cells.size(); ++i)
      if (!row_.cells[i].empty()) field(keys_[i], fields_[i], row_.cells[i], built);
    price(built.item);
    sink_.item(std::move(built.item));
  }

  void field(std::string_view key, std::string_view name, std::string_view cell, ItemBuilder& built) {
    struct CifColumn {
      std::string_view key;
      std::string_view column;  // empty: read elsewhere
    };
    constexpr auto kColumns = std::to_array<CifColumn>({
        {"manufacturerpartid", "MFRPARTNUMBER"},
        {"unitofmeasure", "UNITCODE"},
        {"unitsofmeasure", "UNITCODE"},
        {"leadtime", "DELIVERYLEADTIME"},
        {"supplierurl", "URL"},
        {"image", "IMAGEFILENAME"},
        {"supplierid", ""},
        {"supplierpartid", ""},
        {"itemdescription", ""},
        {"shortname", ""},
        {"unitprice", ""},
        {"currency", ""},
        {"language", ""},
        {"delete", ""},
        {"punchoutenabled", ""},
        {"priceunit", ""},
        {"priceunitquantity", ""},
        {"unitconversion", ""},
    });
    constexpr auto kLeftOut = std::to_array<std::string_view>(
        {"manufacturerurl", "marketprice", "thumbnail", "territoryavailable", "parametricname", "tier"});
    const auto column = std::ranges::find(kColumns, key, &CifColumn::key);
    if (column != kColumns.end()) {
      if (!column->column.empty() && !built.field(column->column, cell, here())) left_out(name);
    } else if (key == "spsccode" || key == "unspsccode") {
      classification(header_["CODEFORMAT"].empty() ? "UNSPSC" : header_["CODEFORMAT"], cell, built);
    } else if (key == "classificationcodes") {
      each_value(cell, name,
                 [&](std::string_view scheme, std::string_view code) { classification(scheme, code, built); });
    } else if (key == "parametricdata") {
      each_value(cell, name, [&](std::string_view what, std::string_view is) { built.property(what, is, here()); });
    } else if (key == "manufacturername") {
      built.property("MANUFACTURER", cell, here());
    } else if (key == "effectivedate" || key == "expirationdate") {
      built.field(key == "effectivedate" ? "PRODUCTEFFECTIVITYDATE" : "PRODUCTEXPIRYDATE", day_of(cell), here());
    } else if (std::ranges::find(kLeftOut, key) != kLeftOut.end()) {
      left_out(name);
    } else if (cell.starts_with('{')) {
      each_value(cell, name, [&](std::string_view, std::string_view is) { built.property(name, is, here()); });
    } else {
      built.property(name, cell, here());
    }
  }

  void classification(std::string_view scheme, std::string_view code, ItemBuilder& built) {
    if (!is_unspsc(scheme))
      built.property(scheme, code, here());
    else if (!built.field("UNSPSCCODE", code, here()))
      left_out(with("Classification", scheme));
  }

  void price(Item& item) {
    ItemPrice price;
    price.amount = value("unitprice");
    if (price.amount.empty()) return;
    std::string_view unit = value("unitofmeasure");
    if (unit.empty()) unit = value("unitsofmeasure");
    const std::string_view price_unit = value("priceunit");
    const std::string_view conversion = value("unitconversion");
    // In another unit the price is for something that is not ordered.
    if ((!price_unit.empty() && price_unit != unit) || (!conversion.empty() && conversion != "1"))
      return left_out(with("Unit Price for", price_unit));
    price.amount_for = value("priceunitquantity");
    price.currency = value("currency");
    price.place = here();
    item.prices.push_back(std::move(price));
  }

  void end() {
    tell_header({});
    const std::string& counted = header_["ITEMCOUNT"];
    if (!counted.empty() && counted != std::to_string(items_))
      sink_.flawed({}, "the header counts " + counted + " items, and there are " + std::to_string(items_), here());
    sink_.found_out("encoding", text_.encoding());
  }

  const ReadingOptions& options_;
  ItemSink& sink_;
  Decoded text_;
  CsvTable table_;
  TableRow row_;
  std::map<std::string, std::string> header_;  // of the file, by its names in capitals
  std::vector<std::string> fields_;            // as the file names them
  std::vector<std::string> keys_;              // the same as keys
  std::string supplier_;
  std::size_t items_ = 0;
  bool is_full_ = false;
  bool is_header_told_ = false;
};

}  // namespace

bool is_cif(std::string_view begin) {
  if (begin.starts_with(kMark)) begin.remove_prefix(kMark.size());
  return begin.starts_with(kSignature);
}

void read_cif(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) { CifReader(bytes, options, sink).read(); }

}  // namespace mercato::exchange
