// SPDX-License-Identifier: Apache-2.0
// An office that asks the classes themselves, each question with an object of its own under the transaction server.
#pragma once

#include <memory>
#include <string>

#include "mercato/catalog.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product.h"
#include "mercato/product_xml.h"
#include "mercato/property.h"
#include "mercato/property_group.h"
#include "mercato/t_catalog.h"
#include "mercato/t_unit.h"
#include "mercato/t_unspsc.h"
#include "mercato/unspsc.h"
#include "tests/tools/story_office.h"

namespace mercato::test {

class TypedOffice : public Office {
 public:
  explicit TypedOffice(const ChosenStore& chosen = ChosenStore::by_environment()) : Office(chosen) {
    DllRegisterServer();
    collaborators::set_settings(collaborators::read_settings(folder_.path("mercato.toml")));
    forget_thread_state();
    clock::script_clock(kToday, 0);
    prices_ = std::make_unique<Root<PriceXML>>();
  }
  ~TypedOffice() override {
    prices_.reset();
    clock::restore_clock();
    forget_thread_state();
    store::close_idle_sessions();
    collaborators::set_settings({});
  }

  void write(const std::string& statement) override { rows_of(statement); }
  std::int32_t count(const std::string& rows) override {
    return rows_of("SELECT COUNT(*) FROM " + rows).at(0).at(0).to_long();
  }

  std::map<std::string, int> load_codes(const std::string& document, bool overwrite) override {
    write_whole(folder_.path("codes.xml"), document);
    return numbers_in(*on(Root<TUNSPSC>())->UploadFromXML(folder_.path("codes.xml"), overwrite, true));
  }
  std::string description_of_code(std::string code) override { return on(Root<UNSPSC>())->getUNSPSCDescription(code); }
  Record codes_below(std::int16_t level, const std::string& parent) override {
    return record_in(*on(Root<UNSPSC>())->GetAllUNSPSCCodes(level, parent));
  }
  bool delete_code(std::string code) override { return on(Root<TUNSPSC>())->Delete(code); }
  bool delete_commodity(const std::string& code) override { return on(Root<Product>())->DeleteCommodity(code); }
  bool delete_unit(std::string code) override { return on(Root<TUnit>())->Delete(code); }

  std::int32_t add_property(std::string name, std::int16_t type, std::string default_value) override {
    bool external = false;
    return on(Root<Property>())->Insert21(name, type, default_value, external);
  }
  bool delete_property(std::int32_t property) override { return on(Root<Property>())->Delete(property); }
  std::int32_t add_group(std::string name) override { return on(Root<PropertyGroup>())->Insert(name); }
  void put_into_group(std::int32_t group, std::int32_t property, bool mandatory, bool on_sheet) override {
    on(Root<PropertyGroup>())->AddPropertyToPropertyGroupEx(group, property, mandatory, on_sheet);
  }
  bool delete_group(std::int32_t group) override { return on(Root<PropertyGroup>())->Delete(group); }

  Texts preview_products(const std::string& document) override {
    return lines_in(*on(Root<ProductXML>())->GetCheckedProductInsertList(document, false));
  }
  Record faults_of_product(const std::string& document, const std::string& part) override {
    return record_in(*on(Root<ProductXML>())->getErrorsInProductValues(document, false, part));
  }
  Texts upload_products(const std::string& key, const std::string& document, const Texts& parts) override {
    return upload(key + "/\\" + document, false, parts);
  }
  Texts upload_remaining_products(const std::string& key, const Texts& parts) override {
    return upload(key + "/\\" + folder_.remaining("products_" + key), true, parts);
  }
  Texts remaining_products(const std::string& key) override {
    return texts_in(*on(Root<ProductXML>())->readBFPartNumbersFromXML(folder_.remaining("products_" + key), true));
  }
  std::int32_t product_of_part(const std::string& part) override {
    return on(Root<Product>())->GetProductIDFromSupplierPartNum(part);
  }
  Record product(std::int32_t product) override { return record_in(*on(Root<Product>())->GetProductEx(product)); }
  Record properties_of(std::int32_t product) override {
    return properties_in(*on(Root<Product>())->GetProductProperties(product));
  }
  std::string buyer_of(std::int32_t product) override { return on(Root<Product>())->GetDefaultProductBuyer(product); }
  bool lot_is_right(std::int32_t product, double quantity) override {
    return on(Root<Product>())->CheckLotSize(product, quantity);
  }
  std::int32_t found(const std::string& part_number, const std::string& catalogs) override {
    return on(Root<Product>())->countProductIDsFromPartNum(part_number, catalogs);
  }
  std::int32_t add_product(const Fields& fields) override {
    return on(Root<Product>())->Insert20(names_of(fields), values_of(fields));
  }
  bool change_product(std::int32_t product, const Fields& fields) override {
    return on(Root<Product>())->Update20(product, names_of(fields), values_of(fields));
  }
  void enable_product(std::int32_t product) override { on(Root<Product>())->Enable(product); }
  bool delete_product(std::int32_t product) override { return on(Root<Product>())->Delete(product); }

