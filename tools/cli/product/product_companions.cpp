// SPDX-License-Identifier: Apache-2.0
// mercato product alternatives, images, attach, detach and attachments.
#include "tools/cli/product/product_companions.h"

#include <optional>

#include "keeping/product_keeping.h"
#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/named_product.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace product_companions {

constexpr const char* kProgId = "Mercato.Product";

struct Alternatives {
  ProductName product;
  std::vector<std::string> added;
  std::vector<std::string> removed;
};
struct Images {
  ProductName product;
  std::optional<std::string> picture;
  std::optional<std::string> drawing;
};
struct Attachments {
  ProductName product;
};
struct Detachment {
  ProductName product;
  std::string file;
  bool yes = false;
};
struct Attachment {
  ProductName product;
  std::string file;
};

std::string named(std::int32_t id) { return "product " + std::to_string(id); }

int list_alternatives(std::int32_t id, const OutputOptions& output) {
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "PART NUMBER", "SUPPLIER'S NUMBER", "DESCRIPTION"});
  for (const keeping::NamedProduct& product : keeping::alternatives_of(id)) {
    json.push_back({{"id", product.id},
                    {"partNumber", product.part_number},
                    {"supplierPartNumber", product.supplier_part_number},
                    {"description", product.description},
                    {"disabled", product.disabled}});
    table.add({std::to_string(product.id), shown(product.part_number, 30), shown(product.supplier_part_number, 30),
               shown(product.description, 50) + (product.disabled ? " (disabled)" : "")});
  }
  return answer_list(output, "alternatives", std::move(json), table, named(id) + " has no alternatives.");
}

int alternatives(const Alternatives& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  if (given.added.empty() && given.removed.empty()) return list_alternatives(id, output);
  const auto added = find_products_named(given.added, {});
  const auto removed = find_products_named(given.removed, {});
  Reasons reasons;
  OneTransaction transaction;
  for (const keeping::NamedProduct& other : added) {
    if (other.id == id)
      reasons.push_back(named(id) + " is no alternative of its own");
    else if (!keeping::add_alternative(id, other.id))
      reasons.push_back(named(other.id) + " is an alternative already");
  }
  for (const keeping::NamedProduct& other : removed)
    if (keeping::remove_alternative(id, other.id) == 0) reasons.push_back(named(other.id) + " is no alternative");
  if (!reasons.empty())
    return refuse(output, {{"changed", false}}, "the alternatives of " + named(id) + " stay as they were.", reasons);
  transaction.commit();
  return answer(output, {{"changed", true}, {"added", added.size()}, {"removed", removed.size()}},
                counted(added.size(), "alternative") + " of " + named(id) + " added, " +
                    std::to_string(removed.size()) + " removed.");
}

int images(const Images& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  const ComponentPtr products = create_root(kProgId);
  const auto present =
      call(products, "GetProductFields", {Array{"IMAGEFILENAME", "TECHNICALIMAGE", "UNSPSCCODE"}, id}).to<Dictionary>();
  if (!given.picture && !given.drawing) {
    const gateway::Json json = {{"IMAGEFILENAME", text_of(*present, "IMAGEFILENAME")},
                                {"TECHNICALIMAGE", text_of(*present, "TECHNICALIMAGE")}};
    return answer(output, json,
                  "IMAGEFILENAME = " + shown(text_of(*present, "IMAGEFILENAME"), 255) +
                      "\nTECHNICALIMAGE = " + shown(text_of(*present, "TECHNICALIMAGE"), 255));
  }
  // Without its code the library takes the product out of the categories that follow from it.
  Array fields{"UNSPSCCODE"};
  Array values{text_of(*present, "UNSPSCCODE")};
  const auto add = [&](const char* field, const std::optional<std::string>& name) {
    if (!name) return;
    fields.items.emplace_back(field);
    values.items.emplace_back(*name);
  };
  add("IMAGEFILENAME", given.picture);
  add("TECHNICALIMAGE", given.drawing);
  const bool updated = explaining([&](const RaisedError&) { return reasons_against_write("PRODUCT", fields, values); },
                                  [&] {
                                    return call(products, "Update20", {id, fields, values}).to_boolean();
                                  });
  return answer(output, {{"updated", updated}}, named(id) + " changed.");
}

