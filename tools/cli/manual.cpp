// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/manual.h"

#include <CLI/CLI.hpp>

#include "tools/cli/command_line.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

// A text as it stands: nothing in it is the formatter's.
std::string roff_text(const std::string& text) {
  std::string escaped;
  bool at_line_begin = true;
  for (const char character : text) {
    if (at_line_begin && (character == '.' || character == '\'')) escaped += "\\&";
    if (character == '\\')
      escaped += "\\e";
    else if (character == '-')
      escaped += "\\-";
    else
      escaped += character;
    at_line_begin = character == '\n';
  }
  return escaped;
}

std::string roff_bold(const std::string& text) { return "\\fB" + roff_text(text) + "\\fR"; }
std::string roff_slanted(const std::string& text) { return "\\fI" + roff_text(text) + "\\fR"; }

std::string roff_value(const CLI::Option& option) {
  const Taken taken = taken_by(option);
  std::string text;
  for (const std::string& choice : taken.choices) text += (text.empty() ? "" : "|") + roff_bold(choice);
  if (taken.choices.empty() && !taken.name.empty()) text = roff_slanted(taken.name);
  return text;
}

bool is_repeated(const CLI::Option& option) {
  return option.get_expected_max() == CLI::detail::expected_max_vector_size;
}

class ManualPage {
 public:
  std::string text;

  void line(const std::string& words) { text += words + "\n"; }

  void options(const CLI::App& command, bool common) {
    for (const CLI::Option* option : options_of(command)) {
      if (option->get_positional() || (option->get_group() == kCommonOptions) != common) continue;
      line(".TP");
      line(roff_bold(option->get_name(false, true)) + (option->get_type_size() == 0 ? "" : " " + roff_value(*option)));
      const Taken taken = taken_by(*option);
      line(roff_text(option->get_description()) + (taken.bounds.empty() ? "" : " (" + roff_text(taken.bounds) + ")"));
    }
  }

  void command(const CLI::App& command) {
    const auto below = commands_below(command);
    if (below.empty()) {
      line(".SS " + roff_text(full_name(command).substr(full_name(command).find(' ') + 1)));
      std::string usage = roff_bold(full_name(command));
      for (const CLI::Option* option : options_of(command)) {
        if (!option->get_positional()) continue;
        const std::string name = roff_slanted(option->get_name()) + (is_repeated(*option) ? "..." : "");
        usage += " " + (option->get_required() ? name : "[" + name + "]");
      }
      line(usage);
      line(".PP");
      line(roff_text(command.get_description()) + ".");
      for (const CLI::Option* option : options_of(command)) {
        if (!option->get_positional()) continue;
        line(".TP");
        line(roff_slanted(option->get_name()));
        line(roff_text(option->get_description()));
      }
      options(command, false);
      line(".PP");
      line(".nf");
      line(roff_text(std::string(text::trim(command.get_footer()))));
      line(".fi");
    }
    for (const CLI::App* one : below) this->command(*one);
  }
};

}  // namespace

std::string manual_of(const CLI::App& command, const std::string& version) {
  ManualPage page;
  std::string name = text::replace_all(full_name(command), " ", "-");
  page.line(".TH " + text::to_upper(name) + " 1 \"\" \"mercato " + version + "\"");
  page.line(".SH NAME");
  page.line(roff_text(name) + " \\- " + roff_text(command.get_description()));
  page.line(".SH SYNOPSIS");
  page.line(roff_bold(full_name(command)) + " [" + roff_slanted("OPTION") + "...]" +
            (commands_below(command).empty()
                 ? ""
                 : " " + roff_slanted("COMMAND") + " [" + roff_slanted("ARGUMENT") + "...]"));
  page.line(".SH COMMANDS");
  page.command(command);
  const CLI::App* whole = &command;
  while (whole->get_parent()) whole = whole->get_parent();
  page.line(".SH OPTIONS OF EVERY COMMAND");
  page.options(*whole, true);
  page.line(".SH EXIT STATUS");
  for (const ExitStatus& one : exit_statuses()) {
    page.line(".TP");
    page.line(roff_bold(std::to_string(one.status)));
    page.line(roff_text(one.meaning));
  }
  return page.text;
}

}  // namespace mercato::cli
