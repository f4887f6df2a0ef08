// SPDX-License-Identifier: Apache-2.0
// mercato product: the products themselves; product_companions.cpp has what hangs on them.
#include <algorithm>

#include "frame/lib_general.h"
#include "keeping/product_keeping.h"
#include "mercato/object_context.h"
#include "records/product_row.h"
#include "tools/cli/chosen_products.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/named_product.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/product/product_companions.h"
#include "tools/cli/product/property_values.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::cli {
namespace product_commands {

constexpr const char* kProgId = "Mercato.Product";
constexpr const char* kTable = "PRODUCT";

// What FIELD=VALUE stands for, in help texts.
constexpr const char* kFieldsHelp =
    "A FIELD is a column of PRODUCT, in any case: UNITCODE, COMMODITYCODE, BUSINESSPARTNERID, PROPERTYGROUPID,\n"
    "UNSPSCCODE, MINORDERQTY, MULTIPLEOF, GTIN, USERID, PRODUCTEFFECTIVITYDATE, PRODUCTEXPIRYDATE and so on, as "
    "`show`\n"
    "prints them. Dates are 2026-07-01, 7/1/2026 (month first) or \"1 July 2026\". An empty text clears a text field "
    "or a\n"
    "date; -1 takes PROPERTYGROUPID, BUSINESSPARTNERID and NUMBER away. The supplier (BUSINESSPARTNERID) and the "
    "buyer\n"
    "(USERID) have to exist; other codes are taken as they are.\n";

struct DeletedProduct {
  ProductName product;
  bool yes = false;
};
struct WhichProduct {
  ProductName product;
};
struct HiddenProducts {
  ChosenProducts chosen;
  bool dry_run = false;
  bool yes = false;
};
struct NewProduct {
  std::string part_number;
  std::string description;
  std::vector<std::string> pairs;
};
struct ProductPairs {
  ProductName product;
  std::vector<std::string> pairs;
};
struct OrderQuantity {
  ProductName product;
  double quantity = 0;
};

struct Pair {
  std::string name;
  std::string value;
};
Pair split_pair(const std::string& text) {
  const std::size_t equals = text.find('=');
  return {text.substr(0, equals), text.substr(equals + 1)};
}

struct FieldValues {
  Array fields;
  Array values;

