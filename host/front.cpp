// SPDX-License-Identifier: Apache-2.0
#include "host/front.h"

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <csignal>
#include <functional>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::host {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr std::chrono::milliseconds kSweep{250};
constexpr std::chrono::milliseconds kEventPause{500};

// The head of an answer as bytes. Values are the host's own, or were checked when they were taken over.
std::string head_of(const Response& response, bool keeps, bool old) {
  std::string head = old ? "HTTP/1.0 " : "HTTP/1.1 ";
  head += std::to_string(response.status) + " ";
  head += reason_of(response.status);
  head += "\r\n";
  for (const auto& [name, value] : response.fields) head += name + ": " + value + "\r\n";
  if (!response.events && response.status != 204 && response.status != 304)
    head += "Content-Length: " + std::to_string(response.body.size()) + "\r\n";
  head += keeps ? (old ? "Connection: keep-alive\r\n\r\n" : "\r\n") : "Connection: close\r\n\r\n";
  return head;
}

std::string small(boost::beast::string_view name) {
  std::string text(name);
  for (char& character : text)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return text;
}

[[noreturn]] void cannot_listen(const FrontOptions& options, const std::string& reason) {
  raise(error_number::kPathFileAccess, "Mercato.Host",
        "Cannot listen on " + options.address + ":" + std::to_string(options.port) + ": " + reason);
}

// The host's connections take most of what the process may have open.
void allow_open_files(std::size_t wanted) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, wanted);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// The library for HTTP joins a line that was folded, which others may take for a field of its own.
class UnfoldedParser : public http::request_parser<http::buffer_body> {
  void on_field_impl(http::field name, boost::beast::string_view name_text, boost::beast::string_view value,
                     error_code& failure) override {
    // The value of one line stands where it came, behind its name and a colon; one of several is put together elsewhere.
    const char* const behind = name_text.data() + name_text.size();
    const bool is_near = !std::less<>()(value.data(), behind) && std::less<>()(value.data(), behind + kPiece);
    if (!is_near ||
        std::string_view(behind, static_cast<std::size_t>(value.data() - behind)).find_first_not_of(": \t") !=
            std::string_view::npos)
      failure = http::error::bad_value;
    else
      get().insert(name, name_text, value);
  }
};

class AnyConnection {
 public:
  virtual ~AnyConnection() = default;
  // Ends what takes longer than it may.
  virtual void check_time(Clock::time_point now) = 0;
  // The end was asked for.
  virtual void end() = 0;
};

// Somebody who waits for events, and what he is to be told of them.
struct Listener {
  std::shared_ptr<EventSource> events;
  std::function<void(std::optional<std::string>)> tell;
};

}  // namespace

class FrontInside {
 public:
  FrontInside(FrontOptions options, Service& service, Workers& workers);

  void run() {
    accept();
    sweep();
    context_.run();
  }
  void end_on_signals();
  void end();

  // Asks for what he is to be told. All listeners together take one worker at a time, however many they are.
  void ask_for(Listener listener) {
    listeners_.push_back(std::move(listener));
    if (!asking_) ask_for_all();
  }

  void left(AnyConnection* connection) {
    connections_.erase(connection);
    open_ = connections_.size();
    if (ending_ && connections_.empty()) context_.stop();
  }

  FrontOptions options_;
  Service& service_;
  Workers& workers_;
  std::unordered_map<AnyConnection*, std::weak_ptr<AnyConnection>> connections_;
  std::atomic<std::size_t> open_ = 0;
  bool ending_ = false;
  Clock::time_point last_moment_ = Clock::time_point::max();
  asio::io_context context_{1};  // its end drops the connections, which leave the list
  std::optional<asio::ssl::context> tls_;
  tcp::acceptor acceptor_{context_};
  asio::steady_timer sweeper_{context_};
  std::optional<asio::signal_set> signals_;
  std::vector<Listener> listeners_;  // who has not been asked for
  bool asking_ = false;

 private:
  void ask_for_all();
  void accept();
  void sweep();
  void begin_end();
  template <class Stream, class... Arguments>
  void serve(tcp::socket socket, Arguments&... arguments);
};

