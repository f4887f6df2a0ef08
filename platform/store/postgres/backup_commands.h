// SPDX-License-Identifier: Apache-2.0
// What backs up a store on a server and brings it back: the server's own programs. A pure function; any thread.
#pragma once

#include <string>

namespace mercato::store::postgres {

// Their command lines for the store of that connection string, in a sentence; the password is no part of them.
std::string backup_commands(const std::string& connection_string);

}  // namespace mercato::store::postgres
