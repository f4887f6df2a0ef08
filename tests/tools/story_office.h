// SPDX-License-Identifier: Apache-2.0
// The words in which a story about a catalogue is told: what an office does with its supplier, its products and its
// people. There is an office that asks the classes, and one that asks another process through the gateway.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "frame/schema_texts.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/raised_error.h"
#include "tests/support/store_fixture.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {

// All values are told as texts; Null is "null".
using Texts = std::vector<std::string>;
using Ids = std::vector<std::int32_t>;
using Record = std::map<std::string, std::string>;
using Names = std::vector<std::pair<std::int32_t, std::string>>;  // in the order of the answer
using Fields = std::vector<std::pair<std::string, Variant>>;

inline const Date kToday = Date::from_civil({2026, 7, 1, 0, 0, 0});

// The folder of an office: its settings, its store with all tables, its web root.
class OfficeFolder {
 public:
  explicit OfficeFolder(const ChosenStore& chosen) : tool_(Place::in_memory, Tables::all, chosen) {
    std::filesystem::create_directory(path("web"));
    write_whole(path("mercato.toml"), "[connections]\nMercato = \"" + store() + "\"\n[folders]\nweb_root = \"" +
                                          path("web") + "\"\ninstall_dir = \"" + MERCATO_SOURCE_DIR +
                                          "\"\n[parameters.COMMONPARAMETERS]\nUNSPSCIMPLEMENTED = \"Yes\"\n");
  }
  std::string path(const std::string& name) const { return tool_.folder() / name; }
  const std::string& store() const { return tool_.store().connection_string(); }
  std::string rpc() const { return tool_.command({"rpc", "--scripted", "--trace"}); }
  // What an upload left, in the remaining file of that name.
  std::string remaining(const std::string& name) const { return path("web/XMLDownload/remaining_" + name + ".xml"); }

 private:
  ToolFolder tool_;
};

class Office {
 public:
  // On a store of that kind.
  explicit Office(const ChosenStore& chosen) : folder_(chosen) {}
  virtual ~Office() = default;

  // For what no call writes or tells: statements on the store itself.
  virtual void write(const std::string& statement) = 0;
  virtual std::int32_t count(const std::string& rows) = 0;  // "PRODUCT WHERE DISABLED = 1"

  // Codes: the refused ones with the numbers of their reasons.
  virtual std::map<std::string, int> load_codes(const std::string& document, bool overwrite) = 0;
  virtual std::string description_of_code(std::string code) = 0;
  virtual Record codes_below(std::int16_t level, const std::string& parent) = 0;
  virtual bool delete_code(std::string code) = 0;
  virtual bool delete_commodity(const std::string& code) = 0;
  virtual bool delete_unit(std::string code) = 0;

  // Properties and their groups.
  virtual std::int32_t add_property(std::string name, std::int16_t type, std::string default_value) = 0;
  virtual bool delete_property(std::int32_t property) = 0;
  virtual std::int32_t add_group(std::string name) = 0;
  virtual void put_into_group(std::int32_t group, std::int32_t property, bool mandatory, bool on_sheet) = 0;
  virtual bool delete_group(std::int32_t group) = 0;

  // Products. A preview has a line for each record: "PN-1, Its name: sound", or "faulty".
  virtual Texts preview_products(const std::string& document) = 0;
  virtual Record faults_of_product(const std::string& document, const std::string& part) = 0;
  virtual Texts upload_products(const std::string& key, const std::string& document, const Texts& parts) = 0;
  virtual Texts upload_remaining_products(const std::string& key, const Texts& parts) = 0;
  virtual Texts remaining_products(const std::string& key) = 0;
  virtual std::int32_t product_of_part(const std::string& part) = 0;
  virtual Record product(std::int32_t product) = 0;
  virtual Record properties_of(std::int32_t product) = 0;
  virtual std::string buyer_of(std::int32_t product) = 0;
  virtual bool lot_is_right(std::int32_t product, double quantity) = 0;
  virtual std::int32_t found(const std::string& part_number, const std::string& catalogs) = 0;
  virtual std::int32_t add_product(const Fields& fields) = 0;
  virtual bool change_product(std::int32_t product, const Fields& fields) = 0;
  virtual void enable_product(std::int32_t product) = 0;
  virtual bool delete_product(std::int32_t product) = 0;

