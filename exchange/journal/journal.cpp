// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/journal.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "frame/util.h"
#include "mercato/raised_error.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kKeysInPart = 500;
// Of one table, in one row of the journal.
constexpr std::size_t kRowsTogether = 500;
constexpr std::size_t kBytesTogether = 500'000;
constexpr std::int32_t kReadAtOnce = 8;

// The tables whose rows are what people call the records of an upload.
bool stands_for_record(Reach::Kind kind, std::string_view table) {
  switch (kind) {
    case Reach::Kind::products:
      return table == "PRODUCT";
    case Reach::Kind::prices:
      return table == "CATALOGPRODUCTPRICE";
    case Reach::Kind::codes:
      return table == "UNSPSCCODES";
    case Reach::Kind::catalog:
      return table == "CATALOG";
    case Reach::Kind::groups:
      return table == "CATALOGNODE";
  }
  return false;
}

std::int32_t number_of(store::Session& session, const Sql& sql) {
  const store::Execution query = session.execute(sql);
  std::vector<Variant> row;
  if (!query.cursor->next()) return 0;
  query.cursor->read(row);
  return row[0].is_null() ? 0 : row[0].to_long();
}

store::TableInfo table_of(store::Session& session, std::string_view name) {
  if (const store::TableInfo* info = session.table(name)) return *info;
  raise(error_number::kStatementRefused, {}, "Invalid object name '" + std::string(name) + "'");
}

// As the store compares them: each row is of one part only.
std::vector<std::string> distinct(std::span<const std::string> keys) {
  std::vector<std::string> all;
  std::unordered_set<std::string> seen;
  for (const std::string& key : keys)
    if (seen.insert(text::folded(text::without_trailing_blanks(key))).second) all.push_back(key);
  return all;
}

// A line for each row: table, key, record, image. The last three are JSON, which has no tabs and line breaks of its own.
std::string text_of(const std::vector<ReachedRow>& rows) {
  std::string text;
  for (const ReachedRow& reached : rows) {
    text.append(reached.row.table->name).append("\t").append(reached.row.key).append("\t");
    append_json_text(text, reached.record);
    text.append("\t").append(reached.row.image).append("\n");
  }
  return text;
}
std::vector<ReachedRow> rows_in(std::string_view text) {
  std::vector<ReachedRow> rows;
  for (const std::string& line : text::split(text, "\n")) {
    if (line.empty()) continue;
    const std::vector<std::string> parts = text::split(line, "\t");
    ReachedRow& reached = rows.emplace_back();
    reached.row.table = &journaled_table(parts[0]);
    reached.row.key = parts[1];
    reached.record = text_of_json(parts[2]);
    reached.row.image = parts[3];
  }
  return rows;
}

// Which row it is, among those of all tables.
using RowName = std::pair<const JournaledTable*, std::string_view>;
struct HashOfRowName {
  std::size_t operator()(const RowName& name) const {
    return std::hash<const void*>()(name.first) ^ std::hash<std::string_view>()(name.second);
  }
};
RowName name_of(const ReachedRow& reached) { return {reached.row.table, reached.row.key}; }

// What a part has changed, and how many of its records.
struct Changes {
  std::vector<JournaledRow> rows;
  ChangedRecords records;
};

Changes changes_between(Reach::Kind kind, std::vector<ReachedRow> before, std::vector<ReachedRow> after) {
  std::unordered_map<RowName, ReachedRow*, HashOfRowName> former;
  former.reserve(before.size());
  for (ReachedRow& reached : before) former.emplace(name_of(reached), &reached);
  Changes changes;
  std::unordered_set<std::string> inserted;
  std::unordered_set<std::string> updated;
  const auto count = [&](std::string_view table, const std::string& record, bool is_new) {
    if (kind == Reach::Kind::products)
      (is_new && table == "PRODUCT" ? inserted : updated).insert(record);
    else if (stands_for_record(kind, table))
      ++(is_new ? changes.records.inserted : changes.records.updated);
  };
  for (ReachedRow& reached : after) {
    const std::string_view table = reached.row.table->name;
    std::string old;
    if (const auto known = former.find(name_of(reached)); known != former.end()) {
      old = std::move(known->second->row.image);
      known->second->row.image.clear();
      if (are_same(old, reached.row.image)) continue;
    }
    if (table != "PROPERTY") count(table, reached.record, old.empty());
    changes.rows.push_back(
        {0, std::string(table), std::move(reached.record), std::move(old), std::move(reached.row.image)});
  }
  for (ReachedRow& gone : before) {
    if (gone.row.image.empty()) continue;
    const std::string_view table = gone.row.table->name;
    count(table, gone.record, false);
    changes.rows.push_back({0, std::string(table), std::move(gone.record), std::move(gone.row.image), {}});
  }
  for (const std::string& record : inserted) updated.erase(record);
  changes.records.inserted += static_cast<std::int32_t>(inserted.size());
  changes.records.updated += static_cast<std::int32_t>(updated.size());
  return changes;
}

