// SPDX-License-Identifier: Apache-2.0
// A store with the library's tables, for a target that runs statements; it goes away with the process.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/connection.h"
#include "mercato/recordset.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/table_creation.h"
#include "platform/store/session_pool.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::fuzz {

class FuzzStore {
 public:
  FuzzStore() {
    DllRegisterServer();
    collaborators::Settings settings;
    settings.connections["Mercato"] = connection_string_;
    settings.web_root = file("web");
    collaborators::set_settings(settings);
    create_tables(connection_string_);
  }
  ~FuzzStore() { store::close_idle_sessions(); }

  std::string file(const std::string& name) const { return folder_ / name; }

  store::PooledSession session() const { return store::acquire_session(connection_string_); }
  // The number that a query gives: its first row's first value.
  std::int32_t number_of(LiteralPiece query) const {
    const auto session = this->session();
    const auto cursor = session->execute(Sql(query)).cursor;
    std::vector<Variant> row;
    cursor->next();
    cursor->read(row);
    return row.at(0).to_long();
  }

 private:
  test::TemporaryFolder folder_;
  std::string connection_string_ = "Provider=SQLite;Data Source=" + file("fuzz.db");
};

}  // namespace mercato::fuzz