  Texts preview_prices(const std::string& document) override {
    prices_ = std::make_unique<Root<PriceXML>>();
    return lines_in(*on(*prices_)->GetCheckedPriceList(document, false));
  }
  std::map<std::string, Record> faults_of_prices(const std::string& document, const std::string& part) override {
    return records_in(*on(*prices_)->GetErrorsInPriceValues(document, false, part));
  }
  Texts upload_prices(const std::string& key, const std::string& document, const Texts& parts) override {
    Array done = array_of(parts);
    on(*prices_)->UpdateInsertPricesFromXML(key + "/\\" + document, false, done);
    return texts_in(done);
  }
  std::int32_t remaining_prices(const std::string& key, const std::string& part) override {
    const std::string file = folder_.remaining("prices_" + key);
    return on(Root<PriceXML>())->readProductPriceFromXML(file, true, part)->Count();
  }
  bool add_price(std::int32_t product, Date from, double quantity_to, const Fields& fields) override {
    return on(Root<Product>())->InsertPrice(product, from, quantity_to, names_of(fields), values_of(fields));
  }
  Record terms(std::int32_t product, double quantity, const std::string& currency, Date day) override {
    return record_in(*on(Root<Product>())->getCatalogPriceAttributes(product, day, currency, quantity));
  }
  double price_of_band_below(std::int32_t product, double quantity) override {
    return on(Root<Product>())->GetPriceFromPriceLines(product, quantity);
  }

  std::int32_t add_catalog(const Fields& fields) override {
    return on(Root<TCatalog>())->InsertCatalog(names_of(fields), values_of(fields));
  }
  void copy_catalog(std::int32_t catalog, const std::string& name) override {
    on(Root<TCatalog>())->CopyCatalog(catalog, 1, name);
  }
  bool expire(std::int32_t catalog) override { return on(Root<TCatalog>())->ExpireCatalog(catalog); }
  Names catalogs() override { return names_in(*on(Root<Catalog>())->GetAllCatalogs()); }
  bool is_active(std::int32_t catalog) override { return on(Root<Catalog>())->getActive(catalog); }
  bool add_category(const std::string& name, const std::string& code) override {
    return on(Root<TCatalog>())->InsertProductCategory(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{name, code});
  }
  Ids categories_called(const std::string& pattern) override {
    return ids_in(on(Root<Catalog>())->GetProductCategoriesByName(pattern).to_array());
  }
  Names products_in(std::int32_t category) override {
    Names products;
    const RecordsetPtr recordset = on(Root<Product>())->GetProductsByProductCategory(category);
    for (const auto& row : recordset->rows()) products.emplace_back(row.at(0).to_long(), row.at(1).to_text());
    return products;
  }
  Ids catalogs_with(std::int32_t product) override {
    return ids_in(on(Root<Catalog>())->GetValidProductCatalogs(Array{product})->Item(product).to_array());
  }
  std::string path_of(std::int32_t node) override { return on(Root<Catalog>())->GetCatalogNodeHierarchy(node); }

