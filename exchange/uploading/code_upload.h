// SPDX-License-Identifier: Apache-2.0
// The upload of UNSPSC codes, all in one transaction: each code is a record, applied when its row was written. One
// thread.
#pragma once

#include <string>

#include "exchange/journal/journal.h"
#include "exchange/uploading/upload_report.h"
#include "exchange/uploading/upload_watcher.h"

namespace mercato::exchange {

struct CodeSource {
  std::string document;
  bool is_workbook = false;  // else XML
  bool overwrites = false;   // a code that exists gets the new description
  bool trial = false;        // taken back when it is done
  Journal* journal = nullptr;
  UploadWatcher* watcher = nullptr;
};

// Raises what the library raises, in clearer words when the file cannot be read; nothing was written then.
UploadReport upload_codes(const CodeSource& source);

}  // namespace mercato::exchange
