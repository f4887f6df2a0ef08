// The two forms that most methods of voting classes have: one statement on a connection of its own, then the vote.
// Their tail closes what is open, votes abort and logs under the label. `open` gives the connection, `statement` the
// text (it runs before the connection is opened), `read` makes the result of the rows. Reads that cast no vote have the
// third form.
#pragma once

#include <string_view>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"

namespace mercato {

template <class Open, class Statement, class Read>
auto read_and_vote(std::string_view label, CursorType cursor, Open open, Statement statement, Read read) {
  Opened opened;
  return method(
      [&] {
        const Sql sql = statement();
        opened.connection = open();
        opened.rows = open_read_only(sql, opened.connection, cursor);
        auto result = read(opened.rows);
        opened.close();
        Mts_SetComplete();
        return result;
      },
      Tail{label, [&] {
             opened.close();
             Mts_SetAbort();
           }});
}

template <class Open, class Statement, class Read>
auto read_and_close(std::string_view label, CursorType cursor, Open open, Statement statement, Read read) {
  Opened opened;
  return method(
      [&] {
        const Sql sql = statement();
        opened.connection = open();
        opened.rows = open_read_only(sql, opened.connection, cursor);
        auto result = read(opened.rows);
        opened.close();
        return result;
      },
      Tail{label, [&] { opened.close(); }});
}

template <class Open, class Statement>
void execute_and_vote(std::string_view label, Open open, Statement statement) {
  ConnectionPtr connection;
  method(
      [&] {
        const Sql sql = statement();
        connection = open();
        execute_and_close(connection, sql);
        Mts_SetComplete();
      },
      Tail{label, [&] {
             Sql_CloseConnection(connection);
             Mts_SetAbort();
           }});
}

}  // namespace mercato
