// SPDX-License-Identifier: Apache-2.0
// components_to_prices [-n LINES] [COMPONENTS.csv[.gz]] > prices.xml
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "bench/support/data_folder.h"
#include "bench/support/price_converter.h"

int main(int argc, char** argv) try {
  std::size_t limit = mercato::bench::kAllLines;
  for (int option; (option = getopt(argc, argv, "n:")) != -1;) {
    if (option != 'n') return EXIT_FAILURE;
    limit = std::stoull(optarg);
  }
  const std::filesystem::path csv = optind < argc ? argv[optind] : mercato::bench::components_file();
  std::ios::sync_with_stdio(false);
  const auto converted = mercato::bench::components_to_prices(csv, limit, std::cout);
  std::cout.flush();
  std::cerr << converted.lines << " price lines of " << converted.part_numbers.size() << " part numbers\n";
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& failure) {
  std::cerr << "components_to_prices: " << failure.what() << '\n';
  return EXIT_FAILURE;
}
