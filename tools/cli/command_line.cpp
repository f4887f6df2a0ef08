// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "platform/store/hidden_passwords.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/cli/terminal/text_width.h"
#include "values/edit_distance.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

// The parser describes a value as "NAME:{a,b}" or "NAME:INT in [1 - 9]".
constexpr std::string_view kRange = " in [";

std::vector<std::string> parts_of(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::string joined_by(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

constexpr std::size_t kDescriptions = 28;  // the column in which they stand
constexpr std::size_t kNarrowIndent = 6;
constexpr std::size_t kNarrowest = 20;  // columns that help is laid out for

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kDescriptions); }

  // On a terminal in lines that fit; examples stay as they are, to be copied.
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    const std::string help = text::replace_all(CLI::Formatter::make_help(app, std::move(name), mode), "\n\n\n", "\n\n");
    const std::size_t columns = columns_of_terminal();
    if (columns < kNarrowest) return help;
    const std::size_t examples = std::min(help.find("\nExamples:\n"), help.size());
    const std::size_t indent = columns < 2 * kDescriptions ? kNarrowIndent : kDescriptions;
    return wrapped_lines(help.substr(0, examples), columns, indent) + help.substr(examples);
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    if (!option->get_option_text().empty()) return " " + option->get_option_text();
    if (option->get_type_size() == 0) return {};
    const Taken taken = taken_by(*option);
    // The name of an argument says what it is.
    std::string text = option->get_positional() && option->get_lnames().empty() ? "" : " " + taken.name;
    if (!taken.choices.empty()) text = " " + joined_by(taken.choices, "|");
    if (option->get_expected_max() == CLI::detail::expected_max_vector_size) text += "...";
    if (option->get_required()) text += " (required)";
    return text;
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    std::string text = option->get_description();
    const Taken taken = taken_by(*option);
    std::string more = taken.bounds;
    if (!option->get_default_str().empty())
      more += (more.empty() ? "" : "; ") + option->get_default_str() + " unless given";
    for (const CLI::Option* other : option->get_excludes())
      more += (more.empty() ? "" : "; ") + ("not with " + other->get_name());
    return more.empty() ? text : text + " (" + more + ")";
  }
};

// The one of the names that was probably meant: one or two letters from what was written, by its length.
std::string nearest_name(const std::string& written, const std::vector<std::string>& names) {
  const auto characters = text::characters_of(written);
  std::size_t most = characters.size() < 5 ? 1 : 2;
  std::string nearest;
  for (const std::string& name : names) {
    const std::size_t distance = text::edit_distance(characters, text::characters_of(name), most);
    if (distance > most || (distance == most && !nearest.empty())) continue;
    nearest = name;
    most = distance;
  }
  return nearest;
}

std::string perhaps_meant(const std::string& proposed, const std::string& before = {}) {
  return proposed.empty() ? "" : ". Did you mean `" + before + proposed + "`?";
}

std::string no_command(const CLI::App& group, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::App* command : commands_below(group)) names.push_back(command->get_name());
  return "There is no command `" + full_name(group) + " " + word + "`" +
         perhaps_meant(nearest_name(word, names), full_name(group) + " ");
}

}  // namespace

std::span<const ExitStatus> exit_statuses() {
  static constexpr ExitStatus kStatuses[] = {
      {kDone, "done"},
      {kFailed, "refused, or nothing found"},
      {kUsage, "the command line or the settings file is wrong"},
      {kDoneInPart, "done in part"},
      {kNoStore,
       "no store, or no right to it: it is not there, cannot be reached, is held, full, damaged or of another release"},
      {kInterrupted, "interrupted by Ctrl-C"},
  };
  return kStatuses;
}

Taken taken_by(const CLI::Option& option) {
  Taken taken;
  if (option.get_type_size() == 0) return taken;
  const std::string described = option.get_type_name();
  const std::size_t colon = described.find(':');
  taken.name = described.substr(0, colon);
  const std::string rest = colon == std::string::npos ? "" : described.substr(colon + 1);
  if (rest.starts_with("{")) taken.choices = parts_of(std::string_view(rest).substr(1, rest.find('}') - 1), ',');
  if (const std::size_t range = rest.find(kRange); range != std::string::npos) {
    const std::size_t begin = range + kRange.size();
    taken.bounds = text::replace_all(rest.substr(begin, rest.find(']') - begin), " - ", " to ");
  }
  return taken;
}

std::vector<const CLI::App*> commands_below(const CLI::App& app) {
  return app.get_subcommands(
      [](const CLI::App* command) { return !command->get_name().empty() && !command->get_group().empty(); });
}

std::vector<const CLI::Option*> options_of(const CLI::App& command) {
  auto options = command.get_options();
  for (const CLI::App* group : command.get_subcommands([](const CLI::App* one) { return one->get_name().empty(); }))
    for (const CLI::Option* option : group->get_options()) options.push_back(option);
  return options;
}

std::string full_name(const CLI::App& command) {
  return (command.get_parent() ? full_name(*command.get_parent()) + " " : "") + command.get_name();
}

const CLI::App& command_of(const CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* command = &app;
  for (const std::string& word : words) {
    const auto below = commands_below(*command);
    const auto found = std::ranges::find_if(below, [&](const CLI::App* one) { return one->get_name() == word; });
    if (found == below.end()) throw CLI::ParseError(no_command(*command, word), CLI::ExitCodes::ExtrasError);
    command = *found;
  }
  return *command;
}

std::shared_ptr<CLI::FormatterBase> help_formatter() { return std::make_shared<HelpFormatter>(); }

std::string fault_of(const CLI::App& app, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) {
    const std::string fault = store::without_passwords(error.what());
    const std::size_t repeated = fault.find(": At Most 1 required but received ");
    return repeated == std::string::npos ? fault : fault.substr(0, repeated) + " is given more than once";
  }
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
  const std::string extra = store::without_passwords(app.remaining(true).front());
  if (extra.starts_with("-")) {
    std::vector<std::string> options;
    for (const CLI::Option* option : options_of(*command))
      for (const std::string& name : option->get_lnames()) options.push_back("--" + name);
    return "`" + full_name(*command) + "` has no option " + extra +
           perhaps_meant(nearest_name(extra.substr(0, extra.find('=')), options));
  }
  if (!command->get_subcommands(nullptr).empty()) return no_command(*command, extra);
  return "'" + extra + "' is more than `" + full_name(*command) + "` takes";
}

}  // namespace mercato::cli
