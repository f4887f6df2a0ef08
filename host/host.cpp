// SPDX-License-Identifier: Apache-2.0
#include "host/host.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <optional>
#include <ostream>
#include <utility>

#include "frame/lib_sql.h"
#include "host/console_pages.h"
#include "mercato/connection.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/hidden_passwords.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::host {
namespace {

constexpr std::string_view kCookie = "mercato_session=";
constexpr const char* kNoToken = "A token is needed: `Authorization: Bearer TOKEN`.";
constexpr const char* kNotAllowed = "The role of this token does not allow it.";

bool is_plain(std::string_view text) {
  return std::ranges::all_of(text, [](char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '-' || character == '_' || character == '.';
  });
}

bool changes_something(std::string_view method) { return method != "GET" && method != "HEAD"; }

// The token of the cookie; empty when there is none.
std::string_view token_of_cookie(const Head& head) {
  std::string_view cookies = head.field("cookie");
  while (!cookies.empty()) {
    const std::size_t end = cookies.find(';');
    const std::string_view one = text::trim(cookies.substr(0, end));
    if (one.starts_with(kCookie)) return one.substr(kCookie.size());
    if (end == std::string_view::npos) break;
    cookies.remove_prefix(end + 1);
  }
  return {};
}

// Browsers say where a request comes from. One that does not say it is no console's.
bool is_of_same_origin(const Head& head) {
  if (const std::string_view origin = head.field("origin"); !origin.empty()) {
    const std::size_t authority = origin.find("://");
    return authority != std::string_view::npos && text::equal_names(origin.substr(authority + 3), head.field("host"));
  }
  return head.field("sec-fetch-site") == "same-origin";
}

}  // namespace

struct Host::Identified {
  std::optional<Caller> caller;
  bool by_cookie = false;
  bool too_many_wrong = false;
};

Host::Host(HostOptions options, KnownTokens tokens) : options_(std::move(options)), tokens_(std::move(tokens)) {
  routes();
  if (options_.runs_uploads) uploads_ = std::make_unique<UploadRunner>();
}
Host::~Host() = default;

Host::Identified Host::identify(const Head& head) {
  Identified found;
  std::string_view token;
  if (const std::string_view given = head.field("authorization"); !given.empty()) {
    const std::size_t blank = given.find(' ');
    if (blank != std::string_view::npos && text::equal_names(given.substr(0, blank), "Bearer"))
      token = text::trim(given.substr(blank));
  } else {
    token = token_of_cookie(head);
    found.by_cookie = !token.empty();
  }
  if (token.empty()) return found;
  found.caller = tokens_.caller_of(token);
  if (!found.caller) found.too_many_wrong = wrong_tokens_.add(head.address);
  return found;
}

class HandledExchange : public Exchange {
 public:
  HandledExchange(Host& host, Head head) : host_(host), head_(std::move(head)) {
    const std::string_view id = head_.field("x-request-id");
    id_ = !id.empty() && id.size() <= 64 && is_plain(id) ? std::string(id) : random_text(12);
    take_forwarded();
    try {
      decide();
    } catch (Refused& refused) {
      refusal_ = problem_response(refused.status, refused.detail);
    } catch (const std::exception&) {
      refusal_ = problem_response(500, "The request could not be judged.");
    }
  }

  std::optional<Response> refusal() override { return std::move(refusal_); }
  std::uint64_t most_bytes() const override { return route_ ? route_->most_bytes : 0; }
  std::optional<Response> take(std::string_view piece) override {
    if (!route_->takes_document) {
      body_ += piece;
      return std::nullopt;
    }
    try {
      if (!spooled_) spooled_ = std::make_unique<SpooledBody>();
      if (spooled_->add(piece)) return std::nullopt;
    } catch (const Raised&) {
      // Said below.
    }
    return problem_response(503, "The document cannot be kept: its folder cannot be written.");
  }

  Response answer() override {
    try {
      forget_thread_state();
      std::optional<store::CallLimit> limit;
      if (!route_->has_own_limits) limit.emplace(collaborators::settings()->call_seconds);
      Call call{host_, head_, caller_, std::move(values_), std::move(body_), std::move(spooled_)};
      return route_->handler(call);
    } catch (const Refused& refused) {
      return problem_response(refused.status, refused.detail);
    } catch (const Raised& raised) {
      return failure_response(raised.error());
    } catch (const std::bad_alloc&) {
      return problem_response(503, "There is not enough memory.");
    } catch (const std::exception&) {
      return problem_response(500, "The request failed inside of the host.");
    }
  }

