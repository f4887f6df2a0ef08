// CREATE TABLE, CREATE INDEX, ALTER TABLE ADD and DROP for SQLite.
#pragma once

#include "platform/store/dialect/dialect.h"

namespace mercato::store::dialect {

Translation translate_definition(const LexedStatement& lexed, const TableDirectory& tables);

}  // namespace mercato::store::dialect
