// SPDX-License-Identifier: Apache-2.0
#include "platform/files/fetch.h"

#include <curl/curl.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "mercato/raised_error.h"

namespace mercato::files {
namespace {

struct Close {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(char* text) const { curl_free(text); }
};
using Url = std::unique_ptr<CURLU, Close>;

// The part, decoded when `flags` say so; nothing when the URL has none.
std::optional<std::string> part(const Url& url, CURLUPart which, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url.get(), which, &text, flags) != CURLUE_OK) return std::nullopt;
  const std::unique_ptr<char, Close> owned(text);
  return std::string(text);
}

// The URL as a log may show it: without any part that could be a secret.
std::string shown(const Url& url) {
  const Url plain(curl_url_dup(url.get()));
  for (const auto secret :
       {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_QUERY, CURLUPART_FRAGMENT}) {
    curl_url_set(plain.get(), secret, nullptr, 0);
  }
  return part(plain, CURLUPART_URL).value_or("");
}

struct Body {
  std::string bytes;
  std::size_t max_bytes = 0;
  bool too_large = false;
};

// curl calls it. No exception may pass through curl; any other answer than `length` ends the transfer.
std::size_t append(const char* data, std::size_t, std::size_t length, void* target) noexcept {
  auto& body = *static_cast<Body*>(target);
  if (length > body.max_bytes - body.bytes.size()) {
    body.too_large = true;
    return 0;
  }
  try {
    body.bytes.append(data, length);
  } catch (const std::exception&) {
    return 0;
  }
  return length;
}

std::string read_file_url(const Url& url, const FetchLimits& limits) {
  const auto path = part(url, CURLUPART_PATH, CURLU_URLDECODE);
  if (!path || path->find('\0') != std::string::npos) raise(error_number::kPathFileAccess, {}, "The URL has no path");
  return read_file(*path, limits.max_bytes);
}

std::string transfer(const std::string& url, const FetchLimits& limits) {
  const auto failed = [](const std::string& reason) { raise(error_number::kPathFileAccess, {}, reason); };
  const std::unique_ptr<CURL, Close> handle(curl_easy_init());
  if (!handle) failed("no transfer can be set up");
  Body body{{}, std::min(limits.max_bytes, limits.max_received), false};

  const auto set = [&](CURLoption option, auto value) {
    if (curl_easy_setopt(handle.get(), option, value) != CURLE_OK) failed("a setting of the transfer was refused");
  };
  set(CURLOPT_URL, url.c_str());
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, static_cast<long>(limits.max_redirects));
  set(CURLOPT_TIMEOUT, static_cast<long>(limits.timeout_seconds));
  set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(body.max_bytes));  // when the server announces more
  set(CURLOPT_NOSIGNAL, 1L);  // a signal handler would serve the whole process
  set(CURLOPT_USERAGENT, "mercato");
  set(CURLOPT_WRITEFUNCTION, &append);
  set(CURLOPT_WRITEDATA, &body);

  const CURLcode outcome = curl_easy_perform(handle.get());
  if (body.too_large || outcome == CURLE_FILESIZE_EXCEEDED)
    failed("the answer has more than " + std::to_string(body.max_bytes) + " bytes");
  if (outcome == CURLE_TOO_MANY_REDIRECTS) {
    failed("the server redirects more than " + std::to_string(limits.max_redirects) + " times");
  }
  if (outcome == CURLE_OPERATION_TIMEDOUT) {
    failed("no complete answer within " + std::to_string(limits.timeout_seconds) + " seconds");
  }
  if (outcome != CURLE_OK) failed(curl_easy_strerror(outcome));
  long status = 0;
  curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
  if (status < 200 || status > 299) failed("the server answered with status " + std::to_string(status));
  return std::move(body.bytes);
}

}  // namespace

FetchResult fetch(const std::string& url, const FetchLimits& limits) {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);  // once, by whichever thread comes first

  FetchResult result;
  std::string name = "the URL";
  try {
    if (ready != CURLE_OK) raise(error_number::kPathFileAccess, {}, "no transfer can be set up");
    const Url parsed(curl_url());
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
      raise(error_number::kPathFileAccess, {}, "it is not a URL of a document");
    }
    name = "\"" + shown(parsed) + "\"";
    const std::string scheme = part(parsed, CURLUPART_SCHEME).value_or("");
    if (scheme == "file") {
      result.body = read_file_url(parsed, limits);
    } else if (scheme == "http" || scheme == "https") {
      result.body = transfer(url, limits);
    } else {
      raise(error_number::kPathFileAccess, {}, "only http, https and file are fetched");
    }
    result.ok = true;
  } catch (const std::exception& failure) {  // also one without memory
    result.body.clear();
    result.error = "Cannot fetch " + name + ": " + failure.what() + ".";
  }
  return result;
}

}  // namespace mercato::files
