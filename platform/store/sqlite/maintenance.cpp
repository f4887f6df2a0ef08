// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/maintenance.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/uvernum.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "platform/store/sqlite/database.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/sqlite/log_owner.h"
#include "platform/store/sqlite/text_index.h"

namespace mercato::store::sqlite {
namespace {

namespace fs = std::filesystem;

struct CloseEngine {
  void operator()(sqlite3* engine) const noexcept { sqlite3_close(engine); }
};
using Engine = std::unique_ptr<sqlite3, CloseEngine>;

[[noreturn]] void refuse_for_the_system(const std::string& what, const std::string& path) {
  raise_store_failure(what + " '" + path + "': " + std::generic_category().message(errno));
}

void require_ok(sqlite3* engine, int code, const std::string& path) {
  if (code != SQLITE_OK) throw Raised(failure_of(engine, code, path, 0));
}

Engine open_engine(const std::string& name, const std::string& path, int flags) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  Engine engine(opened);
  require_ok(opened, code, path);
  register_functions(opened);
  return engine;
}

// A file that nobody uses, as it stands.
Engine open_at_rest(const std::string& path) {
  return open_engine(immutable_name(path), path, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
}

std::vector<std::string> faults_of(sqlite3* engine, const std::string& path) {
  std::vector<std::string> faults;
  const auto collect = [](void* all, int, char** values, char**) {
    if (values[0] && std::string_view(values[0]) != "ok")
      static_cast<std::vector<std::string>*>(all)->push_back(values[0]);
    return 0;
  };
  const int code = sqlite3_exec(engine, "PRAGMA integrity_check", collect, &faults, nullptr);
  // A fault that ends the check is one of those that it looks for.
  if ((code & 0xFF) == SQLITE_CORRUPT)
    faults.push_back(sqlite3_errmsg(engine));
  else
    require_ok(engine, code, path);
  return faults;
}

std::int64_t integer_of(sqlite3* engine, const char* query, const std::string& path) {
  std::int64_t number = 0;
  const auto read = [](void* result, int, char** values, char**) {
    *static_cast<std::int64_t*>(result) = values[0] ? std::strtoll(values[0], nullptr, 10) : 0;
    return 0;
  };
  require_ok(engine, sqlite3_exec(engine, query, read, &number, nullptr), path);
  return number;
}

// A new file, of its owner alone and without a name of its own yet: gone, unless it gets one.
class FileInTheMaking {
 public:
  // Beside the file of that name.
  explicit FileInTheMaking(const std::string& name) : path_(name + "-new-XXXXXX") {
    const int file = mkostemp(path_.data(), O_CLOEXEC);
    if (file < 0) refuse_for_the_system("There can be no file", name);
    close(file);
  }
  FileInTheMaking(const FileInTheMaking&) = delete;
  FileInTheMaking& operator=(const FileInTheMaking&) = delete;
  ~FileInTheMaking() {
    if (!path_.empty()) unlink(path_.c_str());
  }
  const std::string& path() const { return path_; }

  void take_rights_of(const struct stat& status) {
    // As far as the system lets: only its master gives files to others, and anyone to a group of theirs.
    [[maybe_unused]] const bool given = chown(path_.c_str(), status.st_uid, status.st_gid) == 0 ||
                                        chown(path_.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0;
    if (chmod(path_.c_str(), status.st_mode & 0777) != 0) refuse_for_the_system("There can be no file", path_);
  }

  // To the disk, and then in the place of whatever has that name.
  void rename_to(const std::string& name) {
    flush(path_);
    if (rename(path_.c_str(), name.c_str()) != 0) refuse_for_the_system("There can be no file", name);
    path_.clear();
    flush(fs::absolute(name).parent_path().string());
  }

 private:
  static void flush(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool flushed = file >= 0 && fsync(file) == 0;
    const int reason = errno;
    if (file >= 0) close(file);
    errno = reason;
    if (!flushed) refuse_for_the_system("This cannot be brought to the disk:", path);
  }

  std::string path_;
};

// All pages of one store into another, in a transaction of that one; the engine's code. `on_lock` runs when the other
// one is locked.
template <class OnLock>
int copy_pages(sqlite3* from, sqlite3* to, OnLock on_lock) {
  sqlite3_backup* copy = sqlite3_backup_init(to, "main", from, "main");
  if (!copy) return sqlite3_extended_errcode(to);
  int code = sqlite3_backup_step(copy, 1);
  if (code == SQLITE_OK || code == SQLITE_DONE) on_lock();
  if (code == SQLITE_OK) code = sqlite3_backup_step(copy, -1);
  const int finished = sqlite3_backup_finish(copy);
  return code == SQLITE_DONE ? finished : code;
}

// A mark that no log knows, so that none that is found beside the file is taken for its own.
std::uint32_t give_new_mark(const std::string& path) {
  std::array<unsigned char, 4> mark;
  sqlite3_randomness(mark.size(), mark.data());
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const bool written = file >= 0 && pwrite(file, mark.data(), mark.size(), kPlaceOfMark) == mark.size();
  if (file >= 0) close(file);
  if (!written) refuse_for_the_system("There can be no file", path);
  return mark_of(mark.data());
}

void copy_to_file(sqlite3* from, const std::string& from_path, const std::string& path) {
  const Engine copy = open_engine(path, path, SQLITE_OPEN_READWRITE);
  // Nobody misses a half-written copy; a whole one is flushed when it gets its name.
  constexpr const char* kUnguarded = "PRAGMA synchronous=OFF; PRAGMA journal_mode=MEMORY";
  require_ok(copy.get(), sqlite3_exec(copy.get(), kUnguarded, nullptr, nullptr, nullptr), path);
  const int code = copy_pages(from, copy.get(), [] {});
  if ((code & 0xFF) == SQLITE_CORRUPT || (code & 0xFF) == SQLITE_NOTADB)
    throw UnusableStore(failure_of(nullptr, code, from_path, 0));
  require_ok(copy.get(), code, path);
}

// The file gets its name when `accept` has seen it and did not raise.
template <class Accept>
void copy_checked(const Database& store, const std::string& file, Accept accept) {
  FileInTheMaking copy(file);
  copy_to_file(store.engine(), store.path(), copy.path());
  give_new_mark(copy.path());
  accept(copy.path());
  copy.rename_to(file);
}

Engine open_backup(const std::string& backup) {
  struct stat status {};
  if (stat(backup.c_str(), &status) != 0) refuse_for_the_system("There is no backup", backup);
  if (!S_ISREG(status.st_mode)) raise_store_failure("'" + backup + "' is no file, and so no backup");
  if (log_in_force(backup))
    raise_store_failure("The backup '" + backup + "' has a log beside it, '" + log_path(backup) +
                        "': it was copied while the store was in use. `mercato store backup --store 'Data Source=" +
                        backup + "' FILE` makes a whole one of both");
  Engine engine = open_at_rest(backup);
  if ((sqlite3_exec(engine.get(), "PRAGMA user_version", nullptr, nullptr, nullptr) & 0xFF) == SQLITE_NOTADB)
    raise_store_failure("'" + backup + "' is no store of this program");
  const std::int64_t version = integer_of(engine.get(), "PRAGMA user_version", backup);
  if (version == 0) raise_store_failure("'" + backup + "' is no store of this program");
  if (version > kStoreVersion)
    raise_store_failure("The backup '" + backup + "' was written by a newer version of this program (store version " +
                        std::to_string(version) + ", this one knows " + std::to_string(kStoreVersion) + ")");
  return engine;
}

// What is going to be the store: whole, of this version, and with a mark of its own. With the backup's mark the store
// could not be told from the backup when that is copied over it. Who uses the store looks at its version when it is
// opened, and not again, so that an older backup is brought up to date here. Returns the mark.
std::uint32_t copy_backup(sqlite3* backup, const std::string& backup_path, const std::string& path) {
  copy_to_file(backup, backup_path, path);
  {
    const Engine copy = open_engine(path, path, SQLITE_OPEN_READWRITE);
    if (const std::int64_t version = integer_of(copy.get(), "PRAGMA user_version", path); version != kStoreVersion)
      require_ok(copy.get(), bring_up_to_date(copy.get(), version), path);
    if (const auto faults = faults_of(copy.get(), path); !faults.empty())
      raise_store_failure("The backup '" + backup_path + "' is damaged (" + faults.front() +
                          "). The store was not touched");
  }
  return give_new_mark(path);
}

std::string free_name_for(const std::string& store) {
  std::string name = store + ".before-restore";
  for (int number = 2; identity_of(name); ++number) name = store + ".before-restore-" + std::to_string(number);
  return name;
}

// Moves what stands beside the store out of the way of its successor, or along with what is kept.
void clear_way(const std::string& from, const std::string& kept) {
  if (kept.empty() ? unlink(from.c_str()) == 0 : rename(from.c_str(), kept.c_str()) == 0) return;
  if (errno != ENOENT) refuse_for_the_system("This stands in the way of the restored store:", from);
}

std::string exchange(const std::string& path, sqlite3* backup, const std::string& backup_path, bool keep) {
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  FileInTheMaking copy(path);
  copy_backup(backup, backup_path, copy.path());
  if (exists) copy.take_rights_of(status);

  const std::string kept = exists && keep ? free_name_for(path) : "";
  if (!kept.empty() && link(path.c_str(), kept.c_str()) != 0) refuse_for_the_system("There can be no file", kept);
  // From the first moment on nobody takes the old log for the new file's.
  const auto log = log_in_force(path);
  if (const auto note = read_log_note(path); log && (!note || note->log != *log))
    write_log_note(path, {*log, identity_of(path), identity_of(log_path(path)), {}});
  copy.rename_to(path);
  clear_way(log_path(path), kept.empty() ? "" : log_path(kept));
  clear_way(note_path(path), kept.empty() ? "" : note_path(kept));
  clear_way(path + "-shm", "");
  return kept;
}

}  // namespace

std::vector<std::string> FileUpkeep::check(const std::string& connection_string) const try {
  const Database store(connection_string);
  std::vector<std::string> faults = faults_of(store.engine(), store.path());
  if (faults.empty() && integer_of(store.engine(), "PRAGMA user_version", store.path()) == 0)
    faults.push_back("no version is noted in the file");
  return faults;
} catch (const Raised& raised) {
  // Damage that keeps the file from being opened is a fault as any other.
  const std::string& said = raised.error().Description;
  const std::size_t damaged = said.find(kIsDamaged);
  if (damaged == std::string::npos) throw;
  return {said.substr(damaged + kIsDamaged.size(), said.size() - damaged - kIsDamaged.size() - 1)};
}

std::vector<std::string> FileUpkeep::mend_text_indexes(const std::string& connection_string) const {
  Database store(connection_string);
  if (sqlite3_db_readonly(store.engine(), "main") == 1) return {};
  return sqlite::mend_text_indexes(store);
}

StoreDescription describe_file(const std::string& connection_string) {
  Database store(connection_string);
  StoreDescription told;
  told.engine = "SQLite";
  told.version = sqlite3_libversion();
  const fs::path path = fs::canonical(store.path());
  told.place = path.string();
  told.collation = "MERCATO, ICU " U_ICU_VERSION;
  told.text_search = "FTS5, trigrams";
  if (sqlite3_db_readonly(store.engine(), "main") == 1)
    told.lacking_rights.push_back("writing: the file may only be read");
  else if (faccessat(AT_FDCWD, path.parent_path().c_str(), W_OK, AT_EACCESS) != 0)
    told.lacking_rights.push_back("writing: no log can be made in the folder of the file");
  const StatementHandle tables =
      store.prepare(std::string("SELECT name FROM sqlite_schema WHERE ").append(kIsTable).append(" ORDER BY name"));
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(tables.get())) == SQLITE_ROW)
    told.tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(tables.get(), 0)));
  if (code != SQLITE_DONE) store.raise(code);
  return told;
}

