// SPDX-License-Identifier: Apache-2.0
// mercato export: what the store has, for others and for `mercato import`.
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <span>

#include "exchange/exporting.h"
#include "keeping/product_resolver.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace export_command {

using namespace mercato::exchange;

struct Given {
  std::string subject, form, supplier, category, catalog, part_number, file;
};

constexpr const char* kSubjects[] = {"products", "prices", "categories", "unspsc", "catalog"};
constexpr const char* kForms[] = {"csv", "xlsx", "json", "bmecat", "documents"};

template <class Value>
Value one_of_names(std::span<const char* const> names, const std::string& name) {
  return static_cast<Value>(std::ranges::find(names, name) - names.begin());
}

bool is_of_products(ExportSubject subject) {
  return subject == ExportSubject::products || subject == ExportSubject::prices;
}

// What is asked for, without the filters.
ExportOptions subject_of(const Given& given) {
  ExportOptions options;
  options.subject = one_of_names<ExportSubject>(kSubjects, given.subject);
  options.form = given.form.empty() ? forms_of(options.subject).front() : one_of_names<ExportForm>(kForms, given.form);
  return options;
}

// Why the options do not go together; empty when they do.
std::string wrong_use(const Given& given, const ExportOptions& options) {
  const std::vector<ExportForm> forms = forms_of(options.subject);
  if (std::ranges::find(forms, options.form) == forms.end()) {
    std::string known;
    for (const ExportForm form : forms)
      known += (known.empty() ? "" : ", ") + std::string(kForms[static_cast<std::size_t>(form)]);
    return "There is no " + given.form + " of " + given.subject + "; there are " + known;
  }
  if (options.subject == ExportSubject::catalog && given.catalog.empty())
    return "Say which catalogue is to be exported: --catalog NAME";
  if (!is_of_products(options.subject) && !(given.supplier + given.category + given.part_number).empty())
    return "--supplier, --category and --part-number choose products, and none are exported here";
  if (options.subject != ExportSubject::catalog && !is_of_products(options.subject) && !given.catalog.empty())
    return "--catalog chooses products, and none are exported here";
  if ((given.file.empty() || given.file == "-") && options.form == ExportForm::xlsx && ::isatty(STDOUT_FILENO) != 0)
    return "A workbook is nothing for a terminal: write it to a file with -o FILE";
  return {};
}

ExportFilter filter_of(const Given& given) {
  ExportFilter filter;
  if (!given.supplier.empty()) filter.supplier = keeping::supplier_named(connection_string(), given.supplier);
  if (!given.category.empty()) filter.category = id_of(kCategories, given.category);
  if (!given.catalog.empty()) filter.catalog = find_catalog(given.catalog).id;
  filter.part_number = given.part_number;
  return filter;
}

int export_all(const Given& given, const OutputOptions& output) {
  ExportOptions options = subject_of(given);
  if (const std::string wrong = wrong_use(given, options); !wrong.empty()) {
    std::cerr << alarming("mercato: ") << wrong << "; --help says more.\n";
    return kUsage;
  }
  options.filter = filter_of(given);
  const bool to_file = !given.file.empty() && given.file != "-";
  std::unique_ptr<Output> written;
  if (to_file)
    written = std::make_unique<FileOutput>(given.file);
  else
    written = std::make_unique<StreamOutput>(std::cout);
  std::optional<Progress> progress;
  if (to_file || ::isatty(STDOUT_FILENO) != 1) {
    options.on_start = [&](std::size_t products) { progress.emplace(products); };
    options.on_products = [&](std::size_t products) { progress->advance(products); };
  }
  const ExportReport report = export_records(connection_string(), options, *written);
  progress.reset();
  if (output.json) {
    const gateway::Json json = {
        {"written", report.written}, {"withoutSupplierNumber", report.without_number}, {"leftOut", report.left_out}};
    (to_file ? std::cout : std::cerr) << gateway::line_of(json) << '\n';
  } else {
    std::cerr << counted(report.written, "record") << (to_file ? " in " + shown(given.file, 500) : " written") << ".\n";
    if (report.without_number > 0)
      std::cerr << counted(report.without_number, "record")
                << " of products without a supplier's number, by which an import would know them.\n";
    for (const auto& [what, count] : report.left_out)
      std::cerr << "left out: " << shown(what, 200) << ", " << counted(count, "time") << "\n";
  }
  return report.written == 0 ? kFailed : kDone;
}

std::vector<std::string> names(std::span<const char* const> all) { return {all.begin(), all.end()}; }

}  // namespace export_command

void add_export_command(Menu& menu) {
  using namespace export_command;
  const auto [command, given] =
      menu.add("export", "Write products, prices, categories, codes or a catalogue for others, or to import them again",
               "  mercato export products > products.csv\n"
               "  mercato export products --as xlsx --supplier QUILLMARK -o quillmark.xlsx\n"
               "  mercato export prices --part-number 'PEN-*'\n"
               "  mercato export products --as bmecat --catalog Office -o office.xml\n"
               "  mercato export catalog --catalog Office            the tree, as `mercato catalog load` reads it\n"
               "  mercato export unspsc --as documents               as `mercato unspsc load` reads them\n"
               "Import of what was exported changes nothing. A file has its name when it is complete. Exit status 1 "
               "when nothing "
               "fits.\n",
               export_all);
  command
      .add_choice(
          "WHAT", names(kSubjects), [&given = given](const std::string& name) { given.subject = name; },
          "products, prices, categories, unspsc or catalog")
      ->required();
  command
      .add_choice(
          "--as", names(kForms), [&given = given](const std::string& name) { given.form = name; },
          "csv (the usual one), xlsx, json (a line for each record), bmecat or documents")
      ->type_name("FORM");
  command.add_option("--supplier", given.supplier, "Products of this business partner")->type_name("ID");
  command.add_option("--category", given.category, "Products in this category, by its id or name")
      ->type_name("CATEGORY");
  command.add_option("--catalog", given.catalog, "Products that this catalogue shows; the catalogue")
      ->type_name("CATALOG");
  command
      .add_option("--part-number", given.part_number, "Products with such a number; * and ? stand for any characters")
      ->type_name("PATTERN");
  command.add_option("-o,--output", given.file, "Write to this file, and not to standard output")->type_name("FILE");
}

}  // namespace mercato::cli