  bool give_catalogs(const std::string& user, const Ids& catalogs) override {
    return on(Root<TCatalog>())->UpdateUserCatalogIDs(user, array_of(catalogs));
  }
  bool give_catalogs_to_profile(const std::string& profile, const Ids& catalogs) override {
    return on(Root<TCatalog>())->UpdateUserCatalogIDs(profile, array_of(catalogs), true);
  }
  std::string catalogs_of(const std::string& user) override { return on(Root<Catalog>())->GetUserCatalogIDs(user); }
  std::string catalogs_of_profile(const std::string& profile) override {
    return on(Root<Catalog>())->GetProfileCatalogIDs(profile);
  }
  bool lay_out_nodes(const std::string& user) override { return on(Root<TCatalog>())->PopulateUserNodes(user); }
  Names nodes_of(const std::string& user) override {
    return names_in(*on(Root<Catalog>())->GetAllUserAuthorizedCatalogNodes(user));
  }
  bool may_see(const std::string& user, std::int32_t node) override {
    return on(Root<Catalog>())->IsAuthorizedCatalogNode(user, node);
  }
  bool may_only_view(const std::string& user, std::int32_t node) override {
    return on(Root<Catalog>())->IsViewOnlyCatalogNodeEx(user, node);
  }
  bool may_order(const std::string& user, std::int32_t node) override {
    return on(Root<Catalog>())->IsOrderCatalogNodeEx(user, node);
  }
  bool move_rights(std::int32_t from, std::int32_t to, bool replacing) override {
    return on(Root<TCatalog>())->ChangeAuthorizationsForUser(from, to, replacing);
  }

  std::int32_t add_folder(const std::string& user, const std::string& name) override {
    return on(Root<TCatalog>())->InsertFavoriteFolder(Array{"USERID", "FOLDERNAME"}, Array{user, name});
  }
  Names folders_of(const std::string& user) override {
    return names_in(*on(Root<Catalog>())->GetFavoriteFolders(user));
  }
  std::string folder_name(std::int32_t folder, const std::string& user) override {
    return on(Root<Catalog>())->GetFavoriteFolderName(folder, user);
  }
  std::int32_t folder_called(const std::string& name, const std::string& user) override {
    return on(Root<Catalog>())->GetFavoriteFolderID(name, user);
  }
  void keep(const std::string& user, std::int32_t product, std::int32_t folder) override {
    on(Root<Product>())->CreateFavoriteEx(user, product, DefaultFavorite, folder);
  }
  bool move_favorites(std::int32_t from, std::int32_t to) override {
    return on(Root<TCatalog>())->ChangeFavorites(from, to);
  }

 private:
  // Makes one call, and notes what it left, also when it failed.
  struct Noted {
    TypedOffice& office;
    const ObjectContext& context;
    ~Noted() { office.note(context); }
  };
  template <class Class>
  class Question {
   public:
    Question(TypedOffice& office, const Root<Class>& object)
        : noted_{office, object.context()}, call_(object.operator->()) {}
    Class* operator->() const { return call_.operator->(); }

   private:
    Noted noted_;
    typename Root<Class>::Call call_;  // ends before it is noted
  };
  template <class Class>
  Question<Class> on(const Root<Class>& object) {
    return {*this, object};
  }

  void note(const ObjectContext& context) {
    for (const std::string& statement : recorder_.statements) note_statement(statement);
    for (const LogEntry& entry : recorder_.log) note_log(entry.source, entry.text, entry.severity);
    recorder_.statements.clear();
    recorder_.log.clear();
    const char* const votes[] = {"none", "commit", "abort"};
    const char* const outcomes[] = {"none", "open", "committed", "rolledback"};
    note_end(votes[static_cast<int>(context.vote_of_last_call())],
             outcomes[static_cast<int>(context.outcome_of_last_call())]);
  }

  Texts upload(const std::string& source, bool is_url, const Texts& parts) {
    Array done = array_of(parts);
    on(Root<ProductXML>())->insertProductsFromXML(source, is_url, done, false);
    return texts_in(done);
  }
  std::vector<std::vector<Variant>> rows_of(const std::string& statement) const {
    const Unobserved unobserved;
    const auto connection = open_connection(folder_.store());
    const auto recordset = connection->Execute(Sql::verbatim(statement));
    auto rows = recordset && recordset->State() == 1 ? recordset->rows() : std::vector<std::vector<Variant>>();
    connection->Close();
    return rows;
  }

  Recorder recorder_;
  std::unique_ptr<Root<PriceXML>> prices_;  // that of the last preview
};

}  // namespace mercato::test
