// SPDX-License-Identifier: Apache-2.0
#include "bench/support/postgresql/server_recording.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "platform/store/driver.h"
#include "values/text.h"

namespace mercato::bench {
namespace {

sockaddr_un address_in(const std::filesystem::path& folder, const std::string& port) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder / (".s.PGSQL." + port);
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error("the path of the socket is too long: " + path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

void send_all(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;  // the other side has gone, which the next reading shows
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

// The fields of a message, from the front.
class Fields {
 public:
  explicit Fields(std::string_view bytes) : bytes_(bytes) {}
  std::uint32_t number(std::size_t size) {
    std::uint32_t number = 0;
    for (const char byte : take(size)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
  }
  std::string_view text() {
    const std::string_view text = bytes_.substr(0, bytes_.find('\0'));
    take(text.size() + 1);
    return text;
  }
  std::string_view take(std::size_t size) {
    if (size > bytes_.size()) throw std::runtime_error("a message to the server is not understood");
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return taken;
  }

 private:
  std::string_view bytes_;
};

enum class Purpose { work, savepoint, setting, table_question };

Purpose purpose_of(std::string_view text) {
  const auto begins = [text](std::initializer_list<std::string_view> words) {
    for (const std::string_view word : words)
      if (text.starts_with(word)) return true;
    return false;
  };
  if (begins({"SAVEPOINT", "RELEASE", "ROLLBACK TO"})) return Purpose::savepoint;
  if (begins({"SET ", "RESET ", "DEALLOCATE", "SELECT set_config", "SELECT setval('mercato_flush'"}))
    return Purpose::setting;
  if (text.find("pg_class") != text.npos || text.find("mercato_store") != text.npos) return Purpose::table_question;
  return Purpose::work;
}

}  // namespace

// One connection of the library and the one to the server behind it.
struct ServerRecording::Session {
  int client = -1;
  int server = -1;
  bool started = false;   // the first message, which has no letter, has gone by
  bool answered = false;  // since the last batch
  std::string from_client;
  std::string from_server;
  std::map<std::string, std::uint32_t, std::less<>> prepared;
  static constexpr std::int64_t kNoStep = -1, kSync = -2;
  std::int64_t bound = kNoStep;
  std::deque<std::int64_t> unanswered;  // steps, and the ends of batches

  ~Session() {
    ::close(client);
    if (server >= 0) ::close(server);
  }
};

class ServerRecording::Relay {
 public:
  Relay(ServerRecording& owner, sockaddr_un server) : owner_(owner), tape_(owner.tape_), server_(server) {}

  void run() {
    for (;;) {
      std::vector<pollfd> watched{{owner_.stop_[0], POLLIN, 0}, {owner_.listener_, POLLIN, 0}};
      for (const auto& session : sessions_) {
        watched.push_back({session->client, POLLIN, 0});
        watched.push_back({session->server, POLLIN, 0});
      }
      if (::poll(watched.data(), watched.size(), -1) < 0) continue;
      if (watched[0].revents != 0) return;
      for (std::size_t i = sessions_.size(); i-- > 0;) {
        const bool open = (watched[2 + 2 * i].revents == 0 || pass_on(*sessions_[i], true)) &&
                          (watched[3 + 2 * i].revents == 0 || pass_on(*sessions_[i], false));
        if (!open) sessions_.erase(sessions_.begin() + static_cast<std::ptrdiff_t>(i));
      }
      if (watched[1].revents != 0) accept();
    }
  }

 private:
  void accept() {
    auto session = std::make_unique<Session>();
    session->client = ::accept(owner_.listener_, nullptr, nullptr);
    session->server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::connect(session->server, reinterpret_cast<const sockaddr*>(&server_), sizeof server_) == 0)
      sessions_.push_back(std::move(session));
  }

  // False at the end of the connection.
  bool pass_on(Session& session, bool from_client) {
    const ssize_t size = ::recv(from_client ? session.client : session.server, buffer_.data(), buffer_.size(), 0);
    if (size <= 0) return false;
    const std::string_view bytes(buffer_.data(), static_cast<std::size_t>(size));
    if (from_client) {
      session.from_client += bytes;
      read_messages(session, session.from_client, true);
      send_all(session.server, bytes);
    } else {
      session.answered = true;
      session.from_server += bytes;
      read_messages(session, session.from_server, false);
      send_all(session.client, bytes);
    }
    return true;
  }

  void read_messages(Session& session, std::string& bytes, bool from_client) {
    std::size_t at = 0;
    for (;;) {
      const std::size_t letter = from_client && !session.started ? 0 : 1;
      if (bytes.size() - at < letter + 4) break;
      const std::size_t size = letter + Fields(std::string_view(bytes).substr(at + letter)).number(4);
      if (bytes.size() - at < size) break;
      const std::string_view body = std::string_view(bytes).substr(at + letter + 4, size - letter - 4);
      if (letter == 0)
        session.started = true;
      else if (from_client)
        on_request(session, bytes[at], Fields(body));
      else
        on_answer(session, bytes[at]);
      at += size;
    }
    bytes.erase(0, at);
  }

  void on_request(Session& session, char kind, Fields fields) {
    switch (kind) {
      case 'P': {  // parse
        const std::string name(fields.text());
        ServerTape::Statement statement{std::string(fields.text()), {}, 0};
        for (std::uint32_t types = fields.number(2); types > 0; --types) statement.types.push_back(fields.number(4));
        session.prepared[name] = position_of(std::move(statement));
        break;
      }
      case 'B': {  // bind
        fields.text();
        const auto statement = session.prepared.find(fields.text());
        if (statement == session.prepared.end()) throw std::runtime_error("a statement was not prepared before it ran");
        for (std::uint32_t formats = fields.number(2); formats > 0; --formats) fields.number(2);
        session.bound = add_step(statement->second, fields);
        break;
      }
      case 'E':  // execute
        session.unanswered.push_back(session.bound);
        break;
      case 'Q': {  // a text without parameters
        Fields none(std::string_view("\0\0", 2));
        session.unanswered.push_back(add_step(position_of({std::string(fields.text()), {}, 0}), none));
        [[fallthrough]];
      }
      case 'S':  // the end of a batch
        session.unanswered.push_back(Session::kSync);
        if (owner_.recording_) {
          ++tape_.batches;
          tape_.round_trips += session.answered;
        }
        session.answered = false;
        break;
      default:
        break;
    }
  }

  void on_answer(Session& session, char kind) {
    auto& unanswered = session.unanswered;
    switch (kind) {
      case 'C':  // complete
      case 'I':  // an empty statement
        if (!unanswered.empty() && unanswered.front() != Session::kSync) unanswered.pop_front();
        break;
      case 'E':  // a failure: the server passes over the rest of the batch
        for (; !unanswered.empty() && unanswered.front() != Session::kSync; unanswered.pop_front())
          if (unanswered.front() >= 0) tape_.steps[static_cast<std::size_t>(unanswered.front())].failed = 1;
        break;
      case 'Z':  // the end of a batch
        while (!unanswered.empty() && unanswered.front() != Session::kSync) unanswered.pop_front();
        if (!unanswered.empty()) unanswered.pop_front();
        break;
      default:
        break;
    }
  }

  std::uint32_t position_of(ServerTape::Statement statement) {
    const auto [known, is_new] =
        positions_.try_emplace(statement.text, static_cast<std::uint32_t>(tape_.statements.size()));
    if (is_new) tape_.statements.push_back(std::move(statement));
    return known->second;
  }

  // The step's place on the tape, if it belongs there.
  std::int64_t add_step(std::uint32_t statement, Fields& fields) {
    if (!owner_.recording_) return Session::kNoStep;
    switch (purpose_of(tape_.statements[statement].text)) {
      case Purpose::savepoint:
        ++tape_.savepoints;
        return Session::kNoStep;
      case Purpose::setting:
        ++tape_.settings;
        return Session::kNoStep;
      case Purpose::table_question:
        ++tape_.table_questions;
        return Session::kNoStep;
      case Purpose::work:
        break;
    }
    ServerTape::Step step{statement, static_cast<std::uint32_t>(tape_.values.size()), fields.number(2), 0};
    for (std::uint32_t i = 0; i < step.values; ++i) {
      const std::uint32_t size = fields.number(4);
      if (size == ServerTape::kNull) {
        tape_.values.push_back(ServerTape::kNull);
        continue;
      }
      tape_.values.push_back(static_cast<std::uint32_t>(tape_.texts.size()));
      (tape_.texts += fields.take(size)) += '\0';
    }
    ++tape_.statements[statement].runs;
    tape_.steps.push_back(step);
    return static_cast<std::int64_t>(tape_.steps.size()) - 1;
  }

  ServerRecording& owner_;
  ServerTape& tape_;
  const sockaddr_un server_;
  std::vector<std::unique_ptr<Session>> sessions_;
  std::map<std::string, std::uint32_t> positions_;  // of statements on the tape
  std::array<char, 1 << 16> buffer_;
};

ServerRecording::ServerRecording(const std::string& server) {
  const auto folder = store::connection_property(server, "Server");
  if (!folder || !folder->starts_with('/'))
    throw std::runtime_error("the server has to be reached through a socket, by Server=FOLDER");
  const std::string port = store::connection_property(server, "Port").value_or("5432");

  std::string pattern = (std::filesystem::temp_directory_path() / "mercato-relay-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make the folder " + pattern);
  folder_ = pattern;
  connection_string_ = text::replace_all(server, *folder, folder_.string());
  const sockaddr_un own = address_in(folder_, port);
  listener_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 || ::listen(listener_, 64) != 0 ||
      ::pipe(stop_) != 0)
    throw std::runtime_error("cannot listen in " + folder_.string());
  thread_ = std::thread([this, to = address_in(*folder, port)] { Relay(*this, to).run(); });
}

ServerTape ServerRecording::finish() {
  ::close(stop_[1]);
  thread_.join();
  ServerTape tape = std::move(tape_);
  return tape;
}

ServerRecording::~ServerRecording() {
  if (thread_.joinable()) finish();
  ::close(stop_[0]);
  ::close(listener_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace mercato::bench
