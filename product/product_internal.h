// Shared by the files of class Product: product.cpp, product_record.cpp, product_search.cpp, product_lists.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "product/product.h"

namespace mercato {
namespace product {

// An argument that was not given.
inline bool IsDefaultLong(std::int32_t number) { return number == -1; }
inline bool IsDefaultString(const std::string& text) { return text.empty(); }

// Doubles quotes and makes percent signs stand for themselves, in place.
std::string& QuoteForLike(std::string& text);

// Read-only, with the cursor named.
RecordsetPtr open_read_only(const Sql& sql, const ConnectionPtr& connection, CursorType cursor);

// PRODUCTID of the first row, -1 without one.
inline std::int32_t id_or_none(const RecordsetPtr& rows) {
  return rows->Eof() ? -1 : rows->Value("PRODUCTID").to_long();
}

}  // namespace product

template <class Statement, class Read>
auto Product::read_and_vote(std::string_view label, CursorType cursor, Statement statement, Read read) {
  ConnectionPtr connection;
  RecordsetPtr rows;
  const auto close = [&] {
    Sql_CloseRecordset(rows);
    Sql_CloseConnection(connection);
  };
  return method(
      [&] {
        const Sql sql = statement();
        connection = GetReadConnection();
        rows = product::open_read_only(sql, connection, cursor);
        auto result = read(rows);
        close();
        Mts_SetComplete();
        return result;
      },
      Tail{label, [&] {
             close();
             Mts_SetAbort();
           }});
}

}  // namespace mercato
