// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/trigram_tokenizer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "values/same_text.h"
#include "values/squeezed_text.h"

namespace mercato::store::sqlite {
namespace {

// Behind each trigram of a list: no trigram has a control.
constexpr char kEnd = '\x01';
constexpr std::size_t kLongest = 3 * 4;  // three characters

// A trigram as a number; none has a NUL, so zeros behind it are no part of it.
struct Key {
  explicit Key(std::string_view trigram) {
    const auto byte = [&](std::size_t at) { return std::uint64_t{static_cast<unsigned char>(trigram[at])}; };
    if (trigram.size() == 3) {  // as most are
      first = byte(0) | byte(1) << 8 | byte(2) << 16;
      return;
    }
    std::memcpy(&first, trigram.data(), std::min(trigram.size(), sizeof first));
    if (trigram.size() > sizeof first)
      std::memcpy(&rest, trigram.data() + sizeof first, std::min(trigram.size() - sizeof first, sizeof rest));
  }
  Key() = default;
  bool operator==(const Key&) const = default;
  std::uint32_t hash() const {
    return static_cast<std::uint32_t>(((first ^ rest * 0xC2B2AE3D27D4EB4Fu) * 0x9E3779B97F4A7C15u) >> 32);
  }

  std::uint64_t first = 0;
  std::uint32_t rest = 0;
};
static_assert(kLongest <= sizeof(std::uint64_t) + sizeof(std::uint32_t));

class TrigramList {
 public:
  TrigramList() { text_.reserve(1024); }
  template <class Trigrams>
  void add_all(Trigrams trigrams) {
    for (std::string_view each = trigrams.next(); !each.empty(); each = trigrams.next())
      if (is_new(Key(each))) text_.append(each) += kEnd;
  }
  const std::string& text() const { return text_; }

 private:
  bool is_new(const Key& key) {
    if (2 * count_ >= keys_.size()) make_room();
    Key& place = place_of(key);
    if (place == key) return false;
    place = key;
    ++count_;
    return true;
  }
  // Where it is, or would be.
  Key& place_of(const Key& key) {
    for (std::size_t at = key.hash();; ++at)
      if (Key& place = keys_[at & (keys_.size() - 1)]; place == key || place == Key()) return place;
  }
  void make_room() {
    const std::vector<Key> keys = std::exchange(keys_, std::vector<Key>(2 * keys_.size()));
    for (const Key& key : keys)
      if (key != Key()) place_of(key) = key;
  }

  std::string text_;
  std::vector<Key> keys_ = std::vector<Key>(256);  // by hash; a power of two
  std::size_t count_ = 0;
};

void list_trigrams(sqlite3_context* context, int count, sqlite3_value** texts) {
  try {
    TrigramList list;
    for (int i = 0; i < count; ++i) {
      const auto* const bytes = reinterpret_cast<const char*>(sqlite3_value_text(texts[i]));
      if (!bytes) continue;
      const std::string folded = text::folded({bytes, static_cast<std::size_t>(sqlite3_value_bytes(texts[i]))});
      list.add_all(text::Trigrams(folded));
      list.add_all(text::SignedTrigrams(folded));
    }
    sqlite3_result_text64(context, list.text().data(), list.text().size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& failed) {
    sqlite3_result_error(context, failed.what(), -1);
  }
}

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
  explicit Token(std::string_view trigram) : size_(trigram.copy(bytes_.data(), kLongest)) {
    const std::uint32_t hash = Key(trigram).hash();
    bytes_[size_++] = static_cast<char>(hash >> 24 | 1);  // no NUL, which ends a token
    bytes_[size_++] = static_cast<char>(hash >> 16 | 1);
  }
  const char* bytes() const { return bytes_.data(); }
  int size() const { return static_cast<int>(size_); }

 private:
  std::array<char, kLongest + 2> bytes_;
  std::size_t size_;
};

int tokenize(Fts5Tokenizer* /*tokenizer*/, void* context, int flags, const char* text, int size, Take take) {
  if (size <= 0) return SQLITE_OK;
  const auto take_trigram = [&](std::string_view trigram) {
    const Token token(trigram);
    // Where it stands in the text is not kept.
    return take(context, 0, token.bytes(), token.size(), 0, 0);
  };
  std::string_view list(text, static_cast<std::size_t>(size));
  if ((flags & FTS5_TOKENIZE_QUERY) != 0) return take_trigram(list);
  while (!list.empty()) {
    const std::size_t end = list.find(kEnd);
    if (end > kLongest) return SQLITE_CORRUPT;
    if (const int code = take_trigram(list.substr(0, end)); code != SQLITE_OK) return code;
    list.remove_prefix(end + 1);
  }
  return SQLITE_OK;
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

int register_trigrams(sqlite3* database) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_INNOCUOUS | SQLITE_DETERMINISTIC;
  const int code = sqlite3_create_function_v2(database, "mercato_trigrams", -1, kFlags, nullptr, list_trigrams, nullptr,
                                              nullptr, nullptr);
  if (code != SQLITE_OK) return code;
  fts5_api* const api = api_of(database);
  if (api == nullptr) return sqlite3_errcode(database) == SQLITE_NOMEM ? SQLITE_NOMEM : SQLITE_ERROR;
  fts5_tokenizer methods{create, destroy, tokenize};
  return api->xCreateTokenizer(api, kTokenizer.data(), nullptr, &methods, nullptr);
}

}  // namespace mercato::store::sqlite
