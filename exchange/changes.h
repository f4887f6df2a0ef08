// SPDX-License-Identifier: Apache-2.0
// What an upload of a document would change, told record by record, without changing it. One thread.
//
// The upload itself says so: the library's own calls write the records within one transaction, which is rolled back,
// and the rows are read before and after them. So there is no second judgement, and a record sees what those before it
// have done, as it would in the upload. It is one transaction and not one for each part, since a part number may stand
// in several of them. Nobody else can write to an embedded store meanwhile; on a server only those wait who write the
// same rows. Memory holds the document, as it does in an upload, and the rows of one part.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "exchange/judging.h"
#include "exchange/stored_rows.h"
#include "mercato/raised_error.h"
#include "mercato/upload_observer.h"
#include "upload/upload_documents.h"

namespace mercato::exchange {

enum class Change : std::uint8_t { inserted, changed, unchanged, refused };

struct RecordChange {
  Change change = Change::refused;
  std::string part_number;
  std::size_t number = 0;           // of a price line: among those of its part number, from 1
  std::size_t line = 0;             // of the document
  std::vector<FieldChange> fields;  // of a changed one; of a refused one what it leaves behind all the same
  std::vector<UploadField> reasons;
  std::vector<UploadField> dropped;  // written without these
  std::vector<UploadField> cut;
};

struct ChangeCounts {
  std::size_t inserted = 0;
  std::size_t changed = 0;
  std::size_t unchanged = 0;
  std::size_t refused = 0;
  std::size_t read() const { return inserted + changed + unchanged + refused; }
};

struct ChangeOptions {
  std::string document;                        // a file or a URL: a Product or a ProductPrice document
  bool write_on_errors = false;                // of products: as an upload is told so
  bool update_only = false;                    // likewise
  std::optional<JudgingOptions> judging = {};  // of values, before the upload sees them; nothing: it alone judges
  // What the failure of a record means to a person; else its own words are told.
  std::function<UploadField(const RaisedError&, const upload::DocumentKind&)> told_of;
  // Is told how many records there are, before the first one.
  std::function<void(std::size_t)> counted = {};
};

using ChangeTaker = std::function<void(const RecordChange&)>;

// Tells each record once: those of products in their order, price lines by part number. Raises eUnableToLoadXML for a
// document that cannot be loaded or has no record, and what the store raises; everything is rolled back then, too.
ChangeCounts changes_by_upload(const ChangeOptions& options, const ChangeTaker& take);

}  // namespace mercato::exchange
