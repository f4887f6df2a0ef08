// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/journal.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <unordered_map>

#include "frame/util.h"
#include "mercato/raised_error.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kKeysInPart = 500;
constexpr std::size_t kRowsInBatch = 500;

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

// A line for each row: table, key, record, image. The last three are JSON, which has no tabs and line breaks of its own.
std::string text_of(const std::vector<ReachedRow>& rows) {
  std::string text;
  for (const ReachedRow& reached : rows)
    text.append(reached.row.table->name)
        .append("\t")
        .append(reached.row.key)
        .append("\t")
        .append(Json(reached.record).dump(-1, ' ', false, Json::error_handler_t::replace))
        .append("\t")
        .append(reached.row.image)
        .append("\n");
  return text;
}

std::string row_name(std::string_view table, std::string_view key) {
  return std::string(table).append(" ").append(key);
}

// What a part has changed, and how many of its records.
struct Changes {
  std::vector<JournaledRow> rows;
  ChangedRecords records;
};

Changes changes_between(const Reach& reach, std::string_view images_before, std::vector<ReachedRow> after) {
  struct Before {
    std::string table, record, image;
  };
  std::unordered_map<std::string, Before> before;
  for (const std::string& line : text::split(images_before, "\n")) {
    if (line.empty()) continue;
    const std::vector<std::string> parts = text::split(line, "\t");
    before.emplace(row_name(parts[0], parts[1]), Before{parts[0], Json::parse(parts[2]).get<std::string>(), parts[3]});
  }
  Changes changes;
  std::set<std::string> inserted;
  std::set<std::string> updated;
  const auto count = [&](std::string_view table, const std::string& record, bool is_new) {
    if (reach.kind == Reach::Kind::products)
      (is_new && table == "PRODUCT" ? inserted : updated).insert(record);
    else if (stands_for_record(reach.kind, table))
      ++(is_new ? changes.records.inserted : changes.records.updated);
  };
  for (ReachedRow& reached : after) {
    const std::string_view table = reached.row.table->name;
    const auto known = before.find(row_name(table, reached.row.key));
    const bool is_new = known == before.end();
    std::string old = is_new ? std::string() : std::move(known->second.image);
    if (!is_new) before.erase(known);
    if (!is_new && are_same(old, reached.row.image)) continue;
    if (table != "PROPERTY") count(table, reached.record, is_new);
    changes.rows.push_back(
        {0, std::string(table), std::move(reached.record), std::move(old), std::move(reached.row.image)});
  }
  for (auto& [name, gone] : before) {
    count(gone.table, gone.record, false);
    changes.rows.push_back({0, std::move(gone.table), std::move(gone.record), std::move(gone.image), {}});
  }
  for (const std::string& record : inserted) updated.erase(record);
  changes.records.inserted += static_cast<std::int32_t>(inserted.size());
  changes.records.updated += static_cast<std::int32_t>(updated.size());
  return changes;
}

// A property that several parts give values of is one of them only.
void drop_known_properties(store::Session& session, std::int32_t upload, std::vector<JournaledRow>& rows) {
  if (std::ranges::none_of(rows, [](const JournaledRow& row) { return row.table == "PROPERTY"; })) return;
  std::set<std::string> known;
  const store::Execution query = session.execute(Sql("SELECT AFTERIMAGE FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = ")
                                                 << upload << " AND TABLENAME = 'PROPERTY' AND BEFOREIMAGE IS NULL");
  std::vector<Variant> row;
  while (query.cursor->next()) {
    query.cursor->read(row);
    known.insert(row[0].text_or_empty());
  }
  std::erase_if(rows, [&](const JournaledRow& one) { return one.table == "PROPERTY" && known.contains(one.after); });
}

ChangedRecords settle(store::Session& session, std::int32_t upload, std::int32_t part, std::string_view reach_text,
                      std::string_view images) {
  const Reach reach = reach_of(reach_text);
  Changes changes = changes_between(reach, images, rows_within(session, reach));
  drop_known_properties(session, upload, changes.rows);
  keep_rows(session, upload, changes.rows);
  session.execute(Sql("DELETE FROM MERCATO_UPLOAD_PART WHERE UPLOADID = ") << upload << " AND PART = " << part);
  session.execute(Sql("UPDATE MERCATO_UPLOAD SET INSERTED = INSERTED + ")
                  << changes.records.inserted << ", UPDATED = UPDATED + " << changes.records.updated
                  << " WHERE UPLOADID = " << upload);
  renew_upload(session, upload);
  return changes.records;
}

