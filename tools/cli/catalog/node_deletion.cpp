// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/catalog/node_deletion.h"

#include "tools/cli/library.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {

int delete_nodes(const std::function<keeping::DeletedNodes()>& act,
                 const std::function<std::string(const keeping::DeletedNodes&)>& subject, const DeletionWishes& wishes,
                 const OutputOptions& output) {
  const keeping::DeletedNodes deleted = wishes.dry_run || !wishes.yes ? tried(act) : kept(act);
  const std::string what = subject(deleted) + ", " + counted(deleted.rights, "right") + " and " +
                           counted(deleted.ties, "tie") + " of partners";
  const gateway::Json json = {{"deleted", !wishes.dry_run},
                              {"dryRun", wishes.dry_run},
                              {"nodes", deleted.nodes},
                              {"rights", deleted.rights},
                              {"ties", deleted.ties}};
  if (wishes.dry_run) return answer(output, json, what + " would be deleted. A dry run: nothing was changed.");
  if (!wishes.yes) {
    expect_consent(what + " will be deleted");
    kept(act);
  }
  return answer(output, json, what + " deleted; categories and products stay.");
}

}  // namespace mercato::cli