  void add(const std::string& field, Variant value) {
    fields.items.emplace_back(field);
    values.items.push_back(std::move(value));
  }
  bool has(std::string_view field) const {
    return std::any_of(fields.items.begin(), fields.items.end(),
                       [&](const Variant& given) { return given.text_value() == field; });
  }
};

std::string takes_at_most(const ProductFieldFault& fault) {
  return " takes at most " + std::to_string(fault.most_characters) + " characters";
}

std::string named(std::int32_t id) { return "product " + std::to_string(id); }

// Insert20 stops without a word at these.
Reasons reasons_for_quiet_stop(const FieldValues& given) {
  Reasons reasons;
  for (std::int32_t index = given.fields.lower; index <= given.fields.upper(); ++index) {
    const std::string& field = given.fields.at(index).text_value();
    const std::string& value = given.values.at(index).text_value();
    const auto fault = product_field_fault(ProductWritePolicy::insert, field, given.values.at(index));
    if (!fault) continue;
    switch (fault->kind) {
      case ProductFieldFault::Kind::empty:
        reasons.push_back(field + " is empty");
        break;
      case ProductFieldFault::Kind::too_long:
        reasons.push_back(field + takes_at_most(*fault) + ", not " + std::to_string(text::length(value)));
        break;
      case ProductFieldFault::Kind::no_date:
        reasons.push_back(field + " takes a date, not '" + value + "'");
        break;
    }
  }
  return reasons;
}

int insert(const NewProduct& given, const OutputOptions& output) {
  FieldValues row;
  row.add("PARTNUMBER", given.part_number);
  row.add("PRODUCTDESCRIPTION", given.description);
  for (const std::string& text : given.pairs) {
    const Pair pair = split_pair(text);
    row.add(text::to_upper(pair.name), pair.value);
  }
  expect_no_assigned_field(kTable, row.fields);
  require_certain(upload::kProductDocument, row.fields, row.values);
  const std::int32_t id =
      explaining([&](const RaisedError&) { return reasons_against_write(kTable, row.fields, row.values); },
                 [&] {
                   return call(create_root(kProgId), "Insert20", {row.fields, row.values}).to_long();
                 });
  if (id == -1) return refuse(output, {{"id", id}}, "no product was created.", reasons_for_quiet_stop(row));
  return answer(output, {{"id", id}}, named(id) + " created.");
}

Reasons reasons_against_update(const FieldValues& row) {
  Reasons reasons = reasons_against_write(kTable, row.fields, row.values);
  for (std::int32_t index = row.fields.lower; index <= row.fields.upper(); ++index) {
    const std::string& field = row.fields.at(index).text_value();
    const auto fault = product_field_fault(ProductWritePolicy::update, field, row.values.at(index));
    if (fault && fault->kind == ProductFieldFault::Kind::too_long) reasons.push_back(field + takes_at_most(*fault));
  }
  return reasons;
}

int update(const ProductPairs& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  const ComponentPtr products = create_root(kProgId);
  FieldValues row;
  for (const std::string& text : given.pairs) {
    const Pair pair = split_pair(text);
    const std::string field = text::to_upper(pair.name);
    row.add(field, pair.value.empty() ? no_value_of(field) : Variant(pair.value));
  }
  expect_no_assigned_field(kTable, row.fields);
  require_certain(upload::kProductDocument, row.fields, row.values);
  // Where category links follow the codes, an update without UNSPSCCODE counts as a cleared code and takes the product
  // out of its categories. So the present code is handed over.
  if (!row.has("UNSPSCCODE")) {
    const auto present = call(products, "GetProductFields", {Array{"UNSPSCCODE"}, id}).to<Dictionary>();
    row.add("UNSPSCCODE", text_of(*present, "UNSPSCCODE"));
  }
  const bool updated = explaining([&](const RaisedError&) { return reasons_against_update(row); },
                                  [&] {
                                    return call(products, "Update20", {id, row.fields, row.values}).to_boolean();
                                  });
  return answer(output, {{"updated", updated}}, named(id) + " changed.");
}

int show_one(const WhichProduct& given, const OutputOptions& output) { return show_product(given.product, output); }

// Many products, or one
int set_visibility(const HiddenProducts& given, bool disabled, const OutputOptions& output) {
  const std::string done = disabled ? "disabled" : "enabled";
  const bool is_one = given.chosen.names.size() == 1 && !given.dry_run;
  // One that was named is written whatever it is.
  const std::vector<std::int32_t> products =
      choose(given.chosen, is_one ? std::nullopt : std::optional<bool>(!disabled));
  if (is_one && products.size() == 1) {
    call(create_root(kProgId), disabled ? "Disable" : "Enable", {products.front()});
    return answer(output, {{"id", products.front()}, {"disabled", disabled}},
                  named(products.front()) + " " + done + ".");
  }
  gateway::Json json = {{"products", products.size()}, {"disabled", disabled}};
  if (given.dry_run)
    return tell_dry_run(output, products, std::move(json),
                        counted(products.size(), "product") + " would be " + done + ".");
  if (products.empty())
    return refuse(output, std::move(json), "no product is chosen that is not " + done + " already.", {});
  if (!given.chosen.are_named() && !given.yes) expect_consent(counted(products.size(), "product") + " will be " + done);
  OneTransaction transaction;
  {
    Progress progress(products.size());
    keeping::set_disabled(products, disabled, [&] { progress.advance(); });
  }
  transaction.commit();
  return answer(output, json, counted(products.size(), "product") + " " + done + ".");
}
int disable(const HiddenProducts& given, const OutputOptions& output) { return set_visibility(given, true, output); }
int enable(const HiddenProducts& given, const OutputOptions& output) { return set_visibility(given, false, output); }

int remove(const DeletedProduct& given, const OutputOptions& output) {
  const keeping::NamedProduct product = find_product(given.product);
  return delete_row({kProgId, "Delete", kTable, product.id, given.yes,
                     shown(product.part_number + " " + product.description) + " with all that is about it"},
                    output);
}

int check(const OrderQuantity& given, const OutputOptions& output) {
  const std::int32_t id =
      find_product(given.product).id;  // the library says of an unknown product that no quantity fits
  const ComponentPtr products = create_root(kProgId);
  const bool fits = call(products, "CheckLotSize", {id, given.quantity}).to_boolean();
  const double minimum = call(products, "getMinOrderQty", {id}).to_double();
  const double multiple = call(products, "getMultipleOf", {id}).to_double();

  std::string limits;
  if (minimum != 0) limits = "at least " + text::number_text(minimum);
  if (multiple != 0) limits += (limits.empty() ? "" : ", ") + ("in multiples of " + text::number_text(multiple));
  const gateway::Json json = {{"fits", fits}, {"minimum", minimum}, {"multiple", multiple}};
  const std::string order = text::number_text(given.quantity) + " of " + named(id);
  if (!fits) return refuse(output, json, "the quantity does not fit.", {order + " cannot be ordered: " + limits});
  return answer(output, json, order + " can be ordered" + (limits.empty() ? "" : ": " + limits) + ".");
}

int list_properties(const ComponentPtr& products, std::int32_t id, const OutputOptions& output) {
  gateway::Json list = gateway::Json::array();
  Table table({"ID", "PROPERTY", "VALUE"});
  for (const DictionaryPtr& row : property_values(products, id)) {
    list.push_back(to_json(*row));
    table.add({text_of(*row, "PROPERTYID"), shown(text_of(*row, "PROPERTYNAME")), shown(text_of(*row, "VALUE"), 200)});
  }
  return answer_list(output, "properties", std::move(list), table, named(id) + " has no properties.");
}

int set_properties(const ProductPairs& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;  // the library writes values of an unknown product, too
  const ComponentPtr products = create_root(kProgId);
  if (given.pairs.empty()) return list_properties(products, id, output);

  struct Change {
    std::int32_t property_id;
    bool is_new;
    std::string value;
  };
  // All names are known before the first value is written.
  const Rows held = property_values(products, id);
  std::vector<Change> changes;
  for (const std::string& text : given.pairs) {
    const auto [property, value] = split_pair(text);
    const auto row = std::find_if(held.begin(), held.end(), [&, &name = property](const DictionaryPtr& candidate) {
      return text::same(text_of(*candidate, "PROPERTYNAME"), name);
    });
    const bool is_new = row == held.end();
    changes.push_back({is_new ? id_of(kProperties, property) : (*row)->Item("PROPERTYID").to_long(), is_new, value});
  }
  for (const Change& change : changes)
    if (change.is_new)
      call(products, "InsertProductPropertyValue", {id, change.property_id, change.value});
    else  // the value goes into the statement as it stands
      call(products, "UpdateProductPropertyValue", {id, change.property_id, Gen_QuoteSql(change.value)});
  const auto inserted = static_cast<std::size_t>(
      std::count_if(changes.begin(), changes.end(), [](const Change& change) { return change.is_new; }));
  const std::size_t updated = changes.size() - inserted;
  return answer(output, {{"inserted", inserted}, {"updated", updated}},
                counted(inserted, "value") + " added, " + counted(updated, "value") + " changed.");
}

Option* add_pairs(Command& command, std::vector<std::string>& pairs, const char* description, const char* form) {
  return command.add_option("PAIRS", pairs, description)->option_text(form)->check(is_pair());
}

void add_writing(Menu::Group& group) {
  const std::string new_examples =
      "  mercato product new M-900001 'Copy paper, A4, recycled' unitcode=RM commoditycode=OFFICE multipleof=5\n"
      "  mercato product new M-900002 'Stapler' BUSINESSPARTNERID=1 PRODUCTEFFECTIVITYDATE=2026-07-01\n" +
      std::string(kFieldsHelp);
  {
    const auto [command, given] = group.add("new", "Create a product and print its id", new_examples.c_str(), insert);
    command.add_option("PARTNUMBER", given.part_number, "The part number")->required();
    command.add_option("DESCRIPTION", given.description, "The description")->required();
    add_pairs(command, given.pairs, "More fields", "FIELD=VALUE...");
  }
  const std::string set_examples =
      "  mercato product set 1 PRODUCTREMARK='Delivered on pallets' minorderqty=10\n"
      "  mercato product set 1 PROPERTYGROUPID=1   # the group's properties come with it, others go\n"
      "  mercato product set 1 PRODUCTEXPIRYDATE=   # an empty value clears the field\n" +
      std::string(kFieldsHelp);
  {
    const auto [command, given] = group.add("set", "Change fields of a product", set_examples.c_str(), update);
    add_product(command, given.product);
    add_pairs(command, given.pairs, "The fields", "FIELD=VALUE...")->required();
  }
}

void add_showing_and_hiding(Menu::Group& group) {
  {
    const auto [command, given] = group.add("show", "Print one product with its properties, as `mercato show`",
                                            "  mercato product show 1\n", show_one);
    add_product(command, given.product);
  }
  const auto add_visibility = [&](const char* name, const char* description, const std::string& examples, auto body) {
    const auto [command, given] = group.add(name, description, (examples + kChoiceHelp).c_str(), body);
    add_choice(command, given.chosen);
    command.add_flag("--dry-run", given.dry_run, "Say which products it would be, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask, where products were not named one by one");
  };
  add_visibility("disable", "Hide products from searches",
                 "  mercato product disable M-100007\n"
                 "  mercato product disable --supplier QUILLMARCH --part-number 'M-1000*' --dry-run\n"
                 "  mercato product disable --file discontinued.txt --yes\n",
                 disable);
  add_visibility("enable", "Show hidden products again",
                 "  mercato product enable M-100007\n"
                 "  mercato product enable --category Paper --yes\n",
                 enable);
  {
    const auto [command, given] =
        group.add("delete", "Delete a product with its prices, properties, categories, favourites and buyers",
                  "  mercato product delete 277 --yes\n"
                  "A product that a question refers to stays.\n",
                  remove);
    add_product(command, given.product);
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

void add_check_and_properties(Menu::Group& group) {
  {
    const auto [command, given] =
        group.add("check", "Check an order quantity against the product's minimum and multiple",
                  "  mercato product check 1 --quantity 20\n"
                  "Exit status 1 when it does not fit.\n",
                  check);
    add_product(command, given.product);
    command.add_option("--quantity", given.quantity, "The quantity to order")
        ->type_name("N")
        ->check(is_positive())
        ->required();
  }
  {
    const auto [command, given] = group.add("properties", "Set properties of a product, or list them",
                                            "  mercato product properties 1\n"
                                            "  mercato product properties 1 COLOUR=cream SHEETS=250\n"
                                            "A property that the product lacks is added to it.\n",
                                            set_properties);
    add_product(command, given.product);
    add_pairs(command, given.pairs, "Values by the names of their properties", "NAME=VALUE...");
  }
}

}  // namespace product_commands

Rows property_values(const ComponentPtr& products, std::int32_t product_id) {
  Rows rows;
  call(products, "GetProductProperties", {product_id})
      .to<Dictionary>()
      ->for_each([&](const Variant&, const Variant& row) { rows.push_back(row.to<Dictionary>()); });
  return rows;
}

void add_product_commands(Menu& menu) {
  using namespace product_commands;
  Menu::Group group = menu.group("product", "Create, change, check, hide and delete products");
  add_writing(group);
  add_showing_and_hiding(group);
  add_check_and_properties(group);
  add_companion_commands(group);
}

}  // namespace mercato::cli