  // Prices. An upload and the questions before it are put to the object of the last preview.
  virtual Texts preview_prices(const std::string& document) = 0;
  virtual std::map<std::string, Record> faults_of_prices(const std::string& document, const std::string& part) = 0;
  virtual Texts upload_prices(const std::string& key, const std::string& document, const Texts& parts) = 0;
  virtual std::int32_t remaining_prices(const std::string& key, const std::string& part) = 0;
  virtual bool add_price(std::int32_t product, Date from, double quantity_to, const Fields& fields) = 0;
  virtual Record terms(std::int32_t product, double quantity, const std::string& currency, Date day = kToday) = 0;
  virtual double price_of_band_below(std::int32_t product, double quantity) = 0;
  std::string price(std::int32_t product, double quantity, const std::string& currency, Date day = kToday) {
    return terms(product, quantity, currency, day)["PRICE"];
  }

  // The catalogue.
  virtual std::int32_t add_catalog(const Fields& fields) = 0;
  virtual void copy_catalog(std::int32_t catalog, const std::string& name) = 0;
  virtual bool expire(std::int32_t catalog) = 0;
  virtual Names catalogs() = 0;
  virtual bool is_active(std::int32_t catalog) = 0;
  virtual bool add_category(const std::string& name, const std::string& code) = 0;
  virtual Ids categories_called(const std::string& pattern) = 0;
  virtual Names products_in(std::int32_t category) = 0;
  virtual Ids catalogs_with(std::int32_t product) = 0;
  virtual std::string path_of(std::int32_t node) = 0;

  // Rights.
  virtual bool give_catalogs(const std::string& user, const Ids& catalogs) = 0;
  virtual bool give_catalogs_to_profile(const std::string& profile, const Ids& catalogs) = 0;
  virtual std::string catalogs_of(const std::string& user) = 0;
  virtual std::string catalogs_of_profile(const std::string& profile) = 0;
  virtual bool lay_out_nodes(const std::string& user) = 0;
  virtual Names nodes_of(const std::string& user) = 0;
  virtual bool may_see(const std::string& user, std::int32_t node) = 0;
  virtual bool may_only_view(const std::string& user, std::int32_t node) = 0;
  virtual bool may_order(const std::string& user, std::int32_t node) = 0;
  virtual bool move_rights(std::int32_t from, std::int32_t to, bool replacing) = 0;

  // Favourites.
  virtual std::int32_t add_folder(const std::string& user, const std::string& name) = 0;
  virtual Names folders_of(const std::string& user) = 0;
  virtual std::string folder_name(std::int32_t folder, const std::string& user) = 0;
  virtual std::int32_t folder_called(const std::string& name, const std::string& user) = 0;
  virtual void keep(const std::string& user, std::int32_t product, std::int32_t folder) = 0;
  virtual bool move_favorites(std::int32_t from, std::int32_t to) = 0;

