// SPDX-License-Identifier: Apache-2.0
#include "host/tokens.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "mercato/clock.h"
#include "mercato/raised_error.h"
#include "platform/files/files.h"

namespace mercato::host {
namespace {

constexpr const char* kSource = "Mercato.Host";
constexpr std::size_t kTokenBytes = 32;
constexpr std::size_t kHashBytes = 32;
constexpr std::size_t kSaltBytes = 32;

using Json = nlohmann::ordered_json;

struct FileContent {
  std::string salt;
  std::vector<Token> tokens;
};

void prepare() {
  static const bool ready = ::sodium_init() >= 0;
  if (!ready) raise(error_number::kInvalidArgument, kSource, "The system has no source of random numbers");
}

std::string in_hexadecimal(const unsigned char* bytes, std::size_t count) {
  std::string text(count * 2 + 1, '\0');
  ::sodium_bin2hex(text.data(), text.size(), bytes, count);
  text.pop_back();
  return text;
}

std::string hash_of(std::string_view token, const std::string& salt) {
  std::array<unsigned char, kHashBytes> hash{};
  ::crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(token.data()), token.size(),
                       reinterpret_cast<const unsigned char*>(salt.data()), salt.size());
  return in_hexadecimal(hash.data(), hash.size());
}

std::string new_salt() {
  std::array<unsigned char, kSaltBytes> bytes{};
  ::randombytes_buf(bytes.data(), bytes.size());
  return in_hexadecimal(bytes.data(), bytes.size());
}

std::string today() { return clock::now().iso_text().substr(0, 10); }

[[noreturn]] void refuse_file(const std::string& reason) { raise(error_number::kInvalidArgument, kSource, reason); }

FileContent read_content(const std::string& path) {
  constexpr std::size_t kMost = std::size_t{1} << 20;
  const std::string text = files::read_file(path, kMost);
  FileContent content;
  try {
    const Json json = Json::parse(text);
    content.salt = json.at("salt").get<std::string>();
    for (const Json& one : json.at("tokens")) {
      Token token;
      token.name = one.at("name").get<std::string>();
      const auto role = role_named(one.at("role").get<std::string>());
      if (!role) refuse_file("'" + path + "' is no token file: it names an unknown role");
      token.role = *role;
      if (one.contains("user")) token.user = one.at("user").get<std::string>();
      token.expires = one.value("expires", "");
      token.created = one.value("created", "");
      token.hash = one.at("hash").get<std::string>();
      content.tokens.push_back(std::move(token));
    }
  } catch (const Json::exception&) {
    refuse_file("'" + path + "' is no token file");
  }
  if (content.salt.size() < crypto_generichash_KEYBYTES_MIN || content.salt.size() > crypto_generichash_KEYBYTES_MAX)
    refuse_file("'" + path + "' is no token file: its salt has a wrong length");
  return content;
}

void write_content(const std::string& path, const FileContent& content) {
  Json tokens = Json::array();
  for (const Token& token : content.tokens) {
    Json one = {{"name", token.name}, {"role", name_of(token.role)}};
    if (token.user) one["user"] = *token.user;
    if (!token.expires.empty()) one["expires"] = token.expires;
    one["created"] = token.created;
    one["hash"] = token.hash;
    tokens.push_back(std::move(one));
  }
  const mode_t before = ::umask(0077);  // of the process, which is a command: nothing else makes files meanwhile
  try {
    files::write_file_atomically(path, Json{{"salt", content.salt}, {"tokens", std::move(tokens)}}.dump(2) + "\n");
  } catch (...) {
    ::umask(before);
    throw;
  }
  ::umask(before);
}

// Others that change a file of this folder wait.
class Turn {
 public:
  explicit Turn(const std::string& path) {
    const std::string folder = std::filesystem::absolute(path).parent_path().string();
    folder_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ >= 0) ::flock(folder_, LOCK_EX);
  }
  ~Turn() {
    if (folder_ >= 0) ::close(folder_);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  int folder_ = -1;
};

std::string stamp_of(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  return std::to_string(status.st_ino) + "." + std::to_string(status.st_mtim.tv_sec) + "." +
         std::to_string(status.st_mtim.tv_nsec) + "." + std::to_string(status.st_size);
}

}  // namespace