int attachments(const Attachments& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  gateway::Json json = gateway::Json::array();
  Table table({"FILE", "BYTES"});
  for (const keeping::AttachedFile& file : keeping::attached_files(id)) {
    json.push_back({{"name", file.name}, {"bytes", file.bytes ? gateway::Json(*file.bytes) : gateway::Json(nullptr)}});
    table.add({shown(file.name, 100), file.bytes ? std::to_string(*file.bytes) : "not there"});
  }
  return answer_list(output, "attachments", std::move(json), table, named(id) + " has no attached files.");
}

int attach(const Attachment& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  OneTransaction transaction;
  const std::string name = keeping::attach_file(id, given.file);
  transaction.commit();
  return answer(output, {{"attached", name}}, shown(name, 255) + " attached to " + named(id) + ".");
}

int detach(const Detachment& given, const OutputOptions& output) {
  const std::int32_t id = find_product(given.product).id;
  const auto act = [&] { return keeping::detach_file(id, given.file); };
  const bool detached = given.yes ? kept(act) : tried(act);
  const gateway::Json json = {{"detached", detached}};
  if (!detached) return refuse(output, json, named(id) + " has no attached file " + given.file + ".", {});
  if (!given.yes) {
    expect_consent(shown(given.file, 255) + " of " + named(id) + " will be deleted");
    kept(act);
  }
  keeping::drop_attached_file(id, given.file);
  return answer(output, json, shown(given.file, 255) + " taken from " + named(id) + ".");
}

}  // namespace product_companions

void add_companion_commands(Menu::Group& group) {
  using namespace product_companions;
  {
    const auto [command, given] = group.add("alternatives", "List or change what is offered in place of a product",
                                            "  mercato product alternatives M-100007\n"
                                            "  mercato product alternatives M-100007 --add M-100014\n"
                                            "  mercato product alternatives M-100007 --remove M-100014\n"
                                            "All of it or nothing. An alternative counts in one direction.\n",
                                            alternatives);
    add_product(command, given.product);
    command.add_option("--add", given.added, "A product that is offered in its place")->type_name("PRODUCT");
    command.add_option("--remove", given.removed, "One that is offered no more")->type_name("PRODUCT");
  }
  {
    const auto [command, given] = group.add("images", "Show or name the images of a product",
                                            "  mercato product images M-100007\n"
                                            "  mercato product images M-100007 --picture paper.jpg --drawing ''\n"
                                            "The names only: the files lie where the shop looks for them.\n",
                                            images);
    add_product(command, given.product);
    command.add_option("--picture", given.picture, "The file of its picture; an empty text clears it")
        ->type_name("NAME");
    command.add_option("--drawing", given.drawing, "The file of its technical drawing; an empty text clears it")
        ->type_name("NAME");
  }
  {
    const auto [command, given] = group.add("attachments", "List the files that are attached to a product",
                                            "  mercato product attachments M-100007\n", attachments);
    add_product(command, given.product);
  }
  {
    const auto [command, given] =
        group.add("attach", "Attach a file to a product",
                  "  mercato product attach M-100007 safety.pdf\n"
                  "A copy goes to the product's folder below the web root of the settings, in place of one of the same "
                  "name.\n",
                  attach);
    add_product(command, given.product);
    command.add_option("FILE", given.file, "The file")->required()->check(is_no_blank());
  }
  {
    const auto [command, given] = group.add("detach", "Take an attached file from a product, and delete it",
                                            "  mercato product detach M-100007 safety.pdf --yes\n", detach);
    add_product(command, given.product);
    command.add_option("FILE", given.file, "Its name, as `product attachments` prints it")
        ->required()
        ->check(is_no_blank());
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
