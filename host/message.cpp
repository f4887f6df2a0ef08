// SPDX-License-Identifier: Apache-2.0
#include "host/message.h"

#include <algorithm>

namespace mercato::host {

std::string_view Head::field(std::string_view name) const {
  const auto found = std::ranges::find(fields, name, &std::pair<std::string, std::string>::first);
  return found == fields.end() ? std::string_view() : found->second;
}

std::size_t Head::count(std::string_view name) const {
  return static_cast<std::size_t>(std::ranges::count(fields, name, &std::pair<std::string, std::string>::first));
}

std::string_view reason_of(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 202:
      return "Accepted";
    case 204:
      return "No Content";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 409:
      return "Conflict";
    case 413:
      return "Content Too Large";
    case 415:
      return "Unsupported Media Type";
    case 422:
      return "Unprocessable Content";
    case 429:
      return "Too Many Requests";
    case 431:
      return "Request Header Fields Too Large";
    case 500:
      return "Internal Server Error";
    case 503:
      return "Service Unavailable";
    case 504:
      return "Gateway Timeout";
    default:
      return "Status";
  }
}

}  // namespace mercato::host
