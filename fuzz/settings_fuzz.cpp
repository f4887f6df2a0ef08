// SPDX-License-Identifier: Apache-2.0
// Any bytes as a settings file. It is refused with the file, the line and the reason, or it gives settings that can be
// used.
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "platform/store/call_limit.h"
#include "tests/platform/temporary_folder.h"
#include "values/text.h"

namespace {

using namespace mercato;

void require(bool promise) {
  if (!promise) std::abort();
}

void use(const collaborators::Settings& settings) {
  require(settings.call_seconds >= 0);
  const store::CallLimit call_limit(settings.call_seconds);
  if (settings.call_seconds == 0 || settings.call_seconds > 60) store::check_call_limit_now();
  for (const std::string& folder : {settings.web_root, settings.install_dir})
    require(!folder.ends_with('/') && !folder.ends_with('\\'));
  for (const auto& [section, parameters] : settings.parameters)
    for (const auto& [name, parameter] : parameters) require(text::is_valid(parameter.to_text()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  static const std::string path = folder / "mercato.toml";
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  try {
    use(collaborators::read_settings(path));
  } catch (const Raised& refused) {
    require(refused.error().Number == error_number::kInvalidArgument);
    require(refused.error().Description.starts_with(path + ", line "));
    require(text::is_valid(refused.error().Description));
  }
  return 0;
}
