#include "platform/store/sqlite/database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <thread>

#include "frame/types/text.h"
#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/sqlite/lock_wait.h"

namespace mercato::store::sqlite {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

[[noreturn]] void refuse_to_open(std::string description) {
  mercato::raise(error_number::kStoreFailure, std::string(kFailureSource), std::move(description));
}

// The store called `:memory:`: a file in a private folder of the process, gone with it. The engine's own memory stores
// let readers and a writer wait for each other for ever on one thread, which no store on a file does.
class MemoryStore {
 public:
  MemoryStore() : owner_(getpid()) {
    std::error_code failure;
    std::string folder = (fs::temp_directory_path(failure) / "mercato-memory-XXXXXX").string();
    if (failure || !mkdtemp(folder.data()))
      refuse_to_open("There is no room for the store in memory: no folder can be made below the temporary folder");
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

// Says what is wrong with the path before the engine gets to say less.
void check_path(const std::string& path, bool create) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) refuse_to_open("'" + path + "' is a folder, not a store. Correct Data Source");
    return;
  }
  if (errno != ENOENT)
    refuse_to_open("The store '" + path + "' cannot be reached: " + std::generic_category().message(errno));
  const fs::path folder = fs::path(path).parent_path();
  std::error_code failure;
  if (!folder.empty() && !fs::is_directory(folder, failure))
    refuse_to_open("There is no folder '" + folder.string() + "' for the store '" + path +
                   "'. Create it, or correct Data Source");
  if (!create)
    refuse_to_open("There is no store at '" + path + "'. Create it with `mercato init`, or correct Data Source");
}

// As a file name of the engine that says: nobody changes this file, so no locks and no files beside it are needed.
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

}  // namespace

Database::Database(const std::string& connection_string) {
  path_ = connection_property(connection_string, "Data Source").value_or("");
  if (path_.empty()) refuse_to_open("The connection string has no Data Source. It has to name the store file");
  in_memory_ = path_ == kMemory;
  if (in_memory_) {
    static const MemoryStore memory;
    path_ = memory.path();
  }
  if (const auto timeout = connection_property(connection_string, "Busy Timeout")) {
    const auto read = std::from_chars(timeout->data(), timeout->data() + timeout->size(), busy_timeout_ms_);
    if (read.ec != std::errc() || read.ptr != timeout->data() + timeout->size() || busy_timeout_ms_ < 0)
      refuse_to_open("Busy Timeout has to be a number of milliseconds, not '" + *timeout + "'");
  }
  const bool create = in_memory_ || says_yes(connection_property(connection_string, "Create"));
  check_path(path_, create);

  open(path_, SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0));
  // A store that was left in order needs no files beside it to be read, but the engine would make them: in a folder
  // that may not be written it can only be told that nobody else will write either.
  const bool read_only = sqlite3_db_readonly(engine_.get(), "main") == 1;
  if (read_only && access((path_ + "-wal").c_str(), F_OK) != 0 &&
      faccessat(AT_FDCWD, fs::absolute(path_).parent_path().c_str(), W_OK, AT_EACCESS) != 0)
    open(immutable_name(path_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  configure();

  struct stat status {};
  if (stat(path_.c_str(), &status) == 0) {
    device_ = status.st_dev;
    inode_ = status.st_ino;
  }
}

Database::~Database() {
  // The files beside the store now belong to its successor: closing must neither empty nor remove them.
  if (engine_ && replaced()) {
    int keep = 1;
    sqlite3_file_control(engine_.get(), "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
    sqlite3_db_config(engine_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
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
    refuse_to_open("The store '" + path_ + "' was written by a newer version of this program (store version " +
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
  run("PRAGMA wal_autocheckpoint=4000");
  run("PRAGMA journal_size_limit=67108864");
}

bool Database::replaced() const noexcept {
  struct stat status {};
  return stat(path_.c_str(), &status) != 0 || status.st_ino != inode_ || status.st_dev != device_;
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
  if ((kind == SQLITE_INTERRUPT || kind == SQLITE_BUSY) && call_limit_passed()) {
    try {
      check_call_limit_now();
    } catch (const Raised& passed) {
      return passed.error();
    }
  }
  return failure_of(engine_.get(), code, path_, waited_ms_, table);
}

void Database::set_durable_commits(bool durable) {
  run(in_memory_ ? "PRAGMA synchronous=OFF" : durable ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
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

int Database::interrupts(void* self) {
  return static_cast<const Database*>(self)->interruptible_ && call_limit_passed() ? 1 : 0;
}

}  // namespace mercato::store::sqlite
