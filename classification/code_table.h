// SPDX-License-Identifier: Apache-2.0
// What the classes of small tables share: how rows are listed, looked up and deleted.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/tails.h"

namespace mercato::classification {

// All codes of a table: code to code, in the store's own order.
inline DictionaryPtr all_codes(std::string_view label, const Sql& sql, std::string_view column) {
  RecordsetPtr rows;
  ConnectionPtr connection;
  return method(
      [&] {
        connection = open_connection(shared_connection_string());
        rows = Recordset::create();
        rows->Open(sql, connection, CursorType::forward_only, LockType::read_only, -1);
        auto codes = std::make_shared<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext()) codes->Add(rows->Value(column), rows->Value(column));
        Sql_CloseRecordset(rows);
        Sql_CloseConnection(connection);
        return codes;
      },
      Tail{label, [&] {
             rows.reset();
             Sql_CloseConnection(connection);
           }});
}

// The first row's code, "" without one.
inline std::string first_code(std::string_view label, const Sql& sql, std::string_view column) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = open_connection(shared_connection_string());
        const RecordsetPtr rows = connection->Execute(sql);
        std::string code = rows->Eof() ? std::string() : rows->Value(column).to_text();
        Sql_CloseConnection(connection);
        return code;
      },
      Tail{label, closing(connection)});
}

// Whether the tail of a private check votes abort. The writing classes differ in this.
enum class TailVote { none, abort };

// Whether no product refers to the code.
inline bool is_unused(std::string_view label, const Sql& products_that_refer, TailVote vote) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = open_connection(shared_connection_string(), Isolation::read_committed);
        const bool unused = connection->Execute(products_that_refer)->Eof();
        Sql_CloseConnection(connection);
        return unused;
      },
      Tail{label, [&] {
             Sql_CloseConnection(connection);
             if (vote == TailVote::abort) Mts_SetAbort();
           }});
}

// The number of rows that a delete reports, in 16 bits. Raises 6 beyond 32,767.
std::int16_t short_count(std::int64_t rows);
// Runs a delete on a new connection, closes it, and returns that number.
std::int16_t delete_rows(ConnectionPtr& connection, const Sql& sql);

}  // namespace mercato::classification