void FileUpkeep::back_up(const std::string& connection_string, const std::string& file) const {
  if (identity_of(file))
    raise_store_failure("There is a file '" + file + "' already. Give the backup another name, or delete it");
  const fs::path folder = fs::path(file).parent_path();
  if (std::error_code unreadable; !folder.empty() && !fs::is_directory(folder, unreadable))
    raise_store_failure("There is no folder '" + folder.string() + "' for the backup '" + file + "'");
  const Database store(connection_string);
  copy_checked(store, file, [&](const std::string& copy) {
    const Engine written = open_at_rest(copy);
    if (const auto faults = faults_of(written.get(), copy); !faults.empty())
      raise_store_failure("The store '" + store.path() + "' is damaged (" + faults.front() +
                          "), and was not backed up. Bring it back from an older backup");
  });
}

std::string FileUpkeep::restore(const std::string& connection_string, const std::string& backup, bool keep) const {
  const std::string path = connection_property(connection_string, "Data Source").value_or("");
  if (const auto file = identity_of(backup); file && file == identity_of(path))
    raise_store_failure("'" + backup + "' is the store itself");
  const Engine source = open_backup(backup);
  if (path.empty() || path == ":memory:" || identity_of(path)) {
    try {
      Database store(connection_string);
      const FileInTheMaking copy(store.path());
      const std::uint32_t mark = copy_backup(source.get(), backup, copy.path());
      const Engine marked = open_at_rest(copy.path());
      std::string kept;
      if (keep) copy_checked(store, kept = free_name_for(store.path()), [](const std::string&) {});
      const int code = copy_pages(marked.get(), store.engine(), [&] { store.admit_mark(mark); });
      if (code != SQLITE_OK) store.raise(code);
      store.after_commit();
      return kept;
    } catch (const UnusableStore&) {
      // Its file makes room.
    }
  }
  return exchange(fs::is_symlink(path) ? fs::canonical(path).string() : path, source.get(), backup, keep);
}

}  // namespace mercato::store::sqlite