namespace {

template <class Stream>
class Connection : public AnyConnection, public std::enable_shared_from_this<Connection<Stream>> {
 public:
  template <class... Arguments>
  Connection(FrontInside& front, std::string address, tcp::socket socket, Arguments&... arguments)
      : front_(front), address_(std::move(address)), stream_(std::move(socket), arguments...), timer_(front.context_) {}
  ~Connection() override {
    // Its exchange goes first: it may hold a file.
    exchange_.reset();
  }

  void start() {
    if constexpr (kTls) {
      enter(Phase::head, front_.options_.head_time);
      stream_.async_handshake(asio::ssl::stream_base::server, [self = this->shared_from_this()](error_code failure) {
        if (failure)
          self->close();
        else
          self->read_head(self->front_.options_.head_time);
      });
    } else {
      read_head(front_.options_.head_time);
    }
  }

  void check_time(Clock::time_point now) override {
    if (phase_ == Phase::head && begun_ == Clock::time_point() &&
        (buffer_.size() > 0 || (parser_ && parser_->got_some()))) {
      begun_ = now;
      deadline_ = std::min(deadline_, now + front_.options_.head_time);
    }
    if (now < deadline_) return;
    const bool answerable = phase_ == Phase::body || (phase_ == Phase::head && begun_ != Clock::time_point());
    if (!answerable || late_) return close();
    // The read that is under way ends with a failure, and tells.
    late_ = true;
    deadline_ = now + front_.options_.write_time;
    error_code ignored;
    socket().cancel(ignored);
  }

  void end() override {
    if (phase_ == Phase::head && begun_ == Clock::time_point() && buffer_.size() == 0) close();
    if (phase_ == Phase::events) close();
  }

 private:
  static constexpr bool kTls = !std::is_same_v<Stream, tcp::socket>;
  enum class Phase { head, body, answer, write, events };

  tcp::socket& socket() {
    if constexpr (kTls)
      return stream_.next_layer();
    else
      return stream_;
  }

  void enter(Phase phase, std::chrono::milliseconds time) {
    phase_ = phase;
    deadline_ = Clock::now() + time;
  }

  void close() {
    error_code ignored;
    timer_.cancel();
    socket().shutdown(tcp::socket::shutdown_both, ignored);
    socket().close(ignored);
  }

  // `time`: until the first byte.
  void read_head(std::chrono::milliseconds time) {
    if (front_.ending_ && buffer_.size() == 0) return close();
    parser_.emplace();
    parser_->header_limit(static_cast<std::uint32_t>(front_.options_.most_head_bytes));
    parser_->body_limit(std::numeric_limits<std::uint64_t>::max());  // the exchange says it
    exchange_.reset();
    begun_ = {};
    late_ = false;
    enter(Phase::head, time);
    http::async_read_header(
        stream_, buffer_, *parser_,
        [self = this->shared_from_this()](error_code failure, std::size_t) { self->on_head(failure); });
  }

  void on_head(error_code failure) {
    if (late_) return refuse(408, "The head of the request did not come in time.");
    if (failure == http::error::header_limit || failure == http::error::buffer_overflow)
      return refuse(431, "The head of the request is too long.");
    if (failure.category() == boost::system::error_code(http::error::end_of_stream).category() &&
        failure != http::error::end_of_stream && failure != http::error::partial_message)
      return refuse(400, "The request is no HTTP.");
    if (failure) return close();

    const auto& message = parser_->get();
    old_ = message.version() < 11;
    keeps_ = parser_->keep_alive();
    head_only_ = message.method() == http::verb::head;
    Head head;
    head.method = std::string(message.method_string());
    head.target = std::string(message.target());
    head.address = address_;
    head.secure = kTls;
    for (const auto& field : message) head.fields.emplace_back(small(field.name_string()), std::string(field.value()));
    // What two readers could understand differently is read by none.
    if (head.count("host") > 1 || (!old_ && head.count("host") == 0) || head.count("content-length") > 1 ||
        head.count("transfer-encoding") > 1 || head.count("authorization") > 1 ||
        head.field("content-length").find_first_not_of("0123456789") != std::string_view::npos ||
        (head.count("content-length") > 0 && head.count("transfer-encoding") > 0))
      return refuse(400, "The head of the request is ambiguous.");
    if (head.count("transfer-encoding") > 0 && (old_ || !text::equal_names(head.field("transfer-encoding"), "chunked")))
      return refuse(400, "The body has an unknown transfer coding.");
    const bool waits = text::equal_names(head.field("expect"), "100-continue");
    exchange_ = front_.service_.begin(std::move(head));
    if (auto refusal = exchange_->refusal()) {
      keeps_ = keeps_ && parser_->is_done();
      return write(std::move(*refusal));
    }
    const auto length = parser_->content_length();
    if (length && *length > exchange_->most_bytes()) return refuse(413, "The body is too large.");
    if (parser_->is_done()) return give_to_worker();
    piece_.resize(kPiece);
    if (!waits) return read_body();
    static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
    enter(Phase::write, front_.options_.write_time);
    asio::async_write(stream_, asio::buffer(kContinue),
                      [self = this->shared_from_this()](error_code problem, std::size_t) {
                        if (problem)
                          self->close();
                        else
                          self->read_body();
                      });
  }

