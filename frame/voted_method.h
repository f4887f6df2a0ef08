// SPDX-License-Identifier: Apache-2.0
// The forms that most methods of voting classes have: one statement on a connection of its own, then the vote. Their
// tail closes what is open, votes abort and logs under the label. `open` gives the connection; `statement`, which runs
// before it, the text; `read` makes the result of the rows. read_and_close is the form of reads that cast no vote; its
// tail casts none either.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/tails.h"

namespace mercato {

namespace detail {

template <class Open, class Statement, class Read, class Complete, class Abort>
auto read_rows(std::string_view label, CursorType cursor, Open open, Statement statement, Read read, Complete complete,
               Abort abort) {
  Opened opened;
  return method(
      [&] {
        const Sql sql = statement();
        opened.connection = open();
        opened.rows = open_read_only(sql, opened.connection, cursor);
        auto result = read(opened.rows);
        opened.close();
        complete();
        return result;
      },
      Tail{label, [&] {
             opened.close();
             abort();
           }});
}

}  // namespace detail

template <class Open, class Statement, class Read>
auto read_and_vote(std::string_view label, CursorType cursor, Open open, Statement statement, Read read) {
  return detail::read_rows(label, cursor, open, statement, read, Mts_SetComplete, Mts_SetAbort);
}

template <class Open, class Statement, class Read>
auto read_and_close(std::string_view label, CursorType cursor, Open open, Statement statement, Read read) {
  return detail::read_rows(label, cursor, open, statement, read, no_steps, no_steps);
}

// What is raised for a row that has to be there: with an abort vote, past the tail and so unlogged.
struct MissingRow {
  std::int32_t number;
  std::string_view source;
  std::string_view description;
};
template <class Open, class Read>
auto read_row_and_vote(std::string_view label, CursorType cursor, Open open, const Sql& sql, MissingRow missing,
                       Read read) {
  Opened opened;
  return method(
      [&](TailSwitch& tail) {
        opened.connection = open();
        opened.rows = open_read_only(sql, opened.connection, cursor);
        if (opened.rows->Eof()) {
          tail.disarm();
          Mts_SetAbort();
          raise(missing.number, std::string(missing.source), std::string(missing.description));
        }
        auto result = read(*opened.rows);
        opened.close();
        Mts_SetComplete();
        return result;
      },
      Tail{label, closing_and_aborting(opened)});
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
      Tail{label, closing_and_aborting(connection)});
}

}  // namespace mercato
