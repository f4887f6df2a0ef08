// SPDX-License-Identifier: Apache-2.0
// A file layer of the engine that fails and loses, for tests: it stands before the real one and counts what goes
// through.
//  - From a chosen operation on, once or for good, reading, writing, flushing, opening and deleting fail.
//  - At a chosen operation the power goes: of what was not flushed some is on the disk, some is not, some is there in
//    part, and the process ends.
// One for the process, used by one thread.
#pragma once

#include <sqlite3.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace mercato::store::test {

class FaultyFiles {
 public:
  // In front of the real files from now on; connections that are opened later use it.
  static FaultyFiles& install() {
    static FaultyFiles files;
    files.reset();
    sqlite3_vfs_register(&files.layer_, 1);
    return files;
  }
  void uninstall() {
    reset();
    sqlite3_vfs_register(real_, 1);
  }

  // The operation with that number from here, counted from 1, fails; with `for_good` all after it, too.
  void fail_at(long operation, bool for_good) {
    left_ = operation;
    for_good_ = for_good;
  }
  // Before the operation with that number the power goes. `random` gives a number below its argument.
  void lose_power_at(long operation, std::function<unsigned(unsigned)> random) {
    reset();
    left_ = operation;
    random_ = std::move(random);
  }
  bool has_failed() const { return failed_; }
  // From here everything works.
  void heal() { reset(); }

 private:
  static constexpr std::size_t kSector = 512;

  struct Change {
    sqlite3_int64 offset;
    std::string bytes;
    bool truncates;  // to the offset
  };
  struct Content {
    std::string durable;
    std::vector<Change> unflushed;
  };
  struct File {
    sqlite3_file head;
    std::string* path;  // of a file that has a name
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  };

