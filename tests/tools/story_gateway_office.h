// SPDX-License-Identifier: Apache-2.0
// An office that asks a gateway in another process, by the names of classes and methods.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/tools/rpc_session.h"
#include "tests/tools/story_office.h"

namespace mercato::test {

using nlohmann::json;

// The forms of values on the wire.

inline json wire(const std::string& text) { return text; }
inline json wire(bool flag) { return flag; }
inline json wire(std::int32_t number) { return number; }
inline json wire(double number) { return number; }
inline json wire(Date date) { return {{"$", "date"}, {"value", date.iso_text()}}; }
inline json wire(const Texts& texts) { return texts; }
inline json wire(const Ids& ids) { return ids; }
inline json wire(const Variant& value) {
  if (value.is_text()) return value.text_value();
  if (value.type() == Variant::Type::date) return wire(value.date_value());
  return value.type() == Variant::Type::real ? json(value.double_value()) : json(value.to_long());
}
inline json wire(const Array& array) {
  json items = json::array();
  for (const Variant& item : array.items) items.push_back(wire(item));
  return items;
}

inline Variant from_wire(const json& value) {
  if (value.is_null()) return kNull;
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_integer()) return value.get<std::int32_t>();
  if (value.is_number()) return value.get<double>();
  if (value.is_string()) return value.get<std::string>();
  if (value.is_array()) {
    Array array;
    for (const json& item : value) array.items.push_back(from_wire(item));
    return array;
  }
  const std::string form = value.at("$");
  if (form == "empty") return {};
  if (form == "date") return Date::parse(value.at("value").get<std::string>()).value();
  if (form == "currency") return Currency::from_text(value.at("value").get<std::string>());
  if (form == "dictionary") {
    const auto dictionary = std::make_shared<Dictionary>();
    for (const json& item : value.at("items")) dictionary->Add(from_wire(item.at(0)), from_wire(item.at(1)));
    return dictionary;
  }
  if (form == "collection") {
    const auto collection = std::make_shared<Collection>();
    for (const json& item : value.at("items")) collection->Add(from_wire(item.at(1)));
    return collection;
  }
  throw std::runtime_error("no part of this story: " + value.dump());
}

class GatewayOffice : public Office {
 public:
  GatewayOffice()
      : Office(ChosenStore::by_environment()),
        session_(folder_.rpc()),
        prices_(std::make_unique<Remote>(*this, "PriceXML")) {
    ask("clock", {{"now", kToday.iso_text()}});
  }
  ~GatewayOffice() override { prices_.reset(); }

  void write(const std::string& statement) override { ask("execute", {{"sql", statement}}); }
  std::int32_t count(const std::string& rows) override {
    return ask("execute", {{"sql", "SELECT COUNT(*) FROM " + rows}}).at("rows").at(0).at(0);
  }

  std::map<std::string, int> load_codes(const std::string& document, bool overwrite) override {
    write_whole(folder_.path("codes.xml"), document);
    return numbers_in(*dictionary("TUNSPSC", "UploadFromXML", folder_.path("codes.xml"), overwrite, true));
  }
  std::string description_of_code(std::string code) override { return value("UNSPSC", "getUNSPSCDescription", code); }
  Record codes_below(std::int16_t level, const std::string& parent) override {
    return record_in(*dictionary("UNSPSC", "GetAllUNSPSCCodes", std::int32_t{level}, parent));
  }
  bool delete_code(std::string code) override { return value("TUNSPSC", "Delete", code); }
  bool delete_commodity(const std::string& code) override { return value("Product", "DeleteCommodity", code); }
  bool delete_unit(std::string code) override { return value("TUnit", "Delete", code); }

  std::int32_t add_property(std::string name, std::int16_t type, std::string default_value) override {
    return value("Property", "Insert21", name, std::int32_t{type}, default_value, false);
  }
  bool delete_property(std::int32_t property) override { return value("Property", "Delete", property); }
  std::int32_t add_group(std::string name) override { return value("PropertyGroup", "Insert", name); }
  void put_into_group(std::int32_t group, std::int32_t property, bool mandatory, bool on_sheet) override {
    value("PropertyGroup", "AddPropertyToPropertyGroupEx", group, property, mandatory, on_sheet);
  }
  bool delete_group(std::int32_t group) override { return value("PropertyGroup", "Delete", group); }

