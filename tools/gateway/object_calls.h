// SPDX-License-Identifier: Apache-2.0
// What a client does with objects: it creates them, calls their methods and releases them. The functions of the frame
// and single statements are called in the same way. One for each session; used on the session's thread.
#pragma once

#include <vector>

#include "mercato/component.h"
#include "mercato/raised_error.h"
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
  Json release(const Params& params);
  Json execute(const Params& params);
  Json function(const Params& params);

 private:
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

  ObjectTable& objects_;
  bool traces_;
};

}  // namespace mercato::gateway