  FaultyFiles() : real_(sqlite3_vfs_find(nullptr)), layer_(*real_) {
    layer_.zName = "mercato-faulty";
    layer_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
    layer_.pNext = nullptr;
    layer_.xOpen = &open;
    layer_.xDelete = &remove;
    methods_.iVersion = 2;  // without files that are mapped into memory
    methods_.xClose = [](sqlite3_file* file) {
      const int code = of(file)->pMethods->xClose(of(file));
      delete reinterpret_cast<File*>(file)->path;
      return code;
    };
    methods_.xRead = [](sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
      return self().fails() ? SQLITE_IOERR_READ : of(file)->pMethods->xRead(of(file), bytes, count, offset);
    };
    methods_.xWrite = [](sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
      if (self().fails()) return SQLITE_IOERR_WRITE;
      self().note(file, {offset, std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(count)), false});
      return of(file)->pMethods->xWrite(of(file), bytes, count, offset);
    };
    methods_.xTruncate = [](sqlite3_file* file, sqlite3_int64 size) {
      if (self().fails()) return SQLITE_IOERR_TRUNCATE;
      self().note(file, {size, {}, true});
      return of(file)->pMethods->xTruncate(of(file), size);
    };
    // The real disk need not do it: the machine stays up.
    methods_.xSync = [](sqlite3_file* file, int) {
      if (self().fails()) return SQLITE_IOERR_FSYNC;
      self().flush(file);
      return SQLITE_OK;
    };
    methods_.xFileSize = [](sqlite3_file* file, sqlite3_int64* size) {
      return of(file)->pMethods->xFileSize(of(file), size);
    };
    methods_.xLock = [](sqlite3_file* file, int lock) { return of(file)->pMethods->xLock(of(file), lock); };
    methods_.xUnlock = [](sqlite3_file* file, int lock) { return of(file)->pMethods->xUnlock(of(file), lock); };
    methods_.xCheckReservedLock = [](sqlite3_file* file, int* held) {
      return of(file)->pMethods->xCheckReservedLock(of(file), held);
    };
    methods_.xFileControl = [](sqlite3_file* file, int what, void* argument) {
      return of(file)->pMethods->xFileControl(of(file), what, argument);
    };
    methods_.xSectorSize = [](sqlite3_file*) { return static_cast<int>(kSector); };
    // Nothing is promised: no write is whole, none keeps its place among others.
    methods_.xDeviceCharacteristics = [](sqlite3_file*) { return 0; };
    methods_.xShmMap = [](sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
      return self().fails() ? SQLITE_IOERR_SHMMAP : of(file)->pMethods->xShmMap(of(file), region, size, extend, memory);
    };
    methods_.xShmLock = [](sqlite3_file* file, int offset, int count, int flags) {
      return of(file)->pMethods->xShmLock(of(file), offset, count, flags);
    };
    methods_.xShmBarrier = [](sqlite3_file* file) { of(file)->pMethods->xShmBarrier(of(file)); };
    methods_.xShmUnmap = [](sqlite3_file* file, int removes) {
      return of(file)->pMethods->xShmUnmap(of(file), removes);
    };
  }

  static FaultyFiles& self() { return *instance_; }
  static sqlite3_file* of(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real(); }

  static int open(sqlite3_vfs*, const char* path, sqlite3_file* opened, int flags, int* out_flags) {
    auto* file = reinterpret_cast<File*>(opened);
    file->head.pMethods = nullptr;
    file->path = nullptr;
    if (self().fails()) return SQLITE_CANTOPEN;
    const int code = self().real_->xOpen(self().real_, path, file->real(), flags, out_flags);
    if (!file->real()->pMethods) return code;
    file->head.pMethods = &self().methods_;
    if (path) {
      file->path = new std::string(path);
      if (self().random_ && !self().contents_.contains(path)) self().contents_[path].durable = read(path);
    }
    return code;
  }
  static int remove(sqlite3_vfs*, const char* path, int flush) {
    if (self().fails()) return SQLITE_IOERR_DELETE;
    self().contents_.erase(path);
    return self().real_->xDelete(self().real_, path, flush);
  }

  static std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  bool fails() {
    if (left_ > 0 && --left_ == 0) {
      if (random_) lose_power();
      failed_ = true;
      return true;
    }
    return failed_ && for_good_;
  }

  void note(sqlite3_file* file, Change change) {
    if (const std::string* path = reinterpret_cast<File*>(file)->path; random_ && path)
      contents_[*path].unflushed.push_back(std::move(change));
  }
  void flush(sqlite3_file* file) {
    const std::string* path = reinterpret_cast<File*>(file)->path;
    if (!random_ || !path) return;
    Content& content = contents_[*path];
    for (const Change& change : content.unflushed) apply(content.durable, change, change.bytes.size());
    content.unflushed.clear();
  }
  static void apply(std::string& content, const Change& change, std::size_t count) {
    const auto offset = static_cast<std::size_t>(change.offset);
    if (change.truncates) {
      content.resize(offset);
      return;
    }
    if (content.size() < offset + count) content.resize(offset + count);
    content.replace(offset, count, change.bytes, 0, count);
  }

  [[noreturn]] void lose_power() {
    for (auto& [path, content] : contents_) {
      for (const Change& change : content.unflushed) {
        switch (random_(3)) {
          case 0:
            apply(content.durable, change, change.bytes.size());
            break;
          case 1: {
            const std::size_t sectors = change.bytes.size() / kSector;
            if (!change.truncates)
              apply(content.durable, change, sectors > 0 ? random_(static_cast<unsigned>(sectors)) * kSector : 0);
            break;
          }
          default:
            break;  // lost
        }
      }
      std::ofstream(path, std::ios::binary | std::ios::trunc) << content.durable;
      // What the engine keeps in shared memory is gone with the machine, the note of a log may be.
      unlink((path + "-shm").c_str());
      if (random_(2) == 0) unlink((path + "-owner").c_str());
    }
    _exit(0);
  }

  void reset() {
    instance_ = this;
    left_ = 0;
    for_good_ = false;
    failed_ = false;
    random_ = nullptr;
    contents_.clear();
  }

  static inline FaultyFiles* instance_ = nullptr;
  sqlite3_vfs* real_;
  sqlite3_vfs layer_;
  sqlite3_io_methods methods_{};
  long left_ = 0;
  bool for_good_ = false;
  bool failed_ = false;
  std::function<unsigned(unsigned)> random_;
  std::map<std::string, Content> contents_;
};

}  // namespace mercato::store::test
