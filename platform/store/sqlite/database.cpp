// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/sqlite/lock_wait.h"
#include "platform/store/sqlite/text_index.h"
#include "values/text.h"

namespace mercato::store::sqlite {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The store called `:memory:`: a file in a private folder of the process, gone with it. The engine's own memory stores
// let readers and a writer wait for each other for ever on one thread, which no store on a file does.
class MemoryStore {
 public:
  MemoryStore() : owner_(getpid()) {
    std::error_code failure;
    std::string folder = (fs::temp_directory_path(failure) / "mercato-memory-XXXXXX").string();
    if (failure || !mkdtemp(folder.data()))
      raise_store_failure("There is no room for the store in memory: no folder can be made below the temporary folder");
    folder_ = folder;
  }
  MemoryStore(const MemoryStore&) = delete;
  MemoryStore& operator=(const MemoryStore&) = delete;
  ~MemoryStore() {
    std::error_code ignored;
    if (getpid() == owner_) fs::remove_all(folder_, ignored);
  }
  std::string path() const { return (folder_ / "store.db").string(); }

 private:
  pid_t owner_;
  fs::path folder_;
};

constexpr std::string_view kMemory = ":memory:";

bool says_yes(const std::optional<std::string>& property) {
  return property && (text::equal_names(*property, "Yes") || text::equal_names(*property, "True") || *property == "1");
}

constexpr int kLongLogPages = 4000;

// Nobody but the owner, unless the connection string says otherwise.
mode_t file_mode(const std::string& connection_string) {
  unsigned mode = 0600;
  if (const auto given = connection_property(connection_string, "File Mode")) {
    const auto read = std::from_chars(given->data(), given->data() + given->size(), mode, 8);
    if (read.ec != std::errc() || read.ptr != given->data() + given->size() || mode > 0777)
      raise_store_failure("File Mode has to be an octal number such as 660, not '" + *given + "'");
  }
  return mode;
}

// Says what is wrong with the path before the engine gets to say less.
void check_path(const std::string& path, bool create) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) raise_store_failure("'" + path + "' is a folder, not a store. Correct Data Source");
    return;
  }
  if (errno != ENOENT)
    raise_store_failure("The store '" + path + "' cannot be reached: " + std::generic_category().message(errno));
  const fs::path folder = fs::path(path).parent_path();
  std::error_code failure;
  if (!folder.empty() && !fs::is_directory(folder, failure))
    raise_store_failure("There is no folder '" + folder.string() + "' for the store '" + path +
                        "'. Create it, or correct Data Source");
  if (!create)
    raise_store_failure("There is no store at '" + path + "'. Create it with `mercato init`, or correct Data Source");
}

bool is_unusable(int code) { return (code & 0xFF) == SQLITE_CORRUPT || (code & 0xFF) == SQLITE_NOTADB; }

[[noreturn]] void refuse_as_unusable(std::string description) {
  throw UnusableStore({error_number::kStoreFailure, std::string(kFailureSource), std::move(description), {}, 0});
}

}  // namespace

std::string immutable_name(const std::string& path) {
  std::string name = "file:";
  for (const char c : path) {
    if (c == '%')
      name += "%25";
    else if (c == '?')
      name += "%3f";
    else if (c == '#')
      name += "%23";
    else
      name += c;
  }
  return name + "?immutable=1";
}

