// SPDX-License-Identifier: Apache-2.0
// Grundwerk.Configuration: answers from the settings in force at the time of the call.
#pragma once

#include <string>

#include "mercato/class_table.h"

namespace mercato::collaborators {

class Configuration : public ComponentOf<Configuration> {
 public:
  static const ClassTable& table();

  // Section and name in any case. Empty for a parameter that is not set.
  Variant GetParameter(const std::string& section, const std::string& name);
  // Without a trailing separator.
  std::string GetWebRootFolder();
  // The settings are always ready: these two do nothing.
  void PrepareParameters(bool flag);
  void PrepareConnections(bool flag);
  // The application in any case. Raises 5, source "Grundwerk.Configuration", when it has no connection.
  std::string GetConnectionStringOf(const std::string& application);
  // Without a trailing separator.
  std::string GetInstallDir();
};

}  // namespace mercato::collaborators
