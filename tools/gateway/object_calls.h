// SPDX-License-Identifier: Apache-2.0
// What a client does with objects: it creates them, calls their methods and releases them. The functions of the frame
// and single statements are called in the same way. One for each session; used on the session's thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "mercato/component.h"
#include "mercato/raised_error.h"
#include "mercato/recordset.h"
#include "tools/gateway/json_values.h"
#include "tools/gateway/object_table.h"
#include "tools/gateway/params.h"

namespace mercato::gateway {

class ObjectCalls {
 public:
  // `traces`: results carry the statements.
  ObjectCalls(ObjectTable& objects, bool traces) : objects_(objects), traces_(traces) {}

  // The methods of the session, each with its parameters. They throw RpcError: kInvalidParams, and kCallFailed when the
  // library or the store raises.
  Json create(const Params& params);
  Json call(const Params& params);
  // An object, or a cursor.
  Json release(const Params& params);
  // Creates an object, calls it and releases it.
  Json invoke(const Params& params);
  // With "rows" the result has so many of them at most, and a cursor while there are more.
  Json execute(const Params& params);
  Json fetch(const Params& params);
  Json function(const Params& params);

  // The failure of a request that was cancelled before its turn.
  [[noreturn]] void raise_cancelled();

 private:
  // The results that are read page by page, each with a connection of its own. More of them at a time are refused.
  static constexpr std::size_t kMostCursors = 16;

  // The object with the handle that the parameter "object" names.
  ObjectPtr object_of(const Params& params) const;
  // A value for each argument of the method; an optional one that was left out is missing.
  std::vector<Variant> arguments_of(const MethodInfo& method, const JsonInput& args);
  // `pending` is the current error when the method begins.
  Json call_method(const ComponentPtr& target, const MethodInfo& method, std::vector<Variant> arguments,
                   const RaisedError& pending);
  // Runs what is no object's method. A failure has the form of a failed call.
  template <class Work>
  Json watched(Work work);
  // Adds the member "cursor": null, and the result is dropped, when all rows are fetched.
  void add_cursor(Json& page, std::int64_t cursor);

  ObjectTable& objects_;
  bool traces_;
  std::map<std::int64_t, RecordsetPtr> cursors_;
  std::int64_t last_cursor_ = 0;
};

}  // namespace mercato::gateway
