// SPDX-License-Identifier: Apache-2.0
// The check, the backup and the restoring of a store file, by the engine's own means where it has them, and what it is.
// Any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/store/store_description.h"
#include "platform/store/upkeep.h"

namespace mercato::store::sqlite {

class FileUpkeep final : public Upkeep {
 public:
  std::vector<std::string> check(const std::string& connection_string) const override;
  std::vector<std::string> mend_text_indexes(const std::string& connection_string) const override;
  void back_up(const std::string& connection_string, const std::string& file) const override;
  std::string restore(const std::string& connection_string, const std::string& backup, bool keep) const override;
};

StoreDescription describe_file(const std::string& connection_string);

}  // namespace mercato::store::sqlite
