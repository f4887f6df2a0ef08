// SPDX-License-Identifier: Apache-2.0
// The steps of the usual tails, by name: what a method holds is closed, in the order in which it is named; the vote
// comes last.
//
//   Tail{"Mercato.Property.getDataType", closing(opened)}
//   Tail{"Mercato.Property.Delete", closing_and_aborting(checker, connection)}
//   Tail{"Mercato.Unit.GetUnits", Mts_SetAbort}
//
// The variables live in the method and outlive the tail. One thread at a time.
#pragma once

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"

namespace mercato {
namespace detail {

inline void let_go(Opened& opened) { opened.close(); }
inline void let_go(ConnectionPtr& connection) { Sql_CloseConnection(connection); }
inline void let_go(RecordsetPtr& rows) { Sql_CloseRecordset(rows); }
// A collaborating component.
template <class Component>
requires requires(Component& component) { component.release(); }
void let_go(Component& component) { component.release(); }

}  // namespace detail

template <class... Held>
auto closing(Held&... held) {
  return [&held...] { (detail::let_go(held), ...); };
}

template <class... Held>
auto closing_and_aborting(Held&... held) {
  return [&held...] {
    (detail::let_go(held), ...);
    Mts_SetAbort();
  };
}

}  // namespace mercato
