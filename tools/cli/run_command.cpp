// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/run_command.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <new>

#include "frame/schema_versions.h"
#include "frame/sentence.h"
#include "mercato/raised_error.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/table_creation.h"
#include "mercato/version.h"
#include "platform/store/driver.h"
#include "platform/store/hidden_passwords.h"
#include "platform/store/session_pool.h"
#include "platform/store/statement_observer.h"
#include "tools/cli/command_line.h"
#include "tools/cli/commands.h"
#include "tools/cli/completion.h"
#include "tools/cli/interruption.h"
#include "tools/cli/judging_options.h"
#include "tools/cli/library.h"
#include "tools/cli/manual.h"
#include "tools/cli/menu.h"
#include "tools/cli/named_product.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/shell.h"
#include "tools/cli/terminal/pager.h"
#include "tools/cli/terminal/row_progress.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

constexpr const char* kVersion = MERCATO_VERSION;

struct CommandLine {
  StoreOptions store;
  OutputOptions output;
  bool scripted = false;
  bool no_color = false;
  bool no_pager = false;
  bool is_session = false;  // it takes commands or requests, one after the other
  DateChoice dates = DateChoice::iso;
  ColorChoice color = ColorChoice::automatic;
  Menu::Body command;

  std::string prog_id;
  bool openrpc = false;
  std::string method;
  std::vector<std::string> arguments;
  PreviewOptions preview;
  UploadOptions upload;
  FindOptions find;
  ProductName product;
  std::string script;
  std::vector<std::string> words;
  std::string shell;
};

// They may stand before the command or behind it.
void add_common_options(CLI::App& app, CommandLine& line) {
  app.add_option("--store", line.store.store,
                 "The store: a connection string, or the path of its file; wins over the settings file")
      ->group(kCommonOptions)
      ->type_name("STORE")
      ->check(is_no_blank());
  app.add_option("--config", line.store.config, "Settings file (TOML); else mercato.toml, when there is one")
      ->group(kCommonOptions)
      ->type_name("FILE")
      ->check(is_no_blank());
  app.add_flag("--trace", line.output.trace, "Show the statements, and the whole trace of a failure")
      ->group(kCommonOptions);
  app.add_flag("--scripted", line.scripted, "rpc only: open the methods that script collaborators and clock")
      ->group(kCommonOptions);
  app.add_flag("--json", line.output.json, "Print one line of JSON for programs")->group(kCommonOptions);
  app.add_flag("--no-color", line.no_color, "Print without colours")->group(kCommonOptions);
  app.add_flag("--no-pager", line.no_pager, "Print to the terminal what is longer than it, too")->group(kCommonOptions);
  app.add_option_function<std::string>(
         "--color",
         [&line](const std::string& when) {
           line.color = when == "always"  ? ColorChoice::always
                        : when == "never" ? ColorChoice::never
                                          : ColorChoice::automatic;
         },
         "Colours: on a terminal only (auto), always or never")
      ->group(kCommonOptions)
      ->type_name("WHEN")
      ->transform(CLI::IsMember(std::vector<std::string>{"auto", "always", "never"}, CLI::ignore_case));
}

// The commands that stand in no group.
class SingleCommands {
 public:
  SingleCommands(Menu& menu, const CLI::App& app, CommandLine& line) : menu_(menu), app_(app), line_(line) {}

  // In the order in which the help lists them.
  void add_all() {
    add_init();
    add_rpc();
    add_call();
    add_describe();
    add_preview();
    add_upload();
    add_find();
    add_show();
    add_execute();
    add_version();
    add_help();
    add_completion();
    add_manual();
    add_shell();
  }

 private:
  CLI::App& add(const char* name, const char* description, const char* examples, int (*command)(const CommandLine&)) {
    return menu_.add(name, description, examples,
                     [&line = line_, command](const OutputOptions&) { return command(line); });
  }

  void add_init() {
    add("init", "Create the tables in the store, or bring those of an older release up to date",
        "  mercato init\n"
        "  mercato init --store shop.db\n"
        "  mercato init --store 'Provider=PostgreSQL;Server=db.example.com;Database=shop;User ID=shop'\n"
        "All of it or nothing; running it again is harmless.\n",
        [](const CommandLine& given) { return init(given.output); });
  }

  void add_rpc() {
    add("rpc", "Serve JSON-RPC 2.0 on standard input and output, one request on each line",
        "  echo '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"create\",\"params\":{\"progId\":\"Mercato.Product\"}}' | "
        "mercato rpc\n"
        "  mercato rpc --trace --scripted\n",
        [](const CommandLine& given) { return serve_rpc(given.output.trace, given.scripted); });
  }

