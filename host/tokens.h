// SPDX-License-Identifier: Apache-2.0
// Who may do what: roles, and the tokens by which programs and people show theirs.
//
// A token is 256 random bits as text. The file keeps of each a keyed BLAKE2b hash under a salt of the file: as nobody can
// go through 2^256 tokens, a slow hash of the kind that passwords need would only make each request slow. Hashes are
// compared in constant time, all of the file at each question, so that the time does not tell which was nearly right.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mercato::host {

// Each may what those before it may.
enum class Role { nobody, reader, keeper, admin };
std::string_view name_of(Role role);
// Nothing for a name that is no role of a token.
std::optional<Role> role_named(std::string_view name);

struct Token {
  std::string name;
  Role role = Role::reader;
  std::optional<std::string> user;  // whose sight it has
  std::string expires;              // the last day that it holds, 2026-12-31; empty: it does not end
  std::string created;
  std::string hash;  // in hexadecimal digits
};

// The token file, for the commands that keep it. Each call reads it, and writes it whole or not at all; two processes
// take turns. Raises 53 when there is no file, 5 for one that is no token file and for what cannot be done, and what
// writing raises.
class TokenFile {
 public:
  explicit TokenFile(std::string path) : path_(std::move(path)) {}
  // The token's text, which nobody can get again. Makes the file, for its owner only, when there is none.
  std::string add(Token token) const;
  std::vector<Token> list() const;
  // False when there is no such token.
  bool revoke(std::string_view name) const;

 private:
  std::string path_;
};

// Whether a date of a token is one: 2026-12-31.
bool is_day(std::string_view text);

// Random bits as text that goes into addresses and headers.
std::string random_text(std::size_t bytes);

// Who asks.
struct Caller {
  Role role = Role::nobody;
  std::string name;
  std::optional<std::string> user;
};

// The tokens that hold, for the host. One thread at a time.
class KnownTokens {
 public:
  // Those of a file, which is read again when it has changed. Raises what reading it raises.
  static KnownTokens of_file(std::string path);
  // One of role admin that holds as long as this object.
  static KnownTokens for_process(const std::string& token);

  // Nothing for a token that does not hold.
  std::optional<Caller> caller_of(std::string_view token);

 private:
  struct Content {
    std::string salt;
    std::vector<Token> tokens;
  };
  void read_again();

  std::string path_;  // empty: of the process
  std::string stamp_;
  std::chrono::steady_clock::time_point looked_at_;
  Content content_;
};

// Wrong tokens by address: more than ten within a minute are too many. One thread at a time.
class WrongTokens {
 public:
  // One more from there. True when they are too many.
  bool add(const std::string& address);

 private:
  struct Count {
    std::chrono::steady_clock::time_point since;
    int wrong = 0;
  };
  std::map<std::string, Count> counts_;
};

}  // namespace mercato::host
