// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "keeping/known_names.h"
#include "platform/store/call_limit.h"
#include "tools/cli/command_line.h"
#include "tools/cli/library.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

constexpr std::size_t kMostNames = 200;
constexpr double kPatience = 1.0;  // seconds; who presses a key does not wait longer

const CLI::Option* option_named(const CLI::App& command, const std::string& name) {
  for (const CLI::Option* option : options_of(command))
    if (option->check_name(name)) return option;
  return nullptr;
}

bool takes_value(const CLI::Option* option) { return option != nullptr && option->get_type_size() != 0; }

// Of what the store has: by the name of the argument, or of the option.
std::optional<keeping::Named> kind_of(const CLI::Option& option) {
  static const std::map<std::string, keeping::Named> kinds = {
      {"USER", keeping::Named::users},           {"--user", keeping::Named::users},
      {"CATALOG", keeping::Named::catalogs},     {"--catalog", keeping::Named::catalogs},
      {"OLD", keeping::Named::catalogs},         {"NEW", keeping::Named::catalogs},
      {"CATEGORY", keeping::Named::categories},  {"--category", keeping::Named::categories},
      {"--supplier", keeping::Named::suppliers}, {"SUPPLIER", keeping::Named::suppliers},
      {"PARTNERS", keeping::Named::suppliers}};
  const auto found = kinds.find(option.get_name());
  return found == kinds.end() ? std::nullopt : std::optional(found->second);
}

class Completing {
 public:
  Completing(const CLI::App& app, const std::vector<std::string>& words) : command_(&app), words_(words) {}

  Completion run() {
    read_words();
    const std::string& last = words_.back();
    if (option_) {
      with_values_of(*option_, last);
    } else if (const std::size_t equals = last.find('='); last.starts_with("--") && equals != std::string::npos) {
      begin_ = last.substr(0, equals + 1);
      if (const CLI::Option* option = option_named(*command_, last.substr(0, equals)))
        with_values_of(*option, last.substr(equals + 1));
    } else if (last.starts_with("-") && !only_arguments_) {
      for (const CLI::Option* option : options_of(*command_))
        for (const std::string& name : option->get_lnames()) offer("--" + name, last, option->get_description());
    } else {
      for (const CLI::App* command : commands_below(*command_))
        offer(command->get_name(), last, command->get_description());
      if (const CLI::Option* argument = argument_here()) with_values_of(*argument, last);
    }
    return std::move(found_);
  }

 private:
  // All but the last one.
  void read_words() {
    for (std::size_t at = 0; at + 1 < words_.size(); ++at) {
      const std::string& word = words_[at];
      if (option_) {
        note_store(*option_, word);
        option_ = nullptr;
      } else if (word == "--") {
        only_arguments_ = true;
      } else if (word.starts_with("-") && !only_arguments_) {
        const std::size_t equals = word.find('=');
        const CLI::Option* option = option_named(*command_, word.substr(0, equals));
        if (takes_value(option) && equals == std::string::npos) option_ = option;
        if (takes_value(option) && equals != std::string::npos) note_store(*option, word.substr(equals + 1));
      } else if (!descend(word)) {
        ++arguments_;
      }
    }
  }
  bool descend(const std::string& word) {
    for (const CLI::App* command : commands_below(*command_))
      if (command->get_name() == word) {
        command_ = command;
        return true;
      }
    return false;
  }
  void note_store(const CLI::Option& option, const std::string& value) {
    if (option.check_name("--store")) store_.store = value;
    if (option.check_name("--config")) store_.config = value;
  }

  // The argument that the last word is one of.
  const CLI::Option* argument_here() const {
    std::size_t position = 0;
    const CLI::Option* last = nullptr;
    for (const CLI::Option* option : options_of(*command_)) {
      if (!option->get_positional()) continue;
      last = option;
      if (position++ == arguments_) return option;
    }
    const bool goes_on = last && last->get_expected_max() == CLI::detail::expected_max_vector_size;
    return goes_on ? last : nullptr;
  }

  void with_values_of(const CLI::Option& option, const std::string& begin) {
    const Taken taken = taken_by(option);
    for (const std::string& choice : taken.choices) offer(choice, begin, {});
    if (const auto kind = kind_of(option)) offer_names(*kind, begin);
    const auto is = [&](const char* name) { return taken.name == name || option.get_name() == name; };
    found_.files = is("FILE") || is("STORE") || is("FROM") || is("TO");
  }