  void add_call() {
    CLI::App& command =
        add("call", "Call one method of a class and print the result as JSON",
            "  mercato call PROGID METHOD [ARG...]\n"
            "  mercato call Mercato.Product GetMaxProductId\n"
            "  mercato call Mercato.Product GetProductFields '[\"PARTNUMBER\",\"GTIN\"]' 5\n"
            "  mercato call Mercato.Product GetProductIDFromSupplierPartNum QM-PAP-001\n"
            "An argument is JSON; a word that is no JSON is a text. The error is JSON on standard error.\n",
            [](const CommandLine& given) {
              return call_once(given.prog_id, given.method, given.arguments, given.output.trace);
            });
    command.add_option("PROGID", line_.prog_id, "The class, such as Mercato.Product")->required();
    command.add_option("METHOD", line_.method, "The method's name, in any case")->required();
    command.allow_extras();  // the arguments: a negative number would pass for an option elsewhere
  }

  void add_describe() {
    CLI::App& command = add("describe", "Print the public classes, their methods and arguments as JSON",
                            "  mercato describe\n"
                            "  mercato describe Mercato.Product\n"
                            "  mercato describe --openrpc > mercato.openrpc.json\n",
                            [](const CommandLine& given) {
                              return given.openrpc ? describe_gateway(kVersion) : describe_classes(given.prog_id);
                            });
    CLI::Option* one = command.add_option("PROGID", line_.prog_id, "One class only");
    command.add_flag("--openrpc", line_.openrpc, "The gateway with all methods and types, for generators of clients")
        ->excludes(one);
  }

  static CLI::Option* add_on_errors(CLI::App& command, bool& write_on_errors) {
    return command
        .add_option_function<std::string>(
            "--on-errors", [&write_on_errors](const std::string& choice) { write_on_errors = choice == "write"; },
            "A record with a bad field: skip it whole (the default), or write what is left of it")
        ->type_name("write|skip")
        ->check(CLI::IsMember({"write", "skip"}));
  }

  void add_preview() {
    CLI::App& command =
        add("preview", "Check a Product document without writing anything",
            "  mercato preview products.xml\n"
            "  mercato preview --update-only --all products.xml\n"
            "  mercato preview --changes products.xml           what an upload would insert, change, leave and refuse\n"
            "Exit status 3 when a record is invalid, or would be refused. The checks are stricter than those of the "
            "upload, "
            "and\nnot the same; --changes asks the upload itself, of a ProductPrice document too.\n",
            [](const CommandLine& given) { return preview(given.preview, given.output); });
    command.add_option("FILE", line_.preview.document, "Product document: a file or a URL")->required();
    command.add_flag("--update-only", line_.preview.update_only, "Only records whose product exists");
    command.add_flag("--all", line_.preview.all, "List the valid records too, or the unchanged ones");
    CLI::Option* const changes = command.add_flag("--changes", line_.preview.changes,
                                                  "What an upload would do with each record, field by field");
    add_on_errors(command, line_.preview.write_on_errors)->needs(changes);
    Command more(command);
    add_judging_options(more, line_.preview.judging);
  }

  void add_upload() {
    CLI::App& command = add("upload", "Insert or update the products of a Product document",
                            "  mercato upload products.xml\n"
                            "  mercato upload --on-errors write products.xml\n"
                            "  mercato upload --update-only --json products.xml\n"
                            "Exit status 3 when a record was refused or is left; each is listed with the reason.\n",
                            [](const CommandLine& given) { return upload(given.upload, given.output); });
    command.add_option("FILE", line_.upload.document, "Product document: a file or a URL")->required();
    add_on_errors(command, line_.upload.write_on_errors);
    command.add_flag("--update-only", line_.upload.update_only, "Never create a product");
    command.add_flag("--no-journal", line_.upload.without_journal, "Keep nothing that could take it back");
    command.add_option("--key", line_.upload.file_key, "What the remaining file's name ends in")->type_name("NAME");
    Command more(command);
    add_loading_options(more, line_.upload.rest, line_.upload.atomic);
    add_judging_options(more, line_.upload.judging);
  }

