// SPDX-License-Identifier: Apache-2.0
// Products: found, whole, and what one costs. With a user nothing is told of what he does not see, neither by a row nor
// by a count, a total, an ETag, or another status than that of what is not there.
#include <algorithm>
#include <cmath>

#include "host/host.h"
#include "host/row_json.h"
#include "keeping/product_page.h"
#include "mercato/clock.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/raised_error.h"
#include "mercato/search.h"
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

}  // namespace

std::vector<Route> product_routes() {
  using Kind = Parameter::Kind;
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
           .answer = "Price"}};
}

}  // namespace mercato::host
