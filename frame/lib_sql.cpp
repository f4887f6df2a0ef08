// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_sql.h"

#include "frame/contracts.h"
#include "frame/method.h"
#include "mercato/object_context.h"
#include "platform/store/driver.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::int32_t kUnspecified = -1;
constexpr std::int32_t kSourceIsText = 1;

thread_local std::string SharedConnectionString;

bool is_blank(std::string_view text) { return text.find_first_not_of(' ') == std::string_view::npos; }

std::string executing(const Sql& sql) { return " executing: '" + sql.text() + "'"; }

// The current object's web application may know the connection string. A failure here is no failure of the call.
void ask_application() {
  ObjectContext* context = GetObjectContext();
  if (!context) return;
  suppressing_failures([&] {
    const Variant application(context->Item("Application"));
    SharedConnectionString = application.to<Dictionary>()->Item("MercatoConnection_ConnectionString").to_text();
  });
}

RecordsetPtr open_rows(const Sql& sql, const ConnectionPtr& connection, CursorType cursor, LockType lock) {
  auto rows = Recordset::create();
  rows->Open(sql, connection, cursor, lock, kUnspecified);
  return rows;
}

void ask_configuration() {
  grundwerk::Configuration configuration;
  configuration.PrepareConnections(false);
  SharedConnectionString = configuration.GetConnectionStringOf("Mercato");
}

}  // namespace

const std::string& shared_connection_string() {
  if (is_blank(SharedConnectionString)) ask_configuration();
  return SharedConnectionString;
}

const std::string& shared_connection_string_of_application() {
  if (is_blank(SharedConnectionString)) ask_application();
  return shared_connection_string();
}

void forget_thread_state() {
  SharedConnectionString.clear();
  current_error() = {};
}

// It runs on nearly every connection, so it makes no recordset: nobody would read it.
void set_read_committed(Connection& connection) {
  static const Sql statement("set TRANSACTION ISOLATION LEVEL READ COMMITTED");
  connection.reporting([&] { connection.session().execute(statement); });
}

ConnectionPtr open_connection(const std::string& connection_string, Isolation isolation) {
  auto connection = Connection::create();
  connection->Open(connection_string, "", "", kUnspecified);
  if (isolation == Isolation::read_committed) set_read_committed(*connection);
  return connection;
}

Sql with_condition(Sql iSQL, const Sql& iCondition) {
  const bool has_where = iSQL.text().find("WHERE") != std::string::npos;
  iSQL << " ";
  has_where ? iSQL << "AND" : iSQL << "WHERE";
  iSQL << " (" << iCondition << ")";
  return iSQL;
}

void Sql_CloseConnection(ConnectionPtr& iConnection) {
  if (iConnection && iConnection->State() == 1) iConnection->Close();
  iConnection.reset();
}

void Sql_CloseRecordset(RecordsetPtr& iRecordset) {
  if (iRecordset && iRecordset->State() == 1) iRecordset->Close();
  iRecordset.reset();
}

void Opened::close() {
  Sql_CloseRecordset(rows);
  Sql_CloseConnection(connection);
}

std::int64_t execute_and_close(ConnectionPtr& connection, const Sql& sql) {
  std::int64_t affected = 0;
  connection->ExecuteAffecting(sql, affected);
  Sql_CloseConnection(connection);
  return affected;
}

RecordsetPtr open_read_only(const Sql& sql, const ConnectionPtr& connection, CursorType cursor) {
  return open_rows(sql, connection, cursor, LockType::read_only);
}

RecordsetPtr open_updatable(const Sql& sql, const ConnectionPtr& connection, CursorType cursor) {
  return open_rows(sql, connection, cursor, LockType::optimistic);
}

void Sql_CloseDisconnectedRecordset(RecordsetPtr& iRecordset) {
  if (iRecordset && iRecordset->State() == 1) iRecordset->Close();
  if (!iRecordset) raise(error_number::kObjectNotSet);
  iRecordset->SetActiveConnection(nullptr);
  iRecordset.reset();
}

