// SPDX-License-Identifier: Apache-2.0
#include "mercato/table_creation.h"

#include <optional>
#include <string_view>

#include "frame/schema_texts.h"
#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "values/text.h"

namespace mercato {
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

bool exists(store::Session& session, const Definition& definition) {
  return definition.is_table ? session.table(definition.name) != nullptr
                             : session.has_index(definition.indexed_table, definition.name);
}

// Calls `each` with the definition and its statement.
template <class Each>
void for_each_definition(Each each) {
  for (const SchemaText& schema : schema_texts())
    for (const std::string_view statement : store::dialect::split_script(schema.text))
      each(read_definition(statement), statement);
}

// Nothing when somebody else created a table meanwhile: all of them exist then.
std::optional<CreatedTables> try_to_create(store::Session& session) {
  CreatedTables created;
  Definition under_way;
  session.start_transaction();
  try {
    for_each_definition([&](const Definition& definition, std::string_view statement) {
      if (exists(session, definition)) {
        ++created.existing;
        return;
      }
      under_way = definition;
      session.execute(Sql::verbatim(std::string(statement)));
      (definition.is_table ? created.tables : created.indexes).push_back(definition.name);
    });
    session.commit();
  } catch (const Raised&) {
    session.rollback();
    // Only the first definition can meet another writer: from then on we hold the lock.
    if (created.tables.empty() && created.indexes.empty() && !under_way.name.empty() && exists(session, under_way))
      return std::nullopt;
    throw;
  }
  return created;
}

}  // namespace

CreatedTables create_tables(const std::string& connection_string) {
  const auto session = store::driver_for(connection_string).open("Create=Yes;" + connection_string);
  for (;;)
    if (std::optional<CreatedTables> created = try_to_create(*session)) return *std::move(created);
}

std::vector<std::string> missing_tables(const std::string& connection_string) {
  const store::PooledSession session = store::acquire_session(connection_string);
  std::vector<std::string> missing;
  for_each_definition([&](const Definition& definition, std::string_view) {
    if (!exists(*session.get(), definition)) missing.push_back(definition.name);
  });
  return missing;
}

}  // namespace mercato
