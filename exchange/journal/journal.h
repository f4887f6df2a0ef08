// SPDX-License-Identifier: Apache-2.0
// Keeps what an upload changes. Before a part is uploaded the rows that it can touch are kept as they are; behind it they
// are read again, and those that have changed are kept with both their images. What a process that was killed has left is
// told apart by the next one that asks: its images from before are in the store, and what became of the rows is, too.
// What others write to the same rows within a part counts as the upload's. One object for one upload; one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/journal/reach.h"
#include "exchange/journal/upload_records.h"

namespace mercato::exchange {

struct ChangedRecords {
  std::int32_t inserted = 0;
  std::int32_t updated = 0;
};

// Which rows a part of an upload can touch, and how they were before it.
struct Part {
  std::int32_t number = 0;  // from 1
  Reach reach;
  std::vector<ReachedRow> rows_before;
};

class Journal {
 public:
  // The upload runs from now on. Raises what the store raises.
  Journal(std::string connection_string, const NewUpload& upload);
  // Of an upload that runs already; whoever began it ends it.
  Journal(std::string connection_string, std::int32_t upload);
  // One that it began and that was not ended has failed.
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  std::int32_t id() const { return id_; }
  // Uploads of the same file before this one, newest first.
  const std::vector<Upload>& earlier() const { return earlier_; }

  // These work in the transaction at hand, if there is one: what it takes back, the journal never had.

  // What can be touched next. The part before is told apart first.
  void before(Reach::Kind kind, std::span<const std::string> keys);
  // Nothing more is written of it.
  void after();
  // Rows that the transaction at hand has inserted: they are kept with it, or not at all.
  void inserted(const Reach& reach);

  // Of the rows that stand for records, so far, also of what was taken back: products, price lines, codes, catalogues.
  std::int32_t rows_inserted() const { return inserted_; }
  std::int32_t rows_updated() const { return updated_; }
  std::size_t records_changed() const {
    return static_cast<std::size_t>(inserted_) + static_cast<std::size_t>(updated_);
  }

  void end(const UploadResult& outcome, std::span<const KeptFinding> findings);

 private:
  void add(const ChangedRecords& changed);

  const std::string connection_string_;
  std::int32_t id_ = 0;
  bool is_own_ = false;  // it is to be ended
  std::vector<Upload> earlier_;
  std::int32_t next_part_ = 1;
  std::vector<Part> parts_;  // as the store has them, unless a transaction took them back
  std::int32_t inserted_ = 0;
  std::int32_t updated_ = 0;
};

// A row that an upload has changed. Without `before` it was inserted, without `after` deleted.
struct JournaledRow {
  std::int32_t sequence = 0;
  std::string table;
  std::string record;
  std::string before;
  std::string after;
};
// Those with numbers beyond `beyond`, at most so many, in their order.
std::vector<JournaledRow> journaled_rows(store::Session& session, std::int32_t upload, std::int32_t beyond,
                                         std::int32_t most);
// Backwards, some of those with numbers below one that this has answered before; none when there are none.
std::vector<JournaledRow> journaled_rows_backwards(store::Session& session, std::int32_t upload, std::int32_t below);
void keep_rows(store::Session& session, std::int32_t upload, std::span<const JournaledRow> rows);

// Tells the rows of all parts apart that the upload has left, in the transaction of the caller. Those that are not `known`
// are read.
ChangedRecords settle_parts(store::Session& session, std::int32_t upload, std::vector<Part> known = {});
// The same for an upload whose process is gone, which has failed then; one of a host is left to be ended by a host.
void settle_if_cut_short(store::Session& session, const Upload& upload);

// How many rows the upload has changed of each record that people know, in this table; in any when none is named.
std::map<std::string, std::int32_t> changed_rows_of_records(store::Session& session, std::int32_t upload,
                                                            std::string_view table);

}  // namespace mercato::exchange
