// SPDX-License-Identifier: Apache-2.0
// A PostgreSQL store through that server's driver for ODBC. Any thread.
#pragma once

#include <string>

namespace mercato::test {

// The connection string of a store with Provider=PostgreSQL, for the provider ODBC.
std::string through_odbc(const std::string& connection_string);

}  // namespace mercato::test
