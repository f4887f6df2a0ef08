// SPDX-License-Identifier: Apache-2.0
// The frame of a measuring program: `PROGRAM [-f FIGURES] [-x VALUE] [SIZE...]`, x being an option of its own.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/support/figures.h"

namespace mercato::bench {

struct Arguments {
  std::string figures_file;  // -f: the figures are appended to it
  std::string own;           // the value of the program's own option
  std::vector<std::size_t> sizes;

  int own_number(int otherwise) const { return own.empty() ? otherwise : std::stoi(own); }
  std::vector<std::size_t> sizes_or(std::vector<std::size_t> otherwise) const {
    return sizes.empty() ? otherwise : sizes;
  }
};

// The exit status. `work` measures; what it throws is said with the program's name in front.
template <class Work>
int run_program(int argc, char** argv, char own_option, Work work) try {
  Arguments arguments;
  const std::string options = own_option == '\0' ? "f:" : std::string("f:") + own_option + ":";
  for (int option; (option = getopt(argc, argv, options.c_str())) != -1;) {
    if (option == '?') return EXIT_FAILURE;
    (option == 'f' ? arguments.figures_file : arguments.own) = optarg;
  }
  for (; optind < argc; ++optind) arguments.sizes.push_back(std::stoull(argv[optind]));
  Figures figures(arguments.figures_file);
  work(arguments, figures);
  return EXIT_SUCCESS;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s: %s\n", std::filesystem::path(argv[0]).filename().c_str(), failure.what());
  return EXIT_FAILURE;
}

template <class Work>
int run_program(int argc, char** argv, Work work) {
  return run_program(argc, argv, '\0', [&](const Arguments&, Figures& figures) { work(figures); });
}

}  // namespace mercato::bench
