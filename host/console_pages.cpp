// SPDX-License-Identifier: Apache-2.0
#include "host/console_pages.h"

#include <algorithm>

#include "host/console_files.h"

namespace mercato::host {
namespace {

constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; connect-src 'self'; "
    "manifest-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

}  // namespace

std::optional<Response> console_page(const Head& head, std::string_view path) {
  const auto files = console_files();
  if (files.empty()) return std::nullopt;
  auto file = std::ranges::find(files, path, &ConsoleFile::path);
  if (file == files.end()) {
    if (path.substr(path.rfind('/')).find('.') != std::string_view::npos) return std::nullopt;
    file = files.begin();
  }
  Response response;
  response.fields = {{"Content-Type", std::string(file->type)},
                     {"Content-Security-Policy", kPolicy},
                     {"ETag", std::string(file->etag)},
                     {"Cache-Control", file->never_changes ? "public, max-age=31536000, immutable" : "no-cache"}};
  if (head.field("if-none-match") == file->etag) {
    response.status = 304;
    return response;
  }
  // Whatever can show the console takes it packed.
  response.fields.emplace_back("Content-Encoding", "gzip");
  response.body.assign(reinterpret_cast<const char*>(file->gzip.data()), file->gzip.size());
  return response;
}

}  // namespace mercato::host
