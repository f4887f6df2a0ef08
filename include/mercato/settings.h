// SPDX-License-Identifier: Apache-2.0
// What a deployment sets. Held once for the process, read by the default collaborators and by hosts, from any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "mercato/by_name.h"
#include "mercato/export.h"
#include "mercato/variant.h"

namespace mercato::collaborators {

/// The folder share/mercato that belongs to this library, installed or in its build tree; "/usr/share/mercato" when
/// there is none.
MERCATO_API const std::string& default_install_dir();

/// What a deployment sets; hosts fill it in, or read it from a file.
struct Settings {
  ByName<std::string> connections{{"Mercato", "Provider=SQLite;Data Source=mercato.db"}};  ///< by application
  /// Folders, without a trailing separator. A relative one counts from the working directory, as the path of a store
  /// does.
  std::string web_root = "web";
  std::string install_dir = default_install_dir();  ///< schemas of documents are in its folder xmlschemas
  ByName<ByName<Variant>> parameters;               ///< section, name
  std::string log_file;                             ///< empty: log entries are dropped
  double call_seconds = 300;                        ///< 0: calls may run without a limit
};

/// The settings in force. They never change; `set_settings` puts others in their place.
MERCATO_API std::shared_ptr<const Settings> settings();
/// Puts other settings in force, for the whole process. What a thread has looked up before stays with it until
/// `forget_thread_state`.
MERCATO_API void set_settings(Settings settings);
/// Puts settings back that were in force before; never null.
MERCATO_API void restore_settings(std::shared_ptr<const Settings> settings);

/// The connection string in force of an application. Raises 5 when it has none.
MERCATO_API std::string connection_string_of(std::string_view application);

/// Reads a TOML file:
///
///   [connections]                 application to connection string; replaces the default one
///   Mercato = "Provider=SQLite;Data Source=mercato.db"
///   [folders]
///   web_root = "web"
///   install_dir = "/usr/share/mercato"
///   [parameters.COMMONPARAMETERS] section and name are found in any case
///   UNSPSCIMPLEMENTED = "Yes"     a text, a number or a Boolean
///   [log]
///   file = "mercato.log"
///   [limits]
///   call_seconds = 300
///
/// What the file leaves out keeps its default. Raises 53 when the file cannot be read; 5, with the file, the line and
/// what is wrong there, for a text that is no TOML, an unknown key, a value of another type, a name that stands twice,
/// and for a file of more than 1 MB.
MERCATO_API Settings read_settings(const std::string& path);

}  // namespace mercato::collaborators
