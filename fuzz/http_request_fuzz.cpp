// SPDX-License-Identifier: Apache-2.0
// Any bytes as what stands behind the parser of HTTP: method, target, the fields of a head and the body, with a token
// that holds and without one. Whatever they are, there is an answer with a status, whose head nobody can break up.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "fuzz/fuzz_store.h"
#include "host/host.h"

namespace {

using namespace mercato::host;

void require(bool promise) {
  if (!promise) std::abort();
}

constexpr const char* kToken = "a-token-that-holds";

void ask(Host& host, Head head, const std::string& body, bool with_token) {
  if (with_token) head.fields.emplace_back("authorization", std::string("Bearer ") + kToken);
  const std::unique_ptr<Exchange> exchange = host.begin(std::move(head));
  std::optional<Response> response = exchange->refusal();
  if (!response && body.size() <= exchange->most_bytes()) {
    if (!body.empty()) response = exchange->take(body);
    if (!response) response = exchange->answer();
  }
  if (!response) response = host.problem(413, "The body is too large.");
  exchange->finish(*response);
  require(response->status >= 200 && response->status < 600);
  for (const auto& [name, value] : response->fields)
    require((name + value).find_first_of("\r\n") == std::string::npos && !name.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const mercato::fuzz::FuzzStore store;
  static const bool limited = [] {
    mercato::collaborators::Settings settings = *mercato::collaborators::settings();
    settings.call_seconds = 2;
    mercato::collaborators::set_settings(settings);
    return true;
  }();
  require(limited);
  static std::ostringstream log;
  log.str({});
  static Host host({.trusted_proxies = {"proxy"}, .on_loopback = true, .runs_uploads = false, .log = &log},
                   KnownTokens::for_process(kToken));

  // Lines: the method, the target, the address, fields up to an empty line, and the body. A method of one byte stands for
  // a route, and the target for what its path leaves open and what follows it.
  std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
  Head head;
  std::getline(lines, head.method);
  std::getline(lines, head.target);
  if (head.method.size() == 1) {
    const Route& route = routes()[static_cast<unsigned char>(head.method.front()) % routes().size()];
    std::string path = route.path;
    const std::string given = std::exchange(head.target, {});
    if (const std::size_t open = path.find('{'); open != std::string::npos)
      path.replace(open, path.find('}') - open + 1, given.substr(0, given.find('?')));
    head.method = route.method;
    head.target = path + (given.find('?') == std::string::npos ? "" : given.substr(given.find('?')));
  }
  std::getline(lines, head.address);
  for (std::string line; std::getline(lines, line) && !line.empty();) {
    const std::size_t colon = line.find(':');
    head.fields.emplace_back(line.substr(0, colon), colon == std::string::npos ? "" : line.substr(colon + 1));
  }
  const std::string body(std::istreambuf_iterator<char>(lines), {});
  ask(host, head, body, true);
  ask(host, head, body, false);
  std::filesystem::remove_all(uploads_folder());  // of documents that were accepted
  return 0;
}
