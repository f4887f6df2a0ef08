// SPDX-License-Identifier: Apache-2.0
// The commands that stand in groups: `mercato product new`. A file for each group says what its commands are called,
// what they take and what they do. The header of the option parser, which takes seconds to compile, is menu.cpp's and
// main.cpp's own. Used by the main thread while it sets up the command line.
//
//   struct Hiding { std::int32_t product_id = 0; };
//   int hide(const Hiding& given, const OutputOptions& output);
//
//   const auto [command, given] = menu.group("product", "Products").add("hide", "Hide it", "  mercato ...\n", hide);
//   command.add_option("ID", given.product_id, "The product's id")->required();
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/cli/commands.h"

namespace CLI {
class App;
class Option;
class Validator;
}  // namespace CLI

namespace mercato::cli {

// An option or an argument of a command. Each call returns the option itself.
class Option {
 public:
  explicit Option(CLI::Option& option) : option_(option) {}
  Option* required();
  // Several have to be passed in the order in which they were added.
  Option* check(const CLI::Validator& validator);
  Option* between(int least, int most);
  // How help texts call its value, and what they say in place of the name and the value's name.
  Option* type_name(const char* name);
  Option* option_text(const char* text);
  // Only one of the two may be given.
  Option* excludes(Option* other);
  // Help texts say what it is when it is not given.
  Option* capture_default_str();

 private:
  CLI::Option& option_;
};

// One command, or a group of its options. A name without dashes is an argument's.
class Command {
 public:
  explicit Command(CLI::App& app) : app_(app) {}
  Option* add_option(const char* name, std::string& given, const char* description);
  Option* add_option(const char* name, std::optional<std::string>& given, const char* description);
  Option* add_option(const char* name, std::vector<std::string>& given, const char* description);
  Option* add_option(const char* name, std::int32_t& given, const char* description);
  Option* add_option(const char* name, std::vector<std::int32_t>& given, const char* description);
  Option* add_option(const char* name, double& given, const char* description);
  Option* add_flag(const char* name, bool& given, const char* description);
  // `chosen` gets the one of the choices that was given, in any case.
  Option* add_choice(const char* name, const std::vector<std::string>& choices,
                     const std::function<void(const std::string&)>& chosen, const char* description);
  // Of which several may be given.
  Option* add_choices(const char* name, const std::vector<std::string>& choices, std::vector<std::string>& given,
                      const char* description);
  // Options of which one has to be given, or more.
  Command* add_changes();

 private:
  Option* keep(CLI::Option* option) { return &options_.emplace_back(*option); }

  CLI::App& app_;
  std::deque<Option> options_;
  std::list<Command> changes_;
};

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
    Command& command;
    Options& given;  // what the command line gives; owned by the command
  };

  class Group {
   public:
    template <class Options>
    Added<Options> add(const char* name, const char* description, const char* examples,
                       int (*body)(const Options&, const OutputOptions&)) {
      return menu_.add(app_, name, description, examples, body);
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
  template <class Options>
  Added<Options> add(const char* name, const char* description, const char* examples,
                     int (*body)(const Options&, const OutputOptions&)) {
    return add(app_, name, description, examples, body);
  }

 private:
  template <class Options>
  Added<Options> add(CLI::App& parent, const char* name, const char* description, const char* examples,
                     int (*body)(const Options&, const OutputOptions&)) {
    const auto given = std::make_shared<Options>();
    CLI::App& app = add(parent, name, description, examples,
                        Body([given, body](const OutputOptions& output) { return body(*given, output); }));
    return {commands_.emplace_back(app), *given};
  }
  CLI::App& add(CLI::App& parent, const char* name, const char* description, const char* examples, Body body);

  CLI::App& app_;
  std::function<void(CLI::App&)> common_;
  Body& chosen_;
  std::list<Command> commands_;
};

// The groups, each in the file of its name, and what it needs in a namespace of that name, since files are compiled
// together where a build starts from nothing.
void add_import_command(Menu& menu);
void add_export_command(Menu& menu);
void add_product_commands(Menu& menu);
void add_price_commands(Menu& menu);
void add_prices_commands(Menu& menu);
void add_property_commands(Menu& menu);  // and the property groups
void add_category_commands(Menu& menu);
void add_favorite_commands(Menu& menu);
void add_folder_commands(Menu& menu);
void add_shopout_commands(Menu& menu);
void add_unit_commands(Menu& menu);
void add_reference_commands(Menu& menu);
void add_catalog_commands(Menu& menu);
void add_node_commands(Menu& menu);
void add_rights_commands(Menu& menu);
void add_unspsc_commands(Menu& menu);
void add_store_commands(Menu& menu);
void add_serve_command(Menu& menu);
void add_token_commands(Menu& menu);
void add_schema_command(Menu& menu);
void add_doctor_command(Menu& menu);
void add_uploads_commands(Menu& menu);

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
