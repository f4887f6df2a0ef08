#include "tools/gateway/tables.h"

#include <string_view>

#include "frame/schema.h"
#include "frame/types/raised_error.h"
#include "frame/types/text.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/driver.h"

namespace mercato::gateway {
namespace {

// What a definition creates: "CREATE TABLE name" or "CREATE INDEX name ON table".
struct Definition {
  bool is_table = false;
  std::string name;
  std::string indexed_table;
};

Definition read_definition(std::string_view statement) {
  store::dialect::LexedStatement lexed;
  store::dialect::lex(statement, lexed);
  const auto word = [&](std::size_t position) {
    if (position >= lexed.tokens.size()) raise(error_number::kInvalidArgument);
    const store::dialect::Token& token = lexed.tokens[position];
    return std::string(statement.substr(token.begin, token.end - token.begin));
  };
  if (text::equal_names(word(1), "TABLE")) return {true, word(2), {}};
  return {false, word(2), word(4)};
}

}  // namespace

CreatedTables create_tables(const std::string& connection_string) {
  const auto session = store::driver_for(connection_string).open("Create=Yes;" + connection_string);
  CreatedTables created;
  session->start_transaction();
  for (const SchemaText& schema : schema_texts()) {
    for (const std::string_view statement : store::dialect::split_script(schema.text)) {
      const Definition definition = read_definition(statement);
      const bool exists = definition.is_table ? session->table(definition.name) != nullptr
                                              : session->has_index(definition.indexed_table, definition.name);
      if (exists) {
        ++created.existing;
        continue;
      }
      session->execute(Sql::verbatim(std::string(statement)));
      (definition.is_table ? created.tables : created.indexes).push_back(definition.name);
    }
  }
  session->commit();
  return created;
}

}  // namespace mercato::gateway
