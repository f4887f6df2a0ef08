// SPDX-License-Identifier: Apache-2.0
// Several calls of the library that stand or fall together. The objects have no contexts of their own and work in one
// transaction. Their votes do not count: the user of this class looks at the results, and commits. Main thread.
#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>

#include "mercato/object_context.h"
#include "platform/store/unit_of_work.h"
#include "tools/cli/library.h"

namespace mercato::cli {

class OneTransaction {
 public:
  OneTransaction() { current_.emplace(&unit_); }

  // One method of a new object. Raises what it raises.
  Variant call(std::string_view prog_id, std::string_view method, std::initializer_list<Variant> arguments) {
    return cli::call(create_plain(prog_id), method, arguments);
  }
  // The last call on the object. Without it the store stays as it was. Raises what the store raises.
  void commit() {
    current_.reset();
    unit_.commit();
  }

 private:
  store::UnitOfWork unit_{store::UnitOfWork::Kind::transaction};
  std::optional<store::UnitOfWork::Current> current_;
};

// The work in a transaction of its own, which is kept, or taken back: that tells what the work would do. Nobody is asked
// for consent within one, for others wait for it.
template <class Work>
auto kept(Work work) {
  OneTransaction transaction;
  auto result = work();
  transaction.commit();
  return result;
}
template <class Work>
auto tried(Work work) {
  const OneTransaction never_committed;
  return work();
}

}  // namespace mercato::cli