  void add_find() {
    CLI::App& command =
        add("find", "Find products by words: numbers, descriptions and parts of them",
            "  mercato find M-100007\n"
            "  mercato find m100007           signs and case do not count\n"
            "  mercato find copy paper        all words, in any order\n"
            "  mercato find paper --user BEN.OKORO\n"
            "  mercato find paper --limit 20 --offset 20\n"
            "The best come first: numbers that are what was asked for, then those that begin so, then words.\n",
            [](const CommandLine& given) { return find(given.find, given.output); });
    command.add_option("WORDS", line_.find.words, "What to look for")->required();
    command.add_option("--user", line_.find.user, "Only what this user may see")->type_name("ID")->check(is_no_blank());
    command.add_option("--limit", line_.find.limit, "The most products that are listed")
        ->type_name("N")
        ->check(CLI::Range(1, 32000))
        ->capture_default_str();
    command.add_option("--offset", line_.find.offset, "How many products to pass over first")
        ->type_name("N")
        ->check(is_not_negative());
  }

  void add_show() {
    CLI::App& command = add("show", "Print one product with its properties",
                            "  mercato show 5\n"
                            "  mercato show M-100007 --json\n"
                            "  mercato show 8812 --supplier QUILLMARCH\n",
                            [](const CommandLine& given) { return show_product(given.product, given.output); });
    command.add_option("PRODUCT", line_.product.which, kProductHelp)->required()->check(is_no_blank());
    command.add_option("--supplier", line_.product.supplier, kSupplierHelp)->type_name("PARTNER");
  }

  void add_execute() {
    CLI::App& command = add("execute", "Run the statements of a script in the library's SQL dialect, all or none",
                            "  mercato execute samples/reference.sql\n"
                            "  echo \"SELECT UNITCODE FROM UNIT;\" | mercato execute -\n",
                            [](const CommandLine& given) { return execute(given.script, given.output); });
    command.add_option("FILE", line_.script, "The script, or - for standard input")->required();
  }

  void add_version() {
    add("version", "Print the version", "  mercato version\n", [](const CommandLine&) {
      std::cout << "mercato " << kVersion << '\n';
      return kDone;
    });
  }

  void add_help() {
    CLI::App& command =
        menu_.add("help", "Say what a command does, takes and answers",
                  "  mercato help\n"
                  "  mercato help product new\n",
                  [this](const OutputOptions&) {
                    const CLI::App& one = command_of(app_, line_.words);
                    std::cout << one.get_formatter()->make_help(&one, full_name(one), CLI::AppFormatMode::Normal);
                    return kDone;
                  });
    command.add_option("COMMAND", line_.words, "The command's words");
  }

  void add_completion() {
    CLI::App& command = menu_.add("completion", "Print what makes a shell complete commands, options, ids and names",
                                  "  source <(mercato completion bash)\n"
                                  "  mercato completion zsh > ~/.zfunc/_mercato\n"
                                  "  mercato completion fish > ~/.config/fish/completions/mercato.fish\n",
                                  [this](const OutputOptions&) {
                                    std::cout << completion_script(line_.shell);
                                    return kDone;
                                  });
    command.add_option("SHELL", line_.shell, "The shell")
        ->required()
        ->check(CLI::IsMember(std::vector<std::string>{"bash", "zsh", "fish"}));
    // What the scripts ask.
    CLI::App& question = menu_.add("__complete", "Words that may come next", "  mercato __complete -- prod\n",
                                   [this](const OutputOptions&) { return complete(); });
    question.group("");
    question.add_option("WORDS", line_.words, "Those behind `mercato`, and the beginning of the next");
  }

  int complete() const {
    const Completion completion = completion_of(app_, line_.words);
    for (const Candidate& candidate : completion.candidates)
      std::cout << shown(candidate.word, 500)
                << (candidate.description.empty() ? "" : "\t" + shown(candidate.description, 80)) << '\n';
    if (completion.files) std::cout << ":files\n";
    return kDone;
  }

  void add_manual() {
    CLI::App& command = menu_.add("manual", "Print the manual, or that of one command, as a man page",
                                  "  mercato manual | man -l -\n"
                                  "  mercato manual product new | man -l -\n",
                                  [this](const OutputOptions&) {
                                    std::cout << manual_of(command_of(app_, line_.words), kVersion);
                                    return kDone;
                                  });
    command.add_option("COMMAND", line_.words, "The command's words");
  }

