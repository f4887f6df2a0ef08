// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/configuration.h"

#include "mercato/settings.h"

namespace mercato::collaborators {

const ClassTable& Configuration::table() {
  static const ClassTable table =
      ClassTable::of<Configuration>("Grundwerk.Configuration", "{6C0D8A52-41F7-4B0E-9D63-2A7E5B91C0F4}",
                                    TransactionAttribute::undeclared)
          .collaborator()
          .never_waits()
          .method("GetParameter", &Configuration::GetParameter, {"section", "name"})
          .method("GetWebRootFolder", &Configuration::GetWebRootFolder)
          .method("PrepareParameters", &Configuration::PrepareParameters, {"flag"})
          .method("PrepareConnections", &Configuration::PrepareConnections, {"flag"})
          .method("GetConnectionStringOf", &Configuration::GetConnectionStringOf, {"application"})
          .method("GetInstallDir", &Configuration::GetInstallDir);
  return table;
}

Variant Configuration::GetParameter(const std::string& section, const std::string& name) {
  const auto current = settings();
  const auto parameters = current->parameters.find(section);
  if (parameters == current->parameters.end()) return {};
  const auto parameter = parameters->second.find(name);
  return parameter == parameters->second.end() ? Variant() : parameter->second;
}

std::string Configuration::GetWebRootFolder() { return settings()->web_root; }

void Configuration::PrepareParameters(bool) {}
void Configuration::PrepareConnections(bool) {}

std::string Configuration::GetConnectionStringOf(const std::string& application) {
  return connection_string_of(application);
}

std::string Configuration::GetInstallDir() { return settings()->install_dir; }

}  // namespace mercato::collaborators
