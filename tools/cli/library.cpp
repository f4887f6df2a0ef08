// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/library.h"

#include <filesystem>
#include <utility>

#include "mercato/connection.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/settings.h"
#include "platform/store/call_limit.h"

namespace mercato::cli {

void apply_settings(const StoreOptions& options) {
  constexpr const char* kUsualFile = "mercato.toml";
  collaborators::Settings settings;
  std::error_code unreadable;
  if (!options.config.empty())
    settings = collaborators::read_settings(options.config);
  else if (options.store.empty() && std::filesystem::exists(kUsualFile, unreadable))
    settings = collaborators::read_settings(kUsualFile);
  if (!options.store.empty()) settings.connections["Mercato"] = connection_string_of(options.store);
  collaborators::set_settings(std::move(settings));
  forget_thread_state();  // a line of the shell may name another store than the one before
}

std::string connection_string_of(const std::string& store) {
  return store.find('=') != std::string::npos ? store : "Provider=SQLite;Data Source=" + store;
}

std::string connection_string() { return collaborators::connection_string_of("Mercato"); }

store::CallLimit call_limit() { return store::CallLimit(collaborators::settings()->call_seconds); }

Variant call(const ComponentPtr& object, std::string_view method, std::vector<Variant>& arguments) {
  const store::CallLimit limit = call_limit();
  return invoke(object, method, arguments);
}

Variant call(const ComponentPtr& object, std::string_view method, std::initializer_list<Variant> arguments) {
  std::vector<Variant> values(arguments);
  return call(object, method, values);
}

Variant call_without_vote(std::string_view prog_id, std::string_view method, std::initializer_list<Variant> arguments) {
  const ComponentPtr object = create_root(prog_id);
  Variant result = call(object, method, arguments);
  object->context()->release();
  return result;
}

}  // namespace mercato::cli
