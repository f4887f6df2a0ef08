// SPDX-License-Identifier: Apache-2.0
// Products: found, whole, and what one costs. With a user nothing is told of what he does not see, neither by a row nor
// by a count, a total, an ETag, or another status than that of what is not there.
#include <algorithm>
#include <cmath>

#include "host/host.h"
#include "host/row_json.h"
#include "keeping/price_keeping.h"
#include "keeping/product_page.h"
#include "mercato/clock.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/raised_error.h"
#include "mercato/search.h"
#include "platform/store/unit_of_work.h"
#include "product/holding_line.h"
#include "search/seen_products.h"

namespace mercato::host {
namespace {

Response find(Call& call) {
  ProductSearch search;
  search.text = call.text("query");
  search.user = call.sight();
  search.category = call.integer_if_given("category");
  search.catalog = call.integer_if_given("catalog");
  search.supplier = call.integer_if_given("supplier");
  search.limit = call.integer_if_given("limit").value_or(50);
  search.after = call.text("after");
  FoundProducts found;
  try {
    found = find_products(search);
  } catch (const Raised& raised) {
    if (!search.after.empty() && raised.error().Number == error_number::kInvalidArgument)
      refuse(400, "The parameter 'after' is the `next` of an earlier answer.");
    throw;
  }
  Json items = Json::array();
  for (const FoundProduct& product : found.products)
    items.push_back({{"id", product.id},
                     {"partNumber", product.part_number},
                     {"supplierPartNumber", product.supplier_part_number},
                     {"description", product.description},
                     {"unit", product.unit},
                     {"disabled", product.disabled}});
  return json_response({{"items", std::move(items)},
                        {"next", found.next.empty() ? Json(nullptr) : Json(found.next)},
                        {"total", found.total ? Json(*found.total) : Json(nullptr)}});
}

[[noreturn]] void refuse_product() { refuse(404, "There is no such product."); }

// 404 also for a product that the user does not see.
void require_sight(const Call& call, std::int32_t product) {
  if (const auto user = call.sight(); user && seen_products(*user, {product}).empty()) refuse_product();
}

Response tell(Call& call) {
  const std::int32_t id = call.integer("id");
  require_sight(call, id);
  auto page = keeping::product_page(id);
  if (!page) refuse_product();
  if (const auto user = call.sight()) {
    std::erase_if(page->categories, [&](const DictionaryPtr& category) {
      return seen_products(*user, {id}, category->Item("CATEGORYID").to_long()).empty();
    });
    std::vector<std::int32_t> alternatives;
    for (const DictionaryPtr& product : page->alternatives)
      alternatives.push_back(product->Item("PRODUCTID").to_long());
    const std::vector<std::int32_t> seen = seen_products(*user, std::move(alternatives));
    std::erase_if(page->alternatives, [&](const DictionaryPtr& product) {
      return std::ranges::find(seen, product->Item("PRODUCTID").to_long()) == seen.end();
    });
  }
  Json json = row_json(*page->record);
  json["properties"] = rows_json(page->properties);
  json["prices"] = rows_json(page->prices);
  json["buyers"] = rows_json(page->buyers);
  json["categories"] = rows_json(page->categories);
  json["alternatives"] = rows_json(page->alternatives);
  return record_response(call, json);
}

Response price(Call& call) {
  const std::int32_t id = call.integer("id");
  require_sight(call, id);
  Root<Product> products;
  if (!keeping::product_page(id)) refuse_product();
  const double quantity = call.has("quantity") ? call.number("quantity") : 1;
  const Date day = call.has("date") ? *Date::parse(call.text("date")) : Date(std::floor(clock::now().days()));
  const DictionaryPtr line = product::line_that_holds(id, day, quantity);
  if (!line) refuse(404, "No price line holds for that quantity on that day.");
  const std::string currency =
      call.has("currency") ? call.text("currency") : line->Item("CURRENCYCODE").text_or_empty();
  const DictionaryPtr price = products->getCatalogPriceAttributes(id, day, currency, quantity);
  return json_response({{"product", id},
                        {"quantity", quantity},
                        {"currency", currency},
                        {"date", day.iso_text().substr(0, 10)},
                        {"price", plain_json(price->Item("PRICE"))},
                        {"discountPercent", plain_json(price->Item("DISCOUNTPERC"))},
                        {"discountAmount", plain_json(price->Item("DISCOUNTAMOUNT"))},
                        {"taxPercent", plain_json(price->Item("PRICETAXPERCENTAGE"))},
                        {"freight", plain_json(price->Item("FREIGHTCOST"))},
                        {"line", row_json(*line)}});
}

// Days are those of the columns that are dates. Other texts are left to the library, which says what it does not take.
Variant column_value(const std::string& column, const Json& json) {
  if (json.is_number()) return json.get<double>();
  if (!json.is_string()) return kNull;
  const std::string& text = json.get_ref<const std::string&>();
  if (column.ends_with("DATE"))
    if (const std::optional<Date> day = Date::parse(text)) return *day;
  return text;
}

// Null for no line.
DictionaryPtr price_line(const Json& body, const char* member) {
  const auto given = body.find(member);
  if (given == body.end() || given->is_null()) return nullptr;
  if (!given->is_object()) refuse(400, std::string("The member '") + member + "' is a price line, or null.");
  auto line = std::make_shared<Dictionary>();
  for (const auto& [column, json] : given->items()) line->Add(column, column_value(column, json));
  for (const char* key : {"PRICEEFFECTIVEDATE", "QUANTITYTO"})
    if (!line->Exists(key) || line->Item(key).is_null())
      refuse(400, std::string("A price line has a value for ") + key + ".");
  return line;
}

Response change_prices(Call& call) {
  const Json body = Json::parse(call.body, nullptr, false);
  if (!body.is_object()) refuse(400, "The body is an object with the members 'before' and 'after'.");
  const DictionaryPtr before = price_line(body, "before");
  const DictionaryPtr after = price_line(body, "after");
  const std::int32_t id = call.integer("id");
  require_sight(call, id);
  if (!keeping::product_page(id)) refuse_product();
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  {
    const store::UnitOfWork::Current current(&unit);
    if (!keeping::replace_price_line(id, before, after)) refuse(409, "There is no such price line any longer.");
  }
  unit.commit();
  return {.status = 204, .fields = {}, .body = {}, .events = {}};
}

}  // namespace

std::vector<Route> product_routes() {
  using Kind = Parameter::Kind;
  constexpr const char* kAddedLine =
      R"({"before":null,"after":{"PRICEEFFECTIVEDATE":"2031-01-01","QUANTITYTO":10,"PRICE":4.2,"CURRENCYCODE":"EUR"}})";
  const Parameter id = {
      .name = "id", .kind = Kind::integer, .required = true, .description = "The product's id", .example = "1"};
  return {{.method = "GET",
           .path = "/api/v1/products",
           .role = Role::reader,
           .summary = "Find products by words: numbers, descriptions and parts of them",
           .parameters =
               {{.name = "query", .description = "The words; without them everything is found", .example = "paper"},
                {.name = "category", .kind = Kind::integer, .description = "Only products of this category"},
                {.name = "catalog", .kind = Kind::integer, .description = "Only products that this catalogue shows"},
                {.name = "user", .description = "Only what this user may see"},
                {.name = "supplier", .kind = Kind::integer, .description = "Only products of this business partner"},
                {.name = "limit",
                 .kind = Kind::integer,
                 .description = "How many are told, 50 when it is not given",
                 .example = "20",
                 .least = 1,
                 .most = 200},
                {.name = "after", .description = "The `next` of the page before"}},
           .handler = find,
           .answer = "Products"},
          {.method = "GET",
           .path = "/api/v1/products/{id}",
           .role = Role::reader,
           .summary = "One product whole: its record by column name, and the rows that hang on it",
           .parameters = {id, {.name = "user", .description = "As this user sees it"}},
           .handler = tell,
           .answer = "Product"},
          {.method = "GET",
           .path = "/api/v1/products/{id}/price",
           .role = Role::reader,
           .summary = "The price that holds, and the line that it comes from",
           .parameters = {id,
                          {.name = "quantity",
                           .kind = Kind::number,
                           .description = "The quantity, 1 when it is not given",
                           .example = "10"},
                          {.name = "currency",
                           .description = "The code of the currency wanted, else that of the line",
                           .example = "EUR"},
                          {.name = "date", .kind = Kind::day, .description = "The day, else today"},
                          {.name = "user", .description = "As this user sees it"}},
           .handler = price,
           .answer = "Price"},
          {.method = "POST",
           .path = "/api/v1/products/{id}/prices",
           .role = Role::keeper,
           .summary = "Put the price line `after` in the place of `before`; one is null to add or delete",
           .parameters = {id},
           .handler = change_prices,
           .answer = "",
           .most_bytes = std::uint64_t{1} << 16,
           .body = kAddedLine}};
}

}  // namespace mercato::host
