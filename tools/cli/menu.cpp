#include "tools/cli/menu.h"

#include "values/date.h"
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

Menu::Group Menu::group(const char* name, const char* description) {
  CLI::App* added = app_.add_subcommand(name, description);
  added->require_subcommand(0, 1);  // a word that is none is named; that there is one is checked at the end
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
