// SPDX-License-Identifier: Apache-2.0
#include "mercato/settings.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/files/toml_reader.h"

namespace mercato::collaborators {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20;

struct SettingsInForce {
  std::mutex guard;
  std::shared_ptr<const Settings> settings = std::make_shared<const Settings>();
};

SettingsInForce& settings_in_force() {
  static SettingsInForce instance;
  return instance;
}

std::string without_trailing_separators(std::string folder) {
  while (!folder.empty() && (folder.back() == '/' || folder.back() == '\\')) folder.pop_back();
  return folder;
}

class SettingsFile {
 public:
  explicit SettingsFile(const std::string& path) : path_(path) {}

  Settings read() {
    const toml::table document = parse();
    for (const auto& [key, node] : document) {
      if (key == "connections")
        read_connections(table(key, node));
      else if (key == "folders")
        read_folders(table(key, node));
      else if (key == "parameters")
        read_parameters(table(key, node));
      else if (key == "log")
        read_log(table(key, node));
      else if (key == "limits")
        read_limits(table(key, node));
      else
        unknown(key);
    }
    return std::move(settings_);
  }

 private:
  toml::table parse() const {
    std::ifstream file(path_);
    if (!file || std::filesystem::is_directory(path_))
      raise(error_number::kFileNotFound, {}, "The settings file '" + path_ + "' cannot be read");
    // One byte more than is allowed, so that a file without an end is noticed.
    std::string text(kMostBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > kMostBytes)
      raise(error_number::kInvalidArgument, {},
            "The settings file '" + path_ + "' has more than " + std::to_string(kMostBytes) + " bytes");
    try {
      return toml::parse(text, path_);
    } catch (const toml::parse_error& error) {
      refuse(error.source(), std::string(error.description()));
    }
  }

  void read_connections(const toml::table& connections) {
    settings_.connections.clear();
    for (const auto& [key, node] : connections) add(settings_.connections, key, text(key, node));
  }
  void read_folders(const toml::table& folders) {
    for (const auto& [key, node] : folders) {
      if (key == "web_root")
        settings_.web_root = without_trailing_separators(text(key, node));
      else if (key == "install_dir")
        settings_.install_dir = without_trailing_separators(text(key, node));
      else
        unknown(key);
    }
  }
  void read_parameters(const toml::table& sections) {
    for (const auto& [section, node] : sections) {
      ByName<Variant> parameters;
      for (const auto& [key, parameter] : table(section, node)) add(parameters, key, scalar(key, parameter));
      add(settings_.parameters, section, std::move(parameters));
    }
  }
  void read_log(const toml::table& log) {
    for (const auto& [key, node] : log) {
      if (key != "file") unknown(key);
      settings_.log_file = text(key, node);
    }
  }
  void read_limits(const toml::table& limits) {
    for (const auto& [key, node] : limits) {
      if (key != "call_seconds") unknown(key);
      const auto seconds = node.is_number() ? node.value<double>() : std::nullopt;
      if (!seconds || !(*seconds >= 0)) expected(key, "a number of seconds, 0 or more");
      settings_.call_seconds = *seconds;
    }
  }

  const toml::table& table(const toml::key& key, const toml::node& node) const {
    if (!node.is_table()) expected(key, "a table");
    return *node.as_table();
  }
  std::string text(const toml::key& key, const toml::node& node) const {
    if (!node.is_string()) expected(key, "a text");
    return node.as_string()->get();
  }
  Variant scalar(const toml::key& key, const toml::node& node) const {
    if (const auto* text = node.as_string()) return text->get();
    if (const auto* flag = node.as_boolean()) return flag->get();
    if (const auto* whole = node.as_integer()) return Variant::from_integer(whole->get());
    if (const auto* real = node.as_floating_point()) return real->get();
    expected(key, "a text, a number or a Boolean");
  }

  // TOML tells names apart by their case, the callers do not.
  template <class Value>
  void add(ByName<Value>& values, const toml::key& key, Value value) const {
    if (!values.emplace(key.str(), std::move(value)).second)
      refuse(key.source(), "'" + std::string(key.str()) + "' stands twice, but for the case of its letters");
  }

  [[noreturn]] void unknown(const toml::key& key) const {
    refuse(key.source(), "unknown key '" + std::string(key.str()) + "'");
  }
  [[noreturn]] void expected(const toml::key& key, const std::string& what) const {
    refuse(key.source(), "'" + std::string(key.str()) + "' has to be " + what);
  }
  [[noreturn]] void refuse(const toml::source_region& where, const std::string& what) const {
    raise(error_number::kInvalidArgument, {}, path_ + ", line " + std::to_string(where.begin.line) + ": " + what);
  }

  const std::string& path_;
  Settings settings_;
};

// The shared library, or the program that has this code in it: of a program the loader knows only how it was called.
std::string own_file() {
  Dl_info unused = {};
  link_map* loaded = nullptr;
  const bool known = ::dladdr1(reinterpret_cast<const void*>(&own_file), &unused, reinterpret_cast<void**>(&loaded),
                               RTLD_DL_LINKMAP) != 0;
  return known && loaded && *loaded->l_name != '\0' ? loaded->l_name : "/proc/self/exe";
}

// Beside the folder of libraries or programs, or beside the folder above it where libraries are kept by architecture.
std::string find_install_dir() {
  namespace fs = std::filesystem;
  std::error_code unreadable;
  fs::path folder = fs::canonical(own_file(), unreadable).parent_path();
  if (unreadable) return "/usr/share/mercato";
  for (int level = 0; level < 2; ++level) {
    folder = folder.parent_path();
    if (const fs::path found = folder / "share" / "mercato"; fs::is_directory(found, unreadable)) return found.string();
  }
  return "/usr/share/mercato";
}

}  // namespace

const std::string& default_install_dir() {
  static const std::string folder = find_install_dir();
  return folder;
}

std::shared_ptr<const Settings> settings() {
  const std::lock_guard lock(settings_in_force().guard);
  return settings_in_force().settings;
}

void set_settings(Settings settings) { restore_settings(std::make_shared<const Settings>(std::move(settings))); }

void restore_settings(std::shared_ptr<const Settings> settings) {
  const std::lock_guard lock(settings_in_force().guard);
  settings_in_force().settings.swap(settings);
}

std::string connection_string_of(std::string_view application) {
  const auto current = settings();
  const auto found = current->connections.find(application);
  if (found == current->connections.end())
    raise(error_number::kInvalidArgument, "Grundwerk.Configuration",
          "No connection is configured for the application '" + std::string(application) + "'");
  return found->second;
}

Settings read_settings(const std::string& path) { return SettingsFile(path).read(); }

}  // namespace mercato::collaborators
