#include "frame/contracts.h"

#include "platform/transactions/object_context.h"

namespace mercato::bauteil {

DRecordset::DRecordset() : Contract("Bauteil.DRecordset", create_plain("Bauteil.DRecordset")) {}

void Page::GetSavedPosition(std::string& position, bool& flag) {
  std::vector<Variant> arguments{position, flag};
  call("GetSavedPosition", arguments);
  position = arguments[0].to_text();
  flag = arguments[1].to_boolean();
}

}  // namespace mercato::bauteil
