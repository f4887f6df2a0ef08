// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/upload_records.h"

#include <pwd.h>
#include <sodium/crypto_hash_sha256.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "exchange/journal/upload_fields.h"
#include "exchange/journal/upload_lease.h"
#include "frame/util.h"
#include "mercato/raised_error.h"
#include "platform/clock/universal_time.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kFindingsAtOnce = 500;
constexpr std::string_view kUploads = "MERCATO_UPLOAD";

store::TableInfo known_table(store::Session& session, std::string_view table) {
  if (const store::TableInfo* info = session.table(table)) return *info;
  raise(error_number::kStatementRefused, {}, "Invalid object name '" + std::string(table) + "'");
}

// A blank text is kept as Null, and a long one as its beginning.
Variant text_or_null(std::string_view text, std::size_t most = std::string_view::npos) {
  return text.empty() ? Variant(kNull) : Variant(std::string(text::left(text, most)));
}

// Names and values of a row that is written.
class Fields {
 public:
  void add(std::string_view column, Variant value) {
    names_.push_back(column);
    values_.push_back(std::move(value));
  }
  void add_text(std::string_view column, std::string_view text, std::size_t most) {
    add(column, text_or_null(text, most));
  }
  void add_counts(const UploadCounts& counts) {
    add("READCOUNT", counts.read);
    add("DONECOUNT", counts.inserted + counts.updated + counts.unchanged + counts.refused);
    add("INSERTED", counts.inserted);
    add("UPDATED", counts.updated);
    add("UNCHANGED", counts.unchanged);
    add("REFUSED", counts.refused);
    add("LEFTCOUNT", counts.left);
  }
  store::RowIdentity insert_into(store::Session& session, std::string_view table) const {
    const store::TableInfo info = known_table(session, table);
    return session.insert_row(info, positions(info), values_);
  }
  void update(store::Session& session, std::int32_t upload) const {
    const store::TableInfo info = known_table(session, kUploads);
    store::RowIdentity identity{upload, {Variant(upload)}};
    session.update_row(info, identity, positions(info), values_);
  }

 private:
  std::vector<std::size_t> positions(const store::TableInfo& info) const {
    std::vector<std::size_t> positions;
    for (const std::string_view column : names_) positions.push_back(*info.find(column));
    return positions;
  }
  std::vector<std::string_view> names_;
  std::vector<Variant> values_;
};

std::vector<std::vector<Variant>> rows_of(store::Session& session, const Sql& sql) {
  std::vector<std::vector<Variant>> rows;
  const store::Execution query = session.execute(sql);
  while (query.cursor->next()) query.cursor->read(rows.emplace_back());
  return rows;
}

Upload upload_in(const std::vector<Variant>& row) {
  Upload upload;
  upload.id = row[0].to_long();
  upload.kind = row[1].text_or_empty();
  upload.mode = row[2].text_or_empty();
  upload.state = row[3].text_or_empty();
  upload.user = row[4].text_or_empty();
  upload.file = row[5].text_or_empty();
  upload.hash = row[6].text_or_empty();
  upload.accepted = day_of(row[7]);
  upload.started = day_of(row[8]);
  upload.ended = day_of(row[9]);
  upload.counts = {count_of(row[10]), count_of(row[11]), count_of(row[12]),
                   count_of(row[13]), count_of(row[14]), count_of(row[15])};
  upload.findings = count_of(row[16]);
  upload.undoes = count_of(row[17]);
  upload.options = row[18].text_or_empty();
  upload.stopped_by = row[19].text_or_empty();
  upload.cut_short = upload.state == "running" && is_gone(row[20].text_or_empty(), row[21]);
  return upload;
}

// `most`: 0 for all.
std::vector<Upload> selected(store::Session& session, std::int32_t most, const Sql& rest) {
  Sql sql("SELECT ");
  if (most > 0) sql << "TOP " << most << " ";
  sql << "UPLOADID, KIND, MODE, STATE, USERID, FILENAME, FILEHASH, ACCEPTED, STARTED, ENDED, READCOUNT, INSERTED, "
         "UPDATED, UNCHANGED, REFUSED, LEFTCOUNT, FINDINGCOUNT, UNDOES, OPTIONS, STOPPEDBY, OWNER, LEASEUNTIL FROM "
      << name(kUploads) << rest << " ORDER BY UPLOADID DESC";
  std::vector<Upload> found;
  for (const std::vector<Variant>& row : rows_of(session, sql)) found.push_back(upload_in(row));
  return found;
}

// Undoing an undo brings the upload back.
std::int32_t undone_by(store::Session& session, std::int32_t id) {
  for (const Upload& undo : selected(session, 0, Sql(" WHERE UNDOES = ") << id << " AND STATE = 'done'"))
    if (undone_by(session, undo.id) == 0) return undo.id;
  return 0;
}

}  // namespace

void keep_findings(store::Session& session, std::int32_t id, std::int32_t kept, std::span<const KeptFinding> findings) {
  const store::TableInfo table = known_table(session, "MERCATO_UPLOAD_FINDING");
  std::vector<std::vector<Variant>> batch;
  for (const KeptFinding& finding : findings) {
    batch.push_back({id, ++kept, finding.outcome, text_or_null(finding.record, 255),
                     finding.line > 0 ? Variant(finding.line) : Variant(kNull), text_or_null(finding.field, 255),
                     text_or_null(finding.value), finding.reason});
    if (batch.size() < kFindingsAtOnce && &finding != &findings.back()) continue;
    session.copy_rows(table, batch);
    batch.clear();
  }
}

