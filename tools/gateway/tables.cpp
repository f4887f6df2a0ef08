#include "tools/gateway/tables.h"

#include <string_view>

#include "frame/schema.h"
#include "frame/types/raised_error.h"
#include "frame/types/text.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/driver.h"

namespace mercato::gateway {
namespace {

// What a definition creates: the words behind CREATE.
struct Definition {
  bool table = false;
  std::string name;
};

Definition read_definition(std::string_view statement) {
  store::dialect::LexedStatement lexed;
  store::dialect::lex(statement, lexed);
  const auto word = [&](std::size_t position) {
    if (position >= lexed.tokens.size()) raise(error_number::kInvalidArgument);
    const store::dialect::Token& token = lexed.tokens[position];
    return statement.substr(token.begin, token.end - token.begin);
  };
  return {text::equal_names(word(1), "TABLE"), std::string(word(2))};
}

// The store has no way to ask for an index, but it says when one is there.
bool says_existing(const RaisedError& error) {
  return error.Number == error_number::kStatementRefused &&
         error.Description.find("already exists") != std::string::npos;
}

}  // namespace

CreatedTables create_tables(const std::string& connection_string) {
  const auto session = store::driver_for(connection_string).open("Create=Yes;" + connection_string);
  CreatedTables created;
  session->start_transaction();
  for (const SchemaText& schema : schema_texts()) {
    for (const std::string_view statement : store::dialect::split_script(schema.text)) {
      const Definition definition = read_definition(statement);
      if (definition.table && session->table(definition.name)) {
        ++created.existing;
        continue;
      }
      try {
        session->execute(Sql::verbatim(std::string(statement)));
        (definition.table ? created.tables : created.indexes).push_back(definition.name);
      } catch (const Raised& raised) {
        if (definition.table || !says_existing(raised.error())) throw;
        ++created.existing;
      }
    }
  }
  session->commit();
  return created;
}

}  // namespace mercato::gateway