// Rows of one table stand together, a line for each: record, image from before, image from behind; of a row that was
// changed only in what it differs. SEQUENCE is the number of the last one. In journals of older releases each row stands
// by itself, with its record and its images in columns.
void append_text(std::string& text, const JournaledRow& row) {
  append_json_text(text, row.record);
  text.append("\t").append(row.before).append("\t");
  const bool is_changed = !row.before.empty() && !row.after.empty();
  text.append(is_changed ? differences(row.before, row.after) : row.after).append("\n");
}
void append_rows(std::vector<JournaledRow>& rows, const std::vector<Variant>& kept) {
  const std::int32_t sequence = kept[0].to_long();
  const std::string table = kept[1].text_or_empty(), before = kept[3].text_or_empty(), after = kept[4].text_or_empty();
  if (!after.starts_with('"')) {
    rows.push_back({sequence, table, kept[2].text_or_empty(), before, after});
    return;
  }
  const std::size_t first = rows.size();
  for (const std::string& line : text::split(after, "\n")) {
    if (line.empty()) continue;
    std::vector<std::string> parts = text::split(line, "\t");
    if (!parts[1].empty() && !parts[2].empty()) parts[2] = with_differences(parts[1], parts[2]);
    rows.push_back({0, table, text_of_json(parts[0]), std::move(parts[1]), std::move(parts[2])});
  }
  std::int32_t number = sequence - static_cast<std::int32_t>(rows.size() - first);
  for (JournaledRow& row : std::span(rows).subspan(first)) row.sequence = ++number;
}
// Those that stand in the rows of the journal with this condition.
std::vector<JournaledRow> read_rows(store::Session& session, std::int32_t upload, std::int32_t most, const Sql& rest) {
  Sql sql("SELECT ");
  if (most > 0) sql << "TOP " << most << " ";
  sql << "SEQUENCE, TABLENAME, RECORD, BEFOREIMAGE, AFTERIMAGE FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = " << upload
      << rest;
  std::vector<JournaledRow> rows;
  const store::Execution query = session.execute(sql);
  std::vector<Variant> kept;
  while (query.cursor->next()) {
    query.cursor->read(kept);
    append_rows(rows, kept);
  }
  return rows;
}

// A property that several parts give values of is one of them only.
void drop_known_properties(store::Session& session, std::int32_t upload, std::vector<JournaledRow>& rows) {
  if (std::ranges::none_of(rows, [](const JournaledRow& row) { return row.table == "PROPERTY"; })) return;
  std::set<std::string> known;
  for (JournaledRow& row : read_rows(session, upload, 0, Sql(" AND TABLENAME = 'PROPERTY'")))
    if (row.before.empty()) known.insert(std::move(row.after));
  std::erase_if(rows, [&](const JournaledRow& one) { return one.table == "PROPERTY" && known.contains(one.after); });
}

ChangedRecords settle(store::Session& session, std::int32_t upload, Part part) {
  Changes changes = changes_between(part.reach.kind, std::move(part.rows_before), rows_within(session, part.reach));
  drop_known_properties(session, upload, changes.rows);
  keep_rows(session, upload, changes.rows);
  session.execute(Sql("DELETE FROM MERCATO_UPLOAD_PART WHERE UPLOADID = ") << upload << " AND PART = " << part.number);
  session.execute(Sql("UPDATE MERCATO_UPLOAD SET INSERTED = INSERTED + ")
                  << changes.records.inserted << ", UPDATED = UPDATED + " << changes.records.updated
                  << " WHERE UPLOADID = " << upload);
  renew_upload(session, upload);
  return changes.records;
}