  Texts preview_products(const std::string& document) override {
    return lines_in(*collection("ProductXML", "GetCheckedProductInsertList", document, false));
  }
  Record faults_of_product(const std::string& document, const std::string& part) override {
    return record_in(*dictionary("ProductXML", "getErrorsInProductValues", document, false, part));
  }
  Texts upload_products(const std::string& key, const std::string& document, const Texts& parts) override {
    return upload(key + "/\\" + document, false, parts);
  }
  Texts upload_remaining_products(const std::string& key, const Texts& parts) override {
    return upload(key + "/\\" + folder_.remaining("products_" + key), true, parts);
  }
  Texts remaining_products(const std::string& key) override {
    return texts_in(*collection("ProductXML", "readBFPartNumbersFromXML", folder_.remaining("products_" + key), true));
  }
  std::int32_t product_of_part(const std::string& part) override {
    return value("Product", "GetProductIDFromSupplierPartNum", part);
  }
  Record product(std::int32_t product) override { return record_in(*dictionary("Product", "GetProductEx", product)); }
  Record properties_of(std::int32_t product) override {
    return properties_in(*dictionary("Product", "GetProductProperties", product));
  }
  std::string buyer_of(std::int32_t product) override { return value("Product", "GetDefaultProductBuyer", product); }
  bool lot_is_right(std::int32_t product, double quantity) override {
    return value("Product", "CheckLotSize", product, quantity);
  }
  std::int32_t found(const std::string& part_number, const std::string& catalogs) override {
    return value("Product", "countProductIDsFromPartNum", part_number, catalogs);
  }
  std::int32_t add_product(const Fields& fields) override {
    return value("Product", "Insert20", names_of(fields), values_of(fields));
  }
  bool change_product(std::int32_t product, const Fields& fields) override {
    return value("Product", "Update20", product, names_of(fields), values_of(fields));
  }
  void enable_product(std::int32_t product) override { value("Product", "Enable", product); }
  bool delete_product(std::int32_t product) override { return value("Product", "Delete", product); }

  Texts preview_prices(const std::string& document) override {
    prices_ = std::make_unique<Remote>(*this, "PriceXML");
    return lines_in(*from_wire(prices_->call("GetCheckedPriceList", document, false).at("value")).to<Dictionary>());
  }
  std::map<std::string, Record> faults_of_prices(const std::string& document, const std::string& part) override {
    const json faults = prices_->call("GetErrorsInPriceValues", document, false, part);
    return records_in(*from_wire(faults.at("value")).to<Dictionary>());
  }
  Texts upload_prices(const std::string& key, const std::string& document, const Texts& parts) override {
    return prices_->call("UpdateInsertPricesFromXML", key + "/\\" + document, false, parts).at("args").at(2);
  }
  std::int32_t remaining_prices(const std::string& key, const std::string& part) override {
    const std::string file = folder_.remaining("prices_" + key);
    return dictionary("PriceXML", "readProductPriceFromXML", file, true, part)->Count();
  }
  bool add_price(std::int32_t product, Date from, double quantity_to, const Fields& fields) override {
    return value("Product", "InsertPrice", product, from, quantity_to, names_of(fields), values_of(fields));
  }
  Record terms(std::int32_t product, double quantity, const std::string& currency, Date day) override {
    return record_in(*dictionary("Product", "getCatalogPriceAttributes", product, day, currency, quantity));
  }
  double price_of_band_below(std::int32_t product, double quantity) override {
    return value("Product", "GetPriceFromPriceLines", product, quantity);
  }

  std::int32_t add_catalog(const Fields& fields) override {
    return value("TCatalog", "InsertCatalog", names_of(fields), values_of(fields));
  }
  void copy_catalog(std::int32_t catalog, const std::string& name) override {
    value("TCatalog", "CopyCatalog", catalog, 1, name);
  }
  bool expire(std::int32_t catalog) override { return value("TCatalog", "ExpireCatalog", catalog); }
  Names catalogs() override { return names_in(*dictionary("Catalog", "GetAllCatalogs")); }
  bool is_active(std::int32_t catalog) override { return value("Catalog", "getActive", catalog); }
  bool add_category(const std::string& name, const std::string& code) override {
    return value("TCatalog", "InsertProductCategory", Texts{"CATEGORYNAME", "UNSPSCCODE"}, Texts{name, code});
  }
  Ids categories_called(const std::string& pattern) override {
    return value("Catalog", "GetProductCategoriesByName", pattern);
  }
  Names products_in(std::int32_t category) override {
    Names products;
    const json recordset = value("Product", "GetProductsByProductCategory", category);
    for (const json& row : recordset.at("rows")) products.emplace_back(row.at(0), row.at(1));
    return products;
  }
  Ids catalogs_with(std::int32_t product) override {
    return ids_in(dictionary("Catalog", "GetValidProductCatalogs", Ids{product})->Item(product).to_array());
  }
  std::string path_of(std::int32_t node) override { return value("Catalog", "GetCatalogNodeHierarchy", node); }

