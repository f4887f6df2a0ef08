// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/menu.h"

#include <CLI/CLI.hpp>

#include "mercato/date.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

CLI::Validator is_number_that(bool (*good)(double), const char* description) {
  return {[good, description](const std::string& text) {
            const auto number = text::parse_number(text);
            return number && good(*number) ? std::string() : "'" + text + "' is no number" + description;
          },
          ""};
}

}  // namespace

Option* Option::required() {
  option_.required();
  return this;
}
Option* Option::check(const CLI::Validator& validator) {
  option_.check(validator);
  return this;
}
Option* Option::between(int least, int most) { return check(CLI::Range(least, most)); }
Option* Option::type_name(const char* name) {
  option_.type_name(name);
  return this;
}
Option* Option::option_text(const char* text) {
  option_.option_text(text);
  return this;
}
Option* Option::excludes(Option* other) {
  option_.excludes(&other->option_);
  return this;
}
Option* Option::capture_default_str() {
  option_.capture_default_str();
  return this;
}

Option* Command::add_option(const char* name, std::string& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_option(const char* name, std::optional<std::string>& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_option(const char* name, std::vector<std::string>& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_option(const char* name, std::int32_t& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_option(const char* name, std::vector<std::int32_t>& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_option(const char* name, double& given, const char* description) {
  return keep(app_.add_option(name, given, description));
}
Option* Command::add_flag(const char* name, bool& given, const char* description) {
  return keep(app_.add_flag(name, given, description));
}
Option* Command::add_choice(const char* name, const std::vector<std::string>& choices,
                            const std::function<void(const std::string&)>& chosen, const char* description) {
  return keep(app_.add_option_function<std::string>(name, chosen, description)
                  ->transform(CLI::IsMember(choices, CLI::ignore_case)));
}
Option* Command::add_choices(const char* name, const std::vector<std::string>& choices, std::vector<std::string>& given,
                             const char* description) {
  return keep(app_.add_option(name, given, description)->transform(CLI::IsMember(choices, CLI::ignore_case)));
}
Command* Command::add_changes() {
  auto* changes = app_.add_option_group("Changes", "At least one of");
  changes->require_option(1, 0);
  return &changes_.emplace_back(*changes);
}

Menu::Group Menu::group(const char* name, const char* description) {
  CLI::App* added = app_.add_subcommand(name, description);
  added->require_subcommand(0, 1);  // the parser names a word that is no command; main checks that there is one
  added->footer("`mercato " + std::string(name) + " COMMAND --help` has examples.");
  return {*this, *added};
}

CLI::App& Menu::add(CLI::App& parent, const char* name, const char* description, const char* examples, Body body) {
  CLI::App* added = parent.add_subcommand(name, description);
  added->footer(std::string("Examples:\n") + examples);
  added->callback([this, body = std::move(body)] { chosen_ = body; });
  common_(*added);
  return *added;
}

const CLI::Validator& is_pair() {
  static const CLI::Validator validator(
      [](const std::string& text) {
        const std::size_t equals = text.find('=');
        return equals != std::string::npos && equals > 0 ? std::string()
                                                         : "'" + text + "' is not of the form NAME=VALUE";
      },
      "");
  return validator;
}

const CLI::Validator& is_whole_number() {
  static const CLI::Validator validator(
      [](const std::string& text) {
        std::int32_t number = 0;
        return CLI::detail::lexical_cast(text, number) ? std::string()
                                                       : "'" + text + "' is no whole number up to 2147483647";
      },
      "");
  return validator;
}

const CLI::Validator& is_number() {
  static const CLI::Validator validator = is_number_that([](double) { return true; }, "");
  return validator;
}

const CLI::Validator& is_date() {
  static const CLI::Validator validator(
      [](const std::string& text) {
        return Date::parse(text) ? std::string() : "'" + text + "' is no date; write 2026-07-01 or 7/1/2026";
      },
      "DATE");
  return validator;
}

const CLI::Validator& is_positive() {
  static const CLI::Validator validator = is_number_that([](double number) { return number > 0; }, " above 0");
  return validator;
}

const CLI::Validator& is_not_negative() {
  static const CLI::Validator validator = is_number_that([](double number) { return number >= 0; }, " of 0 or more");
  return validator;
}

const CLI::Validator& is_no_blank() {
  static const CLI::Validator validator(
      [](const std::string& text) { return text::trim(text).empty() ? std::string("it is blank") : std::string(); },
      "");
  return validator;
}

}  // namespace mercato::cli
