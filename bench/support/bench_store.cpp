// SPDX-License-Identifier: Apache-2.0
#include "bench/support/bench_store.h"

#include <cstdlib>
#include <stdexcept>

#include "bench/support/product_converter.h"
#include "frame/lib_sql.h"
#include "mercato/connection.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/table_creation.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "mercato-bench-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make the folder " + pattern);
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void create_store(const std::filesystem::path& path) { create_store(connection_string(path)); }

void create_store(const std::string& connection_string) {
  create_tables(connection_string);
  const ConnectionPtr connection = open_connection(connection_string);
  Sql unit;
  unit << "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('" << value(kUnitCode) << "', '"
       << value(kUnitDescription) << "')";
  connection->Execute(unit);
  connection->Close();
  store::close_idle_sessions();
}

std::string connection_string(const std::filesystem::path& store) {
  return "Provider=SQLite;Data Source=" + store.string();
}

void use_store(const std::filesystem::path& store, const std::filesystem::path& web_root) {
  use_store(connection_string(store), web_root);
}

void use_store(const std::string& connection_string, const std::filesystem::path& web_root) {
  if (DllRegisterServer() != kOk) throw std::runtime_error("the classes cannot be registered");
  collaborators::Settings settings;
  settings.connections["Mercato"] = connection_string;
  settings.web_root = web_root.string();
  settings.call_seconds = 0;
  collaborators::set_settings(settings);
  forget_thread_state();
}

}  // namespace mercato::bench
