// SPDX-License-Identifier: Apache-2.0
// The bytes of a document from outside as UTF-8. Private to this folder. Any thread.
#pragma once

#include <cstddef>
#include <string>

namespace mercato::xml {

// Converts in place, by the byte order mark, which it drops, or else by the declared encoding, which may be any that
// ICU knows. Returns the reason why it could not be done, empty when it was. `bytes` is not checked for being UTF-8
// when it claims to be.
std::string to_utf8(std::string& bytes, std::size_t max_bytes);

}  // namespace mercato::xml