  void add_shell() {
    menu_.add("shell", "Take commands at a prompt, with history and completion",
              "  mercato shell --store shop.db\n"
              "  echo 'find copy paper' | mercato shell\n"
              "Lines are commands without `mercato`; quotes and backslashes are as in other shells. `exit` ends it.\n",
              [this](const OutputOptions&) {
                return run_shell({run_in_shell(), completion_in_shell(), history_file()});
              });
  }
  // The store of the shell is that of each line which names no other.
  std::vector<std::string> with_store(std::vector<std::string> words) const {
    const auto add = [&](const char* option, const std::string& value) {
      if (!value.empty() && std::find(words.begin(), words.end(), option) == words.end())
        words.insert(words.begin(), {option, value});
    };
    add("--config", line_.store.config);
    add("--store", line_.store.store);
    return words;
  }
  std::function<int(const std::vector<std::string>&)> run_in_shell() const {
    return [this](const std::vector<std::string>& words) {
      // What a line asks for is its own.
      const int status = run_command(with_store(words));
      std::cout.clear();
      return status;
    };
  }
  std::function<Completion(const std::vector<std::string>&)> completion_in_shell() const {
    return [this](const std::vector<std::string>& words) { return completion_of(app_, with_store(words)); };
  }
  static std::string history_file() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state)
      return std::string(state) + "/mercato/history";
    const char* home = std::getenv("HOME");
    return home && *home ? std::string(home) + "/.local/state/mercato/history" : std::string();
  }

  Menu& menu_;
  const CLI::App& app_;
  CommandLine& line_;
};

class StatementPrinter : public store::StatementObserver {
 public:
  ~StatementPrinter() override { store::set_statement_observer(nullptr); }
  void on_statement(std::string_view text, bool) override { std::cerr << "-- " << text << '\n'; }
};

// Asked only where it may be the reason of a failure.
std::optional<std::int32_t> version_of_tables() {
  try {
    return schema_version_of(*store::acquire_session(connection_string()).get());
  } catch (const Raised&) {
    return std::nullopt;
  }
}

// Whether what failed is the store, or a right to it, and not what was asked of it.
bool is_about_store(const RaisedError& error) {
  if (error.Number == error_number::kPermissionDenied || misses_a_definition(error)) return true;
  if (error.Number != error_number::kStoreFailure) return false;
  if (says_store_failed(error)) return true;
  // A document that cannot be read has this number, too.
  try {
    const auto session = store::acquire_session(connection_string());
    return fault_of_schema_version(schema_version_of(*session.get())).has_value();
  } catch (const Raised&) {
    return true;
  }
}

// One line of words, or one of JSON.
std::string line_of_failure(bool json, int status, const std::string& words,
                            const gateway::Json& more = gateway::Json::object()) {
  if (!json) return alarming("mercato: ") + shown(words, 2000) + '\n';
  gateway::Json error = {{"message", words}, {"status", status}};
  error.update(more);
  return gateway::line_of({{"error", std::move(error)}}) + '\n';
}
int tell(bool json, int status, const std::string& words, const gateway::Json& more = gateway::Json::object()) {
  std::cerr << line_of_failure(json, status, words, more);
  return status;
}

constexpr const char* kInterruptedWords =
    "Interrupted: what was under way was taken back; what was done before it stands.";

int report(const RaisedError& error, const CommandLine& line) {
  if (was_interrupted()) return tell(line.output.json, kInterrupted, kInterruptedWords);
  const auto version = misses_a_definition(error) ? version_of_tables() : std::nullopt;
  const int status = is_about_store(error) ? kNoStore : kFailed;
  const Reasons reasons = take_reasons();
  const std::string description = store::without_passwords(error.Description);
  gateway::Json more = {{"number", error.Number}, {"source", error.Source}};
  if (!reasons.empty()) more["reasons"] = reasons;
  if (line.output.trace) more["description"] = description;
  if (!line.output.json) print_reasons(reasons);
  tell(line.output.json, status, store::without_passwords(sentence(error, version)), more);
  if (line.output.trace && !line.output.json)
    std::cerr << "Number " << error.Number << ", source " << error.Source << ":\n" << description << '\n';
  return status;
}

int run(CommandLine& line) {
  choose_colors(line.no_color ? ColorChoice::never : line.color);
  choose_dates(line.dates);
  try {
    apply_settings(line.store);
  } catch (const Raised& raised) {
    return tell(line.output.json, kUsage, store::without_passwords(sentence(raised.error())));
  }
  DllRegisterServer();
  StatementPrinter printer;
  try {
    // A store in memory lives as long as this process, so nobody could have created its tables before. When no store is
    // named, the command that needs one says so.
    const auto settings = collaborators::settings();
    const auto store = settings->connections.find("Mercato");
    if (store != settings->connections.end() && store::connection_property(store->second, "Data Source") == ":memory:")
      create_tables(store->second);
    if (line.output.trace) store::set_statement_observer(&printer);
    const Interruptible interruptible(line_of_failure(line.output.json, kInterrupted, kInterruptedWords));
    const Pager pager(!line.no_pager && !line.output.json);
    std::optional<WorkingLine> working;
    if (!line.is_session) working.emplace();
    const int status = line.command(line.output);
    return was_interrupted() ? kInterrupted : status;
  } catch (const Raised& raised) {
    // That the output is lost is told at the end, or is no failure: its reader may have had enough.
    if (raised.error().Number == error_number::kPathFileAccess && !std::cout) return kDone;
    return report(raised.error(), line);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    return tell(line.output.json, kFailed, failure.what());
  }
}

