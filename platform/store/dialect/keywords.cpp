// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/keywords.h"

#include <algorithm>
#include <iterator>

#include "values/text.h"

namespace mercato::store::dialect {
namespace {

constexpr std::string_view kKeywords[] = {
    "ADD",       "ALL",      "ALTER",  "AND",        "ANY",     "AS",         "ASC",    "BETWEEN", "BY",     "CASE",
    "CHECK",     "COALESCE", "COLUMN", "CONSTRAINT", "CONVERT", "CREATE",     "CROSS",  "DEFAULT", "DELETE", "DESC",
    "DISTINCT",  "DROP",     "ELSE",   "END",        "ESCAPE",  "EXCEPT",     "EXEC",   "EXECUTE", "EXISTS", "FOREIGN",
    "FROM",      "FULL",     "GRANT",  "GROUP",      "HAVING",  "IDENTITY",   "IN",     "INDEX",   "INNER",  "INSERT",
    "INTERSECT", "INTO",     "IS",     "JOIN",       "KEY",     "LEFT",       "LIKE",   "NOT",     "NULL",   "NULLIF",
    "ON",        "OR",       "ORDER",  "OUTER",      "PRIMARY", "REFERENCES", "RIGHT",  "SELECT",  "SET",    "SOME",
    "TABLE",     "THEN",     "TOP",    "TRUNCATE",   "UNION",   "UNIQUE",     "UPDATE", "VALUES",  "VIEW",   "WHEN",
    "WHERE",     "WHILE",    "WITH",
};

}  // namespace

bool is_keyword(std::string_view word) {
  return std::any_of(std::begin(kKeywords), std::end(kKeywords),
                     [word](std::string_view keyword) { return text::equal_names(word, keyword); });
}

}  // namespace mercato::store::dialect
