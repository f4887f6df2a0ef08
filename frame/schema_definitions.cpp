// SPDX-License-Identifier: Apache-2.0
#include "frame/schema_definitions.h"

#include <array>

#include "frame/schema_texts.h"
#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "values/text.h"

namespace mercato {
namespace {

SchemaDefinition read_definition(std::string_view statement) {
  store::dialect::LexedStatement lexed;
  store::dialect::lex(statement, lexed);
  const auto word = [&](std::size_t position) {
    if (position >= lexed.tokens.size()) raise(error_number::kInvalidArgument);
    const store::dialect::Token& token = lexed.tokens[position];
    return std::string(statement.substr(token.begin, token.end - token.begin));
  };
  if (text::equal_names(word(1), "TABLE")) return {true, word(2), {}, false, statement};
  if (text::equal_names(word(1), "FULLTEXT")) return {false, "text index of " + word(4), word(4), true, statement};
  return {false, word(2), word(4), false, statement};
}

}  // namespace

const std::vector<SchemaDefinition>& schema_definitions() {
  static const std::vector<SchemaDefinition> definitions = [] {
    std::vector<SchemaDefinition> all;
    for (const SchemaText& schema : schema_texts())
      for (const std::string_view statement : store::dialect::split_script(schema.text))
        all.push_back(read_definition(statement));
    return all;
  }();
  return definitions;
}

// Only what decides where a join begins. An engine that knows nothing takes every column for one that leaves ten rows,
// and would begin with all nodes of a catalogue, not with the products that were asked for.
std::span<const store::ExpectedRows> expected_rows() {
  static constexpr auto kExpected = std::to_array<store::ExpectedRows>({
      {"CATALOGNODE", 100'000, "CATALOGID", 5'000},
      {"CATALOGNODE", 100'000, "CATEGORYID", 20},
      {"PRODUCTSBYCATEGORY", 1'000'000, "PRODUCTID", 2},
      {"PRODUCTSBYCATEGORY", 1'000'000, "CATEGORYID", 50},
      {"FAVORITES", 100'000, "PRODUCTID", 2},
      {"CATALOGNODEBYBP", 1'000, "NODEID", 2},
  });
  return kExpected;
}

bool exists(store::Session& session, const SchemaDefinition& definition) {
  if (definition.is_text_index) {
    const store::TableInfo* table = session.table(definition.indexed_table);
    return table && (table->has_text_index() || !session.has_text_indexes());
  }
  return definition.is_table ? session.table(definition.name) != nullptr
                             : session.has_index(definition.indexed_table, definition.name);
}

}  // namespace mercato
