// SPDX-License-Identifier: Apache-2.0
// mercato token: who may use the host.
#include <iostream>

#include "host/tokens.h"
#include "mercato/raised_error.h"
#include "tools/cli/host/token_file.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace token_commands {

struct InFile {
  std::string file = kUsualTokenFile;
};
struct NewToken : InFile {
  std::string name;
  host::Role role = host::Role::reader;
  std::string user;
  std::string expires;
};
struct NamedToken : InFile {
  std::string name;
};

int add(const NewToken& given, const OutputOptions& output) {
  if (!given.expires.empty() && !host::is_day(given.expires))
    raise(error_number::kInvalidArgument, {}, "'" + given.expires + "' is no day; write 2026-12-31");
  host::Token token;
  token.name = given.name;
  token.role = given.role;
  if (!given.user.empty()) token.user = given.user;
  token.expires = given.expires;
  const std::string text = host::TokenFile(given.file).add(std::move(token));
  if (output.json) return answer(output, {{"name", given.name}, {"token", text}}, "");
  std::cout << text << '\n';
  std::cerr << "The token of " << shown(given.name) << " is told this once; " << shown(given.file)
            << " keeps a hash of it.\n";
  return kDone;
}

int list(const InFile& given, const OutputOptions& output) {
  gateway::Json json = gateway::Json::array();
  Table table({"NAME", "ROLE", "USER", "HOLDS UNTIL", "MADE ON"});
  for (const host::Token& token : host::TokenFile(given.file).list()) {
    json.push_back({{"name", token.name},
                    {"role", name_of(token.role)},
                    {"user", token.user ? gateway::Json(*token.user) : gateway::Json(nullptr)},
                    {"expires", token.expires.empty() ? gateway::Json(nullptr) : gateway::Json(token.expires)},
                    {"created", token.created}});
    table.add({shown(token.name), std::string(name_of(token.role)), shown(token.user.value_or("")), token.expires,
               token.created});
  }
  return answer_list(output, "tokens", std::move(json), table, "There are no tokens.");
}

int revoke(const NamedToken& given, const OutputOptions& output) {
  if (!host::TokenFile(given.file).revoke(given.name))
    return refuse(output, {{"revoked", false}}, "there is no token " + shown(given.name) + ".", {});
  return answer(output, {{"revoked", true}}, "the token " + shown(given.name) + " holds no more.");
}

void add_file(Command& command, InFile& given) {
  command.add_option("--tokens", given.file, "The token file")->type_name("FILE")->capture_default_str();
}

}  // namespace token_commands

void add_token_commands(Menu& menu) {
  using namespace token_commands;
  Menu::Group group = menu.group("token", "Say who may use the host, and what he may do");
  {
    const auto [command, given] =
        group.add("new", "Make a token and print it once",
                  "  mercato token new shop --role reader\n"
                  "  mercato token new ann --role reader --user ANN --expires 2026-12-31\n"
                  "A reader reads; with --user only what that user may see. A keeper changes, too; an\n"
                  "admin runs statements as well. The file keeps a hash, and is its owner's to read.\n",
                  add);
    command.add_option("NAME", given.name, "What it is called")->required()->check(is_no_blank());
    command
        .add_choice(
            "--role", {"reader", "keeper", "admin"},
            [&role = given.role](const std::string& name) { role = *host::role_named(name); }, "What it may do")
        ->type_name("reader|keeper|admin")
        ->required();
    command.add_option("--user", given.user, "Show only what this user may see")->type_name("ID")->check(is_no_blank());
    command.add_option("--expires", given.expires, "The last day that it holds")->type_name("DATE");
    add_file(command, given);
  }
  {
    const auto [command, given] = group.add("list", "List the tokens", "  mercato token list\n", list);
    add_file(command, given);
  }
  {
    const auto [command, given] = group.add("revoke", "End a token",
                                            "  mercato token revoke shop\n"
                                            "A host that runs takes it no more within a second.\n",
                                            revoke);
    command.add_option("NAME", given.name, "What it is called")->required();
    add_file(command, given);
  }
}

}  // namespace mercato::cli
