// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/upload_queue.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "exchange/journal/journal.h"
#include "exchange/journal/upload_fields.h"
#include "exchange/journal/upload_lease.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "frame/util.h"
#include "mercato/raised_error.h"
#include "platform/clock/universal_time.h"
#include "platform/store/session_pool.h"

namespace mercato::exchange {
namespace {

// What tells the uploads of hosts from those of the tool: the beginning of OPTIONS.
constexpr std::string_view kSkip = "host skip ";
constexpr std::string_view kWrite = "host write ";

std::string literal(Date date) { return GetSqlLiterals().DateTimeToSql(date); }

struct Row {
  QueuedUpload upload;
  std::string owner;
  Variant lease;
};

Row row_of(const Recordset& row) {
  Row read;
  QueuedUpload& upload = read.upload;
  upload.id = row.Value("UPLOADID").to_long();
  upload.kind = row.Value("KIND").text_or_empty();
  upload.mode = row.Value("MODE").text_or_empty();
  upload.state = row.Value("STATE").text_or_empty();
  upload.user = row.Value("USERID").text_or_empty();
  upload.name = row.Value("FILENAME").text_or_empty();
  const std::string options = row.Value("OPTIONS").text_or_empty();
  upload.write_on_errors = options.starts_with(kWrite);
  upload.file = options.substr(std::min(options.size(), (upload.write_on_errors ? kWrite : kSkip).size()));
  // A host calls no file so: it could be any one of the machine.
  if (upload.file.find('/') != std::string::npos) upload.file.clear();
  upload.accepted = day_of(row.Value("ACCEPTED"));
  upload.started = day_of(row.Value("STARTED"));
  upload.ended = day_of(row.Value("ENDED"));
  upload.total = count_of(row.Value("TOTALCOUNT"));
  upload.done = count_of(row.Value("DONECOUNT"));
  upload.findings = count_of(row.Value("FINDINGCOUNT"));
  upload.inserted = count_of(row.Value("INSERTED"));
  upload.updated = count_of(row.Value("UPDATED"));
  upload.unchanged = count_of(row.Value("UNCHANGED"));
  upload.refused = count_of(row.Value("REFUSED"));
  upload.left = count_of(row.Value("LEFTCOUNT"));
  upload.stopped_by = row.Value("STOPPEDBY").text_or_empty();
  read.owner = row.Value("OWNER").text_or_empty();
  read.lease = row.Value("LEASEUNTIL");
  return read;
}

ConnectionPtr new_connection() { return open_connection(shared_connection_string()); }

std::vector<Row> rows_with(const Sql& condition, std::int32_t most, bool oldest_first = false) {
  Sql sql =
      Sql("SELECT TOP ") << most
                         << " UPLOADID, KIND, MODE, STATE, USERID, FILENAME, OPTIONS, ACCEPTED, STARTED, ENDED, "
                            "TOTALCOUNT, DONECOUNT, FINDINGCOUNT, INSERTED, UPDATED, UNCHANGED, REFUSED, LEFTCOUNT, "
                            "STOPPEDBY, OWNER, LEASEUNTIL FROM MERCATO_UPLOAD WHERE OPTIONS LIKE N'host %'"
                         << condition;
  sql << (oldest_first ? LiteralPiece(" ORDER BY UPLOADID") : LiteralPiece(" ORDER BY UPLOADID DESC"));
  const RecordsetPtr records = open_read_only(sql, new_connection());
  std::vector<Row> rows;
  for (; !records->Eof(); records->MoveNext()) rows.push_back(row_of(*records));
  records->Close();
  return rows;
}

std::int64_t change_rows(const Sql& sql) {
  ConnectionPtr opened = new_connection();
  return execute_and_close(opened, sql);
}

// Null for an empty text.
Sql text_literal(std::string_view text) {
  if (text.empty()) return LiteralPiece("NULL");
  return Sql("N'") << value(Gen_QuoteSql(std::string(text))) << "'";
}

Sql counts_of(const QueuedUpload& upload, std::size_t findings) {
  return Sql("TOTALCOUNT = ") << upload.total << ", READCOUNT = " << upload.done + upload.left
                              << ", DONECOUNT = " << upload.done << ", REFUSED = " << upload.refused
                              << ", LEFTCOUNT = " << upload.left
                              << ", FINDINGCOUNT = " << static_cast<std::int32_t>(findings);
}

void keep(std::int32_t id, std::int32_t kept, const std::vector<KeptFinding>& findings) {
  if (findings.empty()) return;
  const store::PooledSession session = store::acquire_session(shared_connection_string());
  session->start_transaction();
  keep_findings(*session.get(), id, kept, findings);
  session->commit();
}

}  // namespace

std::int32_t accept_upload(const QueuedUpload& upload) {
  const store::PooledSession session = store::acquire_session(shared_connection_string());
  const store::TableInfo* table = session->table("MERCATO_UPLOAD");
  if (!table)
    raise(error_number::kStatementRefused, {}, "The store has no table MERCATO_UPLOAD; `mercato init` makes it");
  const std::vector<std::pair<const char*, Variant>> fields = {
      {"KIND", upload.kind},
      {"MODE", upload.mode},
      {"STATE", "waiting"},
      {"USERID", upload.user},
      {"FILENAME", upload.name},
      {"OPTIONS", std::string(upload.write_on_errors ? kWrite : kSkip) + upload.file},
      {"ACCEPTED", clock::universal_time()},
      {"INSERTED", 0},
      {"UPDATED", 0}};
  std::vector<std::size_t> columns;
  std::vector<Variant> values;
  for (const auto& [column, held] : fields) {
    columns.push_back(*table->find(column));
    values.push_back(held);
  }
  return static_cast<std::int32_t>(session->insert_row(*table, columns, values).number);
}

bool is_document_of_upload(const std::string& file) {
  return !rows_with(Sql(" AND OPTIONS IN (") << text_literal(std::string(kWrite) + file) << ", "
                                             << text_literal(std::string(kSkip) + file) << ")",
                    1)
              .empty();
}

std::optional<QueuedUpload> queued_upload(std::int32_t id) {
  std::vector<Row> rows = rows_with(Sql(" AND UPLOADID = ") << id, 1);
  return rows.empty() ? std::nullopt : std::optional(std::move(rows.front().upload));
}

std::vector<QueuedUpload> queued_uploads(std::int32_t most) {
  std::vector<QueuedUpload> uploads;
  for (Row& row : rows_with(LiteralPiece(" AND UPLOADID > 0"), most)) uploads.push_back(std::move(row.upload));
  return uploads;
}

std::vector<NumberedFinding> findings_of_upload(std::int32_t id, std::int32_t after, std::int32_t most) {
  const RecordsetPtr rows = open_read_only(
      Sql("SELECT TOP ") << most
                         << " SEQUENCE, OUTCOME, RECORD, LINE, FIELD, VALUE, REASON FROM MERCATO_UPLOAD_FINDING "
                            "WHERE UPLOADID = "
                         << id << " AND SEQUENCE > " << after << " ORDER BY SEQUENCE",
      new_connection());
  std::vector<NumberedFinding> findings;
  for (; !rows->Eof(); rows->MoveNext())
    findings.push_back({rows->Value("SEQUENCE").to_long(),
                        {rows->Value("OUTCOME").text_or_empty(), rows->Value("RECORD").text_or_empty(),
                         count_of(rows->Value("LINE")), rows->Value("FIELD").text_or_empty(),
                         rows->Value("VALUE").text_or_empty(), rows->Value("REASON").text_or_empty()}});
  rows->Close();
  return findings;
}

// The next is looked for before those that run, so that of two processes that look at a time one claims nothing.
std::optional<QueuedUpload> claim_upload() {
  std::vector<Row> waiting = rows_with(LiteralPiece(" AND STATE = 'waiting'"), 1, true);
  if (waiting.empty() || !rows_with(LiteralPiece(" AND STATE = 'running'"), 1).empty()) return std::nullopt;
  QueuedUpload& next = waiting.front().upload;
  const std::int64_t claimed =
      change_rows(Sql("UPDATE MERCATO_UPLOAD SET STATE = 'running', STARTED = ")
                  << value(literal(clock::universal_time())) << ", OWNER = " << text_literal(this_process())
                  << ", LEASEUNTIL = " << value(literal(clock::universal_time(kLeaseSeconds)))
                  << " WHERE UPLOADID = " << next.id << " AND STATE = 'waiting'");
  if (claimed != 1) return std::nullopt;
  next.state = "running";
  return std::move(next);
}

std::vector<QueuedUpload> take_abandoned_uploads() {
  std::vector<QueuedUpload> taken;
  for (Row& row : rows_with(LiteralPiece(" AND STATE = 'running'"), 100)) {
    if (!is_gone(row.owner, row.lease)) continue;
    const std::int64_t changed = change_rows(
        Sql("UPDATE MERCATO_UPLOAD SET OWNER = ")
        << text_literal(this_process()) << ", LEASEUNTIL = " << value(literal(clock::universal_time(kLeaseSeconds)))
        << " WHERE UPLOADID = " << row.upload.id << " AND STATE = 'running' AND OWNER = " << text_literal(row.owner));
    if (changed != 1) continue;
    row.upload.state = "failed";
    row.upload.stopped_by = "The process that ran it has ended.";
    taken.push_back(std::move(row.upload));
  }
  return taken;
}

bool keep_progress(const QueuedUpload& upload, std::int32_t kept, const std::vector<KeptFinding>& findings) {
  keep(upload.id, kept, findings);
  change_rows(Sql("UPDATE MERCATO_UPLOAD SET ")
              << counts_of(upload, static_cast<std::size_t>(kept) + findings.size()) << ", LEASEUNTIL = "
              << value(literal(clock::universal_time(kLeaseSeconds))) << " WHERE UPLOADID = " << upload.id);
  const auto now = queued_upload(upload.id);
  return !now || !now->stopped_by.empty();
}

void end_queued_upload(const QueuedUpload& upload, std::int32_t kept, const std::vector<KeptFinding>& findings) {
  keep(upload.id, kept, findings);
  change_rows(Sql("UPDATE MERCATO_UPLOAD SET ")
              << counts_of(upload, static_cast<std::size_t>(kept) + findings.size()) << ", INSERTED = "
              << upload.inserted << ", UPDATED = " << upload.updated << ", UNCHANGED = " << upload.unchanged
              << ", STATE = " << text_literal(upload.state) << ", STOPPEDBY = " << text_literal(upload.stopped_by)
              << ", ENDED = " << value(literal(clock::universal_time()))
              << ", LEASEUNTIL = NULL WHERE UPLOADID = " << upload.id);
}

std::map<std::string, std::int32_t> changed_records(std::int32_t upload, const std::string& kind) {
  const store::PooledSession session = store::acquire_session(shared_connection_string());
  return changed_rows_of_records(*session.get(), upload, kind == "prices" ? "CATALOGPRODUCTPRICE" : "");
}

bool cancel_upload(std::int32_t id) {
  const std::int64_t waiting =
      change_rows(Sql("UPDATE MERCATO_UPLOAD SET STATE = 'cancelled', ENDED = ")
                  << value(literal(clock::universal_time())) << " WHERE UPLOADID = " << id << " AND STATE = 'waiting'");
  if (waiting == 1) return true;
  return change_rows(Sql("UPDATE MERCATO_UPLOAD SET STOPPEDBY = N'It was cancelled.' WHERE UPLOADID = ")
                     << id << " AND STATE = 'running'") == 1;
}

}  // namespace mercato::exchange
