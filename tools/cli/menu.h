// The commands that stand in groups: `mercato product new`. A file for each group says what its commands are called,
// what they take and what they do. Used by the main thread while it sets up the command line.
//
//   struct Hiding { std::int32_t product_id = 0; };
//   int hide(const Hiding& given, const OutputOptions& output);
//
//   const auto [command, given] = menu.group("product", "Products").add("hide", "Hide it", "  mercato ...\n", hide);
//   command.add_option("ID", given.product_id, "The product's id")->required();
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tools/cli/commands.h"

namespace mercato::cli {

class Menu {
 public:
  // What a command does; the result is the exit status (library.h).
  using Body = std::function<int(const OutputOptions&)>;

  // `common` adds the options that every command has. `chosen` becomes the body of the command that the command line
  // names. Both are used as long as the app is.
  Menu(CLI::App& app, std::function<void(CLI::App&)> common, Body& chosen)
      : app_(app), common_(std::move(common)), chosen_(chosen) {}

  template <class Options>
  struct Added {
    CLI::App& command;
    Options& given;  // what the command line gives; owned by the command
  };

  class Group {
   public:
    template <class Options>
    Added<Options> add(const char* name, const char* description, const char* examples,
                       int (*body)(const Options&, const OutputOptions&)) {
      const auto given = std::make_shared<Options>();
      CLI::App& command = menu_.add(app_, name, description, examples,
                                    [given, body](const OutputOptions& output) { return body(*given, output); });
      return {command, *given};
    }

   private:
    friend class Menu;
    Group(Menu& menu, CLI::App& app) : menu_(menu), app_(app) {}
    Menu& menu_;
    CLI::App& app_;
  };

  Group group(const char* name, const char* description);
  // A command without a group.
  CLI::App& add(const char* name, const char* description, const char* examples, Body body) {
    return add(app_, name, description, examples, std::move(body));
  }

 private:
  CLI::App& add(CLI::App& parent, const char* name, const char* description, const char* examples, Body body);

  CLI::App& app_;
  std::function<void(CLI::App&)> common_;
  Body& chosen_;
};

// The groups, each in the file of its name, and what it needs in a namespace of that name: the files are compiled
// together, since each for itself would spend its time on the parser's header.
void add_product_commands(Menu& menu);
void add_price_commands(Menu& menu);
void add_prices_commands(Menu& menu);
void add_property_commands(Menu& menu);  // and the property groups
void add_category_commands(Menu& menu);
void add_favorite_commands(Menu& menu);
void add_folder_commands(Menu& menu);
void add_shopout_commands(Menu& menu);
void add_unit_commands(Menu& menu);
void add_catalog_commands(Menu& menu);
void add_rights_commands(Menu& menu);
void add_unspsc_commands(Menu& menu);
void add_store_commands(Menu& menu);

// NAME=VALUE.
const CLI::Validator& is_pair();
// A whole number of 32 bits, as ids are.
const CLI::Validator& is_whole_number();
// Any number.
const CLI::Validator& is_number();
// A date as the library takes it.
const CLI::Validator& is_date();
// A text with more in it than blanks.
const CLI::Validator& is_no_blank();
// A number above 0, and one of 0 or more.
const CLI::Validator& is_positive();
const CLI::Validator& is_not_negative();

}  // namespace mercato::cli
