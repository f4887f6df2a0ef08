// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/chosen_products.h"

#include <algorithm>
#include <iostream>
#include <iterator>

#include "keeping/product_choice.h"
#include "keeping/product_resolver.h"
#include "platform/files/files.h"
#include "tools/cli/library.h"
#include "tools/cli/named_product.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace {

constexpr std::size_t kShownProducts = 20;

std::string text_of_list(const std::string& file) {
  if (file != "-") return files::read_file(file);
  return {std::istreambuf_iterator<char>(std::cin), {}};
}

std::vector<std::int32_t> listed_in(const std::string& file, const std::optional<std::int32_t>& supplier) {
  keeping::ListedProducts listed = keeping::products_listed(connection_string(), text_of_list(file), supplier);
  if (listed.faults.empty()) return std::move(listed.ids);
  Reasons reasons;
  for (const auto& [line, words] : listed.faults) {
    if (reasons.size() == kShownProducts) break;
    reasons.push_back("line " + std::to_string(line) + ": " + words);
  }
  if (listed.faults.size() > reasons.size())
    reasons.push_back("and " + std::to_string(listed.faults.size() - reasons.size()) + " more");
  print_reasons(reasons);
  raise(error_number::kInvalidArgument, {},
        file + " has " + counted(listed.faults.size(), "line") + " without one product; nothing was changed");
}

}  // namespace

void add_choice(Command& command, ChosenProducts& chosen) {
  Command* choice = command.add_changes();
  choice->add_option("PRODUCT", chosen.names, kProductHelp);
  choice->add_option("--file", chosen.file, "A file that names a product on each line; - is standard input")
      ->type_name("FILE")
      ->check(is_no_blank());
  choice->add_option("--supplier", chosen.supplier, "The products of a supplier, by id or BUSINESSID")
      ->type_name("PARTNER")
      ->check(is_no_blank());
  choice->add_option("--category", chosen.category, "Those of a category, by id or name")
      ->type_name("CATEGORY")
      ->check(is_no_blank());
  choice->add_option("--part-number", chosen.part_number, "Those with a part number like this; * stands for any text")
      ->type_name("PATTERN")
      ->check(is_no_blank());
}

std::vector<std::int32_t> choose(const ChosenProducts& chosen, const std::optional<bool>& disabled) {
  keeping::ProductChoice choice;
  choice.disabled = disabled;
  choice.part_number = chosen.part_number;
  if (!chosen.supplier.empty()) choice.supplier = keeping::supplier_named(connection_string(), chosen.supplier);
  if (!chosen.category.empty())
    choice.category = one_of(kCategories, id_of(kCategories, chosen.category))->Item("CATEGORYID").to_long();
  if (!chosen.file.empty()) choice.among = listed_in(chosen.file, choice.supplier);
  for (const std::string& name : chosen.names) {
    if (!choice.among) choice.among.emplace();
    choice.among->push_back(keeping::product_named(connection_string(), name, choice.supplier).id);
  }
  return keeping::chosen_products(choice);
}

int tell_dry_run(const OutputOptions& output, const std::vector<std::int32_t>& products, gateway::Json json,
                 const std::string& words) {
  const std::size_t most = std::min(products.size(), kShownProducts);
  json["dryRun"] = true;
  json["first"] = gateway::Json::array();
  Table table({"ID", "PART NUMBER", "SUPPLIER'S NUMBER", "DESCRIPTION"});
  for (const keeping::NamedProduct& product :
       keeping::products_with(connection_string(), std::span(products).first(most))) {
    json["first"].push_back({{"id", product.id},
                             {"partNumber", product.part_number},
                             {"supplierPartNumber", product.supplier_part_number},
                             {"description", product.description}});
    table.add({std::to_string(product.id), shown(product.part_number, 30), shown(product.supplier_part_number, 30),
               shown(product.description, 50)});
  }
  if (!output.json) {
    table.print(std::cout);
    if (products.size() > most) std::cout << "and " << products.size() - most << " more\n";
  }
  return answer(output, json, words + " A dry run: nothing was changed.");
}

}  // namespace mercato::cli