Database::Database(const std::string& connection_string) {
  path_ = connection_property(connection_string, "Data Source").value_or("");
  if (path_.empty()) raise_store_failure("The connection string has no Data Source. It has to name the store file");
  in_memory_ = path_ == kMemory;
  if (in_memory_) {
    static const MemoryStore memory;
    path_ = memory.path();
  }
  if (const auto timeout = connection_property(connection_string, "Busy Timeout")) {
    const auto read = std::from_chars(timeout->data(), timeout->data() + timeout->size(), busy_timeout_ms_);
    if (read.ec != std::errc() || read.ptr != timeout->data() + timeout->size() || busy_timeout_ms_ < 0)
      raise_store_failure("Busy Timeout has to be a number of milliseconds, not '" + *timeout + "'");
  }
  const bool create = in_memory_ || says_yes(connection_property(connection_string, "Create"));
  check_path(path_, create);
  // Made without being opened: closing a file lets go of all locks that this process has on it. What hinders it hinders
  // the engine, too, which says so.
  if (const mode_t mode = file_mode(connection_string); create) mknod(path_.c_str(), S_IFREG | mode, 0);

  open(path_, SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0));
  // A store that was left in order needs no files beside it to be read, but the engine would make them: in a folder
  // that may not be written it can only be told that nobody else will write either.
  const bool read_only = sqlite3_db_readonly(engine_.get(), "main") == 1;
  if (read_only && access((path_ + "-wal").c_str(), F_OK) != 0 &&
      faccessat(AT_FDCWD, fs::absolute(path_).parent_path().c_str(), W_OK, AT_EACCESS) != 0)
    open(immutable_name(path_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  file_ = identity_of(path_);
  if (const char* name = sqlite3_db_filename(engine_.get(), "main")) files_ = name;
  log_path_ = log_path(files_);
  // Before the engine reads the first page, and with it the log.
  if (log_belongs_to_another_file())
    refuse_as_unusable(
        "The log '" + log_path_ + "' does not belong to the store '" + path_ +
        "' that it stands beside: the store's file was exchanged, for a backup perhaps. Nothing was changed. "
        "Put a backup in place with `mercato store restore`, or move the log away, with '" +
        note_path(files_) + "', to use the file as it is");
  mark_ = mark_on_disk().value_or(0);
  configure();
  log_file_ = identity_of(log_path_);
}

Database::~Database() {
  if (!engine_) return;
  if (replaced()) {
    // The files beside the store now belong to its successor: closing must neither empty nor remove them.
    int keep = 1;
    sqlite3_file_control(engine_.get(), "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
    sqlite3_db_config(engine_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    return;
  }
  const auto log = log_in_use();
  engine_.reset();
  try {
    // The last one out takes the note along with the log.
    if (!log || identity_of(log_path_)) return;
    if (const auto note = read_log_note(files_); note && note->log == *log) unlink(note_path(files_).c_str());
  } catch (...) {
    // Out of memory. Without a log the note means nothing.
  }
}

void Database::open(const std::string& name, int flags) {
  sqlite3* engine = nullptr;
  // Sessions are used by one thread at a time, so the engine need not guard itself.
  const int code = sqlite3_open_v2(name.c_str(), &engine, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  engine_.reset(engine);
  if (code != SQLITE_OK) throw Raised(failure_of(engine, code, path_, 0));
}

void Database::configure() {
  sqlite3* const engine = engine_.get();
  sqlite3_busy_handler(engine, &Database::wait_for_lock, this);
  // Some ten thousand steps of the engine are far less than a millisecond.
  sqlite3_progress_handler(engine, 10000, &Database::interrupts, this);
  // Double quotes mean names, in every place.
  sqlite3_db_config(engine, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(engine, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  register_functions(engine);

  if (const std::int64_t version = query_integer("PRAGMA user_version"); version > kStoreVersion)
    refuse_as_unusable("The store '" + path_ + "' was written by a newer version of this program (store version " +
                       std::to_string(version) + ", this one knows " + std::to_string(kStoreVersion) +
                       "). Use the newer version");
  // Readers and a writer do not wait for each other; the setting stays in the file.
  if (sqlite3_db_readonly(engine, "main") == 0) run_when_free("PRAGMA journal_mode=WAL");
  set_durable_commits(true);
  run("PRAGMA temp_store=MEMORY");
  run("PRAGMA foreign_keys=OFF");
  run("PRAGMA secure_delete=OFF");
  // 16 MB of pages. The file is not mapped: a foreign hand that cuts it would end the process, not the statement.
  run("PRAGMA cache_size=-16384");
  sqlite3_wal_hook(engine, &Database::checkpoint_long_log, this);
  run("PRAGMA journal_size_limit=67108864");
  bring_up_to_date();
}

int bring_up_to_date(sqlite3* engine, std::int64_t version) {
  // Texts were in another order once.
  int code = version < 2 ? sqlite3_exec(engine, "REINDEX", nullptr, nullptr, nullptr) : SQLITE_OK;
  if (code == SQLITE_OK) code = renew_text_indexes(engine);
  const std::string current = "PRAGMA user_version=" + std::to_string(kStoreVersion);
  return code == SQLITE_OK ? sqlite3_exec(engine, current.c_str(), nullptr, nullptr, nullptr) : code;
}

// Gives an older store the indexes that this version looks things up by.
void Database::bring_up_to_date() {
  const auto version = [this] { return query_integer("PRAGMA user_version"); };
  const auto is_current = [](std::int64_t found) { return found == 0 || found == kStoreVersion; };
  const std::int64_t found = version();
  if (is_current(found)) return;
  if (sqlite3_db_readonly(engine_.get(), "main") == 1) {
    // Without text indexes the tables are read.
    if (found == 2) return;
    // The two orders differ for few texts. Where there are none, the store is as good as a newer one.
    const StatementHandle check = prepare("SELECT integrity_check FROM pragma_integrity_check(1)");
    const int code = sqlite3_step(check.get());
    if (code != SQLITE_ROW) raise(code);
    if (std::string_view(reinterpret_cast<const char*>(sqlite3_column_text(check.get(), 0))) == "ok") return;
    raise_store_failure("The store '" + path_ +
                        "' was written by an older version of this program, whose order of texts " +
                        "differs for some that it holds. Open it once with the right to write");
  }
  // Once begun it is worth its end, however long the call may take that happens to be the first.
  interruptible_ = false;
  run("BEGIN IMMEDIATE");
  try {
    if (const std::int64_t now = version(); !is_current(now))  // nobody else was faster
      if (const int code = sqlite::bring_up_to_date(engine_.get(), now); code != SQLITE_OK) raise(code);
    run("COMMIT");
  } catch (const Raised&) {
    sqlite3_exec(engine_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
  interruptible_ = true;
}

// The engine's own handle: closing another one on this file would let go of the locks of all.
// Nothing when it cannot be read, which the engine will find out, too. An empty file has the mark 0.
std::optional<std::uint32_t> Database::mark_on_disk() const noexcept {
  sqlite3_file* file = nullptr;
  if (sqlite3_file_control(engine_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || !file ||
      !file->pMethods)
    return std::nullopt;
  std::array<unsigned char, 4> bytes{};
  const int code = file->pMethods->xRead(file, bytes.data(), bytes.size(), kPlaceOfMark);
  if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) return std::nullopt;
  return mark_of(bytes.data());
}

std::optional<std::uint64_t> Database::log_in_use() const noexcept {
  sqlite3_file* log = nullptr;
  std::array<unsigned char, kLogHeaderBytes> header{};
  if (sqlite3_file_control(engine_.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) != SQLITE_OK || !log ||
      !log->pMethods || log->pMethods->xRead(log, header.data(), header.size(), 0) != SQLITE_OK)
    return std::nullopt;
  return number_of_log(header.data());
}

bool Database::log_belongs_to_another_file() const {
  if (in_memory_) return false;
  // With an empty file the engine throws the log away.
  if (std::error_code unreadable; fs::file_size(path_, unreadable) == 0) return false;
  // Others may begin a new log between two looks: what counts is what stood still.
  for (int tries = 0; tries < 10; ++tries) {
    const auto log = log_in_force(files_);
    const auto note = log ? read_log_note(files_) : std::nullopt;
    // A log without a note is another program's.
    if (!note || note->log != *log) return false;
    // Where both files are new, the folder was copied or brought back as a whole.
    const bool exchanged =
        note->log_file == identity_of(log_path_) && note->store_file != file_ && store_is_newer_than_log(files_);
    const auto mark = mark_on_disk();
    if (!exchanged && (!mark || note->admits(*mark))) return false;
    if (tries > 0 && log_in_force(files_) == log && read_log_note(files_) == note) return true;
    // A restore moves the old log away just after it has put the new file in place.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

// Nothing when the file carries another mark than before, and no note says which ones it may.
std::optional<bool> Database::is_same_file() const noexcept {
  if (identity_of(path_) != file_) return false;
  if (in_memory_) return true;
  try {
    if (log_file_ && identity_of(log_path_) != log_file_) return false;
    for (auto mark = mark_on_disk();;) {
      if (!mark || *mark == mark_) return true;
      // It came with a checkpoint, or somebody has written over the file.
      const auto note = read_log_note(files_);
      if (note && note->admits(*mark)) {
        mark_ = *mark;
        return true;
      }
      // Between the two looks others may have given the file another mark, and begun a log whose note forgets this one.
      const auto now = mark_on_disk();
      if (now == mark) return note ? std::optional(false) : std::nullopt;
      mark = now;
    }
  } catch (...) {
    return true;  // out of memory: asked again soon
  }
}

bool Database::replaced() const noexcept { return is_same_file() != true; }

void Database::refuse_if_replaced() const {
  if (is_same_file() == false)
    raise_store_failure(
        "The store '" + path_ +
        "' was moved, deleted or exchanged while it was in use, and what was written last is not in it. Put "
        "its file back, or a backup, then repeat the call");
}

void Database::after_commit() {
  forget_futile_wait();
  refuse_if_replaced();
  if (in_memory_) return;
  if (const auto log = log_in_use(); log && *log != noted_log_) note_log(*log);
}

// What hinders it is no failure of the commit before: the next one tries again.
void Database::note_log(std::uint64_t log) {
  // A query that is open may stand on an older state of the store.
  if (in_transaction() || sqlite3_txn_state(engine_.get(), "main") != SQLITE_TXN_NONE) return;
  const bool durable = durable_;
  try {
    if (const auto note = read_log_note(files_); note && note->log == log) {
      noted_log_ = log;
      return;
    }
    sqlite3_busy_handler(engine_.get(), nullptr, nullptr);
    set_durable_commits(false);
    run("BEGIN IMMEDIATE");
    const auto known = static_cast<std::uint32_t>(query_integer("PRAGMA application_id"));
    std::uint32_t mark = 0;
    while (mark == 0 || mark == known) sqlite3_randomness(sizeof mark, &mark);
    const auto note = read_log_note(files_);
    const bool noted = note && note->log == log;
    const auto on_disk = mark_on_disk();
    if (!noted && on_disk && log_in_use() == log &&
        write_log_note(files_, {log, file_, log_file_, {*on_disk, known, mark}}))
      run(("PRAGMA application_id=" + std::to_string(static_cast<std::int32_t>(mark))).c_str());
    run("COMMIT");
    noted_log_ = log;
  } catch (...) {  // out of memory among them
    if (in_transaction()) sqlite3_exec(engine_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  sqlite3_busy_handler(engine_.get(), &Database::wait_for_lock, this);
  if (!durable) return;
  try {
    set_durable_commits(true);
  } catch (...) {
    // Out of memory: before the next write.
  }
}

void Database::admit_mark(std::uint32_t mark) {
  auto note = read_log_note(files_);
  if (!note) return;
  note->marks.push_back(mark);
  // What stood in the file before its present mark does not come back. More marks behind it than a note holds take a
  // reader who keeps the log from being moved through as many restores: then the oldest of them go.
  const auto present = std::ranges::find(note->marks, mark_on_disk().value_or(note->marks.front()));
  if (present != note->marks.end()) note->marks.erase(note->marks.begin(), present);
  if (note->marks.size() > kMostMarks) note->marks.erase(note->marks.begin() + 1);
  // Without its note a log is replayed unasked.
  if (!write_log_note(files_, *note)) unlink(note_path(files_).c_str());
}

StatementHandle Database::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(engine_.get(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) raise(code);
  return StatementHandle(statement);
}

void Database::run(const char* sql) {
  const int code = sqlite3_exec(engine_.get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) raise(code);
}

// For what the engine does not wait for by itself: sessions that open a new store at the same time.
void Database::run_when_free(const char* sql) {
  for (int tries = 0;; ++tries) {
    const int code = sqlite3_exec(engine_.get(), sql, nullptr, nullptr, nullptr);
    if (code == SQLITE_OK) return;
    if ((code & 0xFF) != SQLITE_BUSY || wait_for_lock(this, tries) == 0) raise(code);
  }
}

std::int64_t Database::query_integer(const char* sql) {
  const StatementHandle statement = prepare(sql);
  const int code = sqlite3_step(statement.get());
  if (code != SQLITE_ROW) raise(code);
  return sqlite3_column_int64(statement.get(), 0);
}

RaisedError Database::failure(int code, const TableInfo* table) const {
  const int kind = code & 0xFF;
  // SQLITE_ERROR: one of our functions has asked the limit.
  if ((kind == SQLITE_INTERRUPT || kind == SQLITE_BUSY || kind == SQLITE_ERROR) && call_limit_passed()) {
    try {
      check_call_limit_now();
    } catch (const Raised& passed) {
      return passed.error();
    }
  }
  return failure_of(engine_.get(), code, path_, waited_ms_, table);
}

void Database::raise(int code) const {
  if (is_unusable(code)) throw UnusableStore(failure(code));
  throw Raised(failure(code));
}

void Database::set_durable_commits(bool durable) {
  durable_ = durable;
  durability_settled_ = false;
  run(in_memory_ ? "PRAGMA synchronous=OFF" : durable ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
  durability_settled_ = true;
}

void Database::flush_to_disk() {
  if (in_memory_) return;
  // The log of changes is what commits go to; what has left it for the store file was flushed on that way.
  sqlite3_file* log = nullptr;
  const int found = sqlite3_file_control(engine_.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  if (found != SQLITE_OK) raise(found);
  if (!log || !log->pMethods) return;
  const int code = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL | SQLITE_SYNC_DATAONLY);
  if (code != SQLITE_OK) throw Raised(failure_of(nullptr, code, path_, 0));
}

int Database::wait_for_lock(void* self, int tries) {
  auto& database = *static_cast<Database*>(self);
  const auto now = Clock::now();
  if (tries == 0) {
    database.wait_began_ = now;
    const std::optional<long> before = futile_wait(database.engine_.get());
    database.waited_ms_ = before.value_or(0);
    if (before || held_by_this_thread(database.engine_.get())) return 0;
  }
  database.waited_ms_ =
      static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(now - database.wait_began_).count());
  if (call_limit_passed()) return 0;
  if (database.waited_ms_ >= database.busy_timeout_ms_) {
    note_futile_wait(database.engine_.get(), database.waited_ms_);
    return 0;
  }
  // Often enough to find the short pause that a run of single statements leaves between its groups.
  std::this_thread::sleep_for(std::chrono::microseconds(tries < 4 ? 50 : 200));
  return 1;
}

// As the engine would do it by itself, but never into a file that was put in the store's place.
int Database::checkpoint_long_log(void* self, sqlite3* engine, const char* name, int pages) {
  if (pages >= kLongLogPages && !static_cast<const Database*>(self)->replaced())
    sqlite3_wal_checkpoint_v2(engine, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  return SQLITE_OK;
}

int Database::interrupts(void* self) {
  return static_cast<const Database*>(self)->interruptible_ && call_limit_passed() ? 1 : 0;
}

}  // namespace mercato::store::sqlite
