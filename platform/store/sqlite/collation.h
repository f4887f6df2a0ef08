// SPDX-License-Identifier: Apache-2.0
// How texts are compared and sorted: the same are those that text::same says, the others stand in the order of ICU's
// root locale, as people expect. A comparer serves one thread at a time; make one for each connection.
#pragma once

#include <unicode/ucol.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

namespace mercato::store::sqlite {

class TextOrder {
 public:
  // Raises kStoreFailure when ICU has no data for the root locale.
  TextOrder();

  // Negative, zero or positive. A total order of classes of equal texts, also for bytes that are not UTF-8.
  int compare(std::string_view left, std::string_view right) const;

 private:
  struct Close {
    void operator()(UCollator* collator) const { ucol_close(collator); }
  };
  std::unique_ptr<UCollator, Close> collator_;
  const std::array<std::uint8_t, 256>* ranks_;  // of the process: places of ASCII characters, 0 for all others
};

}  // namespace mercato::store::sqlite
