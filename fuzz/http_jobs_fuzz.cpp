// SPDX-License-Identifier: Apache-2.0
// Any bytes as what a host reads back of its own: the token file, and the row of an upload with its findings. Whatever
// they are, the token file is taken or refused and lets nobody in, and each route of uploads answers.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_store.h"
#include "host/host.h"
#include "mercato/date.h"
#include "mercato/raised_error.h"

namespace {

using namespace mercato;

void require(bool promise) {
  if (!promise) std::abort();
}

constexpr const char* kToken = "a-token-that-holds";

void read_tokens(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
  try {
    host::KnownTokens tokens = host::KnownTokens::of_file(path);
    require(!tokens.caller_of("") && !tokens.caller_of(kToken));
  } catch (const Raised& raised) {
    require(!raised.error().Description.empty());
  }
}

// A column and what its first letter says: a text, a date or a number, in capitals one that is never Null.
using Columns = std::vector<const char*>;

// Each line is a value; a date or a number comes from its length. Raises what the store raises for what cannot be a row.
std::int64_t insert_row(const store::PooledSession& session, const char* table_name, const Columns& columns,
                        std::istream& lines, std::vector<std::size_t> places = {}, std::vector<Variant> values = {}) {
  const store::TableInfo* table = session->table(table_name);
  for (const char* column : columns) {
    std::string line;
    std::getline(lines, line);
    const auto number = static_cast<std::int32_t>(line.size());
    const char kind = *column;
    places.push_back(*table->find(column + 1));
    if (line.empty() && kind >= 'a')
      values.emplace_back(kNull);
    else if (kind == 'd' || kind == 'D')
      values.emplace_back(Date::from_unix_seconds(std::int64_t{number} * 100'000'000));
    else if (kind == 'n')
      values.emplace_back(line.front() == '-' ? -number : number);
    else
      values.emplace_back(line);
  }
  return session->insert_row(*table, places, values).number;
}

host::Response answer_of(host::Host& host, const char* method, const std::string& target) {
  host::Head head;
  head.method = method;
  head.target = target;
  head.fields = {{"authorization", std::string("Bearer ") + kToken}};
  const std::unique_ptr<host::Exchange> exchange = host.begin(std::move(head));
  std::optional<host::Response> response = exchange->refusal();
  if (!response) response = exchange->answer();
  if (response->events) response->events->next();
  exchange->finish(*response);
  require(response->status >= 200 && response->status < 600 && response->status != 500);
  for (const auto& [name, value] : response->fields)
    require((name + value).find_first_of("\r\n") == std::string::npos && !name.empty());
  return std::move(*response);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::FuzzStore store;
  static host::Host host({.trusted_proxies = {}, .on_loopback = true, .runs_uploads = false, .log = nullptr},
                         host::KnownTokens::for_process(kToken));
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  read_tokens(store.file("tokens.json"), bytes);

  std::istringstream lines("host skip " + bytes);
  std::int64_t upload = 0;
  {
    const auto session = store.session();
    session->execute(Sql("DELETE FROM MERCATO_UPLOAD_FINDING"));
    session->execute(Sql("DELETE FROM MERCATO_UPLOAD"));
    try {
      upload = insert_row(session, "MERCATO_UPLOAD",
                          {"tOPTIONS", "TSTATE", "TKIND", "TMODE", "DACCEPTED", "tOWNER", "tUSERID", "tFILENAME",
                           "tSTOPPEDBY", "dSTARTED", "dENDED", "dLEASEUNTIL", "nTOTALCOUNT", "nDONECOUNT",
                           "nFINDINGCOUNT", "nINSERTED", "nUPDATED", "nREFUSED", "nLEFTCOUNT"},
                          lines);
      const store::TableInfo* findings = session->table("MERCATO_UPLOAD_FINDING");
      insert_row(session, "MERCATO_UPLOAD_FINDING", {"TOUTCOME", "tRECORD", "tFIELD", "tVALUE", "tREASON"}, lines,
                 {*findings->find("UPLOADID"), *findings->find("SEQUENCE")},
                 {Variant(static_cast<std::int32_t>(upload)), Variant(1)});
    } catch (const Raised&) {
      // No such row can stand in a store.
    }
  }
  const std::string address = "/api/v1/uploads/" + std::to_string(upload);
  require(nlohmann::json::accept(answer_of(host, "GET", "/api/v1/uploads").body));
  for (const char* more : {"", "/findings", "/remaining", "/events"}) answer_of(host, "GET", address + more);
  answer_of(host, "DELETE", address);
  answer_of(host, "GET", address + "/remaining");
  return 0;
}