RecordsetPtr Sql_GetDisconnectedRecordset(const Sql& iSQL, const std::string& iConnectionString,
                                          std::optional<bool> iReadCommitted) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = Connection::create();
        connection->Open(iConnectionString, "", "", kUnspecified);
        if (iReadCommitted.value_or(false)) set_read_committed(*connection);
        auto rows = Recordset::create();
        rows->SetCursorLocation(CursorLocation::client);
        // Opened with the string: it reads on a connection of its own.
        rows->Open(iSQL, iConnectionString, CursorType::keyset, LockType::read_only, kUnspecified);
        rows->SetActiveConnection(nullptr);
        Sql_CloseConnection(connection);
        return rows;
      },
      Tail{"Lib_SQL.Sql_GetDisconnectedRecordset", [&]() -> Variant {
             std::string info = Err_ConnectionErrors(connection) + executing(iSQL);
             Sql_CloseConnection(connection);
             return info;
           }});
}

RecordsetPtr Sql_GetReadonlyRecordset(const Sql& iSQL, const ConnectionPtr& iConnection) {
  return method(
      [&] {
        auto rows = Recordset::create();
        rows->SetCursorLocation(CursorLocation::client);
        rows->Open(iSQL, iConnection, CursorType::keyset, LockType::read_only, kSourceIsText);
        return rows;
      },
      Tail{"Lib_SQL.Sql_GetReadonlyRecordset",
           [&]() -> Variant { return Err_ConnectionErrors(iConnection) + executing(iSQL); }});
}

RecordsetPtr SQL_GetWritableRecordset(const Sql& iSQL, ConnectionPtr& iConnection, std::int32_t iLockType) {
  return method(
      [&] {
        auto rows = Recordset::create();
        rows->SetCursorLocation(CursorLocation::client);
        rows->Open(iSQL, iConnection, CursorType::keyset, static_cast<LockType>(iLockType), kSourceIsText);
        rows->SetActiveConnection(nullptr);
        return rows;
      },
      Tail{"Lib_SQL.SQL_GetWritableRecordset", [&]() -> Variant {
             std::string info = Err_ConnectionErrors(iConnection) + executing(iSQL);
             Sql_CloseConnection(iConnection);
             return info;
           }});
}

DictionaryPtr Sql_GetRecordAsDictionary(const RecordsetPtr& iRecordset) {
  return method(
      [&] {
        auto record = std::make_shared<Dictionary>();
        if (!iRecordset) raise(error_number::kObjectNotSet);
        if (iRecordset->Eof() || iRecordset->Bof()) return record;
        const std::size_t count = iRecordset->FieldCount();
        record->reserve(count);
        for (std::size_t position = 0; position < count; ++position) {
          const std::string& name = iRecordset->FieldName(position);
          if (!record->find(name)) record->Add(name, iRecordset->Value(position));
        }
        return record;
      },
      Tail{"Lib_SQL.Sql_GetRecordAsDictionary",
           [&]() -> Variant { return Err_ConnectionErrors(iRecordset ? iRecordset->ActiveConnection() : nullptr); }});
}

std::vector<DictionaryPtr> rows_left(const RecordsetPtr& records) {
  std::vector<DictionaryPtr> rows;
  for (; !records->Eof(); records->MoveNext()) rows.push_back(Sql_GetRecordAsDictionary(records));
  return rows;
}

DictionaryPtr Sql_GetRecordsAsDictionary(const std::string& iConnectionString, const Sql& iSQL) {
  const std::string label = "Lib_SQL.Sql_GetRecordsAsDictionary. SQL: '" + iSQL.text() + "'";
  RecordsetPtr rows;
  return method(
      [&] {
        auto records = std::make_shared<Dictionary>();
        rows = Recordset::create();
        rows->SetCursorLocation(CursorLocation::client);
        rows->Open(iSQL, iConnectionString, CursorType::forward_only, LockType::read_only, kSourceIsText);
        for (; !rows->Eof(); rows->MoveNext()) {
          const Variant& key = rows->Value(std::size_t{0});
          if (!records->Exists(key)) {
            records->Add(key, rows->Value(std::size_t{1}));
            continue;
          }
          // A doubled key is only noted in the log. A Null key adds nothing to the text.
          Err_LogInfo("Improper SQL statement '" + iSQL.text() +
                      "' to create a dictionary. The statement resulted in double key value: '" + key.text_or_empty() +
                      "'");
        }
        Sql_CloseDisconnectedRecordset(rows);
        return records;
      },
      Tail{label, [&] { Sql_CloseDisconnectedRecordset(rows); }});
}

}  // namespace mercato