  void read_body() {
    enter(Phase::body, front_.options_.body_time);
    parser_->get().body().data = piece_.data();
    parser_->get().body().size = piece_.size();
    http::async_read(stream_, buffer_, *parser_,
                     [self = this->shared_from_this()](error_code failure, std::size_t) { self->on_body(failure); });
  }

  void on_body(error_code failure) {
    if (late_) return refuse(408, "The body did not come in time.");
    if (failure == http::error::need_buffer) failure = {};
    if (failure.category() == boost::system::error_code(http::error::end_of_stream).category() &&
        failure != http::error::end_of_stream && failure != http::error::partial_message)
      return refuse(400, "The body is no HTTP.");
    if (failure) return close();
    const std::string_view piece(piece_.data(), piece_.size() - parser_->get().body().size);
    taken_ += piece.size();
    if (taken_ > exchange_->most_bytes()) return refuse(413, "The body is too large.");
    if (auto refusal = exchange_->take(piece)) {
      keeps_ = false;
      return write(std::move(*refusal));
    }
    if (!parser_->is_done()) return read_body();
    give_to_worker();
  }

  void give_to_worker() {
    piece_ = {};
    taken_ = 0;
    phase_ = Phase::answer;
    deadline_ = Clock::time_point::max();  // the library's own limit holds
    const bool taken = front_.workers_.add([self = this->shared_from_this()]() mutable {
      auto response = std::make_shared<Response>(self->exchange_->answer());
      asio::io_context& context = self->front_.context_;
      asio::post(context, [self = std::move(self), response] { self->write(std::move(*response)); });
    });
    if (taken) return;
    Response response = front_.service_.problem(503, "Too many requests wait.");
    response.fields.emplace_back("Retry-After", "1");
    write(std::move(response));
  }

  void refuse(int status, const char* detail) {
    keeps_ = false;
    if (!exchange_) {
      Head head;
      head.address = address_;
      exchange_ = front_.service_.begin(std::move(head));
    }
    write(front_.service_.problem(status, detail));
  }

  void write(Response response) {
    taken_ = 0;
    exchange_->finish(response);
    if (front_.ending_ || response.events) keeps_ = false;
    events_ = std::move(response.events);
    response.events = events_;
    out_head_ = head_of(response, keeps_, old_);
    out_body_ = head_only_ ? std::string() : std::move(response.body);
    enter(Phase::write, front_.options_.write_time + std::chrono::milliseconds(out_body_.size() / 50));
    const std::array<asio::const_buffer, 2> buffers = {asio::buffer(out_head_), asio::buffer(out_body_)};
    asio::async_write(stream_, buffers, [self = this->shared_from_this()](error_code failure, std::size_t) {
      self->on_written(failure);
    });
  }

  void on_written(error_code failure) {
    if (failure) return close();
    out_body_ = {};
    if (events_ && !head_only_) return ask_for_events();
    events_.reset();
    if (!keeps_) return end_politely();
    read_head(front_.options_.idle_time);
  }

