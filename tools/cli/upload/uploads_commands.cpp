// SPDX-License-Identifier: Apache-2.0
// mercato uploads: what was uploaded, what it changed, and the way back.
#include <unistd.h>

#include <iostream>
#include <limits>
#include <string>

#include "exchange/journal/journal.h"
#include "exchange/journal/undo.h"
#include "platform/store/session_pool.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"

namespace mercato::cli {
namespace uploads_commands {

using exchange::Upload;

constexpr std::size_t kMostLeftShown = 50;

struct Listing {
  std::int32_t limit = 50;
  std::int32_t offset = 0;
};
struct Which {
  std::int32_t upload = 0;
  std::int32_t limit = 200;
};
struct Taking {
  std::int32_t upload = 0;
  bool force = false;
  bool dry_run = false;
  bool yes = false;
};
struct Forgetting {
  std::string before;
};

// "2026-07-01 08:30:00".
std::string moment(const std::string& day) {
  return day.empty() ? std::string() : day.substr(0, 10) + " " + day.substr(11);
}

std::string state_of(const Upload& upload) {
  if (upload.cut_short) return "cut short";
  if (upload.undone_by != 0) return "undone by " + std::to_string(upload.undone_by);
  return upload.state;
}

std::string what_of(const Upload& upload) {
  return upload.undoes != 0 ? "undo of " + std::to_string(upload.undoes) : upload.kind;
}

gateway::Json to_json(const Upload& upload) {
  const auto or_null = [](const std::string& text) { return text.empty() ? gateway::Json() : gateway::Json(text); };
  return {{"id", upload.id},
          {"kind", upload.kind},
          {"state", upload.state},
          {"cutShort", upload.cut_short},
          {"user", upload.user},
          {"file", upload.file},
          {"sha256", or_null(upload.hash)},
          {"started", or_null(upload.started)},
          {"ended", or_null(upload.ended)},
          {"read", upload.counts.read},
          {"inserted", upload.counts.inserted},
          {"updated", upload.counts.updated},
          {"unchanged", upload.counts.unchanged},
          {"refused", upload.counts.refused},
          {"left", upload.counts.left},
          {"findings", upload.findings},
          {"undoes", upload.undoes != 0 ? gateway::Json(upload.undoes) : gateway::Json()},
          {"undoneBy", upload.undone_by != 0 ? gateway::Json(upload.undone_by) : gateway::Json()},
          {"stoppedBy", upload.stopped_by}};
}

int list(const Listing& given, const OutputOptions& output) {
  const store::PooledSession session = store::acquire_session(connection_string());
  gateway::Json list = gateway::Json::array();
  Table table({"ID", "STARTED (UTC)", "WHO", "WHAT", "READ", "INSERTED", "UPDATED", "UNCHANGED", "REFUSED", "LEFT",
               "STATE", "FILE"});
  for (const Upload& upload : exchange::uploads(*session.get(), given.limit, given.offset)) {
    list.push_back(to_json(upload));
    const exchange::UploadCounts& counts = upload.counts;
    table.add({std::to_string(upload.id), moment(upload.started), shown(upload.user, 20), what_of(upload),
               std::to_string(counts.read), std::to_string(counts.inserted), std::to_string(counts.updated),
               std::to_string(counts.unchanged), std::to_string(counts.refused), std::to_string(counts.left),
               state_of(upload), shown(upload.file)});
  }
  return answer_list(
      output, "uploads", std::move(list), table,
      given.offset > 0 ? "--offset passes over all uploads." : "Nothing was uploaded, or the journal was forgotten.");
}

int show(const Which& given, const OutputOptions& output) {
  const store::PooledSession session = store::acquire_session(connection_string());
  Upload upload = exchange::upload_of(*session.get(), given.upload);
  if (upload.cut_short) {
    exchange::settle_if_cut_short(*session.get(), upload);
    upload = exchange::upload_of(*session.get(), given.upload);
  }
  const auto findings = exchange::findings_of(*session.get(), given.upload, given.limit);
  gateway::Json json = to_json(upload);
  gateway::Json list = gateway::Json::array();
  Table table({"OUTCOME", "RECORD", "FIELD", "VALUE", "REASON"});
  for (const exchange::KeptFinding& finding : findings) {
    list.push_back({{"outcome", finding.outcome},
                    {"record", finding.record},
                    {"line", finding.line},
                    {"field", finding.field},
                    {"value", finding.value},
                    {"reason", finding.reason}});
    table.add({finding.outcome, shown(finding.record), shown(finding.field), shown(finding.value, 40),
               shown(finding.reason, 200)});
  }
  json["findings"] = upload.findings;
  json["firstFindings"] = std::move(list);
  if (output.json) return answer(output, json, {});
  const auto line = [](const char* label, const std::string& text) {
    if (!text.empty()) std::cout << label << shown(text, 500) << '\n';
  };
  const exchange::UploadCounts& counts = upload.counts;
  line("upload     ", std::to_string(upload.id) + ", " + what_of(upload));
  line("state      ", state_of(upload));
  line("who        ", upload.user);
  line("file       ", upload.file);
  line("sha-256    ", upload.hash);
  line("started    ", moment(upload.started) + " UTC");
  line("ended      ", upload.ended.empty() ? std::string() : moment(upload.ended) + " UTC");
  line("records    ", std::to_string(counts.read) + " read: " + std::to_string(counts.inserted) + " inserted, " +
                          std::to_string(counts.updated) + " updated, " + std::to_string(counts.unchanged) +
                          " unchanged, " + std::to_string(counts.refused) + " refused, " + std::to_string(counts.left) +
                          " left");
  line("ended by   ", upload.stopped_by);
  if (!table.empty()) std::cout << '\n';
  table.print(std::cout);
  if (static_cast<std::size_t>(upload.findings) > findings.size())
    std::cout << "and " << static_cast<std::size_t>(upload.findings) - findings.size() << " more; --limit shows them\n";
  return kDone;
}

const char* change_of(const exchange::JournaledRow& row) {
  if (row.before.empty()) return "inserted";
  return row.after.empty() ? "deleted" : "updated";
}

int diff(const Which& given, const OutputOptions& output) {
  const store::PooledSession session = store::acquire_session(connection_string());
  const Upload upload = exchange::upload_of(*session.get(), given.upload);
  exchange::settle_if_cut_short(*session.get(), upload);
  const std::int32_t most = given.limit == 0 ? std::numeric_limits<std::int32_t>::max() - 1 : given.limit;
  std::vector<exchange::JournaledRow> rows = exchange::journaled_rows(*session.get(), given.upload, 0, most + 1);
  const bool has_more = rows.size() > static_cast<std::size_t>(most);
  if (has_more) rows.pop_back();
  gateway::Json list = gateway::Json::array();
  Table table({"RECORD", "TABLE", "CHANGE", "FIELD", "BEFORE", "AFTER"});
  for (const exchange::JournaledRow& row : rows) {
    gateway::Json fields = gateway::Json::array();
    bool is_first = true;
    for (const exchange::ChangedField& field : exchange::changed_fields(row.before, row.after)) {
      fields.push_back({{"field", field.field}, {"before", field.before}, {"after", field.after}});
      table.add({is_first ? shown(row.record) : "", is_first ? row.table : "", is_first ? change_of(row) : "",
                 field.field, shown(field.before, 40), shown(field.after, 40)});
      is_first = false;
    }
    list.push_back(
        {{"record", row.record}, {"table", row.table}, {"change", change_of(row)}, {"fields", std::move(fields)}});
  }
  if (output.json)
    return answer(output, {{"upload", given.upload}, {"changes", std::move(list)}, {"more", has_more}}, {});
  if (table.empty()) std::cout << "Upload " << given.upload << " has changed nothing.\n";
  table.print(std::cout);
  if (has_more) std::cout << "and more; --limit 0 shows all\n";
  return kDone;
}

// Asked of a person only: a script says what it wants by running.
bool is_confirmed(std::int32_t upload) {
  if (::isatty(STDIN_FILENO) == 0) return true;
  std::cerr << "Take back upload " << upload << "? `--dry-run` shows what that would do. [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

// Each row that was kept is written once, and kept once more.
std::size_t rows_to_write(std::int32_t upload) {
  const store::PooledSession session = store::acquire_session(connection_string());
  const std::vector<exchange::JournaledRow> last =
      exchange::journaled_rows_backwards(*session.get(), upload, std::numeric_limits<std::int32_t>::max());
  return last.empty() ? 0 : 2 * static_cast<std::size_t>(last.front().sequence);
}

exchange::Undone take_back(const Taking& given) {
  const RowProgress progress(rows_to_write(given.upload));
  return exchange::undo_upload(connection_string(), given.upload,
                               {given.force, given.dry_run, exchange::system_user()});
}

int undo(const Taking& given, const OutputOptions& output) {
  if (!given.dry_run && !given.yes && !is_confirmed(given.upload)) {
    std::cerr << "Nothing was changed.\n";
    return kFailed;
  }
  const exchange::Undone done = take_back(given);
  const int status = done.left.empty() ? kDone : kDoneInPart;
  if (output.json) {
    gateway::Json left = gateway::Json::array();
    for (const exchange::LeftRow& row : done.left)
      left.push_back({{"record", row.record}, {"table", row.table}, {"reason", row.reason}});
    answer(output,
           {{"undone", given.upload},
            {"upload", done.upload != 0 ? gateway::Json(done.upload) : gateway::Json()},
            {"dryRun", given.dry_run},
            {"restored", done.restored},
            {"deleted", done.deleted},
            {"inserted", done.inserted},
            {"unchanged", done.unchanged},
            {"left", std::move(left)}},
           {});
    return status;
  }
  Table table({"RECORD", "TABLE", "REASON"});
  for (const exchange::LeftRow& row : done.left) {
    if (&row - done.left.data() == static_cast<std::ptrdiff_t>(kMostLeftShown)) break;
    table.add({shown(row.record), row.table, shown(row.reason, 200)});
  }
  if (!table.empty()) std::cout << "Left:\n";
  table.print(std::cout);
  if (done.left.size() > kMostLeftShown)
    std::cout << "and " << done.left.size() - kMostLeftShown << " more; --json lists all\n";
  if (!table.empty()) std::cout << '\n';
  std::cout << "Upload " << given.upload << (given.dry_run ? " would be" : " was") << " taken back"
            << (done.upload != 0 ? ", as upload " + std::to_string(done.upload) : "") << ": "
            << counted(done.restored, "row") << " restored, " << done.deleted << " deleted, " << done.inserted
            << " inserted again, " << done.unchanged << " as before already, " << done.left.size() << " left.\n";
  return status;
}

int forget(const Forgetting& given, const OutputOptions& output) {
  const store::PooledSession session = store::acquire_session(connection_string());
  const auto day = Date::parse(given.before);
  const std::size_t forgotten = exchange::forget_uploads(*session.get(), day->iso_text());
  return answer(output, {{"forgotten", forgotten}},
                counted(forgotten, "upload") + " forgotten; what they changed stays.");
}

}  // namespace uploads_commands

void add_uploads_commands(Menu& menu) {
  using namespace uploads_commands;
  Menu::Group group = menu.group("uploads", "What was uploaded, what it changed, and the way back");
  {
    const auto [command, given] = group.add("list", "List the latest uploads, the newest first",
                                            "  mercato uploads list\n"
                                            "  mercato uploads list --json --limit 500\n"
                                            "  mercato uploads list --limit 20 --offset 20\n",
                                            list);
    command.add_option("--limit", given.limit, "At most so many")->between(1, 1'000'000)->capture_default_str();
    command.add_option("--offset", given.offset, "How many uploads to pass over first")
        ->type_name("N")
        ->between(0, 1'000'000'000);
  }
  {
    const auto [command, given] =
        group.add("show", "Show one upload and what it said of its records", "  mercato uploads show 12\n", show);
    command.add_option("N", given.upload, "The upload's number")->required();
    command.add_option("--limit", given.limit, "At most so many findings")
        ->between(1, 1'000'000)
        ->capture_default_str();
  }
  {
    const auto [command, given] =
        group.add("diff", "Show what an upload changed: each row, field by field, before and after",
                  "  mercato uploads diff 12\n"
                  "  mercato uploads diff 12 --limit 0 --json\n",
                  diff);
    command.add_option("N", given.upload, "The upload's number")->required();
    command.add_option("--limit", given.limit, "At most so many rows; 0 for all")
        ->between(0, 1'000'000)
        ->capture_default_str();
  }
  {
    const auto [command, given] =
        group.add("undo", "Take an upload back: its rows become what they were before it",
                  "  mercato uploads undo 12 --dry-run\n"
                  "  mercato uploads undo 12\n"
                  "  mercato uploads undo 12 --force\n"
                  "Exit status 3 when rows were left: those that were changed since, and those that something newer "
                  "uses.\nAn undo is an upload itself and can be undone.\n",
                  undo);
    command.add_option("N", given.upload, "The upload's number")->required();
    command.add_flag("--force", given.force, "Take back rows that were changed since, too");
    command.add_flag("--dry-run", given.dry_run, "Say what would become of the rows, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask, also at a terminal");
  }
  {
    const auto [command, given] = group.add("forget", "Drop the journal of uploads that ended before a day",
                                            "  mercato uploads forget --before 2026-01-31\n"
                                            "What they changed stays; they cannot be undone any more.\n",
                                            forget);
    command.add_option("--before", given.before, "The day, in universal time")
        ->required()
        ->check(is_date())
        ->type_name("DATE");
  }
}

}  // namespace mercato::cli