  bool give_catalogs(const std::string& user, const Ids& catalogs) override {
    return value("TCatalog", "UpdateUserCatalogIDs", user, catalogs);
  }
  bool give_catalogs_to_profile(const std::string& profile, const Ids& catalogs) override {
    return value("TCatalog", "UpdateUserCatalogIDs", profile, catalogs, true);
  }
  std::string catalogs_of(const std::string& user) override { return value("Catalog", "GetUserCatalogIDs", user); }
  std::string catalogs_of_profile(const std::string& profile) override {
    return value("Catalog", "GetProfileCatalogIDs", profile);
  }
  bool lay_out_nodes(const std::string& user) override { return value("TCatalog", "PopulateUserNodes", user); }
  Names nodes_of(const std::string& user) override {
    return names_in(*dictionary("Catalog", "GetAllUserAuthorizedCatalogNodes", user));
  }
  bool may_see(const std::string& user, std::int32_t node) override {
    return value("Catalog", "IsAuthorizedCatalogNode", user, node);
  }
  bool may_only_view(const std::string& user, std::int32_t node) override {
    return value("Catalog", "IsViewOnlyCatalogNodeEx", user, node);
  }
  bool may_order(const std::string& user, std::int32_t node) override {
    return value("Catalog", "IsOrderCatalogNodeEx", user, node);
  }
  bool move_rights(std::int32_t from, std::int32_t to, bool replacing) override {
    return value("TCatalog", "ChangeAuthorizationsForUser", from, to, replacing);
  }

  std::int32_t add_folder(const std::string& user, const std::string& name) override {
    return value("TCatalog", "InsertFavoriteFolder", Texts{"USERID", "FOLDERNAME"}, Texts{user, name});
  }
  Names folders_of(const std::string& user) override {
    return names_in(*dictionary("Catalog", "GetFavoriteFolders", user));
  }
  std::string folder_name(std::int32_t folder, const std::string& user) override {
    return value("Catalog", "GetFavoriteFolderName", folder, user);
  }
  std::int32_t folder_called(const std::string& name, const std::string& user) override {
    return value("Catalog", "GetFavoriteFolderID", name, user);
  }
  void keep(const std::string& user, std::int32_t product, std::int32_t folder) override {
    value("Product", "CreateFavoriteEx", user, product, 0, folder);
  }
  bool move_favorites(std::int32_t from, std::int32_t to) override {
    return value("TCatalog", "ChangeFavorites", from, to);
  }

 private:
  // An object of the library in the other process.
  class Remote {
   public:
    Remote(GatewayOffice& office, const std::string& name)
        : office_(office), handle_(office.ask("create", {{"progId", "Mercato." + name}}).at("object")) {}
    ~Remote() { EXPECT_TRUE(office_.session_.answer("release", {{"object", handle_}}).contains("result")); }
    Remote(const Remote&) = delete;
    Remote& operator=(const Remote&) = delete;

    // The whole result: the value, and the arguments as they stand afterwards.
    template <class... Arguments>
    json call(const std::string& method, const Arguments&... arguments) {
      json args = json::array();
      (args.push_back(wire(arguments)), ...);
      return office_.ask("call", {{"object", handle_}, {"method", method}, {"args", args}});
    }

   private:
    GatewayOffice& office_;
    const std::int32_t handle_;
  };

  template <class... Arguments>
  json value(const std::string& name, const std::string& method, const Arguments&... arguments) {
    return Remote(*this, name).call(method, arguments...).at("value");
  }
  template <class... Arguments>
  DictionaryPtr dictionary(const std::string& name, const std::string& method, const Arguments&... arguments) {
    return from_wire(value(name, method, arguments...)).template to<Dictionary>();
  }
  template <class... Arguments>
  CollectionPtr collection(const std::string& name, const std::string& method, const Arguments&... arguments) {
    return from_wire(value(name, method, arguments...)).template to<Collection>();
  }
  Texts upload(const std::string& source, bool is_url, const Texts& parts) {
    return Remote(*this, "ProductXML").call("insertProductsFromXML", source, is_url, parts, false).at("args").at(2);
  }

  // The result. A failure of the library is raised again here.
  json ask(const std::string& method, const json& params) {
    const json answer = session_.answer(method, params);
    if (const auto result = answer.find("result"); result != answer.end()) {
      note(*result);
      return *result;
    }
    const json& error = answer.at("error");
    if (error.at("code") != -32000) throw std::runtime_error(answer.dump());
    const json& data = error.at("data");
    note(data);
    EXPECT_EQ(error.at("message"), data.at("description"));
    throw Raised(
        {data.at("number"), data.at("source"), data.at("description"), data.at("helpFile"), data.at("helpContext")});
  }
  void note(const json& call) {
    if (!call.contains("vote")) return;
    for (const json& statement : call.at("statements")) note_statement(statement);
    for (const json& entry : call.at("log")) note_log(entry.at("source"), entry.at("text"), entry.at("severity"));
    note_end(call.at("vote"), call.at("outcome"));
  }

  RpcSession session_;
  std::unique_ptr<Remote> prices_;  // that of the last preview
};

}  // namespace mercato::test
