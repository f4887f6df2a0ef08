// SPDX-License-Identifier: Apache-2.0
#include "frame/contracts.h"

#include "mercato/object_context.h"

namespace mercato {

void ComponentContract::create_plainly() {
  if (!component_) component_ = create_plain(prog_id_);
}

namespace bauteil {

DRecordset::DRecordset() : ComponentContract("Bauteil.DRecordset") { create_plainly(); }

void Page::GetSavedPosition(std::string& position, bool& flag) {
  std::vector<Variant> arguments{position, flag};
  call("GetSavedPosition", arguments);
  position = arguments[0].to_text();
  flag = arguments[1].to_boolean();
}

}  // namespace bauteil

}  // namespace mercato