  // What became of the transaction of the last call: "committed", "rolledback", "open" or "none".
  const std::string& outcome() const { return outcome_; }
  // All that was asked of the store, logged, voted and refused so far.
  const Texts& trail() const { return trail_; }
  // The failure that this ends in.
  template <class Work>
  RaisedError refusal_of(Work work) {
    try {
      work();
    } catch (const Raised& failure) {
      trail_.push_back("refused: " + std::to_string(failure.error().Number) + " " + failure.error().Source +
                       failure.error().Description);
      return failure.error();
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
  }

  // Each table with its rows, in no order.
  std::map<std::string, Texts> whole_store() const;

 protected:
  void note_statement(const std::string& statement) { trail_.push_back(statement); }
  void note_log(const std::string& source, const std::string& text, std::int32_t severity) {
    trail_.push_back("logged: " + std::to_string(severity) + " " + source + text);
  }
  void note_end(const std::string& vote, const std::string& outcome) {
    trail_.push_back("vote: " + vote + ", " + outcome);
    outcome_ = outcome;
  }

  const OfficeFolder folder_;

 private:
  Texts trail_;
  std::string outcome_;
};

// How answers of the library are told.

inline std::string words(const Variant& value) { return value.is_null() ? "null" : value.to_text(); }

inline Names names_in(const Dictionary& dictionary) {
  Names names;
  dictionary.for_each([&](const Variant& id, const Variant& name) { names.emplace_back(id.to_long(), words(name)); });
  return names;
}
inline Record record_in(const Dictionary& dictionary) {
  Record record;
  dictionary.for_each([&](const Variant& key, const Variant& item) { record[words(key)] = words(item); });
  return record;
}
inline std::map<std::string, int> numbers_in(const Dictionary& dictionary) {
  std::map<std::string, int> numbers;
  dictionary.for_each([&](const Variant& key, const Variant& item) { numbers[words(key)] = item.to_long(); });
  return numbers;
}
inline std::map<std::string, Record> records_in(const Dictionary& dictionary) {
  std::map<std::string, Record> records;
  dictionary.for_each(
      [&](const Variant& key, const Variant& item) { records[words(key)] = record_in(*item.to<Dictionary>()); });
  return records;
}
inline Record properties_in(const Dictionary& dictionary) {
  Record properties;
  for (auto& [number, property] : records_in(dictionary)) properties[property["PROPERTYNAME"]] = property["VALUE"];
  return properties;
}
// A line of a preview: part number, name, and whether it may be uploaded as it stands.
inline std::string line_in(const Collection& line) {
  return words(line.Item(1)) + ", " + words(line.Item(2)) + (line.Item(3).to_boolean() ? ": sound" : ": faulty");
}
inline Texts lines_in(const Collection& preview) {
  Texts lines;
  for (std::int32_t at = 1; at <= preview.Count(); ++at) lines.push_back(line_in(*preview.Item(at).to<Collection>()));
  return lines;
}
inline Texts lines_in(const Dictionary& preview) {
  Texts lines;
  preview.for_each([&](const Variant&, const Variant& line) { lines.push_back(line_in(*line.to<Collection>())); });
  return lines;
}
inline Texts texts_in(const Array& array) {
  Texts texts;
  for (const Variant& item : array.items) texts.push_back(words(item));
  return texts;
}
inline Texts texts_in(const Collection& collection) {
  Texts texts;
  for (std::int32_t at = 1; at <= collection.Count(); ++at) texts.push_back(words(collection.Item(at)));
  return texts;
}
inline Ids ids_in(const Array& array) {
  Ids ids;
  for (const Variant& item : array.items) ids.push_back(item.to_long());
  return ids;
}

template <class Values>
Array array_of(const Values& values) {
  Array array;
  for (const auto& value : values) array.items.emplace_back(value);
  return array;
}
inline Array names_of(const Fields& fields) {
  Array names;
  for (const auto& [name, value] : fields) names.items.emplace_back(name);
  return names;
}
inline Array values_of(const Fields& fields) {
  Array values;
  for (const auto& [name, value] : fields) values.items.push_back(value);
  return values;
}

inline std::map<std::string, Texts> Office::whole_store() const {
  const Unobserved unobserved;
  const auto connection = open_connection(folder_.store());
  std::map<std::string, Texts> tables;
  constexpr std::string_view kBegin = "CREATE TABLE ";
  for (const SchemaText& schema : schema_texts())
    for (std::size_t at = 0; (at = schema.text.find(kBegin, at)) != std::string_view::npos;) {
      at += kBegin.size();
      const std::string table(schema.text.substr(at, schema.text.find_first_of(" (", at) - at));
      Texts& rows = tables[table];
      const auto recordset = connection->Execute(Sql::verbatim("SELECT * FROM " + table));
      for (const auto& row : recordset->rows()) {
        std::string text;
        for (const Variant& value : row) text += words(value) + " | ";
        rows.push_back(text);
      }
      std::sort(rows.begin(), rows.end());
    }
  connection->Close();
  return tables;
}

}  // namespace mercato::test
