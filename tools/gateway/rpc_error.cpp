// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {

Json RpcError::to_json() const {
  Json error = {{"code", code_}, {"message", message_}};
  if (!data_.is_null()) error["data"] = data_;
  return error;
}

void refuse(std::string reason) { throw RpcError(kInvalidParams, std::move(reason)); }

}  // namespace mercato::gateway
