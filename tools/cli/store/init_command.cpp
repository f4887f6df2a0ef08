// SPDX-License-Identifier: Apache-2.0
#include <iostream>

#include "mercato/table_creation.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

int init(const OutputOptions& output) {
  const CreatedTables created = create_tables(connection_string());
  if (output.json) {
    const gateway::Json json = {{"tables", created.tables},
                                {"indexes", created.indexes},
                                {"existing", created.existing},
                                {"version", created.version},
                                {"versionBefore", created.version_before}};
    std::cout << gateway::line_of(json) << '\n';
    return kDone;
  }
  if (created.version_before < created.version)
    std::cout << good("brought up to date") << ": the tables had version " << created.version_before
              << " and have version " << created.version << "\n";
  for (const std::string& table : created.tables) std::cout << "created table " << table << '\n';
  if (created.tables.empty() && created.indexes.empty())
    std::cout << "Nothing to create: all " << created.existing << " tables and indexes are there.\n";
  else
    std::cout << good(counted(created.tables.size(), "table") + " and " + std::to_string(created.indexes.size()) +
                      " indexes created")
              << (created.existing > 0 ? ", " + std::to_string(created.existing) + " were there already" : "") << ".\n";
  return kDone;
}

}  // namespace mercato::cli