std::int32_t begin_upload(store::Session& session, const NewUpload& upload) {
  Fields fields;
  fields.add("KIND", upload.kind);
  fields.add("MODE", "upload");
  fields.add("STATE", "running");
  fields.add_text("USERID", upload.user, 60);
  fields.add_text("FILENAME", upload.file, 255);
  fields.add_text("FILEHASH", upload.hash, 64);
  fields.add("ACCEPTED", clock::universal_time());
  fields.add("STARTED", clock::universal_time());
  fields.add_counts({});
  if (upload.undoes != 0) fields.add("UNDOES", upload.undoes);
  if (!upload.options.empty()) fields.add("OPTIONS", upload.options);
  fields.add_text("OWNER", this_process(), 100);
  fields.add("LEASEUNTIL", clock::universal_time(kLeaseSeconds));
  return static_cast<std::int32_t>(fields.insert_into(session, kUploads).number);
}

void renew_upload(store::Session& session, std::int32_t id) {
  Fields fields;
  fields.add("LEASEUNTIL", clock::universal_time(kLeaseSeconds));
  fields.update(session, id);
}

void end_upload(store::Session& session, std::int32_t id, const UploadResult& outcome,
                std::span<const KeptFinding> findings) {
  keep_findings(session, id, 0, findings);
  Fields fields;
  fields.add("STATE", outcome.cancelled ? "cancelled" : outcome.stopped_by.empty() ? "done" : "failed");
  fields.add("ENDED", clock::universal_time());
  fields.add_counts(outcome.counts);
  fields.add("FINDINGCOUNT", static_cast<std::int32_t>(findings.size()));
  fields.add("STOPPEDBY", outcome.stopped_by.empty() ? Variant(kNull) : Variant(outcome.stopped_by));
  fields.add("LEASEUNTIL", kNull);
  fields.update(session, id);
}

std::vector<Upload> uploads(store::Session& session, std::int32_t most, std::int32_t offset) {
  std::vector<Upload> found = selected(session, most + offset, Sql(" WHERE MODE = 'upload'"));
  found.erase(found.begin(), found.begin() + std::min(offset, static_cast<std::int32_t>(found.size())));
  for (Upload& upload : found) upload.undone_by = undone_by(session, upload.id);
  return found;
}

Upload upload_of(store::Session& session, std::int32_t id) {
  std::vector<Upload> found = selected(session, 1, Sql(" WHERE UPLOADID = ") << id);
  if (found.empty())
    raise(error_number::kInvalidArgument, {},
          "There is no upload " + std::to_string(id) + "; `mercato uploads list` shows those that are kept");
  found.front().undone_by = undone_by(session, id);
  return std::move(found.front());
}

std::vector<Upload> uploads_of_file(store::Session& session, std::string_view hash) {
  if (hash.empty()) return {};
  std::vector<Upload> found = selected(session, 0,
                                       Sql(" WHERE FILEHASH = ") << value(GetSqlLiterals().TextToSql(hash))
                                                                 << " AND MODE = 'upload' AND STATE = 'done'");
  std::erase_if(found, [&](const Upload& upload) { return undone_by(session, upload.id) != 0; });
  return found;
}

std::vector<KeptFinding> findings_of(store::Session& session, std::int32_t id, std::int32_t most) {
  std::vector<KeptFinding> findings;
  for (const std::vector<Variant>& row :
       rows_of(session, Sql("SELECT TOP ") << most
                                           << " OUTCOME, RECORD, LINE, FIELD, VALUE, REASON FROM "
                                              "MERCATO_UPLOAD_FINDING WHERE UPLOADID = "
                                           << id << " ORDER BY SEQUENCE"))
    findings.push_back({row[0].text_or_empty(), row[1].text_or_empty(), count_of(row[2]), row[3].text_or_empty(),
                        row[4].text_or_empty(), row[5].text_or_empty()});
  return findings;
}

std::size_t forget_uploads(store::Session& session, std::string_view before) {
  session.start_transaction();
  const std::vector<Upload> old = selected(
      session, 0, Sql(" WHERE ENDED < ") << value(GetSqlLiterals().TextToSql(before)) << " AND STATE <> 'running'");
  for (const Upload& upload : old)
    for (const std::string_view table :
         {"MERCATO_UPLOAD_ROW", "MERCATO_UPLOAD_PART", "MERCATO_UPLOAD_FINDING", "MERCATO_UPLOAD"})
      session.execute(Sql("DELETE FROM ") << name(table) << " WHERE UPLOADID = " << upload.id);
  session.commit();
  return old.size();
}

std::string system_user() {
  const passwd* user = ::getpwuid(::geteuid());
  return user != nullptr ? user->pw_name : std::to_string(::geteuid());
}

std::string sha256_of_file(const std::string& path) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) return {};
  std::ifstream file(path, std::ios::binary);
  crypto_hash_sha256_state state;
  ::crypto_hash_sha256_init(&state);
  std::array<char, 65536> piece{};
  while (file.read(piece.data(), piece.size()), file.gcount() > 0)
    ::crypto_hash_sha256_update(&state, reinterpret_cast<const unsigned char*>(piece.data()),
                                static_cast<unsigned long long>(file.gcount()));
  if (file.bad()) return {};
  std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
  ::crypto_hash_sha256_final(&state, digest.data());
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : digest) text.append({kDigits[byte >> 4], kDigits[byte & 15]});
  return text;
}

}  // namespace mercato::exchange