// Lost output is a failure, unless its reader has closed the pipe.
int status_of_output(int status, bool json) {
  std::cout.flush();
  if (std::cout) return status;
  pollfd output = {STDOUT_FILENO, 0, 0};
  if (::poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0) return status;
  return tell(json, kFailed, "The output cannot be written; some of it is lost.");
}

void add_commands(Menu& menu) {
  add_import_command(menu);
  add_export_command(menu);
  add_product_commands(menu);
  add_price_commands(menu);
  add_prices_commands(menu);
  add_property_commands(menu);
  add_category_commands(menu);
  add_favorite_commands(menu);
  add_folder_commands(menu);
  add_shopout_commands(menu);
  add_unit_commands(menu);
  add_reference_commands(menu);
  add_catalog_commands(menu);
  add_node_commands(menu);
  add_rights_commands(menu);
  add_unspsc_commands(menu);
  add_store_commands(menu);
#ifdef MERCATO_HOST
  add_serve_command(menu);
  add_token_commands(menu);
#endif
  add_schema_command(menu);
  add_doctor_command(menu);
  add_uploads_commands(menu);
}

// What the parser leaves to be looked at.
void check(const CLI::App& app, CommandLine& line) {
  if (!line.command) throw CLI::RequiredError("A command");
  const CLI::App* command = app.get_subcommands().front();
  if (command->get_name() == "help" || command->get_name() == "manual") command_of(app, line.words);
  for (const char* session : {"shell", "rpc", "serve"})
    line.is_session = line.is_session || command->get_name() == session;
  line.arguments = command->remaining();
  std::erase(line.arguments, "--");
  for (const std::string& argument : line.arguments)
    if (argument.starts_with("--"))
      throw CLI::ValidationError(argument, "an argument that begins so is a text in JSON: '\"" + argument + "\"'");
  if (line.scripted && command->get_name() != "rpc")
    throw CLI::ValidationError("--scripted", "is for `mercato rpc` only");
}

}  // namespace

int run_command(const std::vector<std::string>& words) {
  CommandLine line;
  CLI::App app("Mercato: products, catalogues and their upload, from the command line", "mercato");
  app.require_subcommand(0, 1);
  app.footer(
      "`mercato COMMAND --help` has examples. Exit status: 0 done, 1 nothing found or refused, 2 wrong use, 3 done in "
      "part, 4 no store or no right, 130 interrupted.");
  app.formatter(help_formatter());
  app.set_help_flag("-h,--help", "Print this help");
  app.set_version_flag("--version", std::string("mercato ") + kVersion, "Print the version");
  add_common_options(app, line);
  // Behind some commands this name is for the dates that they read.
  app.add_option_function<std::string>(
         "--dates",
         [&line](const std::string& form) { line.dates = form == "iso" ? DateChoice::iso : DateChoice::locale; },
         "Dates as 2026-07-01 (iso), or as the locale writes them")
      ->group(kCommonOptions)
      ->type_name("FORM")
      ->transform(CLI::IsMember(std::vector<std::string>{"iso", "locale"}, CLI::ignore_case));
  // Only commands that are named are asked for their options, except by what tells of all of them; to add the common ones
  // everywhere takes most of the time of a start.
  const auto is_given = [&](std::string_view word) { return std::ranges::find(words, word) != words.end(); };
  const bool tells_all = is_given("manual") || is_given("shell");
  const auto add_common = [&](CLI::App& command) {
    if (tells_all || is_given(command.get_name())) add_common_options(command, line);
  };
  Menu menu(app, add_common, line.command);
  SingleCommands single(menu, app, line);
  single.add_all();
  add_commands(menu);
  try {
    for (std::size_t number = 0; number < words.size(); ++number)
      if (!text::is_valid(words[number]))
        throw CLI::ValidationError("Argument " + std::to_string(number + 1), "is not UTF-8");
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // it takes them from the end
    check(app, line);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))  // help
      return status_of_output(app.exit(error), false);
    const std::string fault = fault_of(app, error);
    return tell(std::find(words.begin(), words.end(), "--json") != words.end(), kUsage,
                fault + (fault.ends_with('?') ? " --help says more." : "; --help says more."));
  }
  return status_of_output(run(line), line.output.json);
}

}  // namespace mercato::cli