// As the store has it.
Part stored_part(store::Session& session, std::int32_t upload, std::int32_t number) {
  const store::Execution query = session.execute(Sql("SELECT REACH, IMAGES FROM MERCATO_UPLOAD_PART WHERE UPLOADID = ")
                                                 << upload << " AND PART = " << number);
  std::vector<Variant> row;
  query.cursor->next();
  query.cursor->read(row);
  return {number, reach_of(row[0].text_or_empty()), rows_in(row[1].text_or_empty())};
}

// The transaction at hand, or else one of its own.
class JoinedTransaction {
 public:
  explicit JoinedTransaction(const std::string& connection_string) {
    store::UnitOfWork* unit = store::UnitOfWork::current();
    if (unit != nullptr && unit->kind() == store::UnitOfWork::Kind::transaction) {
      session_ = &unit->session(connection_string);
      return;
    }
    own_ = store::acquire_session(connection_string);
    own_->start_transaction();
    session_ = own_.get();
  }
  store::Session& session() const { return *session_; }
  void commit() {
    if (own_) own_->commit();
  }

 private:
  store::PooledSession own_;
  store::Session* session_ = nullptr;
};

}  // namespace

Journal::Journal(std::string connection_string, const NewUpload& upload)
    : connection_string_(std::move(connection_string)), is_own_(true) {
  const store::PooledSession session = store::acquire_session(connection_string_);
  earlier_ = uploads_of_file(*session.get(), upload.hash);
  id_ = begin_upload(*session.get(), upload);
}

Journal::Journal(std::string connection_string, std::int32_t upload)
    : connection_string_(std::move(connection_string)), id_(upload) {}

Journal::~Journal() {
  if (!is_own_) return;
  try {
    const store::PooledSession session = store::acquire_session(connection_string_);
    Upload upload;
    upload.id = id_;
    upload.cut_short = true;
    settle_if_cut_short(*session.get(), upload);
  } catch (const Raised&) {
    // The next one that asks finds that this process is gone.
  }
}

void Journal::before(Reach::Kind kind, std::span<const std::string> keys) {
  JoinedTransaction joined(connection_string_);
  store::Session& session = joined.session();
  add(settle_parts(session, id_, std::exchange(parts_, {})));
  const store::TableInfo table = table_of(session, "MERCATO_UPLOAD_PART");
  const std::int32_t properties = kind == Reach::Kind::products ? largest_property(session) : 0;
  const std::vector<std::string> all = distinct(keys);
  std::size_t begin = 0;
  do {
    const auto some = std::span(all).subspan(begin, std::min(kKeysInPart, all.size() - begin));
    Part& part = parts_.emplace_back();
    part.number = next_part_++;
    part.reach = {kind, {some.begin(), some.end()}, properties};
    part.rows_before = rows_within(session, part.reach);
    std::vector<Variant> row;
    row.emplace_back(id_);
    row.emplace_back(part.number);
    row.emplace_back(exchange::text_of(part.reach));
    row.emplace_back(text_of(part.rows_before));
    session.copy_rows(table, std::span(&row, 1));
    begin += kKeysInPart;
  } while (begin < all.size());
  renew_upload(session, id_);
  joined.commit();
}

void Journal::after() {
  JoinedTransaction joined(connection_string_);
  const ChangedRecords changed = settle_parts(joined.session(), id_, std::exchange(parts_, {}));
  joined.commit();
  add(changed);
}

void Journal::add(const ChangedRecords& changed) {
  inserted_ += changed.inserted;
  updated_ += changed.updated;
}

void Journal::inserted(const Reach& reach) {
  store::Session& session = store::UnitOfWork::current()->session(connection_string_);
  Changes changes = changes_between(reach.kind, {}, rows_within(session, reach));
  keep_rows(session, id_, changes.rows);
  inserted_ += changes.records.inserted;
}

