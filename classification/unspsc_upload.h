// SPDX-License-Identifier: Apache-2.0
// What a host asks before an upload of UNSPSC codes (t_unspsc.h). Any thread.
#pragma once

#include <string>

namespace mercato::unspsc {

// Raises what the store raises when UNSPSCCODES cannot be written, say since its file may only be read or another
// writer holds it. No row is changed. The upload itself passes over such failures, code by code.
void require_writable_codes(const std::string& connection_string);

}  // namespace mercato::unspsc
