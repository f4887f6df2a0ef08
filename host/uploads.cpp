// SPDX-License-Identifier: Apache-2.0
// Documents: accepted, followed, cancelled, and what became of them.
#include <charconv>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include "exchange/journal/upload_queue.h"
#include "host/host.h"
#include "mercato/connection.h"
#include "mercato/raised_error.h"
#include "platform/files/files.h"

namespace mercato::host {
namespace {

Json text_or_null(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json to_json(const exchange::QueuedUpload& upload) {
  const bool is_known = upload.total > 0 || !upload.ended.empty();
  return {{"id", std::to_string(upload.id)},
          {"kind", upload.kind},
          {"mode", upload.mode},
          {"state", upload.state},
          {"name", text_or_null(upload.name)},
          {"user", text_or_null(upload.user)},
          {"read", upload.done + upload.left},
          {"done", upload.done},
          {"total", is_known ? Json(upload.total) : Json(nullptr)},
          {"accepted", text_or_null(upload.accepted.empty() ? "" : upload.accepted + "Z")},
          {"started", text_or_null(upload.started.empty() ? "" : upload.started + "Z")},
          {"ended", text_or_null(upload.ended.empty() ? "" : upload.ended + "Z")},
          {"findings", upload.findings},
          {"stoppedBy", text_or_null(upload.state == "running" ? "" : upload.stopped_by)},
          {"counts",
           {{"inserted", upload.inserted},
            {"updated", upload.updated},
            {"unchanged", upload.unchanged},
            {"refused", upload.refused},
            {"left", upload.left}}}};
}

exchange::QueuedUpload at_this_moment(Host& host, exchange::QueuedUpload upload) {
  return host.uploads() ? host.uploads()->at_this_moment(std::move(upload)) : upload;
}

// With a user, what others uploaded is not there: its findings tell of products.
bool is_seen(const Call& call, const exchange::QueuedUpload& upload) {
  return !call.caller.user || upload.user == *call.caller.user;
}

exchange::QueuedUpload upload_of(Call& call) {
  auto upload = exchange::queued_upload(call.integer("id"));
  if (!upload || !is_seen(call, *upload)) refuse(404, "There is no such upload.");
  return at_this_moment(call.host, std::move(*upload));
}

bool has_ended(const exchange::QueuedUpload& upload) { return upload.state != "waiting" && upload.state != "running"; }

Response accept(Call& call) {
  if (!call.spooled) refuse(400, "The body is the document.");
  exchange::QueuedUpload upload;
  upload.kind = call.text("kind");
  upload.mode = call.has("mode") ? call.text("mode") : "upload";
  upload.write_on_errors = call.text("onErrors") == "write";
  upload.user = call.caller.user.value_or(call.caller.name);
  upload.name = call.text("name");
  upload.file = call.spooled->name();
  upload.state = "waiting";
  if (!call.spooled->sync()) refuse(503, "The document cannot be kept.");
  upload.id = exchange::accept_upload(upload);
  call.spooled->keep();
  if (call.host.uploads()) call.host.uploads()->wake();
  Response response = json_response(to_json(upload), 202);
  response.fields.emplace_back("Location", "/api/v1/uploads/" + std::to_string(upload.id));
  return response;
}

Response list_uploads(Call& call) {
  constexpr std::int32_t kMost = 200;
  Json items = Json::array();
  for (exchange::QueuedUpload& upload : exchange::queued_uploads(kMost))
    if (is_seen(call, upload)) items.push_back(to_json(at_this_moment(call.host, std::move(upload))));
  return json_response({{"items", std::move(items)}});
}

Response tell_upload(Call& call) { return json_response(to_json(upload_of(call))); }

Response list_findings(Call& call) {
  const exchange::QueuedUpload upload = upload_of(call);
  const std::int32_t limit = call.integer_if_given("limit").value_or(50);
  auto findings = exchange::findings_of_upload(upload.id, call.integer_if_given("after").value_or(0), limit + 1);
  const bool more = findings.size() > static_cast<std::size_t>(limit);
  if (more) findings.pop_back();
  Json items = Json::array();
  for (const auto& [number, finding] : findings)
    items.push_back({{"partNumber", text_or_null(finding.record)},
                     {"field", text_or_null(finding.field)},
                     {"value", text_or_null(finding.value)},
                     {"reason", finding.reason},
                     {"outcome", finding.outcome}});
  return json_response({{"items", std::move(items)},
                        {"next", more ? Json(std::to_string(findings.back().number)) : Json(nullptr)},
                        {"total", upload.findings}});
}

Response tell_rest(Call& call) {
  const exchange::QueuedUpload upload = upload_of(call);
  if (!has_ended(upload)) refuse(409, "The upload has not ended.");
  const std::string path = rest_of(upload.file);
  if (!files::file_exists(path)) refuse(404, "Nothing of the document was left.");
  Response response;
  response.fields = {
      {"Content-Type", "application/xml"},
      {"Content-Disposition", "attachment; filename=\"remaining-" + std::to_string(upload.id) + ".xml\""}};
  response.body = files::read_file(path);
  return response;
}

Response cancel(Call& call) {
  const exchange::QueuedUpload upload = upload_of(call);
  // One that runs here needs no word to the store, which a preview may hold for itself.
  const auto ends_here = [&] { return call.host.uploads() && call.host.uploads()->cancel(upload.id); };
  if (has_ended(upload) || (!ends_here() && !exchange::cancel_upload(upload.id)))
    refuse(409, "The upload has ended already.");
  return {.status = 204, .fields = {}, .body = {}, .events = {}};
}

// The events carry the upload as it is. Who comes again tells which he has seen last, and hears what is new since.
class UploadEvents : public EventSource {
 public:
  UploadEvents(Host& host, std::int32_t id, std::string seen) : host_(host), id_(id), seen_(std::move(seen)) {}

  std::optional<std::string> next() override {
    if (over_) return std::nullopt;
    try {
      forget_thread_state();
      auto upload = exchange::queued_upload(id_);
      if (!upload) return std::nullopt;
      *upload = at_this_moment(host_, std::move(*upload));
      over_ = has_ended(*upload);
      const std::string id = upload->state + "-" + std::to_string(upload->done);
      if (id == seen_ && !over_) return ++quiet_ % kQuiet == 0 ? ": \n\n" : "";
      seen_ = id;
      return "id: " + id + "\nevent: " + (over_ ? "end" : "progress") +
             "\ndata: " + gateway::line_of(to_json(*upload)) + "\n\n";
    } catch (const Raised&) {
      return "";  // the store is away; it is asked again
    }
  }

 private:
  static constexpr int kQuiet = 30;  // times without news, until the listener is told that somebody is there

  Host& host_;
  const std::int32_t id_;
  std::string seen_;
  int quiet_ = 0;
  bool over_ = false;
};

Response tell_events(Call& call) {
  const exchange::QueuedUpload upload = upload_of(call);
  Response response;
  response.fields = {{"Content-Type", "text/event-stream"}};
  response.events = std::make_shared<UploadEvents>(call.host, upload.id, std::string(call.head.field("last-event-id")));
  return response;
}

}  // namespace

std::vector<Route> upload_routes() {
  using Kind = Parameter::Kind;
  constexpr std::uint64_t kMostBytes = std::uint64_t{2} << 30;
  const Parameter id = {
      .name = "id", .kind = Kind::integer, .required = true, .description = "The upload's id", .example = "1"};
  const auto route = [&](const char* method, const char* path, const char* summary, Handler handler, const char* answer,
                         std::vector<Parameter> parameters) {
    return Route{.method = method,
                 .path = path,
                 .role = Role::keeper,
                 .summary = summary,
                 .parameters = std::move(parameters),
                 .handler = handler,
                 .answer = answer};
  };
  Route post = route(
      "POST", "/api/v1/uploads", "Accept a document, which is uploaded in its turn", accept, "Upload",
      {{.name = "kind",
        .kind = Kind::choice,
        .required = true,
        .description = "What the document has",
        .example = "products",
        .choices = "products|prices|unspsc"},
       {.name = "mode",
        .kind = Kind::choice,
        .description = "Upload it, or only tell what that would do: a preview is the upload, taken back",
        .example = "preview",
        .choices = "preview|upload"},
       {.name = "onErrors",
        .kind = Kind::choice,
        .description = "A record with a bad field: leave it out, or write what is left of it; for codes: overwrite",
        .choices = "write|skip"},
       {.name = "name", .description = "The name of the file, for the history"}});
  post.most_bytes = kMostBytes;
  post.takes_document = true;
  post.status = 202;
  post.body =
      R"("<Products><Product buyfrompartnumber=\"S-1\"><PRODUCTDESCRIPTION>Paper</PRODUCTDESCRIPTION></Product></Products>")";
  return {std::move(post),
          route("GET", "/api/v1/uploads", "The uploads, newest first", list_uploads, "Uploads", {}),
          route("GET", "/api/v1/uploads/{id}", "One upload, as it is at this moment", tell_upload, "Upload", {id}),
          route("GET", "/api/v1/uploads/{id}/events", "Its progress and its end, as server-sent events", tell_events,
                "Events", {id}),
          route("GET", "/api/v1/uploads/{id}/findings", "What was said of its records", list_findings, "Findings",
                {id,
                 {.name = "limit",
                  .kind = Kind::integer,
                  .description = "How many, 50 when it is not given",
                  .least = 1,
                  .most = 1000},
                 {.name = "after", .kind = Kind::integer, .description = "The `next` of the page before"}}),
          route("GET", "/api/v1/uploads/{id}/remaining", "The document of what was not written", tell_rest, "Document",
                {id}),
          route("DELETE", "/api/v1/uploads/{id}", "Cancel: what is written stays", cancel, "", {id})};
}

}  // namespace mercato::host