void Journal::end(const UploadResult& outcome, std::span<const KeptFinding> findings) {
  after();
  const store::PooledSession session = store::acquire_session(connection_string_);
  session->start_transaction();
  end_upload(*session.get(), id_, outcome, findings);
  session->commit();
  is_own_ = false;
}

std::vector<JournaledRow> journaled_rows(store::Session& session, std::int32_t upload, std::int32_t beyond,
                                         std::int32_t most) {
  std::vector<JournaledRow> rows;
  while (rows.size() < static_cast<std::size_t>(most)) {
    std::vector<JournaledRow> more =
        read_rows(session, upload, kReadAtOnce, Sql(" AND SEQUENCE > ") << beyond << " ORDER BY SEQUENCE");
    if (more.empty()) break;
    std::erase_if(more, [&](const JournaledRow& row) { return row.sequence <= beyond; });
    beyond = more.back().sequence;
    std::ranges::move(more, std::back_inserter(rows));
  }
  rows.resize(std::min(rows.size(), static_cast<std::size_t>(most)));
  return rows;
}

std::vector<JournaledRow> journaled_rows_backwards(store::Session& session, std::int32_t upload, std::int32_t below) {
  std::vector<JournaledRow> rows;
  while (rows.size() < kRowsTogether) {
    std::vector<JournaledRow> more =
        read_rows(session, upload, kReadAtOnce, Sql(" AND SEQUENCE < ") << below << " ORDER BY SEQUENCE DESC");
    if (more.empty()) break;
    std::ranges::sort(more, std::greater(), &JournaledRow::sequence);
    below = more.back().sequence;
    std::ranges::move(more, std::back_inserter(rows));
  }
  return rows;
}

void keep_rows(store::Session& session, std::int32_t upload, std::span<const JournaledRow> rows) {
  if (rows.empty()) return;
  const store::TableInfo table = table_of(session, "MERCATO_UPLOAD_ROW");
  std::int32_t sequence =
      number_of(session, Sql("SELECT MAX(SEQUENCE) FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = ") << upload);
  std::vector<std::vector<Variant>> together;
  for (std::size_t next = 0; next < rows.size();) {
    const std::size_t first = next;
    std::string text;
    do append_text(text, rows[next++]);
    while (next < rows.size() && rows[next].table == rows[first].table && next - first < kRowsTogether &&
           text.size() < kBytesTogether);
    sequence += static_cast<std::int32_t>(next - first);
    std::vector<Variant>& row = together.emplace_back();
    row = {upload, sequence, rows[first].table, kNull, kNull, kNull};
    row.back() = std::move(text);
  }
  session.copy_rows(table, together);
}

ChangedRecords settle_parts(store::Session& session, std::int32_t upload, std::vector<Part> known) {
  ChangedRecords all;
  while (const std::int32_t number =
             number_of(session, Sql("SELECT MIN(PART) FROM MERCATO_UPLOAD_PART WHERE UPLOADID = ") << upload)) {
    const auto part = std::ranges::find(known, number, &Part::number);
    const ChangedRecords changed =
        settle(session, upload, part != known.end() ? std::move(*part) : stored_part(session, upload, number));
    all.inserted += changed.inserted;
    all.updated += changed.updated;
  }
  return all;
}

void settle_if_cut_short(store::Session& session, const Upload& upload) {
  if (!upload.cut_short) return;
  session.start_transaction();
  settle_parts(session, upload.id);
  if (upload.options.starts_with(kOfHost)) return session.commit();
  // What the document had is not known any more; what was changed is.
  UploadCounts counts = upload_of(session, upload.id).counts;
  counts.read = counts.inserted + counts.updated;
  end_upload(session, upload.id, {counts, "The process that uploaded it ended before its time."}, {});
  session.commit();
}

std::map<std::string, std::int32_t> changed_rows_of_records(store::Session& session, std::int32_t upload,
                                                            std::string_view table) {
  std::map<std::string, std::int32_t> counts;
  for (std::int32_t beyond = 0;;) {
    const std::vector<JournaledRow> rows = journaled_rows(session, upload, beyond, kRowsTogether);
    if (rows.empty()) return counts;
    beyond = rows.back().sequence;
    for (const JournaledRow& row : rows)
      if (table.empty() || row.table == table) ++counts[row.record];
  }
}

}  // namespace mercato::exchange
