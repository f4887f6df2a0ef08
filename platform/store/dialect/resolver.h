// SPDX-License-Identifier: Apache-2.0
// What a statement means: its names are looked up in the store's tables, its expressions get their types, operands of
// different types meet as they do on the server, and its result is described. One thread.
#pragma once

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::dialect {

// Reads the tree's statement and resolves it, ready for a printer; `identified` asks for the identity of the rows.
// Raises kStatementRefused for what is not of the dialect, for unknown tables and columns, and for more than one
// statement; kFeatureNotAvailable when rows that are to be identified cannot be. The tree refers to the tables from then
// on.
void resolve_statement(SyntaxTree& tree, const TableDirectory& tables, bool identified);

}  // namespace mercato::store::dialect
