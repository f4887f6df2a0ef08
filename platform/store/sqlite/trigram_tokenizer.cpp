// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/trigram_tokenizer.h"

#include <array>
#include <cstdint>
#include <new>

#include "values/same_text.h"
#include "values/squeezed_text.h"

namespace mercato::store::sqlite {
namespace {

using Take = int (*)(void* context, int flags, const char* token, int size, int begin, int end);

// Nothing is kept between two texts; a tokenizer is its address.
int create(void* /*context*/, const char** /*arguments*/, int /*count*/, Fts5Tokenizer** tokenizer) {
  static int instance;
  *tokenizer = reinterpret_cast<Fts5Tokenizer*>(&instance);
  return SQLITE_OK;
}

void destroy(Fts5Tokenizer* /*tokenizer*/) {}

// FTS5 finds what it has in memory by a sum over the bytes that is nearly the same for most trigrams of letters and
// digits. Two more bytes, made of them, tell them apart.
class Token {
 public:
  explicit Token(std::string_view trigram) : size_(trigram.copy(bytes_.data(), bytes_.size() - 2)) {
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < size_; ++i) hash = (hash ^ static_cast<unsigned char>(bytes_[i])) * 0x9E3779B1u;
    bytes_[size_++] = static_cast<char>(hash >> 24 | 1);  // no NUL, which ends a token
    bytes_[size_++] = static_cast<char>(hash >> 16 | 1);
  }
  const char* bytes() const { return bytes_.data(); }
  int size() const { return static_cast<int>(size_); }

 private:
  std::array<char, 3 * 4 + 2> bytes_;
  std::size_t size_;
};

int tokenize(Fts5Tokenizer* /*tokenizer*/, void* context, int flags, const char* text, int size, Take take) {
  if (size <= 0) return SQLITE_OK;
  const auto take_trigram = [&](std::string_view trigram) {
    const Token token(trigram);
    // Where it stands in the text is not kept.
    return take(context, 0, token.bytes(), token.size(), 0, 0);
  };
  if ((flags & FTS5_TOKENIZE_QUERY) != 0) return take_trigram({text, static_cast<std::size_t>(size)});
  try {
    text::Trigrams trigrams(text::folded({text, static_cast<std::size_t>(size)}));
    for (std::string_view each = trigrams.next(); !each.empty(); each = trigrams.next()) {
      const int code = take_trigram(each);
      if (code != SQLITE_OK) return code;
    }
    return SQLITE_OK;
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  } catch (...) {
    return SQLITE_ERROR;
  }
}

// Null when the engine has no FTS5.
fts5_api* api_of(sqlite3* database) {
  sqlite3_stmt* statement = nullptr;
  fts5_api* api = nullptr;
  if (sqlite3_prepare_v2(database, "SELECT fts5(?1)", -1, &statement, nullptr) == SQLITE_OK) {
    sqlite3_bind_pointer(statement, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
  }
  sqlite3_finalize(statement);
  return api;
}

}  // namespace

int register_tokenizer(sqlite3* database) {
  fts5_api* const api = api_of(database);
  if (api == nullptr) return sqlite3_errcode(database) == SQLITE_NOMEM ? SQLITE_NOMEM : SQLITE_ERROR;
  fts5_tokenizer methods{create, destroy, tokenize};
  return api->xCreateTokenizer(api, kTokenizer.data(), nullptr, &methods, nullptr);
}

}  // namespace mercato::store::sqlite