  // Nothing without a store.
  void offer_names(keeping::Named kind, const std::string& begin) {
    try {
      apply_settings(store_);
      const store::CallLimit limit(kPatience);
      for (const keeping::KnownName& name : keeping::names_beginning(connection_string(), kind, begin, kMostNames))
        offer(name.word, begin, name.description);
    } catch (const std::exception&) {
      return;
    }
  }

  void offer(const std::string& word, const std::string& begin, const std::string& description) {
    if (text::to_lower(word).starts_with(text::to_lower(begin)))
      found_.candidates.push_back({begin_ + word, description});
  }

  const CLI::App* command_;
  const std::vector<std::string>& words_;
  StoreOptions store_;
  const CLI::Option* option_ = nullptr;  // whose value comes next
  std::size_t arguments_ = 0;
  bool only_arguments_ = false;
  std::string begin_;  // of each candidate: "--color="
  Completion found_;
};

// A candidate is a line, with its description behind a tab. The last line says `:files` when the shell offers its own. The words
// go to the program as it would get them, without quotes and backslashes.
constexpr const char* kBash = R"script(# bash completion of mercato: source it, or keep it in the folder of completions
_mercato() {
  local line words cur="${COMP_WORDS[COMP_CWORD]}" quote="" option=""
  # xargs takes quotes and backslashes away, and expands nothing.
  mapfile -t words < <(printf '%s\n' "${COMP_WORDS[@]:1:COMP_CWORD-1}" | xargs -r printf '%s\n' 2>/dev/null)
  if [[ $cur == [\"\']* ]]; then
    quote=${cur:0:1} cur=${cur:1}
  else
    cur=${cur//\\/}
  fi
  [[ $cur != --*=* ]] || option=${cur%%=*}=
  COMPREPLY=()
  while IFS= read -r line; do
    if [ "$line" = ":files" ]; then
      compopt -o filenames 2>/dev/null
      mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -P "$option" -- "${cur#"$option"}")
    elif [ -n "$quote" ]; then
      COMPREPLY+=("${line%%$'\t'*}")
    else
      COMPREPLY+=("$(printf '%q' "${line%%$'\t'*}")")
    fi
  done < <("${COMP_WORDS[0]}" __complete -- "${words[@]}" "$cur" 2>/dev/null)
}
# --option=value is one word, and so is part:A1.
COMP_WORDBREAKS=${COMP_WORDBREAKS//[=:]/}
complete -F _mercato mercato
)script";
constexpr const char* kZsh = R"script(#compdef mercato
# zsh completion of mercato: source it, or keep it as _mercato in a folder of fpath
_mercato() {
  local line files=0
  local -a names
  while IFS= read -r line; do
    if [[ $line == ":files" ]]; then
      files=1
    elif [[ $line == *$'\t'* ]]; then
      names+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
    else
      names+=("${line//:/\\:}")
    fi
  done < <("${words[1]}" __complete -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)
  (( ${#names} )) && _describe mercato names -M 'm:{[:lower:][:upper:]}={[:upper:][:lower:]}'
  if (( files )); then
    compset -P '--*='
    _files
  fi
}
if [[ $funcstack[1] == _mercato ]]; then
  _mercato "$@"
else
  compdef _mercato mercato
fi
)script";
constexpr const char* kFish = R"script(# fish completion of mercato: source it, or keep it as completions/mercato.fish
function __mercato_complete
    set -l words (commandline -opc)
    set -l -- current (commandline -ct | string replace -r '^["\']' '' | string replace -ra '\\\\(.)' '$1')
    set -l -- option (string match -r -- '^--[^=]*=' "$current")
    for line in ($words[1] __complete -- $words[2..-1] "$current" 2>/dev/null)
        if test "$line" = ":files"
            printf "$option%s\n" (__fish_complete_path (string replace -- "$option" "" "$current"))
        else
            echo $line
        end
    end
end
complete -c mercato -f -a '(__mercato_complete)'
)script";

}  // namespace

Completion completion_of(const CLI::App& app, const std::vector<std::string>& words) {
  if (words.empty()) return {};
  return Completing(app, words).run();
}

std::string completion_script(const std::string& shell) {
  return shell == "bash" ? kBash : shell == "zsh" ? kZsh : kFish;
}

}  // namespace mercato::cli
