// SPDX-License-Identifier: Apache-2.0
// components_to_products [-n RECORDS] [-a ATTRIBUTES.csv.gz] [COMPONENTS.csv[.gz]] > products.xml
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "bench/support/data_folder.h"
#include "bench/support/product_converter.h"

int main(int argc, char** argv) try {
  std::size_t limit = mercato::bench::kAllRecords;
  mercato::bench::Attributes attributes;
  for (int option; (option = getopt(argc, argv, "n:a:")) != -1;) {
    if (option == 'n')
      limit = std::stoull(optarg);
    else if (option == 'a')
      attributes = mercato::bench::read_attributes(optarg);
    else
      return EXIT_FAILURE;
  }
  const std::filesystem::path csv = optind < argc ? argv[optind] : mercato::bench::components_file();
  std::ios::sync_with_stdio(false);
  const auto converted = mercato::bench::components_to_products(csv, limit, std::cout, attributes);
  std::cout.flush();
  std::cerr << converted.part_numbers.size() << " records, " << converted.fields << " elements, "
            << converted.properties << " of them properties\n";
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& failure) {
  std::cerr << "components_to_products: " << failure.what() << '\n';
  return EXIT_FAILURE;
}
