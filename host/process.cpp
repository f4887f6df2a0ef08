// SPDX-License-Identifier: Apache-2.0
// Whether the process and the store answer, what was counted, and the description of the interface.
#include "host/host.h"
#include "host/openapi.h"
#include "keeping/store_answers.h"
#include "mercato/raised_error.h"

namespace mercato::host {
namespace {

Response plain(std::string body, const char* type = "text/plain; charset=utf-8") {
  return {.status = 200, .fields = {{"Content-Type", type}}, .body = std::move(body), .events = {}};
}

Response tell_health(Call&) { return plain("ok\n"); }

Response tell_readiness(Call&) {
  try {
    keeping::require_store();
    return plain("ready\n");
  } catch (const Raised&) {
    Response response = problem_response(503, "The store does not answer.");
    response.fields.emplace_back("Retry-After", "5");
    return response;
  }
}

Response tell_metrics(Call& call) {
  std::map<std::string, std::pair<std::string, double>> gauges;
  if (call.host.open_connections)
    gauges["mercato_connections"] = {"Connections that are open.", static_cast<double>(call.host.open_connections())};
  if (call.host.uploads())
    gauges["mercato_upload_running"] = {"Whether this process runs an upload.",
                                        call.host.uploads()->running() ? 1.0 : 0.0};
  return plain(call.host.metrics().text(gauges), "text/plain; version=0.0.4; charset=utf-8");
}

Response tell_description(Call&) { return json_response(openapi()); }

}  // namespace

std::vector<Route> process_routes() {
  return {{.method = "GET",
           .path = "/healthz",
           .role = Role::nobody,
           .summary = "Whether the process answers",
           .parameters = {},
           .handler = tell_health,
           .answer = "Text"},
          {.method = "GET",
           .path = "/readyz",
           .role = Role::nobody,
           .summary = "Whether the store answers",
           .parameters = {},
           .handler = tell_readiness,
           .answer = "Text"},
          {.method = "GET",
           .path = "/metrics",
           .role = Role::reader,
           .summary = "What was counted, as Prometheus reads it",
           .parameters = {},
           .handler = tell_metrics,
           .answer = "Text"},
          {.method = "GET",
           .path = "/api/v1/openapi.json",
           .role = Role::reader,
           .summary = "This description",
           .parameters = {},
           .handler = tell_description,
           .answer = "Description"}};
}

}  // namespace mercato::host
