// SPDX-License-Identifier: Apache-2.0
// Paths as the interface writes them and file keys as callers hand them in. Pure functions. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::files {

// A path of the interface, written with backslashes such as "\XMLDownload\", with the separators of this host.
// Separators that are the host's own already stay as they are.
std::string host_path(std::string_view interface_path);

// Returns when `key` can stand inside a file name. Raises 75 when the name could leave its folder or could not be
// shown: a "/" or "\", a control character or NUL, or a key that is "." or "..". The empty key is fine, and so are dots
// inside a longer key.
void require_plain_file_key(std::string_view key);

}  // namespace mercato::files
