// SPDX-License-Identifier: Apache-2.0
// One query of a collaborator, on a connection of its own that joins the caller's transaction, if there is one. Reads
// forward only; the connection closes with the object. One thread at a time.
#pragma once

#include "frame/lib_sql.h"

namespace mercato::collaborators {

class Query {
 public:
  // Raises what the lookup of the connection string, the opening and the statement raise.
  explicit Query(const Sql& statement)
      : connection_(open_connection(shared_connection_string())), rows_(connection_->Execute(statement)) {}

  Recordset* operator->() const { return rows_.get(); }

 private:
  ConnectionPtr connection_;
  RecordsetPtr rows_;
};

}  // namespace mercato::collaborators
