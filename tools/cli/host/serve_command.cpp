// SPDX-License-Identifier: Apache-2.0
// mercato serve: the library over HTTP.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iostream>

#include "frame/sentence.h"
#include "host/serving.h"
#include "keeping/store_answers.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "platform/store/hidden_passwords.h"
#include "tools/cli/host/token_file.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {
namespace serve_command {

struct Served {
  std::string listen = "127.0.0.1:8080";
  std::string tokens;
  std::string certificate;
  std::string key;
  std::vector<std::string> proxies;
  std::int32_t workers = 8;
  std::int32_t connections = 4096;
};

// "127.0.0.1:8080", "[::1]:8080"
void take_address(const std::string& listen, host::FrontOptions& front) {
  const std::size_t colon = listen.rfind(':');
  const char* const end = listen.data() + listen.size();
  if (colon == std::string::npos || std::from_chars(listen.data() + colon + 1, end, front.port).ptr != end ||
      colon + 1 == listen.size())
    raise(error_number::kInvalidArgument, {}, "'" + listen + "' is no address with a port, such as 127.0.0.1:8080");
  front.address = listen.substr(0, colon);
  if (front.address.starts_with('[') && front.address.ends_with(']'))
    front.address = front.address.substr(1, front.address.size() - 2);
}

bool is_loopback(const std::string& address) { return address.starts_with("127.") || address == "::1"; }

int serve(const Served& given, const OutputOptions&) {
  host::ServingOptions options;
  take_address(given.listen, options.front);
  options.front.tls_certificate = given.certificate;
  options.front.tls_key = given.key;
  options.front.most_connections = static_cast<std::size_t>(given.connections);
  if (const double seconds = collaborators::settings()->call_seconds; seconds > 0)
    options.front.end_time = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
  options.workers = static_cast<std::size_t>(given.workers);
  options.host.trusted_proxies = given.proxies;
  options.host.on_loopback = is_loopback(options.front.address);
  options.host.log = &std::cerr;

  const std::string file =
      given.tokens.empty() && std::filesystem::exists(kUsualTokenFile) ? kUsualTokenFile : given.tokens;
  std::string own_token;
  if (file.empty()) {
    if (!options.host.on_loopback)
      raise(error_number::kPermissionDenied, {},
            "Without a token file the host listens on a loopback address only; `mercato token new NAME --role ROLE` "
            "makes "
            "one, and --tokens FILE names it");
    own_token = host::random_text(32);
  }
  // What starts a host knows 0 and 1 only.
  try {
    keeping::require_store();
  } catch (const Raised& raised) {
    std::cerr << "mercato: " << shown(store::without_passwords(sentence(raised.error())), 2000) << '\n';
    return kFailed;
  }
  host::Serving serving(options,
                        file.empty() ? host::KnownTokens::for_process(own_token) : host::KnownTokens::of_file(file));
  serving.end_on_signals();

  const bool is_v6 = options.front.address.find(':') != std::string::npos;
  const std::string url = std::string(given.certificate.empty() ? "http://" : "https://") +
                          (is_v6 ? "[" + options.front.address + "]" : options.front.address) + ":" +
                          std::to_string(serving.port());
  std::cout << "listening on " << url << '\n';
  if (!own_token.empty()) std::cout << "open " << url << "/#token=" << own_token << '\n';
  std::cout.flush();
  serving.run();
  return kDone;
}

}  // namespace serve_command

void add_serve_command(Menu& menu) {
  const auto [command, given] = menu.add(
      "serve", "Serve the library over HTTP, for programs and for people",
      "  mercato serve\n"
      "  mercato serve --listen 127.0.0.1:0\n"
      "  mercato serve --listen 0.0.0.0:8443 --tokens tokens.json --tls-cert host.pem --tls-key host.key\n"
      "Without a token file it listens on a loopback address only, and prints an address with a token that holds as "
      "long\n"
      "as it runs. SIGTERM and SIGINT end it when what runs is answered; each request is a line on standard error.\n",
      serve_command::serve);
  command.add_option("--listen", given.listen, "The address and the port; port 0 is any free one")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  command.add_option("--tokens", given.tokens, "The token file; else mercato-tokens.json, when there is one")
      ->type_name("FILE");
  command.add_option("--tls-cert", given.certificate, "The certificate with its chain (PEM)")->type_name("FILE");
  command.add_option("--tls-key", given.key, "The certificate's key (PEM)")->type_name("FILE");
  command
      .add_option("--trusted-proxy", given.proxies,
                  "The address of a proxy that says whom it serves (X-Forwarded-For, X-Forwarded-Proto)")
      ->type_name("ADDRESS");
  command.add_option("--workers", given.workers, "How many requests run at a time")
      ->type_name("N")
      ->between(1, 256)
      ->capture_default_str();
  command.add_option("--connections", given.connections, "How many connections may be open")
      ->type_name("N")
      ->between(1, 100000)
      ->capture_default_str();
}

}  // namespace mercato::cli