std::string_view name_of(Role role) {
  switch (role) {
    case Role::reader:
      return "reader";
    case Role::keeper:
      return "keeper";
    case Role::admin:
      return "admin";
    default:
      return "-";
  }
}

std::optional<Role> role_named(std::string_view name) {
  for (const Role role : {Role::reader, Role::keeper, Role::admin})
    if (name == name_of(role)) return role;
  return std::nullopt;
}

bool is_day(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
  const auto date = Date::parse(text);
  return date && date->iso_text().substr(0, 10) == text;
}

std::string random_text(std::size_t bytes) {
  prepare();
  std::string random(bytes, '\0');
  ::randombytes_buf(random.data(), random.size());
  constexpr int kForm = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::string text(sodium_base64_encoded_len(bytes, kForm), '\0');
  ::sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(random.data()), bytes, kForm);
  text.resize(text.find('\0'));
  return text;
}

std::string TokenFile::add(Token token) const {
  prepare();
  const Turn turn(path_);
  FileContent content;
  if (files::file_exists(path_))
    content = read_content(path_);
  else
    content.salt = new_salt();
  if (std::ranges::find(content.tokens, token.name, &Token::name) != content.tokens.end())
    refuse_file("There is a token '" + token.name + "' already; `mercato token revoke` ends it");
  std::string text = random_text(kTokenBytes);
  token.created = today();
  token.hash = hash_of(text, content.salt);
  content.tokens.push_back(std::move(token));
  write_content(path_, content);
  return text;
}

std::vector<Token> TokenFile::list() const { return read_content(path_).tokens; }

bool TokenFile::revoke(std::string_view name) const {
  const Turn turn(path_);
  FileContent content = read_content(path_);
  if (std::erase_if(content.tokens, [&](const Token& token) { return token.name == name; }) == 0) return false;
  write_content(path_, content);
  return true;
}

KnownTokens KnownTokens::of_file(std::string path) {
  prepare();
  KnownTokens known;
  known.path_ = std::move(path);
  known.stamp_ = stamp_of(known.path_);
  FileContent content = read_content(known.path_);
  known.content_ = {std::move(content.salt), std::move(content.tokens)};
  known.looked_at_ = std::chrono::steady_clock::now();
  return known;
}

KnownTokens KnownTokens::for_process(const std::string& token) {
  prepare();
  KnownTokens known;
  known.content_.salt = new_salt();
  Token only;
  only.name = "console";
  only.role = Role::admin;
  only.hash = hash_of(token, known.content_.salt);
  known.content_.tokens.push_back(std::move(only));
  return known;
}

// A file that cannot be read leaves no token in force: it may have been taken away to end them.
void KnownTokens::read_again() {
  constexpr std::chrono::milliseconds kPause{500};
  const auto now = std::chrono::steady_clock::now();
  if (path_.empty() || now - looked_at_ < kPause) return;
  looked_at_ = now;
  std::string stamp = stamp_of(path_);
  if (stamp == stamp_) return;
  stamp_ = std::move(stamp);
  try {
    FileContent content = read_content(path_);
    content_ = {std::move(content.salt), std::move(content.tokens)};
  } catch (const Raised&) {
    content_.tokens.clear();
  }
}

std::optional<Caller> KnownTokens::caller_of(std::string_view token) {
  read_again();
  const std::string hash = hash_of(token, content_.salt);
  const Token* found = nullptr;
  for (const Token& known : content_.tokens)
    if (known.hash.size() == hash.size() && ::sodium_memcmp(known.hash.data(), hash.data(), hash.size()) == 0)
      found = &known;
  if (!found || (!found->expires.empty() && found->expires < today())) return std::nullopt;
  return Caller{found->role, found->name, found->user};
}

bool WrongTokens::add(const std::string& address) {
  constexpr int kMost = 10;
  constexpr std::chrono::seconds kTime{60};
  constexpr std::size_t kMostAddresses = 10'000;
  const auto now = std::chrono::steady_clock::now();
  if (counts_.size() >= kMostAddresses) {
    std::erase_if(counts_, [&](const auto& entry) { return now - entry.second.since > kTime; });
    if (counts_.size() >= kMostAddresses) counts_.clear();
  }
  Count& count = counts_[address];
  if (now - count.since > kTime) count = {now, 0};
  return ++count.wrong > kMost;
}

}  // namespace mercato::host
