// SPDX-License-Identifier: Apache-2.0
// mercato price: the price lines of products.
#include <cmath>

#include "mercato/clock.h"
#include "mercato/date.h"
#include "mercato/object_context.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/named_product.h"
#include "tools/cli/product/price_changes.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace price_commands {

constexpr const char* kProgId = "Mercato.Product";
constexpr const char* kTable = "CATALOGPRODUCTPRICE";

struct PricedProduct {
  ProductName product;
};
struct PriceLine {
  ProductName product;
  std::string from;
  double to_quantity = 0;
  std::string currency;
  std::string group;
  std::string price;
  // Written when they are given.
  std::string until;
  std::string discount_percent;
  std::string discount_amount;
  std::string tax;
  std::string freight;
};
struct PriceQuestion {
  ProductName product;
  double quantity = 0;
  std::string date;  // empty: today
  std::string currency;
};

Date date_of(const std::string& text) { return *Date::parse(text); }  // the command line was checked

std::string quantity_text(double quantity) { return text::number_text(quantity); }

int list(const PricedProduct& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;  // the library takes an unknown product, too
  const ComponentPtr products = create_root(kProgId);
  gateway::Json lines = gateway::Json::array();
  Table table({"FROM", "UNTIL", "TO QUANTITY", "GROUP", "PRICE", "CURRENCY", "DISCOUNT %", "DISCOUNT", "TAX %"});
  call(products, "GetProductPriceLines", {id}).to<Dictionary>()->for_each([&](const Variant&, const Variant& one) {
    const auto line = one.to<Dictionary>();
    lines.push_back(to_json(*line));
    std::vector<std::string> cells;
    for (const char* column : {"PRICEEFFECTIVEDATE", "PRICEEXPIRYDATE", "QUANTITYTO", "GROUPBY", "PRICE",
                               "CURRENCYCODE", "DISCOUNTPERC", "DISCOUNTAMOUNT", "PRICETAXPERCENTAGE"})
      cells.push_back(shown(text_of(*line, column)));
    table.add(std::move(cells));
  });
  return answer_list(output, "lines", std::move(lines), table,
                     "product " + std::to_string(id) + " has no price lines.");
}

int set(const PriceLine& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  const ComponentPtr products = create_root(kProgId);
  require_certain(upload::kPriceDocument, Array{"PRICEEFFECTIVEDATE"}, Array{given.from});
  const Date from = date_of(given.from);
  Array fields{"CURRENCYCODE", "PRICE"};
  Array values{given.currency, given.price};
  const auto add = [&](const char* field, const std::string& value) {
    if (value.empty()) return;
    fields.items.emplace_back(field);
    values.items.emplace_back(value);
  };
  add("PRICEEXPIRYDATE", given.until);
  add("DISCOUNTPERC", given.discount_percent);
  add("DISCOUNTAMOUNT", given.discount_amount);
  add("PRICETAXPERCENTAGE", given.tax);
  add("FREIGHTCOST", given.freight);
  // The group that is looked for is an argument, the one that is written a field.
  add("GROUPBY", given.group);
  require_certain(upload::kPriceDocument, fields, values);

  const std::string line = "the price line of product " + std::to_string(id) + " from " + date_text(from) +
                           " up to quantity " + quantity_text(given.to_quantity);
  const auto explain = [&](const RaisedError& error) {
    if (given.group.empty() && error.Number == error_number::kConstraintViolated)
      return Reasons{line + " is there already; a line without a group can be added, not changed"};
    return reasons_against_write(kTable, fields, values);
  };
  const bool written = explaining(explain, [&] {
    if (given.group.empty())
      return call(products, "InsertPrice", {id, from, given.to_quantity, fields, values}).to_boolean();
    return call(products, "InsertUpdatePriceEx",
                {id, from, given.to_quantity, given.group, fields, values, "insertupdate"})
        .to_boolean();
  });
  return answer(output, {{"written", written}},
                line + (given.group.empty() ? " added." : " in group " + given.group + " written."));
}

