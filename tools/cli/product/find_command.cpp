// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iostream>
#include <utility>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "mercato/search.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/named_product.h"
#include "tools/cli/product/property_values.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

// The words for a fit or a field, and its name in JSON.
struct Naming {
  const char* words;
  const char* in_json;
};

Naming naming_of(Fit fit) {
  switch (fit) {
    case Fit::part_number:
      return {"part number", "partNumber"};
    case Fit::other_number:
      return {"other number", "otherNumber"};
    case Fit::number_begins:
      return {"begin of a number", "numberBegins"};
    case Fit::number_holds:
      return {"part of a number", "numberHolds"};
    case Fit::whole_words:
      return {"words", "wholeWords"};
    case Fit::parts_of_words:
      return {"parts of words", "partsOfWords"};
    default:
      return {"", "listed"};
  }
}

Naming naming_of(FoundField field) {
  switch (field) {
    case FoundField::part_number:
      return {"part number", "partNumber"};
    case FoundField::supplier_part_number:
      return {"supplier's number", "supplierPartNumber"};
    case FoundField::manufacturer_part_number:
      return {"manufacturer's number", "manufacturerPartNumber"};
    case FoundField::gtin:
      return {"GTIN", "gtin"};
    default:
      return {"description", "description"};
  }
}

const std::string& text_of(const FoundProduct& product, FoundField field) {
  switch (field) {
    case FoundField::part_number:
      return product.part_number;
    case FoundField::supplier_part_number:
      return product.supplier_part_number;
    case FoundField::manufacturer_part_number:
      return product.manufacturer_part_number;
    case FoundField::gtin:
      return product.gtin;
    default:
      return product.description;
  }
}

std::vector<FoundPlace> places_in(const FoundProduct& product, FoundField field) {
  std::vector<FoundPlace> places;
  std::ranges::copy_if(product.places, std::back_inserter(places),
                       [&](const FoundPlace& place) { return place.field == field; });
  return places;
}

// The text of a field with its places marked. A long one is cut, at its begin too where the first place lies behind.
std::string marked(const FoundProduct& product, FoundField field, std::size_t longest) {
  constexpr std::size_t kBefore = 10;
  std::string_view text = text_of(product, field);
  std::vector<FoundPlace> places = places_in(product, field);
  std::string cell;
  if (!places.empty() && places.front().begin + places.front().length >= longest) {
    const std::size_t left_out = places.front().begin - std::min(places.front().begin, kBefore);
    text.remove_prefix(text::left(text, left_out).size());
    for (FoundPlace& place : places) place.begin -= left_out;
    if (left_out > 0) cell = "…";
  }
  const std::size_t most = longest - text::length(cell);
  const std::string line = shown(text, most);
  const std::size_t told = text::length(text) > most ? most - 1 : most;  // without the sign of the cut
  std::string_view rest = line;
  std::size_t at = 0;
  const auto take = [&](std::size_t count) {
    const std::string_view taken = text::left(rest, count);
    rest.remove_prefix(taken.size());
    at += count;
    return taken;
  };
  for (const FoundPlace& place : places) {
    if (place.begin >= told) break;
    cell += take(place.begin - at);
    cell += bold(take(std::min(place.length, told - place.begin)));
  }
  return cell += rest;
}

// What matched beside the columns, by name.
std::string found_by(const FoundProduct& product) {
  std::string words = naming_of(product.fit).words;
  for (const FoundField field : {FoundField::manufacturer_part_number, FoundField::gtin})
    if (!places_in(product, field).empty())
      words += std::string(", ") + naming_of(field).words + " " + marked(product, field, 30);
  return words;
}

gateway::Json to_json(const FoundProduct& product) {
  gateway::Json matches = gateway::Json::array();
  for (const FoundPlace& place : product.places)
    matches.push_back({{"field", naming_of(place.field).in_json}, {"begin", place.begin}, {"length", place.length}});
  return {{"id", product.id},
          {"partNumber", product.part_number},
          {"supplierPartNumber", product.supplier_part_number},
          {"manufacturerPartNumber", product.manufacturer_part_number},
          {"description", product.description},
          {"gtin", product.gtin},
          {"unit", product.unit},
          {"disabled", product.disabled},
          {"foundBy", naming_of(product.fit).in_json},
          {"matches", std::move(matches)}};
}

void tell_count(const FoundProducts& found, const FindOptions& options) {
  std::cerr << (found.total ? counted(static_cast<std::size_t>(*found.total), "product")
                            : "more than " + counted(kCountedProducts, "product"));
  if (found.more)
    std::cerr << "; --offset " << options.offset + options.limit << " shows what follows";
  else if (found.products.empty() && options.offset > 0)
    std::cerr << "; --offset passes over all of them";
  std::cerr << '\n';
}

}  // namespace

int find(const FindOptions& options, const OutputOptions& output) {
  const store::CallLimit limit = call_limit();
  ProductSearch search;
  for (const std::string& word : options.words) search.text += (search.text.empty() ? "" : " ") + word;
  if (!options.user.empty()) search.user = options.user;
  search.limit = options.limit;
  search.offset = options.offset;
  const FoundProducts found = find_products(search);
  const int status = found.products.empty() ? kFailed : kDone;

  if (output.json) {
    gateway::Json products = gateway::Json::array();
    for (const FoundProduct& product : found.products) products.push_back(to_json(product));
    const gateway::Json json = {{"products", std::move(products)},
                                {"more", found.more},
                                {"total", found.total ? gateway::Json(*found.total) : gateway::Json(nullptr)},
                                {"suggestions", found.suggestions}};
    std::cout << gateway::line_of(json) << '\n';
    return status;
  }

  Table table({"ID", "PART NUMBER", "SUPPLIER'S NUMBER", "DESCRIPTION", "FOUND BY"});
  for (const FoundProduct& product : found.products)
    table.add({std::to_string(product.id), marked(product, FoundField::part_number, 30),
               marked(product, FoundField::supplier_part_number, 30),
               marked(product, FoundField::description, 50) + (product.disabled ? " (disabled)" : ""),
               found_by(product)});
  table.print(std::cout);
  std::cout.flush();
  if (found.total == 0)
    std::cerr << "No product has '" << shown(search.text) << "'.\n";
  else
    tell_count(found, options);
  for (const std::string& suggestion : found.suggestions) std::cerr << "Did you mean '" << shown(suggestion) << "'?\n";
  return status;
}

int show_product(const ProductName& product, const OutputOptions& output) {
  const std::int32_t product_id = find_product(product).id;
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
      const std::string text = text_of(value);
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
