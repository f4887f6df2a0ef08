// SPDX-License-Identifier: Apache-2.0
// What makes the text index of a table PART (NO, NAME), and the store with it, what version 2 of the store made.
#pragma once

namespace mercato::store::test {

inline constexpr const char* kTextIndexOfVersion2 =
    "DROP TRIGGER \"text index of PART after update\"; DROP TRIGGER \"text index of PART after delete\"; "
    "DROP TABLE \"text index of PART\"; DROP TABLE \"text index of PART old texts\"; "
    "DROP TABLE \"text index of PART last row\"; DROP VIEW \"text index of PART trigrams\"; "
    "CREATE VIRTUAL TABLE \"text index of PART\" USING fts5(\"NO\", \"NAME\", content=\"PART\", "
    "content_rowid=_rowid_, detail=none, columnsize=0, tokenize=mercato_trigrams); "
    "CREATE TABLE \"text index of PART changed rows\" (\"changed row\" INTEGER PRIMARY KEY, \"is indexed\", \"NO\", "
    "\"NAME\"); "
    "CREATE TRIGGER \"text index of PART after insert\" AFTER INSERT ON PART BEGIN INSERT INTO \"text index of PART "
    "changed rows\"(\"changed row\", \"is indexed\") SELECT new._rowid_, 0 WHERE true ON CONFLICT DO NOTHING; END; "
    "PRAGMA user_version = 2";

}  // namespace mercato::store::test
