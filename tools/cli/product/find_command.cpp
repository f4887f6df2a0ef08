// SPDX-License-Identifier: Apache-2.0
#include <iostream>
#include <set>
#include <utility>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "product/product_search.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/product/property_values.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {
namespace {

// The products that the library's own lookups find for a term, each with the first lookup that found it.
class Search {
 public:
  explicit Search(std::string term) : term_(std::move(term)), products_(create_root("Mercato.Product")) {}

  void run(std::int32_t most) {
    // A root object answers many calls; each is a transaction of its own.
    found(by_number("GetProductIdFromPartNumSource"), "part number");
    const auto same_number = call(products_, "GetProductsByPartNumber", {term_}).to<Dictionary>();
    same_number->for_each([&](const Variant& id, const Variant&) { found(id.to_long(), "part number"); });
    found(by_number("GetProductIDFromSupplierPartNum"), "supplier's number");

    std::vector<Variant> arguments = {"%" + term_ + "%", most, false};
    const auto in_catalogue = call(products_, "GetCatalogProductsByPartNumber", arguments).to<Dictionary>();
    more_ = arguments[2].to_boolean();
    in_catalogue->for_each([&](const Variant& id, const Variant&) { found(id.to_long(), "part number, catalogue"); });

    // The library's widest look-up tells the first product and how many there are; the others are asked for here.
    found(by_number("getProductIDFromPartNum"), "description or number, catalogue");
    in_catalogues_ = call(products_, "countProductIDsFromPartNum", {term_}).to_long();
    if (in_catalogues_ > 1) find_in_catalogues(most);
  }

  struct Hit {
    std::int32_t id;
    std::string how;
    DictionaryPtr fields;
  };
  const std::vector<Hit>& hits() const { return hits_; }
  bool more() const { return more_; }
  std::int32_t in_catalogues() const { return in_catalogues_; }

 private:
  std::int32_t by_number(std::string_view method) { return call(products_, method, {term_}).to_long(); }

  void find_in_catalogues(std::int32_t most) {
    for (const std::int32_t id : product::products_in_catalogs(connection_string(), term_, most))
      found(id, "description or number, catalogue");
  }

  void found(std::int32_t id, const char* how) {
    if (id == -1 || !known_.insert(id).second) return;
    const Array names = {"PARTNUMBER", "BUYFROMPARTNUMBER", "PRODUCTDESCRIPTION", "DISABLED"};
    hits_.push_back({id, how, call(products_, "GetProductFields", {names, id}).to<Dictionary>()});
  }

  std::string term_;
  ComponentPtr products_;
  std::vector<Hit> hits_;
  std::set<std::int32_t> known_;
  bool more_ = false;
  std::int32_t in_catalogues_ = 0;
};

}  // namespace

int find(const std::string& term, std::int32_t most, const OutputOptions& output) {
  Search search(term);
  search.run(most);
  if (output.json) {
    gateway::Json list = gateway::Json::array();
    for (const Search::Hit& hit : search.hits())
      list.push_back({{"id", hit.id},
                      {"partNumber", text_of(*hit.fields, "PARTNUMBER")},
                      {"supplierPartNumber", text_of(*hit.fields, "BUYFROMPARTNUMBER")},
                      {"description", text_of(*hit.fields, "PRODUCTDESCRIPTION")},
                      {"foundBy", hit.how}});
    const gateway::Json json = {{"products", std::move(list)},
                                {"more", search.more() || search.in_catalogues() > most},
                                {"matchesInCatalogues", search.in_catalogues()}};
    std::cout << gateway::line_of(json) << '\n';
    return search.hits().empty() ? kFailed : kDone;
  }

  Table table({"ID", "PART NUMBER", "SUPPLIER'S NUMBER", "DESCRIPTION", "FOUND BY"});
  for (const Search::Hit& hit : search.hits())
    table.add({std::to_string(hit.id), shown(text_of(*hit.fields, "PARTNUMBER"), 30),
               shown(text_of(*hit.fields, "BUYFROMPARTNUMBER"), 30),
               shown(text_of(*hit.fields, "PRODUCTDESCRIPTION"), 50) +
                   (text_of(*hit.fields, "DISABLED") == "1" ? " (disabled)" : ""),
               hit.how});
  table.print(std::cout);
  if (table.empty())
    std::cout << "No product has '" << shown(term) << "'.\n";
  else
    std::cout << '\n';
  if (search.more()) std::cout << "There are more; --limit shows more than " << most << ".\n";
  if (search.in_catalogues() > most)
    std::cout << search.in_catalogues()
              << " enabled products of the catalogues match by description or number; --limit shows more of them.\n";
  std::cout << "Products that hang in no category are found by their exact part number or supplier's number only.\n";
  return table.empty() ? kFailed : kDone;
}

int show(std::int32_t product_id, const OutputOptions& output) {
  expect_row("PRODUCT", product_id);
  const ComponentPtr products = create_root("Mercato.Product");
  const auto record = call(products, "GetProductEx", {product_id}).to<Dictionary>();
  // The columns that GetProductEx leaves out.
  const Array further = {"GTIN", "STOCKITEM", "PRICINGMETHOD", "DATEUPDATED"};
  const auto rest = call(products, "GetProductFields", {further, product_id}).to<Dictionary>();
  const Rows properties = property_values(products, product_id);

  if (output.json) {
    gateway::Json fields = to_json(*record);
    fields.update(to_json(*rest));
    gateway::Json property_list = gateway::Json::array();  // names need not be unique
    for (const DictionaryPtr& row : properties)
      property_list.push_back({{"name", text_of(*row, "PROPERTYNAME")}, {"value", text_of(*row, "VALUE")}});
    const gateway::Json json = {{"fields", std::move(fields)}, {"properties", std::move(property_list)}};
    std::cout << gateway::line_of(json) << '\n';
    return kDone;
  }

  Table table({"FIELD", "VALUE"});
  for (const Dictionary* dictionary : {record.get(), rest.get()})
    dictionary->for_each([&](const Variant& name, const Variant& value) {
      const std::string text = value.text_or_empty();
      if (!text.empty()) table.add({name.to_text(), shown(text, 200)});
    });
  table.print(std::cout);
  if (!properties.empty()) {
    std::cout << '\n';
    Table values({"PROPERTY", "VALUE"});
    for (const DictionaryPtr& row : properties)
      values.add({shown(text_of(*row, "PROPERTYNAME")), shown(text_of(*row, "VALUE"), 200)});
    values.print(std::cout);
  }
  return kDone;
}

}  // namespace mercato::cli
