// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/shell.h"

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <utility>

#include "platform/store/hidden_passwords.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "values/text.h"

#ifdef MERCATO_EDITLINE
#include <editline/readline.h>

#include <cstdlib>
#include <cstring>
#endif

namespace mercato::cli {
namespace {

constexpr const char* kPrompt = "mercato> ";

// Lines as they come, for scripts; and where there is nothing to edit them with.
class PlainLines {
 public:
  std::optional<std::string> next() const {
    if (::isatty(STDIN_FILENO) == 1) std::cout << kPrompt << std::flush;
    std::string line;
    return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
  }
};

#ifdef MERCATO_EDITLINE

// So that a line has it as one word.
std::string escaped(const std::string& word) {
  std::string text;
  for (const char character : word) {
    if (std::string_view(" \t'\"\\#").find(character) != std::string_view::npos) text += '\\';
    text += character;
  }
  return text;
}

// The library asks without saying for whom.
const Shell* asking = nullptr;

char** complete_word(const char* begin, int at, int) {
  rl_attempted_completion_over = 1;
  auto words = words_of_line(std::string(rl_line_buffer, static_cast<std::size_t>(at)));
  if (!words) return nullptr;
  words->emplace_back(begin);
  const Completion found = asking->complete(*words);
  if (found.files) rl_attempted_completion_over = 0;
  if (found.candidates.empty()) return nullptr;
  std::vector<std::string> offered;
  for (const Candidate& candidate : found.candidates) offered.push_back(escaped(candidate.word));
  // The first one is what all have in common.
  std::string common = offered.front();
  for (const std::string& word : offered)
    while (!word.starts_with(common)) common.pop_back();
  auto** list = static_cast<char**>(std::malloc((offered.size() + 2) * sizeof(char*)));
  std::size_t count = 0;
  list[count++] = ::strdup(common.empty() ? begin : common.c_str());
  for (const std::string& word : offered) list[count++] = ::strdup(word.c_str());
  list[count] = nullptr;
  return list;
}

class EditedLines {
 public:
  explicit EditedLines(const Shell& shell) : file_(shell.history) {
    asking = &shell;
    rl_initialize();
    rl_readline_name = const_cast<char*>("mercato");
    rl_attempted_completion_function = &complete_word;
    using_history();
    stifle_history(1000);
    if (file_.empty()) return;
    std::error_code failed;
    std::filesystem::create_directories(std::filesystem::path(file_).parent_path(), failed);
    read_history(file_.c_str());
  }
  ~EditedLines() { asking = nullptr; }
  EditedLines(const EditedLines&) = delete;
  EditedLines& operator=(const EditedLines&) = delete;

  std::optional<std::string> next() const {
    char* const typed = readline(kPrompt);
    if (!typed) {
      std::cout << '\n';
      return std::nullopt;
    }
    std::string line = typed;
    std::free(typed);
    // A password is kept nowhere.
    if (text::trim(line).empty() || store::without_passwords(line) != line) return line;
    add_history(line.c_str());
    if (!file_.empty()) write_history(file_.c_str());
    return line;
  }

 private:
  std::string file_;
};

#endif

template <class Lines>
int run_lines(const Shell& shell, const Lines& lines) {
  int status = kDone;
  while (const auto line = lines.next()) {
    auto words = words_of_line(*line);
    if (!words) {
      std::cerr << alarming("mercato: ") << "A quote is opened and never closed.\n";
      status = kUsage;
      continue;
    }
    if (words->empty()) continue;
    if (words->front() == "exit" || words->front() == "quit") break;
    if (words->front() == "mercato") words->erase(words->begin());
    status = words->empty() ? status : shell.run(*words);
  }
  return status;
}

}  // namespace

std::optional<std::vector<std::string>> words_of_line(const std::string& line) {
  std::vector<std::string> words;
  bool in_word = false;
  char quote = '\0';
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char character = line[at];
    if (quote == '\0' && (character == ' ' || character == '\t')) {
      in_word = false;
      continue;
    }
    if (quote == '\0' && !in_word && character == '#') break;  // a comment
    if (!std::exchange(in_word, true)) words.emplace_back();
    if (character == quote)
      quote = '\0';
    else if (quote == '\0' && (character == '\'' || character == '"'))
      quote = character;
    else if (character == '\\' && quote != '\'' && at + 1 < line.size())
      words.back() += line[++at];
    else
      words.back() += character;
  }
  if (quote != '\0') return std::nullopt;
  return words;
}

int run_shell(const Shell& shell) {
  std::cout << std::flush;  // each line has a pager of its own
#ifdef MERCATO_EDITLINE
  if (::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1) return run_lines(shell, EditedLines(shell));
#endif
  return run_lines(shell, PlainLines());
}

}  // namespace mercato::cli
