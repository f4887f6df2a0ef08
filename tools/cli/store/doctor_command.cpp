// SPDX-License-Identifier: Apache-2.0
// mercato doctor: what is wrong in a catalogue, and the command that mends it.
#include <iostream>

#include "keeping/doctor.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace doctor_command {

struct Examination {
  std::int32_t days = keeping::kUsualDays;
  std::string mend;  // TABLE.COLUMN; empty: look only
  bool dry_run = false;
  bool yes = false;
};

int mend(const Examination& given, const OutputOptions& output) {
  const auto act = [&] { return keeping::mend_references(given.mend); };
  const std::size_t rows = given.dry_run || !given.yes ? tried(act) : kept(act);
  const gateway::Json json = {{"mended", rows}, {"dryRun", given.dry_run}};
  const std::string what = counted(rows, "row") + " of " + given.mend;
  if (given.dry_run) return answer(output, json, what + " would be mended. A dry run: nothing was changed.");
  if (rows > 0 && !given.yes) {
    expect_consent(what + " will be mended");
    kept(act);
  }
  return answer(output, json, what + " mended.");
}

int examine(const Examination& given, const OutputOptions& output) {
  if (!given.mend.empty()) return mend(given, output);
  const std::vector<keeping::Finding> findings = keeping::examine(given.days);
  const int status = findings.empty() ? kDone : kDoneInPart;
  gateway::Json json = gateway::Json::array();
  for (const keeping::Finding& finding : findings) {
    json.push_back({{"name", finding.name},
                    {"words", finding.words},
                    {"count", finding.count},
                    {"examples", finding.examples},
                    {"mend", finding.mend}});
    if (output.json) continue;
    std::cout << bad(std::to_string(finding.count)) << "  " << finding.words << '\n';
    for (const std::string& example : finding.examples) std::cout << "     " << shown(example, 200) << '\n';
    if (finding.count > finding.examples.size() && !finding.examples.empty()) std::cout << "     ...\n";
    std::cout << "   > " << finding.mend << '\n';
  }
  if (output.json)
    answer(output, {{"findings", std::move(json)}}, {});
  else if (findings.empty())
    std::cout << good("Nothing to mend.") << '\n';
  return status;
}

}  // namespace doctor_command

void add_doctor_command(Menu& menu) {
  using namespace doctor_command;
  const auto [command, given] = menu.add(
      "doctor", "Look for what is wrong in the store and the catalogue, and say what mends it",
      "  mercato doctor\n"
      "  mercato doctor --days 90 --json\n"
      "  mercato doctor --mend FAVORITES.PRODUCTID --dry-run\n"
      "It looks at the store and its tables, for references that lead nowhere, enabled products in no category, part "
      "numbers\n"
      "of several products, users without rights, rights that were never laid out, and prices that end soon. Exit "
      "status 3\n"
      "when something is found.\n",
      examine);
  command.add_option("--days", given.days, "How soon prices end")
      ->type_name("N")
      ->between(0, 36500)
      ->capture_default_str();
  command
      .add_option("--mend", given.mend,
                  "Take references of a column away where they lead nowhere, with rows that mean nothing without them")
      ->type_name("TABLE.COLUMN");
  command.add_flag("--dry-run", given.dry_run, "With --mend: say how many rows it would be");
  command.add_flag("--yes", given.yes, "With --mend: do not ask");
}

}  // namespace mercato::cli
