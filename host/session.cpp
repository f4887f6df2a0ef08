// SPDX-License-Identifier: Apache-2.0
// The console's session: the token is given once, and the browser keeps it where no script reaches it.
#include "host/host.h"

namespace mercato::host {
namespace {

Json session_of(const Call& call) {
  return {{"name", call.caller.name},
          {"role", name_of(call.caller.role)},
          {"user", call.caller.user ? Json(*call.caller.user) : Json(nullptr)}};
}

Response cookie(const Call& call, Response response, const std::string& token, const char* more) {
  // A browser takes Secure for what comes by TLS only, so on loopback, where there is none, it would keep nothing.
  const bool secure = call.head.secure || !call.host.on_loopback();
  response.fields.emplace_back("Set-Cookie", "mercato_session=" + token + "; Path=/; HttpOnly; SameSite=Strict" +
                                                 (secure ? "; Secure" : "") + more);
  return response;
}

Response begin_session(Call& call) {
  const std::string_view given = call.head.field("authorization");
  if (given.empty()) refuse(401, "A session begins with `Authorization: Bearer TOKEN`.");
  return cookie(call, json_response(session_of(call)), std::string(given.substr(given.rfind(' ') + 1)), "");
}

Response tell_session(Call& call) { return json_response(session_of(call)); }

Response end_session(Call& call) {
  return cookie(call, {.status = 204, .fields = {}, .body = {}, .events = {}}, "", "; Max-Age=0");
}

}  // namespace

std::vector<Route> session_routes() {
  return {{.method = "POST",
           .path = "/api/v1/session",
           .role = Role::reader,
           .summary = "Keep the token of this request in a cookie, for the console",
           .parameters = {},
           .handler = begin_session,
           .answer = "Session"},
          {.method = "GET",
           .path = "/api/v1/session",
           .role = Role::reader,
           .summary = "Whose token this is, and what it may",
           .parameters = {},
           .handler = tell_session,
           .answer = "Session"},
          {.method = "DELETE",
           .path = "/api/v1/session",
           .role = Role::reader,
           .summary = "Forget the cookie",
           .parameters = {},
           .handler = end_session,
           .answer = ""}};
}

}  // namespace mercato::host
