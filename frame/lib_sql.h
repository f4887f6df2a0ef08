// SPDX-License-Identifier: Apache-2.0
// Recordset factories, and the functions that close what a method opened. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mercato/connection.h"
#include "mercato/dictionary.h"
#include "mercato/recordset.h"

namespace mercato {

// Close what is open, and set the variable to nothing. On nothing they do nothing.
void Sql_CloseConnection(ConnectionPtr& iConnection);
void Sql_CloseRecordset(RecordsetPtr& iRecordset);
// For a recordset that was opened with a connection string. Raises 91 on nothing.
void Sql_CloseDisconnectedRecordset(RecordsetPtr& iRecordset);

// A recordset without a connection. The isolation statement runs on a connection of its own, not on the one that reads.
// A failure is logged under "Lib_SQL.Sql_GetDisconnectedRecordset" with the connection's errors and the statement.
RecordsetPtr Sql_GetDisconnectedRecordset(const Sql& iSQL, const std::string& iConnectionString,
                                          std::optional<bool> iReadCommitted = std::nullopt);
// Bound to the caller's open connection, which the caller closes. Logged under "Lib_SQL.Sql_GetReadonlyRecordset".
RecordsetPtr Sql_GetReadonlyRecordset(const Sql& iSQL, const ConnectionPtr& iConnection);
// Changeable in memory, without a connection. A failure closes the caller's connection, unlike the one above.
// Logged under "Lib_SQL.SQL_GetWritableRecordset".
RecordsetPtr SQL_GetWritableRecordset(const Sql& iSQL, ConnectionPtr& iConnection, std::int32_t iLockType);

// The current row, column name to value; of two columns with one name the first. Empty for an empty recordset.
// Logged under "Lib_SQL.Sql_GetRecordAsDictionary".
DictionaryPtr Sql_GetRecordAsDictionary(const RecordsetPtr& iRecordset);
// All rows that are left, each as Sql_GetRecordAsDictionary gives it.
std::vector<DictionaryPtr> rows_left(const RecordsetPtr& records);
// First column to second column of all rows. A doubled key keeps its first value and is logged as information.
// Logged under "Lib_SQL.Sql_GetRecordsAsDictionary. SQL: '<statement>'".
DictionaryPtr Sql_GetRecordsAsDictionary(const std::string& iConnectionString, const Sql& iSQL);

// What a method holds of the store while it runs. The body closes it before it votes, and the tail after a failure.
struct Opened {
  ConnectionPtr connection;
  RecordsetPtr rows;

  // The recordset, then the connection.
  void close();
};
// Runs one statement that yields no rows, closes the connection, and returns the number of rows changed. The connection
// is a variable of the method, so that the method's tail closes what a failure leaves open.
std::int64_t execute_and_close(ConnectionPtr& connection, const Sql& sql);
// A recordset that is opened with its statement, with the cursor that the caller's interface names.
RecordsetPtr open_read_only(const Sql& sql, const ConnectionPtr& connection,
                            CursorType cursor = CursorType::forward_only);
RecordsetPtr open_updatable(const Sql& sql, const ConnectionPtr& connection, CursorType cursor);

// What the private members GetConnectionString, GetConnection and AddSqlCondition of the classes share.

// The connection string of this thread: looked up in Grundwerk.Configuration at the first need, then kept.
const std::string& shared_connection_string();
// The same, but the web application is asked first.
const std::string& shared_connection_string_of_application();

enum class Isolation { store_default, read_committed };
// A new open connection.
ConnectionPtr open_connection(const std::string& connection_string, Isolation isolation = Isolation::store_default);
// Sends the isolation statement of every connection that only reads.
void set_read_committed(Connection& connection);
// The statement, " WHERE (condition)" or, when "WHERE" occurs in it (exact case), " AND (condition)".
Sql with_condition(Sql iSQL, const Sql& iCondition);

}  // namespace mercato
