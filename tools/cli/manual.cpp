// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/manual.h"

#include <CLI/CLI.hpp>

#include "tools/cli/command_line.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

// A text as it stands: nothing in it is the formatter's.
std::string plain(const std::string& text) {
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

std::string bold(const std::string& text) { return "\\fB" + plain(text) + "\\fR"; }
std::string slanted(const std::string& text) { return "\\fI" + plain(text) + "\\fR"; }

std::string value_of(const CLI::Option& option) {
  const Taken taken = taken_by(option);
  std::string text;
  for (const std::string& choice : taken.choices) text += (text.empty() ? "" : "|") + bold(choice);
  if (taken.choices.empty() && !taken.name.empty()) text = slanted(taken.name);
  return text;
}

bool repeats(const CLI::Option& option) { return option.get_expected_max() == CLI::detail::expected_max_vector_size; }

class Page {
 public:
  std::string text;

  void line(const std::string& words) { text += words + "\n"; }

  void options(const CLI::App& command, bool common) {
    for (const CLI::Option* option : options_of(command)) {
      if (option->get_positional() || (option->get_group() == kCommonOptions) != common) continue;
      line(".TP");
      line(bold(option->get_name(false, true)) + (option->get_type_size() == 0 ? "" : " " + value_of(*option)));
      const Taken taken = taken_by(*option);
      line(plain(option->get_description()) + (taken.bounds.empty() ? "" : " (" + plain(taken.bounds) + ")"));
    }
  }

  void command(const CLI::App& command) {
    const auto below = commands_below(command);
    if (below.empty()) {
      line(".SS " + plain(full_name(command).substr(full_name(command).find(' ') + 1)));
      std::string usage = bold(full_name(command));
      for (const CLI::Option* option : options_of(command)) {
        if (!option->get_positional()) continue;
        const std::string name = slanted(option->get_name()) + (repeats(*option) ? "..." : "");
        usage += " " + (option->get_required() ? name : "[" + name + "]");
      }
      line(usage);
      line(".PP");
      line(plain(command.get_description()) + ".");
      for (const CLI::Option* option : options_of(command)) {
        if (!option->get_positional()) continue;
        line(".TP");
        line(slanted(option->get_name()));
        line(plain(option->get_description()));
      }
      options(command, false);
      line(".PP");
      line(".nf");
      line(plain(std::string(text::trim(command.get_footer()))));
      line(".fi");
    }
    for (const CLI::App* one : below) this->command(*one);
  }
};

}  // namespace

std::string manual_of(const CLI::App& command, const std::string& version) {
  Page page;
  std::string name = text::replace_all(full_name(command), " ", "-");
  page.line(".TH " + text::to_upper(name) + " 1 \"\" \"mercato " + version + "\"");
  page.line(".SH NAME");
  page.line(plain(name) + " \\- " + plain(command.get_description()));
  page.line(".SH SYNOPSIS");
  page.line(bold(full_name(command)) + " [" + slanted("OPTION") + "...]" +
            (commands_below(command).empty() ? "" : " " + slanted("COMMAND") + " [" + slanted("ARGUMENT") + "...]"));
  page.line(".SH COMMANDS");
  page.command(command);
  const CLI::App* whole = &command;
  while (whole->get_parent()) whole = whole->get_parent();
  page.line(".SH OPTIONS OF EVERY COMMAND");
  page.options(*whole, true);
  page.line(".SH EXIT STATUS");
  for (const ExitStatus& one : exit_statuses()) {
    page.line(".TP");
    page.line(bold(std::to_string(one.status)));
    page.line(plain(one.meaning));
  }
  return page.text;
}

}  // namespace mercato::cli
