// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <iostream>

#include "frame/sentence.h"
#include "mercato/connection.h"
#include "mercato/recordset.h"
#include "platform/files/files.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/unit_of_work.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {
namespace {

constexpr std::size_t kMostBytes = std::size_t{256} << 20;

std::string read_input() {
  std::string text;
  std::array<char, 65536> piece;
  do {
    std::cin.read(piece.data(), piece.size());
    text.append(piece.data(), static_cast<std::size_t>(std::cin.gcount()));
    if (text.size() > kMostBytes)
      raise(error_number::kPathFileAccess, {},
            "Cannot read the script: it has more than " + std::to_string(kMostBytes) + " bytes");
  } while (std::cin);
  return text;
}

std::string read_script(const std::string& name) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string text = name == "-" ? read_input() : files::read_file(name, kMostBytes);
  if (text.starts_with(kMark)) text.erase(0, kMark.size());
  return text;
}

void print_rows(Recordset& rows) {
  std::vector<std::string> headings;
  for (std::size_t position = 0; position < rows.FieldCount(); ++position) headings.push_back(rows.FieldName(position));
  Table table(headings);
  for (; !rows.Eof(); rows.MoveNext()) {
    std::vector<std::string> row;
    for (std::size_t position = 0; position < rows.FieldCount(); ++position) {
      const Variant& value = rows.Value(position);
      row.push_back(value.is_null()
                        ? "-"
                        : shown(value.type() == Variant::Type::date ? date_text(value.to_date()) : value.to_text()));
    }
    table.add(std::move(row));
  }
  if (table.empty())
    std::cout << "0 rows\n";
  else
    table.print(std::cout);
}

}  // namespace

int execute(const std::string& script, const OutputOptions& output) {
  const std::string text = read_script(script);
  // All of the script or nothing.
  store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
  std::size_t statements = 0;
  std::int64_t changed = 0;
  gateway::Json results = gateway::Json::array();  // of the queries, in order
  gateway::ObjectTable none;
  {
    const store::UnitOfWork::Current current(&unit);
    const auto connection = Connection::create();
    connection->Open(connection_string(), "", "", -1);
    for (const std::string_view statement : store::dialect::split_script(text)) {
      try {
        const store::CallLimit limit = call_limit();  // for each statement, since a script may be long
        std::int64_t affected = 0;
        const RecordsetPtr rows = connection->ExecuteAffecting(Sql::verbatim(std::string(statement)), affected);
        if (rows->State() == 1) output.json ? results.push_back(gateway::rows_to_json(*rows, none)) : print_rows(*rows);
        changed += affected;
        ++statements;
      } catch (const Raised& raised) {
        const auto line = 1 + std::count(text.data(), statement.data(), '\n');
        RaisedError error = raised.error();
        error.Description = "Statement " + std::to_string(statements + 1) + ", line " + std::to_string(line) + ": " +
                            own_sentence(error) + " Nothing of the script was kept";
        throw Raised(std::move(error));
      }
    }
  }
  unit.commit();
  if (output.json)
    std::cout << gateway::line_of(
                     gateway::Json{{"statements", statements}, {"affected", changed}, {"results", std::move(results)}})
              << '\n';
  else
    std::cout << counted(statements, "statement") << " run, " << counted(static_cast<std::size_t>(changed), "row")
              << " changed.\n";
  return kDone;
}

}  // namespace mercato::cli