  // What the client is still sending is read for a moment, so that the answer is not lost with it.
  void end_politely() {
    exchange_.reset();
    error_code ignored;
    socket().shutdown(tcp::socket::shutdown_send, ignored);
    piece_.resize(kPiece);
    enter(Phase::write, std::chrono::milliseconds(2'000));
    drain();
  }
  void drain() {
    socket().async_read_some(asio::buffer(piece_), [self = this->shared_from_this()](error_code failure, std::size_t) {
      if (failure)
        self->close();
      else
        self->drain();
    });
  }

  void ask_for_events() {
    phase_ = Phase::events;
    deadline_ = Clock::time_point::max();
    if (front_.ending_) return close();
    front_.ask_for({events_, [self = this->shared_from_this()](std::optional<std::string> told) {
                      self->write_events(std::move(told));
                    }});
  }
  void write_events(std::optional<std::string> told) {
    if (!told) return end_politely();
    if (told->empty()) return wait_for_events();
    out_body_ = std::move(*told);
    deadline_ = Clock::now() + front_.options_.write_time;
    asio::async_write(stream_, asio::buffer(out_body_),
                      [self = this->shared_from_this()](error_code failure, std::size_t) {
                        if (failure)
                          self->close();
                        else
                          self->wait_for_events();
                      });
  }
  void wait_for_events() {
    deadline_ = Clock::time_point::max();
    timer_.expires_after(kEventPause);
    timer_.async_wait([self = this->shared_from_this()](error_code failure) {
      if (!failure) self->ask_for_events();
    });
  }

  // Tells the front when nothing holds the connection any more.
  struct Leaving {
    FrontInside& front;
    AnyConnection* connection;
    ~Leaving() { front.left(connection); }
  };

  FrontInside& front_;
  const Leaving leaving_{front_, this};
  const std::string address_;
  Stream stream_;
  asio::steady_timer timer_;  // between events
  boost::beast::flat_buffer buffer_{kPiece};
  std::optional<UnfoldedParser> parser_;
  std::unique_ptr<Exchange> exchange_;
  Phase phase_ = Phase::head;
  Clock::time_point deadline_ = Clock::time_point::max();
  Clock::time_point begun_;  // when the first byte of a head was seen
  bool late_ = false;        // a deadline has passed: what is read is refused
  bool old_ = false;         // HTTP/1.0
  bool keeps_ = false;       // the connection takes another request
  bool head_only_ = false;
  std::string piece_;
  std::uint64_t taken_ = 0;
  std::string out_head_;
  std::string out_body_;
  std::shared_ptr<EventSource> events_;
};

}  // namespace

FrontInside::FrontInside(FrontOptions options, Service& service, Workers& workers)
    : options_(std::move(options)), service_(service), workers_(workers) {
  allow_open_files(options_.most_connections + 256);
  error_code failure;
  if (!options_.tls_certificate.empty()) {
    tls_.emplace(asio::ssl::context::tls_server);
    ::SSL_CTX_set_min_proto_version(tls_->native_handle(), TLS1_2_VERSION);
    tls_->use_certificate_chain_file(options_.tls_certificate, failure);
    if (failure) cannot_listen(options_, "the certificate cannot be read");
    tls_->use_private_key_file(options_.tls_key, asio::ssl::context::pem, failure);
    if (failure) cannot_listen(options_, "the key of the certificate cannot be read, or is another one's");
  }
  const asio::ip::address address = asio::ip::make_address(options_.address, failure);
  if (failure) cannot_listen(options_, "that is no address");
  const tcp::endpoint endpoint(address, options_.port);
  acceptor_.open(endpoint.protocol(), failure);
  if (!failure) acceptor_.set_option(tcp::acceptor::reuse_address(true), failure);
  if (!failure) acceptor_.bind(endpoint, failure);
  if (!failure) acceptor_.listen(asio::socket_base::max_listen_connections, failure);
  if (failure) cannot_listen(options_, failure.message());
}

void FrontInside::ask_for_all() {
  struct Asked {
    std::vector<Listener> listeners;
    std::vector<std::optional<std::string>> told;
  };
  auto asked = std::make_shared<Asked>();
  asked->listeners.swap(listeners_);
  const auto tell = [this, asked] {
    asking_ = false;
    for (std::size_t place = 0; place < asked->listeners.size(); ++place)
      asked->listeners[place].tell(std::move(asked->told[place]));
    asked->listeners.clear();
    if (!listeners_.empty()) ask_for_all();
  };
  asking_ = workers_.add([this, asked, tell] {
    for (const Listener& listener : asked->listeners) asked->told.push_back(listener.events->next());
    asio::post(context_, tell);
  });
  if (asking_) return;
  asked->told.assign(asked->listeners.size(), "");  // the workers have enough to do: later
  tell();
}

void FrontInside::accept() {
  acceptor_.async_accept([this](error_code failure, tcp::socket socket) {
    if (ending_) return;
    if (!failure) {
      error_code ignored;
      socket.set_option(tcp::no_delay(true), ignored);
      if (connections_.size() >= options_.most_connections) {
        static constexpr std::string_view kFull =
            "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 1\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        if (!tls_) {
          socket.non_blocking(true, ignored);
          socket.write_some(asio::buffer(kFull), ignored);
        }
      } else if (tls_) {
        serve<asio::ssl::stream<tcp::socket>>(std::move(socket), *tls_);
      } else {
        serve<tcp::socket>(std::move(socket));
      }
    } else if (failure == asio::error::no_descriptors || failure == asio::error::no_memory) {
      // Others have to leave first.
      auto pause = std::make_shared<asio::steady_timer>(context_, kSweep);
      pause->async_wait([this, pause](error_code) { accept(); });
      return;
    }
    accept();
  });
}

template <class Stream, class... Arguments>
void FrontInside::serve(tcp::socket socket, Arguments&... arguments) {
  error_code failure;
  const tcp::endpoint peer = socket.remote_endpoint(failure);
  if (failure) return;  // gone already
  const auto connection =
      std::make_shared<Connection<Stream>>(*this, peer.address().to_string(), std::move(socket), arguments...);
  connections_.emplace(connection.get(), connection);
  open_ = connections_.size();
  connection->start();
}

void FrontInside::sweep() {
  sweeper_.expires_after(kSweep);
  sweeper_.async_wait([this](error_code failure) {
    if (failure) return;
    const Clock::time_point now = Clock::now();
    if (now >= last_moment_) return context_.stop();
    std::vector<std::shared_ptr<AnyConnection>> open;  // one that is closed leaves the list
    open.reserve(connections_.size());
    for (const auto& [key, connection] : connections_)
      if (auto held = connection.lock()) open.push_back(std::move(held));
    for (const auto& connection : open) connection->check_time(now);
    open.clear();
    sweep();
  });
}

void FrontInside::end_on_signals() {
  signals_.emplace(context_, SIGTERM, SIGINT);
  signals_->async_wait([this](error_code failure, int) {
    if (failure) return;
    error_code ignored;
    signals_->clear(ignored);  // the next one ends the process, as signals do
    begin_end();
  });
}

void FrontInside::end() {
  asio::post(context_, [this] { begin_end(); });
}

void FrontInside::begin_end() {
  if (std::exchange(ending_, true)) return;
  error_code ignored;
  acceptor_.close(ignored);
  last_moment_ = Clock::now() + options_.end_time;
  std::vector<std::shared_ptr<AnyConnection>> open;
  for (const auto& [key, connection] : connections_)
    if (auto held = connection.lock()) open.push_back(std::move(held));
  for (const auto& connection : open) connection->end();
  open.clear();
  if (connections_.empty()) context_.stop();
}

Front::Front(FrontOptions options, Service& service, Workers& workers)
    : inside_(std::make_unique<FrontInside>(std::move(options), service, workers)) {}
Front::~Front() = default;
std::uint16_t Front::port() const { return inside_->acceptor_.local_endpoint().port(); }
std::size_t Front::connections() const { return inside_->open_; }
void Front::end_on_signals() { inside_->end_on_signals(); }
void Front::run() { inside_->run(); }
void Front::end() { inside_->end(); }

}  // namespace mercato::host
