// SPDX-License-Identifier: Apache-2.0
// The connections of the upload classes: a new one for each thing that is done, and one that is only read from. One
// thread at a time.
#pragma once

#include "frame/lib_sql.h"

namespace mercato::upload {

inline ConnectionPtr GetConnection() { return open_connection(shared_connection_string()); }

// Opened at the first need and kept as long as the object.
class ReadConnection {
 public:
  explicit ReadConnection(Isolation isolation) : isolation_(isolation) {}

  const ConnectionPtr& get() {
    if (!mConnection) {
      // Kept before it is asked for anything: a refused isolation is not asked for again.
      mConnection = GetConnection();
      if (isolation_ == Isolation::read_committed) set_read_committed(*mConnection);
    }
    return mConnection;
  }

 private:
  const Isolation isolation_;
  ConnectionPtr mConnection;
};

}  // namespace mercato::upload
