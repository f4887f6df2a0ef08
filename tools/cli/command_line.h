// SPDX-License-Identifier: Apache-2.0
// What the parser of options knows of the commands, for help texts, proposals, completion and the manual. Main thread.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
class Option;
class ParseError;
}  // namespace CLI

namespace mercato::cli {

// The group of those options that every command has, and the heading under which help texts list them.
inline constexpr const char* kCommonOptions = "Options of every command";

// What the status says with which the program ends.
struct ExitStatus {
  int status;
  const char* meaning;
};
std::span<const ExitStatus> exit_statuses();

// What an option or an argument takes.
struct Taken {
  std::string name;                  // as help texts call it, such as FILE; empty for a flag
  std::vector<std::string> choices;  // the only values that there are; none when any is taken
  std::string bounds;                // "1 to 32000"
};
Taken taken_by(const CLI::Option& option);

// The commands below this one, without hidden ones.
std::vector<const CLI::App*> commands_below(const CLI::App& app);
// Those of the command and of its groups of options.
std::vector<const CLI::Option*> options_of(const CLI::App& command);
// "mercato product new"
std::string full_name(const CLI::App& command);
// The command of these words. Throws a CLI::ParseError, with a proposal, when there is none.
const CLI::App& command_of(const CLI::App& app, const std::vector<std::string>& words);

// Help texts in words for people.
std::shared_ptr<CLI::FormatterBase> help_formatter();

// What is wrong with a command line, in a sentence that names the command as far as it was understood, and what was
// probably meant.
std::string fault_of(const CLI::App& app, const CLI::ParseError& error);

}  // namespace mercato::cli