std::vector<JournaledRow> read_rows(store::Session& session, const Sql& sql) {
  std::vector<JournaledRow> rows;
  const store::Execution query = session.execute(sql);
  std::vector<Variant> row;
  while (query.cursor->next()) {
    query.cursor->read(row);
    rows.push_back({row[0].to_long(), row[1].text_or_empty(), row[2].text_or_empty(), row[3].text_or_empty(),
                    row[4].text_or_empty()});
  }
  return rows;
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

Sql first_rows(std::int32_t most) {
  return Sql("SELECT TOP ") << most
                            << " SEQUENCE, TABLENAME, RECORD, BEFOREIMAGE, AFTERIMAGE FROM MERCATO_UPLOAD_ROW "
                               "WHERE UPLOADID = ";
}

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
  add(settle_parts(session, id_));
  const store::TableInfo parts = table_of(session, "MERCATO_UPLOAD_PART");
  const std::int32_t properties = kind == Reach::Kind::products ? largest_property(session) : 0;
  std::size_t begin = 0;
  do {
    const auto some = keys.subspan(begin, std::min(kKeysInPart, keys.size() - begin));
    const Reach reach{kind, {some.begin(), some.end()}, properties};
    const std::vector<Variant> part = {id_, next_part_++, exchange::text_of(reach),
                                       text_of(rows_within(session, reach))};
    session.copy_rows(parts, std::span(&part, 1));
    begin += kKeysInPart;
  } while (begin < keys.size());
  renew_upload(session, id_);
  joined.commit();
}

void Journal::after() {
  JoinedTransaction joined(connection_string_);
  const ChangedRecords changed = settle_parts(joined.session(), id_);
  joined.commit();
  add(changed);
}

void Journal::add(const ChangedRecords& changed) {
  inserted_ += changed.inserted;
  updated_ += changed.updated;
}

void Journal::inserted(const Reach& reach) {
  store::Session& session = store::UnitOfWork::current()->session(connection_string_);
  Changes changes = changes_between(reach, {}, rows_within(session, reach));
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
  return read_rows(session, first_rows(most) << upload << " AND SEQUENCE > " << beyond << " ORDER BY SEQUENCE");
}

std::vector<JournaledRow> journaled_rows_backwards(store::Session& session, std::int32_t upload, std::int32_t below,
                                                   std::int32_t most) {
  return read_rows(session, first_rows(most) << upload << " AND SEQUENCE < " << below << " ORDER BY SEQUENCE DESC");
}

void keep_rows(store::Session& session, std::int32_t upload, std::span<const JournaledRow> rows) {
  if (rows.empty()) return;
  const store::TableInfo table = table_of(session, "MERCATO_UPLOAD_ROW");
  std::int32_t sequence =
      number_of(session, Sql("SELECT MAX(SEQUENCE) FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = ") << upload);
  const auto image = [](const std::string& text) { return text.empty() ? Variant(kNull) : Variant(text); };
  std::vector<std::vector<Variant>> batch;
  for (const JournaledRow& row : rows) {
    batch.push_back({upload, ++sequence, row.table, row.record, image(row.before), image(row.after)});
    if (batch.size() < kRowsInBatch && &row != &rows.back()) continue;
    session.copy_rows(table, batch);
    batch.clear();
  }
}

ChangedRecords settle_parts(store::Session& session, std::int32_t upload) {
  ChangedRecords all;
  for (;;) {
    std::vector<Variant> part;
    {
      const store::Execution query =
          session.execute(Sql("SELECT TOP 1 PART, REACH, IMAGES FROM MERCATO_UPLOAD_PART WHERE UPLOADID = ")
                          << upload << " ORDER BY PART");
      if (!query.cursor->next()) return all;
      query.cursor->read(part);
    }
    const ChangedRecords changed =
        settle(session, upload, part[0].to_long(), part[1].text_or_empty(), part[2].text_or_empty());
    all.inserted += changed.inserted;
    all.updated += changed.updated;
  }
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
  Sql sql = Sql("SELECT RECORD, COUNT(*) FROM MERCATO_UPLOAD_ROW WHERE UPLOADID = ") << upload;
  if (!table.empty()) sql << " AND TABLENAME = " << value(GetSqlLiterals().TextToSql(table));
  sql << " GROUP BY RECORD";
  std::map<std::string, std::int32_t> counts;
  const store::Execution query = session.execute(sql);
  std::vector<Variant> row;
  while (query.cursor->next()) {
    query.cursor->read(row);
    counts[row[0].text_or_empty()] = row[1].to_long();
  }
  return counts;
}

}  // namespace mercato::exchange