  void finish(Response& response) override {
    auto& fields = response.fields;
    fields.emplace_back("X-Request-Id", id_);
    fields.emplace_back("X-Content-Type-Options", "nosniff");
    fields.emplace_back("Referrer-Policy", "no-referrer");
    const bool has_policy =
        std::ranges::any_of(fields, [](const auto& field) { return field.first == "Content-Security-Policy"; });
    if (!has_policy) {
      fields.emplace_back("Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'");
      fields.emplace_back("Cache-Control",
                          response.status == 200 || response.status == 304 ? "private, no-cache" : "no-store");
    }
    if (response.status == 401) fields.emplace_back("WWW-Authenticate", "Bearer");
    if (response.status == 405) fields.emplace_back("Allow", allowed_);
    const auto time = std::chrono::steady_clock::now() - begun_;
    const std::string route = route_ ? std::string(route_->path) : std::string(is_page_ ? "console" : "none");
    host_.metrics_.count_request(route, response.status, time);
    if (!host_.options_.log) return;
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    std::string line =
        "request=" + id_ + " method=" + (is_plain(head_.method) && !head_.method.empty() ? head_.method : "-") +
        " route=" + route + " status=" + std::to_string(response.status) + " time_ms=" + std::to_string(micros / 1000) +
        "." + std::to_string(1000 + micros % 1000).substr(1) + " role=" + std::string(name_of(caller_.role)) + "\n";
    *host_.options_.log << line << std::flush;
  }

 private:
  // What a proxy says of its client, when it is one that is trusted.
  void take_forwarded() {
    if (std::ranges::find(host_.options_.trusted_proxies, head_.address) == host_.options_.trusted_proxies.end())
      return;
    std::string_view addresses = head_.field("x-forwarded-for");
    if (const std::size_t last = addresses.rfind(','); last != std::string_view::npos)
      addresses.remove_prefix(last + 1);
    addresses = text::trim(addresses);
    if (!addresses.empty() && addresses.size() <= 64) head_.address = std::string(addresses);
    if (head_.field("x-forwarded-proto") == "https") head_.secure = true;
  }

  void decide() {
    if (head_.method.empty()) refuse(400, "The head of the request cannot be read.");
    const Target target = target_of(head_.target);
    const bool is_interface = target.path == "/rpc" || target.path.starts_with("/api/") || target.path == "/api";
    Found found = find_route(head_.method, target.path);
    const bool is_open = found.route && found.route->role == Role::nobody;
    if (!is_open && (is_interface || found.route)) {
      const Host::Identified asked = host_.identify(head_);
      if (!asked.caller) {
        if (!asked.too_many_wrong) refuse(401, kNoToken);
        refusal_ = problem_response(429, "Too many wrong tokens came from this address.");
        refusal_->fields.emplace_back("Retry-After", "60");
        return;
      }
      caller_ = *asked.caller;
      if (asked.by_cookie && changes_something(head_.method) && !is_of_same_origin(head_))
        refuse(403, "A request of another origin may not change anything.");
    }
    allowed_ = found.allowed;
    if (!found.route) {
      if (found.other_method) refuse(405, "This address does not take that method.");
      if (!is_interface && !changes_something(head_.method)) {
        if ((refusal_ = console_page(head_, target.path))) {
          is_page_ = true;
          return;
        }
      }
      refuse(404, "There is nothing at this address.");
    }
    route_ = found.route;
    if (caller_.role < route_->role) refuse(403, kNotAllowed);
    values_ = std::move(found.values);
    check_path_values(*route_, values_);
    take_query(*route_, target.query, values_);
    // The sight of another user is nobody's to borrow, whether he is there or not.
    if (const auto user = values_.find("user");
        caller_.user && user != values_.end() && !text::same(user->second, *caller_.user))
      refuse(403, kNotAllowed);
  }

  Host& host_;
  Head head_;
  std::string id_;
  const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
  std::optional<Response> refusal_;
  const Route* route_ = nullptr;
  bool is_page_ = false;
  std::string allowed_;
  Caller caller_;
  std::map<std::string, std::string, std::less<>> values_;
  std::string body_;
  std::unique_ptr<SpooledBody> spooled_;
};

std::unique_ptr<Exchange> Host::begin(Head head) { return std::make_unique<HandledExchange>(*this, std::move(head)); }

Response Host::problem(int status, std::string_view detail) { return problem_response(status, detail); }

std::string for_clients(const std::string& description) {
  std::string shown = store::without_passwords(description);
  std::vector<std::string> folders = {collaborators::settings()->web_root + "/"};
  for (const char* place : {"Data Source", "Server"})
    if (const auto path = store::connection_property(shared_connection_string(), place); path && path->starts_with('/'))
      folders.push_back(path->substr(0, path->rfind('/') + 1));
  for (const std::string& folder : folders)
    for (std::size_t at = 0; folder.size() > 1 && (at = shown.find(folder)) != std::string::npos;)
      shown.erase(at, folder.size());
  return shown;
}

Response failure_response(const RaisedError& error) {
  const int status = error.Number == error_number::kTimeout        ? 504
                     : error.Number == error_number::kStoreFailure ? 503
                                                                   : 422;
  const std::string description = for_clients(error.Description);
  Response response = json_response(Json{{"type", "urn:mercato:failure"},
                                         {"title", "The library refused the call"},
                                         {"status", status},
                                         {"detail", description},
                                         {"number", error.Number},
                                         {"source", error.Source},
                                         {"description", description}},
                                    status);
  response.fields.front().second = "application/problem+json";
  if (status == 503) response.fields.emplace_back("Retry-After", "5");
  return response;
}

}  // namespace mercato::host
