// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/backup_commands.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "platform/store/driver.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

// A word of a shell's command line.
std::string shell_word(const std::string& text) {
  const bool is_plain = std::ranges::all_of(text, [](unsigned char character) {
    return std::isalnum(character) != 0 ||
           std::string_view("_./:@-").find(static_cast<char>(character)) != std::string_view::npos;
  });
  return is_plain && !text.empty() ? text : "'" + text::replace_all(text, "'", "'\\''") + "'";
}

}  // namespace

std::string backup_commands(const std::string& connection_string) {
  std::string where;
  const auto add = [&](std::string_view property, const std::string& option) {
    if (const auto value = connection_property(connection_string, property))
      where += " --" + option + "=" + shell_word(*value);
  };
  add("Server", "host");
  add("Port", "port");
  add("User ID", "username");
  add("Database", "dbname");
  std::string schema;
  if (const auto path = connection_property(connection_string, "Search Path"))
    schema = " --schema=" + shell_word(std::string(text::trim(path->substr(0, path->find(',')))));
  return "`pg_dump --format=custom" + where + schema +
         " --file=FILE` backs this one up while others work, `pg_restore" +
         " --clean --if-exists --single-transaction" + where + " FILE` brings it back";
}

}  // namespace mercato::store::postgres