int price_for(const PriceQuestion& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  if (!given.date.empty()) require_certain(upload::kPriceDocument, Array{"PRICEEFFECTIVEDATE"}, Array{given.date});
  const Date date = given.date.empty() ? Date(std::floor(clock::now().days())) : date_of(given.date);
  const auto attributes =
      call(create_root(kProgId), "getCatalogPriceAttributes", {id, date, given.currency, given.quantity})
          .to<Dictionary>();
  const std::string question =
      "product " + std::to_string(id) + ", quantity " + quantity_text(given.quantity) + ", on " + date_text(date);
  const gateway::Json json = to_json(*attributes);
  // A price of a line is a currency number; without a line all five are plain zeros.
  if (attributes->Item("PRICE").type() != Variant::Type::currency)
    return refuse(output, json, "no price line holds for " + question + ".", {});
  std::string words;
  attributes->for_each([&](const Variant& attribute, const Variant& value) {
    words += (words.empty() ? "" : ", ") + attribute.to_text() + " " + text_of(value);
  });
  return answer(output, json, question + ", in " + given.currency + ": " + words + ".");
}

}  // namespace price_commands

void add_price_commands(Menu& menu) {
  using namespace price_commands;
  Menu::Group group = menu.group("price", "List, write, change and end price lines, and find the price that holds");
  {
    const auto [command, given] = group.add("list", "List the price lines of a product",
                                            "  mercato price list 1\n"
                                            "The freight is not among what the library lists; `price for` tells it.\n",
                                            list);
    add_product(command, given.product);
  }
  {
    const auto [command, given] = group.add(
        "set", "Write a price line",
        "  mercato price set 1 --from 2025-01-01 --to-quantity 99 --currency EUR --price 4.20\n"
        "  mercato price set 1 --from 2026-07-01 --until 2026-12-31 --to-quantity 999 --currency EUR --price 3.80 "
        "--tax "
        "19\n"
        "  mercato price set 1 --from 2025-01-01 --to-quantity 99 --currency EUR --price 4.00 --group KEY\n"
        "A line is known by product, date, quantity and group. With a group a line that is there is changed; without\n"
        "one a line can be added only. Dates are 2026-07-01 or \"1 July 2026\".\n",
        set);
    add_product(command, given.product);
    command.add_option("--from", given.from, "The first day")->type_name("DATE")->check(is_date())->required();
    command.add_option("--until", given.until, "The last day")->type_name("DATE")->check(is_date());
    command.add_option("--to-quantity", given.to_quantity, "The largest quantity that it holds for")
        ->type_name("N")
        ->check(is_positive())
        ->required();
    command.add_option("--currency", given.currency, "The code of its currency")->type_name("CODE")->required();
    const auto add_number = [&command = command](const char* name, std::string& number, const char* description) {
      return command.add_option(name, number, description)->type_name("X")->check(is_number());
    };
    add_number("--price", given.price, "The price of one")->required();
    add_number("--discount-percent", given.discount_percent, "Discount in percent, rounded to two decimals");
    add_number("--discount-amount", given.discount_amount, "Discount as an amount");
    add_number("--tax", given.tax, "Tax in percent, rounded to two decimals");
    add_number("--freight", given.freight, "Freight");
    command.add_option("--group", given.group, "The group of the line")->type_name("NAME");
  }
  {
    const auto [command, given] = group.add("for", "Print the price that holds for a quantity on a day, in a currency",
                                            "  mercato price for 1 --quantity 40 --currency EUR\n"
                                            "  mercato price for 1 --quantity 40 --currency USD --date 2026-09-01\n"
                                            "Exit status 1 when no line holds.\n",
                                            price_for);
    add_product(command, given.product);
    command.add_option("--quantity", given.quantity, "The quantity")->type_name("N")->check(is_positive())->required();
    command.add_option("--currency", given.currency, "The code of the currency wanted")->type_name("CODE")->required();
    command.add_option("--date", given.date, "The day; else today")->type_name("DATE")->check(is_date());
  }
  add_price_changes(group);
}

}  // namespace mercato::cli
